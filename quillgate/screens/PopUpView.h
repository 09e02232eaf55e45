#pragma once

#include <memory>
#include <string>

#include "quillgate/ui/View.h"

// The publisher's promotional popup over the app, driven by the client's popup record. The
// client loads it from the nib named after the class when the popup's conditions are met,
// keeps it in its `popUpView` field, adds it to the host's parent view and places it by the
// record's `position`. Main thread only.
namespace quillgate {

class PopUpView : public ui::View {
  public:
    PopUpView() = default;
    std::string className() const override { return "PopUpView"; }

    // A new popup from its nib. A nib that is missing, or whose root isn't a PopUpView, is a
    // fault of the library's resources and ends the program.
    static std::shared_ptr<PopUpView> loadFromNib();

    // Places the popup, already a subview of `parent`, by `position` ("1" to "8"): records
    // and activates its constraints one at a time and sets the frame they describe. Any
    // other position makes no constraint and leaves the view where it was added.
    void place(const std::shared_ptr<ui::View>& parent, const std::string& position);

    // How far below the parent's top the popup of position "1" stands: the status bar, the
    // navigation bar and 5 points when the parent's controller sits in a navigation stack,
    // else 100.
    static double topOffset(const std::shared_ptr<ui::View>& parent);
};

}  // namespace quillgate

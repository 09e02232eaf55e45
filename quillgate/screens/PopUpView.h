#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/ui/Control.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/View.h"

namespace quillgate::ui {
class Button;
class ImageView;
}  // namespace quillgate::ui

// The publisher's promotional popup over the app, driven by the client's popup record. The
// client loads it from the nib named after the class when the popup's conditions are met,
// keeps it in its `popUpView` field, adds it to the host's parent view and places it by the
// record's `position`.
//
// As it is loaded, the popup fetches the record's image from the HTTP session (off the main
// thread; the answer comes back through the main queue) and shows it if the bytes make an
// image; the close button appears only once that attempt is over, whatever its outcome. A
// tap on the image opens the record's link in the in-app browser; the close button takes the
// popup away. Both report a click of the popup. Main thread only.
namespace quillgate {

// The image of the popup: a control (so a tap on the image reaches it) whose content, from
// its own nib, is an image view that fills it and takes no touches.
class CustomUIImageView : public ui::Control {
  public:
    CustomUIImageView() = default;
    explicit CustomUIImageView(ui::Rect frame) : Control(frame) {}
    std::string className() const override { return "CustomUIImageView"; }

    // A control of this frame with its nib loaded.
    static std::shared_ptr<CustomUIImageView> make(ui::Rect frame);

    ui::Outlet<ui::ImageView> imageView;
    // The root of the nib, filling the control.
    std::shared_ptr<ui::View> view;

    void awakeFromNib() override;
    void layoutSubviews() override;

  private:
    void loadContent();
};

class PopUpView : public ui::View {
  public:
    PopUpView() = default;
    std::string className() const override { return "PopUpView"; }

    ui::Outlet<CustomUIImageView> customView;
    ui::Outlet<ui::Button> btnClose;

    // Hides the close button and starts fetching the image.
    void awakeFromNib() override;
    void layoutSubviews() override;

    // ---- Actions, bound by the nib
    // Reports the close and takes the client's popup away.
    void btnCloseAction();
    // Opens the record's link in the in-app browser over the visible screen, or prints
    // "Invalid URL".
    void btnImageAction();

    // The seconds the image fetch may take.
    static constexpr double imageTimeoutSeconds = 60;

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

    // Registers the nibs "PopUpView" and "CustomUIImageView".
    static void registerNibs();

  private:
    void loadImage();
    // The fetch ended: `bytes` are the body, if there was an answer.
    void imageArrived(const std::optional<std::string>& bytes);
};

}  // namespace quillgate

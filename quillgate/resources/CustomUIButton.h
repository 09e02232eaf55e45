#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quillgate/ui/Control.h"
#include "quillgate/ui/Outlet.h"

namespace quillgate::ui {
class ImageView;
class Label;
class LayoutConstraint;
}  // namespace quillgate::ui

// A control showing an icon and a label side by side (the registration wall's "sign in with
// Google"), built from its own nib "CustomUIButton". The content sits left, centred or right
// as three constraints say: one that holds it to the left edge, one that centres it and one
// that holds it to the right edge; the alignment operation switches them.
//
// Made with `make(frame)` in code, or inside another nib (its awakeFromNib loads the content
// then). A nib that is missing ends the program. Main thread only.
namespace quillgate {

class CustomUIButton : public ui::Control {
  public:
    CustomUIButton() = default;
    explicit CustomUIButton(ui::Rect frame) : Control(frame) {}

    // A button of this frame with its nib loaded.
    static std::shared_ptr<CustomUIButton> make(ui::Rect frame);

    std::string className() const override { return "CustomUIButton"; }

    ui::Outlet<ui::ImageView> imageView;
    ui::Outlet<ui::Label> label;
    ui::Outlet<ui::LayoutConstraint> centerYConstraint;
    ui::Outlet<ui::LayoutConstraint> centerLConstraint;
    ui::Outlet<ui::LayoutConstraint> centerRConstraint;
    // The root of the nib, filling the button.
    std::shared_ptr<ui::View> view;

    // "left", "center" or "right", in any case. Another word changes nothing and prints
    // "center".
    void setAlignment(std::string_view word);

    void awakeFromNib() override;
    // Places the icon and the label as the active constraints say.
    void layoutSubviews() override;

    // Registers the nib "CustomUIButton" (the content: icon, label, the three constraints).
    static void registerNib();

  private:
    void loadContent();
};

}  // namespace quillgate

#include "quillgate/resources/CustomUIButton.h"

#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NibRegistry.h"

namespace quillgate {

namespace {

constexpr const char* kNibName = "CustomUIButton";
constexpr double kIconSide = 20;
constexpr double kIconGap = 8;
constexpr double kEdgeInset = 12;

bool isOn(const ui::Outlet<ui::LayoutConstraint>& constraint) {
    auto c = constraint.optional();
    return c && c->isActive();
}

// The nib: a root that fills the button, an icon and a label in it, and the three constraints
// that place them, bound to the owner's outlets when the owner is a CustomUIButton.
std::shared_ptr<ui::View> buildNib(ui::Responder* owner) {
    auto root = std::make_shared<ui::View>();
    root->setBackgroundColor(ui::Color::clear());
    auto icon = std::make_shared<ui::ImageView>(ui::Rect(0, 0, kIconSide, kIconSide));
    auto text = std::make_shared<ui::Label>();
    text->setFont(ui::Font::system(15, ui::FontWeight::medium));
    root->addSubview(icon);
    root->addSubview(text);
    auto left = ui::LayoutConstraint::equal(icon, ui::LayoutAttribute::leading, root, kEdgeInset);
    auto center = ui::LayoutConstraint::equal(icon, ui::LayoutAttribute::centerX, root);
    auto right =
        ui::LayoutConstraint::equal(text, ui::LayoutAttribute::trailing, root, -kEdgeInset);
    left->setIdentifier("centerL");
    center->setIdentifier("centerY");
    right->setIdentifier("centerR");
    ui::LayoutConstraint::activate({left, center, right});
    if (auto* button = dynamic_cast<CustomUIButton*>(owner)) {
        button->imageView = icon;
        button->label = text;
        button->centerLConstraint = left;
        button->centerYConstraint = center;
        button->centerRConstraint = right;
    }
    return root;
}

}  // namespace

std::shared_ptr<CustomUIButton> CustomUIButton::make(ui::Rect frame) {
    auto button = std::make_shared<CustomUIButton>(frame);
    button->loadContent();
    return button;
}

void CustomUIButton::registerNib() {
    ui::NibRegistry::shared().registerNib(kNibName, buildNib);
}

void CustomUIButton::awakeFromNib() {
    Control::awakeFromNib();
    if (!view) {
        loadContent();
    }
}

void CustomUIButton::loadContent() {
    view = ui::NibRegistry::shared().instantiate(kNibName, this);
    addSubview(view);
    view->setFrame(bounds());
    setNeedsLayout();
}

void CustomUIButton::setAlignment(std::string_view word) {
    const std::string lower = platform::text::lowercased(word);
    auto set = [](const ui::Outlet<ui::LayoutConstraint>& c, bool on) { c->setActive(on); };
    if (lower == "left") {
        set(centerLConstraint, true);
        set(centerYConstraint, false);
        set(centerRConstraint, false);
    } else if (lower == "center") {
        set(centerLConstraint, true);
        set(centerYConstraint, true);
        set(centerRConstraint, true);
    } else if (lower == "right") {
        set(centerLConstraint, false);
        set(centerYConstraint, false);
        set(centerRConstraint, true);
    } else {
        platform::log("center");
        return;
    }
    setNeedsLayout();
}

void CustomUIButton::layoutSubviews() {
    if (!view) {
        return;
    }
    view->setFrame(bounds());
    auto icon = imageView.optional();
    auto text = label.optional();
    if (!icon || !text) {
        return;
    }
    const ui::Size size = bounds().size;
    const double textWidth =
        std::min(text->sizeThatFits(size).width, std::max(0.0, size.width - 2 * kEdgeInset));
    const double contentWidth = kIconSide + kIconGap + textWidth;
    double x = (size.width - contentWidth) / 2;  // centred, also when every constraint is off
    const bool left = isOn(centerLConstraint);
    const bool centre = isOn(centerYConstraint);
    const bool right = isOn(centerRConstraint);
    if (left && !centre && !right) {
        x = kEdgeInset;
    } else if (right && !centre && !left) {
        x = size.width - kEdgeInset - contentWidth;
    }
    icon->setFrame(ui::Rect(x, (size.height - kIconSide) / 2, kIconSide, kIconSide));
    const double textHeight = text->sizeThatFits(size).height;
    text->setFrame(
        ui::Rect(x + kIconSide + kIconGap, (size.height - textHeight) / 2, textWidth, textHeight));
}

}  // namespace quillgate

#pragma once

#include <memory>
#include <string>

#include "quillgate/resources/CustomButton.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Font.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"

// The pieces the template nibs are built from: labels, plain boxes, the transparent button
// laid over a box, and cells of the card's width. The nib builders place these in a first
// position only; each cell lays its row out itself. Main thread only.
namespace quillgate::nib {

// The width of the card every template row is built at.
inline constexpr double rowWidth = 390;

inline std::shared_ptr<ui::Label> label(const std::shared_ptr<ui::View>& parent, double size,
                                        ui::TextAlignment alignment, int lines = 0) {
    auto l = std::make_shared<ui::Label>();
    l->setFont(ui::Font::system(size));
    l->setTextAlignment(alignment);
    l->setNumberOfLines(lines);
    l->setFrame(ui::Rect(0, 0, 160, size * 1.4));
    parent->addSubview(l);
    return l;
}

inline std::shared_ptr<ui::View> box(const std::shared_ptr<ui::View>& parent) {
    auto v = std::make_shared<ui::View>();
    parent->addSubview(v);
    return v;
}

// A transparent button over a whole box: the box is what the reader sees and taps.
inline std::shared_ptr<CustomButton> overlayButton(const std::shared_ptr<ui::View>& parent) {
    auto b = std::make_shared<CustomButton>(ui::ButtonType::custom);
    parent->addSubview(b);
    return b;
}

// A box under a transparent button: a touch anywhere on the box, on its texts too, lands on
// the button laid over it, as it would on a screen where the button is the front-most view.
class OverlaidBox : public ui::View {
  public:
    std::string className() const override { return "View"; }
    bool tap() override {
        if (auto b = button.lock(); b && !b->isHidden()) {
            return b->tap();
        }
        return View::tap();
    }
    std::weak_ptr<ui::Button> button;
};

inline std::shared_ptr<OverlaidBox> overlaidBox(const std::shared_ptr<ui::View>& parent) {
    auto v = std::make_shared<OverlaidBox>();
    parent->addSubview(v);
    return v;
}

template <class Cell>
std::shared_ptr<Cell> makeCell(double height) {
    auto cell = std::make_shared<Cell>();
    cell->setFrame(ui::Rect(0, 0, rowWidth, height));
    cell->setBackgroundColor(ui::Color::clear());
    return cell;
}

// Registers the nibs of the offer rows of CTA4, CTA5, CTA8, CTA13 and CTA15.
void registerOfferNibs();

}  // namespace quillgate::nib

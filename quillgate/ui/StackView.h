#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quillgate/ui/View.h"

// A view that lines up its arranged subviews along an axis with spacing. Arranged subviews
// are also subviews; a view removed from the stack view's subviews stops being arranged,
// while `removeArrangedSubview` keeps it as a subview (hide or remove it yourself).
//
// Layout (`layoutSubviews`) places the shown arranged subviews one after the other; hidden
// ones take no room. A vertical stack measures each at its own width, a horizontal one asks
// each for its width. Along the axis: `fill` gives each its fitting length, `fillEqually`
// shares the stack's length equally, `fillProportionally` in proportion to the fitting
// lengths, `equalSpacing` / `equalCentering` spread what is left into the gaps. Across: `fill`
// stretches to the stack, the others keep the fitting size at the start, centre or end.
// `sizeThatFits` is the fitting lengths plus spacing along the axis; across, the width asked
// (vertical) or the largest fitting height (horizontal). Main thread only.
namespace quillgate::ui {

enum class LayoutAxis { horizontal = 0, vertical = 1 };
enum class StackViewDistribution {
    fill,
    fillEqually,
    fillProportionally,
    equalSpacing,
    equalCentering
};
enum class StackViewAlignment { fill, leading, firstBaseline, center, trailing, lastBaseline };

class StackView : public View {
  public:
    StackView() = default;
    explicit StackView(Rect frame) : View(frame) {}

    std::string className() const override { return "StackView"; }

    std::vector<std::shared_ptr<View>> arrangedSubviews() const;
    void addArrangedSubview(const std::shared_ptr<View>& view);
    void insertArrangedSubview(const std::shared_ptr<View>& view, std::size_t index);
    void removeArrangedSubview(const std::shared_ptr<View>& view);

    LayoutAxis axis() const { return axis_; }
    void setAxis(LayoutAxis axis) {
        axis_ = axis;
        invalidateIntrinsicContentSize();
    }
    double spacing() const { return spacing_; }
    void setSpacing(double spacing) {
        spacing_ = spacing;
        invalidateIntrinsicContentSize();
    }
    StackViewDistribution distribution() const { return distribution_; }
    void setDistribution(StackViewDistribution d) { distribution_ = d; }
    StackViewAlignment alignment() const { return alignment_; }
    void setAlignment(StackViewAlignment a) { alignment_ = a; }

    void layoutSubviews() override;
    // The length along the axis the shown arranged subviews need, spacing included.
    Size sizeThatFits(Size fitting) const override;

  private:
    std::vector<std::shared_ptr<View>> shownArrangedSubviews() const;

    std::vector<std::weak_ptr<View>> arranged_;
    LayoutAxis axis_ = LayoutAxis::horizontal;
    double spacing_ = 0;
    StackViewDistribution distribution_ = StackViewDistribution::fill;
    StackViewAlignment alignment_ = StackViewAlignment::fill;
};

}  // namespace quillgate::ui

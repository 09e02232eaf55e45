#include "quillgate/screens/CardLayout.h"

#include <algorithm>

#include "quillgate/ui/LayoutConstraint.h"

namespace quillgate {

namespace {

// Where a child's height is unlimited.
constexpr double kAnyHeight = 0;

// The size `view` needs at `width` (0: as wide as it likes).
ui::Size fit(const ui::View& view, double width) {
    return view.sizeThatFits(ui::Size{width, kAnyHeight});
}

}  // namespace

// ---- CardColumn

void CardColumn::add(const std::shared_ptr<ui::View>& view, double height, double gapAbove,
                     double sideInset) {
    addSubview(view);
    items_.push_back(Item{view, height, gapAbove, sideInset});
    setNeedsLayout();
}

double CardColumn::heightOf(const Item& item, const ui::View& view, double width) {
    if (view.isHidden()) {
        return 0;
    }
    double height = item.height > 0 ? item.height : fit(view, width).height;
    for (const auto& c : view.constraints()) {
        if (c->isActive() && c->firstItem().get() == &view &&
            c->firstAttribute() == ui::LayoutAttribute::height && !c->secondItem() &&
            c->relation() == ui::LayoutRelation::lessThanOrEqual) {
            height = std::min(height, std::max(0.0, c->constant()));
        }
    }
    return height;
}

void CardColumn::layoutSubviews() {
    const double width = frame().width();
    double y = insets_.top;
    bool first = true;
    for (const auto& item : items_) {
        auto view = item.view.lock();
        if (!view || view->superview().get() != this) {
            continue;
        }
        const double x = insets_.left + item.sideInset;
        const double w = std::max(0.0, width - x - insets_.right - item.sideInset);
        const double h = heightOf(item, *view, w);
        if (view->isHidden() || h <= 0) {
            // Takes no room; kept at the spot, zero high, so it draws nothing.
            view->setFrame(ui::Rect(x, y, w, 0));
            continue;
        }
        if (!first) {
            y += item.gapAbove;
        }
        first = false;
        view->setFrame(ui::Rect(x, y, w, h));
        y += h;
    }
}

ui::Size CardColumn::sizeThatFits(ui::Size fitting) const {
    const double width = fitting.width > 0 ? fitting.width : frame().width();
    double height = insets_.top + insets_.bottom;
    bool first = true;
    for (const auto& item : items_) {
        auto view = item.view.lock();
        if (!view || view->superview().get() != this) {
            continue;
        }
        const double w = std::max(0.0, width - insets_.left - insets_.right - 2 * item.sideInset);
        const double h = heightOf(item, *view, w);
        if (h <= 0) {
            continue;
        }
        if (!first) {
            height += item.gapAbove;
        }
        first = false;
        height += h;
    }
    return ui::Size{width, height};
}

// ---- CardFrame

void CardFrame::layoutSubviews() {
    for (const auto& sub : subviews()) {
        sub->setFrame(bounds());
    }
}

ui::Size CardFrame::sizeThatFits(ui::Size fitting) const {
    const double width = fitting.width > 0 ? fitting.width : frame().width();
    double height = 0;
    for (const auto& sub : subviews()) {
        height = std::max(height, fit(*sub, width).height);
    }
    return ui::Size{width, height};
}

// ---- OrDivider

OrDivider::OrDivider(std::shared_ptr<ui::View> line, std::shared_ptr<ui::Label> word)
    : line_(line), word_(word) {
    setAxis(ui::LayoutAxis::horizontal);
    // Added in drawing order: the word covers the middle of the line.
    addSubview(line);
    addSubview(word);
}

void OrDivider::layoutSubviews() {
    const ui::Size size = frame().size;
    if (auto line = line_.lock()) {
        line->setFrame(ui::Rect(0, 0, size.width, size.height));
    }
    if (auto word = word_.lock()) {
        const ui::Size wordSize = fit(*word, 0);
        const double w = std::min(size.width, wordSize.width + 24);
        word->setFrame(ui::Rect((size.width - w) / 2, 0, w, size.height));
    }
}

ui::Size OrDivider::sizeThatFits(ui::Size fitting) const {
    double height = frame().height();
    if (auto word = word_.lock()) {
        height = std::max(height, fit(*word, 0).height);
    }
    return ui::Size{fitting.width > 0 ? fitting.width : frame().width(), height};
}

// ---- CentredRow

CentredRow::CentredRow(double spacing) {
    setAxis(ui::LayoutAxis::horizontal);
    setSpacing(spacing);
}

void CentredRow::layoutSubviews() {
    const ui::Size size = frame().size;
    std::vector<std::pair<std::shared_ptr<ui::View>, ui::Size>> shown;
    double total = 0;
    for (const auto& view : arrangedSubviews()) {
        if (view->isHidden()) {
            continue;
        }
        const ui::Size s = fit(*view, 0);
        total += s.width + (shown.empty() ? 0 : spacing());
        shown.emplace_back(view, s);
    }
    double x = std::max(0.0, (size.width - total) / 2);
    for (const auto& [view, s] : shown) {
        const double w = std::min(s.width, std::max(0.0, size.width - x));
        view->setFrame(ui::Rect(x, (size.height - s.height) / 2, w, s.height));
        x += w + spacing();
    }
}

ui::Size CentredRow::sizeThatFits(ui::Size fitting) const {
    double height = 0;
    for (const auto& view : arrangedSubviews()) {
        if (!view->isHidden()) {
            height = std::max(height, fit(*view, 0).height);
        }
    }
    return ui::Size{fitting.width > 0 ? fitting.width : frame().width(), height};
}

// ---- CardScrollView

void CardScrollView::layoutSubviews() {
    const double width = frame().width();
    for (const auto& sub : subviews()) {
        const double height = fit(*sub, width).height;
        sub->setFrame(ui::Rect(0, 0, width, height));
    }
}

// ---- StripView

void StripView::layoutSubviews() {
    const ui::Size size = frame().size;
    double right = size.width;
    bool first = true;
    for (const auto& sub : subviews()) {
        if (first) {
            sub->setFrame(bounds());
            first = false;
            continue;
        }
        const ui::Size own = sub->frame().size;
        right -= own.width;
        sub->setFrame(ui::Rect(right, (size.height - own.height) / 2, own.width, own.height));
    }
}

// ---- FillingView

void FillingView::layoutSubviews() {
    for (const auto& sub : subviews()) {
        sub->setFrame(bounds());
    }
}

}  // namespace quillgate

#include "quillgate/ui/StackView.h"

#include <algorithm>

namespace quillgate::ui {

std::vector<std::shared_ptr<View>> StackView::arrangedSubviews() const {
    std::vector<std::shared_ptr<View>> out;
    for (const auto& weak : arranged_) {
        auto v = weak.lock();
        if (v && v->superview().get() == this) {
            out.push_back(std::move(v));
        }
    }
    return out;
}

void StackView::addArrangedSubview(const std::shared_ptr<View>& view) {
    insertArrangedSubview(view, arranged_.size());
}

void StackView::insertArrangedSubview(const std::shared_ptr<View>& view, std::size_t index) {
    if (!view) {
        return;
    }
    // Drop entries of views that left, and any earlier place of this one.
    auto current = arrangedSubviews();
    current.erase(std::remove(current.begin(), current.end(), view), current.end());
    index = std::min(index, current.size());
    current.insert(current.begin() + static_cast<std::ptrdiff_t>(index), view);
    arranged_.assign(current.begin(), current.end());
    if (view->superview().get() != this) {
        addSubview(view);
    }
    setNeedsLayout();
}

void StackView::removeArrangedSubview(const std::shared_ptr<View>& view) {
    std::erase_if(arranged_, [&](const std::weak_ptr<View>& w) { return w.lock() == view; });
    setNeedsLayout();
}

void StackView::layoutSubviews() {
    const bool vertical = axis_ == LayoutAxis::vertical;
    const Size bounds = frame().size;
    double position = 0;
    bool first = true;
    for (const auto& v : arrangedSubviews()) {
        if (v->isHidden()) {
            continue;
        }
        if (!first) {
            position += spacing_;
        }
        first = false;
        const Size fit = v->sizeThatFits(bounds);
        if (vertical) {
            v->setFrame(Rect(0, position, bounds.width, fit.height));
            position += fit.height;
        } else {
            v->setFrame(Rect(position, 0, fit.width, bounds.height));
            position += fit.width;
        }
    }
}

Size StackView::sizeThatFits(Size fitting) const {
    (void)fitting;
    const bool vertical = axis_ == LayoutAxis::vertical;
    double length = 0;
    bool first = true;
    for (const auto& v : arrangedSubviews()) {
        if (v->isHidden()) {
            continue;
        }
        if (!first) {
            length += spacing_;
        }
        first = false;
        const Size fit = v->sizeThatFits(frame().size);
        length += vertical ? fit.height : fit.width;
    }
    return vertical ? Size{frame().width(), length} : Size{length, frame().height()};
}

}  // namespace quillgate::ui

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

namespace {

struct Item {
    std::shared_ptr<View> view;
    Size fit;  // fitting size: along the axis and across
};

}  // namespace

// Sizes along the axis for `length` (0: each its fitting size), by distribution.
static std::vector<double> lengthsAlong(const std::vector<Item>& items, bool vertical,
                                        StackViewDistribution distribution, double spacing,
                                        double length) {
    std::vector<double> out;
    double natural = 0;
    for (const auto& item : items) {
        out.push_back(vertical ? item.fit.height : item.fit.width);
        natural += out.back();
    }
    const double gaps = items.empty() ? 0 : spacing * static_cast<double>(items.size() - 1);
    if (length <= 0 || items.empty()) {
        return out;
    }
    const double room = std::max(0.0, length - gaps);
    if (distribution == StackViewDistribution::fillEqually) {
        std::fill(out.begin(), out.end(), room / static_cast<double>(items.size()));
    } else if (distribution == StackViewDistribution::fillProportionally && natural > 0) {
        for (auto& l : out) {
            l = l * room / natural;
        }
    }
    return out;
}

std::vector<std::shared_ptr<View>> StackView::shownArrangedSubviews() const {
    auto views = arrangedSubviews();
    std::erase_if(views, [](const std::shared_ptr<View>& v) { return v->isHidden(); });
    return views;
}

void StackView::layoutSubviews() {
    const bool vertical = axis_ == LayoutAxis::vertical;
    const Size bounds = frame().size;
    std::vector<Item> items;
    for (auto& v : shownArrangedSubviews()) {
        // A vertical stack measures at its width; a horizontal one asks each for its width.
        const Size fit = v->sizeThatFits(Size{vertical ? bounds.width : 0, 0});
        items.push_back(Item{std::move(v), fit});
    }
    const double length = vertical ? bounds.height : bounds.width;
    const auto along = lengthsAlong(items, vertical, distribution_, spacing_,
                                    distribution_ == StackViewDistribution::fill ? 0 : length);
    double gap = spacing_;
    if ((distribution_ == StackViewDistribution::equalSpacing ||
         distribution_ == StackViewDistribution::equalCentering) &&
        items.size() > 1) {
        double used = 0;
        for (double l : along) {
            used += l;
        }
        gap = std::max(spacing_, (length - used) / static_cast<double>(items.size() - 1));
    }
    const double crossLength = vertical ? bounds.width : bounds.height;
    double position = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const double fitCross = vertical ? items[i].fit.width : items[i].fit.height;
        double cross = crossLength;
        double offset = 0;
        switch (alignment_) {
            case StackViewAlignment::fill:
                break;
            case StackViewAlignment::center:
                cross = std::min(fitCross, crossLength);
                offset = (crossLength - cross) / 2;
                break;
            case StackViewAlignment::trailing:
                cross = std::min(fitCross, crossLength);
                offset = crossLength - cross;
                break;
            default:  // leading and the baselines: at the start
                cross = std::min(fitCross, crossLength);
                break;
        }
        items[i].view->setFrame(vertical ? Rect(offset, position, cross, along[i])
                                         : Rect(position, offset, along[i], cross));
        position += along[i] + gap;
    }
}

Size StackView::sizeThatFits(Size fitting) const {
    const bool vertical = axis_ == LayoutAxis::vertical;
    const double width = fitting.width > 0 ? fitting.width : frame().width();
    double length = 0;
    double cross = 0;
    std::size_t count = 0;
    for (const auto& v : shownArrangedSubviews()) {
        const Size fit = v->sizeThatFits(Size{vertical ? width : 0, 0});
        length += vertical ? fit.height : fit.width;
        cross = std::max(cross, vertical ? fit.width : fit.height);
        ++count;
    }
    if (count > 1) {
        length += spacing_ * static_cast<double>(count - 1);
    }
    return vertical ? Size{width, length} : Size{length, std::max(cross, 0.0)};
}

}  // namespace quillgate::ui

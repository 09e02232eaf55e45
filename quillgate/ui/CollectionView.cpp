#include "quillgate/ui/CollectionView.h"

#include <algorithm>

#include "quillgate/platform/Log.h"
#include "quillgate/ui/Layout.h"

namespace quillgate::ui {

CollectionView::~CollectionView() = default;

void CollectionView::registerNib(const std::string& nibName, const std::string& identifier) {
    cells_.registerNib(nibName, identifier);
}

void CollectionView::registerClass(const std::string& identifier, CellFactory factory) {
    cells_.registerClass(identifier, std::move(factory));
}

bool CollectionView::isRegistered(const std::string& identifier) const {
    return cells_.isRegistered(identifier);
}

std::shared_ptr<CollectionViewCell> CollectionView::dequeueReusableCell(
    const std::string& identifier, IndexPath indexPath) {
    (void)indexPath;
    auto [cell, failure] = cells_.dequeue(identifier);
    if (failure == CellQueue<CollectionViewCell>::Failure::nibIsNotACell) {
        platform::fatal("invalid nib registered for identifier (" + identifier +
                        ") - nib must contain exactly one top level object which must be a "
                        "UICollectionReusableView instance");
    }
    if (failure == CellQueue<CollectionViewCell>::Failure::notRegistered) {
        platform::fatal(
            "could not dequeue a view of kind: UICollectionElementKindCell with "
            "identifier " +
            identifier +
            " - must register a nib or a class for the identifier or connect a "
            "prototype cell in a storyboard");
    }
    return cell;
}

void CollectionView::reloadData() {
    auto self = weak_from_this().lock();
    ++reloadCount_;
    for (auto& section : sections_) {
        for (auto& cell : section) {
            cells_.setAside(cell);
        }
    }
    sections_.clear();
    selected_.reset();
    reloading_ = true;

    const bool vertical = layout_.scrollDirection == ScrollDirection::vertical;
    const Size bounds = frame().size;
    // Main axis: the scrolling direction; cross axis: the one lines fill.
    double mainEnd = 0;
    auto source = dataSource();
    if (source) {
        const int sectionCount = std::max(0, source->numberOfSections(*this));
        for (int s = 0; s < sectionCount; ++s) {
            auto d = delegate();
            const EdgeInsets inset =
                (d ? d->insetForSection(*this, s) : std::nullopt).value_or(layout_.sectionInset);
            const double lineSpacing = (d ? d->minimumLineSpacing(*this, s) : std::nullopt)
                                           .value_or(layout_.minimumLineSpacing);
            const double itemSpacing = (d ? d->minimumInteritemSpacing(*this, s) : std::nullopt)
                                           .value_or(layout_.minimumInteritemSpacing);
            const double crossStart = vertical ? inset.left : inset.top;
            const double crossLimit =
                vertical ? bounds.width - inset.right : bounds.height - inset.bottom;
            double lineStart = mainEnd + (vertical ? inset.top : inset.left);
            double lineDepth = 0;
            double cross = crossStart;

            // Cells join their section as they are made, so that the data source can select
            // an item it has just made (or is making) from inside cellForItem.
            sections_.emplace_back();
            const int itemCount = std::max(0, source->numberOfItems(*this, s));
            for (int i = 0; i < itemCount; ++i) {
                const IndexPath path{s, i};
                auto cell = source->cellForItem(*this, path);
                if (!cell) {
                    platform::log(
                        "UICollectionView dataSource returned a nil cell for item at "
                        "index path: " +
                        std::to_string(s) + "-" + std::to_string(i));
                    continue;
                }
                d = delegate();
                std::optional<Size> asked = d ? d->sizeForItem(*this, path) : std::nullopt;
                if (!asked && layout_.estimatedItemSize != Size{}) {
                    // Self-sizing: the cell's fitting size within the line.
                    Size fit = fittingSize(*cell, vertical ? crossLimit - crossStart : 0);
                    if (fit.width <= 0 || fit.height <= 0) {
                        fit = layout_.estimatedItemSize;
                    }
                    asked = fit;
                }
                const Size size = asked.value_or(layout_.itemSize);
                const double crossSize = vertical ? size.width : size.height;
                const double mainSize = vertical ? size.height : size.width;
                if (cross > crossStart && cross + crossSize > crossLimit) {
                    lineStart += lineDepth + lineSpacing;
                    lineDepth = 0;
                    cross = crossStart;
                }
                cell->setFrame(vertical ? Rect(cross, lineStart, size.width, size.height)
                                        : Rect(lineStart, cross, size.width, size.height));
                addSubview(cell);
                sections_.back().push_back(cell);
                const bool selected = selected_ && *selected_ == path;
                if (selected || cell->isSelected()) {
                    cell->setSelected(selected);
                }
                cross += crossSize + itemSpacing;
                lineDepth = std::max(lineDepth, mainSize);
                if (d) {
                    d->willDisplayCell(*this, *cell, path);
                }
            }
            mainEnd = lineStart + lineDepth + (vertical ? inset.bottom : inset.right);
        }
    }
    reloading_ = false;
    setContentSize(vertical ? Size{bounds.width, mainEnd} : Size{mainEnd, bounds.height});
}

int CollectionView::numberOfItems(int section) const {
    if (section < 0 || section >= numberOfSections()) {
        return 0;
    }
    return static_cast<int>(sections_[static_cast<std::size_t>(section)].size());
}

std::shared_ptr<CollectionViewCell> CollectionView::cellForItem(IndexPath indexPath) const {
    if (indexPath.row < 0 || indexPath.row >= numberOfItems(indexPath.section)) {
        return nullptr;
    }
    return sections_[static_cast<std::size_t>(indexPath.section)]
                    [static_cast<std::size_t>(indexPath.row)];
}

std::vector<std::shared_ptr<CollectionViewCell>> CollectionView::visibleCells() const {
    std::vector<std::shared_ptr<CollectionViewCell>> cells;
    for (const auto& section : sections_) {
        cells.insert(cells.end(), section.begin(), section.end());
    }
    return cells;
}

std::optional<IndexPath> CollectionView::indexPathForCell(const CollectionViewCell& cell) const {
    for (std::size_t s = 0; s < sections_.size(); ++s) {
        for (std::size_t i = 0; i < sections_[s].size(); ++i) {
            if (sections_[s][i].get() == &cell) {
                return IndexPath{static_cast<int>(s), static_cast<int>(i)};
            }
        }
    }
    return std::nullopt;
}

std::vector<IndexPath> CollectionView::indexPathsForSelectedItems() const {
    if (selected_) {
        return {*selected_};
    }
    return {};
}

void CollectionView::selectItem(IndexPath indexPath, bool animated, ScrollPosition position) {
    (void)animated;
    (void)position;
    auto cell = cellForItem(indexPath);
    // While reloading, the item may be the one whose cell is being made: it is selected
    // when its cell joins.
    if (!cell && !reloading_) {
        return;
    }
    if (selected_ && *selected_ != indexPath) {
        if (auto old = cellForItem(*selected_)) {
            old->setSelected(false);
        }
    }
    selected_ = indexPath;
    if (cell) {
        cell->setSelected(true);
    }
}

void CollectionView::deselectItem(IndexPath indexPath, bool animated) {
    (void)animated;
    if (selected_ == indexPath) {
        selected_.reset();
    }
    if (auto cell = cellForItem(indexPath)) {
        cell->setSelected(false);
    }
}

bool CollectionView::tapItem(IndexPath indexPath) {
    auto self = weak_from_this().lock();
    auto cell = cellForItem(indexPath);
    if (!cell || !canReceiveTouches()) {
        return false;
    }
    cell->touchesBegan();
    if (!allowsSelection_) {
        return true;
    }
    const auto previous = selected_;
    if (previous && *previous != indexPath) {
        deselectItem(*previous);
        if (auto d = delegate()) {
            d->didDeselectItem(*this, *previous);
        }
    }
    selectItem(indexPath);
    if (auto d = delegate()) {
        d->didSelectItem(*this, indexPath);
    }
    return true;
}

void CollectionView::describeAttributes(std::vector<std::string>& out) const {
    int items = 0;
    for (int s = 0; s < numberOfSections(); ++s) {
        items += numberOfItems(s);
    }
    out.push_back("items=" + std::to_string(items));
    ScrollView::describeAttributes(out);
}

}  // namespace quillgate::ui

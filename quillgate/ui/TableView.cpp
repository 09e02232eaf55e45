#include "quillgate/ui/TableView.h"

#include <algorithm>

#include "quillgate/platform/Log.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Layout.h"

namespace quillgate::ui {

TableView::~TableView() = default;

// ---- Cells

void TableView::registerNib(const std::string& nibName, const std::string& identifier) {
    cells_.registerNib(nibName, identifier);
}

void TableView::registerClass(const std::string& identifier, CellFactory factory) {
    cells_.registerClass(identifier, std::move(factory));
}

bool TableView::isRegistered(const std::string& identifier) const {
    return cells_.isRegistered(identifier);
}

std::shared_ptr<TableViewCell> TableView::dequeueReusableCell(const std::string& identifier) {
    auto [cell, failure] = cells_.dequeue(identifier);
    if (failure == CellQueue<TableViewCell>::Failure::nibIsNotACell) {
        platform::fatal("invalid nib registered for identifier (" + identifier +
                        ") - nib must contain exactly one top level object which must be a "
                        "UITableViewCell instance");
    }
    if (failure == CellQueue<TableViewCell>::Failure::notRegistered) {
        platform::fatal("unable to dequeue a cell with identifier " + identifier +
                        " - must register a nib or a class for the identifier or connect a "
                        "prototype cell in a storyboard");
    }
    return cell;
}

std::shared_ptr<TableViewCell> TableView::dequeueReusableCell(const std::string& identifier,
                                                              IndexPath indexPath) {
    (void)indexPath;
    return dequeueReusableCell(identifier);
}

// ---- Content

void TableView::reloadData() {
    auto self = weak_from_this().lock();
    ++reloadCount_;

    // Set the old rows aside for reuse.
    for (auto& section : sections_) {
        if (section.header) {
            section.header->removeFromSuperview();
        }
        for (auto& row : section.rows) {
            cells_.setAside(row.cell);
        }
    }
    sections_.clear();
    selected_.reset();

    auto source = dataSource();
    const double width = frame().width();
    double y = 0;
    if (source) {
        const int sectionCount = std::max(0, source->numberOfSections(*this));
        for (int s = 0; s < sectionCount; ++s) {
            Section section;
            auto d = delegate();
            section.header = d ? d->viewForHeader(*this, s) : nullptr;
            if (!section.header) {
                if (auto title = source->titleForHeader(*this, s)) {
                    auto label = std::make_shared<Label>(*title);
                    section.header = label;
                }
            }
            section.requestedHeaderHeight =
                (d ? d->heightForHeader(*this, s) : std::nullopt)
                    .value_or(section.header ? sectionHeaderHeight_ : 0);
            const double h = headerHeight(section, width);
            if (section.header) {
                section.header->setFrame(Rect(0, y, width, h));
                addSubview(section.header);
            }
            y += h;

            const int rowCount = std::max(0, source->numberOfRows(*this, s));
            for (int r = 0; r < rowCount; ++r) {
                const IndexPath path{s, r};
                auto cell = source->cellForRow(*this, path);
                if (!cell) {
                    platform::log(
                        "UITableView dataSource returned a nil cell for row at index "
                        "path: " +
                        std::to_string(s) + "-" + std::to_string(r));
                    continue;
                }
                d = delegate();
                Row row;
                row.cell = cell;
                row.requestedHeight =
                    (d ? d->heightForRow(*this, path) : std::nullopt).value_or(rowHeight_);
                const double rowH = rowHeightFor(row, width);
                row.frame = Rect(0, y, width, rowH);
                cell->setFrame(row.frame);
                addSubview(cell);
                section.rows.push_back(std::move(row));
                y += rowH;
                if (d) {
                    d->willDisplayCell(*this, *cell, path);
                }
            }
            sections_.push_back(std::move(section));
        }
    }
    placedWidth_ = width;
    setContentSize(Size{width, y});
}

double TableView::headerHeight(const Section& section, double width) const {
    double h = section.requestedHeaderHeight;
    if (h == automaticDimension) {
        h = section.header ? fittingSize(*section.header, width).height : 0;
    }
    return std::max(0.0, h);
}

double TableView::rowHeightFor(const Row& row, double width) const {
    double h = row.requestedHeight;
    if (h == automaticDimension) {
        h = fittingSize(*row.cell, width).height;
        if (h <= 0) {
            h = estimatedRowHeight_ > 0 ? estimatedRowHeight_ : 44;
        }
    }
    return std::max(0.0, h);
}

void TableView::placeRows() {
    auto self = weak_from_this().lock();
    const double width = frame().width();
    double y = 0;
    for (auto& section : sections_) {
        const double h = headerHeight(section, width);
        if (section.header) {
            section.header->setFrame(Rect(0, y, width, h));
        }
        y += h;
        for (auto& row : section.rows) {
            row.frame = Rect(0, y, width, rowHeightFor(row, width));
            row.cell->setFrame(row.frame);
            y += row.frame.height();
        }
    }
    placedWidth_ = width;
    setContentSize(Size{width, y});
}

void TableView::layoutSubviews() {
    if (placedWidth_ && *placedWidth_ != frame().width()) {
        placeRows();
    }
}

int TableView::numberOfRows(int section) const {
    if (section < 0 || section >= numberOfSections()) {
        return 0;
    }
    return static_cast<int>(sections_[static_cast<std::size_t>(section)].rows.size());
}

std::shared_ptr<TableViewCell> TableView::cellForRow(IndexPath indexPath) const {
    if (indexPath.row < 0 || indexPath.row >= numberOfRows(indexPath.section)) {
        return nullptr;
    }
    return sections_[static_cast<std::size_t>(indexPath.section)]
        .rows[static_cast<std::size_t>(indexPath.row)]
        .cell;
}

std::vector<std::shared_ptr<TableViewCell>> TableView::visibleCells() const {
    std::vector<std::shared_ptr<TableViewCell>> cells;
    for (const auto& section : sections_) {
        for (const auto& row : section.rows) {
            cells.push_back(row.cell);
        }
    }
    return cells;
}

std::optional<IndexPath> TableView::indexPathForCell(const TableViewCell& cell) const {
    for (std::size_t s = 0; s < sections_.size(); ++s) {
        const auto& rows = sections_[s].rows;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            if (rows[r].cell.get() == &cell) {
                return IndexPath{static_cast<int>(s), static_cast<int>(r)};
            }
        }
    }
    return std::nullopt;
}

std::shared_ptr<View> TableView::headerView(int section) const {
    if (section < 0 || section >= numberOfSections()) {
        return nullptr;
    }
    return sections_[static_cast<std::size_t>(section)].header;
}

std::optional<Rect> TableView::rectForRow(IndexPath indexPath) const {
    if (indexPath.row < 0 || indexPath.row >= numberOfRows(indexPath.section)) {
        return std::nullopt;
    }
    return sections_[static_cast<std::size_t>(indexPath.section)]
        .rows[static_cast<std::size_t>(indexPath.row)]
        .frame;
}

// ---- Selection

void TableView::selectRow(IndexPath indexPath, bool animated, ScrollPosition position) {
    (void)position;
    auto cell = cellForRow(indexPath);
    if (!cell) {
        return;
    }
    if (selected_ && *selected_ != indexPath) {
        if (auto old = cellForRow(*selected_)) {
            old->setSelected(false, animated);
        }
    }
    selected_ = indexPath;
    cell->setSelected(true, animated);
}

void TableView::deselectRow(IndexPath indexPath, bool animated) {
    if (selected_ == indexPath) {
        selected_.reset();
    }
    if (auto cell = cellForRow(indexPath)) {
        cell->setSelected(false, animated);
    }
}

bool TableView::tapRow(IndexPath indexPath) {
    auto self = weak_from_this().lock();
    auto cell = cellForRow(indexPath);
    if (!cell || !canReceiveTouches()) {
        return false;
    }
    cell->touchesBegan();
    selectByTouch(indexPath);
    return true;
}

bool TableView::touchEndedOnCell(const TableViewCell& cell) {
    auto self = weak_from_this().lock();
    const auto indexPath = indexPathForCell(cell);
    if (!indexPath) {
        return false;
    }
    selectByTouch(*indexPath);
    return true;
}

void TableView::selectByTouch(IndexPath indexPath) {
    if (!allowsSelection_) {
        return;
    }
    const auto previous = selected_;
    if (previous && *previous != indexPath) {
        deselectRow(*previous);
        if (auto d = delegate()) {
            d->didDeselectRow(*this, *previous);
        }
    }
    selectRow(indexPath);
    if (auto d = delegate()) {
        d->didSelectRow(*this, indexPath);
    }
}

void TableView::describeAttributes(std::vector<std::string>& out) const {
    int rows = 0;
    for (int s = 0; s < numberOfSections(); ++s) {
        rows += numberOfRows(s);
    }
    out.push_back("rows=" + std::to_string(rows));
    ScrollView::describeAttributes(out);
}

}  // namespace quillgate::ui

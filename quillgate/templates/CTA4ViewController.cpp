#include "quillgate/templates/CTA4ViewController.h"

#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/CommonCells.h"

namespace quillgate {

namespace {

constexpr double kRowPadding = 5;

// The nib's one view in the cell's content view, if it has one.
std::shared_ptr<ui::View> nibContent(const ui::TableViewCell& cell) {
    const auto& views = cell.subviews();
    if (views.empty() || views.front()->subviews().empty()) {
        return nullptr;
    }
    return views.front()->subviews().front();
}

}  // namespace

ui::Size CTA4TableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto row = nibContent(*this);
    const double height = row ? card::fittingHeight(*row, fitting.width - 2 * card::margin) : 0;
    return ui::Size{fitting.width, height + 2 * kRowPadding};
}

void CTA4TableViewCell::layoutSubviews() {
    const auto row = nibContent(*this);
    if (!row) {
        return;
    }
    const double width = bounds().width() - 2 * card::margin;
    row->setFrame(ui::Rect(card::margin, kRowPadding, width, card::fittingHeight(*row, width)));
}

void CTA4ViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    setUpTable(
        {"CommonHeaderCenterTableViewCell", "CTA4TableViewCell", "CommonFooterTableViewCell"});
    reloadSoon();
}

int CTA4ViewController::numberOfRows(ui::TableView&, int) {
    return 5;
}

std::shared_ptr<ui::TableViewCell> CTA4ViewController::cellForRow(ui::TableView& table,
                                                                  ui::IndexPath indexPath) {
    if (indexPath.row == 0) {
        auto cell =
            dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
        cell->lblName->setText("Don't miss out on the full story");
        return cell;
    }
    if (indexPath.row <= 3) {
        return dequeue<CTA4TableViewCell>(table, "CTA4TableViewCell");
    }
    // Configured, and deliberately not wired: this template's button does nothing.
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configure(false, "Buy Now", customizePayWallModel());
    return footer;
}

}  // namespace quillgate

#include "quillgate/templates/CTA7ViewController.h"

namespace quillgate {

void CTA7ViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    setUpTable({"CommonHeaderCenterTableViewCell", "CommonFooterTableViewCell"});
    applyDisplayType();
    applyCardBackground();
    const SlotInfo* slotInfo = slots();
    if (slotInfo && slotInfo->contentDivBtn) {
        selectedSlot = slotInfo->contentDivBtn->value;
    }
    reloadSoon();
}

int CTA7ViewController::numberOfRows(ui::TableView&, int) {
    return 3;
}

std::shared_ptr<ui::TableViewCell> CTA7ViewController::cellForRow(ui::TableView& table,
                                                                  ui::IndexPath indexPath) {
    const typography* texts = textStyles();
    if (indexPath.row == 0 || indexPath.row == 1) {
        auto cell =
            dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
        if (indexPath.row == 0) {
            cell->configure("Enjoy \"Brand-name\" Gold", texts ? texts->heading : std::nullopt,
                            22.0);
        } else {
            cell->configure("Subscribe for unlimited, uninterrupted and easy digital access",
                            texts ? texts->subHeading : std::nullopt, 15.0);
        }
        return cell;
    }
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configure(false, "Subscribe", customizePayWallModel());
    wireFooter(*footer);
    return footer;
}

void CTA7ViewController::btnSubmitAction() {
    submitValueWord(selectedSlot);
}

}  // namespace quillgate

#include "quillgate/templates/CTA5ViewController.h"

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/Styling.h"

namespace quillgate {

namespace {

constexpr const char* kHeading = "Don't miss out on the full story";
constexpr const char* kSubHeading =
    "Subscribe for unlimited, uninterrupted and easy digital access";

enum Card { first = 0, second = 1, third = 2 };

// The members, slot and default title of a card. Only the single card of CTA5A1 takes its
// box from `contentDiv`; the first card of the others takes `contentDivBtn`.
OfferCardStyle cardStyle(const SharedCustomizePayWallModel& model, Card card, bool single) {
    OfferCardStyle style;
    const typography* texts = textStylesOf(model);
    const Borders* frames = bordersOf(model);
    const SlotInfo* slots = slotInfoOf(model);
    switch (card) {
        case first:
            style.defaultTitle = "Subscribe";
            if (texts) {
                style.title = texts->contentHeader;
                style.price = texts->contentDivPrice;
                style.discount = texts->contentDivCutPrice;
                style.originalPrice = texts->contentDivSymbolPrice;
                style.description = texts->contentDivDiscription;
            }
            if (frames) {
                style.header = frames->contentHeader;
                style.box = single ? frames->contentDiv : frames->contentDivBtn;
            }
            if (slots) {
                style.value = valueOf(slots->contentDivBtn);
            }
            break;
        case second:
            style.defaultTitle = "Weekly Pass";
            if (texts) {
                style.title = texts->passHeader;
                style.price = texts->passDivPrice;
                style.discount = texts->passDivCutPrice;
                style.originalPrice = texts->passDivSymbolPrice;
                style.description = texts->passDivDiscription;
            }
            if (frames) {
                style.header = frames->passHeader;
                style.box = frames->passDivBtn;
            }
            if (slots) {
                style.value = valueOf(slots->passDivBtn);
            }
            break;
        case third:
            // The spelling of the default is the program's own.
            style.defaultTitle = "Anually";
            if (texts) {
                style.title = texts->subscriptionHeader;
                style.price = texts->subDivPrice;
                style.discount = texts->subscriptionDivCutPrice;
                style.originalPrice = texts->subscriptionDivSymbolPrice;
                style.description = texts->subDivDiscription;
            }
            if (frames) {
                style.header = frames->subscriptionHeader;
                style.box = frames->subDivBtn;
            }
            if (slots) {
                style.value = valueOf(slots->subDivBtn);
            }
            break;
    }
    return style;
}

// The tapped card's box in the selection colour, the others in their own.
void repaint(const SharedCustomizePayWallModel& model, const std::vector<OfferCardViews>& cards,
             int selected) {
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const auto card = static_cast<Card>(i);
        styleBox(cardStyle(model, card, false).box,
                 static_cast<int>(i) == selected ? std::optional<ui::Color>(kSelectionColor)
                                                 : std::nullopt,
                 *cards[i].main);
    }
}

std::optional<std::string> slotValue(const SlotInfo* slots, Card card) {
    if (!slots) {
        return std::nullopt;
    }
    switch (card) {
        case first:
            return valueOf(slots->contentDivBtn);
        case second:
            return valueOf(slots->passDivBtn);
        case third:
            return valueOf(slots->subDivBtn);
    }
    return std::nullopt;
}

}  // namespace

// ---- Cells

#define QUILLGATE_CARD_VIEWS(P, T, B)                                                 \
    OfferCardViews {                                                                  \
        view##P##main.get(), view##P##lable.get(), T.get(), lbl##P##Title.get(),      \
            lbl##P##Price.get(), lbl##P##Discount.get(), lbl##P##OriginalPrice.get(), \
            lbl##P##Discription.get(), B.get()                                        \
    }

std::vector<OfferCardViews> CTA5A1TableViewCell::cards() const {
    return {QUILLGATE_CARD_VIEWS(Y, triangleView, btnY)};
}

std::vector<OfferCardViews> CTA5A2TableViewCell::cards() const {
    return {QUILLGATE_CARD_VIEWS(D, triangleView1, btnD),
            QUILLGATE_CARD_VIEWS(W, triangleView2, btnW)};
}

std::vector<OfferCardViews> CTA5A3TableViewCell::cards() const {
    return {QUILLGATE_CARD_VIEWS(D, triangleView1, btnD),
            QUILLGATE_CARD_VIEWS(W, triangleView2, btnW),
            QUILLGATE_CARD_VIEWS(Y, triangleView3, btnY)};
}

#undef QUILLGATE_CARD_VIEWS

void CTA5A1TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    configureOfferCard(cards()[0], cardStyle(model, first, true));
    setNeedsLayout();
}

ui::Size CTA5A1TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, offerRowHeight(cards(), fitting.width)};
}

void CTA5A1TableViewCell::layoutSubviews() {
    layoutOfferRow(*boxView, cards(), bounds().width());
}

void CTA5A2TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    customizePayWallModel = model;
    const auto all = cards();
    configureOfferCard(all[0], cardStyle(model, first, false));
    configureOfferCard(all[1], cardStyle(model, second, false));
    setNeedsLayout();
}

ui::Size CTA5A2TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, offerRowHeight(cards(), fitting.width)};
}

void CTA5A2TableViewCell::layoutSubviews() {
    layoutOfferRow(*boxView, cards(), bounds().width());
}

void CTA5A2TableViewCell::btnDailyPassAction() {
    repaint(customizePayWallModel, cards(), first);
}

void CTA5A2TableViewCell::btnWeeklyPassAction() {
    repaint(customizePayWallModel, cards(), second);
}

void CTA5A3TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    customizePayWallModel = model;
    const auto all = cards();
    configureOfferCard(all[0], cardStyle(model, first, false));
    configureOfferCard(all[1], cardStyle(model, second, false));
    configureOfferCard(all[2], cardStyle(model, third, false));
    setNeedsLayout();
}

ui::Size CTA5A3TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, offerRowHeight(cards(), fitting.width)};
}

void CTA5A3TableViewCell::layoutSubviews() {
    layoutOfferRow(*boxView, cards(), bounds().width());
}

void CTA5A3TableViewCell::select(int card) {
    repaint(customizePayWallModel, cards(), card);
}

void CTA5A3TableViewCell::btnDailyPassAction() {
    select(first);
}

void CTA5A3TableViewCell::btnWeeklyPassAction() {
    select(second);
}

void CTA5A3TableViewCell::btnYearlyAction() {
    select(third);
}

// ---- Screen

CTA5Type CTA5ViewController::typeFor(const std::string& numOfCta) {
    switch (variantNumber(numOfCta, 3)) {
        case 2:
            return CTA5Type::CTA5A2;
        case 3:
            return CTA5Type::CTA5A3;
        default:
            return CTA5Type::CTA5A1;
    }
}

void CTA5ViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    setUpTable({"CommonHeaderCenterTableViewCell", "CTA5A1TableViewCell", "CTA5A2TableViewCell",
                "CTA5A3TableViewCell", "CommonFooterTableViewCell"});
    applyDisplayType();
    type = typeFor(QuillgateClient::shared().numOfCta);
    applyCardBackground();
    selectedSlot = slotValue(slots(), first);
    reloadSoon(
        [](BaseViewController& screen) { static_cast<CTA5ViewController&>(screen).preselect(); });
}

void CTA5ViewController::preselect() {
    if (type == CTA5Type::CTA5A1) {
        platform::log("CTA5A1");
        return;
    }
    auto cell = tblView->cellForRow(ui::IndexPath{0, 2});
    if (type == CTA5Type::CTA5A2) {
        if (auto cards = std::dynamic_pointer_cast<CTA5A2TableViewCell>(cell)) {
            cards->btnDailyPassAction();
        }
    } else if (auto cards = std::dynamic_pointer_cast<CTA5A3TableViewCell>(cell)) {
        cards->btnDailyPassAction();
    }
}

int CTA5ViewController::numberOfRows(ui::TableView&, int) {
    return 4;
}

std::shared_ptr<ui::TableViewCell> CTA5ViewController::cellForRow(ui::TableView& table,
                                                                  ui::IndexPath indexPath) {
    const typography* texts = textStyles();
    const auto model = customizePayWallModel();
    switch (indexPath.row) {
        case 0: {
            auto cell =
                dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
            cell->configure(kHeading, texts ? texts->heading : std::nullopt, 22.0);
            return cell;
        }
        case 1: {
            auto cell =
                dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
            cell->configure(kSubHeading, texts ? texts->subHeading : std::nullopt, 15.0);
            return cell;
        }
        case 2:
            switch (type) {
                case CTA5Type::CTA5A1: {
                    auto cell = dequeue<CTA5A1TableViewCell>(table, "CTA5A1TableViewCell");
                    cell->configure(model);
                    return cell;
                }
                case CTA5Type::CTA5A2: {
                    auto cell = dequeue<CTA5A2TableViewCell>(table, "CTA5A2TableViewCell");
                    cell->configure(model);
                    wireTouchUp(*cell->btnD, this, "btnDailyPassTap:",
                                weakAction(&CTA5ViewController::btnDailyPassTap));
                    wireTouchUp(*cell->btnW, this, "btnWeeklyPassTap:",
                                weakAction(&CTA5ViewController::btnWeeklyPassTap));
                    return cell;
                }
                case CTA5Type::CTA5A3: {
                    auto cell = dequeue<CTA5A3TableViewCell>(table, "CTA5A3TableViewCell");
                    cell->configure(model);
                    wireTouchUp(*cell->btnD, this, "btnDailyPassTap:",
                                weakAction(&CTA5ViewController::btnDailyPassTap));
                    wireTouchUp(*cell->btnW, this, "btnWeeklyPassTap:",
                                weakAction(&CTA5ViewController::btnWeeklyPassTap));
                    wireTouchUp(*cell->btnY, this,
                                "btnYearlyTap:", weakAction(&CTA5ViewController::btnYearlyTap));
                    return cell;
                }
            }
            break;
        default:
            break;
    }
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configure(type != CTA5Type::CTA5A1, "Buy Now", model);
    wireFooter(*footer);
    return footer;
}

void CTA5ViewController::btnDailyPassTap() {
    selectedSlot = slotValue(slots(), first);
}

void CTA5ViewController::btnWeeklyPassTap() {
    selectedSlot = slotValue(slots(), second);
}

void CTA5ViewController::btnYearlyTap() {
    selectedSlot = slotValue(slots(), third);
}

void CTA5ViewController::btnSubmitAction() {
    submitValueWord(selectedSlot);
}

}  // namespace quillgate

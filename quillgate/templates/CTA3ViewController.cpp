#include "quillgate/templates/CTA3ViewController.h"

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/service/Description.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/templates/TemplateParts.h"

namespace quillgate {

namespace {

constexpr const char* kHeading = "Don't miss out on the full story";
constexpr const char* kSubHeading =
    "Subscribe for unlimited, uninterrupted and easy digital access";

// The three boxes: which slot, which styles, which default title.
enum Box { first = 0, second = 1, third = 2 };

struct BoxStyle {
    std::optional<typographyData> title;
    std::optional<typographyData> price;
    std::optional<borderData> frame;
    std::optional<SlotDetails> slot;
    const char* defaultTitle;
};

BoxStyle boxStyle(const SharedCustomizePayWallModel& model, Box box) {
    BoxStyle style{};
    const typography* texts = textStylesOf(model);
    const Borders* frames = bordersOf(model);
    const SlotInfo* slots = slotInfoOf(model);
    switch (box) {
        case first:
            style.defaultTitle = "Weekly \nMICROPAYMENT";
            if (texts) {
                style.title = texts->contentDivTitle;
                style.price = texts->contentDivPrice;
            }
            if (frames)
                style.frame = frames->contentDivBtn;
            if (slots)
                style.slot = slots->contentDivBtn;
            break;
        case second:
            style.defaultTitle = "Weekly Pass";
            if (texts) {
                style.title = texts->passDivTitle;
                style.price = texts->passDivPrice;
            }
            if (frames)
                style.frame = frames->passDivBtn;
            if (slots)
                style.slot = slots->passDivBtn;
            break;
        case third:
            style.defaultTitle = "Weekly Subscription";
            if (texts) {
                style.title = texts->subDivTitle;
                style.price = texts->subDivPrice;
            }
            if (frames)
                style.frame = frames->subDivBtn;
            if (slots)
                style.slot = slots->subDivBtn;
            break;
    }
    return style;
}

// The price line of a box: the configured text as a prefix of the live price for "content"
// and "pass", the whole text for "subscription" and "custom url". No text gives "@39"; a
// text of one space asks for no prefix.
std::string priceLine(const BoxStyle& style, const char* variantLine) {
    std::string text = "@39";
    if (style.price && style.price->text) {
        const std::string& given = *style.price->text;
        if (given == " ") {
            text.clear();
        } else if (isNotBlank(std::string_view(given))) {
            text = given;
        }
    }
    return livePriceText(std::move(text), valueOf(style.slot), variantLine,
                         WholeTextWords::subscriptionAndCustomUrl);
}

void configureBox(const SharedCustomizePayWallModel& model, Box box, const char* variantLine,
                  ui::Label& title, ui::Label& price, ui::View& frame) {
    const BoxStyle style = boxStyle(model, box);
    styleLabel(title, style.title, textOrDefault(style.title, style.defaultTitle), 14.0);
    styleLabel(price, style.price, priceLine(style, variantLine), 14.0);
    styleBox(style.frame, std::nullopt, frame);
}

void repaint(const SharedCustomizePayWallModel& model, Box box, ui::View& frame, bool selected) {
    styleBox(boxStyle(model, box).frame,
             selected ? std::optional<ui::Color>(kSelectionColor) : std::nullopt, frame);
}

std::optional<SlotDetails> slotOf(const SlotInfo* slots, Box box) {
    if (!slots) {
        return std::nullopt;
    }
    switch (box) {
        case first:
            return slots->contentDivBtn;
        case second:
            return slots->passDivBtn;
        case third:
            return slots->subDivBtn;
    }
    return std::nullopt;
}

// One box of a row: its frame view, its two labels and the button over it.
struct BoxViews {
    std::shared_ptr<ui::View> frame;
    std::shared_ptr<ui::Label> title;
    std::shared_ptr<ui::Label> price;
    std::shared_ptr<CustomButton> button;
};

constexpr double kBoxGap = 10;
constexpr double kBoxPadding = 12;
constexpr double kLineGap = 6;
constexpr double kRowPadding = 10;

// The boxes share the row's width equally; all take the height of the tallest.
double boxWidth(double rowWidth, std::size_t count) {
    const auto n = static_cast<double>(count);
    return (rowWidth - 2 * card::margin - (n - 1) * kBoxGap) / n;
}

double boxHeight(const std::vector<BoxViews>& boxes, double width) {
    double tallest = 0;
    const double inner = width - 2 * kBoxPadding;
    for (const auto& box : boxes) {
        tallest = std::max(tallest, card::fittingHeight(*box.title, inner) + kLineGap +
                                        card::fittingHeight(*box.price, inner));
    }
    return tallest + 2 * kBoxPadding;
}

double rowHeight(const std::vector<BoxViews>& boxes, double rowWidth) {
    return boxHeight(boxes, boxWidth(rowWidth, boxes.size())) + 2 * kRowPadding;
}

void layoutBoxes(ui::View& row, const std::vector<BoxViews>& boxes, double rowWidth) {
    row.setFrame(ui::Rect(0, 0, rowWidth, rowHeight(boxes, rowWidth)));
    const double width = boxWidth(rowWidth, boxes.size());
    const double height = boxHeight(boxes, width);
    const double inner = width - 2 * kBoxPadding;
    double x = card::margin;
    for (const auto& box : boxes) {
        box.frame->setFrame(ui::Rect(x, kRowPadding, width, height));
        const double titleHeight = card::fittingHeight(*box.title, inner);
        box.title->setFrame(ui::Rect(kBoxPadding, kBoxPadding, inner, titleHeight));
        box.price->setFrame(ui::Rect(kBoxPadding, kBoxPadding + titleHeight + kLineGap, inner,
                                     card::fittingHeight(*box.price, inner)));
        box.button->setFrame(ui::Rect(0, 0, width, height));
        x += width + kBoxGap;
    }
}

}  // namespace

// ---- Cells -----------------------------------------------------------------------------

void CTA3A1TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    configureBox(model, first, "Selected Slot 3A 1 CTA : ", *lblYTitle, *lblYPrice, *viewYearly);
    setNeedsLayout();
}

ui::Size CTA3A1TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width,
                    rowHeight({{viewYearly, lblYTitle, lblYPrice, btnY}}, fitting.width)};
}

void CTA3A1TableViewCell::layoutSubviews() {
    layoutBoxes(*boxView, {{viewYearly, lblYTitle, lblYPrice, btnY}}, bounds().width());
}

ui::Size CTA3A2TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, rowHeight({{viewDaily, lblDTitle, lblDPrice, btnD},
                                              {viewWeekly, lblWTitle, lblWPrice, btnW}},
                                             fitting.width)};
}

void CTA3A2TableViewCell::layoutSubviews() {
    layoutBoxes(*boxView,
                {{viewDaily, lblDTitle, lblDPrice, btnD}, {viewWeekly, lblWTitle, lblWPrice, btnW}},
                bounds().width());
}

ui::Size CTA3A3TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, rowHeight({{viewDaily, lblDTitle, lblDPrice, btnD},
                                              {viewWeekly, lblWTitle, lblWPrice, btnW},
                                              {viewYearly, lblYTitle, lblYPrice, btnY}},
                                             fitting.width)};
}

void CTA3A3TableViewCell::layoutSubviews() {
    layoutBoxes(*boxView,
                {{viewDaily, lblDTitle, lblDPrice, btnD},
                 {viewWeekly, lblWTitle, lblWPrice, btnW},
                 {viewYearly, lblYTitle, lblYPrice, btnY}},
                bounds().width());
}

void CTA3A2TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    customizePayWallModel = model;
    configureBox(model, first, "Selected Slot 3A 2 CTA: ", *lblDTitle, *lblDPrice, *viewDaily);
    configureBox(model, second, "Selected Slot 3A 2 CTA: ", *lblWTitle, *lblWPrice, *viewWeekly);
    setNeedsLayout();
}

void CTA3A2TableViewCell::btnDailyPassAction() {
    repaint(customizePayWallModel, first, *viewDaily, true);
    repaint(customizePayWallModel, second, *viewWeekly, false);
}

void CTA3A2TableViewCell::btnWeeklyPassAction() {
    repaint(customizePayWallModel, first, *viewDaily, false);
    repaint(customizePayWallModel, second, *viewWeekly, true);
}

void CTA3A3TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    customizePayWallModel = model;
    configureBox(model, first, "Selected Slot 3A 3 CTA: ", *lblDTitle, *lblDPrice, *viewDaily);
    configureBox(model, second, "Selected Slot 3A 3 CTA: ", *lblWTitle, *lblWPrice, *viewWeekly);
    configureBox(model, third, "Selected Slot 3A 3 CTA: ", *lblYTitle, *lblYPrice, *viewYearly);
    setNeedsLayout();
}

void CTA3A3TableViewCell::select(int box) {
    repaint(customizePayWallModel, first, *viewDaily, box == first);
    repaint(customizePayWallModel, second, *viewWeekly, box == second);
    repaint(customizePayWallModel, third, *viewYearly, box == third);
}

void CTA3A3TableViewCell::btnDailyPassAction() {
    select(first);
}

void CTA3A3TableViewCell::btnWeeklyPassAction() {
    select(second);
}

void CTA3A3TableViewCell::btnYearlyAction() {
    select(third);
}

// ---- Screen ----------------------------------------------------------------------------

CTA3Type CTA3ViewController::typeFor(const std::string& numOfCta) {
    switch (variantNumber(numOfCta, 3)) {
        case 2:
            return CTA3Type::CTA3A2;
        case 3:
            return CTA3Type::CTA3A3;
        default:
            return CTA3Type::CTA3A1;
    }
}

void CTA3ViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    setUpTable({"CommonHeaderCenterTableViewCell", "CTA3A1TableViewCell", "CTA3A2TableViewCell",
                "CTA3A3TableViewCell", "CommonFooterTableViewCell"});
    applyDisplayType();
    type = typeFor(QuillgateClient::shared().numOfCta);
    applyCardBackground();
    selectedSlot = slotOf(slots(), first);
    reloadSoon(
        [](BaseViewController& screen) { static_cast<CTA3ViewController&>(screen).preselect(); });
}

void CTA3ViewController::preselect() {
    if (type == CTA3Type::CTA3A1) {
        platform::log("CTA3A1");
        return;
    }
    auto cell = tblView->cellForRow(ui::IndexPath{0, 2});
    if (type == CTA3Type::CTA3A2) {
        if (auto boxes = std::dynamic_pointer_cast<CTA3A2TableViewCell>(cell)) {
            boxes->btnDailyPassAction();
        }
    } else if (auto boxes = std::dynamic_pointer_cast<CTA3A3TableViewCell>(cell)) {
        boxes->btnDailyPassAction();
    }
}

int CTA3ViewController::numberOfRows(ui::TableView&, int) {
    return 4;
}

std::shared_ptr<ui::TableViewCell> CTA3ViewController::cellForRow(ui::TableView& table,
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
                case CTA3Type::CTA3A1: {
                    auto cell = dequeue<CTA3A1TableViewCell>(table, "CTA3A1TableViewCell");
                    cell->configure(model);
                    return cell;
                }
                case CTA3Type::CTA3A2: {
                    auto cell = dequeue<CTA3A2TableViewCell>(table, "CTA3A2TableViewCell");
                    cell->configure(model);
                    wireTouchUp(*cell->btnD, this, "btnDailyPassTap:",
                                weakAction(&CTA3ViewController::btnDailyPassTap));
                    wireTouchUp(*cell->btnW, this, "btnWeeklyPassTap:",
                                weakAction(&CTA3ViewController::btnWeeklyPassTap));
                    return cell;
                }
                case CTA3Type::CTA3A3: {
                    auto cell = dequeue<CTA3A3TableViewCell>(table, "CTA3A3TableViewCell");
                    cell->configure(model);
                    wireTouchUp(*cell->btnD, this, "btnDailyPassTap:",
                                weakAction(&CTA3ViewController::btnDailyPassTap));
                    wireTouchUp(*cell->btnW, this, "btnWeeklyPassTap:",
                                weakAction(&CTA3ViewController::btnWeeklyPassTap));
                    wireTouchUp(*cell->btnY, this,
                                "btnYearlyTap:", weakAction(&CTA3ViewController::btnYearlyTap));
                    return cell;
                }
            }
            break;
        default:
            break;
    }
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configure(true, "Subscribe", model);
    wireFooter(*footer);
    return footer;
}

void CTA3ViewController::btnDailyPassTap() {
    selectedSlot = slotOf(slots(), first);
}

void CTA3ViewController::btnWeeklyPassTap() {
    selectedSlot = slotOf(slots(), second);
}

void CTA3ViewController::btnYearlyTap() {
    selectedSlot = slotOf(slots(), third);
}

void CTA3ViewController::btnSubmitAction() {
    platform::log("Selected Slot 1#: " +
                  description::optional(selectedSlot ? selectedSlot->value : std::nullopt));
    if (!selectedSlot || !selectedSlot->value) {
        return;
    }
    const std::string word = platform::text::lowercased(*selectedSlot->value);
    if (actOnOfferWord(word) || word != "custom url") {
        return;
    }
    platform::log("custom url");
    auto& client = QuillgateClient::shared();
    if (auto host = client.completionHandlerDelegate.lock()) {
        host->onCustomLinkSlot(selectedSlot->redirectUrl, client.contentID);
    }
}

}  // namespace quillgate

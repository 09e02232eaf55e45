#include "quillgate/templates/CTA8ViewController.h"

#include <algorithm>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/templates/TemplateParts.h"

namespace quillgate {

namespace {

// What one line shows: its members, defaults and slot.
struct LineStyle {
    std::optional<typographyData> title;
    std::optional<typographyData> price;
    std::optional<typographyData> discount;
    std::optional<SlotDetails> slot;
    const char* defaultTitle;
    const char* defaultPrice;
    const char* defaultDiscount;
};

LineStyle lineStyle(const SharedCustomizePayWallModel& model, CTA8Type type, int row) {
    LineStyle style{};
    const typography* texts = textStylesOf(model);
    const SlotInfo* slots = slotInfoOf(model);
    if (type == CTA8Type::CTA8A1) {
        style.defaultTitle = "Subscribe for unlimited, uninterrupted and easy digital access";
        style.defaultPrice = "Rs 999";
        style.defaultDiscount = "Rs 999";
        if (texts) {
            style.title = texts->subHeading;
            style.price = texts->priceText;
            style.discount = texts->CutPriceText;
        }
        if (slots) {
            style.slot = slots->contentDivBtn;
        }
    } else if (row == 1) {
        // The slot decides what the line sells, whatever its default words say.
        style.defaultTitle = "Continue with subscription";
        style.defaultPrice = "Rs 999";
        style.defaultDiscount = "Rs 99";
        if (texts) {
            style.title = texts->contentDivTitle;
            style.price = texts->contentDivPrice;
            style.discount = texts->contentDivCutPrice;
        }
        if (slots) {
            style.slot = slots->RadioBtnOne;
        }
    } else {
        style.defaultTitle = "Continue with Pass";
        style.defaultPrice = "Rs 999";
        style.defaultDiscount = "Rs 99";
        if (texts) {
            style.title = texts->passDivTitle;
            style.price = texts->passDivPrice;
            style.discount = texts->passDivCutPrice;
        }
        if (slots) {
            style.slot = slots->RadioBtnTwo;
        }
    }
    return style;
}

std::optional<std::string> slotValue(const SlotInfo* slots, CTA8Type type, int row) {
    if (!slots) {
        return std::nullopt;
    }
    if (type == CTA8Type::CTA8A1) {
        return valueOf(slots->contentDivBtn);
    }
    return valueOf(row == 2 ? slots->RadioBtnTwo : slots->RadioBtnOne);
}

constexpr double kLinePadding = 14;
constexpr double kRowPadding = 6;
constexpr double kRadioSize = 22;
constexpr double kGap = 10;

}  // namespace

// ---- Cell

void CTA8TableViewCell::configure(const SharedCustomizePayWallModel& model, CTA8Type type, int row,
                                  int selectedIndex) {
    const LineStyle style = lineStyle(model, type, row);

    const std::string title = textOrDefault(style.title, style.defaultTitle);
    styleLabel(*lblTitle, style.title, title, 16.0);
    const std::string family = style.title ? style.title->fontFamily.value_or("") : "";
    const std::string weight = style.title ? style.title->fontWeight.value_or("") : "";
    platform::log("attributedText::: " + attributedText(title, family, weight, 16.0).string());
    const auto decorated =
        style.title && isNotBlank(style.title->textDecoration)
            ? textDecoration(title, family, weight, *style.title->textDecoration, 16.0)
            : std::nullopt;
    platform::log("textDecoration::: " + (decorated ? decorated->string() : std::string("nil")));

    styleLabel(*lblPrice, style.price,
               livePriceText(priceStart(style.price, style.defaultPrice), valueOf(style.slot),
                             "Selected Slot: ", WholeTextWords::subscription),
               20.0);
    styleLabel(*lblDiscount, style.discount, textOrDefault(style.discount, style.defaultDiscount),
               12.0);

    const bool radio = type == CTA8Type::CTA8A2;
    radioView->setHidden(!radio);
    btnRadio->setHidden(!radio);
    if (!radio && radioViewWidth) {
        radioViewWidth->setConstant(0);
    }
    if (radio) {
        btnRadio->setSelected(row == selectedIndex);
    }
    setNeedsLayout();
}

ui::Size CTA8TableViewCell::sizeThatFits(ui::Size fitting) const {
    const double inner = fitting.width - 2 * card::margin - 2 * kLinePadding;
    const double radio = radioViewWidth ? radioViewWidth->constant() : 0;
    const double right = std::max(card::fittingWidth(*lblPrice, inner / 2),
                                  card::fittingWidth(*lblDiscount, inner / 2));
    const double titleWidth = inner - radio - right - (radio > 0 ? kGap : 0) - kGap;
    const double prices =
        card::fittingHeight(*lblPrice, right) + card::fittingHeight(*lblDiscount, right);
    const double content = std::max(card::fittingHeight(*lblTitle, titleWidth), prices);
    return ui::Size{fitting.width, content + 2 * kLinePadding + 2 * kRowPadding};
}

void CTA8TableViewCell::layoutSubviews() {
    const double width = bounds().width();
    const double height = bounds().height();
    boxView->setFrame(
        ui::Rect(card::margin, kRowPadding, width - 2 * card::margin, height - 2 * kRowPadding));
    const double inner = width - 2 * card::margin - 2 * kLinePadding;
    const double boxHeight = height - 2 * kRowPadding;
    const double radio = radioViewWidth ? radioViewWidth->constant() : 0;
    radioView->setFrame(ui::Rect(kLinePadding, 0, radio, boxHeight));
    const double mark = std::min(kRadioSize, radio);
    btnRadio->setFrame(ui::Rect((radio - mark) / 2, (boxHeight - mark) / 2, mark, mark));
    const double right = std::max(card::fittingWidth(*lblPrice, inner / 2),
                                  card::fittingWidth(*lblDiscount, inner / 2));
    const double titleX = kLinePadding + radio + (radio > 0 ? kGap : 0);
    const double titleWidth = inner - (titleX - kLinePadding) - right - kGap;
    const double titleHeight = card::fittingHeight(*lblTitle, titleWidth);
    lblTitle->setFrame(ui::Rect(titleX, (boxHeight - titleHeight) / 2, titleWidth, titleHeight));
    const double priceHeight = card::fittingHeight(*lblPrice, right);
    const double discountHeight = card::fittingHeight(*lblDiscount, right);
    const double top = (boxHeight - priceHeight - discountHeight) / 2;
    const double rightX = kLinePadding + inner - right;
    lblPrice->setFrame(ui::Rect(rightX, top, right, priceHeight));
    lblDiscount->setFrame(ui::Rect(rightX, top + priceHeight, right, discountHeight));
}

// ---- Screen

CTA8Type CTA8ViewController::typeFor(const std::string& numOfCta) {
    return variantNumber(numOfCta, 2) == 2 ? CTA8Type::CTA8A2 : CTA8Type::CTA8A1;
}

void CTA8ViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    setUpTable({"CommonHeaderTableViewCell", "CTA8TableViewCell", "CommonFooterTableViewCell"});
    applyDisplayType();
    type = typeFor(QuillgateClient::shared().numOfCta);
    applyCardBackground();
    selectedSlot = slotValue(slots(), type, 1);
    reloadSoon();
}

int CTA8ViewController::numberOfRows(ui::TableView&, int) {
    return type == CTA8Type::CTA8A1 ? 3 : 4;
}

std::shared_ptr<ui::TableViewCell> CTA8ViewController::cellForRow(ui::TableView& table,
                                                                  ui::IndexPath indexPath) {
    const auto model = customizePayWallModel();
    const int lines = type == CTA8Type::CTA8A1 ? 1 : 2;
    if (indexPath.row == 0) {
        auto cell = dequeue<CommonHeaderTableViewCell>(table, "CommonHeaderTableViewCell");
        cell->configure(model);
        return cell;
    }
    if (indexPath.row <= lines) {
        auto cell = dequeue<CTA8TableViewCell>(table, "CTA8TableViewCell");
        cell->configure(model, type, indexPath.row, selectedIndex);
        return cell;
    }
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configure(type == CTA8Type::CTA8A2, "Subscribe", model);
    wireFooter(*footer);
    return footer;
}

void CTA8ViewController::didSelectRow(ui::TableView& table, ui::IndexPath indexPath) {
    if (type != CTA8Type::CTA8A2) {
        return;
    }
    selectedIndex = indexPath.row;
    if (indexPath.row == 1 || indexPath.row == 2) {
        selectedSlot = slotValue(slots(), type, indexPath.row);
    }
    table.reloadData();
}

void CTA8ViewController::btnSubmitAction() {
    submitValueWord(selectedSlot);
}

}  // namespace quillgate

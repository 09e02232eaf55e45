#include "quillgate/templates/CTA15ViewController.h"

#include <algorithm>

#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/templates/TemplateParts.h"

namespace quillgate {

namespace {

constexpr double kPriceSize = 50.0;
constexpr double kSmallSize = 20.0;
constexpr double kGap = 6;
constexpr double kRowPadding = 10;
constexpr double kStrikeThickness = 2;

}  // namespace

void CTA15TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    const typography* texts = textStylesOf(model);
    const SlotInfo* slots = slotInfoOf(model);
    const auto price = texts ? texts->priceText : std::nullopt;
    styleLabel(*lblPrice, price,
               livePriceText(priceStart(price, "Rs 999"),
                             slots ? valueOf(slots->contentDivBtn) : std::nullopt,
                             "Selected Slot: ", WholeTextWords::subscription),
               kPriceSize);
    const auto discounted = texts ? texts->contentDivCutPrice : std::nullopt;
    styleLabel(*lblDiscountedPrice, discounted, textOrDefault(discounted, "Rs 669"), kSmallSize);
    const auto at = texts ? texts->contentDivSymbolPrice : std::nullopt;
    styleLabel(*lblAtTheRate, at, textOrDefault(at, "@"), kSmallSize);
    const auto original = texts ? texts->contentDivSymbolCutPrice : std::nullopt;
    styleLabel(*lblOriginalPrice, original, textOrDefault(original, "Rs 80"), kSmallSize);
    if (original && isNotBlank(original->color)) {
        if (auto color = colorFromHex(*original->color)) {
            strikeView->setBackgroundColor(*color);
        }
    }
    setNeedsLayout();
}

ui::Size CTA15TableViewCell::sizeThatFits(ui::Size fitting) const {
    const double inner = fitting.width - 2 * card::margin;
    const double small = std::max({card::fittingHeight(*lblDiscountedPrice, inner / 3),
                                   card::fittingHeight(*lblAtTheRate, inner / 3),
                                   card::fittingHeight(*lblOriginalPrice, inner / 3)});
    return ui::Size{fitting.width,
                    2 * kRowPadding + card::fittingHeight(*lblPrice, inner) + kGap + small};
}

void CTA15TableViewCell::layoutSubviews() {
    const double inner = bounds().width() - 2 * card::margin;
    const double priceHeight = card::fittingHeight(*lblPrice, inner);
    lblPrice->setFrame(ui::Rect(card::margin, kRowPadding, inner, priceHeight));
    // The three small texts in one centred line under the price.
    const double third = inner / 3;
    const double discounted = card::fittingWidth(*lblDiscountedPrice, third);
    const double at = card::fittingWidth(*lblAtTheRate, third);
    const double original = card::fittingWidth(*lblOriginalPrice, third);
    const double height = std::max({card::fittingHeight(*lblDiscountedPrice, third),
                                    card::fittingHeight(*lblAtTheRate, third),
                                    card::fittingHeight(*lblOriginalPrice, third)});
    double x = card::margin + (inner - discounted - at - original - 2 * kGap) / 2;
    const double y = kRowPadding + priceHeight + kGap;
    lblDiscountedPrice->setFrame(ui::Rect(x, y, discounted, height));
    x += discounted + kGap;
    lblAtTheRate->setFrame(ui::Rect(x, y, at, height));
    x += at + kGap;
    lblOriginalPrice->setFrame(ui::Rect(x, y, original, height));
    strikeView->setFrame(
        ui::Rect(x - 2, y + (height - kStrikeThickness) / 2, original + 4, kStrikeThickness));
}

std::shared_ptr<ui::TableViewCell> CTA15ViewController::offerCell(ui::TableView& table) {
    auto cell = dequeue<CTA15TableViewCell>(table, "CTA15TableViewCell");
    cell->configure(customizePayWallModel());
    return cell;
}

}  // namespace quillgate

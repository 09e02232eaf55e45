#include "quillgate/templates/TemplateParts.h"

#include <algorithm>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/Styling.h"

namespace quillgate {

const JSONs* styleDocumentOf(const SharedCustomizePayWallModel& model) {
    if (model && model->data && model->data->configuration && model->data->configuration->mobile &&
        model->data->configuration->mobile->json) {
        return &*model->data->configuration->mobile->json;
    }
    return nullptr;
}

const typography* textStylesOf(const SharedCustomizePayWallModel& model) {
    const JSONs* json = styleDocumentOf(model);
    if (json && json->styleForText && json->styleForText->typography) {
        return &*json->styleForText->typography;
    }
    return nullptr;
}

const Borders* bordersOf(const SharedCustomizePayWallModel& model) {
    const JSONs* json = styleDocumentOf(model);
    if (json && json->styleForBackground && json->styleForBackground->border) {
        return &*json->styleForBackground->border;
    }
    return nullptr;
}

const SlotInfo* slotInfoOf(const SharedCustomizePayWallModel& model) {
    const JSONs* json = styleDocumentOf(model);
    if (json && json->slotData && json->slotData->slot) {
        return &*json->slotData->slot;
    }
    return nullptr;
}

std::optional<std::string> valueOf(const std::optional<SlotDetails>& slot) {
    return slot ? slot->value : std::nullopt;
}

// ---- Price lines

std::string livePriceText(std::string start, const std::optional<std::string>& value,
                          std::string_view printPrefix, WholeTextWords whole) {
    if (!isNotBlank(value)) {
        return start;
    }
    platform::log(std::string(printPrefix) + *value);
    const auto& details = QuillgateClient::shared().contentDetailsModel;
    const std::string word = platform::text::lowercased(*value);
    const bool wholeText =
        word == "subscription" ||
        (whole == WholeTextWords::subscriptionAndCustomUrl && word == "custom url");
    if (!wholeText && details && details->currencySymbol) {
        start += *details->currencySymbol;
    }
    if (word == "content") {
        platform::log("content");
        if (details && details->microPricing && details->microPricing->price) {
            start += priceString(*details->microPricing->price);
        }
    }
    if (word == "pass" && details && details->validPass && details->validPass->price) {
        start += priceString(*details->validPass->price);
    }
    return start;
}

std::string priceStart(const std::optional<typographyData>& member, const std::string& fallback) {
    if (member && isNotBlank(member->text)) {
        return *member->text;
    }
    return fallback;
}

// ---- The offer card

namespace {

// The tab's height over the card's top edge, and the pointer under it.
constexpr double kTabHeight = 24;
constexpr double kTabPadding = 8;
constexpr double kPointerWidth = 12;
constexpr double kPointerHeight = 6;
// Inside the card: padding around, gaps between the lines.
constexpr double kCardPadding = 10;
constexpr double kLineGap = 4;
constexpr double kCardGap = 10;
// Above and below the cards in their row.
constexpr double kRowPadding = 10;

void paintPlain(const std::optional<borderData>& header, ui::View& view) {
    if (header && isNotBlank(header->backgroundColor)) {
        if (auto color = colorFromHex(*header->backgroundColor)) {
            view.setBackgroundColor(*color);
        }
    }
}

double cardWidth(double rowWidth, std::size_t count) {
    const auto n = static_cast<double>(std::max<std::size_t>(count, 1));
    return (rowWidth - 2 * card::margin - (n - 1) * kCardGap) / n;
}

// The lines of a card below its tab, top to bottom: price, original price beside discount,
// description.
double bodyHeight(const OfferCardViews& c, double inner) {
    const double priceLine = card::fittingHeight(*c.price, inner);
    const double cuts = std::max(card::fittingHeight(*c.originalPrice, inner / 2),
                                 card::fittingHeight(*c.discount, inner / 2));
    const double description = card::fittingHeight(*c.description, inner);
    return priceLine + kLineGap + cuts + kLineGap + description;
}

double cardHeight(const std::vector<OfferCardViews>& cards, double width) {
    double tallest = 0;
    for (const auto& c : cards) {
        tallest = std::max(tallest, bodyHeight(c, width - 2 * kCardPadding));
    }
    return kTabHeight / 2 + kPointerHeight + kCardPadding + tallest + kCardPadding;
}

}  // namespace

void configureOfferCard(const OfferCardViews& card, const OfferCardStyle& style) {
    styleLabel(*card.title, style.title, textOrDefault(style.title, style.defaultTitle), 14.0);
    styleLabel(*card.price, style.price,
               livePriceText(priceStart(style.price, "@39"), style.value,
                             "Selected Slot: ", WholeTextWords::subscription),
               14.0);
    styleLabel(*card.discount, style.discount, textOrDefault(style.discount, "50% off"),
               style.smallSize);
    styleLabel(*card.originalPrice, style.originalPrice,
               textOrDefault(style.originalPrice, "@\u20b980"), style.smallSize);
    styleLabel(*card.description, style.description,
               textOrDefault(style.description, "24 hours unlimited access"), style.smallSize);
    paintPlain(style.header, *card.tab);
    paintPlain(style.header, *card.pointer);
    styleBox(style.box, std::nullopt, *card.main);
}

double offerRowHeight(const std::vector<OfferCardViews>& cards, double rowWidth) {
    return kTabHeight / 2 + cardHeight(cards, cardWidth(rowWidth, cards.size())) + 2 * kRowPadding;
}

void layoutOfferRow(ui::View& row, const std::vector<OfferCardViews>& cards, double rowWidth) {
    row.setFrame(ui::Rect(0, 0, rowWidth, offerRowHeight(cards, rowWidth)));
    const double width = cardWidth(rowWidth, cards.size());
    const double height = cardHeight(cards, width);
    const double inner = width - 2 * kCardPadding;
    // The card's box starts half a tab below the row's padding: the tab sits on its edge.
    const double top = kRowPadding + kTabHeight / 2;
    double x = card::margin;
    for (const auto& c : cards) {
        c.main->setFrame(ui::Rect(x, top, width, height));
        // The tab fits its title, up to the card's width.
        const double tabWidth =
            std::min(width - 4, card::fittingWidth(*c.title, width) + 2 * kTabPadding);
        const double tabX = x + (width - tabWidth) / 2;
        c.tab->setFrame(ui::Rect(tabX, kRowPadding, tabWidth, kTabHeight));
        c.title->setFrame(ui::Rect(kTabPadding, 0, tabWidth - 2 * kTabPadding, kTabHeight));
        c.pointer->setFrame(ui::Rect(x + (width - kPointerWidth) / 2, kRowPadding + kTabHeight,
                                     kPointerWidth, kPointerHeight));

        double y = kTabHeight / 2 + kPointerHeight + kCardPadding;
        const double priceHeight = card::fittingHeight(*c.price, inner);
        c.price->setFrame(ui::Rect(kCardPadding, y, inner, priceHeight));
        y += priceHeight + kLineGap;
        const double half = inner / 2;
        const double cuts = std::max(card::fittingHeight(*c.originalPrice, half),
                                     card::fittingHeight(*c.discount, half));
        const double original = card::fittingWidth(*c.originalPrice, half);
        const double discount = card::fittingWidth(*c.discount, half);
        const double cutsX = kCardPadding + (inner - original - kLineGap - discount) / 2;
        c.originalPrice->setFrame(ui::Rect(cutsX, y, original, cuts));
        c.discount->setFrame(ui::Rect(cutsX + original + kLineGap, y, discount, cuts));
        y += cuts + kLineGap;
        c.description->setFrame(
            ui::Rect(kCardPadding, y, inner, card::fittingHeight(*c.description, inner)));
        if (c.button) {
            c.button->setFrame(ui::Rect(0, 0, width, height));
        }
        x += width + kCardGap;
    }
}

// ---- Wiring

void wireTouchUp(ui::Button& button, const void* target, const char* name,
                 std::function<void()> action) {
    button.addTarget(
        target, name, [action = std::move(action)](ui::Control&) { action(); },
        ui::ControlEvent::touchUpInside);
}

}  // namespace quillgate

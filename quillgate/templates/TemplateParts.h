#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"

// What the template families share beyond the frame: reading the pieces of a configuration,
// the price line of an offer, the offer card (a coloured tab over a price, a discount, an
// original price and a description) with its layout, and wiring a box's button to a screen.
// Main thread only.
namespace quillgate {

// ---- The configuration's pieces, or null when a level is missing ----------------------

const JSONs* styleDocumentOf(const SharedCustomizePayWallModel& model);
const typography* textStylesOf(const SharedCustomizePayWallModel& model);
const Borders* bordersOf(const SharedCustomizePayWallModel& model);
const SlotInfo* slotInfoOf(const SharedCustomizePayWallModel& model);

// The value word of a slot, when the slot and its value are there.
std::optional<std::string> valueOf(const std::optional<SlotDetails>& slot);

// ---- Price lines ------------------------------------------------------------------------

// Which words stand for the whole price line: "subscription" always; "custom url" too where
// a family knows custom links.
enum class WholeTextWords { subscription, subscriptionAndCustomUrl };

// An offer's price line from `start` (the configured prefix) and the slot's value word. With
// no value (or a blank one) the start stands alone. Otherwise `printPrefix` and the value are
// printed, and, unless the word stands for the whole text, the offer's currency symbol
// follows the start; "content" then adds the article's live price and "pass" the pass's.
// The word is compared in lower case.
std::string livePriceText(std::string start, const std::optional<std::string>& value,
                          std::string_view printPrefix, WholeTextWords whole);

// The start of a price line: the member's text when present and not blank, else `fallback`.
std::string priceStart(const std::optional<typographyData>& member, const std::string& fallback);

// ---- The offer card ---------------------------------------------------------------------

// One card's views, as a nib binds them.
struct OfferCardViews {
    std::shared_ptr<ui::View> main;     // the box
    std::shared_ptr<ui::View> tab;      // the coloured label tab
    std::shared_ptr<ui::View> pointer;  // the little shape under the tab
    std::shared_ptr<ui::Label> title;   // on the tab
    std::shared_ptr<ui::Label> price;
    std::shared_ptr<ui::Label> discount;
    std::shared_ptr<ui::Label> originalPrice;
    std::shared_ptr<ui::Label> description;
    std::shared_ptr<CustomButton> button;  // over the whole card, may be absent
};

// What one card shows: which members style it, and the sizes of its small texts.
struct OfferCardStyle {
    std::optional<typographyData> title;
    std::optional<typographyData> price;
    std::optional<typographyData> discount;
    std::optional<typographyData> originalPrice;
    std::optional<typographyData> description;
    std::optional<borderData> header;  // the tab's and the pointer's colour
    std::optional<borderData> box;     // the main box
    std::optional<std::string> value;  // the slot's value word, for the price
    std::string defaultTitle;
    double smallSize = 10.0;  // discount, original price and description
};

// Fills a card: title, price ("@39" unless configured, then the live price), discount
// ("50% off"), original price ("@₹80") and description ("24 hours unlimited access") from
// their members or defaults; the tab and the pointer take the header's background colour
// when it parses; the main box runs the box procedure with no override.
void configureOfferCard(const OfferCardViews& card, const OfferCardStyle& style);

// Cards side by side across a row of `rowWidth`, as tall as the tallest.
double offerRowHeight(const std::vector<OfferCardViews>& cards, double rowWidth);
void layoutOfferRow(ui::View& row, const std::vector<OfferCardViews>& cards, double rowWidth);

// ---- Wiring -----------------------------------------------------------------------------

// Adds `action` as the touch-up-inside target `name` of `button`, for `target`.
void wireTouchUp(ui::Button& button, const void* target, const char* name,
                 std::function<void()> action);

}  // namespace quillgate

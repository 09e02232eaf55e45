#include "quillgate/templates/CTA13ViewController.h"

#include <algorithm>
#include <cstdio>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Text.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/Styling.h"

namespace quillgate {

namespace {

constexpr const char* kHeading = "Don't miss out on the full story";
constexpr const char* kSubHeading = "Pay per read only available for";
// The address the end of a countdown hands to the client: its own scheme word, no path.
constexpr const char* kRelaunchAddress = "orvelant";

constexpr double kCountdownSize = 30.0;
constexpr double kCaptionSize = 10.0;
constexpr double kTimerPadding = 12;
constexpr double kCaptionGap = 2;
constexpr double kRowPadding = 8;

}  // namespace

// ---- The countdown

void CTA13TimerTableViewCell::configure(const SharedCustomizePayWallModel& model,
                                        std::weak_ptr<quillgateVCDelegate> client) {
    delegate = std::move(client);
    const typography* texts = textStylesOf(model);
    timerData = texts ? texts->timerDiv : std::nullopt;
    const Borders* frames = bordersOf(model);
    styleBox(frames ? frames->timerDiv : std::nullopt, std::nullopt, *viewTimer);
    const std::string shown = lblCountdown->text().empty() ? zeroText : lblCountdown->text();
    styleLabel(*lblCountdown, timerData, shown, kCountdownSize);
    for (const auto& caption :
         {lblDays.get(), lblHours.get(), lblMinutes.get(), lblSeconds.get()}) {
        styleLabel(*caption, timerData, caption->text(), kCaptionSize);
    }
    setNeedsLayout();

    const JSONs* json = styleDocumentOf(model);
    if (!json || !json->timerValue || !isNotBlank(json->timerValue->time)) {
        return;
    }
    targetDate = platform::text::parseDate(*json->timerValue->time, datePattern);
    updateCountdown();
    // The tick holds the cell weakly: once the cell is gone the tick ends itself.
    std::weak_ptr<ui::View> weak = weak_from_this();
    countdownTimer =
        platform::mainQueue().scheduledTimer(1.0, true, [weak](platform::Timer& timer) {
            if (auto cell = std::dynamic_pointer_cast<CTA13TimerTableViewCell>(weak.lock())) {
                cell->updateCountdown();
            } else {
                timer.invalidate();
            }
        });
}

void CTA13TimerTableViewCell::updateCountdown() {
    if (!targetDate) {
        return;
    }
    const auto now = platform::current().clock->now();
    const auto left = platform::text::dateDifference(now, *targetDate);
    char text[96];
    std::snprintf(text, sizeof text, "%02ld : %02ld : %02ld : %02ld", left.days, left.hours,
                  left.minutes, left.seconds);
    styleLabel(*lblCountdown, timerData, text, kCountdownSize);
    if (*targetDate - now > platform::TimePoint::duration::zero()) {
        return;
    }
    if (countdownTimer) {
        countdownTimer->invalidate();
        countdownTimer.reset();
    }
    lblCountdown->setText(zeroText);
    if (auto client = delegate.lock()) {
        client->closeScreens();
    }
    QuillgateClient::shared().handleRelaunchApp(kRelaunchAddress);
}

ui::Size CTA13TimerTableViewCell::sizeThatFits(ui::Size fitting) const {
    const double inner = fitting.width - 2 * card::margin - 2 * kTimerPadding;
    const double captions = std::max(
        {card::fittingHeight(*lblDays, inner / 4), card::fittingHeight(*lblHours, inner / 4),
         card::fittingHeight(*lblMinutes, inner / 4), card::fittingHeight(*lblSeconds, inner / 4)});
    return ui::Size{fitting.width, 2 * kRowPadding + 2 * kTimerPadding +
                                       card::fittingHeight(*lblCountdown, inner) + kCaptionGap +
                                       captions};
}

void CTA13TimerTableViewCell::layoutSubviews() {
    const double width = bounds().width() - 2 * card::margin;
    viewTimer->setFrame(
        ui::Rect(card::margin, kRowPadding, width, bounds().height() - 2 * kRowPadding));
    const double inner = width - 2 * kTimerPadding;
    const double countdownHeight = card::fittingHeight(*lblCountdown, inner);
    lblCountdown->setFrame(ui::Rect(kTimerPadding, kTimerPadding, inner, countdownHeight));
    // The captions sit under the four groups of the running time, which is centred.
    const double textWidth = card::fittingWidth(*lblCountdown, inner);
    const double group = textWidth / 4;
    const double left = kTimerPadding + (inner - textWidth) / 2;
    const double y = kTimerPadding + countdownHeight + kCaptionGap;
    int i = 0;
    for (const auto& caption :
         {lblDays.get(), lblHours.get(), lblMinutes.get(), lblSeconds.get()}) {
        caption->setFrame(
            ui::Rect(left + group * i, y, group, card::fittingHeight(*caption, group)));
        ++i;
    }
}

// ---- The offer card

std::vector<OfferCardViews> CTA13TableViewCell::cards() const {
    return {OfferCardViews{viewYmain, viewYlable, triangleView, lblYTitle, lblYPrice, lblYDiscount,
                           lblYOriginalPrice, lblYDiscription, btnY}};
}

void CTA13TableViewCell::configure(const SharedCustomizePayWallModel& model) {
    OfferCardStyle style;
    style.defaultTitle = "Subscribe";
    style.smallSize = 12.0;
    if (const typography* texts = textStylesOf(model)) {
        style.title = texts->contentHeader;
        style.price = texts->contentDivPrice;
        style.discount = texts->contentDivCutPrice;
        style.originalPrice = texts->contentDivSymbolPrice;
        style.description = texts->contentDivDiscription;
    }
    if (const Borders* frames = bordersOf(model)) {
        style.header = frames->contentHeader;
        style.box = frames->contentDiv;
    }
    if (const SlotInfo* slots = slotInfoOf(model)) {
        style.value = valueOf(slots->contentDivBtn);
    }
    configureOfferCard(cards()[0], style);
    setNeedsLayout();
}

ui::Size CTA13TableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, offerRowHeight(cards(), fitting.width)};
}

void CTA13TableViewCell::layoutSubviews() {
    layoutOfferRow(*boxView, cards(), bounds().width());
}

// ---- The screens

void CountdownViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    setUpTable({"CommonHeaderCenterTableViewCell", "CTA13TimerTableViewCell", offerCellName(),
                "CommonFooterTableViewCell"});
    applyDisplayType();
    applyCardBackground();
    const SlotInfo* slotInfo = slots();
    selectedSlot = slotInfo ? valueOf(slotInfo->contentDivBtn) : std::nullopt;
    reloadSoon();
}

int CountdownViewController::numberOfRows(ui::TableView&, int) {
    return 5;
}

std::shared_ptr<ui::TableViewCell> CountdownViewController::cellForRow(ui::TableView& table,
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
        case 2: {
            auto cell = dequeue<CTA13TimerTableViewCell>(table, "CTA13TimerTableViewCell");
            cell->configure(model, delegate());
            return cell;
        }
        case 3:
            return offerCell(table);
        default:
            break;
    }
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configure(false, "Buy Now", model);
    wireFooter(*footer);
    return footer;
}

void CountdownViewController::btnSubmitAction() {
    submitValueWord(selectedSlot);
}

std::shared_ptr<ui::TableViewCell> CTA13ViewController::offerCell(ui::TableView& table) {
    auto cell = dequeue<CTA13TableViewCell>(table, "CTA13TableViewCell");
    cell->configure(customizePayWallModel());
    return cell;
}

}  // namespace quillgate

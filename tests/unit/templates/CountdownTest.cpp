// The countdown of CTA13 and CTA15: what it shows from one second to the next on the manual
// clock, what the end of it does, the deadlines it can't read, and the two offer rows.

#include <ctime>

#include "quillgate/templates/CTA13ViewController.h"
#include "quillgate/templates/CTA15ViewController.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::configuration;
using testing::slotsOf;

// `t` as the service writes a deadline: "Tue Nov 24 2026 16:03:05 GMT+0000".
std::string deadlineText(platform::TimePoint t) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(t);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[64];
    std::strftime(text, sizeof text, "%a %b %e %Y %H:%M:%S GMT+0000", &utc);
    std::string result = text;
    // The day of the month has no padding in this form.
    if (const auto pad = result.find("  "); pad != std::string::npos) {
        result.erase(pad, 1);
    }
    return result;
}

class CountdownTest : public testing::TemplateTest {
  protected:
    CountdownTest() {
        client().screenType = ScreenType::paywallScreen;
        client().numOfCta = "1";
    }

    // A deadline `seconds` from now on the test's clock.
    std::string inSeconds(long seconds) {
        return deadlineText(tp.clock().now() + std::chrono::seconds(seconds));
    }

    // A countdown screen on `deadline`, held by the client as its wall.
    template <class Screen>
    std::shared_ptr<Screen> showCountdown(const std::optional<std::string>& deadline,
                                          bool withDelegate = true) {
        json style = {{"slotData", slotsOf({"content"})}};
        if (deadline) {
            style["timerValue"] = {{"type", "countdown"}, {"time", *deadline}};
        }
        auto screen = show<Screen>(configuration(style), withDelegate);
        client().customPayWallVC = screen;
        return screen;
    }

    std::shared_ptr<CTA13TimerTableViewCell> timer(BaseViewController& screen) {
        return std::dynamic_pointer_cast<CTA13TimerTableViewCell>(
            screen.tblView->cellForRow({0, 2}));
    }
};

TEST_F(CountdownTest, CountsDownEachSecondAndEndsTheWallAtZero) {
    // One hour and three seconds ahead.
    auto screen = showCountdown<CTA13ViewController>(inSeconds(3603));
    EXPECT_EQ(screen->tblView->numberOfRows(0), 5);
    auto cell = timer(*screen);
    ASSERT_TRUE(cell);
    struct Step {
        double advance;
        std::string shown;
    };
    const Step steps[] = {
        {0, "00 : 01 : 00 : 03"},
        {1, "00 : 01 : 00 : 02"},
        {1, "00 : 01 : 00 : 01"},
        {61, "00 : 00 : 59 : 00"},
    };
    for (const auto& step : steps) {
        tp.advance(step.advance);
        EXPECT_EQ(cell->lblCountdown->text(), step.shown) << step.advance;
    }
    // To the last second, then past it: the wall goes, and the access flow runs again half a
    // second later.
    tp.advance(3603 - 63 - 1);
    EXPECT_EQ(cell->lblCountdown->text(), "00 : 00 : 00 : 01");
    EXPECT_TRUE(screen->view()->superview());
    const auto journeys = sent("/journey");
    tp.advance(1);
    EXPECT_EQ(cell->lblCountdown->text(), "00 : 00 : 00 : 00");
    EXPECT_FALSE(screen->view()->superview());
    EXPECT_FALSE(cell->countdownTimer);
    tp.advance(0.5);
    settle();
    EXPECT_EQ(sent("/journey"), journeys + 1);
    // The tick is over: nothing more happens.
    tp.advance(5);
    settle();
    EXPECT_EQ(sent("/journey"), journeys + 1);
}

TEST_F(CountdownTest, DeadlinesItCantReadOrDoesntHave) {
    struct Case {
        std::optional<std::string> deadline;
        bool ticking;  // a tick is scheduled
    };
    const Case cases[] = {
        {std::nullopt, false},
        {"   ", false},
        {"2026-11-24T16:03:05Z", true},  // an ISO form doesn't parse: the tick finds no date
        {"Someday soon", true},
    };
    for (const auto& c : cases) {
        auto screen = showCountdown<CTA13ViewController>(c.deadline);
        auto cell = timer(*screen);
        EXPECT_EQ(cell->lblCountdown->text(), CTA13TimerTableViewCell::zeroText);
        EXPECT_EQ(static_cast<bool>(cell->countdownTimer), c.ticking);
        EXPECT_FALSE(cell->targetDate.has_value());
        const auto journeys = sent("/journey");
        tp.advance(3);
        settle();
        EXPECT_EQ(cell->lblCountdown->text(), CTA13TimerTableViewCell::zeroText);
        EXPECT_EQ(sent("/journey"), journeys);
        EXPECT_TRUE(screen->view()->superview());
        screen->view()->removeFromSuperview();
    }
}

TEST_F(CountdownTest, DaysTakeTheHoursAndPrintInFull) {
    const std::pair<long, std::string> cases[] = {
        {26L * 3600 + 3 * 60 + 4, "01 : 02 : 03 : 04"},
        {120L * 86400 + 10, "120 : 00 : 00 : 10"},
    };
    for (const auto& [seconds, shown] : cases) {
        auto screen = showCountdown<CTA15ViewController>(inSeconds(seconds));
        EXPECT_EQ(timer(*screen)->lblCountdown->text(), shown);
        screen->view()->removeFromSuperview();
    }
}

TEST_F(CountdownTest, TheEndWithoutADelegateStillRunsTheFlowAgain) {
    auto screen = showCountdown<CTA15ViewController>(inSeconds(2), false);
    const auto journeys = sent("/journey");
    tp.advance(2.5);
    settle();
    // No delegate to take the wall away; the client runs the flow all the same.
    EXPECT_TRUE(screen->view()->superview());
    EXPECT_EQ(sent("/journey"), journeys + 1);
}

TEST_F(CountdownTest, OfferRowsAndButtonOnTheFirstSlot) {
    ContentDetails details;
    details.currencySymbol = "Rs";
    details.microPricing = MicroPricing{};
    details.microPricing->price = 5;
    client().contentDetailsModel = details;

    auto thirteen = showCountdown<CTA13ViewController>(inSeconds(600));
    auto card =
        std::dynamic_pointer_cast<CTA13TableViewCell>(thirteen->tblView->cellForRow({0, 3}));
    ASSERT_TRUE(card);
    EXPECT_EQ(card->lblYTitle->text(), "Subscribe");
    EXPECT_EQ(card->lblYPrice->text(), "@39Rs5");
    EXPECT_EQ(card->lblYPrice->attributedText().runs()[0].attributes.font->size, 14.0);
    EXPECT_EQ(card->lblYDiscount->attributedText().runs()[0].attributes.font->size, 12.0);
    EXPECT_EQ(card->lblYDiscription->text(), "24 hours unlimited access");
    auto sub = std::dynamic_pointer_cast<CommonHeaderCenterTableViewCell>(
        thirteen->tblView->cellForRow({0, 1}));
    EXPECT_EQ(sub->lblName->text(), "Pay per read only available for");
    EXPECT_EQ(thirteen->selectedSlot, "content");
    thirteen->btnSubmitAction();
    settle();
    EXPECT_EQ(clicks("CONTENT"), 1u);
    thirteen->view()->removeFromSuperview();

    auto fifteen = showCountdown<CTA15ViewController>(inSeconds(600));
    auto prices =
        std::dynamic_pointer_cast<CTA15TableViewCell>(fifteen->tblView->cellForRow({0, 3}));
    ASSERT_TRUE(prices);
    EXPECT_EQ(prices->lblPrice->text(), "Rs 999Rs5");
    EXPECT_EQ(prices->lblPrice->attributedText().runs()[0].attributes.font->size, 50.0);
    EXPECT_EQ(prices->lblDiscountedPrice->text(), "Rs 669");
    EXPECT_EQ(prices->lblAtTheRate->text(), "@");
    EXPECT_EQ(prices->lblOriginalPrice->text(), "Rs 80");
    fifteen->view()->removeFromSuperview();

    // The line over the original price takes that price's colour.
    auto styled = show<CTA15ViewController>(configuration(
        {{"styleForText",
          {{"typography",
            {{"priceText", {{"text", "Now "}}},
             {"contentDivSymbolCutPrice", {{"text", "Rs 18"}, {"color", "#AB0000"}}}}}}}}));
    auto struck =
        std::dynamic_pointer_cast<CTA15TableViewCell>(styled->tblView->cellForRow({0, 3}));
    EXPECT_EQ(struck->lblPrice->text(), "Now ");
    EXPECT_EQ(struck->lblOriginalPrice->text(), "Rs 18");
    EXPECT_EQ(struck->strikeView->backgroundColor(), ui::Color::rgb255(0xAB, 0, 0));
}

}  // namespace
}  // namespace quillgate

// The meter banner: the step text, its rows and looks from the meter record, its height, the
// subscribe button by slot word, the close button, and what it reports.

#include "quillgate/analytics/PingManager.h"
#include "quillgate/screens/BannerViewController.h"
#include "quillgate/screens/ScreenNibs.h"
#include "quillgate/screens/WebViewController.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using Access = QuillgateClientTestAccess;

class BannerTest : public testing::TemplateTest {
  protected:
    BannerTest() {
        registerScreenNibs();
        client().clientID = "client-1";
    }

    // The client's meter record with this style document.
    void meter(const json& style, const std::optional<std::string>& id = "banner-7") {
        json data = {{"configuration", {{"templateId", "BANNER1"}, {"json", style}}}};
        if (id) {
            data["_id"] = *id;
        }
        auto decoded = decodeParsed<MeterModel>(json{{"data", data}});
        ASSERT_TRUE(decoded.ok());
        client().meterModel = decoded.value();
    }

    void stepCount(const std::string& count) {
        auto journey = decodeParsed<UserJourneyModel>(
            json{{"meteringAction", {{"data", {{"variables", {{"stepCount", count}}}}}}}});
        ASSERT_TRUE(journey.ok());
        client().userJourneyModel = journey.value();
    }

    std::shared_ptr<BannerViewController> banner(bool withDelegate = true) {
        return show<BannerViewController>(nullptr, withDelegate);
    }

    template <class Cell>
    std::shared_ptr<Cell> row(BannerViewController& screen, int index) {
        return std::dynamic_pointer_cast<Cell>(screen.tblView->cellForRow({0, index}));
    }

    std::string opened() {
        auto web = std::dynamic_pointer_cast<WebViewController>(client().webVC);
        return web && web->actualURL ? *web->actualURL : std::string();
    }
};

TEST_F(BannerTest, StepTextFillsInTheNumberAndFallsBackOnlyWhenEmpty) {
    struct Case {
        std::optional<std::string> configured;
        std::optional<std::string> count;
        std::string shown;
    };
    const Case cases[] = {
        {std::nullopt, "2", "Your are left with 2 Free article this month"},
        {std::nullopt, std::nullopt, "Your are left with  Free article this month"},
        {"{steps} of {steps} left", "3", "3 of 3 left"},
        {"No count here", "3", "No count here"},
        {"", std::nullopt, "Don't miss out on the full story"},
        {"{steps}", std::nullopt, "Don't miss out on the full story"},
        {"   ", "1", "   "},
        // The number is put in literally, once per placeholder.
        {"{steps}", "{steps}", "{steps}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(BannerViewController::stepText(c.configured, c.count), c.shown)
            << c.configured.value_or("(absent)");
    }
}

TEST_F(BannerTest, WithoutAMeterRecordTwoRowsOfDefaults) {
    auto screen = banner();
    EXPECT_EQ(screen->tblView->numberOfRows(0), 2);
    auto heading = row<CommonHeaderCenterTableViewCell>(*screen, 0);
    auto footer = row<CommonFooterTableViewCell>(*screen, 1);
    ASSERT_TRUE(heading && footer);
    EXPECT_EQ(heading->lblName->text(),
              "Stay up-to-date with current events and subjects by staying informed.");
    EXPECT_EQ(footer->btnSubscribe->currentTitle(), "Subscribe Now");
    EXPECT_TRUE(footer->loginView->isHidden());
    EXPECT_TRUE(footer->couponView->isHidden());
    EXPECT_EQ(footer->stackHeight->constant(), 0);
    EXPECT_EQ(screen->lblStep->text(), "Your are left with  Free article this month");
    EXPECT_FALSE(screen->selectedSlot.has_value());
    for (const auto& round : {screen->crossView.get(), screen->stepView.get()}) {
        EXPECT_EQ(round->layer().cornerRadius, 20);
        EXPECT_EQ(round->layer().borderWidth, 0);
        EXPECT_EQ(round->layer().borderColor, ui::Color::black());
    }
}

TEST_F(BannerTest, MeterRecordStylesRowsStripAndCloseButton) {
    struct Case {
        std::optional<int> radius;
        double shown;
    };
    // The strip's radius: the configured one when at least 1, at most 20.
    const Case radii[] = {{6, 6}, {100, 20}, {0, 20}, {std::nullopt, 20}};
    for (const auto& c : radii) {
        json label = {{"borderWidthValue", 2}, {"borderColor", "#E0B000"}};
        if (c.radius) {
            label["radius"] = *c.radius;
        }
        meter({{"styleForBackground",
                {{"border",
                  {{"label", label},
                   {"contentDiv", {{"backgroundColor", "#FFF8F0"}}},
                   {"crossBtn", {{"borderWidthValue", 0}, {"backgroundColor", "#F2F2F2"}}}}}}},
               {"styleForText",
                {{"typography",
                  {{"subHeading", {{"text", "From 199 a month"}}},
                   {"label", {{"text", "{steps} left"}, {"textTransform", "uppercase"}}}}}}},
               {"slotData", {{"slot", {{"contentDivBtn", {{"value", "pass"}}}}}}}});
        stepCount("2");
        auto screen = banner();
        EXPECT_EQ(screen->stepView->layer().cornerRadius, c.shown);
        EXPECT_EQ(screen->stepView->layer().borderWidth, 2);
        EXPECT_EQ(screen->stepView->layer().borderColor, ui::Color::rgb255(0xE0, 0xB0, 0x00));
        EXPECT_EQ(screen->crossView->layer().borderWidth, 0);
        EXPECT_EQ(screen->crossView->backgroundColor(), ui::Color::rgb255(0xF2, 0xF2, 0xF2));
        EXPECT_EQ(screen->tblView->backgroundColor(), ui::Color::rgb255(0xFF, 0xF8, 0xF0));
        EXPECT_EQ(screen->lblStep->text(), "2 LEFT");
        EXPECT_EQ(screen->selectedSlot, "pass");
        ASSERT_EQ(screen->tblView->numberOfRows(0), 3);
        EXPECT_EQ(row<CommonHeaderCenterTableViewCell>(*screen, 1)->lblName->text(),
                  "From 199 a month");
        EXPECT_TRUE(row<CommonFooterTableViewCell>(*screen, 2));
        screen->view()->removeFromSuperview();
    }
}

TEST_F(BannerTest, HeightIsTheCardPlusTheStripAndCloseButtonAbove) {
    const double limit = ui::Application::shared().mainScreen().bounds.height() * 0.75;
    const double inset = window->safeAreaInsets().bottom;
    struct Case {
        PAYWALLTYPE display;
        double content;
        double card;
    };
    const Case cases[] = {
        {PAYWALLTYPE::INARTICLE, 200, 200 + inset},
        {PAYWALLTYPE::POPUP, 200, 200},
        {PAYWALLTYPE::FULLPAGE, 2000, limit},
    };
    for (const auto& c : cases) {
        client().paywallDisplayType = c.display;
        auto screen = banner();
        screen->tblView->setContentSize(ui::Size{390, c.content});
        EXPECT_DOUBLE_EQ(screen->tblViewHeight->constant(), c.card);
        EXPECT_DOUBLE_EQ(client().paywallHeight, c.card + BannerViewController::headerHeight);
        // The strip and the close button stand in the band above the card.
        const auto card = screen->tblView->frame();
        EXPECT_DOUBLE_EQ(card.height(), c.card);
        EXPECT_LE(card.minY() - screen->crossView->frame().minY(),
                  BannerViewController::headerHeight);
        EXPECT_LT(screen->stepView->frame().maxY(), card.minY());
        screen->observeValue({"contentSize", std::string("10"), {}});
        EXPECT_DOUBLE_EQ(client().paywallHeight, c.card + BannerViewController::headerHeight);
        screen->view()->removeFromSuperview();
    }
}

TEST_F(BannerTest, SubscribeButtonActsOnTheSlotWord) {
    struct Case {
        std::string word;
        std::optional<std::string> link;
        std::string line;     // printed after "Selected Slot: ..."
        std::string outcome;  // "web", "host", or "" for nothing
    };
    const Case cases[] = {
        {"pass", std::nullopt, "pass", "web"},
        {"Subscription", std::nullopt, "subscription", "web"},
        {"CUSTOM URL", "https://example.com/offer", "custom url", "host"},
        {"custom url", std::nullopt, "Invalid URL", ""},
        {"coupon", std::nullopt, "", ""},
    };
    ContentDetails details;
    details.subscriptionUrl = "https://example.com/subscribe?x=1";
    client().contentDetailsModel = details;
    for (const auto& c : cases) {
        json slot = {{"value", c.word}};
        if (c.link) {
            slot["redirectUrl"] = *c.link;
        }
        meter({{"slotData", {{"slot", {{"contentDivBtn", slot}}}}}});
        client().webVC.reset();
        host->calls.clear();
        tp.clearLines();
        const auto paywallClicks = clicks("SUBS");
        auto screen = banner();
        host->calls.clear();
        row<CommonFooterTableViewCell>(*screen, 1)->btnSubscribe->tap();
        settle();
        EXPECT_TRUE(tp.printed("Selected Slot: Optional(\"" + c.word + "\")")) << c.word;
        if (!c.line.empty()) {
            EXPECT_TRUE(tp.printed(c.line)) << c.word;
        }
        // Only the meter click: the subscription path doesn't log a paywall one as well.
        EXPECT_EQ(clicks("SUBS"), paywallClicks + 1) << c.word;
        if (c.word == "Subscription") {
            // The publisher's subscription address, with the flow's keys stuck to it.
            EXPECT_TRUE(
                tp.printedContaining("subURL917  https://example.com/subscribe?x=1Orvelant&"));
        }
        if (c.outcome == "web") {
            EXPECT_FALSE(opened().empty()) << c.word;
        } else {
            EXPECT_TRUE(opened().empty()) << c.word;
        }
        if (c.outcome == "host") {
            EXPECT_EQ(host->calls, std::vector<std::string>{"onCustomLinkSlot(link: " + *c.link +
                                                            ", contentId: article-1)"});
        } else {
            EXPECT_TRUE(host->calls.empty()) << c.word;
        }
        screen->view()->removeFromSuperview();
    }
}

TEST_F(BannerTest, CloseButtonLogsItsClickAndClosesThroughTheClient) {
    meter(json::object());
    client().screenType = ScreenType::paywallScreen;
    Access::presentMeterBanner(client());
    settle();
    auto screen = std::dynamic_pointer_cast<BannerViewController>(client().customPayWallVC);
    ASSERT_TRUE(screen);
    EXPECT_TRUE(parent->viewWithTag(9988));
    screen->btnCloseScreen();
    EXPECT_EQ(clicks("METERING_BANNER_CROSSBTN"), 1u);
    EXPECT_FALSE(parent->viewWithTag(9988));

    // Without a delegate it still logs its click.
    auto alone = banner(false);
    alone->btnCloseScreen();
    EXPECT_EQ(clicks("METERING_BANNER_CROSSBTN"), 2u);
    EXPECT_TRUE(alone->view()->superview());
}

TEST_F(BannerTest, ReportsItselfAsAMeterBannerFromLoadToRelease) {
    meter(json::object());
    auto screen = banner();
    EXPECT_TRUE(tp.printed("zzzlogMeterEventVIEW()"));
    EXPECT_FALSE(tp.printed("zzzlogEventVIEW()"));
    EXPECT_TRUE(PingManager::shared().timer != nullptr);
    ASSERT_EQ(host->calls.size(), 1u);
    EXPECT_EQ(host->calls[0],
              "onMeterBannerVisible(paywallType: METER_BANNER, meterBannerId: banner-7, "
              "paywallHeight: 0.0)");

    // A refresh logs the meter view again.
    tp.clearLines();
    screen->refreshData();
    settle();
    EXPECT_EQ(tp.countPrinted("zzzlogMeterEventVIEW()"), 1u);

    // A record without an id is reported as "--".
    meter(json::object(), std::nullopt);
    client().paywallHeight = 0;
    host->calls.clear();
    auto other = banner();
    EXPECT_EQ(host->calls.at(0),
              "onMeterBannerVisible(paywallType: METER_BANNER, meterBannerId: --, "
              "paywallHeight: 0.0)");

    // The refresh observed the table a second time; leaving the window ends one observation.
    tp.clearLines();
    EXPECT_EQ(screen->tblView->observerCount("contentSize"), 2u);
    screen->view()->removeFromSuperview();
    EXPECT_EQ(screen->tblView->observerCount("contentSize"), 1u);
    screen.reset();
    const auto lines = tp.lines();
    const std::vector<std::string> teardown = {"deinit::BannerViewController", "stopTimer()",
                                               "deinit::BaseViewController", "stopTimer()"};
    EXPECT_TRUE(std::search(lines.begin(), lines.end(), teardown.begin(), teardown.end()) !=
                lines.end());
}

}  // namespace
}  // namespace quillgate

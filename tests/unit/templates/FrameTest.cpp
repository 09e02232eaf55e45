// The frame every template stands on: its life (view event, ping, background, host report,
// teardown), the card's height, the backdrop by display type, and the shared footer.

#include <any>

#include "quillgate/analytics/PingManager.h"
#include "quillgate/templates/CTA3ViewController.h"
#include "quillgate/templates/CTA7ViewController.h"
#include "quillgate/ui/NotificationCenter.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::configuration;
using testing::slotsOf;

class FrameTest : public testing::TemplateTest {};

// ---- Life of a screen --------------------------------------------------------------------

TEST_F(FrameTest, ScreenLifeFromLoadToRelease) {
    auto screen = show<CTA7ViewController>(configuration({{"slotData", slotsOf({"content"})}}));
    const auto lines = tp.lines();
    const auto view = std::find(lines.begin(), lines.end(), "zzzlogEventVIEW()");
    const auto timer = std::find(lines.begin(), lines.end(), "startTimer()");
    ASSERT_NE(view, lines.end());
    ASSERT_NE(timer, lines.end());
    EXPECT_LT(view, timer);

    // On screen: the host hears the height as it stood then, before the rows came in; the
    // first reload then sets it.
    ASSERT_EQ(host->calls.size(), 1u);
    EXPECT_EQ(host->calls[0],
              "onPaywallVisible(paywallType: PAYWALL, paywallDisplayType: "
              "INARTICLE, paywallHeight: 0.0, paywallId: pw-1)");
    EXPECT_GT(client().paywallHeight, 0);

    // The ping runs every 15 seconds while the screen lives.
    const auto pingsBefore = tp.countPrinted("~~~~~Event Name = PING~~~~~");
    tp.advance(30);
    EXPECT_EQ(tp.countPrinted("~~~~~Event Name = PING~~~~~"), pingsBefore + 2);

    // Resigning active logs the page exit and leaves the ping running.
    ui::Application::shared().resignActive();
    EXPECT_TRUE(tp.printed("App moved to background!"));
    EXPECT_TRUE(PingManager::shared().timer != nullptr);

    // A touch marks the reader active.
    Constants::active() = 0;
    screen->touchesBegan();
    EXPECT_EQ(Constants::active(), 1);
    EXPECT_TRUE(tp.printed("resetUserActiveStatus()"));

    // Leaving the window drops the observation of the table; releasing stops the ping.
    auto table = screen->tblView.get();
    screen->view()->removeFromSuperview();
    EXPECT_EQ(table->observerCount("contentSize"), 0u);
    tp.clearLines();
    screen.reset();
    EXPECT_TRUE(tp.printed("deinit::BaseViewController"));
    EXPECT_TRUE(tp.printed("stopTimer()"));
    EXPECT_EQ(PingManager::shared().timer, nullptr);
    EXPECT_EQ(ui::NotificationCenter::defaultCenter().observerCount(
                  ui::ApplicationWillResignActiveNotification),
              0u);
}

// ---- The card's height -------------------------------------------------------------------

TEST_F(FrameTest, CardHeightFollowsContentUpToThreeQuartersOfTheScreen) {
    const double screenHeight = ui::Application::shared().mainScreen().bounds.height();
    const double inset = window->safeAreaInsets().bottom;
    ASSERT_GT(inset, 0);
    struct Case {
        PAYWALLTYPE display;
        double content;
        double expected;
    };
    const Case cases[] = {
        {PAYWALLTYPE::INARTICLE, 200, 200 + inset},
        {PAYWALLTYPE::FULLPAGE, 200, 200 + inset},
        {PAYWALLTYPE::POPUP, 200, 200},
        {PAYWALLTYPE::INARTICLE, 2000, screenHeight * 0.75},
        {PAYWALLTYPE::POPUP, 2000, screenHeight * 0.75},
    };
    for (const auto& c : cases) {
        client().paywallDisplayType = c.display;
        auto screen = show<CTA7ViewController>(configuration(json::object()));
        screen->tblView->setContentSize(ui::Size{390, c.content});
        EXPECT_DOUBLE_EQ(client().paywallHeight, c.expected) << c.content;
        EXPECT_DOUBLE_EQ(screen->tblViewHeight->constant(), c.expected);
        // The card sits where the display type puts it, as tall as the constraint says.
        const auto card = screen->tblView->frame();
        EXPECT_DOUBLE_EQ(card.height(), c.expected);
        if (c.display == PAYWALLTYPE::POPUP) {
            EXPECT_DOUBLE_EQ(card.midY(), parent->bounds().height() / 2);
        } else {
            EXPECT_DOUBLE_EQ(card.maxY(), parent->bounds().height());
        }
        screen->view()->removeFromSuperview();
    }
}

TEST_F(FrameTest, OnlyANewContentSizeMovesTheCard) {
    auto screen = show<CTA7ViewController>(configuration(json::object()));
    const double before = client().paywallHeight;
    screen->observeValue({"bounds", ui::Size{390, 123}, {}});
    screen->observeValue({"contentSize", std::string("123"), {}});
    screen->observeValue({"contentSize", {}, {}});
    EXPECT_EQ(client().paywallHeight, before);
    EXPECT_EQ(screen->tblViewHeight->constant(), before);
}

TEST_F(FrameTest, BackdropAndPositionByDisplayType) {
    struct Case {
        PAYWALLTYPE display;
        ui::Color backdrop;
        bool centred;
    };
    const auto grey = ui::Color::rgba(112.0 / 255, 112.0 / 255, 112.0 / 255, 0.7);
    for (const auto& c :
         {Case{PAYWALLTYPE::INARTICLE, ui::Color::clear(), false},
          Case{PAYWALLTYPE::FULLPAGE, grey, false}, Case{PAYWALLTYPE::POPUP, grey, true}}) {
        client().paywallDisplayType = c.display;
        auto screen = show<CTA7ViewController>(configuration(json::object()));
        EXPECT_EQ(screen->view()->backgroundColor(), c.backdrop);
        EXPECT_EQ(screen->centerYConstraint->isActive(), c.centred);
        EXPECT_EQ(screen->bottomConstraint->isActive(), !c.centred);
        screen->view()->removeFromSuperview();
    }
}

// ---- The footer --------------------------------------------------------------------------

TEST_F(FrameTest, FooterTextRowsBySessionAndCoupon) {
    struct Case {
        bool signedIn;
        std::optional<std::string> coupon;
        double height;
        bool loginShown;
        bool couponShown;
    };
    const Case cases[] = {
        {true, std::nullopt, 0, false, false}, {false, std::nullopt, 25, true, false},
        {true, "SAVE10", 25, false, true},     {false, "SAVE10", 50, true, true},
        {false, "   ", 25, true, false},  // a code of blanks is no coupon
    };
    for (const auto& c : cases) {
        if (c.signedIn) {
            tp.defaults().setObject("session-1", Constants::sessionIDKey);
        } else {
            tp.defaults().removeObject(Constants::sessionIDKey);
        }
        ContentDetails details;
        if (c.coupon) {
            details.couponDetails = CouponDetails{};
            details.couponDetails->code = c.coupon;
        }
        client().contentDetailsModel = details;
        auto screen = show<CTA7ViewController>(configuration(json::object()));
        auto footer = std::dynamic_pointer_cast<CommonFooterTableViewCell>(
            screen->tblView->cellForRow({0, 2}));
        ASSERT_TRUE(footer);
        EXPECT_EQ(footer->stackHeight->constant(), c.height);
        EXPECT_EQ(!footer->loginView->isHidden(), c.loginShown);
        EXPECT_EQ(!footer->couponView->isHidden(), c.couponShown);
        EXPECT_EQ(footer->lblClickHere->text(), c.couponShown ? *c.coupon : "Click here");
        screen->view()->removeFromSuperview();
    }
}

TEST_F(FrameTest, FooterTextsStartTheirWebFlowsWithAContentClick) {
    ContentDetails details;
    details.couponDetails = CouponDetails{};
    details.couponDetails->code = "SAVE10";
    client().contentDetailsModel = details;
    auto screen = show<CTA7ViewController>(configuration(json::object()));
    auto footer =
        std::dynamic_pointer_cast<CommonFooterTableViewCell>(screen->tblView->cellForRow({0, 2}));
    ASSERT_TRUE(footer);
    EXPECT_EQ(footer->lblLogin->gestureRecognizers().size(), 1u);
    EXPECT_EQ(footer->btnSubscribe->actionNames(ui::ControlEvent::touchUpInside),
              std::vector<std::string>{"btnSubmitAction:"});

    EXPECT_TRUE(footer->lblLogin->tap());
    settle();
    EXPECT_TRUE(tp.printed("content"));
    EXPECT_EQ(clicks("CONTENT"), 1u);
    EXPECT_TRUE(tp.printedContaining("onlyLoginFlow=true"));

    tp.clearLines();
    EXPECT_TRUE(footer->lblClickHere->tap());
    settle();
    EXPECT_EQ(clicks("CONTENT"), 2u);
    // The second flow's own address has no log-in-only flag (the first flow's page, still
    // loading, may print its address).
    bool sawAddress = false;
    for (const auto& line : tp.lines()) {
        if (line.rfind("webviewURL:", 0) == 0) {
            sawAddress = true;
            EXPECT_EQ(line.find("onlyLoginFlow=true"), std::string::npos) << line;
        }
    }
    EXPECT_TRUE(sawAddress);

    // A second reload dequeues the same footer and wires it once more.
    screen->tblView->reloadData();
    EXPECT_EQ(footer->lblLogin->gestureRecognizers().size(), 2u);
}

TEST_F(FrameTest, LoginWithoutADelegateOnlyMarksTheReaderActive) {
    auto screen = show<CTA7ViewController>(configuration(json::object()), false);
    Constants::active() = 0;
    tp.clearLines();
    screen->loginAction();
    settle();
    EXPECT_EQ(tp.lines(), (std::vector<std::string>{"content", "resetUserActiveStatus()"}));
    EXPECT_EQ(Constants::active(), 1);
    EXPECT_EQ(sent("/login-challenge"), 0u);
    EXPECT_EQ(clicks("CONTENT"), 0u);
}

}  // namespace
}  // namespace quillgate

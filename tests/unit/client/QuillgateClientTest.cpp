#include "quillgate/client/QuillgateClient.h"

#include <gtest/gtest.h>

#include "quillgate/service/Constants.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {

namespace {

using testing::TestPlatform;

struct Host : QuillgateCompletionHandlerDelegate,
              QuillgateSubscribeBtnTapDelegate,
              QuillgateSignBtnTapDelegate,
              QuillgateEventParamsDelegate,
              QuillgateGoogleLogInDelegate {
    void purchasedOrNot(bool accessTime) override { answers.push_back(accessTime); }
    void onPaywallVisible(const std::string&, const std::string&, double,
                          const std::string&) override {}
    void onMeterBannerVisible(const std::string&, const std::string&, double) override {}
    void onCustomLinkSlot(const std::optional<std::string>&, const std::string&) override {}
    void subscribeBtnTap() override {}
    void signInTap() override {}
    void success(const std::string&, const std::string&, const std::string&, const std::string&,
                 const std::string&) override {}
    void failure(const std::string&) override {}
    void startGoogleLogin() override {}

    std::vector<bool> answers;
};

// A template screen as the client sees it.
class FakeTemplate : public ui::ViewController, public SharedData {
  public:
    explicit FakeTemplate(Token token) : ViewController(token) {}
    SharedCustomizePayWallModel customizePayWallModel() const override { return model_; }
    void setCustomizePayWallModel(SharedCustomizePayWallModel m) override { model_ = m; }
    std::weak_ptr<quillgateVCDelegate> delegate() const override { return delegate_; }
    void setDelegate(std::weak_ptr<quillgateVCDelegate> d) override { delegate_ = d; }
    void refreshData() override {}

  private:
    SharedCustomizePayWallModel model_;
    std::weak_ptr<quillgateVCDelegate> delegate_;
};

// A SharedData that is no view controller: a reset leaves it in place.
struct PlainSharedData : SharedData {
    SharedCustomizePayWallModel customizePayWallModel() const override { return nullptr; }
    void setCustomizePayWallModel(SharedCustomizePayWallModel) override {}
    std::weak_ptr<quillgateVCDelegate> delegate() const override { return {}; }
    void setDelegate(std::weak_ptr<quillgateVCDelegate>) override {}
    void refreshData() override {}
};

class QuillgateClientTest : public ::testing::Test {
  protected:
    void showPayWall(const std::string& contentID = "article-1") {
        client().showPayWall(contentID, "Title", std::vector<std::string>{"news"},
                             std::vector<std::string>{"world"}, std::vector<std::string>{"t"},
                             "https://news.test/a1", "Ann Author", "https://host.test/a1", parent,
                             host, host, host, host, host);
    }

    static QuillgateClient& client() { return QuillgateClient::shared(); }

    TestPlatform tp;
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>();
    std::shared_ptr<Host> host = std::make_shared<Host>();
};

TEST_F(QuillgateClientTest, StartsInStageWithEveryGateOpenAndPrintsNothing) {
    auto& c = client();
    EXPECT_EQ(c.mode, Mode::stage);
    EXPECT_EQ(c.accentColor, ui::Color::red());
    EXPECT_EQ(c.paywallDisplayType, PAYWALLTYPE::INARTICLE);
    EXPECT_TRUE(c.isNeedToShowPopUp && c.isNeedToShowMeterBanner && c.isNeedToShowPaywall);
    EXPECT_FALSE(c.isDefaultPaywall || c.debugMode);
    EXPECT_EQ(c.deployment, Deployment::builtIn());
    EXPECT_TRUE(tp.lines().empty());
}

TEST_F(QuillgateClientTest, ConfigureAndUserIdentityOnlyStore) {
    client().configure(Mode::sandbox, "  cl ");
    EXPECT_EQ(client().mode, Mode::sandbox);
    EXPECT_EQ(client().clientID, "  cl ");
    client().setClientUserId("reader-1");
    EXPECT_EQ(Constants::clientUserId(), "reader-1");
    EXPECT_EQ(tp.defaults().string("clientUserId"), "reader-1");
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_TRUE(tp.lines().empty());
}

TEST_F(QuillgateClientTest, ShowPayWallWithoutClientIdWipesTheArticleAndStops) {
    for (const std::string blank : {"", " \n\t "}) {
        tp.clearLines();
        client().clientID = blank;
        client().contentID = "old";
        client().paywallId = "old-wall";
        client().parentView = std::make_shared<ui::View>();
        client().completionHandlerDelegate = host;

        showPayWall();

        EXPECT_EQ(tp.lines(),
                  (std::vector<std::string>{"resetValues()", "Scroll depth changed to 0",
                                            "Scroll depth percentage changed to 0.0",
                                            "Supply client ID before using this function"}));
        EXPECT_EQ(client().contentID, "");
        EXPECT_EQ(client().paywallId, "");
        EXPECT_FALSE(client().parentView) << "nothing of the new article is stored";
        EXPECT_TRUE(client().completionHandlerDelegate.expired());
        EXPECT_FALSE(client().screenType);
    }
    tp.runPending();
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_TRUE(host->answers.empty());
}

TEST_F(QuillgateClientTest, ShowPayWallStoresTheArticleAndStartsTheJourney) {
    client().configure(Mode::local, "cl");
    showPayWall();
    auto& c = client();
    EXPECT_EQ(c.contentID, "article-1");
    EXPECT_EQ(c.title, "Title");
    EXPECT_EQ(c.categories, std::vector<std::string>{"news"});
    EXPECT_EQ(c.contentUrl, "https://news.test/a1");
    EXPECT_EQ(c.authorName, "Ann Author");
    EXPECT_EQ(c.url, "https://host.test/a1");
    EXPECT_EQ(c.parentView, parent);
    EXPECT_EQ(c.screenType, ScreenType::paywallScreen);
    EXPECT_EQ(c.completionHandlerDelegate.lock(), host);
    EXPECT_EQ(c.eventParamsDelegate.lock(), host);
    EXPECT_TRUE(tp.printed("trackstartProcess()::handleUserJourney"));

    // The host owns its delegates: once it lets go, the client has none.
    host.reset();
    EXPECT_TRUE(c.completionHandlerDelegate.expired());
    EXPECT_TRUE(c.signInBtnDelegate.expired());
}

TEST_F(QuillgateClientTest, TheFlowNeedsAnArticleAParentViewAndALiveHostDelegate) {
    client().configure(Mode::local, "cl");
    showPayWall("   ");
    EXPECT_FALSE(tp.printed("trackstartProcess()::handleUserJourney"));

    client().showPayWall("a1", {}, {}, {}, {}, {}, {}, {}, nullptr, nullptr, nullptr, host, nullptr,
                         nullptr);
    EXPECT_FALSE(tp.printed("trackstartProcess()::handleUserJourney"));

    client().showPayWall("a1", {}, {}, {}, {}, {}, {}, {}, parent, nullptr, nullptr, nullptr,
                         nullptr, nullptr);
    EXPECT_FALSE(tp.printed("trackstartProcess()::handleUserJourney"));
}

TEST_F(QuillgateClientTest, InitSubscriptionsDropsTitleAndAddress) {
    client().configure(Mode::local, "cl");
    client().initSubscriptions("article-2", "A title", "https://host.test/a2", parent, host, host,
                               host, true, host);
    auto& c = client();
    EXPECT_EQ(c.contentID, "article-2");
    EXPECT_EQ(c.title, "");
    EXPECT_EQ(c.url, "");
    EXPECT_EQ(c.screenType, ScreenType::subPassScreen);
    EXPECT_EQ(c.crossButton, true);
    EXPECT_TRUE(c.eventParamsDelegate.expired()) << "this entry takes no event delegate";
    const auto lines = tp.lines();
    const auto shown = std::find(lines.begin(), lines.end(), "true");
    ASSERT_NE(shown, lines.end());
    EXPECT_EQ(*(shown + 1), "Optional(true)");

    // With a challenge stored, the subscription entry redeems it first.
    Constants::setLoginChallenge("challenge-1");
    client().initSubscriptions("article-2", {}, {}, parent, host, nullptr, nullptr, false, nullptr);
    EXPECT_TRUE(tp.printed("trackstartProcess::handleLoginChallenge()"));
    EXPECT_EQ(client().crossButton, false);
}

TEST_F(QuillgateClientTest, ScrollValuesNeverGoNegativeAndEveryAssignmentCounts) {
    auto& c = client();
    c.setScrollDepth(-40);
    EXPECT_EQ(c.scrollDepth(), 0);
    c.setScrollDepth(0);
    EXPECT_EQ(tp.countPrinted("Scroll depth changed to 0"), 2u);
    c.setScrollDepth(350);
    EXPECT_TRUE(tp.printed("Scroll depth changed to 350"));

    c.setScrollDepthPercentage(-0.5f);
    EXPECT_EQ(c.scrollDepthPercentage(), 0.0f);
    EXPECT_TRUE(tp.printed("Scroll depth percentage changed to 0.0"));
    c.setScrollDepthPercentage(42.5f);
    EXPECT_TRUE(tp.printed("Scroll depth percentage changed to 42.5"));
}

TEST_F(QuillgateClientTest, ScrollRuleSchedulesAPresentationUnlessUnderAPageViewMeter) {
    auto& c = client();
    const auto before = tp.loop().pendingCount();
    c.setScrollDepth(10);
    EXPECT_EQ(tp.loop().pendingCount(), before + 1) << "a template presentation, at once";
    tp.runPending();

    c.isDefaultPaywall = true;
    c.setScrollDepthPercentage(10);
    EXPECT_EQ(tp.loop().pendingCount(), before + 1) << "the default paywall's presentation";
    tp.runPending();

    UserJourneyModel journey;
    journey.unlockedWithPageViewMeter = true;
    c.userJourneyModel = journey;
    c.isNeedToShowMeterBanner = false;
    c.setScrollDepth(20);
    EXPECT_EQ(tp.loop().pendingCount(), before) << "the banner's gate decides instead";
    EXPECT_TRUE(tp.printed("showMeterBanner()"));
}

TEST_F(QuillgateClientTest, ResetTakesScreensDownAndKeepsWhatOutlivesAnArticle) {
    auto& c = client();
    c.configure(Mode::production, "cl");
    c.debugMode = true;
    c.pageLength = 900;
    c.paywallHeight = 320;
    c.paywallName = "3A";
    c.authorName = "Ann";
    c.crossButton = false;
    c.accentColor = ui::Color::blue();
    c.parentView = parent;

    auto blocker = ui::ViewController::create<ui::ViewController>();
    parent->addSubview(blocker->view());
    c.blockerVC = blocker;
    auto templateScreen = ui::ViewController::create<FakeTemplate>();
    parent->addSubview(templateScreen->view());
    c.customPayWallVC = templateScreen;
    c.popUpView = std::make_shared<ui::View>();
    parent->addSubview(c.popUpView);
    c.webVC = ui::ViewController::create<ui::ViewController>();  // never shown
    c.userJourneyModel = UserJourneyModel{};
    c.customizePayWallModel = std::make_shared<CustomizePayWallModel>();
    c.isNeedToShowPaywall = false;
    c.isDefaultPaywall = true;

    QuillgateClientTestAccess::resetValues(c);

    EXPECT_TRUE(parent->subviews().empty());
    EXPECT_FALSE(c.blockerVC);
    EXPECT_FALSE(c.customPayWallVC);
    EXPECT_FALSE(c.popUpView);
    EXPECT_FALSE(c.webVC);
    EXPECT_FALSE(c.parentView);
    EXPECT_FALSE(c.userJourneyModel);
    EXPECT_FALSE(c.customizePayWallModel);
    EXPECT_TRUE(c.isNeedToShowPaywall);
    EXPECT_FALSE(c.isDefaultPaywall);

    EXPECT_EQ(c.clientID, "cl");
    EXPECT_EQ(c.mode, Mode::production);
    EXPECT_TRUE(c.debugMode);
    EXPECT_EQ(c.pageLength, 900);
    EXPECT_EQ(c.paywallHeight, 320);
    EXPECT_EQ(c.paywallName, "3A");
    EXPECT_EQ(c.authorName, "Ann");
    EXPECT_EQ(c.crossButton, false);
    EXPECT_EQ(c.accentColor, ui::Color::blue());

    // The reset's scroll rule ran with the previous article's default paywall.
    EXPECT_EQ(tp.loop().pendingCount(), 2u);

    // A wall that isn't a view controller stays where it is.
    auto plain = std::make_shared<PlainSharedData>();
    c.customPayWallVC = plain;
    QuillgateClientTestAccess::resetValues(c);
    EXPECT_EQ(c.customPayWallVC, plain);
}

}  // namespace
}  // namespace quillgate

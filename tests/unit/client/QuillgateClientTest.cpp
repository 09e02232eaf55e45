#include "quillgate/service/Constants.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {

namespace {

using testing::StubTemplate;

// A SharedData that is no view controller: a reset leaves it in place.
struct PlainSharedData : SharedData {
    SharedCustomizePayWallModel customizePayWallModel() const override { return nullptr; }
    void setCustomizePayWallModel(SharedCustomizePayWallModel) override {}
    std::weak_ptr<quillgateVCDelegate> delegate() const override { return {}; }
    void setDelegate(std::weak_ptr<quillgateVCDelegate>) override {}
    void refreshData() override {}
};

// The client as the host first meets it: not configured yet.
class QuillgateClientTest : public testing::ClientTest {
  protected:
    QuillgateClientTest() : ClientTest(false) {}

    void showPayWall() {
        client().showPayWall("article-1", "Title", std::vector<std::string>{"news"},
                             std::vector<std::string>{"world"}, std::vector<std::string>{"t"},
                             "https://news.test/a1", "Ann Author", "https://host.test/a1", parent,
                             host, host, host, host, host);
    }
};

TEST_F(QuillgateClientTest, ShowPayWallWithoutClientIdWipesTheArticleAndStops) {
    // First never configured, then configured with blanks only (kept as given).
    for (const std::string blank : {"", " \n\t "}) {
        SCOPED_TRACE(::testing::PrintToString(blank));
        if (!blank.empty()) {
            client().configure(Mode::sandbox, blank);
            EXPECT_EQ(client().clientID, blank);
        }
        tp.clearLines();
        client().contentID = "old";
        client().paywallId = "old-wall";
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
    EXPECT_TRUE(host->calls.empty());
}

TEST_F(QuillgateClientTest, ShowPayWallStoresTheArticleAndHoldsTheHostWeakly) {
    client().configure(Mode::local, "cl");
    showPayWall();
    auto& c = client();
    EXPECT_EQ(c.authorName, "Ann Author");
    EXPECT_EQ(c.parentView, parent);
    EXPECT_EQ(c.screenType, ScreenType::paywallScreen);
    EXPECT_EQ(c.eventParamsDelegate.lock(), host);

    // The host owns its delegates: once it lets go, the client has none.
    host.reset();
    EXPECT_TRUE(c.completionHandlerDelegate.expired());
    EXPECT_TRUE(c.signInBtnDelegate.expired());
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
    tp.runPending();

    // Each assignment schedules a presentation: the template's, or the default paywall's...
    const auto before = tp.loop().pendingCount();
    c.setScrollDepth(10);
    EXPECT_EQ(tp.loop().pendingCount(), before + 1);
    tp.runPending();
    c.isDefaultPaywall = true;
    c.setScrollDepthPercentage(10);
    EXPECT_EQ(tp.loop().pendingCount(), before + 1);
    tp.runPending();

    // ...unless a page-view meter runs: then the banner's gate decides instead.
    c.userJourneyModel = UserJourneyModel{};
    c.userJourneyModel->unlockedWithPageViewMeter = true;
    c.isNeedToShowMeterBanner = false;
    c.setScrollDepth(20);
    EXPECT_EQ(tp.loop().pendingCount(), before);
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

    c.blockerVC = ui::ViewController::create<ui::ViewController>();
    auto templateScreen = ui::ViewController::create<StubTemplate>();
    c.customPayWallVC = templateScreen;
    c.popUpView = std::make_shared<ui::View>();
    for (const auto& view : {c.blockerVC->view(), templateScreen->view(), c.popUpView}) {
        parent->addSubview(view);
    }
    c.webVC = ui::ViewController::create<ui::ViewController>();  // never shown
    c.userJourneyModel = UserJourneyModel{};
    c.customizePayWallModel = std::make_shared<CustomizePayWallModel>();
    c.isNeedToShowPaywall = false;
    c.isDefaultPaywall = true;

    QuillgateClientTestAccess::resetValues(c);

    EXPECT_TRUE(parent->subviews().empty());
    EXPECT_FALSE(c.blockerVC || c.customPayWallVC || c.popUpView || c.webVC || c.parentView);
    EXPECT_FALSE(c.userJourneyModel || c.customizePayWallModel);
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

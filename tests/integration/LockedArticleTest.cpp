// Locked articles end to end against the local access service on loopback, through the curl
// session and the real font system: the journey, the content, the paywall configuration, the
// fonts, the gate, and the screen the client adds to the host's parent view.

#include <set>

#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/ViewController.h"
#include "tests/integration/LoopbackClient.h"

namespace quillgate::testing {
namespace {

class LockedArticleTest : public LoopbackClientTest {
  protected:
    // The service runs on the manual clock's time, so that timers it writes into a
    // configuration are measured against the same "now" as the client's.
    LockedArticleTest() : LoopbackClientTest([] { return platform::ManualClock().now(); }) {
        // A font system that knows no installed face, so that every family is fetched.
        tp.platform().fonts = std::make_shared<platform::FontconfigFontSystem>(
            platform::FontconfigFontSystem::InstalledFonts::exclude);
    }

    // Shows `contentID` until a wall stands in the parent view; gives the wall's screen.
    std::shared_ptr<ui::ViewController> wallFor(const std::string& contentID) {
        showPayWall(contentID);
        EXPECT_TRUE(waitFor([&] { return !parent->subviews().empty(); }, 20));
        auto& client = QuillgateClient::shared();
        if (client.blockerVC) {
            return client.blockerVC;
        }
        return std::dynamic_pointer_cast<ui::ViewController>(client.customPayWallVC);
    }

    // The parent's only subview, tagged as the wall and pinned to the parent's four edges.
    ::testing::AssertionResult isPinnedWall(const std::shared_ptr<ui::ViewController>& screen) {
        if (!screen || parent->subviews().size() != 1 ||
            parent->subviews().front() != screen->viewIfLoaded()) {
            return ::testing::AssertionFailure() << "the screen's view isn't the only subview";
        }
        const auto root = screen->viewIfLoaded();
        std::set<ui::LayoutAttribute> pinned;
        for (const auto& c : parent->constraints()) {
            if (c->isActive() && c->firstItem() == root && c->secondItem() == parent) {
                pinned.insert(c->firstAttribute());
            }
        }
        if (root->tag() != 9988 || pinned.size() != 4) {
            return ::testing::AssertionFailure()
                   << "tag " << root->tag() << ", " << pinned.size() << " edges pinned";
        }
        return ::testing::AssertionSuccess();
    }
};

TEST_F(LockedArticleTest, TemplateWallFollowsJourneyContentConfigurationAndFonts) {
    const auto screen = wallFor("premium-3a");
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    const auto journey = served("/api/v1/journey");
    const auto content = served("/api/v1/content");
    const auto config = served("/api/v1/paywall/paywall-config/" + std::string(kDemoClient));
    const auto fonts = served("/fonts/");
    ASSERT_EQ(journey.size(), 1u);
    ASSERT_EQ(content.size(), 1u);
    ASSERT_EQ(config.size(), 1u);
    ASSERT_FALSE(fonts.empty());
    EXPECT_LT(journey[0], content[0]);
    EXPECT_LT(content[0], config[0]);
    EXPECT_LT(config[0], fonts.front());
    EXPECT_TRUE(tp.printed("All font downloads completed successfully"));

    auto& client = QuillgateClient::shared();
    ASSERT_TRUE(screen);
    EXPECT_EQ(screen->className(), "CTA3ViewController");
    EXPECT_TRUE(isPinnedWall(screen));
    EXPECT_TRUE(tp.printed("TEMPLATE3A"));
    EXPECT_FALSE(client.isNeedToShowPaywall);
    EXPECT_FALSE(client.isDefaultPaywall);
    ASSERT_TRUE(client.customizePayWallModel);
    EXPECT_EQ(client.customPayWallVC->customizePayWallModel(), client.customizePayWallModel);
    ASSERT_TRUE(client.userJourneyModel && client.userJourneyModel->actionID &&
                client.userJourneyModel->actionID->data);
    EXPECT_EQ(client.paywallId, client.userJourneyModel->actionID->data->actionID.value_or(""));
    EXPECT_FALSE(client.paywallType.empty());
}

// The access flow's requests follow one another, so they ride one kept-alive connection to
// the service, from one article to the next. (Downloads that run side by side, such as the
// fonts, take a connection each from an HTTP/1.1 server like this one; an HTTP/2 server
// carries them all on one.)
TEST_F(LockedArticleTest, OneConnectionCarriesTheFlowFromArticleToArticle) {
    ASSERT_TRUE(wallFor("premium-3a"));
    showPayWall("free-article");
    ASSERT_TRUE(waitFor([&] { return host->calls.size() == 2; }));
    std::set<int> ports;
    std::size_t requests = 0;
    for (const auto& r : dev.controls().requests()) {
        if (r.server == "api") {
            ports.insert(r.remotePort);
            ++requests;
        }
    }
    EXPECT_GE(requests, 4u) << "two journeys, the content and the configuration";
    EXPECT_EQ(ports.size(), 1u);
}

// Each article of the service's scenario and the screen it ends on.
class LockedArticleOutcomeTest
    : public LockedArticleTest,
      public ::testing::WithParamInterface<std::pair<std::string, std::string>> {};

TEST_P(LockedArticleOutcomeTest, ArticleEndsOnItsScreen) {
    const auto& [article, screenClass] = GetParam();
    const auto screen = wallFor(article);
    ASSERT_TRUE(screen);
    EXPECT_EQ(screen->className(), screenClass);
    EXPECT_TRUE(isPinnedWall(screen));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
}

INSTANTIATE_TEST_SUITE_P(Scenario, LockedArticleOutcomeTest,
                         ::testing::Values(std::pair{"premium-13a", "CTA13ViewController"},
                                           std::pair{"premium-13a-expired", "QuillgateStatusVC"},
                                           std::pair{"premium-fallback", "QuillgateStatusVC"},
                                           std::pair{"premium-unknown-template",
                                                     "QuillgateStatusVC"},
                                           std::pair{"premium-zel", "ZelViewController"},
                                           std::pair{"regwall-rg5", "RGViewController"}));

}  // namespace
}  // namespace quillgate::testing

// Locked articles end to end against the local access service on loopback, through the curl
// session and the real font system: the journey, the content, the paywall configuration, the
// fonts, the gate, and the screen the client adds to the host's parent view.

#include <cctype>
#include <chrono>
#include <set>

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"
#include "tools/devserver/DevServer.h"

namespace quillgate {
namespace {

const std::string kLocked = "purchasedOrNot(accessTime: false)";
const std::string kLetIn = "purchasedOrNot(accessTime: true)";
constexpr const char* kClient = "quillgate-demo";
constexpr int kWallTag = 9988;

class LockedArticleTest : public ::testing::Test {
  protected:
    LockedArticleTest() {
        EXPECT_TRUE(dev.start());
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        // A font system that knows no installed face, so that every family is fetched.
        tp.platform().fonts = std::make_shared<platform::FontconfigFontSystem>(
            platform::FontconfigFontSystem::InstalledFonts::exclude);
        auto& client = QuillgateClient::shared();
        dev.pointAt(client.deployment);
        client.configure(Mode::local, kClient);
    }

    void showPayWall(const std::string& contentID) {
        QuillgateClient::shared().showPayWall(contentID, "A story", std::nullopt, std::nullopt,
                                              std::nullopt, std::nullopt, std::nullopt,
                                              std::nullopt, parent, host, host, host, host, host);
    }

    // Runs the main queue until a wall stands in the parent view.
    bool waitForWall() {
        return tp.loop().runUntil([&] { return !parent->subviews().empty(); },
                                  std::chrono::seconds(20));
    }

    // Sequence numbers of the service's requests whose path holds `part`.
    std::vector<uint64_t> served(const std::string& part) {
        std::vector<uint64_t> out;
        for (const auto& entry : dev.controls().requests()) {
            if (entry.path.find(part) != std::string::npos) {
                out.push_back(entry.sequence);
            }
        }
        return out;
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
        if (root->tag() != kWallTag || root->translatesAutoresizingMaskIntoConstraints() ||
            pinned.size() != 4) {
            return ::testing::AssertionFailure()
                   << "tag " << root->tag() << ", " << pinned.size() << " edges pinned";
        }
        return ::testing::AssertionSuccess();
    }

    static std::shared_ptr<ui::ViewController> wallScreen() {
        auto& client = QuillgateClient::shared();
        if (client.blockerVC) {
            return client.blockerVC;
        }
        return std::dynamic_pointer_cast<ui::ViewController>(client.customPayWallVC);
    }

    // The service runs on the manual clock's time, so that timers it writes into a
    // configuration are measured against the same "now" as the client's.
    devserver::DevServer dev{
        devserver::DevServer::Options{0,
                                      0,
                                      0,
                                      devserver::DevServer::defaultDataDir(),
                                      [] { return platform::ManualClock().now(); },
                                      {}}};
    testing::TestPlatform tp;  // after the server: its HTTP session closes first
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 844));
    std::shared_ptr<testing::RecordingHost> host = std::make_shared<testing::RecordingHost>();
};

TEST_F(LockedArticleTest, TemplateWallFollowsJourneyContentConfigurationAndFonts) {
    showPayWall("premium-3a");
    ASSERT_TRUE(waitForWall());

    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    const auto journey = served("/api/v1/journey");
    const auto content = served("/api/v1/content");
    const auto config = served("/api/v1/paywall/paywall-config/" + std::string(kClient));
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
    auto screen = wallScreen();
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

// Each article of the service's scenario and the screen it ends on.
struct Outcome {
    std::string article;
    std::string screen;
    std::vector<std::string> hostHears;
};
// Test names and failure messages show the article, not the bytes of the record.
void PrintTo(const Outcome& outcome, std::ostream* os) {
    *os << outcome.article;
}

class LockedArticleOutcomeTest : public LockedArticleTest,
                                 public ::testing::WithParamInterface<Outcome> {};

TEST_P(LockedArticleOutcomeTest, ArticleEndsOnItsScreen) {
    showPayWall(GetParam().article);
    ASSERT_TRUE(waitForWall());
    // The banner lets the reader in right after it is scheduled: let that answer land too.
    tp.loop().runUntil([&] { return host->calls.size() >= GetParam().hostHears.size(); },
                       std::chrono::seconds(5));

    auto screen = wallScreen();
    ASSERT_TRUE(screen);
    EXPECT_EQ(screen->className(), GetParam().screen);
    EXPECT_TRUE(isPinnedWall(screen));
    EXPECT_EQ(host->calls, GetParam().hostHears);
}

INSTANTIATE_TEST_SUITE_P(
    Scenario, LockedArticleOutcomeTest,
    ::testing::Values(Outcome{"premium-13a", "CTA13ViewController", {kLocked}},
                      Outcome{"premium-13a-expired", "QuillgateStatusVC", {kLocked}},
                      Outcome{"premium-fallback", "QuillgateStatusVC", {kLocked}},
                      Outcome{"premium-unknown-template", "QuillgateStatusVC", {kLocked}},
                      Outcome{"premium-zel", "ZelViewController", {kLocked}},
                      Outcome{"regwall-rg5", "RGViewController", {kLocked}},
                      Outcome{"metered-1", "BannerViewController", {kLocked, kLetIn}}),
    [](const ::testing::TestParamInfo<Outcome>& info) {
        std::string name;
        for (char ch : info.param.article) {
            name += std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        }
        return name;
    });

}  // namespace
}  // namespace quillgate

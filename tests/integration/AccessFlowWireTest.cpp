// The access flow through the curl session against the local access service on loopback: one
// article per test, walked from showPayWall (or initSubscriptions) to what the host hears and
// which request comes next.

#include <chrono>

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/service/Constants.h"
#include "quillgate/ui/View.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"
#include "tools/devserver/DevServer.h"

namespace quillgate {
namespace {

using nlohmann::json;

const std::string kLocked = "purchasedOrNot(accessTime: false)";
const std::string kLetIn = "purchasedOrNot(accessTime: true)";
constexpr const char* kClient = "quillgate-demo";

class AccessFlowWireTest : public ::testing::Test {
  protected:
    AccessFlowWireTest() {
        EXPECT_TRUE(dev.start());
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        auto& client = QuillgateClient::shared();
        dev.pointAt(client.deployment);
        client.configure(Mode::local, kClient);
    }

    void showPayWall(const std::string& contentID) {
        QuillgateClient::shared().showPayWall(contentID, "A story", std::nullopt, std::nullopt,
                                              std::nullopt, std::nullopt, std::nullopt,
                                              std::nullopt, parent, host, host, host, host, host);
    }

    // The service's log of requests whose path holds `part`.
    std::size_t served(const std::string& part) {
        std::size_t count = 0;
        for (const auto& entry : dev.controls().requests()) {
            if (entry.path.find(part) != std::string::npos) {
                ++count;
            }
        }
        return count;
    }

    // Runs the main queue until `done` holds (answers come from the session's thread).
    bool waitFor(const std::function<bool()>& done) {
        return tp.loop().runUntil(done, std::chrono::seconds(30));
    }

    bool waitForRequest(const std::string& part, std::size_t count = 1) {
        return waitFor([&] { return served(part) >= count; });
    }

    // Signs `email` in on the service's web page for a challenge stored on the device, the
    // way the web flow would: register the challenge, follow the page's sign-in choice.
    void signInThroughChallenge(const std::string& contentID, const std::string& email) {
        Constants::setLoginChallenge("challenge-wire-1");
        httplib::Client api("127.0.0.1", dev.apiPort());
        auto registered = api.Post("/api/v1/login-challenge",
                                   json{{"redirectTo", "orvelant://home?id=" + contentID},
                                        {"loginChallengeId", "challenge-wire-1"}}
                                       .dump(),
                                   "application/json");
        ASSERT_TRUE(registered);
        httplib::Client web("127.0.0.1", dev.webPort());
        httplib::Params query = {{"clientId", kClient},
                                 {"clientContentId", contentID},
                                 {"loginChallenge", "challenge-wire-1"},
                                 {"choice", "login"},
                                 {"email", email}};
        auto chosen = web.Get(httplib::append_query_params("/overlay/choose", query));
        ASSERT_TRUE(chosen);
        ASSERT_EQ(chosen->status, 302);
        dev.controls().clearRequests();
    }

    void addFault(const json& spec) {
        std::string error;
        auto fault = devserver::Controls::parseFault(spec, error);
        ASSERT_TRUE(fault) << error;
        dev.controls().addFault(*fault);
    }

    devserver::DevServer dev{
        devserver::DevServer::Options{0, 0, 0, devserver::DevServer::defaultDataDir(), {}, {}}};
    testing::TestPlatform tp;
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>();
    std::shared_ptr<testing::RecordingHost> host = std::make_shared<testing::RecordingHost>();
};

TEST_F(AccessFlowWireTest, FreeArticleTakesBranchAAndFetchesNoOffer) {
    showPayWall("free-article");
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    tp.runPending();
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_EQ(served("/content"), 0u);
}

TEST_F(AccessFlowWireTest, ChallengeThatYieldsASessionRunsTheJourneyAgainAndLetsTheReaderIn) {
    signInThroughChallenge("premium-3a", "subscriber@quillgate.test");
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return host->calls.size() >= 2; }));
    EXPECT_EQ(host->calls, (std::vector<std::string>{kLocked, kLetIn})) << "branch c, then b";
    EXPECT_EQ(served("/journey"), 2u);
    EXPECT_EQ(served("/login-challenge/challenge-wire-1"), 1u);
    EXPECT_TRUE(Constants::sessionID().has_value());
    EXPECT_EQ(Constants::loginChallenge(), std::nullopt);
    EXPECT_EQ(served("/content"), 0u);
    EXPECT_EQ(Constants::unlockedStatus(), 1);
}

TEST_F(AccessFlowWireTest, LockedArticleGoesFromContentToTheConfiguration) {
    showPayWall("premium-3a");
    ASSERT_TRUE(waitForRequest("/paywall/paywall-config/"));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_TRUE(QuillgateClient::shared().contentDetailsModel.has_value());
    EXPECT_EQ(served("/metering/banner/"), 0u);
}

TEST_F(AccessFlowWireTest, PageViewMeterLeadsToTheBannerAndNotToTheConfiguration) {
    showPayWall("metered-1");
    ASSERT_TRUE(waitForRequest("/metering/banner/"));
    EXPECT_EQ(served("/paywall/paywall-config/"), 0u);
    ASSERT_TRUE(QuillgateClient::shared().userJourneyModel.has_value());
    EXPECT_EQ(QuillgateClient::shared().userJourneyModel->unlockedWithPageViewMeter, true);
}

TEST_F(AccessFlowWireTest, ServerErrorOnTheJourneyStillLoadsTheContent) {
    addFault({{"path", "/api/v1/journey"}, {"fault", "status"}, {"status", 500}});
    showPayWall("premium-3a");
    ASSERT_TRUE(waitForRequest("/content"));
    EXPECT_TRUE(host->calls.empty());
}

TEST_F(AccessFlowWireTest, RefusedJourneysStopWithTheirToastOrLine) {
    QuillgateClient::shared().configure(Mode::local, "no-such-publisher");
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return tp.printed("wrongClientOrContentID"); }));

    QuillgateClient::shared().configure(Mode::local, kClient);
    addFault({{"path", "/api/v1/journey"},
              {"fault", "status"},
              {"status", 400},
              {"message", "Invalid reader"}});
    showPayWall("premium-3a");
    // The answer has been handled once its response line is out and the main queue is idle.
    ASSERT_TRUE(waitFor(
        [&] { return tp.printedContaining("Invalid reader") && tp.loop().pendingCount() == 0; }));
    EXPECT_TRUE(host->calls.empty());
    EXPECT_EQ(served("/content"), 0u);
}

class SubscriptionWireTest : public AccessFlowWireTest {
  protected:
    void initSubscriptions() {
        QuillgateClient::shared().initSubscriptions("premium-3a", "A story", std::nullopt, parent,
                                                    host, host, host, true, host);
    }
};

TEST_F(SubscriptionWireTest, StoredChallengeThenSignatureLetsTheSubscriberIn) {
    signInThroughChallenge("premium-3a", "subscriber@quillgate.test");
    initSubscriptions();
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_EQ(served("/login-challenge/"), 1u);
    EXPECT_EQ(served("/subscription/access"), 1u);
    EXPECT_EQ(served("/subscription/embedded-subscription"), 0u);
}

TEST_F(SubscriptionWireTest, ErrorAnswerWipesTheSessionAndFetchesThePlans) {
    Constants::setSessionID("session-unknown");
    Constants::userID() = "someone";
    initSubscriptions();
    ASSERT_TRUE(waitForRequest("/subscription/embedded-subscription"));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_EQ(Constants::sessionID(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "");
}

}  // namespace
}  // namespace quillgate

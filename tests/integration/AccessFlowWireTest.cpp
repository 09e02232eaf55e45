// The access flow through the curl session against the local access service on loopback: one
// article per test, walked from showPayWall (or initSubscriptions) to what the host hears and
// which request comes next.

#include <nlohmann/json.hpp>

#include "quillgate/service/Constants.h"
#include "tests/integration/LoopbackClient.h"

namespace quillgate::testing {
namespace {

using nlohmann::json;

class AccessFlowWireTest : public LoopbackClientTest {
  protected:
    // A challenge stored on the device that the service has seen signed in, as after the web
    // flow's sign-in page.
    void signInThroughChallenge(const std::string& contentID) {
        Constants::setLoginChallenge("challenge-wire-1");
        ASSERT_EQ(dev.service()
                      .postLoginChallenge(json{{"redirectTo", "orvelant://home?id=" + contentID},
                                               {"loginChallengeId", "challenge-wire-1"}}
                                              .dump())
                      .status,
                  201);
        ASSERT_TRUE(
            dev.service()
                .signIn(kDemoClient, {"subscriber@quillgate.test", "", ""}, "challenge-wire-1")
                .ok);
    }

    void addFault(const json& spec) {
        std::string error;
        auto fault = devserver::Controls::parseFault(spec, error);
        ASSERT_TRUE(fault) << error;
        dev.controls().addFault(*fault);
    }

    void initSubscriptions() {
        QuillgateClient::shared().initSubscriptions("premium-3a", "A story", std::nullopt, parent,
                                                    host, host, host, true, host);
    }
};

TEST_F(AccessFlowWireTest, FreeArticleTakesBranchAAndFetchesNoOffer) {
    showPayWall("free-article");
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    tp.runPending();
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_TRUE(served("/content").empty());
}

TEST_F(AccessFlowWireTest, ChallengeThatYieldsASessionRunsTheJourneyAgainAndLetsTheReaderIn) {
    signInThroughChallenge("premium-3a");
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return host->calls.size() >= 2; }));
    EXPECT_EQ(host->calls, (std::vector<std::string>{kLocked, kLetIn})) << "branch c, then b";
    EXPECT_EQ(served("/journey").size(), 2u);
    EXPECT_EQ(served("/login-challenge/challenge-wire-1").size(), 1u);
    EXPECT_TRUE(Constants::sessionID().has_value());
    EXPECT_EQ(Constants::loginChallenge(), std::nullopt);
    EXPECT_TRUE(served("/content").empty());
    EXPECT_EQ(Constants::unlockedStatus(), 1);
}

TEST_F(AccessFlowWireTest, PageViewMeterLeadsToTheBannerAndNotToTheConfiguration) {
    showPayWall("metered-1");
    ASSERT_TRUE(waitFor([&] { return !served("/metering/banner/").empty(); }));
    EXPECT_TRUE(served("/paywall/paywall-config/").empty());
    ASSERT_TRUE(QuillgateClient::shared().userJourneyModel.has_value());
    EXPECT_EQ(QuillgateClient::shared().userJourneyModel->unlockedWithPageViewMeter, true);
}

TEST_F(AccessFlowWireTest, ServerErrorOnTheJourneyStillLoadsTheContent) {
    addFault({{"path", "/api/v1/journey"}, {"fault", "status"}, {"status", 500}});
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return !served("/content").empty(); }));
    EXPECT_TRUE(host->calls.empty());
}

TEST_F(AccessFlowWireTest, RefusedJourneysStopWithTheirToastOrLine) {
    QuillgateClient::shared().configure(Mode::local, "no-such-publisher");
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return tp.printed("wrongClientOrContentID"); }));

    QuillgateClient::shared().configure(Mode::local, kDemoClient);
    addFault({{"path", "/api/v1/journey"},
              {"fault", "status"},
              {"status", 400},
              {"message", "Invalid reader"}});
    showPayWall("premium-3a");
    // The answer has been handled once its response line is out and the main queue is idle.
    ASSERT_TRUE(waitFor(
        [&] { return tp.printedContaining("Invalid reader") && tp.loop().pendingCount() == 0; }));
    EXPECT_TRUE(host->calls.empty());
    EXPECT_TRUE(served("/content").empty());
}

TEST_F(AccessFlowWireTest, SubscriptionEntryWithAStoredChallengeThenSignatureLetsTheReaderIn) {
    signInThroughChallenge("premium-3a");
    initSubscriptions();
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_EQ(served("/login-challenge/").size(), 1u);
    EXPECT_EQ(served("/subscription/access").size(), 1u);
    EXPECT_TRUE(served("/subscription/embedded-subscription").empty());
}

TEST_F(AccessFlowWireTest, SubscriptionEntryErrorAnswerWipesTheSessionAndFetchesThePlans) {
    Constants::setSessionID("session-unknown");
    Constants::userID() = "someone";
    initSubscriptions();
    ASSERT_TRUE(waitFor([&] { return !served("/subscription/embedded-subscription").empty(); }));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_EQ(Constants::sessionID(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "");
}

}  // namespace
}  // namespace quillgate::testing

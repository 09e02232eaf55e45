#include <chrono>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Url.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/service/Constants.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::RecordingHost;
using testing::TestPlatform;
using Access = QuillgateClientTestAccess;

const std::string kLocked = "purchasedOrNot(accessTime: false)";
const std::string kLetIn = "purchasedOrNot(accessTime: true)";

class AccessFlowTest : public ::testing::Test {
  protected:
    AccessFlowTest() {
        client().configure(Mode::local, "client-1");
        tp.http().answer("/collect", 200, "{}");
    }

    static QuillgateClient& client() { return QuillgateClient::shared(); }

    void showPayWall(const std::string& contentID = "article-1") {
        client().showPayWall(contentID, "Title", std::vector<std::string>{"news", "world"},
                             std::nullopt, std::nullopt, "https://news.test/a1", std::nullopt,
                             "https://host.test/a1", parent, host, host, host, host, host);
    }

    void initSubscriptions() {
        client().initSubscriptions("article-1", "Title", "https://host.test/a1", parent, host, host,
                                   host, true, host);
    }

    // Runs every answer and every step that is due now.
    void settle() {
        for (int i = 0; i < 20 && tp.loop().pendingCount() > 0; ++i) {
            tp.runPending();
        }
    }

    std::size_t sent(const std::string& part) { return tp.http().requestsTo(part).size(); }

    // The query of the one request sent to `part`, as key to value (last one wins).
    std::map<std::string, std::string> queryOf(const std::string& part) {
        auto requests = tp.http().requestsTo(part);
        EXPECT_EQ(requests.size(), 1u) << part;
        std::map<std::string, std::string> out;
        if (!requests.empty()) {
            for (const auto& [key, value] : platform::url::queryItems(requests.front().url)) {
                out[key] = value;
            }
        }
        return out;
    }

    TestPlatform tp;
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>();
    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
};

// ---- The journey request -------------------------------------------------------------------

TEST_F(AccessFlowTest, JourneyCarriesItsSixteenKeysWithTheirDefaults) {
    Constants::setSessionID("session-7");
    showPayWall();
    ASSERT_EQ(sent("/journey"), 1u);
    const std::string address = tp.http().requestsTo("/journey").front().url;
    // The whole address is percent-encoded once, with lists as the platform prints them.
    const std::string query = platform::url::percentDecode(address.substr(address.find('?') + 1));
    std::map<std::string, std::string> pairs;
    std::size_t start = 0;
    while (start <= query.size()) {
        std::size_t end = query.find('&', start);
        if (end == std::string::npos)
            end = query.size();
        std::string item = query.substr(start, end - start);
        auto eq = item.find('=');
        pairs[item.substr(0, eq)] = item.substr(eq + 1);
        start = end + 1;
    }
    EXPECT_EQ(pairs, (std::map<std::string, std::string>{
                         {"clientId", "client-1"},
                         {"anonId", Constants::anonymousID()},
                         {"adBlock", "false"},
                         {"cookies", "0"},
                         {"clientContentId", "article-1"},
                         {"sessionId", "session-7"},
                         {"device", "application"},
                         {"operatingSystem", "IOS"},
                         {"browser", "WEBVIEW"},
                         {"userId", ""},
                         {"categories", R"(["news", "world"])"},
                         {"sections", R"([""])"},
                         {"title", "Title"},
                         {"tags", R"([""])"},
                         {"url", "https://news.test/a1"},
                         {"authorName", ""},
                     }));
    EXPECT_TRUE(tp.printed("trackstartProcess()::handleUserJourney"));
}

TEST_F(AccessFlowTest, JourneyUserIdPrefersTheHostsStoredIdentity) {
    Constants::userID() = "reader-from-session";
    showPayWall();
    EXPECT_NE(tp.http().requestsTo("/journey").front().url.find("userId=reader-from-session"),
              std::string::npos);

    client().setClientUserId("host-reader");
    showPayWall();
    EXPECT_NE(tp.http().requestsTo("/journey").back().url.find("userId=host-reader"),
              std::string::npos);
}

TEST_F(AccessFlowTest, NothingStartsWithoutItsPreconditions) {
    client().showPayWall("  ", std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                         std::nullopt, std::nullopt, parent, host, host, host, host, host);
    client().showPayWall("a", std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                         std::nullopt, std::nullopt, nullptr, host, host, host, host, host);
    client().showPayWall("a", std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                         std::nullopt, std::nullopt, parent, host, host, nullptr, host, host);
    settle();
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_FALSE(tp.printedContaining("trackstartProcess"));
}

// ---- The journey's answer ------------------------------------------------------------------

struct BranchCase {
    const char* name;
    json journey;
    std::string heard;
    bool goesOn;  // branch c: the challenge step and the content follow
};

TEST_F(AccessFlowTest, JourneyAnswerTakesBranchAOrBOnlyWithASpentPageViewMeter) {
    const BranchCase cases[] = {
        {"a: free access",
         {{"unlockedWithPageViewMeter", false}, {"freeAccess", true}},
         kLocked,
         false},
        {"b: time left",
         {{"unlockedWithPageViewMeter", false}, {"accessTimeLeft", 1}},
         kLetIn,
         false},
        {"c: free access without the meter flag", {{"freeAccess", true}}, kLocked, true},
        {"c: no time left",
         {{"unlockedWithPageViewMeter", false}, {"accessTimeLeft", 0}},
         kLocked,
         true},
        {"c: subscription without time left", {{"unlockedWithSubscription", true}}, kLocked, true},
        {"c: page-view meter running", {{"unlockedWithPageViewMeter", true}}, kLocked, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        tp.http().clearRules();
        tp.http().answer("/journey", 200, c.journey.dump());
        tp.http().answer("/content", 404, "{}");
        host->calls.clear();
        tp.clearLines();
        const auto contentBefore = sent("/content");

        showPayWall();
        settle();

        EXPECT_EQ(host->calls, std::vector<std::string>{c.heard});
        EXPECT_EQ(tp.printed("trackhandleUserJourney::handleLoginChallenge()"), c.goesOn);
        EXPECT_EQ(tp.printed("calling handleLoginChallenge"), c.goesOn);
        EXPECT_EQ(sent("/content") - contentBefore, c.goesOn ? 1u : 0u);
    }
}

TEST_F(AccessFlowTest, BranchesAAndBCloseTheWallOnShow) {
    auto wall = std::make_shared<ui::View>();
    auto screen = ui::ViewController::create<ui::ViewController>();
    tp.http().answer("/journey", 200,
                     json{{"unlockedWithPageViewMeter", false}, {"accessTimeLeft", 3}}.dump());
    showPayWall();
    // A wall added by an earlier answer of this article.
    client().blockerVC = screen;
    parent->addSubview(screen->view());
    settle();
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_TRUE(parent->subviews().empty());
}

TEST_F(AccessFlowTest, SessionExistsFalseWipesTheSessionAndAbsentLeavesIt) {
    Constants::setSessionID("session-1");
    Constants::userID() = "reader-1";
    tp.http().answer("/journey", 200, json{{"unlockedWithPass", true}}.dump(), {}, true);
    showPayWall();
    settle();
    EXPECT_EQ(Constants::sessionID(), "session-1");
    EXPECT_EQ(Constants::userID(), "reader-1");
    EXPECT_EQ(Constants::unlockedStatus(), 0);

    tp.http().answer("/journey", 200, json{{"sessionExists", true}}.dump(), {}, true);
    showPayWall();
    settle();
    EXPECT_EQ(Constants::unlockedStatus(), 1);

    tp.http().answer("/journey", 200, json{{"sessionExists", false}}.dump(), {}, true);
    showPayWall();
    settle();
    EXPECT_EQ(Constants::sessionID(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "");
    EXPECT_EQ(Constants::unlockedStatus(), 0);
}

TEST_F(AccessFlowTest, JourneyFailuresStopOrGoOnByStatus) {
    struct Case {
        long status;
        std::string body;
        std::size_t contentRequests;
        const char* line;  // a printed line the case must show, or null
    };
    const Case cases[] = {
        {500, "{}", 1, nullptr},
        {503, "not json", 1, nullptr},
        {404, "{}", 0, "wrongClientOrContentID"},
        {400, R"({"statusCode":400,"message":["Bad client"]})", 0, nullptr},
        {200, R"({"freeAccess":"yes"})", 0, "decodingError"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.status);
        tp.http().clearRules();
        tp.http().answer("/journey", c.status, c.body);
        tp.http().answer("/content", 404, "{}");
        host->calls.clear();
        tp.clearLines();
        const auto before = sent("/content");
        showPayWall();
        settle();
        EXPECT_TRUE(host->calls.empty()) << "purchasedOrNot is not called";
        EXPECT_EQ(sent("/content") - before, c.contentRequests);
        if (c.line) {
            EXPECT_TRUE(tp.printed(c.line));
        }
    }
}

TEST_F(AccessFlowTest, PopupOfTheJourneyIsFetchedAndTheUnlockedStatusSetLast) {
    const json journey = {
        {"sessionExists", true},
        {"popupAction", {{"data", {{"popupActionId", "popup-9"}}}}},
        {"unlockedWithPageViewMeter", false},
        {"freeAccess", true},
    };
    tp.http().answer("/journey", 200, journey.dump());
    tp.http().answer("/client/popup/popup-9", 200,
                     R"({"type":"mobile","position":"center","status":"ACTIVE"})");
    showPayWall();
    settle();
    ASSERT_EQ(sent("/client/popup/popup-9"), 1u);
    ASSERT_TRUE(client().popUpModel.has_value());
    EXPECT_TRUE(tp.printedContaining("PopUpModel::"));
    EXPECT_EQ(Constants::unlockedStatus(), 1);

    // A blank popup action id sends nothing.
    tp.http().clearRules();
    tp.http().answer("/journey", 200,
                     json{{"popupAction", {{"data", {{"popupActionId", "  "}}}}}}.dump());
    showPayWall();
    settle();
    EXPECT_EQ(sent("/client/popup/"), 1u);
}

// ---- Login challenge -----------------------------------------------------------------------

TEST_F(AccessFlowTest, ChallengeThatYieldsASessionRunsTheJourneyOnceMore) {
    Constants::setLoginChallenge("challenge-1");
    tp.http().answer("/journey", 200, json{{"isPremium", true}}.dump());
    tp.http().answer("/login-challenge/challenge-1", 200,
                     R"({"sessionId":"session-new","userId":"reader-5"})");
    tp.http().answer("/content", 404, "{}");

    showPayWall();
    settle();

    EXPECT_EQ(sent("/journey"), 2u);
    EXPECT_EQ(sent("/login-challenge/challenge-1"), 1u);
    EXPECT_TRUE(tp.printed("sessionID found"));
    EXPECT_TRUE(tp.printed("trackhandleLoginChallenge()::handleUserJourney"));
    EXPECT_EQ(Constants::sessionID(), "session-new");
    EXPECT_EQ(Constants::loginChallenge(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "reader-5");
    // The second round finds no challenge, so the content follows at once.
    EXPECT_EQ(sent("/content"), 1u);
    EXPECT_EQ(host->calls, (std::vector<std::string>{kLocked, kLocked}));
    EXPECT_EQ(client().apiCallCount, 1);
}

TEST_F(AccessFlowTest, ChallengeWithoutSessionOrWithAnOddStatusGoesOnToContent) {
    for (long status : {200L, 502L}) {
        SCOPED_TRACE(status);
        tp.http().clearRules();
        Constants::setLoginChallenge("challenge-2");
        tp.http().answer("/journey", 200, "{}");
        tp.http().answer("/login-challenge/", status, R"({"loginChallengeId":"challenge-2"})");
        tp.http().answer("/content", 404, "{}");
        const auto journeys = sent("/journey");
        const auto contents = sent("/content");
        showPayWall();
        settle();
        EXPECT_EQ(sent("/journey") - journeys, 1u);
        EXPECT_EQ(sent("/content") - contents, 1u);
        EXPECT_EQ(Constants::loginChallenge(), "challenge-2") << "kept until it yields a session";
        EXPECT_EQ(client().apiCallCount, 0);
    }
}

TEST_F(AccessFlowTest, ChallengeRefusedStopsTheFlow) {
    Constants::setLoginChallenge("challenge-3");
    tp.http().answer("/journey", 200, "{}");
    tp.http().answer("/login-challenge/", 404, "{}");
    showPayWall();
    settle();
    EXPECT_TRUE(tp.printed("wrongClientOrContentID"));
    EXPECT_EQ(sent("/content"), 0u);
}

// ---- Content -------------------------------------------------------------------------------

TEST_F(AccessFlowTest, ContentLeadsToTheBannerUnderAPageViewMeterElseToTheConfiguration) {
    const json metered = {
        {"unlockedWithPageViewMeter", true},
        {"meteringAction", {{"data", {{"actionId", "meter-1"}}}}},
        {"actionId", {{"data", {{"actionId", "wall-1"}}}}},
    };
    tp.http().answer("/journey", 200, metered.dump(), {}, true);
    tp.http().answer("/content", 200, R"({"price":1.5})");
    showPayWall();
    settle();
    ASSERT_TRUE(client().contentDetailsModel.has_value());
    EXPECT_EQ(sent("/metering/banner/meter-1"), 1u);
    EXPECT_EQ(sent("/paywall/paywall-config/"), 0u);

    json locked = metered;
    locked["unlockedWithPageViewMeter"] = false;
    tp.http().answer("/journey", 200, locked.dump(), {}, true);
    showPayWall();
    settle();
    EXPECT_EQ(sent("/metering/banner/"), 1u);
    ASSERT_EQ(sent("/paywall/paywall-config/client-1"), 1u);
    EXPECT_EQ(queryOf("/paywall/paywall-config/")["paywallId"], "wall-1");
}

TEST_F(AccessFlowTest, ContentQueryCarriesTheSessionWhenOneIsStored) {
    tp.http().answer("/journey", 200, "{}");
    Constants::setSessionID("session-9");
    showPayWall();
    settle();
    EXPECT_EQ(queryOf("/content"),
              (std::map<std::string, std::string>{{"clientId", "client-1"},
                                                  {"clientContentId", "article-1"},
                                                  {"sessionId", "session-9"}}));
}

TEST_F(AccessFlowTest, JourneyOf500LeavesNoPaywallAction) {
    tp.http().answer("/journey", 500, "{}");
    tp.http().answer("/content", 200, "{}");
    showPayWall();
    settle();
    EXPECT_EQ(sent("/content"), 1u);
    EXPECT_EQ(sent("/paywall/"), 0u) << "the configuration step finds no action id";
}

// ---- The subscription entry ----------------------------------------------------------------

TEST_F(AccessFlowTest, SubscriptionEntryWithSignatureLetsTheReaderIn) {
    tp.http().answer("/subscription/access", 200, R"({"signature":"sig-1"})");
    initSubscriptions();
    settle();
    EXPECT_EQ(queryOf("/subscription/access"),
              (std::map<std::string, std::string>{{"clientId", "client-1"},
                                                  {"clientContentId", "article-1"},
                                                  {"title", ""},
                                                  {"url", ""}}));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_TRUE(tp.printed("[\"signature\": \"sig-1\"]"));
    EXPECT_EQ(sent("/subscription/embedded-subscription"), 0u);
}

TEST_F(AccessFlowTest, SubscriptionEntryWithErrorWipesTheSessionAndFetchesThePlans) {
    Constants::setSessionID("session-2");
    Constants::userID() = "reader-2";
    tp.http().answer("/subscription/access", 200, R"({"error":"no subscription"})");
    tp.http().answer("/subscription/embedded-subscription", 404, "{}");
    initSubscriptions();
    settle();
    EXPECT_EQ(queryOf("/subscription/access")["sessionId"], "session-2");
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_EQ(Constants::sessionID(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "");
    EXPECT_EQ(queryOf("/subscription/embedded-subscription")["clientId"], "client-1");
}

TEST_F(AccessFlowTest, SubscriptionEntryWithAStoredChallengeExchangesItFirst) {
    Constants::setLoginChallenge("challenge-4");
    tp.http().answer("/login-challenge/challenge-4", 200, R"({"sessionId":"session-4"})");
    tp.http().answer("/subscription/access", 200, R"({})");
    initSubscriptions();
    settle();
    EXPECT_TRUE(tp.printed("trackstartProcess::handleLoginChallenge()"));
    EXPECT_EQ(queryOf("/subscription/access")["sessionId"], "session-4");
    EXPECT_TRUE(host->calls.empty()) << "no signature, no error: nothing";
    EXPECT_EQ(sent("/journey"), 0u);
}

// ---- Condition gates -----------------------------------------------------------------------

class GateTest : public AccessFlowTest {
  protected:
    // Seconds from now until the next scheduled step, or -1 when nothing is scheduled.
    double scheduledIn() {
        auto deadline = tp.loop().nextDeadline();
        if (!deadline) {
            return -1;
        }
        return std::chrono::duration<double>(*deadline - tp.clock().now()).count();
    }

    void setJourney(const json& body) {
        auto decoded = decode<UserJourneyModel>(body.dump());
        ASSERT_TRUE(decoded.ok());
        client().userJourneyModel = *decoded;
    }

    void setScroll(int pixels, float percent) {
        client().setScrollDepth(pixels);
        client().setScrollDepthPercentage(percent);
        tp.runPending();
    }

    static json conditions(json pageLoad, json scroll) {
        json out = json::object();
        if (!pageLoad.is_null())
            out["mobilePageLoad"] = pageLoad;
        if (!scroll.is_null())
            out["mobileScrollDepth"] = scroll;
        return out;
    }
};

TEST_F(GateTest, PageLoadAndScrollDepthDecideWhenTheTemplateComes) {
    struct Case {
        const char* name;
        json pageLoad;
        json scroll;
        int pixels;
        float percent;
        double expected;  // -1: not now
    };
    const json off = {{"enabled", false}, {"value", 5}};
    const Case cases[] = {
        {"page load 0", {{"enabled", true}, {"value", 0}}, nullptr, 0, 0, 0},
        {"page load 5", {{"enabled", true}, {"value", 5}}, nullptr, 0, 0, 5},
        {"negative page load falls to scroll",
         {{"enabled", true}, {"value", -1}},
         nullptr,
         0,
         0,
         0},
        {"percent reached", off, {{"enabled", true}, {"value", 40}, {"type", "percent"}}, 0, 40, 0},
        {"percent short",
         off,
         {{"enabled", true}, {"value", 40}, {"type", "percent"}},
         900,
         39.5,
         -1},
        {"PERCENT in capitals",
         off,
         {{"enabled", true}, {"value", 40}, {"type", "PERCENT"}},
         0,
         45,
         0},
        {"pixels reached", off, {{"enabled", true}, {"value", 300}, {"type", "Pixels"}}, 300, 0, 0},
        {"pixels short",
         off,
         {{"enabled", true}, {"value", 300}, {"type", "pixels"}},
         299,
         100,
         -1},
        {"neither word",
         off,
         {{"enabled", true}, {"value", 1}, {"type", "PERCENTAGE"}},
         999,
         100,
         -1},
        {"type absent", off, {{"enabled", true}, {"value", 1}}, 999, 100, -1},
        {"scroll disabled", off, {{"enabled", false}, {"value", 1}, {"type", "pixels"}}, 0, 0, 0},
        {"no scroll record", off, nullptr, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        setScroll(c.pixels, c.percent);
        setJourney({{"actionId", {{"data", {{"conditions", conditions(c.pageLoad, c.scroll)}}}}}});
        tp.clearLines();
        Access::showCustomizePayWall(client(), nullptr);
        EXPECT_TRUE(tp.printed("showCustomizePayWall()"));
        EXPECT_DOUBLE_EQ(scheduledIn(), c.expected);
        tp.advance(10);
    }
}

TEST_F(GateTest, AbsentSourcesPresentAtOnce) {
    for (const json& journey : {json::object(), json{{"actionId", json::object()}},
                                json{{"actionId", {{"data", json::object()}}}}}) {
        SCOPED_TRACE(journey.dump());
        setJourney(journey);
        Access::showCustomizePayWall(client(), nullptr);
        EXPECT_DOUBLE_EQ(scheduledIn(), 0);
        tp.advance(1);
    }
    client().userJourneyModel.reset();
    Access::showCustomizePayWall(client(), nullptr);
    EXPECT_DOUBLE_EQ(scheduledIn(), 0);
    tp.advance(1);

    // A closed gate prints its name and schedules nothing.
    client().isNeedToShowPaywall = false;
    tp.clearLines();
    Access::showCustomizePayWall(client(), nullptr);
    Access::showDefaultPaywallView(client());
    EXPECT_TRUE(tp.printed("showCustomizePayWall()"));
    EXPECT_TRUE(tp.printed("showDefaultPaywallView()"));
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
}

TEST_F(GateTest, DefaultPaywallTakesThePageLoadOfTheWallAndTheScrollOfThePopup) {
    const json pageLoad = {{"enabled", true}, {"value", 4}};
    const json scroll = {{"enabled", true}, {"value", 50}, {"type", "percent"}};
    // The paywall action's page load counts.
    setJourney({{"actionId", {{"data", {{"conditions", conditions(pageLoad, nullptr)}}}}}});
    Access::showDefaultPaywallView(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), 4);
    tp.advance(5);

    // Its scroll condition doesn't: with no popup action the wall comes at once.
    setJourney({{"actionId", {{"data", {{"conditions", conditions(nullptr, scroll)}}}}}});
    Access::showDefaultPaywallView(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), 0);
    tp.advance(1);

    // The popup's scroll condition holds the wall back.
    setJourney({{"popupAction", {{"data", {{"conditions", conditions(nullptr, scroll)}}}}}});
    Access::showDefaultPaywallView(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
    // ...and the popup's page load is not the wall's.
    setJourney({{"popupAction", {{"data", {{"conditions", conditions(pageLoad, scroll)}}}}}});
    Access::showDefaultPaywallView(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
}

TEST_F(GateTest, BannerGatePrintsItsStepsAndSchedulesTheBanner) {
    const json pageLoad = {{"enabled", true}, {"value", 2}};
    setJourney({{"meteringAction", {{"data", {{"conditions", conditions(pageLoad, nullptr)}}}}}});
    Access::showMeterBanner(client());
    EXPECT_EQ(tp.lines().back(), "showMeterBannerView()");
    EXPECT_TRUE(tp.printed("showMeterBanner()::In"));
    EXPECT_DOUBLE_EQ(scheduledIn(), 2);
    tp.advance(3);

    setJourney({{"meteringAction", {{"data", json::object()}}}});
    Access::showMeterBanner(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), 0);
    tp.advance(1);

    client().isNeedToShowMeterBanner = false;
    tp.clearLines();
    Access::showMeterBanner(client());
    EXPECT_EQ(tp.lines(), std::vector<std::string>{"showMeterBanner()"});
}

TEST_F(GateTest, PopupGateReadsThePopupsConditions) {
    PopUpModel popup;
    popup.type = "mobile";
    client().popUpModel = popup;
    const json scroll = {{"enabled", true}, {"value", 200}, {"type", "pixels"}};
    setJourney(
        {{"popupAction",
          {{"data", {{"conditions", conditions({{"enabled", true}, {"value", 7}}, scroll)}}}}}});
    Access::popUpCheck(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), 7);
    tp.advance(8);

    setJourney({{"popupAction", {{"data", {{"conditions", conditions(nullptr, scroll)}}}}}});
    Access::popUpCheck(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);

    client().isNeedToShowPopUp = false;
    setJourney(json::object());
    Access::popUpCheck(client());
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
}

TEST_F(GateTest, ALaterScrollReportMeetsTheThreshold) {
    const json scroll = {{"enabled", true}, {"value", 60}, {"type", "percent"}};
    setJourney({{"actionId", {{"data", {{"conditions", conditions(nullptr, scroll)}}}}}});
    Access::showCustomizePayWall(client(), nullptr);
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
    // The scroll rule shows the template at once once the reader reports a scroll.
    client().setScrollDepthPercentage(61);
    EXPECT_DOUBLE_EQ(scheduledIn(), 0);
}

}  // namespace
}  // namespace quillgate

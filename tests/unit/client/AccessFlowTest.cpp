#include <chrono>

#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"
#include "quillgate/service/Constants.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::queryOf;
using Access = QuillgateClientTestAccess;
using Query = std::map<std::string, std::string>;

const std::string kLocked = "purchasedOrNot(accessTime: false)";
const std::string kLetIn = "purchasedOrNot(accessTime: true)";

class AccessFlowTest : public testing::ClientTest {
  protected:
    void showPayWall() {
        client().showPayWall("article-1", "Title", std::vector<std::string>{"news", "world"},
                             std::nullopt, std::nullopt, "https://news.test/a1", std::nullopt,
                             "https://host.test/a1", parent, host, host, host, host, host);
    }

    void initSubscriptions() {
        client().initSubscriptions("article-1", "Title", "https://host.test/a1", parent, host, host,
                                   host, true, host);
    }

    // A new round: the routes answer as `answers` says (path part, status, body), and the
    // lines and the host's calls start empty.
    void answer(std::initializer_list<std::tuple<std::string, long, std::string>> answers) {
        tp.http().clearRules();
        for (const auto& [part, status, body] : answers) {
            tp.http().answer(part, status, body);
        }
        tp.clearLines();
        host->calls.clear();
    }

    // The query of the last request sent to `part`.
    Query queryTo(const std::string& part) {
        auto requests = tp.http().requestsTo(part);
        EXPECT_FALSE(requests.empty()) << part;
        return requests.empty() ? Query{} : queryOf(requests.back().url);
    }
};

// ---- The journey ---------------------------------------------------------------------------

TEST_F(AccessFlowTest, JourneyCarriesItsSixteenKeysAndTheBestKnownUserId) {
    Constants::setSessionID("session-7");
    showPayWall();
    // The whole address is percent-encoded once, with lists as the platform prints them.
    Query expected = queryOf(
        "?clientId=client-1&adBlock=false&cookies=0&clientContentId=article-1&device=application"
        "&sessionId=session-7&operatingSystem=IOS&browser=WEBVIEW&userId=&title=Title&tags=[\"\"]"
        "&url=https://news.test/a1&authorName=&sections=[\"\"]&categories=[\"news\", \"world\"]");
    expected["anonId"] = Constants::anonymousID();
    EXPECT_EQ(queryTo("/journey"), expected);
    EXPECT_TRUE(tp.printed("trackstartProcess()::handleUserJourney"));

    // The session's user, then the host's own identity, which wins.
    Constants::userID() = "reader-from-session";
    showPayWall();
    EXPECT_EQ(queryTo("/journey")["userId"], "reader-from-session");
    client().setClientUserId("host-reader");
    EXPECT_EQ(tp.defaults().string("clientUserId"), "host-reader");
    showPayWall();
    EXPECT_EQ(queryTo("/journey")["userId"], "host-reader");
}

TEST_F(AccessFlowTest, NothingStartsWithoutAnArticleAParentViewOrACompletionDelegate) {
    auto show = [&](const std::string& id, std::shared_ptr<ui::View> view,
                    std::shared_ptr<testing::RecordingHost> completion) {
        client().showPayWall(id, {}, {}, {}, {}, {}, {}, {}, view, host, host, completion, host,
                             host);
    };
    show("  ", parent, host);
    show("a", nullptr, host);
    show("a", parent, nullptr);
    settle();
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_FALSE(tp.printedContaining("trackstartProcess"));
}

TEST_F(AccessFlowTest, JourneyAnswerTakesBranchAOrBOnlyWithASpentPageViewMeter) {
    struct Case {
        const char* name;
        std::string journey;
        std::string heard;
        bool goesOn;  // branch c: the challenge step and the content follow
    };
    const Case cases[] = {
        {"a", R"({"unlockedWithPageViewMeter":false,"freeAccess":true})", kLocked, false},
        {"b", R"({"unlockedWithPageViewMeter":false,"accessTimeLeft":1})", kLetIn, false},
        {"c: no meter flag", R"({"freeAccess":true})", kLocked, true},
        {"c: no time left", R"({"unlockedWithPageViewMeter":false,"accessTimeLeft":0})", kLocked,
         true},
        {"c: subscription", R"({"unlockedWithSubscription":true})", kLocked, true},
        {"c: meter running", R"({"unlockedWithPageViewMeter":true})", kLocked, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        answer({{"/journey", 200, c.journey}, {"/content", 404, "{}"}});
        const auto contentBefore = sent("/content");

        showPayWall();
        settle();

        EXPECT_EQ(host->calls, std::vector<std::string>{c.heard});
        EXPECT_EQ(tp.printed("trackhandleUserJourney::handleLoginChallenge()"), c.goesOn);
        EXPECT_EQ(tp.printed("calling handleLoginChallenge"), c.goesOn);
        EXPECT_EQ(sent("/content") - contentBefore, c.goesOn ? 1u : 0u);
    }

    // Branches a and b take down a wall that an earlier answer of the article added.
    answer({{"/journey", 200, cases[1].journey}});
    showPayWall();
    auto screen = ui::ViewController::create<ui::ViewController>();
    client().blockerVC = screen;
    parent->addSubview(screen->view());
    settle();
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_TRUE(parent->subviews().empty());
}

TEST_F(AccessFlowTest, SessionExistsFalseWipesTheSessionAndAbsentLeavesIt) {
    Constants::setSessionID("session-1");
    Constants::userID() = "reader-1";
    const std::tuple<const char*, int, bool> rounds[] = {
        {R"({"unlockedWithPass":true})", 0, true},
        {R"({"sessionExists":true})", 1, true},
        {R"({"sessionExists":false})", 0, false},
    };
    for (const auto& [journey, unlocked, kept] : rounds) {
        SCOPED_TRACE(journey);
        answer({{"/journey", 200, journey}});
        showPayWall();
        settle();
        EXPECT_EQ(Constants::sessionID(), kept ? std::optional("session-1") : std::nullopt);
        EXPECT_EQ(Constants::userID(), kept ? "reader-1" : "");
        EXPECT_EQ(Constants::unlockedStatus(), unlocked);
    }
}

TEST_F(AccessFlowTest, JourneyFailuresStopOrGoOnToContentByStatus) {
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
        answer({{"/journey", c.status, c.body}, {"/content", 200, "{}"}});
        const auto before = sent("/content");
        showPayWall();
        settle();
        EXPECT_TRUE(host->calls.empty()) << "purchasedOrNot is not called";
        EXPECT_EQ(sent("/content") - before, c.contentRequests);
        if (c.line) {
            EXPECT_TRUE(tp.printed(c.line));
        }
    }
    EXPECT_EQ(sent("/paywall/"), 0u) << "without a journey there is no paywall action";
}

TEST_F(AccessFlowTest, PopupOfTheJourneyIsFetchedAndTheUnlockedStatusSetLast) {
    answer({{"/journey", 200,
             R"({"sessionExists":true,"popupAction":{"data":{"popupActionId":"popup-9"}},
                 "unlockedWithPageViewMeter":false,"freeAccess":true})"},
            {"/client/popup/popup-9", 200, R"({"type":"mobile","position":"center"})"}});
    showPayWall();
    settle();
    ASSERT_EQ(sent("/client/popup/popup-9"), 1u);
    ASSERT_TRUE(client().popUpModel.has_value());
    EXPECT_TRUE(tp.printedContaining("PopUpModel::"));
    EXPECT_EQ(Constants::unlockedStatus(), 1);

    // A blank popup action id sends nothing.
    answer({{"/journey", 200, R"({"popupAction":{"data":{"popupActionId":"  "}}})"}});
    showPayWall();
    settle();
    EXPECT_EQ(sent("/client/popup/"), 1u);
}

// ---- Login challenge -----------------------------------------------------------------------

TEST_F(AccessFlowTest, ChallengeGoesOnToContentUntilItYieldsASession) {
    struct Case {
        long status;
        std::string body;
        std::size_t journeys, contents;
        const char* line;
    };
    // No session in the answer, or an odd status: kept, and the content follows. 404: stop.
    // A session: stored, the challenge dropped, and the journey runs again, finding none.
    const Case cases[] = {
        {200, R"({"loginChallengeId":"challenge-2"})", 1, 1, nullptr},
        {502, "{}", 1, 1, nullptr},
        {404, "{}", 1, 0, "wrongClientOrContentID"},
        {200, R"({"sessionId":"session-new","userId":"reader-5"})", 2, 1, "sessionID found"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        Constants::setLoginChallenge("challenge-2");
        answer({{"/journey", 200, "{}"},
                {"/login-challenge/challenge-2", c.status, c.body},
                {"/content", 200, "{}"}});
        const auto journeys = sent("/journey");
        const auto contents = sent("/content");
        showPayWall();
        settle();
        EXPECT_EQ(sent("/journey") - journeys, c.journeys);
        EXPECT_EQ(sent("/content") - contents, c.contents);
        if (c.line) {
            EXPECT_TRUE(tp.printed(c.line));
        }
        EXPECT_EQ(host->calls, std::vector<std::string>(c.journeys, kLocked));
        EXPECT_EQ(Constants::loginChallenge().has_value(), c.journeys == 1);
        EXPECT_EQ(client().apiCallCount, c.journeys - 1);
    }
    EXPECT_TRUE(tp.printed("trackhandleLoginChallenge()::handleUserJourney"));
    EXPECT_EQ(Constants::sessionID(), "session-new");
    EXPECT_EQ(Constants::userID(), "reader-5");
}

// ---- Content -------------------------------------------------------------------------------

TEST_F(AccessFlowTest, ContentLeadsToTheBannerUnderAPageViewMeterElseToTheConfiguration) {
    json journey = {
        {"unlockedWithPageViewMeter", true},
        {"meteringAction", {{"data", {{"actionId", "meter-1"}}}}},
        {"actionId", {{"data", {{"actionId", "wall-1"}}}}},
    };
    Constants::setSessionID("session-9");
    answer({{"/journey", 200, journey.dump()}, {"/content", 200, R"({"price":1.5})"}});
    showPayWall();
    settle();
    ASSERT_TRUE(client().contentDetailsModel.has_value());
    EXPECT_EQ(queryTo("/content"),
              queryOf("?clientId=client-1&clientContentId=article-1&sessionId=session-9"));
    EXPECT_EQ(sent("/metering/banner/meter-1"), 1u);
    EXPECT_EQ(sent("/paywall/paywall-config/"), 0u);

    journey["unlockedWithPageViewMeter"] = false;
    answer({{"/journey", 200, journey.dump()}, {"/content", 200, R"({"price":1.5})"}});
    showPayWall();
    settle();
    EXPECT_EQ(sent("/metering/banner/"), 1u);
    ASSERT_EQ(sent("/paywall/paywall-config/client-1"), 1u);
    EXPECT_EQ(queryTo("/paywall/paywall-config/")["paywallId"], "wall-1");
}

// ---- The subscription entry ----------------------------------------------------------------

TEST_F(AccessFlowTest, SubscriptionEntryRedeemsAStoredChallengeThenReadsTheAccessAnswer) {
    answer({{"/subscription/access", 200, R"({"signature":"sig-1"})"}});
    initSubscriptions();
    // The entry keeps neither title nor address, takes no event delegate, and shows the close
    // button as told.
    EXPECT_EQ(client().screenType, ScreenType::subPassScreen);
    EXPECT_TRUE(client().eventParamsDelegate.expired());
    const auto lines = tp.lines();
    const auto shown = std::find(lines.begin(), lines.end(), "true");
    ASSERT_NE(shown, lines.end());
    EXPECT_EQ(*(shown + 1), "Optional(true)");
    settle();
    EXPECT_EQ(queryTo("/subscription/access"),
              queryOf("?clientId=client-1&clientContentId=article-1&title=&url="));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_TRUE(tp.printed("[\"signature\": \"sig-1\"]"));
    EXPECT_EQ(sent("/subscription/embedded-subscription"), 0u);

    // A stored challenge is exchanged first; an answer with neither signature nor error
    // does nothing.
    Constants::setLoginChallenge("challenge-4");
    answer({{"/login-challenge/challenge-4", 200, R"({"sessionId":"session-4"})"},
            {"/subscription/access", 200, R"({})"}});
    initSubscriptions();
    settle();
    EXPECT_TRUE(tp.printed("trackstartProcess::handleLoginChallenge()"));
    EXPECT_EQ(queryTo("/subscription/access")["sessionId"], "session-4");
    EXPECT_TRUE(host->calls.empty());

    // "error" wipes the session and fetches the plans.
    Constants::userID() = "reader-2";
    answer({{"/subscription/access", 200, R"({"error":"no subscription"})"},
            {"/subscription/embedded-subscription", 404, "{}"}});
    initSubscriptions();
    settle();
    EXPECT_EQ(sent("/subscription/access"), 3u);
    EXPECT_EQ(queryTo("/subscription/access")["sessionId"], "session-4");
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_EQ(Constants::sessionID(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "");
    EXPECT_EQ(queryTo("/subscription/embedded-subscription")["clientId"], "client-1");
    EXPECT_EQ(sent("/journey"), 0u);
}

// ---- Condition gates -----------------------------------------------------------------------

json on(int value) {
    return {{"enabled", true}, {"value", value}};
}
json scroll(int value, const char* type, bool enabled = true) {
    json out = {{"enabled", enabled}, {"value", value}};
    if (type) {
        out["type"] = type;
    }
    return out;
}
// An action's data with its conditions; null sources are left out.
json conditions(const json& pageLoad, const json& scroll) {
    json out = json::object();
    if (!pageLoad.is_null())
        out["mobilePageLoad"] = pageLoad;
    if (!scroll.is_null())
        out["mobileScrollDepth"] = scroll;
    return {{"data", {{"conditions", out}}}};
}

class GateTest : public AccessFlowTest {
  protected:
    enum class Gate { wall, defaultWall, banner, popup };

    void open(Gate gate) {
        switch (gate) {
            case Gate::wall:
                return Access::showCustomizePayWall(client(), nullptr);
            case Gate::defaultWall:
                return Access::showDefaultPaywallView(client());
            case Gate::banner:
                return Access::showMeterBanner(client());
            case Gate::popup:
                return Access::popUpCheck(client());
        }
    }

    // Seconds from now until the next scheduled step, or -1 when nothing is scheduled.
    double scheduledIn() {
        auto deadline = tp.loop().nextDeadline();
        return deadline
                   ? std::chrono::duration<double>(*deadline - tp.clock().monotonicNow()).count()
                   : -1;
    }

    void setJourney(const json& body) {
        auto decoded = decode<UserJourneyModel>(body.dump());
        ASSERT_TRUE(decoded.ok());
        client().userJourneyModel = *decoded;
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
        {"page load 0", on(0), nullptr, 0, 0, 0},
        {"page load 5", on(5), nullptr, 0, 0, 5},
        {"negative page load falls to scroll", on(-1), nullptr, 0, 0, 0},
        {"percent reached", off, scroll(40, "percent"), 0, 40, 0},
        {"percent short", off, scroll(40, "percent"), 900, 39.5, -1},
        {"PERCENT in capitals", off, scroll(40, "PERCENT"), 0, 45, 0},
        {"pixels reached", off, scroll(300, "Pixels"), 300, 0, 0},
        {"pixels short", off, scroll(300, "pixels"), 299, 100, -1},
        {"neither word", off, scroll(1, "PERCENTAGE"), 999, 100, -1},
        {"type absent", off, scroll(1, nullptr), 999, 100, -1},
        {"scroll disabled", off, scroll(1, "pixels", false), 0, 0, 0},
        {"no scroll record", off, nullptr, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        client().setScrollDepth(c.pixels);
        client().setScrollDepthPercentage(c.percent);
        tp.runPending();
        setJourney({{"actionId", conditions(c.pageLoad, c.scroll)}});
        tp.clearLines();
        open(Gate::wall);
        EXPECT_TRUE(tp.printed("showCustomizePayWall()"));
        EXPECT_DOUBLE_EQ(scheduledIn(), c.expected);
        tp.advance(10);
    }
}

TEST_F(GateTest, EachGateReadsItsOwnSources) {
    const json percent = scroll(50, "percent");
    const json pixels = scroll(200, "pixels");
    client().popUpModel = PopUpModel{};
    client().popUpModel->type = "mobile";
    struct Case {
        const char* name;
        Gate gate;
        json journey;
        double expected;  // -1: not now
    };
    using enum Gate;
    const Case cases[] = {
        {"no action", wall, json::object(), 0},
        {"no data", wall, {{"actionId", json::object()}}, 0},
        {"no conditions", wall, {{"actionId", {{"data", json::object()}}}}, 0},
        // The default paywall takes the wall's page load and the popup's scroll condition.
        {"wall's load", defaultWall, {{"actionId", conditions(on(4), nullptr)}}, 4},
        {"wall's scroll", defaultWall, {{"actionId", conditions(nullptr, percent)}}, 0},
        {"popup's scroll", defaultWall, {{"popupAction", conditions(nullptr, percent)}}, -1},
        {"popup's load", defaultWall, {{"popupAction", conditions(on(4), percent)}}, -1},
        {"banner's load", banner, {{"meteringAction", conditions(on(2), nullptr)}}, 2},
        {"banner's none", banner, {{"meteringAction", {{"data", json::object()}}}}, 0},
        {"popup's load", popup, {{"popupAction", conditions(on(7), pixels)}}, 7},
        {"popup's scroll", popup, {{"popupAction", conditions(nullptr, pixels)}}, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        setJourney(c.journey);
        tp.clearLines();
        open(c.gate);
        EXPECT_DOUBLE_EQ(scheduledIn(), c.expected);
        if (c.gate == Gate::banner) {
            EXPECT_TRUE(tp.printed("showMeterBanner()::In"));
            EXPECT_EQ(tp.lines().back(), "showMeterBannerView()");
        }
        tp.advance(10);
    }
    client().userJourneyModel.reset();
    open(Gate::wall);
    EXPECT_DOUBLE_EQ(scheduledIn(), 0) << "no journey at all";
}

TEST_F(GateTest, AClosedGatePrintsItsNameAndSchedulesNothing) {
    client().isNeedToShowPaywall = false;
    client().isNeedToShowMeterBanner = false;
    client().isNeedToShowPopUp = false;
    client().popUpModel = PopUpModel{};
    client().popUpModel->type = "mobile";
    for (auto gate : {Gate::wall, Gate::defaultWall, Gate::banner, Gate::popup}) {
        open(gate);
    }
    EXPECT_EQ(tp.lines(),
              (std::vector<std::string>{"showCustomizePayWall()", "showDefaultPaywallView()",
                                        "showMeterBanner()"}));
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
}

TEST_F(GateTest, ALaterScrollReportMeetsTheThreshold) {
    setJourney({{"actionId", conditions(nullptr, scroll(60, "percent"))}});
    open(Gate::wall);
    EXPECT_DOUBLE_EQ(scheduledIn(), -1);
    // The scroll rule shows the template at once once the reader reports a scroll.
    client().setScrollDepthPercentage(61);
    EXPECT_DOUBLE_EQ(scheduledIn(), 0);
}

}  // namespace
}  // namespace quillgate

// The access service's state machine without HTTP: journeys computed from readers, meters,
// sessions and rights, with the service's clock under the test's control.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"
#include "tests/support/FontFiles.h"
#include "tools/devserver/AccessService.h"
#include "tools/devserver/Collector.h"
#include "tools/devserver/Controls.h"
#include "tools/devserver/DevServer.h"
#include "tools/devserver/Encoding.h"
#include "tools/devserver/Scenario.h"

namespace quillgate::devserver {
namespace {

using namespace std::chrono_literals;
constexpr const char* kClient = "quillgate-demo";

const Scenario& scenario() {
    static const Scenario loaded = [] {
        ScenarioLoad load = loadScenario(DevServer::defaultDataDir());
        if (!load.scenario) {
            ADD_FAILURE() << load.error;
            return Scenario{};
        }
        return std::move(*load.scenario);
    }();
    return loaded;
}

class AccessServiceTest : public ::testing::Test {
  protected:
    AccessServiceTest() : service_(scenario(), [this] { return now_; }) {
        service_.setBases({"http://127.0.0.1:1/api/v1", "http://127.0.0.1:2/"});
    }

    UserJourneyModel journey(const std::string& contentId, const std::string& anonId = "anon-1",
                             const std::string& sessionId = "") {
        Reply reply = service_.journey({{"clientId", kClient},
                                        {"anonId", anonId},
                                        {"clientContentId", contentId},
                                        {"sessionId", sessionId}});
        EXPECT_EQ(reply.status, 200) << reply.body;
        auto decoded = decode<UserJourneyModel>(reply.body);
        EXPECT_TRUE(decoded.ok()) << reply.body;
        return decoded ? *decoded : UserJourneyModel{};
    }

    SignIn signIn(const std::string& email, const std::string& challenge = "") {
        SignIn result = service_.signIn(kClient, Identity{email, "", ""}, challenge);
        EXPECT_TRUE(result.ok) << result.message;
        return result;
    }

    std::chrono::system_clock::time_point now_ = std::chrono::system_clock::now();
    AccessService service_;
};

TEST_F(AccessServiceTest, MeterCountsDistinctArticlesPerReaderUntilTheWall) {
    EXPECT_EQ(journey("metered-1").meteringAction->data->variables->stepCount, "2");
    // Opening the same article again costs nothing.
    EXPECT_EQ(journey("metered-1").meteringAction->data->variables->stepCount, "2");
    EXPECT_EQ(journey("metered-2").meteringAction->data->variables->stepCount, "1");
    // Another reader has a meter of their own.
    EXPECT_EQ(journey("metered-5", "anon-2").meteringAction->data->variables->stepCount, "2");
    const auto last = journey("metered-3");
    EXPECT_EQ(last.unlockedWithPageViewMeter, true);
    EXPECT_EQ(last.meteringAction->data->variables->stepCount, "0");
    EXPECT_EQ(last.meteringAction->data->conditions->viewMeter->allowLimit, 3);

    const auto wall = journey("metered-4");
    EXPECT_EQ(wall.unlockedWithPageViewMeter, false);
    EXPECT_FALSE(wall.meteringAction);
    EXPECT_EQ(wall.actionID->data->actionID, "pw-3a");
    // Articles already counted stay open after the wall.
    EXPECT_EQ(journey("metered-2").unlockedWithPageViewMeter, true);

    service_.reset();
    EXPECT_EQ(journey("metered-4").meteringAction->data->variables->stepCount, "2");
}

TEST_F(AccessServiceTest, ArticleKindsShapeTheJourney) {
    const auto free = journey("free-article");
    EXPECT_EQ(free.freeAccess, true);
    EXPECT_FALSE(free.actionID);

    const auto popup = journey("free-with-popup");
    EXPECT_EQ(popup.popupAction->data->popupActionID, "popup-welcome");

    const auto locked = journey("premium-13a");
    EXPECT_EQ(locked.freeAccess, false);
    EXPECT_EQ(locked.unlockedWithContent, false);
    EXPECT_EQ(locked.sessionExists, false);
    EXPECT_FALSE(locked.accessTimeLeft);
    EXPECT_EQ(locked.actionID->data->actionID, "pw-13a");
    EXPECT_EQ(locked.content->clientContentID, "premium-13a");

    const auto regwall = journey("regwall-rg5");
    EXPECT_EQ(regwall.isRegWall, true);
    EXPECT_EQ(regwall.actionID->data->actionID, "pw-rg5");

    const auto none = journey("premium-no-journey");
    EXPECT_EQ(none.noJourneySatisfied, true);
    EXPECT_FALSE(none.actionID);
}

TEST_F(AccessServiceTest, UnknownContentBecomesAnArticleLikeThePublishersModel) {
    Reply reply = service_.journey({{"clientId", kClient},
                                    {"anonId", "anon-1"},
                                    {"clientContentId", "story-from-the-app"},
                                    {"title", "A story the app made up"},
                                    {"tags", "[\"city\", \"\"]"}});
    auto j = decode<UserJourneyModel>(reply.body);
    ASSERT_TRUE(j.ok()) << reply.body;
    EXPECT_EQ(j->content->automaticallyCreated, true);
    EXPECT_EQ(j->content->title, "A story the app made up");
    EXPECT_EQ(j->content->tags, std::vector<std::string>{"city"});
    EXPECT_EQ(j->actionID->data->actionID, "pw-3a");
    // The same identity is the same article afterwards.
    EXPECT_EQ(journey("story-from-the-app").content->id, j->content->id);
}

TEST_F(AccessServiceTest, RequestsThatTheServiceRefuses) {
    EXPECT_EQ(service_.journey({{"anonId", "a"}, {"clientContentId", "x"}}).status, 400);
    EXPECT_EQ(service_.journey({{"clientId", "nobody"}, {"anonId", "a"}, {"clientContentId", "x"}})
                  .status,
              404);
    EXPECT_EQ(service_.journey({{"clientId", kClient}, {"clientContentId", "x"}}).status, 400);
    Reply refused = service_.paywallConfig(kClient, {{"paywallId", "pw-none"}});
    EXPECT_EQ(refused.status, 404);
    auto body = decode<APIResponse>(refused.body);
    ASSERT_TRUE(body.ok());
    EXPECT_EQ(body->statusCode, 404);
    EXPECT_EQ(body->message, std::vector<std::string>{"Paywall not found"});
    EXPECT_EQ(service_.postLoginChallenge("{\"loginChallengeId\": \"c\"}").status, 400);
    EXPECT_EQ(service_.postLoginChallenge("not json").status, 400);
    EXPECT_EQ(service_.loginChallenge("never-posted").status, 404);
    EXPECT_EQ(service_.logout({{"sessionId", "gone"}}, "").status, 404);
    EXPECT_EQ(service_.user("", {{"clientId", kClient}}).status, 400);
}

TEST_F(AccessServiceTest, SigningInTwiceKeepsTheChallengesSessionUntilLogout) {
    ASSERT_EQ(
        service_
            .postLoginChallenge(
                R"({"redirectTo": "orvelant://home?id=premium-3a", "loginChallengeId": "ch-1"})")
            .status,
        201);
    const SignIn first = signIn("Reader@Quillgate.test", "ch-1");
    // A page loaded twice in one flow keeps the one session.
    EXPECT_EQ(signIn("reader@quillgate.test", "ch-1").sessionId, first.sessionId);
    EXPECT_EQ(service_.challenge("ch-1")->sessionId, first.sessionId);

    EXPECT_EQ(journey("premium-3a", "anon-1", first.sessionId).sessionExists, true);
    EXPECT_EQ(service_.logout({}, "{\"sessionId\": \"" + first.sessionId + "\"}").status, 201);
    EXPECT_EQ(journey("premium-3a", "anon-1", first.sessionId).sessionExists, false);
}

TEST_F(AccessServiceTest, NewContactsRegisterAndBadOnesAreRefused) {
    const SignIn fresh = signIn("new.reader@example.test");
    EXPECT_EQ(fresh.name, "new.reader");
    EXPECT_NE(fresh.userId, "");
    EXPECT_EQ(service_.signIn(kClient, Identity{"", "9988776655", ""}, "").ok, true);
    EXPECT_EQ(service_.signIn(kClient, Identity{"no-at-sign", "", ""}, "").ok, false);
    EXPECT_EQ(service_.signIn(kClient, Identity{"", "", "bad-token"}, "").message, "Invalid token");
    const SignIn byToken = service_.signIn(kClient, Identity{"", "", "token-subscriber"}, "");
    EXPECT_EQ(byToken.userId, "64f0c2a1b3d4e5f601234568");
    EXPECT_EQ(byToken.token, "token-subscriber");
}

TEST_F(AccessServiceTest, PurchasesUnlockUntilTheyExpire) {
    const SignIn reader = signIn("reader@quillgate.test");
    EXPECT_EQ(journey("premium-5a", "anon-1", reader.sessionId).unlockedWithContent, false);

    Purchase bundle{PurchaseKind::content, kClient, "bundle-weekend", "", false};
    ASSERT_TRUE(service_.purchase(reader.userId, bundle).ok);
    const auto member = journey("premium-5a", "anon-1", reader.sessionId);
    EXPECT_EQ(member.unlockedWithContent, true);
    EXPECT_EQ(member.accessTimeLeft, 30 * 24 * 3600);
    ASSERT_TRUE(member.signature);
    auto access = decode<PurchaseModel>(service_
                                            .subscriptionAccess({{"clientId", kClient},
                                                                 {"clientContentId", "premium-5a"},
                                                                 {"sessionId", reader.sessionId}})
                                            .body);
    ASSERT_TRUE(access.ok());
    EXPECT_EQ(access->signature, member.signature);
    // The wallet paid the 39.
    EXPECT_EQ(service_.walletText(reader.userId), "INR 81.00");
    // Not a member of the bundle.
    EXPECT_EQ(journey("premium-3a", "anon-1", reader.sessionId).unlockedWithContent, false);

    now_ += 31 * 24h;
    EXPECT_EQ(journey("premium-5a", "anon-1", reader.sessionId).unlockedWithContent, false);
}

TEST_F(AccessServiceTest, PassesAndSubscriptionsCoverThePublisher) {
    const SignIn reader = signIn("reader@quillgate.test");
    ASSERT_TRUE(service_.purchase(reader.userId, {PurchaseKind::pass, kClient, "", "", false}).ok);
    const auto withPass = journey("premium-7a", "anon-1", reader.sessionId);
    EXPECT_EQ(withPass.unlockedWithPass, true);
    EXPECT_EQ(withPass.accessTimeLeft, 24 * 3600);

    const SignIn other = signIn("someone@example.test");
    ASSERT_TRUE(service_
                    .purchase(other.userId,
                              {PurchaseKind::subscription, kClient, "", "tier-digital-1m", true})
                    .ok);
    const auto subscribed = journey("metered-1", "anon-9", other.sessionId);
    EXPECT_EQ(subscribed.unlockedWithSubscription, true);
    EXPECT_FALSE(subscribed.meteringAction);
    // One month and the seven trial days.
    EXPECT_EQ(subscribed.accessTimeLeft, 37 * 24 * 3600);
    EXPECT_EQ(journey("premium-excluded", "anon-9", other.sessionId).unlockedWithSubscription,
              false);
    auto details =
        decode<UserDetails>(service_.user(other.sessionId, {{"clientId", kClient}}).body);
    ASSERT_TRUE(details.ok());
    EXPECT_EQ(details->existingSubscriber, true);

    EXPECT_FALSE(
        service_.purchase(other.userId, {PurchaseKind::subscription, kClient, "", "tier-x", false})
            .ok);
}

TEST_F(AccessServiceTest, TimerTemplatesCountDownFromTheAnswer) {
    auto config = decode<CustomizePayWallModel>(
        service_.paywallConfig(kClient, {{"paywallId", "pw-13a"}}).body);
    ASSERT_TRUE(config.ok());
    EXPECT_EQ(config->data->configuration->mobile->json->timerValue->time, timerTime(now_ + 48h));
}

TEST_F(AccessServiceTest, ATimerFromTheFirstAnswerKeepsItsEndUntilReset) {
    auto timeOf = [this] {
        auto config = decode<CustomizePayWallModel>(
            service_.paywallConfig(kClient, {{"paywallId", "pw-13a-ending"}}).body);
        EXPECT_TRUE(config.ok());
        return config->data->configuration->mobile->json->timerValue->time.value_or("");
    };
    const auto start = now_;
    EXPECT_EQ(timeOf(), timerTime(start + 4s));
    // Asked again after its end, the same end: the offer is over.
    now_ += 10s;
    EXPECT_EQ(timeOf(), timerTime(start + 4s));
    service_.reset();
    EXPECT_EQ(timeOf(), timerTime(now_ + 4s));
}

TEST(TimerTimeTest, WritesTheFormTheTimerTemplatesParse) {
    // 2024-02-29 13:05:09 UTC, a Thursday.
    const auto moment = std::chrono::system_clock::time_point(std::chrono::seconds(1709211909));
    EXPECT_EQ(timerTime(moment), "Thu Feb 29 2024 13:05:09 GMT+0000");
    EXPECT_EQ(isoTime(moment), "2024-02-29T13:05:09.000Z");
}

TEST(FaultControlTest, ReadsTheControlFormAndRefusesWhatItCannotForce) {
    std::string error;
    auto fault = Controls::parseFault(
        nlohmann::json::parse(R"({"path": "/api/v1/content", "method": "post", "fault": "delay",
                                  "delayMs": 20, "times": 0})"),
        error);
    ASSERT_TRUE(fault) << error;
    EXPECT_EQ(fault->method, "POST");
    EXPECT_EQ(fault->kind, FaultKind::delay);
    EXPECT_EQ(fault->times, 0);

    const std::pair<const char*, const char*> refused[] = {
        {R"({"path": "/x"})", "a status fault needs \"status\""},
        {R"({"path": "/x", "status": 700})", "\"status\" must lie between 100 and 599"},
        {R"({"path": "/x", "fault": "explode"})",
         "\"fault\" must be status, empty, malformed, delay or drop"},
        {R"({"path": "/x", "fault": "drop", "server": "db"})",
         "\"server\" must be \"api\", \"web\" or \"collect\""},
        {R"({"path": "/x", "fault": "delay", "delayMs": "1"})",
         "\"delayMs\" must be a whole number"},
        {R"([])", "a fault is a JSON object"},
    };
    for (const auto& [form, message] : refused) {
        error.clear();
        EXPECT_FALSE(Controls::parseFault(nlohmann::json::parse(form), error)) << form;
        EXPECT_EQ(error, message);
    }
}

TEST(FaultControlTest, FaultsMatchByServerMethodAndPathAndWearOut) {
    Controls controls;
    controls.addFault(Fault{"", "api", "GET", "/api/v1/login-challenge/*", FaultKind::status, 404,
                            std::nullopt, "", 0, 2});
    EXPECT_FALSE(controls.takeFault("web", "GET", "/api/v1/login-challenge/a"));
    EXPECT_FALSE(controls.takeFault("api", "POST", "/api/v1/login-challenge/a"));
    EXPECT_FALSE(controls.takeFault("api", "GET", "/api/v1/login-challenge"));
    EXPECT_TRUE(controls.takeFault("api", "GET", "/api/v1/login-challenge/a"));
    EXPECT_TRUE(controls.takeFault("api", "GET", "/api/v1/login-challenge/b"));
    EXPECT_FALSE(controls.takeFault("api", "GET", "/api/v1/login-challenge/c"));

    const Reply defaulted = Controls::faultReply(
        Fault{"", "", "", "/x", FaultKind::status, 400, std::nullopt, "", 0, 1});
    auto body = decode<APIResponse>(defaulted.body);
    ASSERT_TRUE(body.ok());
    EXPECT_EQ(body->error, "Bad Request");
    EXPECT_EQ(body->message, std::vector<std::string>{"Forced by a test control"});
}

// A long run keeps only the most recent requests and events: the service must not grow
// with every request it has answered. Counting events still counts them all.
TEST(FaultControlTest, RequestLogAndCollectorKeepTheMostRecentOnly) {
    Controls controls;
    Collector collector;
    const size_t total = Controls::kRequestLogLimit + 25;
    for (size_t i = 0; i < total; ++i) {
        RecordedRequest request;
        request.path = "/api/v1/journey";
        request.body = std::string(1000, 'b');
        const auto sequence = controls.record(std::move(request));
        controls.setAnswer(sequence, 200, "", "");
        collector.add(R"({"messageBody":[{"eventType":"PING"}]})", {});
    }
    const auto requests = controls.requests();
    ASSERT_EQ(requests.size(), Controls::kRequestLogLimit);
    EXPECT_EQ(requests.front().sequence, 26u);
    EXPECT_EQ(requests.back().sequence, total);
    EXPECT_EQ(requests.back().status, 200);
    EXPECT_EQ(collector.events().size(), Collector::kEventLimit);
    EXPECT_EQ(collector.count(), total);
    EXPECT_TRUE(collector.waitForCount(total, std::chrono::milliseconds(0)));
}

// A copy of the scenario data, broken one file at a time.
TEST(ScenarioLoadTest, BrokenDataIsRefusedWithItsPlace) {
    namespace fs = std::filesystem;
    const fs::path dir =
        fs::temp_directory_path() / ("quillgate-devserver-data-" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::copy(DevServer::defaultDataDir(), dir, fs::copy_options::recursive);
    // The load's error with `file` changed; the file is whole again afterwards.
    const auto broken = [&](const std::string& file, auto change) {
        const fs::path original = DevServer::defaultDataDir() / file;
        auto body = nlohmann::json::parse(testing::fileContent(original));
        change(body);
        std::ofstream(dir / file) << body.dump(2);
        const std::string error = loadScenario(dir).error;
        fs::copy_file(original, dir / file, fs::copy_options::overwrite_existing);
        return error;
    };

    EXPECT_EQ(
        broken("paywalls.json",
               [](nlohmann::json& body) {
                   body["paywalls"][0]["config"]["data"]["configuration"]["mobile"]["json"] = {
                       {"styleForBackground", {{"border", {{"mainDiv", {{"radius", "4"}}}}}}}};
               }),
        "paywalls.json: pw-3a: config: "
        "data.configuration.mobile.json.styleForBackground.border.mainDiv.radius: Expected "
        "to decode Int but found a string instead.");
    EXPECT_EQ(broken("articles.json",
                     [](nlohmann::json& body) { body["articles"][0]["paywall"] = "pw-nowhere"; }),
              "articles.json: free-article: unknown paywall \"pw-nowhere\"");
    fs::remove(dir / "users.json");
    EXPECT_EQ(loadScenario(dir).error, "users.json: cannot be read");
    EXPECT_EQ(loadScenario(dir / "nowhere").error.rfind("no data directory at ", 0), 0u);
    fs::remove_all(dir);
}

}  // namespace
}  // namespace quillgate::devserver

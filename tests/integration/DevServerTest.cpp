// The local access service over loopback HTTP: its routes answer bodies the library decodes,
// its web pages turn challenges into sessions and purchases into access, and its controls
// shape the answers tests need.
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"
#include "tools/devserver/DevServer.h"

namespace quillgate::devserver {
namespace {

constexpr const char* kClient = "quillgate-demo";
using Json = nlohmann::json;

std::string unescapeHtml(std::string text) {
    for (const auto& [from, to] : {std::pair<std::string, std::string>{"&amp;", "&"},
                                   {"&quot;", "\""},
                                   {"&lt;", "<"},
                                   {"&gt;", ">"},
                                   {"&#39;", "'"}}) {
        for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
            text.replace(at, from.size(), to);
            at += to.size();
        }
    }
    return text;
}

// The href of the choice link with this id, as a headless host would follow it.
std::string choiceLink(const std::string& html, const std::string& id) {
    std::smatch match;
    const std::regex pattern("id=\"choice-" + id + "\" href=\"([^\"]*)\"");
    if (!std::regex_search(html, match, pattern)) {
        ADD_FAILURE() << "no choice \"" << id << "\" in the page";
        return "";
    }
    return unescapeHtml(match[1]);
}

// The page's message for the app's script handlers: handler name and JSON text.
std::pair<std::string, std::string> scriptMessage(const std::string& html) {
    std::smatch match;
    const std::regex pattern(
        "<script type=\"application/json\" id=\"quillgate-message\" data-handler=\"([^\"]*)\">"
        "([^<]*)</script>");
    if (!std::regex_search(html, match, pattern)) {
        return {};
    }
    return {match[1], match[2]};
}

class DevServerTest : public ::testing::Test {
  protected:
    DevServerTest() : server_(DevServer::Options{0, 0, 0, DevServer::defaultDataDir(), {}, {}}) {
        started_ = server_.start();
        api_ = std::make_unique<httplib::Client>("127.0.0.1", server_.apiPort());
        web_ = std::make_unique<httplib::Client>("127.0.0.1", server_.webPort());
        collect_ = std::make_unique<httplib::Client>("127.0.0.1", server_.collectPort());
    }

    void SetUp() override { ASSERT_TRUE(started_.ok) << started_.error; }

    // GET on the API, answer decoded as T; fails the test when it doesn't decode.
    template <class T>
    T get(const std::string& path, int status = 200) {
        auto res = api_->Get("/api/v1" + path);
        if (!res) {
            ADD_FAILURE() << path << ": no answer";
            return T{};
        }
        EXPECT_EQ(res->status, status) << path << " " << res->body;
        auto decoded = decode<T>(res->body);
        if (!decoded) {
            ADD_FAILURE() << path << ": " << longDecodingFailureLine(decoded.error());
            return T{};
        }
        return std::move(decoded).value();
    }

    template <class T>
    T post(const std::string& path, const Json& body, int status = 201) {
        auto res = api_->Post("/api/v1" + path, body.dump(), "application/json");
        if (!res) {
            ADD_FAILURE() << path << ": no answer";
            return T{};
        }
        EXPECT_EQ(res->status, status) << path << " " << res->body;
        auto decoded = decode<T>(res->body);
        if (!decoded) {
            ADD_FAILURE() << path << ": " << longDecodingFailureLine(decoded.error());
            return T{};
        }
        return std::move(decoded).value();
    }

    UserJourneyModel journey(const std::string& contentId, const std::string& sessionId = "",
                             const std::string& anonId = "anon-1") {
        return get<UserJourneyModel>("/journey?clientId=" + std::string(kClient) +
                                     "&anonId=" + anonId + "&clientContentId=" + contentId +
                                     "&sessionId=" + sessionId);
    }

    // What the client does before opening a web page: register a challenge.
    std::string postChallenge(const std::string& id, const std::string& contentId) {
        auto answer = post<LoginChallenge>(
            "/login-challenge",
            {{"redirectTo", "orvelant://home?id=" + contentId}, {"loginChallengeId", id}});
        EXPECT_EQ(answer.loginChallengeID, id);
        return id;
    }

    std::string page(const std::string& target, int status = 200) {
        auto res = web_->Get(target);
        if (!res) {
            ADD_FAILURE() << target << ": no answer";
            return "";
        }
        EXPECT_EQ(res->status, status) << target;
        return res->body;
    }

    // Follows a choice link; the answer must be the redirect to the challenge's address.
    void choose(const std::string& href, const std::string& expectedLocation) {
        auto res = web_->Get(href);
        ASSERT_TRUE(res) << href;
        EXPECT_EQ(res->status, 302) << res->body;
        EXPECT_EQ(res->get_header_value("Location"), expectedLocation);
    }

    DevServer server_;
    StartResult started_;
    std::unique_ptr<httplib::Client> api_;
    std::unique_ptr<httplib::Client> web_;
    std::unique_ptr<httplib::Client> collect_;
};

TEST_F(DevServerTest, BasesPointAtTheThreeLoopbackServers) {
    EXPECT_EQ(server_.apiBase(),
              "http://127.0.0.1:" + std::to_string(server_.apiPort()) + "/api/v1");
    EXPECT_EQ(server_.webBase(), "http://127.0.0.1:" + std::to_string(server_.webPort()) + "/");
    EXPECT_EQ(server_.collectUrl(),
              "http://127.0.0.1:" + std::to_string(server_.collectPort()) + "/collect/event");
    EXPECT_EQ(std::set<int>({server_.apiPort(), server_.webPort(), server_.collectPort()}).size(),
              3u);
}

TEST_F(DevServerTest, EveryRouteAnswersABodyTheLibraryDecodes) {
    const std::string c = kClient;
    for (const char* id : {"free-article", "free-with-popup", "metered-1", "premium-3a",
                           "regwall-rg4", "bundle-weekend", "premium-no-journey"}) {
        EXPECT_TRUE(journey(id).content) << id;
    }
    // Each paywall action names its template.
    const std::vector<std::pair<std::string, std::string>> templates = {
        {"pw-3a", "3A"},   {"pw-4a", "4A"},   {"pw-5a", "5A"},      {"pw-7a", "7A"},
        {"pw-8a", "8A"},   {"pw-rg4", "RG4"}, {"pw-rg5", "RG5"},    {"pw-rg6", "RG6"},
        {"pw-13a", "13A"}, {"pw-15a", "15A"}, {"pw-unknown", "42Z"}};
    for (const auto& [paywallId, name] : templates) {
        auto config =
            get<CustomizePayWallModel>("/paywall/paywall-config/" + c + "?paywallId=" + paywallId);
        ASSERT_TRUE(config.data && config.data->configuration) << paywallId;
        EXPECT_EQ(config.data->configuration->mobile->templateId->name, name);
        EXPECT_EQ(
            config.data->configuration->mobile->json->styleForText->typography->heading->fontFamily,
            "Playfair Display");
    }
    EXPECT_EQ(
        get<CustomizePayWallModel>("/paywall/paywall-config/" + c + "?paywallId=pw-zel").data->name,
        "DONT_EDIT_THIS_WALL_APP");
    EXPECT_EQ(get<CustomizePayWallModel>("/paywall/paywall-config/" + c + "?paywallId=pw-fallback")
                  .message,
              "fallback to default paywall!");

    const auto popup = get<PopUpModel>("/client/popup/popup-welcome");
    ASSERT_TRUE(popup.imageURL);
    EXPECT_EQ(popup.imageURL->rfind(server_.webBase(), 0), 0u);
    auto image = web_->Get(popup.imageURL->substr(server_.webBase().size() - 1));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->get_header_value("Content-Type"), "image/png");
    EXPECT_EQ(static_cast<int64_t>(image->body.size()), popup.imageFileSizeBytes);

    EXPECT_EQ(get<MeterModel>("/metering/banner/meter-banner").data->configuration->templateID,
              "BANNER1");
    const auto details =
        get<ContentDetails>("/content?clientId=" + c + "&clientContentId=premium-3a");
    EXPECT_EQ(details.price, 19.0);
    EXPECT_EQ(details.subscriptionUrl->rfind(server_.webBase() + "subscription?", 0), 0u);
    const auto plans =
        get<EmbededSubscription>("/subscription/embedded-subscription?clientId=" + c);
    EXPECT_EQ(plans.subscriptions.size(), 2u);
    EXPECT_EQ(get<EmbededSubscription>("/subscription/convert-subscription-currency?clientId=" + c +
                                       "&currency=USD")
                  .title,
              plans.title);
    auto settings = api_->Get("/api/v1/subscription/settings?clientId=" + c);
    ASSERT_TRUE(settings);
    EXPECT_EQ(Json::parse(settings->body)["subscriptionsExist"], true);

    // The session routes, for a subscriber signed in through a token.
    auto signIn = web_->Get("/auto-login-user?id=token-subscriber&clientId=" + c + "&respond=json");
    ASSERT_TRUE(signIn);
    const auto model = decode<AutoLoginModel>(signIn->body);
    ASSERT_TRUE(model.ok()) << signIn->body;
    const std::string session = model->sessionID.value_or("");
    EXPECT_EQ(get<UserDetails>("/user/" + session + "?clientId=" + c).existingSubscriber, true);
    EXPECT_TRUE(get<PurchaseModel>("/subscription/access?clientId=" + c +
                                   "&clientContentId=premium-4a&title=&url=&sessionId=" + session)
                    .signature);
    EXPECT_TRUE(post<PurchaseModel>(
                    "/content/access",
                    {{"clientId", c}, {"clientContentId", "premium-4a"}, {"sessionId", session}})
                    .signature);
    EXPECT_EQ(post<LogoutModel>("/auth/logout-via-sessionid?sessionId=" + session,
                                {{"sessionId", session}})
                  .message,
              "You have been logged out");
    // A signed-out reader gets the "error" answer.
    auto access = api_->Get("/api/v1/subscription/access?clientId=" + c +
                            "&clientContentId=premium-4a&sessionId=" + session);
    ASSERT_TRUE(access);
    EXPECT_TRUE(Json::parse(access->body).contains("error"));

    const auto missing = get<APIResponse>("/no/such/route", 404);
    EXPECT_EQ(missing.message, std::vector<std::string>{"Cannot GET /api/v1/no/such/route"});
    EXPECT_EQ(get<APIResponse>("/journey?anonId=a&clientContentId=x", 400).error, "Bad Request");
}

TEST_F(DevServerTest, SignInOnTheWebPageTurnsThePendingChallengeIntoASession) {
    const std::string challenge = postChallenge("challenge-login", "premium-3a");
    EXPECT_FALSE(get<LoginChallenge>("/login-challenge/" + challenge).sessionID);

    const std::string html = page("/overlay?clientId=" + std::string(kClient) +
                                  "&clientContentId=premium-3a&paywallType=PAYWALL&paywallId="
                                  "pw-3a&anonId=anon-1&loginChallenge=" +
                                  challenge + "&onlyLoginFlow=true");
    const std::string link = choiceLink(html, "login");
    EXPECT_NE(html.find("data-handler=\"loginSuccess\""), std::string::npos);
    choose(link, "orvelant://home?id=premium-3a");

    const auto redeemed = get<LoginChallenge>("/login-challenge/" + challenge);
    ASSERT_TRUE(redeemed.sessionID);
    EXPECT_EQ(redeemed.userID, "64f0c2a1b3d4e5f601234567");
    EXPECT_EQ(journey("premium-3a", *redeemed.sessionID).sessionExists, true);

    // What the page's script posts to "loginSuccess" names the same session.
    auto json = web_->Get(link + "&respond=json");
    ASSERT_TRUE(json);
    auto model = decode<AutoLoginModel>(json->body);
    ASSERT_TRUE(model.ok()) << json->body;
    EXPECT_EQ(model->status, true);
    EXPECT_EQ(model->sessionID, redeemed.sessionID);
}

TEST_F(DevServerTest, ContactLogInRegistersTheContactAndOpensTheRegistrationWall) {
    EXPECT_EQ(journey("regwall-rg6").isRegWall, true);
    const std::string challenge = postChallenge("challenge-contact", "regwall-rg6");
    const std::string html =
        page("/overlay?clientId=" + std::string(kClient) +
             "&clientContentId=regwall-rg6&loginChallenge=" + challenge +
             "&userDetails=9812345678&anonId=anon-1&paywallType=REGWALL&paywallId=pw-rg6");
    EXPECT_NE(html.find("Continue as 9812345678"), std::string::npos);
    choose(choiceLink(html, "contact"), "orvelant://home?id=regwall-rg6");
    const auto session = get<LoginChallenge>("/login-challenge/" + challenge).sessionID;
    ASSERT_TRUE(session);
    EXPECT_EQ(journey("regwall-rg6", *session).unlockedWithRegwall, true);
}

TEST_F(DevServerTest, PurchasesThroughTheWebPagesUnlockTheNextJourney) {
    const std::string c = kClient;
    const std::string common = "&paywallType=PAYWALL&paywallId=pw-3a&anonId=anon-1";
    auto buy = [&](const std::string& contentId, const std::string& pageTarget,
                   const std::string& choiceId) {
        const std::string challenge = postChallenge("challenge-" + choiceId, contentId);
        const std::string html = page(pageTarget + "&loginChallenge=" + challenge);
        choose(choiceLink(html, choiceId), "orvelant://home?id=" + contentId);
        return get<LoginChallenge>("/login-challenge/" + challenge).sessionID.value_or("");
    };

    // The subscription page as the library addresses it, the site address riding inside
    // "availFreeTrial".
    const std::string s3 = buy("premium-15a",
                               "/subscription?clientId=" + c +
                                   "&clientContentId=premium-15a&tierId=tier-digital-6m"
                                   "&availFreeTrial=true%20%26siteUrl%3Dhttps%3A%2F%2Fsite.test" +
                                   common,
                               "subscribe-tier-digital-6m");
    const auto subscribed = journey("premium-15a", s3);
    EXPECT_EQ(subscribed.unlockedWithSubscription, true);
    // Six months of 30 days and the seven trial days, give or take the test's own seconds.
    EXPECT_GT(subscribed.accessTimeLeft.value_or(0), (6 * 30 + 7) * 86400 - 600);

    // The same demo reader buys on: a bought article and a pass answer before the
    // subscription does.
    const auto locked = journey("premium-3a");
    EXPECT_EQ(locked.unlockedWithContent, false);
    EXPECT_EQ(locked.actionID->data->actionID, "pw-3a");
    const std::string s1 = buy(
        "premium-3a", "/overlay?clientId=" + c + "&clientContentId=premium-3a" + common, "read");
    const auto bought = journey("premium-3a", s1);
    EXPECT_EQ(bought.unlockedWithContent, true);
    EXPECT_GE(bought.accessTimeLeft.value_or(0), 1);
    EXPECT_EQ(bought.unlockedWithPageViewMeter, false);
    EXPECT_TRUE(bought.signature);

    const std::string s2 =
        buy("premium-8a",
            "/overlay?clientId=" + c + "&clientContentId=premium-8a&purchaseMode=PASS" + common,
            "pass");
    EXPECT_EQ(journey("premium-8a", s2).unlockedWithPass, true);
}

TEST_F(DevServerTest, AutoLoginAndOnlyLoginPagesCarryTheMessageForTheScriptHandlers) {
    const std::string challenge = postChallenge("challenge-auto", "premium-3a");
    // "cmVhZGVyQHF1aWxsZ2F0ZS50ZXN0" is reader@quillgate.test in base64.
    const std::string html =
        page("/auto-login-user?id=not-a-token&clientId=" + std::string(kClient) +
             "&email=cmVhZGVyQHF1aWxsZ2F0ZS50ZXN0&loginChallengeId=" + challenge);
    const auto [handler, text] = scriptMessage(html);
    EXPECT_EQ(handler, "autoLoginHandler");
    auto model = decode<AutoLoginModel>(unescapeHtml(text));
    ASSERT_TRUE(model.ok()) << text;
    EXPECT_EQ(model->userID, "64f0c2a1b3d4e5f601234567");
    EXPECT_EQ(get<LoginChallenge>("/login-challenge/" + challenge).sessionID, model->sessionID);

    const std::string refused =
        page("/auto-login-user?id=not-a-token&clientId=" + std::string(kClient), 400);
    auto failed = decode<AutoLoginModel>(scriptMessage(refused).second);
    ASSERT_TRUE(failed.ok());
    EXPECT_EQ(failed->status, false);
    EXPECT_FALSE(failed->sessionID);

    // The only-login page has no challenge: its ending is the message alone.
    const std::string login = page("/orvelant-login?clientId=" + std::string(kClient) +
                                   "&anonId=anon-1&mobileView=true&onlyLoginFlow=true");
    const std::string done = page(choiceLink(login, "login"));
    const auto [doneHandler, doneText] = scriptMessage(done);
    EXPECT_EQ(doneHandler, "loginSuccess");
    auto signedIn = decode<AutoLoginModel>(doneText);
    ASSERT_TRUE(signedIn.ok()) << done;
    EXPECT_TRUE(signedIn->sessionID);
}

TEST_F(DevServerTest, PagesRefuseWhatTheyCannotDoAndCancelLeavesTheChallengeAlone) {
    const std::string c = kClient;
    EXPECT_NE(page("/overlay?clientId=nobody&clientContentId=x", 404).find("Unknown publisher"),
              std::string::npos);
    page("/subscription?clientId=" + c + "&tierId=tier-none", 404);
    page("/overlay/choose?clientId=" + c + "&choice=steal", 400);

    // A typed address that isn't one: the page says so, the JSON form says status false.
    const std::string bad =
        "/overlay/choose?clientId=" + c + "&clientContentId=premium-3a&choice=read&email=not%40";
    auto refused = web_->Get(bad + "&respond=json");
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 400);
    EXPECT_EQ(decode<AutoLoginModel>(refused->body)->status, false);

    const std::string challenge = postChallenge("challenge-cancel", "premium-3a");
    const std::string html =
        page("/overlay?clientId=" + c + "&clientContentId=premium-3a&loginChallenge=" + challenge);
    choose(choiceLink(html, "cancel"), "orvelant://home?id=premium-3a");
    EXPECT_FALSE(get<LoginChallenge>("/login-challenge/" + challenge).sessionID);
    EXPECT_EQ(Json::parse(api_->Get("/__control/state")->body)["sessions"].size(), 0u);

    // The index lists the scenario for a person with a browser.
    EXPECT_NE(page("/").find("premium-13a"), std::string::npos);
}

TEST_F(DevServerTest, MeteredReaderCountsDownArticleByArticleUntilTheWall) {
    // The journey query exactly as the library writes it: lists printed as ["..."].
    auto visit = [&](const std::string& contentId) {
        return get<UserJourneyModel>(
            "/journey?clientId=quillgate-demo&anonId=anon-meter&adBlock=false&cookies=0"
            "&clientContentId=" +
            contentId +
            "&sessionId=&device=application&operatingSystem=IOS&browser=WEBVIEW&userId="
            "&categories=%5B%22%22%5D&sections=%5B%22%22%5D&title=&tags=%5B%22%22%5D&url="
            "&authorName=");
    };
    std::vector<std::string> steps;
    for (const char* id : {"metered-1", "metered-2", "metered-3"}) {
        const auto j = visit(id);
        EXPECT_EQ(j.unlockedWithPageViewMeter, true);
        steps.push_back(j.meteringAction->data->variables->stepCount.value_or("?"));
        EXPECT_EQ(j.meteringAction->data->actionID, "meter-banner");
    }
    EXPECT_EQ(steps, (std::vector<std::string>{"2", "1", "0"}));
    const auto wall = visit("metered-4");
    EXPECT_EQ(wall.unlockedWithPageViewMeter, false);
    EXPECT_EQ(wall.actionID->data->actionID, "pw-3a");

    // The control API resets the meters along with everything else.
    auto reset = api_->Post("/__control/reset", "", "application/json");
    ASSERT_TRUE(reset);
    EXPECT_EQ(visit("metered-4").meteringAction->data->variables->stepCount, "2");
}

TEST_F(DevServerTest, FaultsShapeTheNextAnswersOfARoute) {
    auto addFault = [&](const Json& spec) {
        auto res = web_->Post("/__control/faults", spec.dump(), "application/json");
        ASSERT_TRUE(res);
        ASSERT_EQ(res->status, 201) << res->body;
    };
    const std::string target =
        "/api/v1/journey?clientId=quillgate-demo&anonId=a&"
        "clientContentId=free-article";

    // Faults set through one server apply on all three; each answer uses one up.
    addFault(
        {{"path", "/api/v1/journey"}, {"status", 400}, {"message", "Bad reader"}, {"times", 2}});
    for (int i = 0; i < 2; ++i) {
        auto res = api_->Get(target);
        ASSERT_TRUE(res);
        EXPECT_EQ(res->status, 400);
        auto body = decode<APIResponse>(res->body);
        ASSERT_TRUE(body.ok()) << res->body;
        EXPECT_EQ(body->message, std::vector<std::string>{"Bad reader"});
    }
    EXPECT_EQ(api_->Get(target)->status, 200);

    addFault({{"path", "/api/v1/login-challenge/*"}, {"method", "get"}, {"status", 404}});
    EXPECT_EQ(api_->Get("/api/v1/login-challenge/any")->status, 404);
    addFault({{"path", "/api/v1/journey"}, {"status", 500}, {"body", "oops"}});
    auto failed = api_->Get(target);
    EXPECT_EQ(failed->status, 500);
    EXPECT_EQ(failed->body, "oops");
    addFault({{"path", "/api/v1/journey"}, {"fault", "empty"}});
    auto empty = api_->Get(target);
    EXPECT_EQ(empty->status, 200);
    EXPECT_EQ(empty->body, "");
    addFault({{"path", "/api/v1/journey"}, {"fault", "malformed"}});
    auto malformed = api_->Get(target);
    EXPECT_EQ(malformed->status, 200);
    EXPECT_FALSE(decode<UserJourneyModel>(malformed->body).ok());

    addFault({{"path", "/api/v1/journey"}, {"fault", "drop"}});
    auto dropped = api_->Get(target);
    EXPECT_FALSE(dropped);
    // A delay longer than the client waits: the client gives up first.
    addFault({{"path", "/api/v1/content"}, {"fault", "delay"}, {"delayMs", 3000}});
    httplib::Client impatient("127.0.0.1", server_.apiPort());
    impatient.set_read_timeout(0, 100000);
    EXPECT_FALSE(impatient.Get("/api/v1/content?clientId=quillgate-demo&clientContentId=x"));

    // A fault without a count stays until cleared.
    addFault({{"path", "/collect/event"}, {"status", 503}, {"times", 0}});
    EXPECT_EQ(collect_->Post("/collect/event", "{}", "application/json")->status, 503);
    EXPECT_EQ(collect_->Post("/collect/event", "{}", "application/json")->status, 503);
    auto listed = collect_->Get("/__control/faults");
    EXPECT_EQ(Json::parse(listed->body)["faults"].size(), 1u);
    ASSERT_TRUE(collect_->Delete("/__control/faults"));
    EXPECT_EQ(collect_->Post("/collect/event", "{}", "application/json")->status, 201);

    auto bad = api_->Post("/__control/faults", R"({"path": "journey", "status": 500})",
                          "application/json");
    EXPECT_EQ(bad->status, 400);
    EXPECT_EQ(Json::parse(bad->body)["error"], "\"path\" must start with \"/\"");
}

TEST_F(DevServerTest, TheRequestLogShowsWhatArrivedAndHowItWasAnswered) {
    ASSERT_TRUE(api_->Post("/api/v1/login-challenge", R"({"redirectTo": "orvelant://home?id=x"})",
                           "application/json"));
    server_.controls().addFault(
        Fault{"", "api", "GET", "/api/v1/journey", FaultKind::status, 500, std::nullopt, "", 0, 1});
    ASSERT_TRUE(api_->Get("/api/v1/journey?clientId=quillgate-demo&tags=a&tags=b"));
    auto res = web_->Get("/__control/requests?server=api");
    ASSERT_TRUE(res);
    const Json log = Json::parse(res->body);
    ASSERT_EQ(log["count"], 2);
    const Json& post = log["requests"][0];
    EXPECT_EQ(post["method"], "POST");
    EXPECT_EQ(post["status"], 201);
    EXPECT_EQ(Json::parse(post["body"].get<std::string>())["redirectTo"], "orvelant://home?id=x");
    const Json& get = log["requests"][1];
    EXPECT_EQ(get["path"], "/api/v1/journey");
    EXPECT_EQ(get["params"]["tags"], Json({"a", "b"}));
    EXPECT_EQ(get["status"], 500);
    EXPECT_EQ(get["fault"], "fault-1");

    ASSERT_TRUE(api_->Delete("/__control/requests"));
    EXPECT_EQ(server_.controls().requests().size(), 0u);
}

TEST_F(DevServerTest, TheCollectionKeepsEveryEventUntilCleared) {
    const Json view = {{"topic", "demoTopic"},
                       {"messageBody", {{{"eventType", "VIEW"}, {"eventLocation", "PAYWALL"}}}}};
    const Json ping = {{"topic", "demoTopic"}, {"messageBody", {{{"eventType", "PING"}}}}};
    for (const Json& body : {view, ping, ping}) {
        auto res = collect_->Post("/collect/event", body.dump(), "application/json");
        ASSERT_TRUE(res);
        EXPECT_EQ(res->status, 201);
    }
    const Json all = Json::parse(collect_->Get("/collect/events")->body);
    EXPECT_EQ(all["count"], 3);
    EXPECT_EQ(all["events"][0]["eventLocation"], "PAYWALL");
    EXPECT_EQ(all["events"][0]["body"], view);
    EXPECT_EQ(Json::parse(collect_->Get("/collect/events?eventType=PING")->body)["count"], 2);
    EXPECT_EQ(server_.collector().count(), 3u);

    ASSERT_TRUE(collect_->Delete("/collect/events"));
    EXPECT_EQ(Json::parse(collect_->Get("/collect/events")->body)["count"], 0);
}

TEST_F(DevServerTest, FontFilesAreServedAtBothHostsPaths) {
    auto fetch = [](const std::string& base, const std::string& path) {
        const std::string prefix = "http://127.0.0.1:";
        const auto slash = base.find('/', prefix.size());
        httplib::Client host("127.0.0.1", std::stoi(base.substr(prefix.size(), slash)));
        return host.Get(base.substr(slash) + path);
    };
    auto roboto = fetch(server_.webFontHostBase(), "s/roboto/v30/KFOmCnqEu92Fr1Me5WZLCzYlKw.ttf");
    ASSERT_TRUE(roboto);
    EXPECT_EQ(roboto->status, 200);
    EXPECT_EQ(roboto->get_header_value("Content-Type"), "font/ttf");
    EXPECT_EQ(roboto->body.substr(0, 4), std::string("\0\1\0\0", 4));
    auto merriweather = fetch(server_.sourceRepositoryHostBase(),
                              "google/fonts/raw/main/ofl/merriweather/Merriweather-Regular.ttf");
    ASSERT_TRUE(merriweather);
    EXPECT_EQ(merriweather->status, 200);
    EXPECT_NE(merriweather->body, roboto->body);
    // Each path belongs to its own host.
    EXPECT_EQ(
        fetch(server_.sourceRepositoryHostBase(), "s/roboto/v30/KFOmCnqEu92Fr1Me5WZLCzYlKw.ttf")
            ->status,
        404);
}

TEST_F(DevServerTest, APortInUseIsAClearErrorAndReleasesTheOthers) {
    DevServer second(
        DevServer::Options{0, server_.apiPort(), 0, DevServer::defaultDataDir(), {}, {}});
    const StartResult result = second.start();
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, "cannot listen on 127.0.0.1:" + std::to_string(server_.apiPort()) +
                                " for the web server: the port is already in use");
    EXPECT_FALSE(second.running());
    // The API port that the second server did bind is free again.
    httplib::Client gone("127.0.0.1", second.apiPort());
    gone.set_connection_timeout(1);
    EXPECT_FALSE(gone.Get("/api/v1/journey"));
    // The first server is untouched.
    EXPECT_TRUE(journey("free-article").freeAccess);

    DevServer badData(DevServer::Options{0, 0, 0, "no-such-directory", {}, {}});
    EXPECT_EQ(badData.start().error, "no data directory at no-such-directory");
}

}  // namespace
}  // namespace quillgate::devserver

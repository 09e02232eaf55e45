// The local access service over loopback HTTP: its routes answer bodies the library decodes,
// its web pages turn challenges into sessions and purchases into access, and its controls
// shape the answers tests need.
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"
#include "tests/support/LocalService.h"
#include "tools/devserver/DevServer.h"

namespace quillgate::devserver {
namespace {

const std::string kClient = "quillgate-demo";
using Json = nlohmann::json;

// The href of the choice link with this id, as a headless host would follow it.
std::string choiceLink(const std::string& html, const std::string& id) {
    std::smatch match;
    if (!std::regex_search(html, match, std::regex("id=\"choice-" + id + "\" href=\"([^\"]*)\""))) {
        ADD_FAILURE() << "no choice \"" << id << "\" in the page";
        return "";
    }
    return std::regex_replace(match[1].str(), std::regex("&amp;"), "&");
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
    void SetUp() override { ASSERT_TRUE(started_.ok) << started_.error; }

    // An answer to `target` with `status`, decoded as T; fails the test when it doesn't decode.
    template <class T>
    T decoded(const httplib::Result& res, const std::string& target, int status) {
        if (!res) {
            ADD_FAILURE() << target << ": no answer";
            return T{};
        }
        EXPECT_EQ(res->status, status) << target << " " << res->body;
        auto body = decode<T>(res->body);
        if (!body) {
            ADD_FAILURE() << target << ": " << longDecodingFailureLine(body.error());
            return T{};
        }
        return std::move(body).value();
    }
    template <class T>
    T get(const std::string& path, int status = 200) {
        return decoded<T>(api_.Get("/api/v1" + path), path, status);
    }
    template <class T>
    T post(const std::string& path, const Json& body) {
        return decoded<T>(api_.Post("/api/v1" + path, body.dump(), "application/json"), path, 201);
    }

    UserJourneyModel journey(const std::string& contentId, const std::string& sessionId = "") {
        return get<UserJourneyModel>("/journey?clientId=" + kClient +
                                     "&anonId=anon-1&clientContentId=" + contentId +
                                     "&sessionId=" + sessionId);
    }

    // What the client does before opening a web page: register a challenge.
    void postChallenge(const std::string& id, const std::string& contentId) {
        EXPECT_EQ(post<LoginChallenge>(
                      "/login-challenge",
                      {{"redirectTo", "orvelant://home?id=" + contentId}, {"loginChallengeId", id}})
                      .loginChallengeID,
                  id);
    }
    std::optional<std::string> challengeSession(const std::string& id) {
        return get<LoginChallenge>("/login-challenge/" + id).sessionID;
    }

    std::string page(const std::string& target, int status = 200) {
        auto res = web_.Get(target);
        if (!res) {
            ADD_FAILURE() << target << ": no answer";
            return "";
        }
        EXPECT_EQ(res->status, status) << target;
        return res->body;
    }

    // Follows a choice link; the answer must be the redirect to the challenge's address.
    void choose(const std::string& href, const std::string& expectedLocation) {
        auto res = web_.Get(href);
        ASSERT_TRUE(res) << href;
        EXPECT_EQ(res->status, 302) << res->body;
        EXPECT_EQ(res->get_header_value("Location"), expectedLocation);
    }

    DevServer server_{testing::ephemeralService()};
    StartResult started_ = server_.start();
    httplib::Client api_{"127.0.0.1", server_.apiPort()};
    httplib::Client web_{"127.0.0.1", server_.webPort()};
    httplib::Client collect_{"127.0.0.1", server_.collectPort()};
};

TEST_F(DevServerTest, EveryRouteAnswersABodyTheLibraryDecodes) {
    // Each paywall action names its template.
    const std::vector<std::pair<std::string, std::string>> templates = {
        {"pw-3a", "3A"},   {"pw-4a", "4A"},   {"pw-5a", "5A"},      {"pw-7a", "7A"},
        {"pw-8a", "8A"},   {"pw-rg4", "RG4"}, {"pw-rg5", "RG5"},    {"pw-rg6", "RG6"},
        {"pw-13a", "13A"}, {"pw-15a", "15A"}, {"pw-unknown", "42Z"}};
    const std::string paywall = "/paywall/paywall-config/" + kClient + "?paywallId=";
    for (const auto& [paywallId, name] : templates) {
        auto config = get<CustomizePayWallModel>(paywall + paywallId);
        ASSERT_TRUE(config.data && config.data->configuration) << paywallId;
        EXPECT_EQ(config.data->configuration->mobile->templateId->name, name);
        EXPECT_EQ(
            config.data->configuration->mobile->json->styleForText->typography->heading->fontFamily,
            "Playfair Display");
    }
    EXPECT_EQ(get<CustomizePayWallModel>(paywall + "pw-zel").data->name, "DONT_EDIT_THIS_WALL_APP");
    EXPECT_EQ(get<CustomizePayWallModel>(paywall + "pw-fallback").message,
              "fallback to default paywall!");

    const auto popup = get<PopUpModel>("/client/popup/popup-welcome");
    ASSERT_TRUE(popup.imageURL);
    EXPECT_EQ(popup.imageURL->rfind(server_.webBase(), 0), 0u);
    auto image = web_.Get(popup.imageURL->substr(server_.webBase().size() - 1));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->get_header_value("Content-Type"), "image/png");
    EXPECT_EQ(static_cast<int64_t>(image->body.size()), popup.imageFileSizeBytes);

    EXPECT_EQ(get<MeterModel>("/metering/banner/meter-banner").data->configuration->templateID,
              "BANNER1");
    const auto details =
        get<ContentDetails>("/content?clientId=" + kClient + "&clientContentId=premium-3a");
    EXPECT_EQ(details.price, 19.0);
    EXPECT_EQ(details.subscriptionUrl->rfind(server_.webBase() + "subscription?", 0), 0u);
    const auto plans =
        get<EmbededSubscription>("/subscription/embedded-subscription?clientId=" + kClient);
    EXPECT_EQ(plans.subscriptions.size(), 2u);
    EXPECT_EQ(get<EmbededSubscription>("/subscription/convert-subscription-currency?clientId=" +
                                       kClient + "&currency=USD")
                  .title,
              plans.title);
    auto settings = api_.Get("/api/v1/subscription/settings?clientId=" + kClient);
    ASSERT_TRUE(settings);
    EXPECT_EQ(Json::parse(settings->body)["subscriptionsExist"], true);

    // The session routes, for a subscriber signed in through a token.
    auto signIn =
        web_.Get("/auto-login-user?id=token-subscriber&clientId=" + kClient + "&respond=json");
    const std::string session =
        decoded<AutoLoginModel>(signIn, "auto-login-user", 200).sessionID.value_or("");
    EXPECT_EQ(get<UserDetails>("/user/" + session + "?clientId=" + kClient).existingSubscriber,
              true);
    const std::string access =
        "/subscription/access?clientId=" + kClient + "&clientContentId=premium-4a&sessionId=";
    EXPECT_TRUE(get<PurchaseModel>(access + session).signature);
    EXPECT_TRUE(post<PurchaseModel>("/content/access", {{"clientId", kClient},
                                                        {"clientContentId", "premium-4a"},
                                                        {"sessionId", session}})
                    .signature);
    EXPECT_EQ(post<LogoutModel>("/auth/logout-via-sessionid?sessionId=" + session,
                                {{"sessionId", session}})
                  .message,
              "You have been logged out");
    // A signed-out reader gets the "error" answer.
    auto signedOut = api_.Get("/api/v1" + access + session);
    ASSERT_TRUE(signedOut);
    EXPECT_TRUE(Json::parse(signedOut->body).contains("error"));

    const auto missing = get<APIResponse>("/no/such/route", 404);
    EXPECT_EQ(missing.message, std::vector<std::string>{"Cannot GET /api/v1/no/such/route"});
    EXPECT_EQ(get<APIResponse>("/journey?anonId=a&clientContentId=x", 400).error, "Bad Request");
}

TEST_F(DevServerTest, EachChoiceOnTheWebPagesSignsInOrBuysAndTheNextJourneySaysSo) {
    struct Choice {
        std::string id;
        std::string contentId;
        std::string page;  // without the challenge
        std::string shows;
        std::optional<bool> UserJourneyModel::*opens;
        int64_t timeLeft;
    };
    const std::string overlay = "/overlay?clientId=" + kClient + "&anonId=anon-1&clientContentId=";
    const std::string wall = "&paywallType=PAYWALL&paywallId=pw-3a";
    // One demo reader throughout: a bought article and a pass answer before the subscription.
    const Choice choices[] = {
        {"login", "premium-3a", overlay + "premium-3a" + wall + "&onlyLoginFlow=true",
         "data-handler=\"loginSuccess\"", &UserJourneyModel::sessionExists, 0},
        // The registration wall's contact: a one-member JSON text, registering a new reader.
        {"contact", "regwall-rg6",
         overlay + "regwall-rg6&userDetails=%7B%22email%22:%22new.reader@example.com%22%7D"
                   "&paywallType=REGWALL&paywallId=pw-rg6",
         "Continue as new.reader@example.com", &UserJourneyModel::unlockedWithRegwall, 1},
        // The subscription page as the library addresses it: the trial flag with its encoded
        // trailing blank, then the site address as a key of its own. Six months of 30 days
        // and the seven trial days, give or take the test's own seconds.
        {"subscribe-tier-digital-6m", "premium-15a",
         "/subscription?clientId=" + kClient +
             "&clientContentId=premium-15a&tierId=tier-digital-6m&anonId=anon-1"
             "&availFreeTrial=true%20&siteUrl=https://site.test" +
             wall,
         "", &UserJourneyModel::unlockedWithSubscription, (6 * 30 + 7) * 86400 - 600},
        {"read", "premium-3a", overlay + "premium-3a" + wall, "",
         &UserJourneyModel::unlockedWithContent, 1},
        {"pass", "premium-8a", overlay + "premium-8a&purchaseMode=PASS" + wall, "",
         &UserJourneyModel::unlockedWithPass, 1},
    };
    for (const Choice& choice : choices) {
        SCOPED_TRACE(choice.id);
        EXPECT_NE(journey(choice.contentId).*choice.opens, true);
        const std::string challenge = "challenge-" + choice.id;
        postChallenge(challenge, choice.contentId);
        EXPECT_FALSE(challengeSession(challenge));
        const std::string html = page(choice.page + "&loginChallenge=" + challenge);
        EXPECT_NE(html.find(choice.shows), std::string::npos);
        choose(choiceLink(html, choice.id), "orvelant://home?id=" + choice.contentId);
        const auto opened = journey(choice.contentId, challengeSession(challenge).value_or(""));
        EXPECT_EQ(opened.*choice.opens, true);
        EXPECT_GE(opened.accessTimeLeft.value_or(0), choice.timeLeft);
    }
    EXPECT_EQ(get<LoginChallenge>("/login-challenge/challenge-login").userID,
              "64f0c2a1b3d4e5f601234567");

    // What the log-in page's script posts to "loginSuccess" names the challenge's session.
    const std::string login = page(choices[0].page + "&loginChallenge=challenge-login");
    const auto model = decoded<AutoLoginModel>(
        web_.Get(choiceLink(login, "login") + "&respond=json"), "login choice", 200);
    EXPECT_EQ(model.status, true);
    EXPECT_EQ(model.sessionID, challengeSession("challenge-login"));
}

TEST_F(DevServerTest, AutoLoginAndOnlyLoginPagesCarryTheMessageForTheScriptHandlers) {
    // A token that isn't one: the handler hears the refusal.
    const auto [handler, text] =
        scriptMessage(page("/auto-login-user?id=not-a-token&clientId=" + kClient, 400));
    EXPECT_EQ(handler, "autoLoginHandler");
    auto failed = decode<AutoLoginModel>(text);
    ASSERT_TRUE(failed.ok()) << text;
    EXPECT_EQ(failed->status, false);
    EXPECT_FALSE(failed->sessionID);

    // The only-login page has no challenge: its ending is the message alone.
    const std::string login = page("/orvelant-login?clientId=" + kClient +
                                   "&anonId=anon-1&mobileView=true&onlyLoginFlow=true");
    const auto [doneHandler, doneText] = scriptMessage(page(choiceLink(login, "login")));
    EXPECT_EQ(doneHandler, "loginSuccess");
    auto signedIn = decode<AutoLoginModel>(doneText);
    ASSERT_TRUE(signedIn.ok()) << doneText;
    EXPECT_TRUE(signedIn->sessionID);
}

TEST_F(DevServerTest, PagesRefuseWhatTheyCannotDoAndCancelLeavesTheChallengeAlone) {
    EXPECT_NE(page("/overlay?clientId=nobody&clientContentId=x", 404).find("Unknown publisher"),
              std::string::npos);
    page("/subscription?clientId=" + kClient + "&tierId=tier-none", 404);
    page("/overlay/choose?clientId=" + kClient + "&choice=steal", 400);
    // A typed address that isn't one: the page says so, the JSON form says status false.
    const auto refused = web_.Get("/overlay/choose?clientId=" + kClient +
                                  "&clientContentId=premium-3a&choice=read&email=not%40"
                                  "&respond=json");
    EXPECT_EQ(decoded<AutoLoginModel>(refused, "choose", 400).status, false);

    postChallenge("challenge-cancel", "premium-3a");
    const std::string html = page("/overlay?clientId=" + kClient +
                                  "&clientContentId=premium-3a&loginChallenge=challenge-cancel");
    choose(choiceLink(html, "cancel"), "orvelant://home?id=premium-3a");
    EXPECT_FALSE(challengeSession("challenge-cancel"));
    EXPECT_EQ(Json::parse(api_.Get("/__control/state")->body)["sessions"].size(), 0u);

    // The index lists the scenario for a person with a browser.
    EXPECT_NE(page("/").find("premium-13a"), std::string::npos);
}

TEST_F(DevServerTest, FaultsShapeTheNextAnswersOfARoute) {
    auto addFault = [&](const Json& form) {
        auto res = web_.Post("/__control/faults", form.dump(), "application/json");
        ASSERT_TRUE(res);
        ASSERT_EQ(res->status, 201) << res->body;
    };
    const std::string target =
        "/api/v1/journey?clientId=quillgate-demo&anonId=a&clientContentId=free-article";

    // Faults set through one server apply on all three; each answer uses one up.
    addFault(
        {{"path", "/api/v1/journey"}, {"status", 400}, {"message", "Bad reader"}, {"times", 2}});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(decoded<APIResponse>(api_.Get(target), target, 400).message,
                  std::vector<std::string>{"Bad reader"});
    }
    EXPECT_EQ(api_.Get(target)->status, 200);

    addFault({{"path", "/api/v1/journey"}, {"status", 500}, {"body", "oops"}});
    auto failed = api_.Get(target);
    EXPECT_EQ(failed->status, 500);
    EXPECT_EQ(failed->body, "oops");
    addFault({{"path", "/api/v1/journey"}, {"fault", "empty"}});
    auto empty = api_.Get(target);
    EXPECT_EQ(empty->status, 200);
    EXPECT_EQ(empty->body, "");
    addFault({{"path", "/api/v1/journey"}, {"fault", "malformed"}});
    auto malformed = api_.Get(target);
    EXPECT_EQ(malformed->status, 200);
    EXPECT_FALSE(decode<UserJourneyModel>(malformed->body).ok());

    addFault({{"path", "/api/v1/journey"}, {"fault", "drop"}});
    EXPECT_FALSE(api_.Get(target));
    // A delay longer than the client waits: the client gives up first.
    addFault({{"path", "/api/v1/content"}, {"fault", "delay"}, {"delayMs", 3000}});
    httplib::Client impatient("127.0.0.1", server_.apiPort());
    impatient.set_read_timeout(0, 100000);
    EXPECT_FALSE(impatient.Get("/api/v1/content?clientId=quillgate-demo&clientContentId=x"));

    // A fault without a count stays until cleared.
    addFault({{"path", "/collect/event"}, {"status", 503}, {"times", 0}});
    EXPECT_EQ(collect_.Post("/collect/event", "{}", "application/json")->status, 503);
    EXPECT_EQ(collect_.Post("/collect/event", "{}", "application/json")->status, 503);
    EXPECT_EQ(Json::parse(collect_.Get("/__control/faults")->body)["faults"].size(), 1u);
    ASSERT_TRUE(collect_.Delete("/__control/faults"));
    EXPECT_EQ(collect_.Post("/collect/event", "{}", "application/json")->status, 201);

    auto bad =
        api_.Post("/__control/faults", R"({"path": "journey", "status": 500})", "application/json");
    EXPECT_EQ(bad->status, 400);
    EXPECT_EQ(Json::parse(bad->body)["error"], "\"path\" must start with \"/\"");
}

TEST_F(DevServerTest, TheRequestLogShowsWhatArrivedAndHowItWasAnsweredUntilReset) {
    ASSERT_TRUE(api_.Post("/api/v1/login-challenge", R"({"redirectTo": "orvelant://home?id=x"})",
                          "application/json"));
    server_.controls().addFault(
        Fault{"", "api", "GET", "/api/v1/journey", FaultKind::status, 500, std::nullopt, "", 0, 1});
    ASSERT_TRUE(api_.Get("/api/v1/journey?clientId=quillgate-demo&tags=a&tags=b"));
    auto res = web_.Get("/__control/requests?server=api");
    ASSERT_TRUE(res);
    const Json log = Json::parse(res->body);
    ASSERT_EQ(log["count"], 2);
    const Json& posted = log["requests"][0];
    EXPECT_EQ(posted["method"], "POST");
    EXPECT_EQ(posted["status"], 201);
    EXPECT_EQ(Json::parse(posted["body"].get<std::string>())["redirectTo"], "orvelant://home?id=x");
    const Json& fetched = log["requests"][1];
    EXPECT_EQ(fetched["path"], "/api/v1/journey");
    EXPECT_EQ(fetched["params"]["tags"], Json({"a", "b"}));
    EXPECT_EQ(fetched["status"], 500);
    EXPECT_EQ(fetched["fault"], "fault-1");
    ASSERT_TRUE(api_.Delete("/__control/requests"));
    EXPECT_EQ(server_.controls().requests().size(), 0u);

    // Reset forgets the service's state, the faults and the log.
    postChallenge("challenge-reset", "premium-3a");
    server_.controls().addFault(
        Fault{"", "api", "GET", "/api/v1/journey", FaultKind::status, 500, std::nullopt, "", 0, 0});
    ASSERT_TRUE(collect_.Post("/__control/reset", "", "application/json"));
    EXPECT_TRUE(server_.controls().faults().empty());
    get<APIResponse>("/login-challenge/challenge-reset", 404);
    EXPECT_EQ(server_.controls().requests().size(), 1u);
}

TEST_F(DevServerTest, TheCollectionKeepsEveryEventUntilCleared) {
    const Json view = {{"topic", "demoTopic"},
                       {"messageBody", {{{"eventType", "VIEW"}, {"eventLocation", "PAYWALL"}}}}};
    const Json ping = {{"topic", "demoTopic"}, {"messageBody", {{{"eventType", "PING"}}}}};
    for (const Json& body : {view, ping, ping}) {
        auto res = collect_.Post("/collect/event", body.dump(), "application/json");
        ASSERT_TRUE(res);
        EXPECT_EQ(res->status, 201);
    }
    const Json all = Json::parse(collect_.Get("/collect/events")->body);
    EXPECT_EQ(all["count"], 3);
    EXPECT_EQ(all["events"][0]["eventLocation"], "PAYWALL");
    EXPECT_EQ(all["events"][0]["body"], view);
    EXPECT_EQ(Json::parse(collect_.Get("/collect/events?eventType=PING")->body)["count"], 2);

    ASSERT_TRUE(collect_.Delete("/collect/events"));
    EXPECT_EQ(server_.collector().count(), 0u);
}

TEST_F(DevServerTest, APortInUseIsAClearErrorAndReleasesTheOthers) {
    auto options = testing::ephemeralService();
    options.webPort = server_.apiPort();
    DevServer second(options);
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

    options.webPort = 0;
    options.dataDir = "no-such-directory";
    DevServer badData(options);
    EXPECT_EQ(badData.start().error, "no data directory at no-such-directory");
}

}  // namespace
}  // namespace quillgate::devserver

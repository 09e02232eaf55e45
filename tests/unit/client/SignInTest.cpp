// Sign-in: the web pages' addresses, the login challenge that precedes them, the web flow
// screen, auto login, user details, logout and the relaunch deep link.

#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/NavigationController.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::queryOf;
using Access = QuillgateClientTestAccess;
using Query = std::map<std::string, std::string>;

const std::string kWebBase = "http://127.0.0.1:3000/";
const std::string kApiBase = "http://127.0.0.1:3001/api/v1";
constexpr const char* kSite = "https://site.quillgate.invalid";
constexpr const char* kChallengeAnswer =
    R"({"loginChallengeId":"c","redirectTo":"orvelant://home?id=article-1"})";

std::string pathOf(const std::string& address) {
    return address.substr(0, address.find('?'));
}

class SignInTest : public testing::ClientTest {
  protected:
    SignInTest() {
        auto& c = client();
        c.contentID = "article-1";
        c.paywallType = "CTA3A1";
        c.paywallId = "pw-1";
        c.parentView = parent;
        tp.defaults().setObject("anon-1", Constants::anonymousIDKey);
        tp.http().answer("/login-challenge", 201, kChallengeAnswer, "post");
    }

    std::shared_ptr<WebViewController> screen() {
        return std::dynamic_pointer_cast<WebViewController>(client().webVC);
    }
    // The address the web flow screen was last given; empty if none.
    std::string opened() {
        auto s = screen();
        return s && s->actualURL ? *s->actualURL : std::string();
    }

    // The overlay keys every overlay address carries for article-1, and `extra`.
    Query overlayKeys(const Query& extra = {}) {
        Query keys = {{"clientId", "client-1"},  {"clientContentId", "article-1"},
                      {"paywallType", "CTA3A1"}, {"paywallId", "pw-1"},
                      {"anonId", "anon-1"},      {"loginChallenge", *Constants::loginChallenge()}};
        keys.insert(extra.begin(), extra.end());
        return keys;
    }

    std::optional<std::string> toastText() {
        const auto& box = Toast::shared().toastView;
        auto label = box && !box->subviews().empty()
                         ? std::dynamic_pointer_cast<ui::Label>(box->subviews().front())
                         : nullptr;
        return label ? std::optional(label->text()) : std::nullopt;
    }
    // A window to show toasts and the web flow screen in, with toasts on.
    std::shared_ptr<ui::ViewController> showWindow() {
        client().debugMode = true;
        auto root = ui::ViewController::create<ui::ViewController>();
        ui::Application::shared().showWindow(root);
        return root;
    }
};

// ---- Addresses and the challenge ---------------------------------------------------------

TEST_F(SignInTest, BuildAddressEncodesEveryKeyAndValueWithTheQueryAllowedSet) {
    const std::string address = Access::buildAddress(
        client(), "https://w.test/page",
        json{{"a key", "x y/z?"}, {"flag", true}, {"n", 3}, {"plus", "+1 (5)"}});
    EXPECT_EQ(address, "https://w.test/page?a%20key=x%20y/z?&flag=true&n=3&plus=+1%20(5)");
    EXPECT_EQ(Access::buildAddress(client(), "https://w.test/page", json::object()),
              "https://w.test/page?");
}

TEST_F(SignInTest, WebFlowPostsTheChallengeThenOpensThePageOfItsContentType) {
    struct Case {
        ContentType type;
        std::optional<bool> trial;
        std::string page;
        Query extra;
        bool isAutoLogin;
    };
    // The subscription page's trial value carries the site: its blank is encoded, its
    // ampersand is allowed in a query and stays, so the page reads the site as a key.
    const Query tier = {{"tierId", "tier-1"}, {"siteUrl", kSite}};
    const std::vector<Case> cases = {
        {ContentType::readNow, {}, "overlay", {}, false},
        {ContentType::onlyLogin, {}, "overlay", {{"onlyLoginFlow", "true"}}, true},
        {ContentType::buyPass, {}, "overlay", {{"purchaseMode", "PASS"}}, false},
        {ContentType::subPass, {}, "subscription", {{"availFreeTrial", "false "}}, false},
        {ContentType::subPass, true, "subscription", {{"availFreeTrial", "true "}}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.type));
        client().availFreeTrialVar = c.trial;
        const auto before = sent("/login-challenge");
        client().startWebFlow("article-1", c.type, "tier-1");
        const auto challenge = Constants::loginChallenge();
        ASSERT_TRUE(challenge);

        // The challenge is registered before the page opens.
        const auto posts = tp.http().requestsTo("/login-challenge");
        ASSERT_EQ(posts.size(), before + 1);
        EXPECT_EQ(posts.back().url, kApiBase + "/login-challenge");
        EXPECT_EQ(posts.back().method, "post");
        EXPECT_EQ(json::parse(*posts.back().body),
                  (json{{"redirectTo", "orvelant://home?id=article-1"},
                        {"loginChallengeId", *challenge}}));
        EXPECT_TRUE(tp.printed("generateLoginChallenge(Optional(\"" + *challenge + "\"))"));
        EXPECT_EQ(opened().find(*challenge), std::string::npos) << "not before the answer";

        tp.runPending();
        Query expected = overlayKeys(c.extra);
        if (c.page == "subscription") {
            expected.insert(tier.begin(), tier.end());
            EXPECT_NE(opened().find("%20&siteUrl=" + std::string(kSite)), std::string::npos);
        }
        EXPECT_EQ(pathOf(opened()), kWebBase + c.page);
        EXPECT_EQ(queryOf(opened()), expected);
        EXPECT_EQ(screen()->isAutoLogin, c.isAutoLogin);
        EXPECT_TRUE(tp.printed("webviewURL:" + opened()));
    }

    // Without a parent view the challenge is posted but no page opens.
    client().webVC.reset();
    client().parentView.reset();
    client().startWebFlow("article-1", ContentType::subPass, "t");
    client().startWebFlow("article-1", ContentType::readNow, "t");
    tp.runPending();
    EXPECT_EQ(sent("/login-challenge"), cases.size() + 2);
    EXPECT_FALSE(client().webVC);
}

TEST_F(SignInTest, SubscribeNowConcatenatesOntoTheServicesAddressOrToastsWithoutOne) {
    client().contentDetailsModel = ContentDetails{};
    client().contentDetailsModel->subscriptionUrl = "https://pay.test/subscribe?plan=gold";
    client().subscribeTap(true);
    EXPECT_TRUE(tp.printed("~~~~~Click Action = SUBS~~~~~")) << "logged before the answer";
    tp.runPending();

    const std::string expected = "https://pay.test/subscribe?plan=goldOrvelant&loginChallenge=" +
                                 *Constants::loginChallenge() +
                                 "&paywallType=CTA3A1&paywallId=pw-1&anonId=anon-1";
    EXPECT_EQ(opened(), expected);
    EXPECT_TRUE(tp.printed("subURL:https://pay.test/subscribe?plan=gold"));
    EXPECT_TRUE(tp.printed("subURL917  " + expected));
    EXPECT_FALSE(screen()->isAutoLogin);

    // No address: the toast. One that doesn't parse: nothing.
    client().webVC.reset();
    client().contentDetailsModel.reset();
    showWindow();
    tp.clearLines();
    client().subscribeTap(false);
    tp.runPending();
    EXPECT_TRUE(tp.printed("subURL:"));
    EXPECT_EQ(toastText(), "Invalid URL");
    client().startWebFlow("article-1", ContentType::subscribeNow, "not an address");
    tp.runPending();
    EXPECT_TRUE(tp.printedContaining("subURL917  not an addressOrvelant&"));
    EXPECT_FALSE(client().webVC);
    EXPECT_FALSE(tp.printed("~~~~~Click Action = SUBS~~~~~"));
}

TEST_F(SignInTest, TapsWithoutAnArticleOrPublisherDoNothing) {
    for (const std::string blank : {"", "  \n"}) {
        for (auto* field : {&client().contentID, &client().clientID}) {
            const std::string kept = *field;
            *field = blank;
            client().subscribeTap(true);
            client().contactLogin("reader@quillgate.test");
            *field = kept;
        }
    }
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_FALSE(Constants::loginChallenge());
}

TEST_F(SignInTest, TapsLogTheirClickAtOnceAndOpenTheOverlayOnTheAnswer) {
    tp.http().setHoldAnswers(true);
    client().contactLogin("reader@quillgate.test");
    EXPECT_TRUE(tp.printed("~~~~~Click Action = EMAIL~~~~~"));
    client().contactLogin("+919876543210");
    EXPECT_TRUE(tp.printed("~~~~~Click Action = MOBILE~~~~~"));
    EXPECT_FALSE(client().webVC);
    tp.http().deliverHeld();
    tp.runPending();
    // "+" is allowed in a query and stays.
    EXPECT_EQ(pathOf(opened()), kWebBase + "overlay");
    EXPECT_EQ(queryOf(opened()), overlayKeys({{"userDetails", "+919876543210"}}));

    tp.clearLines();
    client().payBtnTap(true, true);
    EXPECT_TRUE(tp.printed("~~~~~Click Action = CONTENT~~~~~"));
    tp.http().deliverHeld();
    tp.runPending();
    EXPECT_EQ(queryOf(opened())["onlyLoginFlow"], "true");
    EXPECT_TRUE(screen()->isAutoLogin);

    tp.clearLines();
    client().payBtnTap(false, false);
    tp.http().deliverHeld();
    tp.runPending();
    EXPECT_FALSE(tp.printedContaining("Click Action"));
    EXPECT_EQ(queryOf(opened()).count("onlyLoginFlow"), 0u);
}

TEST_F(SignInTest, AFailedPostKeepsTheChallengeAndOpensNothing) {
    showWindow();
    tp.http().clearRules();
    tp.http().answer("/login-challenge", 400, R"({"statusCode":400,"message":["no"]})");
    client().payBtnTap(false, false);
    client().autoLogIn("article-1", "client-1", "token", {}, {}, parent, host);
    tp.runPending();
    EXPECT_EQ(tp.countPrinted("someThingWentWrong"), 2u);
    EXPECT_FALSE(toastText()) << "a refused challenge is only printed";
    EXPECT_TRUE(Constants::loginChallenge());
    EXPECT_FALSE(client().webVC);

    tp.clearLines();
    tp.http().clearRules();  // unanswered: a transport error, which ends silently
    client().payBtnTap(false, false);
    tp.runPending();
    EXPECT_FALSE(tp.printed("someThingWentWrong"));
    EXPECT_FALSE(client().webVC);

    tp.reachability().set(false);
    client().payBtnTap(false, false);
    EXPECT_TRUE(tp.printed("No internet Connection"));
}

// ---- The web flow screen -------------------------------------------------------------------

TEST_F(SignInTest, OpenWebFlowKeepsOneScreenAndPresentsItOnTheVisibleController) {
    // No key window, then one whose controller shows nothing: made and filled, not shown.
    client().openWebFlow("http://127.0.0.1:3000/overlay", false);
    ASSERT_TRUE(screen());
    EXPECT_FALSE(screen()->presentingViewController());
    ui::Application::shared().showWindow(ui::ViewController::create<ui::NavigationController>());
    client().openWebFlow("http://127.0.0.1:3000/overlay", false);
    EXPECT_FALSE(screen()->presentingViewController());

    auto root = showWindow();
    auto shown = ui::ViewController::create<ui::ViewController>();
    root->present(shown, false);
    client().screenType = ScreenType::paywallScreen;

    client().openWebFlow("http://127.0.0.1:3000/overlay?a=1", true);
    auto first = screen();
    EXPECT_EQ(first->actualURL, "http://127.0.0.1:3000/overlay?a=1");
    EXPECT_EQ(first->contentID, "article-1");
    EXPECT_EQ(first->clientID, "client-1");
    EXPECT_EQ(first->screenType, ScreenType::paywallScreen);
    EXPECT_EQ(first->tierId, "") << "the client has no tier";
    EXPECT_TRUE(first->isAutoLogin);
    EXPECT_EQ(first->presentingViewController(), shown);
    EXPECT_TRUE(tp.printedContaining("http://127.0.0.1:3000/overlay?a=1"));

    first->dismiss(false);
    client().openWebFlow("http://127.0.0.1:3000/subscription?b=2", false);
    EXPECT_EQ(screen(), first);
    EXPECT_EQ(first->actualURL, "http://127.0.0.1:3000/subscription?b=2");
    EXPECT_FALSE(first->isAutoLogin);
    EXPECT_EQ(first->presentingViewController(), shown);
}

// ---- Only-login and auto login -----------------------------------------------------------

TEST_F(SignInTest, OnlyLoginFlowOpensItsPageWithoutAChallenge) {
    client().onlyLoginFlow(" ", parent);
    EXPECT_EQ(client().clientID, "client-1");
    client().onlyLoginFlow("client-2", nullptr);
    EXPECT_EQ(client().clientID, "client-2");
    EXPECT_FALSE(client().webVC);

    client().onlyLoginFlow("client-3", parent);
    EXPECT_EQ(client().parentView, parent);
    EXPECT_EQ(pathOf(opened()), kWebBase + "orvelant-login");
    EXPECT_EQ(queryOf(opened()),
              queryOf("?clientId=client-3&anonId=anon-1&mobileView=true&onlyLoginFlow=true"));
    EXPECT_FALSE(screen()->isAutoLogin);
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_FALSE(Constants::loginChallenge());
}

TEST_F(SignInTest, AutoLogInEncodesTheEmailFirstAndOpensItsPageAfterTheChallenge) {
    const std::vector<std::pair<std::optional<std::string>, std::string>> cases = {
        {std::nullopt, ""},
        {"a", "YQ=="},
        {"ab", "YWI="},
        {"abc", "YWJj"},
        {"\xC3\xBC@q.test", "w7xAcS50ZXN0"},
    };
    for (const auto& [email, encoded] : cases) {
        client().autoLogIn("", "client-9", "token", email, std::nullopt, parent, host);
        EXPECT_TRUE(tp.printed("encodedEmail::" + encoded)) << encoded;
    }
    EXPECT_EQ(client().clientID, "client-9");
    EXPECT_EQ(client().autoLogInDelegate.lock(), host);
    EXPECT_EQ(tp.http().requestCount(), 0u) << "no article: nothing sent";
    EXPECT_FALSE(Constants::loginChallenge());

    // With an article the page opens once the challenge is accepted.
    client().autoLogIn("article-2", "client-2", "token-reader", "reader@quillgate.test",
                       "9876543210", parent, host);
    const auto posts = tp.http().requestsTo("/login-challenge");
    ASSERT_EQ(posts.size(), 1u);
    EXPECT_EQ(json::parse(*posts[0].body)["redirectTo"], "orvelant://home?id=article-2");
    tp.runPending();

    EXPECT_EQ(pathOf(opened()), kWebBase + "auto-login-user");
    EXPECT_EQ(queryOf(opened()),
              queryOf("?id=token-reader&clientId=client-2&email=cmVhZGVyQHF1aWxsZ2F0ZS50ZXN0"
                      "&phone=9876543210&loginChallengeId=" +
                      *Constants::loginChallenge()));
    EXPECT_TRUE(screen()->isAutoLogin);
    EXPECT_EQ(screen()->contentID, "article-2");

    client().autoLogIn("article-2", "client-2", "token-reader", "", std::nullopt, parent, host);
    tp.runPending();
    const Query query = queryOf(opened());
    EXPECT_EQ(query.count("email") + query.count("phone"), 0u);
    EXPECT_EQ(query.at("loginChallengeId"), *Constants::loginChallenge());
    EXPECT_TRUE(host->calls.empty()) << "the result comes from the page";
}

// ---- Relaunch ------------------------------------------------------------------------------

TEST_F(SignInTest, RelaunchRestartsTheFlowHalfASecondLaterForItsOwnAddressesOnly) {
    client().completionHandlerDelegate = host;
    client().screenType = ScreenType::paywallScreen;
    const std::string restarted = "trackstartProcess()::handleUserJourney";

    client().handleRelaunchApp("https://news.test/home?id=article-1");
    tp.advance(2);
    EXPECT_FALSE(tp.printed(restarted));

    client().handleRelaunchApp("orvelant://home?id=article-1");
    tp.advance(0.4);
    EXPECT_FALSE(tp.printed(restarted));
    tp.advance(0.1);
    EXPECT_EQ(tp.countPrinted(restarted), 1u);

    // The word anywhere in the address will do; the id in it isn't read.
    client().handleRelaunchApp("https://x.test/?next=orvelant");
    tp.advance(0.5);
    EXPECT_EQ(tp.countPrinted(restarted), 2u);
    EXPECT_EQ(client().contentID, "article-1");
}

// ---- User details ---------------------------------------------------------------------------

TEST_F(SignInTest, UserDetailHandsOnlyTheRawBodyOfASuccessToTheHost) {
    Constants::setSessionID("s-1");
    const std::string body = "{ \"name\": \"Reader\",\n  \"existingSubscriber\": true }";
    tp.http().answer("/user/", 200, R"({"name": 5})", "", true);
    tp.http().answer("/user/", 404, R"({"statusCode":404})", "", true);
    tp.http().answer("/user/", 200, body, "", true);
    for (int i = 0; i < 3; ++i) {
        client().getUserDetail(host);
        tp.runPending();
    }
    EXPECT_EQ(tp.http().requestsTo("/user/").back().url, kApiBase + "/user/s-1?clientId=client-1");
    EXPECT_TRUE(tp.printedContaining("Type mismatch error: "));
    EXPECT_TRUE(tp.printed("wrongClientOrContentID"));
    EXPECT_EQ(host->calls, std::vector<std::string>{"success(userDetails: " + body + ")"});

    // No article, or a host that has gone: no request.
    client().contentID = " ";
    client().getUserDetail(host);
    client().contentID = "article-1";
    client().getUserDetail(nullptr);
    EXPECT_EQ(sent("/user/"), 3u);
}

// ---- Logout ---------------------------------------------------------------------------------

class LogoutTest : public SignInTest {
  protected:
    LogoutTest() {
        showWindow();
        tp.defaults().setObject("ping-1", Constants::pingIDKey);
        client().setClientUserId("host-user");
        Constants::userID() = "user-1";
        Constants::setLoginChallenge("challenge-1");
    }

    // Everything but the anonymous and ping identities is gone.
    void expectWiped() {
        EXPECT_EQ(tp.defaults().string(Constants::anonymousIDKey), "anon-1");
        EXPECT_EQ(tp.defaults().string(Constants::pingIDKey), "ping-1");
        EXPECT_EQ(tp.defaults().string(Constants::clientUserIdKey), "");
        EXPECT_FALSE(tp.defaults().object(Constants::sessionIDKey));
        EXPECT_FALSE(tp.defaults().object(Constants::loginChallengeKey));
        EXPECT_EQ(Constants::userID(), "");
        EXPECT_EQ(Constants::clientUserId(), "");
    }
};

TEST_F(LogoutTest, EveryAnswerWipesTheSessionAndTheToastTellsTheOutcome) {
    // Without a session nothing is sent: the device is wiped and told so.
    client().getlogout(host);
    EXPECT_TRUE(tp.printed("logout................"));
    EXPECT_EQ(toastText(), "You are not logged in");
    EXPECT_EQ(tp.http().requestCount(), 0u);
    expectWiped();
    EXPECT_EQ(client().logoutBtnDelegate.lock(), host);

    struct Case {
        long status;
        std::string body;
        std::string toast;
        std::string printed;
    };
    const std::vector<Case> cases = {
        {200, R"({"message":"Bye now"})", "Bye now", "Constants.sessionID  nil"},
        {201, "{}", "You have been successfully logged out!", "Constants.userID  "},
        {400, R"({"statusCode":400,"message":["Bad session"]})", "Unable to logout", ""},
        {404, R"({"statusCode":404})", "Unable to logout", "wrongClientOrContentID"},
        {500, "oops", "Unable to logout", "someThingWentWrong"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.status);
        Constants::setSessionID("s-1");
        Constants::userID() = "user-1";
        tp.http().clearRules();
        tp.http().answer("/auth/logout-via-sessionid", c.status, c.body, "post");
        tp.clearLines();

        client().getlogout(host);
        const auto sent = tp.http().requests().back();
        EXPECT_EQ(sent.url, kApiBase + "/auth/logout-via-sessionid?sessionId=s-1");
        EXPECT_EQ(json::parse(*sent.body), (json{{"sessionId", "s-1"}}));
        EXPECT_EQ(Constants::sessionID(), "s-1") << "nothing is wiped before the answer";
        tp.runPending();

        EXPECT_EQ(toastText(), c.toast);
        if (!c.printed.empty()) {
            EXPECT_TRUE(tp.printed(c.printed));
        }
        EXPECT_FALSE(tp.printed("decodingError"));
        expectWiped();
    }
    EXPECT_TRUE(host->calls.empty()) << "the logout delegate is never called";

    // Without an answer (a transport error, no body) the session stays.
    Toast::shared().toastView.reset();
    Constants::setSessionID("s-2");
    tp.http().clearRules();
    client().getlogout(host);
    tp.runPending();
    EXPECT_EQ(Constants::sessionID(), "s-2");
    EXPECT_FALSE(toastText());
}

}  // namespace
}  // namespace quillgate

// The web flow screen: its page loads, the endings a page can reach (script messages, the
// two agreed addresses, the back button), failed navigations and the scene.

#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/RefreshControl.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/Window.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using Lines = std::vector<std::string>;

const std::string kPage = "http://127.0.0.1:3000/overlay?clientId=client-1";
const std::string kSite = "https://site.quillgate.invalid";
const std::string kHome = "orvelant://home?id=article-1";

class WebFlowScreenTest : public testing::ClientTest {
  protected:
    WebFlowScreenTest() {
        auto& c = client();
        c.contentID = "article-1";
        c.parentView = parent;
        c.screenType = ScreenType::paywallScreen;
        c.completionHandlerDelegate = host;
        c.debugMode = true;
        ui::Application::shared().showWindow(root);
        tp.http().answer("/overlay", 200,
                         "<title>Overlay</title><a id=choice-read href=/overlay/choose>Buy</a>");
    }

    // Opens the flow on `address` and lets the page load.
    std::shared_ptr<WebViewController> open(const std::string& address = kPage,
                                            bool isAutoLogin = false) {
        client().openWebFlow(address, isAutoLogin);
        settle();
        return screen();
    }
    std::shared_ptr<WebViewController> screen() {
        return std::dynamic_pointer_cast<WebViewController>(client().webVC);
    }
    std::shared_ptr<ui::HeadlessWebView> page() {
        return std::dynamic_pointer_cast<ui::HeadlessWebView>(screen()->webView);
    }
    bool shown() { return screen() && screen()->presentingViewController() != nullptr; }
    std::size_t exits() {
        std::size_t n = 0;
        for (const auto& r : tp.http().requestsTo("/collect")) {
            n += r.body && r.body->find("\"EXIT\"") != std::string::npos ? 1 : 0;
        }
        return n;
    }
    std::optional<std::string> toastText() {
        const auto& box = Toast::shared().toastView;
        auto label = box && !box->subviews().empty()
                         ? std::dynamic_pointer_cast<ui::Label>(box->subviews().front())
                         : nullptr;
        return label ? std::optional(label->text()) : std::nullopt;
    }
    // Whether the access flow runs again half a second after the ending.
    bool relaunched() {
        const auto before = sent("/journey");
        tp.advance(0.6);
        return sent("/journey") > before;
    }

    std::shared_ptr<ui::ViewController> root = ui::ViewController::create<ui::ViewController>();
};

TEST_F(WebFlowScreenTest, FirstShowingLoadsThePageTwiceAndTheCancelledLoadShowsNothing) {
    Constants::setSessionID("s1");  // with a session, a failure would show "Page Not Found"
    client().openWebFlow(kPage, false);
    auto s = screen();
    ASSERT_TRUE(s && shown());
    EXPECT_TRUE(s->activityIndicator->isAnimating());
    settle();
    EXPECT_FALSE(s->activityIndicator->isAnimating());
    EXPECT_TRUE(s->activityIndicator->isHidden());

    EXPECT_TRUE(tp.printed("loading url: " + kPage));
    EXPECT_TRUE(tp.printed("url: " + kPage));
    // The first load is asked before the screen becomes the delegate; the second cancels it,
    // and the screen shows nothing for the cancellation.
    EXPECT_EQ(tp.countPrinted("decidePolicyFor - url: " + kPage), 1u);
    EXPECT_EQ(page()->loadedRequests().size(), 2u);
    EXPECT_EQ(page()->loadedRequests()[0].timeoutSeconds, 60);
    EXPECT_EQ(page()->title(), "Overlay");
    EXPECT_TRUE(tp.printed("didFinish - webView.url: Optional(" + kPage + ")"));
    EXPECT_EQ(page()->loads().size(), 2u) << "the cancelled first load showed no error page";
    EXPECT_EQ(exits(), 1u);
    EXPECT_EQ(s->webView->userContentController().handlerNames(),
              (Lines{"loginSuccess", "googleLoginHandler"}));
    EXPECT_EQ(s->overrideUserInterfaceStyle(), ui::UserInterfaceStyle::light);

    // The scene is laid out from the window's bounds and safe area.
    const auto safe = ui::Application::shared().safeAreaInsets();
    EXPECT_EQ(s->btnBack->frame().origin.y, safe.top);
    EXPECT_EQ(s->containerView->frame().maxY(), s->view()->bounds().size.height - safe.bottom);
    EXPECT_EQ(s->webView->frame().size, s->containerView->frame().size);

    // Pull to refresh: the control stops refreshing and the page is asked again.
    const auto& refresh = s->webView->scrollView()->refreshControl();
    ASSERT_TRUE(refresh && refresh->pullToRefresh());
    EXPECT_FALSE(refresh->isRefreshing());
    EXPECT_EQ(page()->loads().back().kind, ui::HeadlessWebView::LoadRecord::Kind::reload);
}

TEST_F(WebFlowScreenTest, AFailedLoadShowsPageNotFoundOnlyWithTheSessionAndArticle) {
    const std::string refused = "http://127.0.0.1:3000/refused";  // unscripted: refused
    open(refused);
    EXPECT_EQ(page()->loads().back().kind, ui::HeadlessWebView::LoadRecord::Kind::request)
        << "no session: nothing shown";

    Constants::setSessionID("s1");
    client().clientID = "client-1";
    screen()->dismiss(false);
    settle();
    open(refused);
    const auto& last = page()->loads().back();
    EXPECT_EQ(last.html, "Page Not Found");
    EXPECT_EQ(last.baseUrl, "https://mock.quillgate.invalid/article-1/client-1?_ovl-sessionId=s1");
    EXPECT_EQ(page()->html(), "Page Not Found");
}

TEST_F(WebFlowScreenTest, OnlyTheExactTierAndHomeAddressesEndTheFlow) {
    struct Case {
        std::optional<std::string> tier;
        std::string address;
        std::string ending;  // "", "tier" or "home"
    };
    const std::vector<Case> cases = {
        {"t1", kSite + "/?ovl-tierId=t1", "tier"}, {"t1", kHome, "home"},
        {"", kSite + "/?ovl-tierId=", "tier"},     {"t1", kSite + "/?ovl-tierId=T1", ""},
        {"t1", kSite + "/?ovl-tierId=t1&x=1", ""}, {"t1", "orvelant://home?id=ARTICLE-1", ""},
        {"t1", kHome + "&from=page", ""},          {std::nullopt, kHome, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.address);
        tp.clearLines();
        client().tierId = c.tier;
        auto s = open();
        s->tierId = c.tier;  // the client hands over its own, empty when absent
        const auto exitsBefore = exits();
        page()->navigateTo(c.address, ui::NavigationType::linkActivated);
        settle();
        EXPECT_TRUE(tp.printed("decidePolicyFor - url: " + c.address));
        EXPECT_EQ(tp.printed("success-ovl-tierId..."), c.ending == "tier");
        EXPECT_EQ(tp.printed("success-home..."), c.ending == "home");
        EXPECT_EQ(shown(), c.ending.empty());
        EXPECT_EQ(exits(), exitsBefore + (c.ending.empty() ? 0 : 1));
        EXPECT_EQ(relaunched(), c.ending == "home") << "only home relaunches";
        if (shown()) {
            s->dismiss(false);
            settle();
        }
    }
}

TEST_F(WebFlowScreenTest, TheBackButtonLeavesAndRelaunches) {
    auto s = open();
    const auto before = exits();
    ASSERT_TRUE(s->btnBack->tap());
    settle();
    EXPECT_FALSE(shown());
    EXPECT_EQ(exits(), before + 1);
    EXPECT_TRUE(relaunched());
}

TEST_F(WebFlowScreenTest, LogInMessagesEndTheFlowBySessionId) {
    struct Case {
        std::string body;
        bool withDelegate;
        bool debug;
        Lines calls;
        std::optional<std::string> toast;
        std::optional<std::string> session;
        std::string user;
    };
    const std::vector<Case> cases = {
        {R"({"sessionId":"s9","userId":"u9","status":true})",
         true,
         true,
         {"autoLogInsuccess()"},
         std::nullopt,
         "s9",
         "u9"},
        {R"({"sessionId":"s8"})", false, true, {}, std::nullopt, "s8", "before"},
        {R"({"userId":"u7","message":"no"})",
         true,
         true,
         {"autoLogInfailure()"},
         std::nullopt,
         std::nullopt,
         "u7"},
        {R"({"userId":5})", false, true, {}, "Unable to Login", std::nullopt, "before"},
        {"not json", false, false, {}, std::nullopt, std::nullopt, "before"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        Constants::setSessionID(std::nullopt);
        Constants::userID() = "before";
        Toast::shared().toastView.reset();
        host->calls.clear();
        client().debugMode = c.debug;
        client().autoLogInDelegate = c.withDelegate ? host : nullptr;
        open();
        const auto exitsBefore = exits();
        ASSERT_TRUE(page()->postScriptMessage("loginSuccess", c.body));
        // The exit event goes out before the dismissal ends and the host hears of it.
        EXPECT_EQ(exits(), exitsBefore + 1);
        EXPECT_TRUE(host->calls.empty());
        settle();
        EXPECT_FALSE(shown());
        Lines heard;
        for (const auto& call : host->calls) {
            if (call.rfind("autoLogIn", 0) == 0) {
                heard.push_back(call);
            }
        }
        EXPECT_EQ(heard, c.calls);
        EXPECT_EQ(toastText(), c.toast);
        EXPECT_EQ(Constants::sessionID(), c.session);
        EXPECT_EQ(Constants::userID(), c.user);
        EXPECT_EQ(relaunched(), c.session.has_value());
    }
}

TEST_F(WebFlowScreenTest, MessageHandlersByNameAndTheFirstFlowsMode) {
    auto s = open(kPage, true);
    EXPECT_EQ(s->webView->userContentController().handlerNames(),
              (Lines{"autoLoginHandler", "loginSuccess", "googleLoginHandler"}));
    EXPECT_FALSE(page()->postScriptMessage("callbackHandler", "x")) << "not registered";
    ASSERT_TRUE(page()->postScriptMessage("googleLoginHandler", "{}"));
    EXPECT_TRUE(tp.printed("message received::googleLoginHandler"));
    EXPECT_TRUE(shown()) << "accepted and ignored";

    // The kept screen handles "callbackHandler" by logging it, should it ever be registered.
    s->didReceiveScriptMessage(ui::ScriptMessage{"callbackHandler", "hello"});
    EXPECT_TRUE(tp.printed("callbackHandler hello"));
    EXPECT_TRUE(shown());
}

TEST_F(WebFlowScreenTest, ANonTextLogInBodyIsFatal) {
    auto s = open();
    EXPECT_DEATH(page()->postScriptMessage("loginSuccess", nlohmann::json{{"sessionId", "s"}}),
                 "Could not cast value of type '__NSDictionaryM' to 'NSString'");
}

}  // namespace
}  // namespace quillgate

// The headless web view: navigations through the delegate, redirects, cancellations,
// script messages, the user agent.

#include "quillgate/ui/WebView.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

// Records every callback; refuses addresses that start with "deny:"; can hold decisions.
class Recorder : public NavigationDelegate {
  public:
    void decidePolicyForNavigationAction(WebView&, const NavigationAction& action,
                                         DecisionHandler handler) override {
        events.push_back(std::string(action.isRedirect ? "redirect " : "decide ") +
                         action.request.url);
        if (holdDecisions) {
            held = std::move(handler);
            return;
        }
        handler(action.request.url.rfind("deny:", 0) == 0 ? NavigationActionPolicy::cancel
                                                          : NavigationActionPolicy::allow);
    }
    void didStartProvisionalNavigation(WebView& web, const Navigation&) override {
        events.push_back("start " + web.url().value_or(""));
    }
    void didReceiveServerRedirect(WebView& web, const Navigation&) override {
        events.push_back("redirected " + web.url().value_or(""));
    }
    void didFinishNavigation(WebView& web, const Navigation&) override {
        events.push_back("finish " + web.url().value_or(""));
    }
    void didFailProvisionalNavigation(WebView&, const Navigation&, const WebError& e) override {
        events.push_back("fail provisional " + std::to_string(e.code));
    }
    void didFailNavigation(WebView&, const Navigation&, const WebError& e) override {
        events.push_back("fail " + std::to_string(e.code));
    }

    Lines events;
    bool holdDecisions = false;
    DecisionHandler held;
};

class WebViewTest : public UiTest {
  protected:
    void SetUp() override { web->setNavigationDelegate(delegate); }
    Lines take() { return std::exchange(delegate->events, {}); }
    static platform::HttpRequest get(std::string url) {
        platform::HttpRequest r;
        r.url = std::move(url);
        return r;
    }

    std::shared_ptr<HeadlessWebView> web = std::make_shared<HeadlessWebView>();
    std::shared_ptr<Recorder> delegate = std::make_shared<Recorder>();
};

TEST_F(WebViewTest, LoadsGoThroughTheDelegateAndFinishOnTheMainQueue) {
    std::vector<bool> loading;
    int owner = 0;
    web->addObserver(&owner, "loading", [&](const KeyValueChange& c) {
        loading.push_back(std::any_cast<bool>(c.newValue));
    });

    ASSERT_TRUE(web->load(get("http://127.0.0.1:1/overlay")));
    EXPECT_TRUE(web->isLoading());
    EXPECT_EQ(take(),
              (Lines{"decide http://127.0.0.1:1/overlay", "start http://127.0.0.1:1/overlay"}));
    platform.runPending();
    EXPECT_FALSE(web->isLoading());
    EXPECT_EQ(take(), (Lines{"finish http://127.0.0.1:1/overlay"}));
    EXPECT_EQ(loading, (std::vector<bool>{true, false}));
    ASSERT_EQ(web->loadedRequests().size(), 1u);
    EXPECT_EQ(web->loadedRequests()[0].url, "http://127.0.0.1:1/overlay");

    // A load replacing one under way cancels it.
    web->load(get("http://127.0.0.1:1/a"));
    web->load(get("http://127.0.0.1:1/a"));
    platform.runPending();
    EXPECT_EQ(take(), (Lines{"decide http://127.0.0.1:1/a", "start http://127.0.0.1:1/a",
                             "decide http://127.0.0.1:1/a", "fail provisional -999",
                             "start http://127.0.0.1:1/a", "finish http://127.0.0.1:1/a"}));
}

TEST_F(WebViewTest, ThePageNavigatesRedirectsAndFails) {
    web->setAutoFinish(false);
    EXPECT_EQ(web->simulateNavigation("orvelant://home?id=c1"), NavigationActionPolicy::allow);
    EXPECT_EQ(web->simulateNavigation("deny:somewhere"), NavigationActionPolicy::cancel);
    EXPECT_EQ(web->url(), "orvelant://home?id=c1");
    EXPECT_EQ(web->simulateRedirect("http://127.0.0.1:1/next"), NavigationActionPolicy::allow);
    EXPECT_EQ(web->simulateRedirect("deny:next"), NavigationActionPolicy::cancel);
    EXPECT_FALSE(web->isLoading());
    EXPECT_EQ(take(), (Lines{"decide orvelant://home?id=c1", "start orvelant://home?id=c1",
                             "decide deny:somewhere", "redirect http://127.0.0.1:1/next",
                             "redirected http://127.0.0.1:1/next", "redirect deny:next",
                             "fail provisional 102"}));

    web->load(get("http://127.0.0.1:1/page"));
    take();
    EXPECT_TRUE(web->failNavigation(WebError{-1004, "NSURLErrorDomain", "refused"}));
    web->loadHTMLString("Page Not Found", std::nullopt);
    EXPECT_EQ(take(), (Lines{"fail -1004", "decide about:blank", "start about:blank"}));
    EXPECT_EQ(web->loads().back().html, "Page Not Found");

    EXPECT_TRUE(web->reload());
    EXPECT_EQ(web->loads().back().kind, HeadlessWebView::LoadRecord::Kind::reload);
}

TEST_F(WebViewTest, DecisionsMayComeLater) {
    delegate->holdDecisions = true;
    EXPECT_EQ(web->load(get("http://127.0.0.1:1/late")), std::nullopt);
    EXPECT_FALSE(web->isLoading());
    delegate->held(NavigationActionPolicy::allow);
    EXPECT_TRUE(web->isLoading());
    delegate->held(NavigationActionPolicy::allow);  // a second answer changes nothing
    EXPECT_EQ(take(), (Lines{"decide http://127.0.0.1:1/late", "start http://127.0.0.1:1/late"}));
}

TEST_F(WebViewTest, ScriptMessagesReachTheHandlerOfTheirName) {
    std::vector<nlohmann::json> bodies;
    web->addScriptMessageHandler("loginSuccess",
                                 [&](const ScriptMessage& m) { bodies.push_back(m.body); });
    web->addScriptMessageHandler("loginSuccess", [&](const ScriptMessage&) { FAIL(); });
    EXPECT_TRUE(platform.printed(
        "Attempt to add script message handler with name 'loginSuccess' when one already "
        "exists."));

    EXPECT_TRUE(web->postScriptMessage("loginSuccess", "{\"sessionId\":\"s1\"}"));
    EXPECT_TRUE(web->postScriptMessage("loginSuccess", 42));
    EXPECT_FALSE(web->postScriptMessage("callbackHandler", "x"));
    ASSERT_EQ(bodies.size(), 2u);
    EXPECT_TRUE(bodies[0].is_string());
    EXPECT_TRUE(bodies[1].is_number());
}

TEST_F(WebViewTest, UserAgentComesFromTheDeviceFacts) {
    const std::string prefix =
        "Mozilla/5.0 (Linux; Linux 6.1.0; x86_64) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Quillgate/";
    const auto agent = web->userAgent().value_or("");
    EXPECT_EQ(agent.substr(0, prefix.size()), prefix);
    EXPECT_GT(agent.size(), prefix.size());
    web->setCustomUserAgent("Custom/1.0");
    EXPECT_EQ(web->userAgent(), "Custom/1.0");

    WebView::setFactory([] {
        auto w = std::make_shared<HeadlessWebView>();
        w->setCustomUserAgent("Made/1.0");
        return w;
    });
    EXPECT_EQ(WebView::make()->userAgent(), "Made/1.0");
    WebView::setFactory(nullptr);
    EXPECT_EQ(WebView::make()->className(), "HeadlessWebView");
}

}  // namespace
}  // namespace quillgate::ui

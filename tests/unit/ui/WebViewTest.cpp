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
    // The scripted session answers `url` with a redirect to `location`.
    void redirect(const std::string& url, const std::string& location, long status = 302) {
        platform::HttpResult result;
        result.body = "";
        result.response = platform::HttpResponse{status, {{"location", location}}, {}};
        platform.http().addRule({"", url, result, false});
    }

    std::shared_ptr<HeadlessWebView> web = std::make_shared<HeadlessWebView>();
    std::shared_ptr<Recorder> delegate = std::make_shared<Recorder>();
};

const char* const kPage = R"(<!doctype html><title> The  page </title>
<a id="read" href="/overlay/choose?choice=read&amp;x=1">Buy this
   story</a>
<a href="orvelant://home?id=c1">Home</a>
<form action="/sub" method="get"><input name="email" value="a@b.test">
  <input type="checkbox" name="trial" checked><input type="checkbox" name="no">
  <button name="tier" value="t1">Monthly</button></form>
<form action="post-here" method="POST"><textarea name="note">hi there</textarea>
  <input type="submit" value="Send"></form>
<button id="loose">Loose</button>)";

TEST_F(WebViewTest, LoadsThePageThroughTheSessionAndKeepsItsDocument) {
    std::vector<bool> loading;
    int owner = 0;
    web->addObserver(&owner, "loading", [&](const KeyValueChange& c) {
        loading.push_back(std::any_cast<bool>(c.newValue));
    });
    platform.http().answer("/overlay", 200, kPage);

    ASSERT_TRUE(web->load(get("http://127.0.0.1:1/overlay?a=1")));
    EXPECT_TRUE(web->isLoading());
    EXPECT_EQ(take(), (Lines{"decide http://127.0.0.1:1/overlay?a=1",
                             "start http://127.0.0.1:1/overlay?a=1"}));
    const auto sent = platform.http().requests().at(0);
    EXPECT_FALSE(sent.followRedirects);
    EXPECT_EQ(sent.timeoutSeconds, 60);
    EXPECT_EQ(sent.header("User-Agent"), web->userAgent());
    platform.runPending();
    EXPECT_FALSE(web->isLoading());
    EXPECT_EQ(take(), (Lines{"finish http://127.0.0.1:1/overlay?a=1"}));
    EXPECT_EQ(loading, (std::vector<bool>{true, false}));
    EXPECT_EQ(web->title(), "The page");
    EXPECT_EQ(web->statusCode(), 200);

    // The page as a reader sees it: links resolved against the page, buttons by text.
    const auto links = web->links();
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[0].text, "Buy this story");
    EXPECT_EQ(links[0].href, "http://127.0.0.1:1/overlay/choose?choice=read&x=1");
    EXPECT_EQ(links[1].href, "orvelant://home?id=c1");
    Lines buttons;
    for (const auto& b : web->buttons()) {
        buttons.push_back(b.text);
    }
    EXPECT_EQ(buttons, (Lines{"Monthly", "Send", "Loose"}));
    EXPECT_EQ(web->control("read")->text, "Buy this story");
    EXPECT_EQ(web->control("Loose")->id, "loose");
    EXPECT_FALSE(web->control("Nothing"));
}

TEST_F(WebViewTest, RedirectsAreDecidedOneByOneAndTheAppSchemeEndsInAFailure) {
    redirect("/first", "/second?b=2");
    redirect("/second", "orvelant://home?id=c1");
    web->load(get("http://127.0.0.1:1/first"));
    platform.runPending();
    EXPECT_EQ(take(),
              (Lines{"decide http://127.0.0.1:1/first", "start http://127.0.0.1:1/first",
                     "redirect http://127.0.0.1:1/second?b=2",
                     "redirected http://127.0.0.1:1/second?b=2", "redirect orvelant://home?id=c1",
                     "redirected orvelant://home?id=c1", "fail provisional -1002"}));
    EXPECT_FALSE(web->isLoading());
    EXPECT_EQ(platform.http().requestCount(), 2u) << "the app's address is never requested";

    // A refused redirect interrupts the load; a loop of redirects ends.
    redirect("/refuse", "deny://there");
    web->load(get("http://127.0.0.1:1/refuse"));
    platform.runPending();
    EXPECT_EQ(take().back(), "fail provisional 102");
    redirect("/loop", "/loop");
    web->load(get("http://127.0.0.1:1/loop"));
    platform.runPending();
    EXPECT_EQ(take().back(), "fail provisional -1007");
}

TEST_F(WebViewTest, TransportErrorsFailErrorStatusesArePagesAndNewerLoadsCancel) {
    web->load(get("http://127.0.0.1:1/refused"));  // unscripted: a refused connection
    platform.runPending();
    EXPECT_EQ(take().back(), "fail provisional 7");

    platform.http().answer("/missing", 404, "<title>Not here</title>");
    web->load(get("http://127.0.0.1:1/missing"));
    platform.runPending();
    EXPECT_EQ(take().back(), "finish http://127.0.0.1:1/missing");
    EXPECT_EQ(web->statusCode(), 404);

    // A load replacing one under way cancels it, and the older answer is dropped.
    platform.http().answer("/a", 200, "<title>A</title>");
    platform.http().answer("/b", 200, "<title>B</title>");
    web->load(get("http://127.0.0.1:1/a"));
    web->load(get("http://127.0.0.1:1/b"));
    platform.runPending();
    EXPECT_EQ(take(), (Lines{"decide http://127.0.0.1:1/a", "start http://127.0.0.1:1/a",
                             "decide http://127.0.0.1:1/b", "fail provisional -999",
                             "start http://127.0.0.1:1/b", "finish http://127.0.0.1:1/b"}));
    EXPECT_EQ(web->title(), "B");

    // An HTML text commits without the network; a reload loads it again.
    web->loadHTMLString("<title>Page Not Found</title>", std::nullopt);
    platform.runPending();
    EXPECT_EQ(take(), (Lines{"decide about:blank", "start about:blank", "finish about:blank"}));
    EXPECT_EQ(web->html(), "<title>Page Not Found</title>");
    EXPECT_TRUE(web->reload());
    EXPECT_EQ(web->loads().back().kind, HeadlessWebView::LoadRecord::Kind::reload);
    platform.runPending();
    EXPECT_EQ(web->title(), "Page Not Found");
}

TEST_F(WebViewTest, TheHostActsAsThePage) {
    platform.http().answer("/page", 200, kPage);
    platform.http().answer("/overlay/choose", 200, "<title>Chosen</title>");
    platform.http().answer("/sub", 200, "<title>Sub</title>");
    platform.http().answer("/post-here", 200, "<title>Posted</title>");
    const auto open = [&] {
        web->load(get("http://127.0.0.1:1/dir/page"));
        platform.runPending();
        take();
    };
    open();
    ASSERT_TRUE(web->followLink(*web->control("Buy this story")));
    platform.runPending();
    EXPECT_EQ(web->title(), "Chosen");
    EXPECT_EQ(take().front(), "decide http://127.0.0.1:1/overlay/choose?choice=read&x=1");

    open();
    ASSERT_TRUE(web->press(*web->control("Monthly")));
    EXPECT_EQ(take().front(), "decide http://127.0.0.1:1/sub?email=a@b.test&trial=on&tier=t1");

    open();
    ASSERT_TRUE(web->press(*web->control("Send")));
    platform.runPending();
    const auto posted = platform.http().requestsTo("/post-here").at(0);
    EXPECT_EQ(posted.url, "http://127.0.0.1:1/dir/post-here");
    EXPECT_EQ(posted.method, "POST");
    EXPECT_EQ(posted.body, "note=hi%20there");
    EXPECT_FALSE(web->press(*web->control("Loose"))) << "a button outside a form does nothing";

    std::optional<platform::HttpResult> fetched;
    web->fetch("/overlay/choose?respond=json", [&](platform::HttpResult r) { fetched = r; });
    platform.runPending();
    ASSERT_TRUE(fetched && fetched->body);
    EXPECT_EQ(*fetched->body, "<title>Chosen</title>");
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

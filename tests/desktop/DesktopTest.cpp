// The desktop backend in a real toolkit window and a real web engine (run under Xvfb): the
// window draws the tree and redraws after a change, pointer and keys become touches and
// typing, the engine's navigations, failures and script messages reach the web view's
// delegate and handlers in the interface's terms.

#include "quillgate/platform/linux/desktop/Desktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "quillgate/platform/linux/desktop/DesktopWebView.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/Window.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::desktop {
namespace {

using std::chrono::seconds;

TEST(WebErrorMapping, TheEngineErrorsScreensCompareGetTheirCodes) {
    const struct {
        const char* domain;
        int code;
        long expected;
        const char* why;
    } cases[] = {
        {"WebKitNetworkError", 302, ui::WebError::cancelledCode, "a load replaced by another"},
        {"WebKitPolicyError", 101, ui::WebError::unsupportedURLCode,
         "the app's scheme reached by script"},
        {"", 0, ui::WebError::unsupportedURLCode, "the app's scheme reached by a redirect"},
        {"WebKitNetworkError", 301, ui::WebError::unsupportedURLCode, "an unknown scheme"},
        {"WebKitPolicyError", 102, ui::WebError::frameLoadInterruptedCode, "a refused redirect"},
        {"WebKitNetworkError", 399, 399, "another failure keeps the engine's code"},
        {"g-io-error-quark", 102, 102, "another domain with the same number stays as it is"},
    };
    for (const auto& c : cases) {
        const auto error = webErrorFor(c.domain, c.code, "message");
        EXPECT_EQ(error.code, c.expected) << c.why;
        EXPECT_EQ(error.description, "message") << c.why;
    }
    EXPECT_EQ(webErrorFor("g-io-error-quark", 102, "").domain, "g-io-error-quark");
}

class DesktopTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string error;
        desktop = Desktop::install(error);
        ASSERT_TRUE(desktop) << error;
        window = ui::Application::shared().showWindow();
        root = std::make_shared<ui::View>(window->bounds());
        root->setBackgroundColor(ui::Color::white());
        window->addSubview(root);
    }
    void TearDown() override { desktop.reset(); }

    // Runs the main queue (and with it the toolkit) until `done`, at most `limit`.
    bool runUntil(const std::function<bool()>& done, seconds limit = seconds(20)) {
        return platform.loop().runUntil(done, limit);
    }

    testing::TestPlatform platform;
    std::unique_ptr<Desktop> desktop;
    std::shared_ptr<ui::Window> window;
    std::shared_ptr<ui::View> root;
};

bool near(const platform::Rgba& a, const platform::Rgba& b) {
    const double t = 0.02;
    return std::abs(a.r - b.r) < t && std::abs(a.g - b.g) < t && std::abs(a.b - b.b) < t &&
           std::abs(a.a - b.a) < t;
}

TEST_F(DesktopTest, TheWindowDrawsTheTreeAtItsSizeAndAgainAfterATaskChangesIt) {
    auto box = std::make_shared<ui::View>(ui::Rect(20, 40, 100, 60));
    box->setBackgroundColor(ui::Color{1, 0, 0, 1});
    root->addSubview(box);
    desktop->show(window, "test");

    auto picture = desktop->capture(window);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, static_cast<int>(390 * picture->scale));
    EXPECT_EQ(picture->height, static_cast<int>(844 * picture->scale));
    EXPECT_TRUE(near(picture->pixel(60, 70), {1, 0, 0, 1}));
    EXPECT_TRUE(near(picture->pixel(10, 10), {1, 1, 1, 1}));
    EXPECT_TRUE(near(picture->pixel(125, 70), {1, 1, 1, 1}));

    platform.loop().async([&] { box->setBackgroundColor(ui::Color{0, 0, 1, 1}); });
    platform.loop().runPending();
    picture = desktop->capture(window);
    ASSERT_TRUE(picture);
    EXPECT_TRUE(near(picture->pixel(60, 70), {0, 0, 1, 1}));
}

TEST_F(DesktopTest, PressAndReleaseTapTheViewUnderThePointer) {
    auto button = std::make_shared<ui::Button>(ui::Rect(10, 10, 100, 40));
    auto label = std::make_shared<ui::Label>(ui::Rect(5, 5, 60, 20));  // takes no touches
    button->addSubview(label);
    root->addSubview(button);
    int taps = 0;
    button->addAction([&](ui::Control&) { ++taps; }, ui::ControlEvent::touchUpInside);
    desktop->show(window, "test");

    // A press over the label reaches the button and highlights it; the release taps it.
    desktop->pointerPressed(window, {20, 20});
    platform.runPending();
    EXPECT_TRUE(button->isHighlighted());
    EXPECT_EQ(taps, 0);
    desktop->pointerReleased(window, {100, 45});
    platform.runPending();
    EXPECT_FALSE(button->isHighlighted());
    EXPECT_EQ(taps, 1);

    // Released elsewhere, or taken by the toolkit: let go, no tap.
    desktop->pointerPressed(window, {20, 20});
    desktop->pointerReleased(window, {200, 20});
    desktop->pointerPressed(window, {20, 20});
    desktop->pointerCancelled(window);
    platform.runPending();
    EXPECT_EQ(taps, 1);
    EXPECT_FALSE(button->isHighlighted());

    // A disabled button is not highlighted and not tapped.
    button->setEnabled(false);
    desktop->pointerPressed(window, {20, 20});
    platform.runPending();
    EXPECT_FALSE(button->isHighlighted());
    desktop->pointerReleased(window, {20, 20});
    platform.runPending();
    EXPECT_EQ(taps, 1);
}

TEST_F(DesktopTest, KeysTypeIntoTheFieldBeingEditedOnly) {
    auto field = std::make_shared<ui::TextField>(ui::Rect(10, 100, 200, 40));
    root->addSubview(field);
    int returns = 0;
    field->addAction([&](ui::Control&) { ++returns; }, ui::ControlEvent::editingDidEndOnExit);
    desktop->show(window, "test");

    EXPECT_FALSE(desktop->keyPressed('a')) << "no field is being edited";
    desktop->pointerPressed(window, {20, 110});
    desktop->pointerReleased(window, {20, 110});
    platform.runPending();
    ASSERT_TRUE(field->isFirstResponder());

    for (unsigned key : {unsigned('r'), unsigned('a'), 0xe9u /* e acute */, 0xff08u /* BackSpace */,
                         unsigned('n')}) {
        EXPECT_TRUE(desktop->keyPressed(key));
    }
    EXPECT_FALSE(desktop->keyPressed(0xffe1u)) << "a shift key is no text";
    EXPECT_TRUE(desktop->keyPressed(0xff0du));  // Return
    platform.runPending();
    EXPECT_EQ(field->text(), "ran");
    EXPECT_EQ(returns, 1);
}

// ---- The web engine

// Records what the engine tells the delegate, in order; refuses addresses containing
// `refuse`.
class RecordingDelegate : public ui::NavigationDelegate {
  public:
    std::vector<std::string> events;
    std::vector<ui::NavigationAction> actions;
    std::vector<ui::WebError> failures;
    std::string refuse = "\x01";

    void decidePolicyForNavigationAction(ui::WebView&, const ui::NavigationAction& action,
                                         DecisionHandler decide) override {
        actions.push_back(action);
        events.push_back(std::string(action.isRedirect ? "redirect " : "decide ") +
                         action.request.url);
        decide(action.request.url.find(refuse) == std::string::npos
                   ? ui::NavigationActionPolicy::allow
                   : ui::NavigationActionPolicy::cancel);
    }
    void didStartProvisionalNavigation(ui::WebView&, const ui::Navigation&) override {
        events.push_back("start");
    }
    void didFinishNavigation(ui::WebView& view, const ui::Navigation&) override {
        events.push_back("finish " + view.url().value_or("?"));
    }
    void didFailProvisionalNavigation(ui::WebView&, const ui::Navigation&,
                                      const ui::WebError& error) override {
        failures.push_back(error);
        events.push_back("fail " + std::to_string(error.code));
    }
    void didFailNavigation(ui::WebView&, const ui::Navigation&,
                           const ui::WebError& error) override {
        failures.push_back(error);
        events.push_back("fail after commit " + std::to_string(error.code));
    }
    bool ended() const {
        return !events.empty() &&
               (events.back().starts_with("finish") || events.back().starts_with("fail"));
    }
};

class WebEngineTest : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        server.get("/start", [this](const httplib::Request&, httplib::Response& res) {
            res.set_redirect(server.url("/final"));
        });
        server.get("/final", [](const httplib::Request&, httplib::Response& res) {
            res.set_content("<title>Final</title><p>here</p>", "text/html");
        });
        server.get("/app", [](const httplib::Request&, httplib::Response& res) {
            res.set_redirect("orvelant://home?id=A1");
        });
        server.start();
        view = ui::WebView::make();
        view->setFrame(root->bounds());
        root->addSubview(view);
        view->setNavigationDelegate(delegate);
        desktop->show(window, "test");
    }

    // Loads `path` of the server and waits for the navigation's end.
    void loadAndWait(const std::string& path) {
        delegate->events.clear();
        platform::HttpRequest request;
        request.url = server.url(path);
        view->load(request);
        ASSERT_TRUE(runUntil([&] { return delegate->ended() && !view->isLoading(); })) << path;
    }

    testing::LoopbackServer server;
    std::shared_ptr<ui::WebView> view;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
};

TEST_F(WebEngineTest, TheDesktopWebViewIsMadeOnlyWhileTheBackendIsInstalled) {
    EXPECT_NE(std::dynamic_pointer_cast<DesktopWebView>(view), nullptr);
    EXPECT_NE(view->userAgent().value_or(""), "");
    view->setCustomUserAgent("Reader/1");
    EXPECT_EQ(view->userAgent(), "Reader/1");
    desktop.reset();
    EXPECT_NE(std::dynamic_pointer_cast<ui::HeadlessWebView>(ui::WebView::make()), nullptr);
}

TEST_F(WebEngineTest, RedirectsAreDecidedAsSuchAndTheAppSchemeFailsAsUnsupported) {
    loadAndWait("/start");
    EXPECT_EQ(delegate->events, (std::vector<std::string>{"decide " + server.url("/start"), "start",
                                                          "redirect " + server.url("/final"),
                                                          "finish " + server.url("/final")}));
    EXPECT_TRUE(runUntil([&] { return view->title() == "Final"; }));
    ASSERT_EQ(delegate->actions.size(), 2u);
    EXPECT_EQ(delegate->actions[0].navigationType, ui::NavigationType::other);

    // Allowed, a redirect to the app's own scheme is seen by the delegate and then fails.
    loadAndWait("/app");
    EXPECT_EQ(delegate->events.at(2), "redirect orvelant://home?id=A1");
    EXPECT_EQ(delegate->events.back(), "fail " + std::to_string(ui::WebError::unsupportedURLCode));

    // Refused, a redirect interrupts the frame load.
    delegate->refuse = "/final";
    loadAndWait("/start");
    EXPECT_EQ(delegate->events.back(),
              "fail " + std::to_string(ui::WebError::frameLoadInterruptedCode));
}

TEST_F(WebEngineTest, ALoadReplacedByAnotherFailsAsCancelled) {
    // The first page answers only once the test lets it.
    struct Gate {
        std::mutex mutex;
        std::condition_variable opened;
        bool open = false;
        bool asked = false;
    };
    auto gate = std::make_shared<Gate>();
    server.get("/slow", [gate](const httplib::Request&, httplib::Response& res) {
        std::unique_lock lock(gate->mutex);
        gate->asked = true;
        gate->opened.wait_for(lock, seconds(30), [&] { return gate->open; });
        res.set_content("late", "text/html");
    });
    const auto openGate = [gate] {
        std::lock_guard lock(gate->mutex);
        gate->open = true;
        gate->opened.notify_all();
    };
    platform::HttpRequest slow;
    slow.url = server.url("/slow");
    view->load(slow);
    const bool asked = runUntil([&] {
        std::lock_guard lock(gate->mutex);
        return gate->asked;
    });
    platform::HttpRequest other;
    other.url = server.url("/final");
    view->load(other);
    const bool ended = runUntil(
        [&] { return !delegate->failures.empty() && delegate->ended() && !view->isLoading(); });
    openGate();
    ASSERT_TRUE(asked && ended);
    EXPECT_EQ(delegate->failures.front().code, ui::WebError::cancelledCode);
    EXPECT_EQ(delegate->events.back(), "finish " + server.url("/final"));
}

TEST_F(WebEngineTest, ThePageReachesHandlersByNameWithTextsAsTextsAndObjectsAsJson) {
    std::vector<ui::ScriptMessage> messages;
    const auto keep = [&](const ui::ScriptMessage& m) { messages.push_back(m); };
    view->addScriptMessageHandler("loginSuccess", keep);
    view->addScriptMessageHandler("report", keep);
    const std::string page = R"(<script>
      var h = window.webkit.messageHandlers;
      h.loginSuccess.postMessage('{"sessionId":"S1"}');
      h.report.postMessage({n: 1, list: [true, null]});
      h.report.postMessage(typeof h.googleLoginHandler);
    </script>)";
    view->loadHTMLString(page, server.url("/"));
    ASSERT_TRUE(runUntil([&] { return messages.size() >= 3; }));
    EXPECT_EQ(messages[0].name, "loginSuccess");
    EXPECT_EQ(messages[0].body, nlohmann::json("{\"sessionId\":\"S1\"}"));
    EXPECT_EQ(messages[1].body, nlohmann::json::parse(R"({"n": 1, "list": [true, null]})"));
    EXPECT_EQ(messages[2].body, nlohmann::json("undefined")) << "unregistered names are absent";

    // A script run by the host gets its value back.
    std::optional<ui::ScriptResult> result;
    view->evaluateJavaScript("document.title = 'T'; 6 * 7",
                             [&](const ui::ScriptResult& r) { result = r; });
    ASSERT_TRUE(runUntil([&] { return result.has_value(); }));
    EXPECT_EQ(result->value, nlohmann::json(42));
    result.reset();
    view->evaluateJavaScript("throw new Error('no')",
                             [&](const ui::ScriptResult& r) { result = r; });
    ASSERT_TRUE(runUntil([&] { return result.has_value(); }));
    EXPECT_FALSE(result->value);
    EXPECT_TRUE(result->error);
}

}  // namespace
}  // namespace quillgate::desktop

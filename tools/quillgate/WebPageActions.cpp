#include "tools/quillgate/WebPageActions.h"

#include <chrono>
#include <utility>

#include <nlohmann/json.hpp>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/ui/WebView.h"
#include "tools/quillgate/HostApp.h"

namespace quillgate::host {

namespace {

// How long the page's script may take to fetch its message.
constexpr std::chrono::seconds kFetchLimit{10};
// How long a page in a web engine may take to load and show the control asked for, and the
// pause between two looks for it.
constexpr std::chrono::seconds kPageLimit{15};
constexpr std::chrono::milliseconds kLookAgain{200};

// A script that clicks the first link or button whose trimmed text (a button input: its
// value) or id is the given text, and says whether there was one.
constexpr const char* kClickScript = R"JS((function (wanted) {
  var all = document.querySelectorAll('a, button, input[type=submit], input[type=button]');
  for (var i = 0; i < all.length; i++) {
    var el = all[i];
    var text = (el.tagName === 'INPUT' ? el.value : el.textContent || '').trim();
    if (text === wanted || (el.id && el.id === wanted)) { el.click(); return true; }
  }
  return false;
}))JS";

// A script that posts a text to a message handler, and says whether the page has it.
constexpr const char* kPostScript = R"JS((function (name, body) {
  var h = window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers[name];
  if (!h) return false;
  h.postMessage(body);
  return true;
}))JS";

// Runs `script` in the page and waits for its answer: true, false, or nothing (an error,
// said on the transcript, or no answer in time).
std::optional<bool> runInPage(HostApp& app, ui::WebView& page, const std::string& script) {
    auto result = std::make_shared<std::optional<ui::ScriptResult>>();
    page.evaluateJavaScript(script, [result](const ui::ScriptResult& r) { *result = r; });
    app.loop().runUntil([result] { return result->has_value(); }, kFetchLimit);
    if (!result->has_value()) {
        app.say("reader: the page did not answer");
        return std::nullopt;
    }
    if ((*result)->error) {
        app.say("reader: the page's script failed: " + *(*result)->error);
        return std::nullopt;
    }
    return (*result)->value && (*result)->value->is_boolean() && (*result)->value->get<bool>();
}

// In a web engine: clicks the control whose text or id is `text` once the page has loaded,
// looking again while the page is still coming.
ActionOutcome clickInEngine(HostApp& app, ui::WebView& page, const std::string& text) {
    const std::string script = std::string(kClickScript) + "(" + nlohmann::json(text).dump() + ")";
    const auto giveUp = std::chrono::steady_clock::now() + kPageLimit;
    for (;;) {
        app.loop().runUntil([&] { return !page.isLoading() && page.url().has_value(); },
                            std::chrono::duration_cast<std::chrono::milliseconds>(
                                giveUp - std::chrono::steady_clock::now()));
        const auto clicked = runInPage(app, page, script);
        if (!clicked) {
            return ActionOutcome::failed;
        }
        if (*clicked) {
            return ActionOutcome::done;
        }
        if (std::chrono::steady_clock::now() + kLookAgain >= giveUp) {
            return ActionOutcome::nothingOnScreen;
        }
        app.runFor(kLookAgain);
    }
}

std::shared_ptr<ui::HeadlessWebView> pageOnShow(HostApp& app) {
    auto screen = webFlowOnShow(app);
    return screen ? std::dynamic_pointer_cast<ui::HeadlessWebView>(screen->webView) : nullptr;
}

// Acts out the page's script for a control that speaks to the app: fetches its message and
// posts it. False when the control doesn't speak to a handler the web view has.
bool actOutScript(HostApp& app, ui::HeadlessWebView& page,
                  const ui::HeadlessWebView::Control& control) {
    const auto& element = page.document().elements.at(control.element);
    const auto handler = element.attribute("data-handler");
    const auto source = element.attribute("data-message-url");
    if (!handler || !source || !page.userContentController().hasScriptMessageHandler(*handler)) {
        return false;
    }
    auto answer = std::make_shared<std::optional<platform::HttpResult>>();
    page.fetch(*source, [answer](platform::HttpResult result) { *answer = std::move(result); });
    app.loop().runUntil([answer] { return answer->has_value(); }, kFetchLimit);
    if (!answer->has_value() || !(*answer)->body) {
        app.say("reader: the page's message for " + *handler + " did not arrive");
        return true;
    }
    page.postScriptMessage(*handler, *(*answer)->body);
    return true;
}

}  // namespace

std::shared_ptr<WebViewController> webFlowOnShow(HostApp& app) {
    auto screen = std::dynamic_pointer_cast<WebViewController>(app.client().webVC);
    if (!screen || !screen->presentingViewController() || !screen->isViewLoaded() ||
        !screen->webView) {
        return nullptr;
    }
    return screen;
}

ActionOutcome choosePageControl(HostApp& app, const ActionArgument& argument) {
    auto page = pageOnShow(app);
    if (!page) {
        // A page in a web engine runs its own script: the control is clicked.
        auto screen = webFlowOnShow(app);
        return screen ? clickInEngine(app, *screen->webView, argument.text)
                      : ActionOutcome::nothingOnScreen;
    }
    const auto control = page->control(argument.text);
    if (!control) {
        return ActionOutcome::nothingOnScreen;
    }
    if (actOutScript(app, *page, *control)) {
        return ActionOutcome::done;
    }
    if (control->kind == ui::HeadlessWebView::Control::Kind::link) {
        return control->href ? (page->followLink(*control), ActionOutcome::done)
                             : ActionOutcome::nothingOnScreen;
    }
    return page->press(*control) ? ActionOutcome::done : ActionOutcome::nothingOnScreen;
}

ActionOutcome clickPageControl(HostApp& app, const ActionArgument& argument) {
    return choosePageControl(app, argument);
}

ActionOutcome postPageMessage(HostApp& app, const ActionArgument& argument) {
    const std::string& text = argument.text;
    const auto space = text.find_first_of(" \t");
    if (space == std::string::npos) {
        app.say("reader: \"post NAME JSON\" needs a handler name and a JSON text");
        return ActionOutcome::failed;
    }
    const std::string name = text.substr(0, space);
    const std::string body = text.substr(text.find_first_not_of(" \t", space));
    if (!nlohmann::json::accept(body)) {
        app.say("reader: not a JSON text: " + body);
        return ActionOutcome::failed;
    }
    auto page = pageOnShow(app);
    if (!page) {
        auto screen = webFlowOnShow(app);
        if (!screen) {
            return ActionOutcome::nothingOnScreen;
        }
        const std::string script = std::string(kPostScript) + "(" + nlohmann::json(name).dump() +
                                   ", " + nlohmann::json(body).dump() + ")";
        const auto posted = runInPage(app, *screen->webView, script);
        return !posted   ? ActionOutcome::failed
               : *posted ? ActionOutcome::done
                         : ActionOutcome::nothingOnScreen;
    }
    // The service's pages post their JSON as text.
    return page->postScriptMessage(name, body) ? ActionOutcome::done
                                               : ActionOutcome::nothingOnScreen;
}

ActionOutcome pressWebFlowBack(HostApp& app, const ActionArgument& argument) {
    (void)argument;
    auto screen = webFlowOnShow(app);
    if (!screen) {
        return ActionOutcome::nothingOnScreen;
    }
    return screen->btnBack->tap() ? ActionOutcome::done : ActionOutcome::nothingOnScreen;
}

}  // namespace quillgate::host

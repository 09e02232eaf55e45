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
        return ActionOutcome::nothingOnScreen;
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
        return ActionOutcome::nothingOnScreen;
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

#include "quillgate/ui/WebView.h"

#include <algorithm>

#include "quillgate/platform/Log.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/ScrollView.h"

namespace quillgate::ui {

namespace {
WebView::Factory& installedFactory() {
    static WebView::Factory factory;
    return factory;
}
}  // namespace

// ---- UserContentController

void UserContentController::addScriptMessageHandler(const std::string& name, Handler handler) {
    if (!handler) {
        return;
    }
    if (hasScriptMessageHandler(name)) {
        platform::log("Attempt to add script message handler with name '" + name +
                      "' when one already exists.");
        return;
    }
    handlers_.emplace_back(name, std::make_shared<Handler>(std::move(handler)));
}

void UserContentController::removeScriptMessageHandler(const std::string& name) {
    std::erase_if(handlers_, [&](const auto& h) { return h.first == name; });
}

bool UserContentController::hasScriptMessageHandler(const std::string& name) const {
    return std::any_of(handlers_.begin(), handlers_.end(),
                       [&](const auto& h) { return h.first == name; });
}

std::vector<std::string> UserContentController::handlerNames() const {
    std::vector<std::string> names;
    for (const auto& h : handlers_) {
        names.push_back(h.first);
    }
    return names;
}

bool UserContentController::deliver(const ScriptMessage& message) const {
    for (const auto& [name, handler] : handlers_) {
        if (name == message.name) {
            auto keep = handler;  // the handler may remove itself
            (*keep)(message);
            return true;
        }
    }
    return false;
}

// ---- WebView

WebView::WebView() = default;
WebView::~WebView() = default;

std::shared_ptr<WebView> WebView::make() {
    if (auto& factory = installedFactory()) {
        if (auto view = factory()) {
            return view;
        }
    }
    return std::make_shared<HeadlessWebView>();
}

void WebView::setFactory(Factory factory) {
    installedFactory() = std::move(factory);
}

std::optional<std::string> WebView::userAgent() const {
    return customUserAgent_;
}

void WebView::evaluateJavaScript(const std::string& script, ScriptCompletion completion) {
    (void)script;
    if (completion) {
        completion(ScriptResult{std::nullopt, "this web view runs no script"});
    }
}

const std::shared_ptr<ScrollView>& WebView::scrollView() {
    if (!scrollView_) {
        scrollView_ = std::make_shared<ScrollView>(bounds());
        insertSubview(scrollView_, 0);
    }
    return scrollView_;
}

void WebView::setLoading(bool loading) {
    const bool old = loading_;
    loading_ = loading;
    notifyObservers("loading", loading, old);
}

void WebView::setUrl(std::optional<std::string> url) {
    auto old = url_;
    url_ = std::move(url);
    notifyObservers("URL", url_, old);
}

void WebView::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("url=" + quotedText(url_.value_or("")));
    if (loading_) {
        out.push_back("loading");
    }
}

}  // namespace quillgate::ui

#include "quillgate/platform/Platform.h"
#include "quillgate/ui/WebView.h"

#ifndef QUILLGATE_VERSION
#define QUILLGATE_VERSION "0.0.0"
#endif

namespace quillgate::ui {

namespace {
const WebError cancelledError{WebError::cancelledCode, "NSURLErrorDomain", "cancelled"};
const WebError interruptedError{WebError::frameLoadInterruptedCode, "WebKitErrorDomain",
                                "Frame load interrupted"};
}  // namespace

HeadlessWebView::~HeadlessWebView() = default;

std::string HeadlessWebView::defaultUserAgent() {
    const auto& device = platform::current().device;
    return "Mozilla/5.0 (Linux; " + device.systemName + " " + device.systemVersion + "; " +
           device.model + ") AppleWebKit/605.1.15 (KHTML, like Gecko) Quillgate/" +
           QUILLGATE_VERSION;
}

std::optional<std::string> HeadlessWebView::userAgent() const {
    if (auto custom = customUserAgent()) {
        return custom;
    }
    return defaultUserAgent();
}

std::vector<platform::HttpRequest> HeadlessWebView::loadedRequests() const {
    std::vector<platform::HttpRequest> out;
    for (const auto& l : loads_) {
        if (l.kind == LoadRecord::Kind::request) {
            out.push_back(l.request);
        }
    }
    return out;
}

std::optional<Navigation> HeadlessWebView::load(const platform::HttpRequest& request) {
    loads_.push_back(LoadRecord{LoadRecord::Kind::request, request, {}, {}});
    return navigate(NavigationAction{request, NavigationType::other, false, true});
}

std::optional<Navigation> HeadlessWebView::loadHTMLString(
    const std::string& html, const std::optional<std::string>& baseUrl) {
    platform::HttpRequest request;
    request.url = baseUrl.value_or("about:blank");
    loads_.push_back(LoadRecord{LoadRecord::Kind::html, request, html, baseUrl});
    return navigate(NavigationAction{request, NavigationType::other, false, true});
}

std::optional<Navigation> HeadlessWebView::reload() {
    if (!lastRequest_) {
        return std::nullopt;
    }
    loads_.push_back(LoadRecord{LoadRecord::Kind::reload, *lastRequest_, {}, {}});
    return navigate(NavigationAction{*lastRequest_, NavigationType::reload, false, true});
}

void HeadlessWebView::stopLoading() {
    if (current_) {
        current_.reset();
        setLoading(false);
    }
}

std::optional<Navigation> HeadlessWebView::navigate(
    NavigationAction action, std::optional<NavigationActionPolicy>* decision) {
    struct Decision {
        bool taken = false;
        std::optional<NavigationActionPolicy> policy;
        std::optional<Navigation> started;
    };
    auto state = std::make_shared<Decision>();
    std::weak_ptr<bool> alive = alive_;
    auto handler = [this, alive, action, state](NavigationActionPolicy policy) {
        if (state->taken || alive.expired()) {
            return;
        }
        state->taken = true;
        state->policy = policy;
        if (policy == NavigationActionPolicy::allow) {
            state->started = start(action);
        }
    };
    if (auto delegate = navigationDelegate()) {
        delegate->decidePolicyForNavigationAction(*this, action, handler);
    } else {
        handler(NavigationActionPolicy::allow);
    }
    if (decision) {
        *decision = state->policy;
    }
    return state->started;
}

Navigation HeadlessWebView::start(const NavigationAction& action) {
    auto keep = weak_from_this().lock();
    if (current_) {
        const Navigation old = *current_;
        const bool wasCommitted = committed_;
        current_.reset();
        if (auto d = navigationDelegate()) {
            if (wasCommitted) {
                d->didFailNavigation(*this, old, cancelledError);
            } else {
                d->didFailProvisionalNavigation(*this, old, cancelledError);
            }
        }
    }
    const Navigation navigation{nextId_++};
    current_ = navigation;
    committed_ = false;
    currentRequest_ = action.request;
    lastRequest_ = action.request;
    setUrl(action.request.url);
    setLoading(true);
    if (auto d = navigationDelegate()) {
        d->didStartProvisionalNavigation(*this, navigation);
    }
    if (autoFinish_ && current_ == navigation) {
        std::weak_ptr<bool> alive = alive_;
        const auto id = navigation.id;
        platform::mainQueue().async([this, alive, id] {
            if (!alive.expired()) {
                finish(id);
            }
        });
    }
    return navigation;
}

void HeadlessWebView::finish(std::uint64_t id) {
    if (!current_ || current_->id != id) {
        return;
    }
    auto keep = weak_from_this().lock();
    const Navigation navigation = *current_;
    committed_ = true;
    if (auto d = navigationDelegate()) {
        d->didCommitNavigation(*this, navigation);
    }
    if (!current_ || current_->id != id) {
        return;
    }
    current_.reset();
    setLoading(false);
    if (auto d = navigationDelegate()) {
        d->didFinishNavigation(*this, navigation);
    }
}

bool HeadlessWebView::finishNavigation() {
    if (!current_) {
        return false;
    }
    finish(current_->id);
    return true;
}

bool HeadlessWebView::failNavigation(const WebError& error, bool provisional) {
    if (!current_) {
        return false;
    }
    auto keep = weak_from_this().lock();
    const Navigation navigation = *current_;
    current_.reset();
    setLoading(false);
    if (auto d = navigationDelegate()) {
        if (provisional) {
            d->didFailProvisionalNavigation(*this, navigation, error);
        } else {
            d->didFailNavigation(*this, navigation, error);
        }
    }
    return true;
}

std::optional<NavigationActionPolicy> HeadlessWebView::simulateNavigation(const std::string& url,
                                                                          NavigationType type) {
    platform::HttpRequest request;
    request.url = url;
    std::optional<NavigationActionPolicy> decision;
    navigate(NavigationAction{request, type, false, true}, &decision);
    return decision;
}

std::optional<NavigationActionPolicy> HeadlessWebView::simulateRedirect(const std::string& url) {
    if (!current_ || !currentRequest_) {
        return std::nullopt;
    }
    platform::HttpRequest request = *currentRequest_;
    request.url = url;
    const NavigationAction action{request, NavigationType::other, true, true};
    const auto id = current_->id;
    // The decision may come later: the handler keeps what it needs by value.
    auto taken = std::make_shared<std::optional<NavigationActionPolicy>>();
    std::weak_ptr<bool> alive = alive_;
    auto handler = [this, alive, id, request, taken](NavigationActionPolicy policy) {
        if (*taken || alive.expired()) {
            return;
        }
        *taken = policy;
        if (!current_ || current_->id != id) {
            return;
        }
        if (policy == NavigationActionPolicy::allow) {
            currentRequest_ = request;
            lastRequest_ = request;
            setUrl(request.url);
            if (auto d = navigationDelegate()) {
                d->didReceiveServerRedirect(*this, *current_);
            }
        } else {
            failNavigation(interruptedError, true);
        }
    };
    if (auto d = navigationDelegate()) {
        d->decidePolicyForNavigationAction(*this, action, handler);
    } else {
        handler(NavigationActionPolicy::allow);
    }
    return *taken;
}

bool HeadlessWebView::postScriptMessage(const std::string& name, const nlohmann::json& body) {
    auto keep = weak_from_this().lock();
    return userContentController().deliver(ScriptMessage{name, body});
}

}  // namespace quillgate::ui

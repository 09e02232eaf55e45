#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Url.h"
#include "quillgate/ui/WebView.h"

#ifndef QUILLGATE_VERSION
#define QUILLGATE_VERSION "0.0.0"
#endif

namespace quillgate::ui {

namespace {

constexpr const char* kUrlErrorDomain = "NSURLErrorDomain";
// The domain of a transport error: the code is the HTTP session's own.
constexpr const char* kSessionErrorDomain = "HTTPSessionErrorDomain";
// Hops a navigation may take before it fails, as browsers bound redirect loops.
constexpr int kMaxRedirects = 20;
constexpr long kTooManyRedirectsCode = -1007;

const WebError cancelledError{WebError::cancelledCode, kUrlErrorDomain, "cancelled"};
const WebError interruptedError{WebError::frameLoadInterruptedCode, "WebKitErrorDomain",
                                "Frame load interrupted"};
const WebError unsupportedError{WebError::unsupportedURLCode, kUrlErrorDomain, "unsupported URL"};
const WebError tooManyRedirectsError{kTooManyRedirectsCode, kUrlErrorDomain,
                                     "too many HTTP redirects"};

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Whether the web view loads `url` itself: http and https only.
bool isWebAddress(const std::string& url) {
    const auto parsed = platform::url::parse(url);
    if (!parsed) {
        return false;
    }
    const std::string scheme = lower(parsed->scheme);
    return scheme == "http" || scheme == "https";
}

bool isRedirectStatus(long status) {
    static constexpr std::array<long, 5> statuses{301, 302, 303, 307, 308};
    return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
}

std::optional<std::string> headerOf(const platform::HttpHeaders& headers, const std::string& name) {
    for (const auto& [key, value] : headers) {
        if (lower(key) == lower(name)) {
            return value;
        }
    }
    return std::nullopt;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// The type of an <input>, lower case, "text" when absent.
std::string inputType(const platform::HtmlElement& element) {
    return lower(element.attribute("type").value_or("text"));
}

bool isButton(const platform::HtmlElement& element) {
    if (element.tag == "button") {
        return true;
    }
    if (element.tag != "input") {
        return false;
    }
    const std::string type = inputType(element);
    return type == "submit" || type == "button" || type == "image" || type == "reset";
}

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

// ---- Loading --------------------------------------------------------------------------------

std::optional<Navigation> HeadlessWebView::load(const platform::HttpRequest& request) {
    loads_.push_back(LoadRecord{LoadRecord::Kind::request, request, {}, {}});
    return navigate(NavigationAction{request, NavigationType::other, false, true});
}

std::optional<Navigation> HeadlessWebView::loadHTMLString(
    const std::string& html, const std::optional<std::string>& baseUrl) {
    platform::HttpRequest request;
    request.url = baseUrl.value_or("about:blank");
    loads_.push_back(LoadRecord{LoadRecord::Kind::html, request, html, baseUrl});
    return navigate(NavigationAction{request, NavigationType::other, false, true}, html);
}

std::optional<Navigation> HeadlessWebView::reload() {
    if (!lastRequest_) {
        return std::nullopt;
    }
    loads_.push_back(
        LoadRecord{LoadRecord::Kind::reload, *lastRequest_, lastHtml_.value_or(""), {}});
    return navigate(NavigationAction{*lastRequest_, NavigationType::reload, false, true},
                    lastHtml_);
}

void HeadlessWebView::stopLoading() {
    if (current_) {
        current_.reset();
        setLoading(false);
    }
}

std::optional<Navigation> HeadlessWebView::navigate(NavigationAction action,
                                                    std::optional<std::string> html) {
    struct Decision {
        bool taken = false;
        std::optional<Navigation> started;
    };
    auto state = std::make_shared<Decision>();
    std::weak_ptr<bool> alive = alive_;
    auto handler = [this, alive, action, html, state](NavigationActionPolicy policy) {
        if (state->taken || alive.expired()) {
            return;
        }
        state->taken = true;
        if (policy == NavigationActionPolicy::allow) {
            state->started = start(action, html);
        }
    };
    auto keep = weak_from_this().lock();
    if (auto delegate = navigationDelegate()) {
        delegate->decidePolicyForNavigationAction(*this, action, handler);
    } else {
        handler(NavigationActionPolicy::allow);
    }
    return state->started;
}

Navigation HeadlessWebView::start(const NavigationAction& action,
                                  const std::optional<std::string>& html) {
    auto keep = weak_from_this().lock();
    if (current_) {
        const Navigation old = *current_;
        current_.reset();
        if (auto d = navigationDelegate()) {
            d->didFailProvisionalNavigation(*this, old, cancelledError);
        }
    }
    const Navigation navigation{nextId_++};
    const auto id = navigation.id;
    current_ = navigation;
    lastRequest_ = action.request;
    lastHtml_ = html;
    setUrl(action.request.url);
    setLoading(true);
    if (auto d = navigationDelegate()) {
        d->didStartProvisionalNavigation(*this, navigation);
    }
    if (!isCurrent(id)) {
        return navigation;
    }
    std::weak_ptr<bool> alive = alive_;
    if (html) {
        // An HTML text needs no network: it commits on the main queue, as a page would.
        platform::mainQueue().async([this, alive, id, text = *html] {
            if (!alive.expired()) {
                commit(id, text, std::nullopt);
            }
        });
    } else if (isWebAddress(action.request.url)) {
        request(id, action.request);
    } else {
        // The delegate has seen the address; the web view can't show it.
        platform::mainQueue().async([this, alive, id] {
            if (!alive.expired()) {
                fail(id, unsupportedError);
            }
        });
    }
    return navigation;
}

platform::HttpRequest HeadlessWebView::pageRequest(std::string url) const {
    platform::HttpRequest request;
    request.url = std::move(url);
    return request;
}

void HeadlessWebView::request(std::uint64_t id, platform::HttpRequest request) {
    request.followRedirects = false;
    if (!request.header("User-Agent")) {
        request.headers.emplace_back("User-Agent", userAgent().value_or(defaultUserAgent()));
    }
    std::weak_ptr<bool> alive = alive_;
    // The session's thread hands the answer to the main queue, if it is still there.
    std::weak_ptr<platform::RunLoop> queue = platform::current().runLoop;
    platform::current().http->dataTask(
        request, [this, alive, id, request, queue](platform::HttpResult result) {
            auto loop = queue.lock();
            if (!loop) {
                return;
            }
            loop->post([this, alive, id, request, result = std::move(result)]() mutable {
                if (!alive.expired()) {
                    answered(id, request, std::move(result));
                }
            });
        });
}

void HeadlessWebView::answered(std::uint64_t id, const platform::HttpRequest& request,
                               platform::HttpResult result) {
    if (!isCurrent(id)) {
        return;  // replaced or stopped meanwhile
    }
    if (result.error || !result.response) {
        const auto error = result.error.value_or(platform::TransportError{});
        fail(id, WebError{error.code, kSessionErrorDomain, error.message});
        return;
    }
    const auto& response = *result.response;
    const auto location = headerOf(response.headers, "Location");
    if (isRedirectStatus(response.statusCode) && location) {
        const auto target = platform::url::resolve(request.url, trimmed(*location));
        if (target) {
            platform::HttpRequest next = request;
            next.url = *target;
            const bool keepsMethod = response.statusCode == 307 || response.statusCode == 308;
            if (!keepsMethod && (response.statusCode == 303 || lower(request.method) == "post")) {
                next.method = "GET";
                next.body.reset();
                std::erase_if(next.headers,
                              [](const auto& h) { return lower(h.first) == "content-type"; });
            }
            redirect(id, std::move(next));
            return;
        }
    }
    commit(id, result.body.value_or(""), response.statusCode);
}

void HeadlessWebView::redirect(std::uint64_t id, platform::HttpRequest request) {
    // Each hop is counted on the request itself, so that a loop ends.
    int hops = 1;
    if (auto it = redirectCounts_.find(id); it != redirectCounts_.end()) {
        hops = ++it->second;
    } else {
        redirectCounts_[id] = 1;
    }
    if (hops > kMaxRedirects) {
        fail(id, tooManyRedirectsError);
        return;
    }
    const NavigationAction action{request, NavigationType::other, true, true};
    auto taken = std::make_shared<bool>(false);
    std::weak_ptr<bool> alive = alive_;
    auto handler = [this, alive, id, request, taken](NavigationActionPolicy policy) {
        if (*taken || alive.expired()) {
            return;
        }
        *taken = true;
        if (!isCurrent(id)) {
            return;
        }
        if (policy != NavigationActionPolicy::allow) {
            fail(id, interruptedError);
            return;
        }
        lastRequest_ = request;
        setUrl(request.url);
        if (auto d = navigationDelegate()) {
            d->didReceiveServerRedirect(*this, *current_);
        }
        if (!isCurrent(id)) {
            return;
        }
        if (isWebAddress(request.url)) {
            this->request(id, request);
        } else {
            fail(id, unsupportedError);
        }
    };
    auto keep = weak_from_this().lock();
    if (auto d = navigationDelegate()) {
        d->decidePolicyForNavigationAction(*this, action, handler);
    } else {
        handler(NavigationActionPolicy::allow);
    }
}

void HeadlessWebView::commit(std::uint64_t id, std::string html, std::optional<long> status) {
    if (!isCurrent(id)) {
        return;
    }
    auto keep = weak_from_this().lock();
    redirectCounts_.erase(id);
    const Navigation navigation = *current_;
    html_ = std::move(html);
    document_ = platform::parseHtml(html_);
    status_ = status;
    setTitle(document_.title);
    if (auto d = navigationDelegate()) {
        d->didCommitNavigation(*this, navigation);
    }
    if (!isCurrent(id)) {
        return;
    }
    current_.reset();
    setLoading(false);
    if (auto d = navigationDelegate()) {
        d->didFinishNavigation(*this, navigation);
    }
}

void HeadlessWebView::fail(std::uint64_t id, const WebError& error) {
    if (!isCurrent(id)) {
        return;
    }
    auto keep = weak_from_this().lock();
    redirectCounts_.erase(id);
    const Navigation navigation = *current_;
    current_.reset();
    setLoading(false);
    if (auto d = navigationDelegate()) {
        d->didFailProvisionalNavigation(*this, navigation, error);
    }
}

// ---- The page on show -------------------------------------------------------------------------

std::string HeadlessWebView::baseAddress() const {
    const std::string page = url().value_or("about:blank");
    for (const auto& element : document_.elements) {
        if (element.tag == "base") {
            if (auto href = element.attribute("href")) {
                return platform::url::resolve(page, trimmed(*href)).value_or(page);
            }
        }
    }
    return page;
}

std::vector<HeadlessWebView::Control> HeadlessWebView::controls() const {
    std::vector<Control> out;
    const std::string base = baseAddress();
    for (std::size_t i = 0; i < document_.elements.size(); ++i) {
        const auto& element = document_.elements[i];
        Control control;
        control.element = i;
        control.id = element.attribute("id").value_or("");
        if (element.tag == "a") {
            control.kind = Control::Kind::link;
            control.text = element.text;
            if (auto href = element.attribute("href")) {
                control.href = platform::url::resolve(base, trimmed(*href));
            }
        } else if (isButton(element)) {
            control.kind = Control::Kind::button;
            control.text = element.tag == "button"
                               ? element.text
                               : trimmed(element.attribute("value").value_or(""));
        } else {
            continue;
        }
        out.push_back(std::move(control));
    }
    return out;
}

std::vector<HeadlessWebView::Control> HeadlessWebView::links() const {
    auto all = controls();
    std::erase_if(all, [](const Control& c) { return c.kind != Control::Kind::link; });
    return all;
}

std::vector<HeadlessWebView::Control> HeadlessWebView::buttons() const {
    auto all = controls();
    std::erase_if(all, [](const Control& c) { return c.kind != Control::Kind::button; });
    return all;
}

std::optional<HeadlessWebView::Control> HeadlessWebView::control(
    const std::string& textOrId) const {
    for (auto& c : controls()) {
        if (c.text == textOrId || (!c.id.empty() && c.id == textOrId)) {
            return c;
        }
    }
    return std::nullopt;
}

// ---- Acting as the page -------------------------------------------------------------------------

std::optional<Navigation> HeadlessWebView::followLink(const Control& link) {
    if (link.kind != Control::Kind::link || !link.href) {
        return std::nullopt;
    }
    return navigate(
        NavigationAction{pageRequest(*link.href), NavigationType::linkActivated, false, true});
}

std::optional<Navigation> HeadlessWebView::press(const Control& button) {
    if (button.kind != Control::Kind::button || button.element >= document_.elements.size()) {
        return std::nullopt;
    }
    const auto& element = document_.elements[button.element];
    if (!element.form) {
        return std::nullopt;
    }
    const std::string type = lower(element.attribute("type").value_or("submit"));
    if (type != "submit" && type != "image") {
        return std::nullopt;  // a plain or reset button submits nothing
    }
    std::vector<std::pair<std::string, std::string>> values;
    if (auto name = element.attribute("name"); name && !name->empty()) {
        values.emplace_back(*name, element.attribute("value").value_or(""));
    }
    return submitForm(*element.form, values);
}

std::optional<Navigation> HeadlessWebView::submitForm(
    std::size_t formIndex, const std::vector<std::pair<std::string, std::string>>& values) {
    if (formIndex >= document_.forms.size()) {
        return std::nullopt;
    }
    const auto& form = document_.forms[formIndex];
    const auto& formElement = document_.elements[form.element];
    platform::url::QueryItems items;
    for (const std::size_t index : form.controls) {
        const auto& field = document_.elements[index];
        const auto name = field.attribute("name");
        if (!name || name->empty() || field.hasAttribute("disabled") || isButton(field)) {
            continue;
        }
        if (field.tag == "input") {
            const std::string type = inputType(field);
            if (type == "file") {
                continue;
            }
            if ((type == "checkbox" || type == "radio") && !field.hasAttribute("checked")) {
                continue;
            }
            const std::string fallback = type == "checkbox" || type == "radio" ? "on" : "";
            items.emplace_back(*name, field.attribute("value").value_or(fallback));
        } else if (field.tag == "textarea") {
            items.emplace_back(*name, field.text);
        } else {
            items.emplace_back(*name, field.attribute("value").value_or(""));
        }
    }
    for (const auto& [name, value] : values) {
        // Named, not the structured binding itself: clang 14 can't capture a binding.
        const std::string& key = name;
        const auto at = std::find_if(items.begin(), items.end(),
                                     [&](const auto& item) { return item.first == key; });
        if (at != items.end()) {
            at->second = value;
        } else {
            items.emplace_back(name, value);
        }
    }
    const std::string base = baseAddress();
    const auto action = formElement.attribute("action");
    const std::string target = action && !trimmed(*action).empty()
                                   ? platform::url::resolve(base, trimmed(*action)).value_or(base)
                                   : url().value_or(base);
    platform::HttpRequest request;
    if (lower(formElement.attribute("method").value_or("get")) == "post") {
        request.url = target;
        request.method = "POST";
        const std::string encoded = platform::url::withQueryItems("about:blank", items);
        const auto query = encoded.find('?');
        request.body = query == std::string::npos ? "" : encoded.substr(query + 1);
        request.headers.emplace_back("Content-Type", "application/x-www-form-urlencoded");
    } else {
        request.url = platform::url::withQueryItems(target.substr(0, target.find('?')), items);
    }
    return navigate(NavigationAction{request, NavigationType::formSubmitted, false, true});
}

std::optional<Navigation> HeadlessWebView::navigateTo(const std::string& url, NavigationType type) {
    const auto target = platform::url::resolve(baseAddress(), url);
    if (!target) {
        return std::nullopt;
    }
    return navigate(NavigationAction{pageRequest(*target), type, false, true});
}

bool HeadlessWebView::postScriptMessage(const std::string& name, const nlohmann::json& body) {
    auto keep = weak_from_this().lock();
    return userContentController().deliver(ScriptMessage{name, body});
}

void HeadlessWebView::fetch(const std::string& url,
                            std::function<void(platform::HttpResult)> completion) {
    platform::HttpRequest request =
        pageRequest(platform::url::resolve(baseAddress(), url).value_or(url));
    request.headers.emplace_back("User-Agent", userAgent().value_or(defaultUserAgent()));
    std::weak_ptr<bool> alive = alive_;
    std::weak_ptr<platform::RunLoop> queue = platform::current().runLoop;
    platform::current().http->dataTask(
        request, [alive, queue, completion = std::move(completion)](platform::HttpResult result) {
            auto loop = queue.lock();
            if (!loop) {
                return;
            }
            loop->post([alive, completion, result = std::move(result)]() mutable {
                if (!alive.expired() && completion) {
                    completion(std::move(result));
                }
            });
        });
}

}  // namespace quillgate::ui

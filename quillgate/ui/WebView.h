#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/Export.h"
#include "quillgate/platform/HtmlDocument.h"
#include "quillgate/platform/HttpSession.h"
#include "quillgate/ui/View.h"

// The web view that shows the service's pages: loads (a request, an HTML text with a base
// address, a reload), a navigation delegate that decides every navigation (redirects
// included) and hears its start, finish and failure, script message handlers by name, the
// loading state and address (observable as "loading" and "URL"), and the user agent.
//
// `WebView` is the interface; `WebView::make()` builds the installed implementation, by
// default `HeadlessWebView`, which loads pages over HTTP and lets a host or test act as the
// page (follow a link, submit a form, post a script message). The delegate is held
// weakly; script message handlers are functions kept for the life of the web view, so a
// handler should capture its owner weakly. Main thread only.
namespace quillgate::ui {

class ScrollView;
class WebView;

enum class NavigationActionPolicy { cancel = 0, allow = 1 };

// Fixed numbering: navigation delegates compare and log these values.
enum class NavigationType {
    linkActivated = 0,
    formSubmitted = 1,
    backForward = 2,
    reload = 3,
    formResubmitted = 4,
    other = -1,
};

struct QUILLGATE_EXPORT NavigationAction {
    platform::HttpRequest request;
    NavigationType navigationType = NavigationType::other;
    bool isRedirect = false;
    bool targetsMainFrame = true;
};

// One navigation, from its provisional start to its finish or failure.
struct QUILLGATE_EXPORT Navigation {
    std::uint64_t id = 0;
    friend bool operator==(const Navigation&, const Navigation&) = default;
};

struct QUILLGATE_EXPORT WebError {
    // A load cancelled because another one replaced it.
    static constexpr long cancelledCode = -999;
    // A redirect refused by the navigation delegate.
    static constexpr long frameLoadInterruptedCode = 102;
    // An address the web view cannot load (a scheme other than http and https).
    static constexpr long unsupportedURLCode = -1002;

    long code = 0;
    std::string domain;
    std::string description;
};

// What a script run in the page gave back: its value as JSON, or why there is none.
struct QUILLGATE_EXPORT ScriptResult {
    std::optional<nlohmann::json> value;
    std::optional<std::string> error;
};

struct QUILLGATE_EXPORT ScriptMessage {
    std::string name;
    nlohmann::json body;  // what the page posted: a text, a number, an object...
};

class QUILLGATE_EXPORT NavigationDelegate {
  public:
    using DecisionHandler = std::function<void(NavigationActionPolicy)>;

    virtual ~NavigationDelegate() = default;
    // Decides a navigation by calling `decisionHandler` once, now or later. Default: allow.
    virtual void decidePolicyForNavigationAction(WebView& webView, const NavigationAction& action,
                                                 DecisionHandler decisionHandler) {
        (void)webView;
        (void)action;
        decisionHandler(NavigationActionPolicy::allow);
    }
    virtual void didStartProvisionalNavigation(WebView& webView, const Navigation& navigation) {
        (void)webView;
        (void)navigation;
    }
    virtual void didReceiveServerRedirect(WebView& webView, const Navigation& navigation) {
        (void)webView;
        (void)navigation;
    }
    virtual void didCommitNavigation(WebView& webView, const Navigation& navigation) {
        (void)webView;
        (void)navigation;
    }
    virtual void didFinishNavigation(WebView& webView, const Navigation& navigation) {
        (void)webView;
        (void)navigation;
    }
    virtual void didFailProvisionalNavigation(WebView& webView, const Navigation& navigation,
                                              const WebError& error) {
        (void)webView;
        (void)navigation;
        (void)error;
    }
    virtual void didFailNavigation(WebView& webView, const Navigation& navigation,
                                   const WebError& error) {
        (void)webView;
        (void)navigation;
        (void)error;
    }
};

// The script message handlers of a web view, by name.
class QUILLGATE_EXPORT UserContentController {
  public:
    using Handler = std::function<void(const ScriptMessage&)>;

    // Registers `handler` under `name`. A name already registered keeps its first handler;
    // the attempt prints a line, so that a page never reaches two handlers for one name.
    void addScriptMessageHandler(const std::string& name, Handler handler);
    void removeScriptMessageHandler(const std::string& name);
    void removeAllScriptMessageHandlers() { handlers_.clear(); }
    bool hasScriptMessageHandler(const std::string& name) const;
    std::vector<std::string> handlerNames() const;
    // Hands `message` to the handler of its name. False when there is none.
    bool deliver(const ScriptMessage& message) const;

  private:
    std::vector<std::pair<std::string, std::shared_ptr<Handler>>> handlers_;
};

class QUILLGATE_EXPORT WebView : public View {
  public:
    using Factory = std::function<std::shared_ptr<WebView>()>;

    WebView();
    ~WebView() override;

    std::string className() const override { return "WebView"; }

    // The installed implementation (HeadlessWebView unless a factory was set).
    static std::shared_ptr<WebView> make();
    // Installs the implementation `make` builds; an empty factory restores the default.
    static void setFactory(Factory factory);

    // ---- Loading. Each returns the navigation it started, or nothing when none started
    // (refused by the delegate, or decided later).
    virtual std::optional<Navigation> load(const platform::HttpRequest& request) = 0;
    virtual std::optional<Navigation> loadHTMLString(const std::string& html,
                                                     const std::optional<std::string>& baseUrl) = 0;
    virtual std::optional<Navigation> reload() = 0;
    virtual void stopLoading() = 0;

    bool isLoading() const { return loading_; }
    const std::optional<std::string>& url() const { return url_; }
    const std::optional<std::string>& title() const { return title_; }

    std::shared_ptr<NavigationDelegate> navigationDelegate() const { return delegate_.lock(); }
    void setNavigationDelegate(std::weak_ptr<NavigationDelegate> d) { delegate_ = std::move(d); }

    UserContentController& userContentController() { return contentController_; }
    const UserContentController& userContentController() const { return contentController_; }
    void addScriptMessageHandler(const std::string& name, UserContentController::Handler handler) {
        contentController_.addScriptMessageHandler(name, std::move(handler));
    }

    // Runs `script` in the page on show, as the page's own script would run (a click it
    // makes counts as the reader's); `completion`, if any, hears the result once, on the main
    // queue. A web view without a script engine answers with an error at once.
    using ScriptCompletion = std::function<void(const ScriptResult&)>;
    virtual void evaluateJavaScript(const std::string& script, ScriptCompletion completion);

    // The user agent the page sees: the custom one when set, else the implementation's.
    virtual std::optional<std::string> userAgent() const;
    const std::optional<std::string>& customUserAgent() const { return customUserAgent_; }
    void setCustomUserAgent(std::optional<std::string> ua) { customUserAgent_ = std::move(ua); }

    // The scroll view of the page (bouncing, refresh control), kept as a subview.
    const std::shared_ptr<ScrollView>& scrollView();

    void describeAttributes(std::vector<std::string>& out) const override;

  protected:
    // Change the state and tell the observers of "loading" / "URL" / "title".
    void setLoading(bool loading);
    void setUrl(std::optional<std::string> url);
    void setTitle(std::optional<std::string> title) { title_ = std::move(title); }

  private:
    bool loading_ = false;
    std::optional<std::string> url_;
    std::optional<std::string> title_;
    std::weak_ptr<NavigationDelegate> delegate_;
    UserContentController contentController_;
    std::optional<std::string> customUserAgent_;
    std::shared_ptr<ScrollView> scrollView_;
};

// The web view of a host without a web engine. It loads pages over HTTP through the
// platform's HTTP session (its user agent, the request's time-out) and never lets the session
// follow a redirect: each redirect is a new navigation action, marked as one, that the
// navigation delegate decides. An address that is allowed but is not http or https (the app's
// own scheme) ends the navigation in a provisional failure "unsupported URL" once the
// delegate has seen it. A transport error is a provisional failure carrying the session's
// error; an answer with an HTTP error status is a page like any other. A load that replaces
// one under way fails the older one with code -999.
//
// The page it shows is kept as text and parsed with the platform's HTML parser, so that a
// host or a test can act as the page: list its links and buttons, follow a link, submit a
// form, post a script message, fetch an address as the page's script would. It runs no
// script. Completions of the session hop back to the main queue; an answer for a navigation
// that has been replaced or stopped is dropped.
class QUILLGATE_EXPORT HeadlessWebView : public WebView {
  public:
    struct LoadRecord {
        enum class Kind { request, html, reload };
        Kind kind = Kind::request;
        platform::HttpRequest request;  // for html: the base address or "about:blank"
        std::string html;
        std::optional<std::string> baseUrl;
    };

    // A link or a button of the page on show.
    struct Control {
        enum class Kind { link, button };
        Kind kind = Kind::link;
        std::size_t element = 0;  // index in document().elements
        std::string text;         // its text (a button input: its value)
        std::string id;
        // A link's address, resolved against the page's address; absent without "href".
        std::optional<std::string> href;
    };

    HeadlessWebView() = default;
    ~HeadlessWebView() override;

    std::string className() const override { return "HeadlessWebView"; }

    std::optional<Navigation> load(const platform::HttpRequest& request) override;
    std::optional<Navigation> loadHTMLString(const std::string& html,
                                             const std::optional<std::string>& baseUrl) override;
    std::optional<Navigation> reload() override;
    void stopLoading() override;

    // "Mozilla/5.0 (Linux; <systemName> <systemVersion>; <model>) AppleWebKit/605.1.15
    // (KHTML, like Gecko) Quillgate/<version>", from the installed platform's device facts;
    // the custom user agent when one is set.
    std::optional<std::string> userAgent() const override;
    static std::string defaultUserAgent();

    // ---- What the web view was asked to load
    const std::vector<LoadRecord>& loads() const { return loads_; }
    // The requests of `load` calls, in order.
    std::vector<platform::HttpRequest> loadedRequests() const;
    std::optional<Navigation> currentNavigation() const { return current_; }

    // ---- The page on show (the last navigation that committed)
    // Its markup as received, its parsed document, and the HTTP status it came with (none
    // for an HTML text).
    const std::string& html() const { return html_; }
    const platform::HtmlDocument& document() const { return document_; }
    std::optional<long> statusCode() const { return status_; }
    std::vector<Control> links() const;
    std::vector<Control> buttons() const;
    // The first link or button whose text (trimmed) or id is `textOrId`.
    std::optional<Control> control(const std::string& textOrId) const;

    // ---- Acting as the page
    // The reader follows `link`: a `linkActivated` navigation to its address. Nothing when
    // it has no address or the delegate refused it.
    std::optional<Navigation> followLink(const Control& link);
    // The reader presses `button`: in a form, the form is submitted (a `formSubmitted`
    // navigation: GET puts the fields in the query, POST in a urlencoded body) with the
    // button's own name and value; outside one, nothing happens.
    std::optional<Navigation> press(const Control& button);
    // Submits the form `form` (index in document().forms) with its fields' values, `values`
    // set over them by name.
    std::optional<Navigation> submitForm(
        std::size_t form, const std::vector<std::pair<std::string, std::string>>& values = {});
    // The page's script sets its location to `url`: a navigation of type `type`.
    std::optional<Navigation> navigateTo(const std::string& url,
                                         NavigationType type = NavigationType::other);
    // The page posts `body` to the handler `name`. False when no handler has that name: the
    // message goes nowhere.
    bool postScriptMessage(const std::string& name, const nlohmann::json& body);
    // The page's script fetches `url` (relative to the page) with the web view's user agent,
    // without navigating; the completion runs on the main queue, unless the web view is gone.
    void fetch(const std::string& url, std::function<void(platform::HttpResult)> completion);

  private:
    // Runs `action` through the delegate and starts it when allowed; with `html`, the page
    // is that text instead of what the address serves.
    std::optional<Navigation> navigate(NavigationAction action,
                                       std::optional<std::string> html = std::nullopt);
    Navigation start(const NavigationAction& action, const std::optional<std::string>& html);
    // Requests the address of the navigation under way (first hop or a redirect).
    void request(std::uint64_t id, platform::HttpRequest request);
    void answered(std::uint64_t id, const platform::HttpRequest& request,
                  platform::HttpResult result);
    void redirect(std::uint64_t id, platform::HttpRequest request);
    void commit(std::uint64_t id, std::string html, std::optional<long> status);
    void fail(std::uint64_t id, const WebError& error);
    bool isCurrent(std::uint64_t id) const { return current_ && current_->id == id; }
    platform::HttpRequest pageRequest(std::string url) const;
    // The address relative links resolve against: the page's <base>, else its address.
    std::string baseAddress() const;
    std::vector<Control> controls() const;

    std::vector<LoadRecord> loads_;
    std::optional<Navigation> current_;
    std::optional<platform::HttpRequest> lastRequest_;
    std::optional<std::string> lastHtml_;  // the text of the last load, if it was one
    std::map<std::uint64_t, int> redirectCounts_;
    std::string html_;
    platform::HtmlDocument document_;
    std::optional<long> status_;
    std::uint64_t nextId_ = 1;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quillgate::ui

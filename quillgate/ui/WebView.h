#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/Export.h"
#include "quillgate/platform/HttpSession.h"
#include "quillgate/ui/View.h"

// The web view that shows the service's pages: loads (a request, an HTML text with a base
// address, a reload), a navigation delegate that decides every navigation (redirects
// included) and hears its start, finish and failure, script message handlers by name, the
// loading state and address (observable as "loading" and "URL"), and the user agent.
//
// `WebView` is the interface; `WebView::make()` builds the installed implementation, by
// default `HeadlessWebView`, which fetches nothing: it records what it was asked to load,
// runs each navigation through the delegate, and lets a host or test act as the page
// (follow a link, redirect, finish or fail, post a script message). The delegate is held
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

    long code = 0;
    std::string domain;
    std::string description;
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

// The web view without a network: see the comment at the top. Navigations started while one
// is under way cancel it (its delegate hears a provisional failure with code -999). Unless
// told otherwise, a started navigation finishes (commit, then finish) on the main queue after
// the current task.
class QUILLGATE_EXPORT HeadlessWebView : public WebView {
  public:
    struct LoadRecord {
        enum class Kind { request, html, reload };
        Kind kind = Kind::request;
        platform::HttpRequest request;  // for html: the base address or "about:blank"
        std::string html;
        std::optional<std::string> baseUrl;
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

    // ---- What the page was asked to do
    const std::vector<LoadRecord>& loads() const { return loads_; }
    // The requests of `load` calls, in order.
    std::vector<platform::HttpRequest> loadedRequests() const;
    std::optional<Navigation> currentNavigation() const { return current_; }

    // ---- Acting as the page
    // Whether started navigations finish by themselves on the main queue (default true).
    void setAutoFinish(bool on) { autoFinish_ = on; }
    // The page navigates to `url` (a link by default): the delegate decides; when it allows,
    // the navigation starts. Returns the decision when it was taken at once.
    std::optional<NavigationActionPolicy> simulateNavigation(
        const std::string& url, NavigationType type = NavigationType::linkActivated);
    // The server redirects the navigation under way to `url`: the delegate decides; allowed,
    // the address changes; refused, the navigation fails (code 102). Returns the decision
    // when taken at once; nothing when no navigation is under way.
    std::optional<NavigationActionPolicy> simulateRedirect(const std::string& url);
    // Finishes the navigation under way now (commit, then finish).
    bool finishNavigation();
    // Fails the navigation under way: before it committed, as a provisional failure.
    bool failNavigation(const WebError& error, bool provisional = false);
    // The page posts `body` to the handler `name`. False when no handler has that name.
    bool postScriptMessage(const std::string& name, const nlohmann::json& body);

  private:
    // Runs `action` through the delegate and starts it when allowed.
    std::optional<Navigation> navigate(NavigationAction action,
                                       std::optional<NavigationActionPolicy>* decision = nullptr);
    Navigation start(const NavigationAction& action);
    void finish(std::uint64_t id);

    std::vector<LoadRecord> loads_;
    std::optional<Navigation> current_;
    std::optional<platform::HttpRequest> currentRequest_;
    std::optional<platform::HttpRequest> lastRequest_;
    bool committed_ = false;
    bool autoFinish_ = true;
    std::uint64_t nextId_ = 1;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quillgate::ui

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/ui/ActivityIndicatorView.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/WebView.h"

// The modal screen that shows the service's sign-in and purchase pages. The client creates it
// once from the storyboard scene "WebVC", sets the page and the article before each flow and
// presents it; the screen watches the page for the end of the flow and hands back to the
// client:
//
//   - a script message "loginSuccess" (or "autoLoginHandler" when the first flow was an
//     automatic log-in) with the log-in result as JSON text: a "sessionId" in it is stored
//     and the screen relaunches the access flow and tells the auto-login delegate; without
//     one, the failure ending;
//   - a navigation to the tier address (the placeholder site + "/?ovl-tierId=" + tier) or to
//     the home deep link ("orvelant://home?id=" + article), compared as whole strings;
//   - the back button.
//
// Every navigation is allowed, the ending ones included. A failed navigation shows "Page Not
// Found" unless it was cancelled by a newer load. The screen is its web view's navigation
// delegate; its script message handlers hold it weakly. Main thread only.
namespace quillgate {

class WebViewController : public ui::ViewController, public ui::NavigationDelegate {
  public:
    explicit WebViewController(Token token) : ViewController(token) {}
    std::string className() const override { return "WebViewController"; }

    // ---- Outlets, bound from the scene when the view loads
    // The page.
    std::shared_ptr<ui::WebView> webView;
    // Spins while the page loads.
    ui::Outlet<ui::ActivityIndicatorView> activityIndicator;
    // Holds the web view.
    std::shared_ptr<ui::View> containerView;
    // Leaves the flow (`btnBackAction`).
    ui::Outlet<ui::Button> btnBack;

    // The page to load.
    std::optional<std::string> actualURL;
    std::optional<std::string> clientID;
    std::optional<std::string> contentID;
    // The subscription tier of the flow; the empty text when the client has none.
    std::optional<std::string> tierId;
    // Declared for the screen's sign-in button; nothing reads it.
    bool toShowLogInWithOrvelant = true;
    // Copied from the client; nothing here reads it.
    std::optional<ScreenType> screenType;
    // The page is an automatic log-in.
    bool isAutoLogin = false;

    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;

    // ---- Actions
    // The back button: dismisses, then the back ending (EXIT event, relaunch).
    void btnBackAction();
    // The pull-to-refresh control: ends refreshing and reloads the page.
    void reload();

    // ---- The page's script messages
    void didReceiveScriptMessage(const ui::ScriptMessage& message);

    // ---- Navigation delegate
    void decidePolicyForNavigationAction(ui::WebView& webView, const ui::NavigationAction& action,
                                         DecisionHandler decisionHandler) override;
    void didStartProvisionalNavigation(ui::WebView& webView,
                                       const ui::Navigation& navigation) override;
    void didFinishNavigation(ui::WebView& webView, const ui::Navigation& navigation) override;
    // A failure before the page committed (a refused connection, a time-out) and one after
    // it are handled alike: "Page Not Found", except for a cancelled load.
    void didFailProvisionalNavigation(ui::WebView& webView, const ui::Navigation& navigation,
                                      const ui::WebError& error) override;
    void didFailNavigation(ui::WebView& webView, const ui::Navigation& navigation,
                           const ui::WebError& error) override;

    // The scene of the screen: the root view that lays it out, with its container, web view,
    // back button and activity indicator bound to `owner`'s outlets.
    static std::shared_ptr<ui::View> buildScene(ui::Responder* owner);

  private:
    void loadActualURL();
    void observeLoading();
    void loadingChanged(const std::string& keyPath);
    void showPageNotFound(const ui::WebError& error);
    // The endings, run as dismissal completions.
    static void backEnding();
    static void successEnding();
    static void failureEnding();
    std::shared_ptr<ui::NavigationDelegate> asNavigationDelegate();
};

}  // namespace quillgate

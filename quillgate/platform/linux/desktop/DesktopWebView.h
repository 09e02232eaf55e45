#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/ui/WebView.h"

typedef struct _GtkWidget GtkWidget;
typedef struct _WebKitWebView WebKitWebView;

// The web view on WebKitGTK: the service's pages with their own scripts, in a real engine.
//
// Every signal of the engine is turned into the interface's terms and handed to the main
// queue as a task of its own, so that the library hears it the way it hears everything else
// (and the window is laid out and redrawn after it):
//   - "decide-policy" for a navigation (redirects included, marked as such) asks the
//     navigation delegate; the engine waits for the answer, which may come later. A page's
//     request for a new window becomes a navigation of this view.
//   - "load-changed" gives the provisional start, the server redirects, the commit and the
//     finish of each navigation; "load-failed" its failure, before or after the commit, with
//     the engine's error mapped to the codes screens compare (webErrorFor). The engine's own
//     error page is not shown: the delegate decides what the reader sees.
//   - "script-message-received::NAME" for each name of the user content controller: what the
//     page's `window.webkit.messageHandlers.NAME.postMessage(body)` posts, a text as a text,
//     a number or a boolean as such, an object or an array as its JSON.
//   - the engine's "is-loading", "uri" and "title" become the observable loading state and
//     address.
// Handler names are given to the engine at each load and whenever the desktop backend
// refreshes its windows, so that handlers added before a load are there when its page runs.
// `load` never reports a navigation at once: the engine decides every navigation later.
//
// The toolkit widget is placed over the web view's frame in its window by the desktop backend
// while the view is on show in a window it shows. Main thread only, once the toolkit is up.
namespace quillgate::desktop {

class DesktopWebView final : public ui::WebView {
  public:
    DesktopWebView();
    ~DesktopWebView() override;

    std::string className() const override { return "DesktopWebView"; }

    std::optional<ui::Navigation> load(const platform::HttpRequest& request) override;
    std::optional<ui::Navigation> loadHTMLString(
        const std::string& html, const std::optional<std::string>& baseUrl) override;
    std::optional<ui::Navigation> reload() override;
    void stopLoading() override;
    void evaluateJavaScript(const std::string& script, ScriptCompletion completion) override;
    // The custom user agent when set, else the engine's.
    std::optional<std::string> userAgent() const override;

    GtkWidget* widget() const;
    // Gives the engine the handler names of the user content controller (new ones
    // registered, removed ones dropped).
    void syncScriptMessageHandlers();

    // Every desktop web view alive, oldest first.
    static std::vector<DesktopWebView*> all();

  private:
    struct Engine;
    void prepareLoad();
    std::unique_ptr<Engine> engine_;
};

// The engine's load error as screens compare it: a load replaced by another is cancelled
// (-999); an address the engine cannot show (the app's own scheme, reached by the page's
// script or by a server redirect) is the unsupported-address error (-1002); a redirect that
// the navigation delegate refused interrupts the frame load (102). Other errors keep the
// engine's domain and code.
ui::WebError webErrorFor(std::string_view domain, int code, std::string message);

}  // namespace quillgate::desktop

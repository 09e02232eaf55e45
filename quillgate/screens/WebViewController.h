#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/WebView.h"

// The modal screen that shows the service's sign-in and purchase pages. The client creates it
// once from the storyboard scene "WebVC", sets the page and the article before each flow and
// presents it; the screen watches the page for the end of the flow and hands back to the
// client. Main thread only.
namespace quillgate {

class WebViewController : public ui::ViewController {
  public:
    explicit WebViewController(Token token) : ViewController(token) {}
    std::string className() const override { return "WebViewController"; }

    // The page; bound from the scene when the view loads.
    std::shared_ptr<ui::WebView> webView;

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
};

}  // namespace quillgate

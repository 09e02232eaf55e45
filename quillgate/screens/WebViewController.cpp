#include "quillgate/screens/WebViewController.h"

#include <utility>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Url.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/RefreshControl.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/Window.h"

namespace quillgate {

namespace {

constexpr double kPageTimeoutSeconds = 60;

constexpr const char* kAutoLoginHandler = "autoLoginHandler";
constexpr const char* kLoginSuccess = "loginSuccess";
constexpr const char* kGoogleLoginHandler = "googleLoginHandler";
constexpr const char* kCallbackHandler = "callbackHandler";

constexpr const char* kHomePrefix = "orvelant://home?id=";
constexpr const char* kTierQuery = "/?ovl-tierId=";
constexpr const char* kSessionQuery = "?_ovl-sessionId=";
// Any address with this word relaunches the access flow.
constexpr const char* kRelaunchAddress = "orvelant";
constexpr const char* kPageNotFound = "Page Not Found";

constexpr const char* kUnableToLogin = "Unable to Login";
constexpr double kToastDuration = 2;
constexpr double kToastCornerRadius = 10;
constexpr double kToastHeight = 60;
constexpr double kToastFontSize = 14;

// The scene's measures: a bar for the back button above the page.
constexpr double kBarHeight = 44;
constexpr double kBackButtonWidth = 80;
constexpr double kMargin = 8;
constexpr double kIndicatorSize = 37;

// An optional address as the log prints it.
std::string optionalAddress(const std::optional<std::string>& url) {
    return url ? "Optional(" + *url + ")" : "nil";
}

// The type of a script message body as the fault of a non-text body names it.
std::string bodyTypeName(const nlohmann::json& body) {
    switch (body.type()) {
        case nlohmann::json::value_t::object:
            return "__NSDictionaryM";
        case nlohmann::json::value_t::array:
            return "__NSArrayM";
        case nlohmann::json::value_t::boolean:
            return "__NSCFBoolean";
        case nlohmann::json::value_t::null:
            return "NSNull";
        default:
            return "__NSCFNumber";
    }
}

// The root of the scene: lays the bar, the back button, the container, the page and the
// indicator out from its bounds and the window's safe area.
class WebFlowSceneView final : public ui::View {
  public:
    std::string className() const override { return "View"; }

    std::weak_ptr<ui::View> container;
    std::weak_ptr<ui::View> page;
    std::weak_ptr<ui::View> back;
    std::weak_ptr<ui::View> indicator;

    // The scene follows its size and the safe area of the window it joins.
    void setFrame(ui::Rect frame) override {
        View::setFrame(frame);
        relayout();
    }
    void didMoveToWindow() override { relayout(); }
    void relayout() {
        setNeedsLayout();
        layoutIfNeeded();
    }

    void layoutSubviews() override {
        const ui::Rect area = bounds();
        ui::EdgeInsets safe;
        if (auto w = window()) {
            safe = w->safeAreaInsets();
        }
        const double top = safe.top;
        const double width = area.size.width;
        if (auto b = back.lock()) {
            b->setFrame(ui::Rect(safe.left + kMargin, top, kBackButtonWidth, kBarHeight));
        }
        const double pageTop = top + kBarHeight;
        const double pageHeight = std::max(0.0, area.size.height - pageTop - safe.bottom);
        const ui::Rect pageFrame(safe.left, pageTop, std::max(0.0, width - safe.left - safe.right),
                                 pageHeight);
        if (auto c = container.lock()) {
            c->setFrame(pageFrame);
            if (auto p = page.lock()) {
                p->setFrame(ui::Rect(0, 0, pageFrame.size.width, pageFrame.size.height));
            }
            if (auto i = indicator.lock()) {
                i->setFrame(ui::Rect((pageFrame.size.width - kIndicatorSize) / 2,
                                     (pageFrame.size.height - kIndicatorSize) / 2, kIndicatorSize,
                                     kIndicatorSize));
            }
        }
    }
};

}  // namespace

std::shared_ptr<ui::View> WebViewController::buildScene(ui::Responder* owner) {
    auto root = std::make_shared<WebFlowSceneView>();
    root->setBackgroundColor(ui::Color::white());
    auto container = std::make_shared<ui::View>();
    container->setAccessibilityIdentifier("containerView");
    auto page = ui::WebView::make();
    page->setAccessibilityIdentifier("webView");
    auto indicator = std::make_shared<ui::ActivityIndicatorView>();
    indicator->setAccessibilityIdentifier("activityIndicator");
    auto back = std::make_shared<ui::Button>();
    back->setAccessibilityIdentifier("btnBack");
    back->setTitle("Back");
    container->addSubview(page);
    container->addSubview(indicator);
    root->addSubview(container);
    root->addSubview(back);
    root->container = container;
    root->page = page;
    root->back = back;
    root->indicator = indicator;

    if (auto* screen = dynamic_cast<WebViewController*>(owner)) {
        screen->containerView = container;
        screen->webView = page;
        screen->activityIndicator = indicator;
        screen->btnBack = back;
        back->addTarget(
            screen, "btnBackAction:", [screen](ui::Control&) { screen->btnBackAction(); },
            ui::ControlEvent::touchUpInside);
    }
    return root;
}

std::shared_ptr<ui::NavigationDelegate> WebViewController::asNavigationDelegate() {
    return std::shared_ptr<ui::NavigationDelegate>(shared_from_this(),
                                                   static_cast<ui::NavigationDelegate*>(this));
}

// ---- Lifecycle ----------------------------------------------------------------------------------

void WebViewController::viewDidLoad() {
    setOverrideUserInterfaceStyle(ui::UserInterfaceStyle::light);
    if (actualURL) {
        platform::log("loading url: " + *actualURL);
        std::weak_ptr<ViewController> weakSelf = weak_from_this();
        auto handler = [weakSelf](const ui::ScriptMessage& message) {
            if (auto self = std::static_pointer_cast<WebViewController>(weakSelf.lock())) {
                self->didReceiveScriptMessage(message);
            }
        };
        if (isAutoLogin) {
            webView->addScriptMessageHandler(kAutoLoginHandler, handler);
        }
        webView->addScriptMessageHandler(kLoginSuccess, handler);
        webView->addScriptMessageHandler(kGoogleLoginHandler, handler);
        loadActualURL();
    }
    webView->setNavigationDelegate(asNavigationDelegate());
    observeLoading();

    const auto& scroll = webView->scrollView();
    scroll->setBounces(true);
    auto refresh = std::make_shared<ui::RefreshControl>();
    refresh->addTarget(
        this, "reload:", [this](ui::Control&) { reload(); }, ui::ControlEvent::valueChanged);
    scroll->setRefreshControl(refresh);

    if (tierId) {
        platform::log(*tierId);
    }
}

void WebViewController::viewWillAppear(bool animated) {
    ViewController::viewWillAppear(animated);
    if (actualURL) {
        platform::log("url: " + *actualURL);
        loadActualURL();
    }
    EventManager::shared().logEventEXIT(EventLocation::PAGE);
    // Observers are never removed: a later showing adds one more, and the indicator hears
    // each change as many times, to the same effect.
    observeLoading();
}

void WebViewController::loadActualURL() {
    platform::HttpRequest request;
    request.url = *actualURL;
    request.timeoutSeconds = kPageTimeoutSeconds;
    webView->load(request);
}

void WebViewController::observeLoading() {
    std::weak_ptr<ViewController> weakSelf = weak_from_this();
    webView->addObserver(this, "loading", [weakSelf](const ui::KeyValueChange& change) {
        if (auto self = std::static_pointer_cast<WebViewController>(weakSelf.lock())) {
            self->loadingChanged(change.keyPath);
        }
    });
}

void WebViewController::loadingChanged(const std::string& keyPath) {
    if (keyPath == "loading" && webView->isLoading()) {
        activityIndicator->startAnimating();
        activityIndicator->setHidden(false);
    } else {
        activityIndicator->stopAnimating();
        activityIndicator->setHidden(true);
    }
}

// ---- Actions ------------------------------------------------------------------------------------

void WebViewController::btnBackAction() {
    dismiss(true, backEnding);
}

void WebViewController::reload() {
    if (const auto& refresh = webView->scrollView()->refreshControl()) {
        refresh->endRefreshing();
    }
    webView->reload();
}

// ---- Script messages
// ------------------------------------------------------------------------------

void WebViewController::didReceiveScriptMessage(const ui::ScriptMessage& message) {
    platform::log("message received::" + message.name);
    if (message.name == kCallbackHandler) {
        platform::log(std::string(kCallbackHandler) + " " + description::value(message.body));
        return;
    }
    if (message.name != kAutoLoginHandler && message.name != kLoginSuccess) {
        return;
    }
    platform::log(std::string(kAutoLoginHandler) + " " + description::value(message.body));
    if (!message.body.is_string()) {
        // The page promised a text; anything else is its fault, and fatal.
        platform::fatal("Could not cast value of type '" + bodyTypeName(message.body) +
                        "' to 'NSString'.");
    }
    const auto model = decode<AutoLoginModel>(message.body.get<std::string>()).toOptional();
    platform::log(std::string("AutoLoginModel: ") +
                  (model ? "Optional(" + describe(*model) + ")" : "nil"));
    if (model && model->userID) {
        Constants::userID() = *model->userID;
    }
    bool succeeded = false;
    if (model && model->sessionID) {
        Constants::setSessionID(*model->sessionID);
        succeeded = true;
    }
    dismiss(true, succeeded ? successEnding : failureEnding);
    // Logged now: the dismissal's completion, and with it the host's callback, comes after.
    EventManager::shared().logEventEXIT(EventLocation::PAGE);
}

void WebViewController::successEnding() {
    auto& client = QuillgateClient::shared();
    // The relaunch address is a fixed word, always a valid (relative) address.
    client.handleRelaunchApp(kRelaunchAddress);
    if (auto delegate = client.autoLogInDelegate.lock()) {
        delegate->autoLogInsuccess();
    }
}

void WebViewController::failureEnding() {
    auto delegate = QuillgateClient::shared().autoLogInDelegate.lock();
    if (!delegate) {
        Toast::shared().show(kUnableToLogin, ui::Color::black(), ui::Color::white(),
                             ui::Font::system(kToastFontSize), Toast::center, kToastDuration,
                             kToastCornerRadius, kToastHeight);
        return;
    }
    delegate->autoLogInfailure();
}

void WebViewController::backEnding() {
    EventManager::shared().logEventEXIT(EventLocation::PAGE);
    QuillgateClient::shared().handleRelaunchApp(kRelaunchAddress);
}

// ---- Navigation
// ------------------------------------------------------------------------------------

void WebViewController::decidePolicyForNavigationAction(ui::WebView&,
                                                        const ui::NavigationAction& action,
                                                        DecisionHandler decisionHandler) {
    const std::string& address = action.request.url;
    if (!address.empty()) {
        platform::log(address);
        if (contentID && tierId) {
            platform::log(*contentID + " " + *tierId);
            const auto& deployment = QuillgateClient::shared().deployment;
            if (address == deployment.placeholderSiteAddress + kTierQuery + *tierId) {
                platform::log("success-ovl-tierId...");
                dismiss(true, [] { EventManager::shared().logEventEXIT(EventLocation::PAGE); });
            } else if (address == kHomePrefix + *contentID) {
                platform::log("success-home...");
                dismiss(true, backEnding);
            }
        }
    }
    platform::log("decidePolicyFor - url: " + address);
    decisionHandler(ui::NavigationActionPolicy::allow);
}

void WebViewController::didStartProvisionalNavigation(ui::WebView& page, const ui::Navigation&) {
    platform::log("didStartProvisionalNavigation - webView.url: " + optionalAddress(page.url()));
}

void WebViewController::didFinishNavigation(ui::WebView& page, const ui::Navigation&) {
    platform::log("didFinish - webView.url: " + optionalAddress(page.url()));
}

void WebViewController::didFailProvisionalNavigation(ui::WebView&, const ui::Navigation&,
                                                     const ui::WebError& error) {
    showPageNotFound(error);
}

void WebViewController::didFailNavigation(ui::WebView&, const ui::Navigation&,
                                          const ui::WebError& error) {
    showPageNotFound(error);
}

void WebViewController::showPageNotFound(const ui::WebError& error) {
    const auto session = Constants::sessionID();
    if (!contentID || !clientID || !session) {
        return;
    }
    const std::string text = QuillgateClient::shared().deployment.mockSiteAddress + *contentID +
                             "/" + *clientID + kSessionQuery + *session;
    const bool isAddress = platform::url::parse(text).has_value();
    if (error.code == ui::WebError::cancelledCode) {
        return;
    }
    webView->loadHTMLString(kPageNotFound,
                            isAddress ? std::optional<std::string>(text) : std::nullopt);
}

}  // namespace quillgate

#include "quillgate/client/QuillgateClient.h"

#include "quillgate/analytics/EventManager.h"
#include "quillgate/analytics/PingManager.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Text.h"
#include "quillgate/screens/ScreenNibs.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/templates/TemplateNibs.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate {

namespace {

constexpr const char* kSupplyClientID = "Supply client ID before using this function";
constexpr const char* kResetValues = "resetValues()";
constexpr const char* kScrollDepthChanged = "Scroll depth changed to ";
constexpr const char* kScrollDepthPercentageChanged = "Scroll depth percentage changed to ";

// Takes a screen's root view out of the host's view, without loading a view that was never
// loaded.
void removeView(const std::shared_ptr<ui::ViewController>& controller) {
    if (controller) {
        if (auto view = controller->viewIfLoaded()) {
            view->removeFromSuperview();
        }
    }
}

}  // namespace

QuillgateClient& QuillgateClient::shared() {
    // Kept behind a shared_ptr so that completions and screens can hold the client weakly.
    struct Holder {
        std::shared_ptr<QuillgateClient> client{new QuillgateClient()};
    };
    return *platform::sharedInstance<Holder>().client;
}

QuillgateClient::QuillgateClient() {
    // The screens' nibs and storyboard scenes: the library's resource bundle.
    registerScreenNibs();
    registerTemplateNibs();
}
QuillgateClient::~QuillgateClient() = default;

// ---- Public operations -------------------------------------------------------------------

void QuillgateClient::configure(Mode newMode, const std::string& newClientID) {
    mode = newMode;
    clientID = newClientID;
}

void QuillgateClient::setClientUserId(const std::string& clientUserId) {
    Constants::clientUserId() = clientUserId;
    Constants::setStoredClientUserId(clientUserId);
}

void QuillgateClient::showPayWall(
    const std::string& contentID_, std::optional<std::string> title_,
    std::optional<std::vector<std::string>> categories_,
    std::optional<std::vector<std::string>> sections_,
    std::optional<std::vector<std::string>> tags_, std::optional<std::string> contentUrl_,
    std::optional<std::string> authorName_, std::optional<std::string> url_,
    std::shared_ptr<ui::View> parentView_,
    std::shared_ptr<QuillgateEventParamsDelegate> eventParamsDelegate_,
    std::shared_ptr<QuillgateGoogleLogInDelegate> googleLogInDelegate_,
    std::shared_ptr<QuillgateCompletionHandlerDelegate> completiondelegate,
    std::shared_ptr<QuillgateSubscribeBtnTapDelegate> subscriberDelegate,
    std::shared_ptr<QuillgateSignBtnTapDelegate> signInDelegate) {
    resetValues();
    if (platform::text::isBlank(clientID)) {
        platform::log(kSupplyClientID);
        return;
    }
    contentID = contentID_;
    title = std::move(title_);
    categories = std::move(categories_);
    sections = std::move(sections_);
    tags = std::move(tags_);
    contentUrl = std::move(contentUrl_);
    authorName = std::move(authorName_);
    url = std::move(url_);
    parentView = std::move(parentView_);
    completionHandlerDelegate = completiondelegate;
    subscriberBtnDelegate = subscriberDelegate;
    signInBtnDelegate = signInDelegate;
    googleLogInDelegate = googleLogInDelegate_;
    eventParamsDelegate = eventParamsDelegate_;
    screenType = ScreenType::paywallScreen;
    startProcess();
}

void QuillgateClient::initSubscriptions(
    const std::string& contentID_, std::optional<std::string> /*title*/,
    std::optional<std::string> /*url*/, std::shared_ptr<ui::View> parentView_,
    std::shared_ptr<QuillgateCompletionHandlerDelegate> completiondelegate,
    std::shared_ptr<QuillgateSubscribeBtnTapDelegate> subscriberDelegate,
    std::shared_ptr<QuillgateSignBtnTapDelegate> signInDelegate, bool showCrossButton,
    std::shared_ptr<QuillgateGoogleLogInDelegate> googleLogInDelegate_) {
    resetValues();
    if (platform::text::isBlank(clientID)) {
        platform::log(kSupplyClientID);
        return;
    }
    contentID = contentID_;
    // The title and address of this entry are not passed on: the subscription flow sends
    // empty texts in their place.
    title = "";
    url = "";
    parentView = std::move(parentView_);
    completionHandlerDelegate = completiondelegate;
    subscriberBtnDelegate = subscriberDelegate;
    signInBtnDelegate = signInDelegate;
    screenType = ScreenType::subPassScreen;
    googleLogInDelegate = googleLogInDelegate_;
    platform::log(description::boolean(showCrossButton));
    crossButton = showCrossButton;
    platform::log(description::optional(crossButton));
    startProcess();
}

void QuillgateClient::exitSDK() {
    PingManager::shared().stopTimer();
    EventManager::shared().logEventEXIT(EventLocation::PAGE);
}

// ---- Scroll depth ------------------------------------------------------------------------

void QuillgateClient::setScrollDepth(int value) {
    scrollDepth_ = value < 0 ? 0 : value;
    platform::log(kScrollDepthChanged + std::to_string(scrollDepth_));
    scrollDepthDidChange();
}

void QuillgateClient::setScrollDepthPercentage(float value) {
    scrollDepthPercentage_ = value < 0 ? 0 : value;
    platform::log(kScrollDepthPercentageChanged + description::number(scrollDepthPercentage_));
    scrollDepthDidChange();
}

void QuillgateClient::scrollDepthDidChange() {
    // A scroll report shows what waits for a threshold at once; the presentation steps' own
    // guards keep a second copy from being added.
    if (userJourneyModel && userJourneyModel->unlockedWithPageViewMeter.value_or(false)) {
        showMeterBanner();
        popUpCheck();
        return;
    }
    if (isDefaultPaywall) {
        scheduleAfter(0, [](QuillgateClient& client) { client.presentDefaultPaywall(); });
    } else {
        scheduleAfter(0, [model = customizePayWallModel](QuillgateClient& client) {
            client.presentCustomizePayWall(model);
        });
    }
    popUpCheck();
}

void QuillgateClient::scheduleAfter(double seconds, std::function<void(QuillgateClient&)> task) {
    platform::mainQueue().asyncAfter(seconds, [weak = weak_from_this(), task = std::move(task)] {
        if (auto client = weak.lock()) {
            task(*client);
        }
    });
}

// ---- Reset ---------------------------------------------------------------------------------

void QuillgateClient::resetValues() {
    platform::log(kResetValues);

    parentView.reset();
    contentID.clear();
    paywallId.clear();
    paywallType.clear();
    paywallDisplayType = PAYWALLTYPE::INARTICLE;
    numOfCta.clear();
    title.reset();
    categories.reset();
    sections.reset();
    tags.reset();
    contentUrl.reset();
    url.reset();
    tierId.reset();
    availFreeTrialVar.reset();
    apiCallCount = 0;

    // The rule still sees the previous article's journey, configuration and default flag.
    setScrollDepth(0);
    setScrollDepthPercentage(0);

    isNeedToShowPopUp = true;
    isNeedToShowMeterBanner = true;
    isNeedToShowPaywall = true;
    isDefaultPaywall = false;

    removeView(blockerVC);
    blockerVC.reset();
    removeView(webVC);
    webVC.reset();
    removeView(subscriptionVC);
    subscriptionVC.reset();
    if (popUpView) {
        popUpView->removeFromSuperview();
    }
    popUpView.reset();
    if (auto controller = std::dynamic_pointer_cast<ui::ViewController>(customPayWallVC)) {
        removeView(controller);
        customPayWallVC.reset();
    }

    screenType.reset();
    contentDetailsModel.reset();
    customizePayWallModel.reset();
    userJourneyModel.reset();
    popUpModel.reset();
    meterModel.reset();

    completionHandlerDelegate.reset();
    subscriberBtnDelegate.reset();
    signInBtnDelegate.reset();
    getUserDetailDelegate.reset();
    logoutBtnDelegate.reset();
    autoLogInDelegate.reset();
    googleLogInDelegate.reset();
    eventParamsDelegate.reset();
}

}  // namespace quillgate

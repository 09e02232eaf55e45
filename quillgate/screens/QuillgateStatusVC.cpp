#include "quillgate/screens/QuillgateStatusVC.h"

#include "quillgate/analytics/EventManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/resources/CUILine.h"
#include "quillgate/service/Description.h"
#include "quillgate/templates/Helper.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/StackView.h"
#include "quillgate/ui/Window.h"
#include "quillgate/ui/WindowScene.h"

namespace quillgate {

namespace {

constexpr const char* kLogoImage = "orvelantLogoMono.png";

constexpr double kCardCornerRadius = 10;
constexpr double kButtonCornerRadius = 14;

// The currency as the card writes it: the optional itself, quotes and all
// (`Optional("₹")`, or "nil"). The texts of this card are meant to read so.
std::string currencyText(const ContentDetails& details) {
    return description::optional(details.currencySymbol);
}

}  // namespace

// ---- Lifecycle ---------------------------------------------------------------------------------

void QuillgateStatusVC::viewDidLoad() {
    ViewController::viewDidLoad();
    setOverrideUserInterfaceStyle(ui::UserInterfaceStyle::light);
    const auto windows = ui::Application::shared().windows();
    if (!windows.empty()) {
        if (auto scene = windows.front()->windowScene()) {
            const bool portrait = ui::isPortrait(scene->interfaceOrientation());
            dashline1->isHorizontal = portrait;
            dashline2->isHorizontal = portrait;
        }
    }
    dashline1->setNeedsDisplay();
    dashline2->setNeedsDisplay();
}

void QuillgateStatusVC::viewWillAppear(bool animated) {
    ViewController::viewWillAppear(animated);
    showContent();
    showColours();
}

void QuillgateStatusVC::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    // The card is measured at the parent's size: the wall fills its parent view, and this
    // runs as the wall joins it, before the pinning that says so.
    const auto& root = view();
    if (auto parent = root->superview(); parent && root->frame().size != parent->bounds().size) {
        root->setFrame(parent->bounds());
    }
    root->layoutIfNeeded();

    auto& client = QuillgateClient::shared();
    if (auto host = client.completionHandlerDelegate.lock()) {
        host->onPaywallVisible(client.paywallType, std::string(rawValue(client.paywallDisplayType)),
                               containerView->frame().height(), client.paywallId);
    }
}

void QuillgateStatusVC::viewWillLayoutSubviews() {
    ViewController::viewWillLayoutSubviews();
    scrollView->setContentSize(ui::Size{mainBottomView->frame().width(), kScrollContentHeight});
}

void QuillgateStatusVC::viewWillTransitionToSize(ui::Size size) {
    ViewController::viewWillTransitionToSize(size);
    const auto& scenes = ui::Application::shared().connectedScenes();
    if (!scenes.empty()) {
        if (!ui::isPortrait(scenes.front()->interfaceOrientation())) {
            platform::log("LandScape");
            scrollView->setContentSize(
                ui::Size{mainBottomView->frame().width(), kScrollContentHeight});
        } else {
            platform::log("Portrait");
        }
    }
    // The toolkit's transitions end at once.
    platform::log("Rotation completed");
}

void QuillgateStatusVC::willTransitionToTraitCollection() {
    const auto orientation = ui::Application::shared().deviceOrientation();
    const bool portrait = orientation == ui::DeviceOrientation::portrait ||
                          orientation == ui::DeviceOrientation::portraitUpsideDown;
    dashline1->isHorizontal = portrait;
    dashline2->isHorizontal = portrait;
    dashline1->setNeedsDisplay();
    dashline2->setNeedsDisplay();
}

// ---- What the card says ------------------------------------------------------------------------

void QuillgateStatusVC::showContent() {
    auto& card = containerView->layer();
    card.cornerRadius = kCardCornerRadius;
    card.shadowColor = ui::Color::gray();
    card.shadowOffset = ui::Size{0, 0};
    card.shadowRadius = 10;
    card.shadowOpacity = 0.5;
    contView->layer().cornerRadius = kCardCornerRadius;
    contView->setClipsToBounds(true);
    readNowBtn->layer().cornerRadius = kButtonCornerRadius;
    passBtn->layer().cornerRadius = kButtonCornerRadius;
    subscribeBtn->layer().cornerRadius = kButtonCornerRadius;

    if (!contentDetails) {
        return;
    }
    const ContentDetails& details = *contentDetails;
    const auto& customization = details.paywallCustomization;
    subscriptionTitleLbl->setText(customization ? customization->subscriptionTitle.value_or("")
                                                : "");
    subscriptionMessageLbl->setText(customization ? customization->subscriptionText.value_or("")
                                                  : "");

    const std::string currency = currencyText(details);
    contentPriceLbl->setText("Pay " + currency + description::number(details.price.value_or(0.0)) +
                             " to read now");

    const int64_t duration =
        details.validPass && details.validPass->duration ? *details.validPass->duration : 1;
    lblPassMsg->setText(std::to_string(duration) + "-hr unlimited access to premium content");

    const double passPrice =
        details.validPass && details.validPass->price ? *details.validPass->price : 0.0;
    passBtn->setTitle("Buy a pass for " + currency + description::number(passPrice),
                      ui::ControlState::normal);

    if (userBalance == "0") {
        userBalanceLbl->setHidden(true);
    } else {
        userBalanceLbl->setHidden(false);
        userBalanceLbl->setText(balanceString + " " + currency + userBalance);
    }

    if (!toShowLogInBtn) {
        signInStackView->setHidden(true);
    }
    if (!toShowLogInWithOrvelant) {
        logIntoOrvelantStackView->setHidden(true);
    }
}

// ---- Which blocks show
// ---------------------------------------------------------------------------

void QuillgateStatusVC::showColours() {
    const bool hasPrice = contentDetails && contentDetails->price;
    const bool hasPass = contentDetails && contentDetails->validPass;

    if (hasPrice) {
        // The article is the first choice; the pass is the outlined second one.
        topBar->setBackgroundColor(topBarBGViewColor);
        passBtn->setTitleColor(newAccentColor, ui::ControlState::normal);
        passBtn->layer().borderWidth = 1;
        passBtn->layer().borderColor = newAccentColor;
    } else {
        // No article price: the pass, if any, is the filled first choice.
        topView->setHidden(true);
        firstOR->setHidden(true);
        passBtn->setBackgroundColor(newAccentColor);
        passBtn->setTitleColor(ui::Color::white(), ui::ControlState::normal);
        if (!hasPass) {
            secondOR->setHidden(true);
        }
    }

    if (!hasPass) {
        middleView->setHidden(true);
        firstOR->setHidden(true);
        middleViewHeight->setConstant(0);
    }

    // Dropped only for a service that says there are no subscriptions and gives an empty
    // address, or for a host with no subscribe delegate.
    const bool noSubscriptions = contentDetails && contentDetails->subscriptionsExist &&
                                 !*contentDetails->subscriptionsExist &&
                                 contentDetails->subscriptionUrl &&
                                 contentDetails->subscriptionUrl->empty();
    if (noSubscriptions || !toShowSubscriberView) {
        bottomView->setHidden(true);
        secondOR->setHidden(true);
        bottomViewHeight->setConstant(0);
    }

    logIntoOrvelantBtn->setTitleColor(newAccentColor, ui::ControlState::normal);
    readNowBtn->setBackgroundColor(newAccentColor);
    subscribeBtn->setTitleColor(newAccentColor, ui::ControlState::normal);
    subscribeBtn->layer().borderWidth = 1;
    subscribeBtn->layer().borderColor = newAccentColor;
    signInBtn->setTitleColor(ui::Color::black(), ui::ControlState::normal);

    const ui::Image logo = bundleImage(kLogoImage);
    poweredByOrvelantImageView->setImage(logo);
    imgViewPlayWithOrvelan->setImage(logo);
}

// ---- Actions -----------------------------------------------------------------------------------

void QuillgateStatusVC::openWebFlow(ContentType type, const std::string& clickAction) {
    auto client = delegate.lock();
    if (!client) {
        return;
    }
    // The client's article, not this screen's copy of its identity.
    client->startWebFlow(QuillgateClient::shared().contentID, type, "");
    EventManager::shared().logEventCLICK(clickAction, EventLocation::PAYWALL);
}

void QuillgateStatusVC::readNowTap() {
    openWebFlow(ContentType::readNow, "CONTENT");
}

void QuillgateStatusVC::passBtnTap() {
    openWebFlow(ContentType::buyPass, "PASS");
}

void QuillgateStatusVC::logIntoOrvelantTap() {
    // The event doesn't tell logging in from reading: both are "CONTENT".
    openWebFlow(ContentType::onlyLogin, "CONTENT");
}

void QuillgateStatusVC::subscribeBtnTap() {
    if (auto client = delegate.lock()) {
        client->subscribeTap(true);
    }
}

void QuillgateStatusVC::signInBtnTap() {
    if (auto host = QuillgateClient::shared().signInBtnDelegate.lock()) {
        host->signInTap();
    }
}

void QuillgateStatusVC::btnCloseScreen() {
    if (auto client = delegate.lock()) {
        client->closeScreens();
    }
}

}  // namespace quillgate

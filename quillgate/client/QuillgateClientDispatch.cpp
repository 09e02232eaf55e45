#include "quillgate/client/QuillgateClient.h"

// Paywall dispatch: the configuration and banner answers, the routing of a template name to
// its screen, and how a screen gets into the host's parent view.

#include <memory>
#include <string>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Text.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/resources/FontDownloader.h"
#include "quillgate/screens/BannerViewController.h"
#include "quillgate/screens/PopUpView.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/screens/SubscriptionViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/NetworkClient.h"
#include "quillgate/service/NetworkProperties.h"
#include "quillgate/templates/CTA13ViewController.h"
#include "quillgate/templates/CTA15ViewController.h"
#include "quillgate/templates/CTA3ViewController.h"
#include "quillgate/templates/CTA4ViewController.h"
#include "quillgate/templates/CTA5ViewController.h"
#include "quillgate/templates/CTA7ViewController.h"
#include "quillgate/templates/CTA8ViewController.h"
#include "quillgate/templates/RGViewController.h"
#include "quillgate/templates/ZelViewController.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate {

namespace {

// The tag of the root view of any wall inside the parent view; a later presentation finds
// an existing wall by it.
constexpr int kWallTag = 9988;

constexpr const char* kStoryboard = "QuillgateStoryboard";
constexpr const char* kDefaultPaywallScene = "QuillgateStatusVC";
constexpr const char* kSubscriptionScene = "SubscriptionVC";

constexpr const char* kFallbackMessage = "fallback to default paywall!";
constexpr const char* kZelWallName = "DONT_EDIT_THIS_WALL_APP";

constexpr const char* kDefaultPaywallLine = "default paywall";
constexpr const char* kNoPaywallId = "No paywallId found";
constexpr const char* kNoPaywallType = "No paywallType found";
constexpr const char* kNoCta = "No CTA found";
constexpr const char* kInArticleLine = "Showing in-article paywall";
constexpr const char* kFullPageLine = "Showing full-page paywall";
constexpr const char* kPopupLine = "Showing popup paywall";
constexpr const char* kUnknownTemplateSuffix = "::Default Paywall";
constexpr const char* kMeterModelPrefix = "MeterModel::";
constexpr const char* kMeterBannerLine = "Meter Banner";
constexpr const char* kMeterBannerFlagLine = "isNeedToShowMeterBanner = false";
constexpr const char* kShowPopUpLine = "showPopUp()";
constexpr const char* kReloadLine = "reloadSDK";

// Tags a screen's root view as the wall, adds it to the parent view and pins it to the
// parent's four edges. The root takes the parent's size before it joins, so that its first
// layout pass (on joining a window) already sees the width it is shown at.
void addWall(const std::shared_ptr<ui::View>& parent, const std::shared_ptr<ui::View>& root) {
    root->setTag(kWallTag);
    root->setFrame(ui::Rect(ui::Point{}, parent->bounds().size));
    parent->addSubview(root);
    root->setTranslatesAutoresizingMaskIntoConstraints(false);
    ui::pinToEdges(root, parent);
}

// The template record of a configuration, when the whole chain to it is there.
const TemplateIDs* templateOf(const CustomizePayWallModel* model) {
    if (model && model->data && model->data->configuration && model->data->configuration->mobile &&
        model->data->configuration->mobile->templateId) {
        return &*model->data->configuration->mobile->templateId;
    }
    return nullptr;
}

// A configuration without its text styles can't dress a template.
bool hasTypography(const CustomizePayWallModel& model) {
    return model.data && model.data->configuration && model.data->configuration->mobile &&
           model.data->configuration->mobile->json &&
           model.data->configuration->mobile->json->styleForText &&
           model.data->configuration->mobile->json->styleForText->typography;
}

// The deadline text of a timer template, if the configuration has one.
std::optional<std::string> timerText(const CustomizePayWallModel& model) {
    const auto& mobile = model.data->configuration->mobile;
    if (mobile->json && mobile->json->timerValue) {
        return mobile->json->timerValue->time;
    }
    return std::nullopt;
}

bool noSessionStored() {
    return !Constants::sessionID().has_value();
}

// A new screen of class T from the nib of its own name.
template <class T>
std::shared_ptr<SharedData> makeTemplate() {
    return ui::ViewController::create<T>();
}

// The configuration last decoded and the answer it came from. A reader's next locked article
// behind the same wall brings the same answer byte for byte, which then needs no decoding;
// the model is never changed once made, so walls may share it.
struct LastConfiguration {
    std::string body;
    SharedCustomizePayWallModel model;
};

// The configuration in `body`, or null when it doesn't decode (the failure is printed).
SharedCustomizePayWallModel decodedConfiguration(const std::string& body) {
    auto& last = platform::sharedInstance<LastConfiguration>();
    if (last.model && last.body == body) {
        return last.model;
    }
    auto decoded = NetworkClient::decodeReporting<CustomizePayWallModel>(
        body, NetworkClient::FailureLines::shortFamily);
    if (!decoded) {
        return nullptr;
    }
    last.body = body;
    last.model = std::make_shared<const CustomizePayWallModel>(std::move(*decoded));
    return last.model;
}

}  // namespace

// ---- Service answers -----------------------------------------------------------------------

void QuillgateClient::loadMeterBanner() {
    if (!userJourneyModel || !userJourneyModel->meteringAction ||
        !userJourneyModel->meteringAction->data ||
        !userJourneyModel->meteringAction->data->actionID ||
        platform::text::isBlank(*userJourneyModel->meteringAction->data->actionID)) {
        return;
    }
    paywallId = *userJourneyModel->meteringAction->data->actionID;
    auto request = NetworkProperties::getRequest(Parameters::object(), false,
                                                 Endpoint::meteringBanner(paywallId));
    // The completion runs only while the client is alive, so it may use `this`.
    NetworkClient::shared().send(
        std::move(request), weakSelf(),
        [this](std::optional<std::string> data, std::optional<RequestError> error, long status) {
            if (!data || error) {
                return;
            }
            if (NetworkClient::isSuccess(status)) {
                auto model = NetworkClient::decodeReporting<MeterModel>(
                    *data, NetworkClient::FailureLines::shortFamily);
                if (!model) {
                    return;
                }
                meterModel = std::move(model);
                platform::log(kMeterModelPrefix + describe(*meterModel));
                showMeterBanner();
            } else {
                NetworkClient::handleFailureStatus(status, *data);
            }
            // A reader under the page-view meter is let in whatever becomes of the banner.
            if (auto host = completionHandlerDelegate.lock()) {
                host->purchasedOrNot(true);
            }
        });
}

void QuillgateClient::loadPaywallConfig(const std::string& clientID_) {
    if (!userJourneyModel || !userJourneyModel->actionID || !userJourneyModel->actionID->data ||
        !userJourneyModel->actionID->data->actionID ||
        platform::text::isBlank(*userJourneyModel->actionID->data->actionID)) {
        return;
    }
    Parameters parameters = {{"paywallId", *userJourneyModel->actionID->data->actionID}};
    auto request =
        NetworkProperties::getRequest(parameters, false, Endpoint::paywallConfig(clientID_));
    NetworkClient::shared().send(
        std::move(request), weakSelf(),
        [this](std::optional<std::string> data, std::optional<RequestError> error, long status) {
            if (!data || error) {
                return;
            }
            if (!NetworkClient::isSuccess(status)) {
                // A failing configuration service still leaves a wall, unless the service
                // refused the request or doesn't know the publisher or the wall.
                if (status == 400 || status == 404) {
                    NetworkClient::handleFailureStatus(status, *data);
                } else {
                    showDefaultPaywallView();
                }
                return;
            }
            auto model = decodedConfiguration(*data);
            if (!model) {
                return;
            }
            if (!hasTypography(*model)) {
                showDefaultPaywallView();
                return;
            }
            FontDownloader::shared().provision(
                *model, deployment, [weak = weak_from_this(), model] {
                    auto client = weak.lock();
                    if (!client) {
                        return;
                    }
                    client->isNeedToShowPaywall = true;
                    if (model->message &&
                        platform::text::lowercased(*model->message) == kFallbackMessage) {
                        platform::log(kDefaultPaywallLine);
                        client->isDefaultPaywall = true;
                        client->showDefaultPaywallView();
                        return;
                    }
                    client->isDefaultPaywall = false;
                    client->customizePayWallModel = model;
                    client->showCustomizePayWall(model);
                });
        });
}

// ---- Presentations -------------------------------------------------------------------------

void QuillgateClient::presentMeterBanner() {
    if (!parentView || !meterModel) {
        showDefaultPaywallView();
        return;
    }
    platform::log(kMeterBannerLine);
    auto banner = ui::ViewController::create<BannerViewController>();
    customPayWallVC = banner;
    customPayWallVC->setDelegate(weak_from_this());
    platform::log(kMeterBannerFlagLine);
    isNeedToShowMeterBanner = false;
    addWall(parentView, banner->view());
    popUpCheck();
}

void QuillgateClient::presentDefaultPaywall() {
    if (!parentView || blockerVC) {
        return;
    }
    auto screen = std::dynamic_pointer_cast<QuillgateStatusVC>(
        ui::NibRegistry::shared().instantiateViewController(kStoryboard, kDefaultPaywallScene));
    if (!screen) {
        return;
    }
    blockerVC = screen;
    screen->clientID = clientID;
    screen->contentID = contentID;
    screen->contentDetails = contentDetailsModel;
    screen->delegate = weak_from_this();
    screen->accentColor = accentColor;
    screen->toShowSubscriberView = !subscriberBtnDelegate.expired();
    screen->toShowLogInBtn = !signInBtnDelegate.expired();
    screen->toShowLogInWithOrvelant = noSessionStored();
    if (contentDetailsModel && contentDetailsModel->userDetails &&
        contentDetailsModel->userDetails->wallet &&
        contentDetailsModel->userDetails->wallet->balance &&
        contentDetailsModel->userDetails->wallet->balance->numberString) {
        screen->userBalance = *contentDetailsModel->userDetails->wallet->balance->numberString;
    }
    isNeedToShowPaywall = false;
    addWall(parentView, screen->view());
    popUpCheck();
}

void QuillgateClient::presentCustomizePayWall(SharedCustomizePayWallModel model) {
    if (!parentView) {
        return;
    }
    for (const auto& subview : parentView->subviews()) {
        if (subview->tag() == kWallTag) {
            reloadSDK();
            return;
        }
    }

    if (!userJourneyModel || !userJourneyModel->actionID || !userJourneyModel->actionID->data ||
        !userJourneyModel->actionID->data->actionID) {
        platform::log(kNoPaywallId);
        return;
    }
    paywallId = *userJourneyModel->actionID->data->actionID;

    const TemplateIDs* wall = templateOf(model.get());
    if (!wall || !wall->paywallType) {
        platform::log(kNoPaywallType);
        return;
    }
    paywallType = *wall->paywallType;

    const std::string displayType = wall->displayType.value_or("INARTICLE");
    if (displayType == "FULLPAGE") {
        paywallDisplayType = PAYWALLTYPE::FULLPAGE;
        platform::log(kFullPageLine);
    } else if (displayType == "POPUP") {
        paywallDisplayType = PAYWALLTYPE::POPUP;
        platform::log(kPopupLine);
    } else {
        paywallDisplayType = PAYWALLTYPE::INARTICLE;
        platform::log(kInArticleLine);
    }

    if (!wall->number_of_cta) {
        platform::log(kNoCta);
        return;
    }
    numOfCta = std::to_string(*wall->number_of_cta);

    paywallName = wall->name.value_or("");
    const auto& wallName = model->data->name;
    if (wallName && platform::text::isNotBlank(*wallName) &&
        platform::text::uppercased(*wallName) == kZelWallName) {
        paywallName = *wallName;
    }

    // A timer template is shown only with a live countdown: no deadline, or one that has
    // passed, gives the default paywall; a deadline that can't be read gives nothing.
    auto timerStillRunning = [this, &model]() {
        const auto text = timerText(*model);
        if (!text || platform::text::isBlank(*text)) {
            showDefaultPaywallView();
            return false;
        }
        const auto deadline =
            platform::text::parseDate(*text, CTA13TimerTableViewCell::datePattern);
        if (!deadline) {
            return false;
        }
        const auto left =
            platform::text::dateDifference(platform::current().clock->now(), *deadline);
        const long seconds =
            ((left.days * 24 + left.hours) * 60 + left.minutes) * 60 + left.seconds;
        if (seconds <= 0) {
            showDefaultPaywallView();
            return false;
        }
        return true;
    };

    const std::string route = platform::text::uppercased(paywallName);
    std::shared_ptr<SharedData> screen;
    if (route == "3A") {
        platform::log("TEMPLATE3A");
        screen = makeTemplate<CTA3ViewController>();
    } else if (route == "4A") {
        platform::log("TEMPLATE4A");
        screen = makeTemplate<CTA4ViewController>();
    } else if (route == "5A") {
        platform::log("TEMPLATE5A");
        screen = makeTemplate<CTA5ViewController>();
    } else if (route == "7A") {
        platform::log("TEMPLATE7A");
        screen = makeTemplate<CTA7ViewController>();
    } else if (route == "8A") {
        platform::log("TEMPLATE8A");
        screen = makeTemplate<CTA8ViewController>();
    } else if (route == "RG4" || route == "RG5" || route == "RG6") {
        platform::log("TEMPLATE" + route);
        screen = makeTemplate<RGViewController>();
    } else if (route == "13A") {
        platform::log("TEMPLATE13A");
        if (!timerStillRunning()) {
            return;
        }
        screen = makeTemplate<CTA13ViewController>();
    } else if (route == "15A") {
        platform::log("TEMPLATE15A");
        if (!timerStillRunning()) {
            return;
        }
        screen = makeTemplate<CTA15ViewController>();
    } else if (route == kZelWallName) {
        platform::log("ZELPAYWALL");
        screen = makeTemplate<ZelViewController>();
    } else {
        platform::log(paywallName + kUnknownTemplateSuffix);
        showDefaultPaywallView();
    }

    // With no new screen (the default paywall took over) the field is left empty.
    customPayWallVC = screen;
    if (!customPayWallVC) {
        return;
    }
    customPayWallVC->setDelegate(weak_from_this());
    customPayWallVC->setCustomizePayWallModel(model);
    if (auto controller = std::dynamic_pointer_cast<ui::ViewController>(customPayWallVC)) {
        isNeedToShowPaywall = false;
        addWall(parentView, controller->view());
        popUpCheck();
    }
}

void QuillgateClient::showPopUp(double delay) {
    if (!popUpModel || !popUpModel->type) {
        return;
    }
    scheduleAfter(delay, [type = *popUpModel->type](QuillgateClient& client) {
        if (platform::text::lowercased(type) != "mobile") {
            return;
        }
        if (!client.popUpModel || !client.parentView || client.popUpView ||
            !client.popUpModel->position) {
            return;
        }
        auto popup = PopUpView::loadFromNib();
        client.popUpView = popup;
        EventManager::shared().logEventVIEW(EventLocation::POPUP);
        client.isNeedToShowPopUp = false;
        client.parentView->addSubview(popup);
        popup->setTranslatesAutoresizingMaskIntoConstraints(false);
        popup->place(client.parentView, *client.popUpModel->position);
        platform::log(kShowPopUpLine);
    });
}

void QuillgateClient::presentSubscriptionScreen(EmbededSubscription model) {
    if (!parentView || subscriptionVC) {
        return;
    }
    auto screen = std::dynamic_pointer_cast<SubscriptionViewController>(
        ui::NibRegistry::shared().instantiateViewController(kStoryboard, kSubscriptionScene));
    if (!screen) {
        return;
    }
    subscriptionVC = screen;
    screen->embededSubModel = std::move(model);
    screen->clientId = clientID;
    screen->contentId = contentID;
    screen->delegate = weak_from_this();
    screen->toShowLogInWithOrvelant = noSessionStored();
    platform::log(description::optional(crossButton));
    screen->crossBtnHS = crossButton.value_or(true);
    platform::log(description::optional(screen->crossBtnHS));
    addWall(parentView, screen->view());
}

// ---- Preview -------------------------------------------------------------------------------

void QuillgateClient::presentPreview(PreviewScreen screen) {
    switch (screen) {
        case PreviewScreen::paywall:
            presentCustomizePayWall(customizePayWallModel);
            break;
        case PreviewScreen::defaultPaywall:
            presentDefaultPaywall();
            break;
        case PreviewScreen::meterBanner:
            presentMeterBanner();
            break;
        case PreviewScreen::popUp:
            showPopUp(0);
            break;
    }
}

// ---- The wall on show ----------------------------------------------------------------------

void QuillgateClient::reloadSDK() {
    if (screenType != ScreenType::paywallScreen || !customPayWallVC) {
        return;
    }
    customPayWallVC->refreshData();
    EventManager::shared().logEventVIEW(EventLocation::PAYWALL);
    platform::log(kReloadLine);
}

void QuillgateClient::closeScreens() {
    // Only the wall is taken away: the fields keep their screens until the next reset, and
    // the subscription screen closes itself.
    auto removeRoot = [](const std::shared_ptr<ui::ViewController>& controller) {
        if (auto root = controller ? controller->viewIfLoaded() : nullptr) {
            root->removeFromSuperview();
        }
    };
    if (screenType == ScreenType::paywallScreen && !blockerVC) {
        removeRoot(std::dynamic_pointer_cast<ui::ViewController>(customPayWallVC));
    } else if (blockerVC) {
        removeRoot(blockerVC);
    }
}

}  // namespace quillgate

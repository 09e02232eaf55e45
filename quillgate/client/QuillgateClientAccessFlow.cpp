#include "quillgate/client/QuillgateClient.h"

// The access flow: from startProcess through the journey, the login challenge, the content
// and the subscription access, to what the host is told and which condition gate runs.
//
// It is a chain of completions on the main queue with no state object of its own: each step
// reads and writes the client's fields and starts the next step. Every request is sent with
// the client as its weak owner, so an answer that arrives after a reset acts on the article
// that is current then; nothing cancels a request in flight.

#include "quillgate/analytics/AccessType.h"
#include "quillgate/analytics/EventManager.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/CustomError.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/NetworkClient.h"
#include "quillgate/service/NetworkProperties.h"

namespace quillgate {

namespace {

constexpr const char* kStartJourney = "trackstartProcess()::handleUserJourney";
constexpr const char* kStartLoginChallenge = "trackstartProcess::handleLoginChallenge()";
constexpr const char* kCallingLoginChallenge = "calling handleLoginChallenge";
constexpr const char* kSessionFound = "sessionID found";
constexpr const char* kChallengeToJourney = "trackhandleLoginChallenge()::handleUserJourney";
constexpr const char* kJourneyToChallenge = "trackhandleUserJourney::handleLoginChallenge()";
constexpr const char* kPopUpModel = "PopUpModel::";
constexpr const char* kShowMeterBanner = "showMeterBanner()";
constexpr const char* kShowMeterBannerIn = "showMeterBanner()::In";
constexpr const char* kShowCustomizePayWall = "showCustomizePayWall()";
constexpr const char* kShowDefaultPaywallView = "showDefaultPaywallView()";
constexpr const char* kShowMeterBannerView = "showMeterBannerView()";

// The texts the journey sends for the facts a web page would know and an application
// doesn't: no ad blocker, no cookies, an application in a web view.
constexpr const char* kAdBlock = "false";
constexpr const char* kCookies = "0";
constexpr const char* kDevice = "application";
constexpr const char* kOperatingSystem = "IOS";
constexpr const char* kBrowser = "WEBVIEW";

using Answer = NetworkClient::Completion;

// The outline of the journey and the login challenge, the two answers that carry on after a
// status the others stop at: 200 and 201 go to `onSuccess`, 400 and 404 stop with their toast
// or line, and any other status runs `onOtherStatus`.
Answer carryingOnOutline(std::function<void(const std::string& body)> onSuccess,
                         std::function<void()> onOtherStatus) {
    return [onSuccess = std::move(onSuccess), onOtherStatus = std::move(onOtherStatus)](
               std::optional<std::string> data, std::optional<RequestError> error, long status) {
        if (!data || error) {
            return;
        }
        if (NetworkClient::isSuccess(status)) {
            onSuccess(*data);
        } else if (status == 400 || status == 404) {
            NetworkClient::handleFailureStatus(status, *data);
        } else {
            onOtherStatus();
        }
    };
}

bool isBlank(const std::string& text) {
    return platform::text::isBlank(text);
}

// A list for the journey: the given one, or a list holding one empty text.
nlohmann::json listOrEmptyText(const std::optional<std::vector<std::string>>& list) {
    return list ? nlohmann::json(*list) : nlohmann::json::array({""});
}

// What the condition gates share: a page-load record and a scroll-depth record decide
// whether the screen comes now, after some seconds, or only when the reader has scrolled
// far enough. Nothing means "not now".
struct GateSources {
    const std::optional<DesktopPageLoad>* pageLoad = nullptr;  // null: not consulted
    bool conditionSourcePresent = false;
    const std::optional<DesktopPageLoad>* scrollDepth = nullptr;
};

// The page load and scroll depth of one action's conditions, which are the condition source.
GateSources sourcesOf(const Conditions* conditions) {
    if (!conditions) {
        return GateSources{};
    }
    return GateSources{&conditions->mobilePageLoad, true, &conditions->mobileScrollDepth};
}

std::optional<double> gateDelay(const GateSources& sources, int scrollDepth,
                                float scrollDepthPercentage) {
    if (sources.pageLoad && *sources.pageLoad) {
        const auto& pageLoad = **sources.pageLoad;
        if (pageLoad.enabled == true && pageLoad.value && *pageLoad.value >= 0) {
            return static_cast<double>(*pageLoad.value);
        }
    }
    if (!sources.conditionSourcePresent) {
        return 0.0;
    }
    if (!sources.scrollDepth || !*sources.scrollDepth) {
        return 0.0;
    }
    const auto& scroll = **sources.scrollDepth;
    if (scroll.enabled != true || !scroll.value || *scroll.value < 0) {
        return 0.0;
    }
    if (!scroll.type) {
        return std::nullopt;
    }
    const std::string type = platform::text::lowercased(*scroll.type);
    const auto threshold = static_cast<double>(*scroll.value);
    if (type == "percent" && static_cast<double>(scrollDepthPercentage) >= threshold) {
        return 0.0;
    }
    if (type == "pixels" && static_cast<double>(scrollDepth) >= threshold) {
        return 0.0;
    }
    return std::nullopt;
}

// The conditions of a journey's paywall action, when the action and its data are there.
const Conditions* paywallConditions(const UserJourneyModel& journey) {
    if (!journey.actionID || !journey.actionID->data || !journey.actionID->data->conditions) {
        return nullptr;
    }
    return &*journey.actionID->data->conditions;
}

const Conditions* popupConditions(const UserJourneyModel& journey) {
    if (!journey.popupAction || !journey.popupAction->data ||
        !journey.popupAction->data->conditions) {
        return nullptr;
    }
    return &*journey.popupAction->data->conditions;
}

}  // namespace

// ---- Entry -------------------------------------------------------------------------------

void QuillgateClient::startProcess() {
    if (isBlank(clientID) || isBlank(contentID) || !parentView ||
        completionHandlerDelegate.expired()) {
        return;
    }
    if (screenType == ScreenType::paywallScreen) {
        platform::log(kStartJourney);
        handleUserJourney(contentID, clientID);
    } else if (Constants::loginChallenge()) {
        platform::log(kStartLoginChallenge);
        handleLoginChallenge(contentID, clientID);
    } else {
        checkSubscriptionAccess(contentID, clientID, title, url);
    }
    // At once, not when an answer comes: a session gained later counts from here.
    apiCallCount = 0;
}

bool QuillgateClient::canShowSubscriptions() const {
    return !isBlank(clientID) && !isBlank(contentID) && parentView &&
           !completionHandlerDelegate.expired();
}

void QuillgateClient::tellHost(bool accessTime) {
    if (auto host = completionHandlerDelegate.lock()) {
        host->purchasedOrNot(accessTime);
    }
}

// ---- Login challenge ---------------------------------------------------------------------

void QuillgateClient::handleLoginChallenge(const std::string& contentID_,
                                           const std::string& clientID_) {
    platform::log(kCallingLoginChallenge);
    auto challenge = Constants::loginChallenge();
    if (!challenge) {
        if (screenType == ScreenType::paywallScreen) {
            loadContentDetails(contentID_, clientID_);
        } else if (canShowSubscriptions()) {
            loadEmbeddedSubscription();
        }
        return;
    }

    auto request = NetworkProperties::getRequest(Parameters::object(), false,
                                                 Endpoint::loginChallengeById(*challenge));
    auto onSuccess = [this, contentID_, clientID_](const std::string& body) {
        auto decoded = decode<LoginChallenge>(body);
        if (!decoded) {
            print(CustomError::decodingError);
            return;
        }
        const LoginChallenge& answerModel = *decoded;
        if (answerModel.sessionID) {
            platform::log(kSessionFound);
            Constants::setSessionID(answerModel.sessionID);
            Constants::setLoginChallenge(std::nullopt);
            if (answerModel.userID) {
                Constants::userID() = *answerModel.userID;
            }
            ++apiCallCount;
        }
        if (screenType == ScreenType::paywallScreen) {
            if (apiCallCount != 1) {
                loadContentDetails(contentID_, clientID_);
                apiCallCount = 0;
            } else {
                // A session gained from the web flow: the journey runs once more with it.
                platform::log(kChallengeToJourney);
                handleUserJourney(contentID_, clientID_);
            }
        } else {
            checkSubscriptionAccess(contentID_, clientID_, title, url);
        }
    };
    // The challenge service failing doesn't stop the article: it goes on as if no session had
    // been gained.
    auto onOtherStatus = [this, contentID_, clientID_] {
        loadContentDetails(contentID_, clientID_);
    };
    NetworkClient::shared().send(std::move(request), weakSelf(),
                                 carryingOnOutline(std::move(onSuccess), std::move(onOtherStatus)));
}

// ---- Journey -----------------------------------------------------------------------------

void QuillgateClient::handleUserJourney(const std::string& contentID_,
                                        const std::string& clientID_) {
    const std::string storedUserId = Constants::storedClientUserId();
    Parameters parameters = {
        {"clientId", clientID_},
        {"anonId", Constants::anonymousID()},
        {"adBlock", kAdBlock},
        {"cookies", kCookies},
        {"clientContentId", contentID_},
        {"sessionId", Constants::sessionID().value_or("")},
        {"device", kDevice},
        {"operatingSystem", kOperatingSystem},
        {"browser", kBrowser},
        {"userId", isBlank(storedUserId) ? Constants::userID() : storedUserId},
        {"categories", listOrEmptyText(categories)},
        {"sections", listOrEmptyText(sections)},
        {"title", title.value_or("")},
        {"tags", listOrEmptyText(tags)},
        // The journey takes the article's public address; `url` goes to the access check.
        {"url", contentUrl.value_or("")},
        {"authorName", authorName.value_or("")},
    };
    auto request = NetworkProperties::getRequest(parameters, true, Endpoint::journey());
    auto onSuccess = [this, contentID_, clientID_](const std::string& body) {
        auto decoded = decode<UserJourneyModel>(body);
        if (!decoded) {
            print(CustomError::decodingError);
            return;
        }
        handleJourneyAnswer(std::move(*decoded), contentID_, clientID_);
    };
    // A journey service in trouble still leaves the offer to be fetched.
    auto onOtherStatus = [this, contentID_, clientID_] {
        loadContentDetails(contentID_, clientID_);
        loadPopUpModel();
    };
    NetworkClient::shared().send(std::move(request), weakSelf(),
                                 carryingOnOutline(std::move(onSuccess), std::move(onOtherStatus)));
}

void QuillgateClient::handleJourneyAnswer(UserJourneyModel journey, const std::string& contentID_,
                                          const std::string& clientID_) {
    userJourneyModel = std::move(journey);
    const UserJourneyModel& model = *userJourneyModel;
    updateAccessType(model);
    EventManager::shared().logEventVIEW(EventLocation::PAGE);

    const bool meterSpent = model.unlockedWithPageViewMeter == false;
    if (meterSpent && model.freeAccess == true) {
        tellHost(false);
        closeScreens();
    } else if (meterSpent && model.accessTimeLeft && *model.accessTimeLeft >= 1) {
        tellHost(true);
        closeScreens();
    } else {
        tellHost(false);
        if (model.sessionExists == false) {
            Constants::setSessionID(std::nullopt);
            Constants::userID().clear();
        }
        if (screenType == ScreenType::paywallScreen) {
            platform::log(kJourneyToChallenge);
            handleLoginChallenge(contentID_, clientID_);
        } else if (canShowSubscriptions()) {
            loadEmbeddedSubscription();
        }
    }

    loadPopUpModel();
    updateUnlockedStatus(model);
}

// ---- Subscription access -----------------------------------------------------------------

void QuillgateClient::checkSubscriptionAccess(const std::string& contentID_,
                                              const std::string& clientID_,
                                              const std::optional<std::string>& title_,
                                              const std::optional<std::string>& url_) {
    Parameters parameters = {
        {"clientId", clientID_},
        {"clientContentId", contentID_},
        {"title", title_.value_or("")},
        {"url", url_.value_or("")},
    };
    if (auto session = Constants::sessionID()) {
        parameters["sessionId"] = *session;
    }
    auto request = NetworkProperties::getRequest(parameters, false, Endpoint::subscriptionAccess());
    auto answer = NetworkClient::commonOutline([this](const std::string& body) {
        nlohmann::json object = nlohmann::json::parse(body, nullptr, false);
        if (object.is_discarded() || !object.is_object()) {
            print(CustomError::decodingError);
            return;
        }
        // The body as the platform describes bytes, then what it parsed to.
        platform::log(std::to_string(body.size()) + " bytes");
        platform::log(description::value(object));
        if (object.contains("error")) {
            tellHost(false);
            Constants::setSessionID(std::nullopt);
            Constants::userID().clear();
            if (canShowSubscriptions()) {
                loadEmbeddedSubscription();
            }
            return;
        }
        auto purchase = decode<PurchaseModel>(body);
        if (!purchase) {
            return;
        }
        if (purchase->signature) {
            tellHost(true);
            closeScreens();
        }
    });
    NetworkClient::shared().send(std::move(request), weakSelf(), std::move(answer));
}

// ---- Content, subscription plans, popup --------------------------------------------------

void QuillgateClient::loadContentDetails(const std::string& contentID_,
                                         const std::string& clientID_) {
    Parameters parameters = {{"clientId", clientID_}, {"clientContentId", contentID_}};
    if (auto session = Constants::sessionID()) {
        parameters["sessionId"] = *session;
    }
    auto request = NetworkProperties::getRequest(parameters, false, Endpoint::content());
    auto answer = NetworkClient::commonOutline([this](const std::string& body) {
        auto details = NetworkClient::decodeReporting<ContentDetails>(body);
        if (!details) {
            return;
        }
        contentDetailsModel = std::move(*details);
        if (userJourneyModel && userJourneyModel->unlockedWithPageViewMeter == true) {
            loadMeterBanner();
        } else {
            loadPaywallConfig(clientID);
        }
    });
    NetworkClient::shared().send(std::move(request), weakSelf(), std::move(answer));
}

void QuillgateClient::loadEmbeddedSubscription() {
    Parameters parameters = {{"clientId", clientID}};
    auto request =
        NetworkProperties::getRequest(parameters, false, Endpoint::embeddedSubscription());
    auto answer = NetworkClient::commonOutline([this](const std::string& body) {
        auto plans = NetworkClient::decodeReporting<EmbededSubscription>(body);
        if (plans) {
            presentSubscriptionScreen(std::move(*plans));
        }
    });
    NetworkClient::shared().send(std::move(request), weakSelf(), std::move(answer));
}

void QuillgateClient::loadPopUpModel() {
    if (!userJourneyModel || !userJourneyModel->popupAction ||
        !userJourneyModel->popupAction->data) {
        return;
    }
    const auto& popupActionID = userJourneyModel->popupAction->data->popupActionID;
    if (!popupActionID || isBlank(*popupActionID)) {
        return;
    }
    auto request =
        NetworkProperties::getRequest(Parameters::object(), false, Endpoint::popup(*popupActionID));
    auto answer = NetworkClient::commonOutline([this](const std::string& body) {
        auto popup = NetworkClient::decodeReporting<PopUpModel>(
            body, NetworkClient::FailureLines::shortFamily);
        if (!popup) {
            return;
        }
        popUpModel = std::move(*popup);
        // With a wall or a banner on its way, their presentation runs the popup check once
        // they have been added; otherwise nothing else will.
        if (!userJourneyModel ||
            (!userJourneyModel->actionID && !userJourneyModel->meteringAction)) {
            popUpCheck();
        }
        platform::log(kPopUpModel + describe(*popUpModel));
    });
    NetworkClient::shared().send(std::move(request), weakSelf(), std::move(answer));
}

// ---- Condition gates ---------------------------------------------------------------------

void QuillgateClient::showMeterBanner() {
    platform::log(kShowMeterBanner);
    if (!isNeedToShowMeterBanner) {
        return;
    }
    platform::log(kShowMeterBannerIn);
    if (!userJourneyModel) {
        showMeterBannerView(0);
        return;
    }
    const auto& metering = userJourneyModel->meteringAction;
    if (!metering || !metering->data || !metering->data->conditions) {
        showMeterBannerView(0);
        return;
    }
    const PurpleConditions& conditions = *metering->data->conditions;
    GateSources sources{&conditions.mobilePageLoad, true, &conditions.mobileScrollDepth};
    if (auto delay = gateDelay(sources, scrollDepth_, scrollDepthPercentage_)) {
        showMeterBannerView(*delay);
    }
}

void QuillgateClient::showCustomizePayWall(SharedCustomizePayWallModel model) {
    platform::log(kShowCustomizePayWall);
    if (!isNeedToShowPaywall) {
        return;
    }
    auto present = [this, &model](double delay) {
        scheduleAfter(delay,
                      [model](QuillgateClient& client) { client.presentCustomizePayWall(model); });
    };
    if (!userJourneyModel || !userJourneyModel->actionID || !userJourneyModel->actionID->data) {
        present(0);
        return;
    }
    const Conditions* conditions = paywallConditions(*userJourneyModel);
    if (auto delay = gateDelay(sourcesOf(conditions), scrollDepth_, scrollDepthPercentage_)) {
        present(*delay);
    }
}

void QuillgateClient::showDefaultPaywallView() {
    platform::log(kShowDefaultPaywallView);
    if (!isNeedToShowPaywall) {
        return;
    }
    auto present = [this](double delay) {
        scheduleAfter(delay, [](QuillgateClient& client) { client.presentDefaultPaywall(); });
    };
    if (!userJourneyModel) {
        present(0);
        return;
    }
    // The page load is the paywall action's, the scroll condition the popup's: that mix is
    // how the default paywall has always been timed, and publishers' set-ups rely on it.
    const Conditions* pageConditions = paywallConditions(*userJourneyModel);
    const Conditions* scrollConditions = popupConditions(*userJourneyModel);
    GateSources sources;
    sources.pageLoad = pageConditions ? &pageConditions->mobilePageLoad : nullptr;
    sources.conditionSourcePresent = scrollConditions != nullptr;
    sources.scrollDepth = scrollConditions ? &scrollConditions->mobileScrollDepth : nullptr;
    if (auto delay = gateDelay(sources, scrollDepth_, scrollDepthPercentage_)) {
        present(*delay);
    }
}

void QuillgateClient::popUpCheck() {
    if (!isNeedToShowPopUp) {
        return;
    }
    if (!userJourneyModel) {
        showPopUp(0);
        return;
    }
    const Conditions* conditions = popupConditions(*userJourneyModel);
    if (auto delay = gateDelay(sourcesOf(conditions), scrollDepth_, scrollDepthPercentage_)) {
        showPopUp(*delay);
    }
}

void QuillgateClient::showMeterBannerView(double delay) {
    platform::log(kShowMeterBannerView);
    scheduleAfter(delay, [](QuillgateClient& client) { client.presentMeterBanner(); });
}

}  // namespace quillgate

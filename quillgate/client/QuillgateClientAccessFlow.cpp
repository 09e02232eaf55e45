#include "quillgate/client/QuillgateClient.h"

// The access flow: from startProcess through the journey, the login challenge, the content
// and the subscription access, to what the host is told and which condition gate runs.

#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/service/Constants.h"

namespace quillgate {

namespace {

constexpr const char* kStartJourney = "trackstartProcess()::handleUserJourney";
constexpr const char* kStartLoginChallenge = "trackstartProcess::handleLoginChallenge()";

}  // namespace

void QuillgateClient::startProcess() {
    if (platform::text::isBlank(clientID) || platform::text::isBlank(contentID) || !parentView ||
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
    apiCallCount = 0;
}

void QuillgateClient::handleLoginChallenge(const std::string& contentID_,
                                           const std::string& clientID_) {
    // The stored challenge is exchanged for a session here.
    (void)contentID_, (void)clientID_;
}

void QuillgateClient::handleUserJourney(const std::string& contentID_,
                                        const std::string& clientID_) {
    // The journey request and the decision on its answer land here.
    (void)contentID_, (void)clientID_;
}

void QuillgateClient::checkSubscriptionAccess(const std::string& contentID_,
                                              const std::string& clientID_,
                                              const std::optional<std::string>& title_,
                                              const std::optional<std::string>& url_) {
    // The subscription-access request and its answer land here.
    (void)contentID_, (void)clientID_, (void)title_, (void)url_;
}

void QuillgateClient::loadContentDetails(const std::string& contentID_,
                                         const std::string& clientID_) {
    // The content request lands here; its answer leads to the banner or the configuration.
    (void)contentID_, (void)clientID_;
}

void QuillgateClient::loadEmbeddedSubscription() {
    // The embedded-subscription request lands here.
}

void QuillgateClient::loadPopUpModel() {
    // The popup request lands here.
}

void QuillgateClient::showMeterBanner() {
    // The banner's page-load and scroll conditions land here.
}

void QuillgateClient::showDefaultPaywallView() {
    // The default paywall's conditions land here.
}

void QuillgateClient::showCustomizePayWall(SharedCustomizePayWallModel model) {
    // The template paywall's conditions land here.
    (void)model;
}

void QuillgateClient::popUpCheck() {
    // The popup's conditions land here.
}

void QuillgateClient::showMeterBannerView(double delay) {
    // Scheduling the banner's presentation lands here.
    (void)delay;
}

}  // namespace quillgate

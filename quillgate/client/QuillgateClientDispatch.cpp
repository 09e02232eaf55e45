#include "quillgate/client/QuillgateClient.h"

// Paywall dispatch: the configuration and banner answers, the routing of a template name to
// its screen, and how a screen gets into the host's parent view.

namespace quillgate {

void QuillgateClient::loadMeterBanner() {
    // The metering banner request lands here.
}

void QuillgateClient::loadPaywallConfig(const std::string& clientID_) {
    // The paywall configuration request, fonts and the gate land here.
    (void)clientID_;
}

void QuillgateClient::presentMeterBanner() {
    // Adding the banner to the parent view lands here.
}

void QuillgateClient::presentDefaultPaywall() {
    // Adding the default paywall to the parent view lands here.
}

void QuillgateClient::presentCustomizePayWall(SharedCustomizePayWallModel model) {
    // Routing by template name and adding the screen land here.
    (void)model;
}

void QuillgateClient::showPopUp(double delay) {
    // Adding the popup lands here.
    (void)delay;
}

void QuillgateClient::presentSubscriptionScreen(EmbededSubscription model) {
    // Adding the subscription screen lands here.
    (void)model;
}

void QuillgateClient::reloadSDK() {
    // Refreshing the wall on show lands here.
}

void QuillgateClient::closeScreens() {
    // Removing the wall on show lands here.
}

}  // namespace quillgate

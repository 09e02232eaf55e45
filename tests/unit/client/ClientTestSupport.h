#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/service/Description.h"

// What the client tests share: a way into the client's internal steps, and a host that
// writes down every delegate call it hears.
namespace quillgate {

// Reaches the client's private steps from tests. One definition for the whole test binary.
struct QuillgateClientTestAccess {
    static void resetValues(QuillgateClient& c) { c.resetValues(); }
    static void startProcess(QuillgateClient& c) { c.startProcess(); }
    static void handleLoginChallenge(QuillgateClient& c) {
        c.handleLoginChallenge(c.contentID, c.clientID);
    }
    static void handleUserJourney(QuillgateClient& c) {
        c.handleUserJourney(c.contentID, c.clientID);
    }
    static void checkSubscriptionAccess(QuillgateClient& c) {
        c.checkSubscriptionAccess(c.contentID, c.clientID, c.title, c.url);
    }
    static void loadContentDetails(QuillgateClient& c) {
        c.loadContentDetails(c.contentID, c.clientID);
    }
    static void loadEmbeddedSubscription(QuillgateClient& c) { c.loadEmbeddedSubscription(); }
    static void loadPopUpModel(QuillgateClient& c) { c.loadPopUpModel(); }
    static void loadMeterBanner(QuillgateClient& c) { c.loadMeterBanner(); }
    static void loadPaywallConfig(QuillgateClient& c) { c.loadPaywallConfig(c.clientID); }
    static void showMeterBanner(QuillgateClient& c) { c.showMeterBanner(); }
    static void showDefaultPaywallView(QuillgateClient& c) { c.showDefaultPaywallView(); }
    static void showCustomizePayWall(QuillgateClient& c, SharedCustomizePayWallModel m) {
        c.showCustomizePayWall(std::move(m));
    }
    static void popUpCheck(QuillgateClient& c) { c.popUpCheck(); }
    static void showMeterBannerView(QuillgateClient& c, double delay) {
        c.showMeterBannerView(delay);
    }
    static void presentMeterBanner(QuillgateClient& c) { c.presentMeterBanner(); }
    static void presentDefaultPaywall(QuillgateClient& c) { c.presentDefaultPaywall(); }
    static void presentCustomizePayWall(QuillgateClient& c, SharedCustomizePayWallModel m) {
        c.presentCustomizePayWall(std::move(m));
    }
    static void showPopUp(QuillgateClient& c, double delay) { c.showPopUp(delay); }
    static void presentSubscriptionScreen(QuillgateClient& c, EmbededSubscription m) {
        c.presentSubscriptionScreen(std::move(m));
    }
    static void reloadSDK(QuillgateClient& c) { c.reloadSDK(); }
    static void generateLoginChallenge(QuillgateClient& c) { c.generateLoginChallenge(); }
    static std::string buildAddress(QuillgateClient& c, const std::string& address,
                                    const nlohmann::json& parameters) {
        return c.buildAddress(address, parameters);
    }
};

namespace testing {

// A host that implements every delegate protocol and writes each call down as the operation
// with its labelled arguments, e.g. "purchasedOrNot(accessTime: false)".
struct RecordingHost : QuillgateCompletionHandlerDelegate,
                       QuillgateSubscribeBtnTapDelegate,
                       QuillgateSignBtnTapDelegate,
                       QuillgateEventParamsDelegate,
                       QuillgateGoogleLogInDelegate,
                       QuillgateUserDetailsDelegate,
                       Quillgatelogout,
                       QuillgateAutoLogInDelegate {
    void purchasedOrNot(bool accessTime) override {
        calls.push_back("purchasedOrNot(accessTime: " + std::string(accessTime ? "true" : "false") +
                        ")");
    }
    void onPaywallVisible(const std::string& type, const std::string& displayType, double height,
                          const std::string& id) override {
        calls.push_back(
            "onPaywallVisible(paywallType: " + type + ", paywallDisplayType: " + displayType +
            ", paywallHeight: " + description::number(height) + ", paywallId: " + id + ")");
    }
    void onMeterBannerVisible(const std::string& type, const std::string& id,
                              double height) override {
        calls.push_back("onMeterBannerVisible(paywallType: " + type + ", meterBannerId: " + id +
                        ", paywallHeight: " + description::number(height) + ")");
    }
    void onCustomLinkSlot(const std::optional<std::string>& link,
                          const std::string& contentId) override {
        calls.push_back("onCustomLinkSlot(link: " + link.value_or("nil") +
                        ", contentId: " + contentId + ")");
    }
    void subscribeBtnTap() override { calls.push_back("subscribeBtnTap()"); }
    void signInTap() override { calls.push_back("signInTap()"); }
    void success(const std::string& paywallId, const std::string& contentId,
                 const std::string& paywallType, const std::string& clientId,
                 const std::string& anonId) override {
        calls.push_back("success(paywallId: " + paywallId + ", contentId: " + contentId +
                        ", paywallType: " + paywallType + ", clientId: " + clientId +
                        ", anonId: " + anonId + ")");
    }
    void failure(const std::string& error) override {
        calls.push_back("failure(error: " + error + ")");
    }
    void startGoogleLogin() override { calls.push_back("startGoogleLogin()"); }
    void success(const std::string& userDetails) override {
        calls.push_back("success(userDetails: " + userDetails + ")");
    }
    void succes(const std::string& data) override { calls.push_back("succes(" + data + ")"); }
    void fail(const std::string& error) override { calls.push_back("fail(" + error + ")"); }
    void autoLogInsuccess() override { calls.push_back("autoLogInsuccess()"); }
    void autoLogInfailure() override { calls.push_back("autoLogInfailure()"); }

    std::vector<std::string> calls;
};

}  // namespace testing
}  // namespace quillgate

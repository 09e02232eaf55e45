#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Url.h"
#include "quillgate/service/Description.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"

// What the client tests share: a way into the client's internal steps, a host that writes
// down every delegate call it hears, and a fixture with a configured client and an article's
// parent view.
namespace quillgate {

// Reaches the client's private steps from tests. One definition for the whole test binary.
struct QuillgateClientTestAccess {
    using C = QuillgateClient;
    using Model = SharedCustomizePayWallModel;
    static void resetValues(C& c) { c.resetValues(); }
    static void loadMeterBanner(C& c) { c.loadMeterBanner(); }
    static void loadPaywallConfig(C& c) { c.loadPaywallConfig(c.clientID); }
    static void showMeterBanner(C& c) { c.showMeterBanner(); }
    static void showDefaultPaywallView(C& c) { c.showDefaultPaywallView(); }
    static void showCustomizePayWall(C& c, Model m) { c.showCustomizePayWall(std::move(m)); }
    static void popUpCheck(C& c) { c.popUpCheck(); }
    static void presentMeterBanner(C& c) { c.presentMeterBanner(); }
    static void presentDefaultPaywall(C& c) { c.presentDefaultPaywall(); }
    static void presentCustomizePayWall(C& c, Model m) { c.presentCustomizePayWall(std::move(m)); }
    static void showPopUp(C& c, double delay) { c.showPopUp(delay); }
    static void presentSubscriptionScreen(C& c, EmbededSubscription m) {
        c.presentSubscriptionScreen(std::move(m));
    }
    static void reloadSDK(C& c) { c.reloadSDK(); }
    static std::string buildAddress(C& c, const std::string& address, const nlohmann::json& query) {
        return c.buildAddress(address, query);
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

// The decoded query of an address, keyed by name; a repeated name fails the test.
inline std::map<std::string, std::string> queryOf(const std::string& address) {
    std::map<std::string, std::string> query;
    for (const auto& [name, value] : platform::url::queryItems(address)) {
        EXPECT_TRUE(query.emplace(name, value).second) << "repeated key " << name;
    }
    return query;
}

// A template screen as the client sees it, counting its refreshes.
class StubTemplate : public ui::ViewController, public SharedData {
  public:
    explicit StubTemplate(Token token) : ViewController(token) {}
    SharedCustomizePayWallModel customizePayWallModel() const override { return model_; }
    void setCustomizePayWallModel(SharedCustomizePayWallModel m) override { model_ = m; }
    std::weak_ptr<quillgateVCDelegate> delegate() const override { return delegate_; }
    void setDelegate(std::weak_ptr<quillgateVCDelegate> d) override { delegate_ = d; }
    void refreshData() override { ++refreshes; }
    int refreshes = 0;

  private:
    SharedCustomizePayWallModel model_;
    std::weak_ptr<quillgateVCDelegate> delegate_;
};

// The client on the local deployment as "client-1" (unless told otherwise), the events'
// collection answered, a phone-sized parent view and a recording host.
class ClientTest : public ::testing::Test {
  protected:
    explicit ClientTest(bool configured = true) {
        if (configured) {
            client().configure(Mode::local, "client-1");
        }
        tp.http().answer("/collect", 200, "{}");
    }

    static QuillgateClient& client() { return QuillgateClient::shared(); }

    // Runs every answer and every step that is due now.
    void settle() {
        for (int i = 0; i < 20 && tp.loop().pendingCount() > 0; ++i) {
            tp.runPending();
        }
    }

    std::size_t sent(const std::string& part) { return tp.http().requestsTo(part).size(); }

    TestPlatform tp;
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 800));
    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
};

}  // namespace testing
}  // namespace quillgate

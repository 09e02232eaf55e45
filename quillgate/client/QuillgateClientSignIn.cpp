#include "quillgate/client/QuillgateClient.h"

// Sign-in and the account: login challenges, the web pages' addresses, auto login, user
// details, logout and the deep link that ends a web flow.

namespace quillgate {

void QuillgateClient::autoLogIn(const std::string& contentID_, const std::string& clientID_,
                                const std::string& token, std::optional<std::string> email,
                                std::optional<std::string> phone,
                                std::shared_ptr<ui::View> parentView_,
                                std::shared_ptr<QuillgateAutoLogInDelegate> autoLogInDelegate_) {
    // The auto-login web flow lands here: challenge, "post", then the auto-login page.
    (void)contentID_, (void)clientID_, (void)token, (void)email, (void)phone, (void)parentView_,
        (void)autoLogInDelegate_;
}

void QuillgateClient::getUserDetail(
    std::shared_ptr<QuillgateUserDetailsDelegate> completiondelegate) {
    // The user route and the host's success call land here.
    (void)completiondelegate;
}

void QuillgateClient::getlogout(std::shared_ptr<Quillgatelogout> logoutBtnDelegate_) {
    // The logout request and the local wipe land here.
    (void)logoutBtnDelegate_;
}

void QuillgateClient::handleRelaunchApp(const std::string& address) {
    // The delayed restart of the flow for the flow-ending deep link lands here.
    (void)address;
}

void QuillgateClient::payBtnTap(bool event, bool isLogin) {
    // The read-now / log-in web flow and its click event land here.
    (void)event, (void)isLogin;
}

void QuillgateClient::onlyLoginFlow(const std::string& clientID_,
                                    std::shared_ptr<ui::View> parentView_) {
    // The only-login page lands here.
    (void)clientID_, (void)parentView_;
}

void QuillgateClient::startWebFlow(const std::string& contentID_, ContentType contentType,
                                   const std::string& text) {
    // The login challenge "post" and the web page land here.
    (void)contentID_, (void)contentType, (void)text;
}

void QuillgateClient::subscribeTap(bool logEvent) {
    // The subscribe web flow lands here.
    (void)logEvent;
}

void QuillgateClient::contactLogin(const std::string& contact) {
    // The registration wall's web flow lands here.
    (void)contact;
}

void QuillgateClient::openWebFlow(const std::string& address, bool isAutoLogin) {
    // Presenting the web flow screen lands here.
    (void)address, (void)isAutoLogin;
}

void QuillgateClient::generateLoginChallenge() {
    // Making and storing a new challenge lands here.
}

std::string QuillgateClient::buildAddress(const std::string& address,
                                          const nlohmann::json& parameters) {
    // Writing the web addresses' queries lands here.
    (void)parameters;
    return address;
}

}  // namespace quillgate

#include "quillgate/client/QuillgateClient.h"

// Sign-in and the account: login challenges, the web pages' addresses, auto login, user
// details, logout and the deep link that ends a web flow.
//
// A web flow is tied to the service by a login challenge made here: it is posted to the
// service, handed to the page in the address, and redeemed by the access flow when the page
// ends in the deep link. Everything runs on the main queue; every answer is dropped when the
// client has gone.

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Text.h"
#include "quillgate/platform/Url.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/CustomError.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/Endpoint.h"
#include "quillgate/service/NetworkClient.h"
#include "quillgate/service/NetworkProperties.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"

namespace quillgate {

namespace {

// The deep link the page is sent to when a flow ends; the article's id follows.
constexpr const char* kRedirectPrefix = "orvelant://home?id=";
// Any address holding this word ends a web flow.
constexpr std::string_view kRelaunchWord = "orvelant";
constexpr double kRelaunchDelaySeconds = 0.5;

// Pages behind the web base.
constexpr const char* kOverlayPage = "overlay";
constexpr const char* kSubscriptionPage = "subscription";
constexpr const char* kAutoLoginPage = "auto-login-user";
constexpr const char* kOnlyLoginPage = "orvelant-login";

constexpr const char* kStoryboard = "QuillgateStoryboard";
constexpr const char* kWebScene = "WebVC";

constexpr const char* kWebViewURL = "webviewURL:";
constexpr const char* kSubURL = "subURL:";
constexpr const char* kSubURLWhole = "subURL917  ";
constexpr const char* kSubscriptionMark = "Orvelant";
constexpr const char* kEncodedEmail = "encodedEmail::";
constexpr const char* kLogout = "logout................";
constexpr const char* kLoggedOutSession = "Constants.sessionID  ";
constexpr const char* kLoggedOutUser = "Constants.userID  ";

constexpr const char* kInvalidURL = "Invalid URL";
constexpr const char* kNotLoggedIn = "You are not logged in";
constexpr const char* kLoggedOut = "You have been successfully logged out!";
constexpr const char* kUnableToLogout = "Unable to logout";

// The sign-in toasts: 2 seconds, corner radius 10, 40 points high.
constexpr double kToastDuration = 2.0;
constexpr double kToastCornerRadius = 10.0;
constexpr double kToastHeight = 40.0;

void toast(const std::string& message) {
    Toast::shared().show(message, kToastDuration, kToastCornerRadius, kToastHeight);
}

// Standard base64 with padding, of the text's bytes as they stand (UTF-8).
std::string base64(std::string_view bytes) {
    static constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const std::uint32_t n =
            static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16 |
            static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8 |
            static_cast<unsigned char>(bytes[i + 2]);
        out += alphabet[n >> 18 & 63];
        out += alphabet[n >> 12 & 63];
        out += alphabet[n >> 6 & 63];
        out += alphabet[n & 63];
    }
    const std::size_t rest = bytes.size() - i;
    if (rest > 0) {
        std::uint32_t n = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16;
        if (rest == 2) {
            n |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
        }
        out += alphabet[n >> 18 & 63];
        out += alphabet[n >> 12 & 63];
        out += rest == 2 ? alphabet[n >> 6 & 63] : '=';
        out += '=';
    }
    return out;
}

// The controller on top of what `controller` shows: the top of a navigation stack, the
// selected tab, else whatever it presents, followed down; a container with no child has
// none.
std::shared_ptr<ui::ViewController> visibleViewController(
    std::shared_ptr<ui::ViewController> controller) {
    while (controller) {
        if (auto navigation = std::dynamic_pointer_cast<ui::NavigationController>(controller)) {
            controller = navigation->topViewController();
        } else if (auto tabs = std::dynamic_pointer_cast<ui::TabBarController>(controller)) {
            controller = tabs->selectedViewController();
        } else if (auto presented = controller->presentedViewController()) {
            controller = presented;
        } else {
            return controller;
        }
    }
    return nullptr;
}

// The web flow screen the client keeps, if it has made one.
std::shared_ptr<WebViewController> webScreen(const QuillgateClient& client) {
    return std::dynamic_pointer_cast<WebViewController>(client.webVC);
}

// A page already on show picks up its new address at once.
void reloadWebView(const QuillgateClient& client) {
    if (auto screen = webScreen(client); screen && screen->webView) {
        screen->webView->reload();
    }
}

std::string webBase() {
    return NetworkProperties::currentAddresses().webBase;
}

// The keys every overlay page gets: the publisher, the article, the paywall on show, the
// reader and, when one is stored, the flow's challenge.
Parameters overlayParameters(const QuillgateClient& client, const std::string& contentID) {
    Parameters parameters = Parameters::object();
    parameters["clientId"] = client.clientID;
    parameters["clientContentId"] = contentID;
    parameters["paywallType"] = client.paywallType;
    parameters["paywallId"] = client.paywallId;
    parameters["anonId"] = Constants::anonymousID();
    if (auto challenge = Constants::loginChallenge()) {
        parameters["loginChallenge"] = *challenge;
    }
    return parameters;
}

// Registers the stored challenge with the service, to be redirected to the article's deep
// link once the page has signed the reader in. `onAccepted` runs on a 200 or 201 answer while
// the client is alive; any other status is only printed.
void postLoginChallenge(const QuillgateClient& client, const std::string& contentID,
                        std::function<void()> onAccepted) {
    Parameters body = Parameters::object();
    body["redirectTo"] = kRedirectPrefix + contentID;
    if (auto challenge = Constants::loginChallenge()) {
        body["loginChallengeId"] = *challenge;
    }
    auto request = NetworkProperties::getRequest(body, false, Endpoint::loginChallenge());
    NetworkClient::shared().send(
        std::move(request), client.weakSelf(),
        [onAccepted = std::move(onAccepted)](std::optional<std::string> data,
                                             std::optional<RequestError> error, long status) {
            if (!data || error) {
                return;
            }
            if (!NetworkClient::isSuccess(status)) {
                print(CustomError::someThingWentWrong);
                return;
            }
            onAccepted();
        });
}

}  // namespace

// ---- Public operations -------------------------------------------------------------------

void QuillgateClient::autoLogIn(const std::string& contentID_, const std::string& clientID_,
                                const std::string& token, std::optional<std::string> email,
                                std::optional<std::string> phone,
                                std::shared_ptr<ui::View> parentView_,
                                std::shared_ptr<QuillgateAutoLogInDelegate> autoLogInDelegate_) {
    autoLogInDelegate = autoLogInDelegate_;
    parentView = std::move(parentView_);
    contentID = contentID_;
    clientID = clientID_;

    const std::string encodedEmail = base64(email.value_or(""));
    platform::log(kEncodedEmail + encodedEmail);
    const std::string phoneText = phone.value_or("");

    if (platform::text::isBlank(contentID) || platform::text::isBlank(clientID)) {
        return;
    }
    generateLoginChallenge();
    postLoginChallenge(*this, contentID, [this, token, encodedEmail, phoneText] {
        Parameters parameters = Parameters::object();
        parameters["id"] = token;
        parameters["clientId"] = clientID;
        if (!encodedEmail.empty()) {
            parameters["email"] = encodedEmail;
        }
        if (!phoneText.empty()) {
            parameters["phone"] = phoneText;
        }
        if (auto challenge = Constants::loginChallenge()) {
            parameters["loginChallengeId"] = *challenge;
        }
        const std::string address = buildAddress(webBase() + kAutoLoginPage, parameters);
        platform::log(kWebViewURL + address);
        if (!platform::url::parse(address)) {
            return;
        }
        openWebFlow(address, true);
        reloadWebView(*this);
    });
}

void QuillgateClient::getUserDetail(
    std::shared_ptr<QuillgateUserDetailsDelegate> completiondelegate) {
    getUserDetailDelegate = completiondelegate;
    if (platform::text::isBlank(contentID) || !completiondelegate) {
        return;
    }
    auto request = NetworkProperties::getUserRequest(clientID);
    NetworkClient::shared().send(std::move(request), weakSelf(),
                                 NetworkClient::commonOutline([this](const std::string& body) {
                                     if (!NetworkClient::decodeReporting<UserDetails>(body)) {
                                         return;
                                     }
                                     // The host gets the service's JSON text, not the record. A
                                     // body that decoded is well-formed UTF-8 already.
                                     if (auto delegate = getUserDetailDelegate.lock()) {
                                         delegate->success(body);
                                     }
                                 }));
}

void QuillgateClient::getlogout(std::shared_ptr<Quillgatelogout> logoutBtnDelegate_) {
    // Kept for hosts; the outcome of a logout is a toast, never a call of this delegate.
    logoutBtnDelegate = logoutBtnDelegate_;
    platform::log(kLogout);

    const auto session = Constants::sessionID();
    if (!session) {
        Constants::clearSignIn();
        toast(kNotLoggedIn);
        return;
    }
    Parameters body = Parameters::object();
    body["sessionId"] = *session;
    auto request = NetworkProperties::getRequest(body, false, Endpoint::logout(*session));
    NetworkClient::shared().send(
        std::move(request), weakSelf(),
        [](std::optional<std::string> data, std::optional<RequestError> error, long status) {
            if (!data || error) {
                return;
            }
            // Whatever the service says, the reader is logged out on this device.
            Constants::clearSignIn();
            if (NetworkClient::isSuccess(status)) {
                auto model = NetworkClient::decodeReporting<LogoutModel>(*data);
                if (!model) {
                    return;
                }
                platform::log(kLoggedOutSession + description::optional(Constants::sessionID()));
                platform::log(kLoggedOutUser + Constants::userID());
                toast(model->message.value_or(kLoggedOut));
                return;
            }
            NetworkClient::handleFailureStatus(status, *data);
            toast(kUnableToLogout);
        });
}

void QuillgateClient::handleRelaunchApp(const std::string& address) {
    if (address.find(kRelaunchWord) == std::string::npos) {
        return;
    }
    // The identifier in the address isn't read: the article in hand is the one re-checked.
    scheduleAfter(kRelaunchDelaySeconds, [](QuillgateClient& client) { client.startProcess(); });
}

void QuillgateClient::payBtnTap(bool event, bool isLogin) {
    startWebFlow(contentID, isLogin ? ContentType::onlyLogin : ContentType::readNow, "");
    if (event) {
        // Logged at once: the page is still being prepared.
        EventManager::shared().logEventCLICK("CONTENT", EventLocation::PAYWALL);
    }
}

void QuillgateClient::onlyLoginFlow(const std::string& clientID_,
                                    std::shared_ptr<ui::View> parentView_) {
    if (platform::text::isBlank(clientID_)) {
        return;
    }
    clientID = clientID_;
    parentView = std::move(parentView_);
    if (!parentView) {
        return;
    }
    // No challenge: this page signs the reader in without an article to return to.
    Parameters parameters = Parameters::object();
    parameters["clientId"] = clientID;
    parameters["anonId"] = Constants::anonymousID();
    parameters["mobileView"] = "true";
    parameters["onlyLoginFlow"] = "true";
    const std::string address = buildAddress(webBase() + kOnlyLoginPage, parameters);
    platform::log(kWebViewURL + address);
    if (!platform::url::parse(address)) {
        return;
    }
    openWebFlow(address, false);
}

// ---- The screens' requests ---------------------------------------------------------------

void QuillgateClient::startWebFlow(const std::string& contentID_, ContentType contentType,
                                   const std::string& text) {
    // Every web flow replaces the earlier challenge.
    generateLoginChallenge();
    postLoginChallenge(*this, contentID_, [this, contentID_, contentType, text] {
        std::string address;
        bool isAutoLogin = false;
        switch (contentType) {
            case ContentType::onlyLogin:
            case ContentType::readNow:
            case ContentType::buyPass: {
                if (!parentView) {
                    return;
                }
                Parameters parameters = overlayParameters(*this, contentID_);
                if (contentType == ContentType::onlyLogin) {
                    parameters["onlyLoginFlow"] = "true";
                    isAutoLogin = true;
                } else if (contentType == ContentType::buyPass) {
                    parameters["purchaseMode"] = "PASS";
                }
                address = buildAddress(webBase() + kOverlayPage, parameters);
                platform::log(kWebViewURL + address);
                break;
            }
            case ContentType::subPass: {
                if (!parentView) {
                    return;
                }
                Parameters parameters = Parameters::object();
                parameters["clientId"] = clientID;
                parameters["clientContentId"] = contentID_;
                parameters["tierId"] = text;
                // The site's address rides in this value: its blank is encoded with it,
                // its "&" (allowed in a query) makes "siteUrl" a key of its own for the page.
                parameters["availFreeTrial"] =
                    std::string(availFreeTrialVar.value_or(false) ? "true" : "false") +
                    " &siteUrl=" + deployment.placeholderSiteAddress;
                if (auto challenge = Constants::loginChallenge()) {
                    parameters["loginChallenge"] = *challenge;
                }
                parameters["paywallType"] = paywallType;
                parameters["paywallId"] = paywallId;
                parameters["anonId"] = Constants::anonymousID();
                address = buildAddress(webBase() + kSubscriptionPage, parameters);
                platform::log(kWebViewURL + address);
                break;
            }
            case ContentType::subscribeNow: {
                // The service's own subscription address, extended by plain concatenation:
                // nothing here is encoded, and "Orvelant" sticks to whatever ends it.
                platform::log(kSubURL + text);
                if (text.empty()) {
                    toast(kInvalidURL);
                    return;
                }
                address = text + kSubscriptionMark;
                if (auto challenge = Constants::loginChallenge()) {
                    address += "&loginChallenge=" + *challenge;
                }
                address += "&paywallType=" + paywallType + "&paywallId=" + paywallId +
                           "&anonId=" + Constants::anonymousID();
                platform::log(kSubURLWhole + address);
                break;
            }
        }
        if (!platform::url::parse(address)) {
            return;
        }
        openWebFlow(address, isAutoLogin);
        reloadWebView(*this);
    });
}

void QuillgateClient::subscribeTap(bool logEvent) {
    if (platform::text::isBlank(contentID) || platform::text::isBlank(clientID)) {
        return;
    }
    const std::string subscriptionUrl =
        contentDetailsModel ? contentDetailsModel->subscriptionUrl.value_or("") : "";
    startWebFlow(contentID, ContentType::subscribeNow, subscriptionUrl);
    if (logEvent) {
        EventManager::shared().logEventCLICK("SUBS", EventLocation::PAYWALL);
    }
}

void QuillgateClient::contactLogin(const std::string& contact) {
    if (platform::text::isBlank(contentID) || platform::text::isBlank(clientID)) {
        return;
    }
    generateLoginChallenge();
    postLoginChallenge(*this, contentID, [this, contact] {
        if (!parentView) {
            return;
        }
        Parameters parameters = overlayParameters(*this, contentID);
        parameters["userDetails"] = contact;
        const std::string address = buildAddress(webBase() + kOverlayPage, parameters);
        platform::log(kWebViewURL + address);
        if (!platform::url::parse(address)) {
            return;
        }
        openWebFlow(address, false);
        reloadWebView(*this);
    });
    // Logged at once, not after the answer.
    const bool isEmail = contact.find('@') != std::string::npos;
    EventManager::shared().logEventCLICK(isEmail ? "EMAIL" : "MOBILE", EventLocation::PAYWALL);
}

void QuillgateClient::openWebFlow(const std::string& address, bool isAutoLogin) {
    // One screen serves every flow of this client until the next reset.
    if (!webVC) {
        webVC = ui::NibRegistry::shared().instantiateViewController(kStoryboard, kWebScene);
    }
    auto screen = webScreen(*this);
    if (!screen) {
        return;
    }
    screen->actualURL = address;
    screen->contentID = contentID;
    screen->clientID = clientID;
    screen->screenType = screenType;
    screen->tierId = tierId.value_or("");
    screen->isAutoLogin = isAutoLogin;

    auto window = ui::Application::shared().keyWindow();
    if (!window) {
        return;
    }
    if (auto presenter = visibleViewController(window->rootViewController())) {
        presenter->present(screen, true);
    }
}

// ---- Sign-in steps -------------------------------------------------------------------------

void QuillgateClient::generateLoginChallenge() {
    Constants::setLoginChallenge(platform::makeUuid());
    platform::log("generateLoginChallenge(" + description::optional(Constants::loginChallenge()) +
                  ")");
}

std::string QuillgateClient::buildAddress(const std::string& address,
                                          const nlohmann::json& parameters) {
    std::string query;
    for (const auto& [key, value] : parameters.items()) {
        if (!query.empty()) {
            query += '&';
        }
        query += platform::url::percentEncodeQueryAllowed(key);
        query += '=';
        query += platform::url::percentEncodeQueryAllowed(description::value(value));
    }
    return address + "?" + query;
}

}  // namespace quillgate

#include "quillgate/service/Endpoint.h"

namespace quillgate {

namespace {
constexpr std::string_view kGet = "get";
constexpr std::string_view kPost = "post";
}  // namespace

std::string Endpoint::path() const {
    switch (route_) {
        case Route::loginChallengeById:
            return "/login-challenge/" + payload_;
        case Route::logout:
            return "/auth/logout-via-sessionid?sessionId=" + payload_;
        case Route::paywallConfig:
            return "/paywall/paywall-config/" + payload_;
        case Route::popup:
            return "/client/popup/" + payload_;
        case Route::meteringBanner:
            return "/metering/banner/" + payload_;
        case Route::contentAccess:
            return "/content/access";
        case Route::subscriptionAccess:
            return "/subscription/access";
        case Route::content:
            return "/content";
        case Route::loginChallenge:
            return "/login-challenge";
        case Route::collectEvent:
        case Route::ping:
            return "";
        case Route::user:
            return "/user/";
        case Route::subscriptionSettings:
            return "/subscription/settings";
        case Route::currencyConversion:
            return "/subscription/convert-subscription-currency";
        case Route::embeddedSubscription:
            return "/subscription/embedded-subscription";
        case Route::journey:
            return "/journey";
    }
    return "";
}

std::string_view Endpoint::method() const {
    switch (route_) {
        case Route::logout:
        case Route::contentAccess:
        case Route::loginChallenge:
        case Route::collectEvent:
        case Route::ping:
            return kPost;
        default:
            return kGet;
    }
}

}  // namespace quillgate

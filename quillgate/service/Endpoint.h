#pragma once

#include <string>
#include <string_view>
#include <utility>

// The routes of the access service. A route is a case, some with one text payload (an id
// that becomes part of the path); each knows its path behind the API base and its method
// text, lower case as the service expects it ("get", "post"). The two collection routes have
// an empty path: their address is the collection address of the mode. Pure values, any
// thread.
namespace quillgate {

class Endpoint {
  public:
    enum class Route {
        loginChallengeById,  // payload: the challenge id
        logout,              // payload: the session id
        paywallConfig,       // payload: the client id
        popup,               // payload: the popup action id
        meteringBanner,      // payload: the metering action id
        contentAccess,
        subscriptionAccess,
        content,
        loginChallenge,
        collectEvent,
        user,
        subscriptionSettings,
        currencyConversion,
        embeddedSubscription,
        ping,
        journey,
    };

    static Endpoint loginChallengeById(std::string challengeId) {
        return {Route::loginChallengeById, std::move(challengeId)};
    }
    static Endpoint logout(std::string sessionId) { return {Route::logout, std::move(sessionId)}; }
    static Endpoint paywallConfig(std::string clientId) {
        return {Route::paywallConfig, std::move(clientId)};
    }
    static Endpoint popup(std::string popupActionId) {
        return {Route::popup, std::move(popupActionId)};
    }
    static Endpoint meteringBanner(std::string meteringActionId) {
        return {Route::meteringBanner, std::move(meteringActionId)};
    }
    static Endpoint contentAccess() { return {Route::contentAccess}; }
    static Endpoint subscriptionAccess() { return {Route::subscriptionAccess}; }
    static Endpoint content() { return {Route::content}; }
    static Endpoint loginChallenge() { return {Route::loginChallenge}; }
    static Endpoint collectEvent() { return {Route::collectEvent}; }
    static Endpoint user() { return {Route::user}; }
    static Endpoint subscriptionSettings() { return {Route::subscriptionSettings}; }
    static Endpoint currencyConversion() { return {Route::currencyConversion}; }
    static Endpoint embeddedSubscription() { return {Route::embeddedSubscription}; }
    static Endpoint ping() { return {Route::ping}; }
    static Endpoint journey() { return {Route::journey}; }

    Route route() const { return route_; }
    const std::string& payload() const { return payload_; }

    // The path appended to the API base, payload included as it stands (not encoded).
    std::string path() const;
    // "get" or "post".
    std::string_view method() const;
    // True for the routes whose address is the collection address rather than API base +
    // path.
    bool isCollection() const { return route_ == Route::collectEvent || route_ == Route::ping; }

    bool operator==(const Endpoint&) const = default;

  private:
    Endpoint(Route route, std::string payload = {}) : route_(route), payload_(std::move(payload)) {}

    Route route_;
    std::string payload_;
};

}  // namespace quillgate

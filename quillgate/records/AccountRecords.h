#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillgate/Export.h"

// The remaining bodies of the access service: the reader's account (`UserDetails`), the offer
// for one article (`ContentDetails`), the answers of login, auto-login, purchase and logout,
// a popup (`PopUpModel`), the publisher's plans (`EmbededSubscription`) and the service's
// error body (`APIResponse`).
//
// Plain values with a key table each, as described in JourneyRecords.h. Everything here is
// optional except in the plan family (`EmbededSubscription`, `Subscriptions`, `Tier`,
// `FreeTrial`), whose plain members are required: absent or null there fails the body.

namespace quillgate {

namespace ui {
class View;
class ViewController;
}  // namespace ui

// A decimal amount as the service's document store sends it: {"$numberDecimal": "12.50"}.
// The text is kept as it stands; nothing converts it.
struct QUILLGATE_EXPORT Balance {
    std::optional<std::string> numberString;

    static constexpr std::string_view typeName = "Balance";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("$numberDecimal", r.numberString);
    }
    bool operator==(const Balance&) const = default;
};

struct QUILLGATE_EXPORT Wallet {
    std::optional<std::string> currency;
    std::optional<Balance> balance;

    static constexpr std::string_view typeName = "Wallet";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("currency", r.currency);
        f("balance", r.balance);
    }
    bool operator==(const Wallet&) const = default;
};

// A postal address; "pincode" is text on the wire.
struct QUILLGATE_EXPORT Address {
    std::optional<std::string> apartment;
    std::optional<std::string> area;
    std::optional<std::string> city;
    std::optional<std::string> country;
    std::optional<std::string> landmark;
    std::optional<std::string> pincode;
    std::optional<std::string> state;

    static constexpr std::string_view typeName = "Address";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("apartment", r.apartment);
        f("area", r.area);
        f("city", r.city);
        f("country", r.country);
        f("landmark", r.landmark);
        f("pincode", r.pincode);
        f("state", r.state);
    }
    bool operator==(const Address&) const = default;
};

// The reader's account, the answer of the user call.
struct QUILLGATE_EXPORT UserDetails {
    std::optional<std::string> _id;
    std::optional<std::string> name;
    std::optional<std::string> phoneNumber;
    std::optional<std::string> country;
    std::optional<std::string> hashedPhoneNumber;
    std::optional<std::string> lastPurchasedOn;
    std::optional<bool> existingSubscriber;
    std::optional<bool> previousSubscriber;
    std::optional<int64_t> promotionalOptIn;  // an integer on the wire, not a boolean
    std::optional<Address> address;
    std::optional<Wallet> wallet;

    static constexpr std::string_view typeName = "UserDetails";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("_id", r._id);
        f("name", r.name);
        f("phoneNumber", r.phoneNumber);
        f("country", r.country);
        f("hashedPhoneNumber", r.hashedPhoneNumber);
        f("lastPurchasedOn", r.lastPurchasedOn);
        f("existingSubscriber", r.existingSubscriber);
        f("previousSubscriber", r.previousSubscriber);
        f("promotionalOptIn", r.promotionalOptIn);
        f("address", r.address);
        f("wallet", r.wallet);
    }
    bool operator==(const UserDetails&) const = default;
};

// The smaller view of the reader nested in ContentDetails; not interchangeable with
// UserDetails.
struct QUILLGATE_EXPORT UserDetail {
    std::optional<Wallet> wallet;

    static constexpr std::string_view typeName = "UserDetail";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("wallet", r.wallet);
    }
    bool operator==(const UserDetail&) const = default;
};

struct QUILLGATE_EXPORT PaywallCustomization {
    std::optional<std::string> subscriptionTitle;
    std::optional<std::string> subscriptionText;

    static constexpr std::string_view typeName = "PaywallCustomization";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("subscriptionTitle", r.subscriptionTitle);
        f("subscriptionText", r.subscriptionText);
    }
    bool operator==(const PaywallCustomization&) const = default;
};

struct QUILLGATE_EXPORT ValidPass {
    std::optional<double> price;
    std::optional<std::string> title;
    std::optional<int64_t> duration;

    static constexpr std::string_view typeName = "ValidPass";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("price", r.price);
        f("title", r.title);
        f("duration", r.duration);
    }
    bool operator==(const ValidPass&) const = default;
};

struct QUILLGATE_EXPORT MicroPricing {
    std::optional<double> price;
    std::optional<int64_t> duration;

    static constexpr std::string_view typeName = "MicroPricing";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("price", r.price);
        f("duration", r.duration);
    }
    bool operator==(const MicroPricing&) const = default;
};

struct QUILLGATE_EXPORT CouponDetails {
    std::optional<std::string> code;
    std::optional<bool> newUsersOnly;

    static constexpr std::string_view typeName = "CouponDetails";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("code", r.code);
        f("newUsersOnly", r.newUsersOnly);
    }
    bool operator==(const CouponDetails&) const = default;
};

// The offer for one article, shown by the default paywall.
struct QUILLGATE_EXPORT ContentDetails {
    std::optional<double> price;
    std::optional<std::string> currencySymbol;
    std::optional<std::string> subscriptionUrl;
    std::optional<bool> subscriptionsExist;
    std::optional<UserDetail> userDetails;
    std::optional<PaywallCustomization> paywallCustomization;
    std::optional<ValidPass> validPass;
    std::optional<MicroPricing> microPricing;
    std::optional<CouponDetails> couponDetails;

    static constexpr std::string_view typeName = "ContentDetails";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("price", r.price);
        f("currencySymbol", r.currencySymbol);
        f("subscriptionUrl", r.subscriptionUrl);
        f("subscriptionsExist", r.subscriptionsExist);
        f("userDetails", r.userDetails);
        f("paywallCustomization", r.paywallCustomization);
        f("validPass", r.validPass);
        f("microPricing", r.microPricing);
        f("couponDetails", r.couponDetails);
    }
    bool operator==(const ContentDetails&) const = default;
};

// The answer of the step that opens a login.
struct QUILLGATE_EXPORT LoginChallenge {
    std::optional<std::string> loginChallengeID;
    std::optional<std::string> sessionID;
    std::optional<std::string> redirectTo;
    std::optional<std::string> userID;

    static constexpr std::string_view typeName = "LoginChallenge";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("loginChallengeId", r.loginChallengeID);
        f("sessionId", r.sessionID);
        f("redirectTo", r.redirectTo);
        f("userId", r.userID);
    }
    bool operator==(const LoginChallenge&) const = default;
};

struct QUILLGATE_EXPORT AutoLoginModel {
    std::optional<bool> status;
    std::optional<std::string> message;
    std::optional<std::string> token;
    std::optional<std::string> userID;
    std::optional<std::string> sessionID;

    static constexpr std::string_view typeName = "AutoLoginModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("status", r.status);
        f("message", r.message);
        f("token", r.token);
        f("userId", r.userID);
        f("sessionId", r.sessionID);
    }
    bool operator==(const AutoLoginModel&) const = default;
};

// The service's error body. "message" is a list of texts; a single text fails the decoding.
struct QUILLGATE_EXPORT APIResponse {
    std::optional<int64_t> statusCode;
    std::optional<std::vector<std::string>> message;
    std::optional<std::string> error;

    static constexpr std::string_view typeName = "APIResponse";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("statusCode", r.statusCode);
        f("message", r.message);
        f("error", r.error);
    }
    bool operator==(const APIResponse&) const = default;
};

struct QUILLGATE_EXPORT PurchaseModel {
    std::optional<std::string> signature;

    static constexpr std::string_view typeName = "PurchaseModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("signature", r.signature);
    }
    bool operator==(const PurchaseModel&) const = default;
};

struct QUILLGATE_EXPORT LogoutModel {
    std::optional<std::string> message;

    static constexpr std::string_view typeName = "LogoutModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("message", r.message);
    }
    bool operator==(const LogoutModel&) const = default;
};

// A promotional popup. Its `imageURL` is shown, and popup events report it as their "url".
struct QUILLGATE_EXPORT PopUpModel {
    std::optional<std::string> id;
    std::optional<std::string> clientID;
    std::optional<std::string> title;
    std::optional<std::string> link;
    std::optional<std::string> position;
    std::optional<std::string> version;
    std::optional<std::string> type;
    std::optional<std::string> imageFileName;
    std::optional<int64_t> imageFileSizeBytes;
    std::optional<std::string> imageURL;
    std::optional<std::string> createdAt;
    std::optional<std::string> updatedAt;
    std::optional<int64_t> v;
    std::optional<std::string> status;

    static constexpr std::string_view typeName = "PopUpModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("_id", r.id);
        f("clientId", r.clientID);
        f("title", r.title);
        f("link", r.link);
        f("position", r.position);
        f("version", r.version);
        f("type", r.type);
        f("imageFileName", r.imageFileName);
        f("imageFileSizeBytes", r.imageFileSizeBytes);
        f("imageUrl", r.imageURL);
        f("createdAt", r.createdAt);
        f("updatedAt", r.updatedAt);
        f("__v", r.v);
        f("status", r.status);
    }
    bool operator==(const PopUpModel&) const = default;
};

// The plan family. Plain members are required; only the std::optional ones may be absent.

struct QUILLGATE_EXPORT FreeTrial {
    bool enabled = false;
    std::optional<int64_t> duration;

    static constexpr std::string_view typeName = "FreeTrial";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("enabled", r.enabled);
        f("duration", r.duration);
    }
    bool operator==(const FreeTrial&) const = default;
};

// One price tier: "price" may be any number, "duration" must be a whole one.
struct QUILLGATE_EXPORT Tier {
    std::optional<double> basePrice;
    std::optional<std::string> _id;
    double price = 0;
    int64_t duration = 0;

    static constexpr std::string_view typeName = "Tier";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("basePrice", r.basePrice);
        f("_id", r._id);
        f("price", r.price);
        f("duration", r.duration);
    }
    bool operator==(const Tier&) const = default;
};

// One plan. `benefits` is the one member the subscription screen rewrites after decoding.
struct QUILLGATE_EXPORT Subscriptions {
    FreeTrial freeTrial;
    std::string benefits;
    bool physical = false;
    bool digital = false;
    bool enabled = false;
    bool migrated = false;
    bool couponsEnabled = false;
    std::string title;
    std::vector<Tier> tiers;
    std::string createdAt;
    std::string updatedAt;
    std::optional<std::string> currencySymbol;
    std::string iconUrl;

    static constexpr std::string_view typeName = "Subscriptions";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("freeTrial", r.freeTrial);
        f("benefits", r.benefits);
        f("physical", r.physical);
        f("digital", r.digital);
        f("enabled", r.enabled);
        f("migrated", r.migrated);
        f("couponsEnabled", r.couponsEnabled);
        f("title", r.title);
        f("tiers", r.tiers);
        f("createdAt", r.createdAt);
        f("updatedAt", r.updatedAt);
        f("currencySymbol", r.currencySymbol);
        f("iconUrl", r.iconUrl);
    }
    bool operator==(const Subscriptions&) const = default;
};

// The plans of a publisher, for the subscription screen. Spelled as the service spells it.
struct QUILLGATE_EXPORT EmbededSubscription {
    std::string title;
    std::vector<Subscriptions> subscriptions;

    static constexpr std::string_view typeName = "EmbededSubscription";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("title", r.title);
        f("subscriptions", r.subscriptions);
    }
    bool operator==(const EmbededSubscription&) const = default;
};

// Not a wire record: the subscription screen's benefits of one plan, split into lines.
struct QUILLGATE_EXPORT SingleSubscriptionCurrency {
    std::vector<std::string> benefits;

    bool operator==(const SingleSubscriptionCurrency&) const = default;
};

// Not a wire record: a controller and one of its views, for an application that keeps track
// of where it placed the library's screens. Both are held strongly, so the pair keeps the
// controller and the view alive as long as it lives. The library itself never reads one.
struct QUILLGATE_EXPORT ViewLayoutInfo {
    std::shared_ptr<ui::ViewController> vc;
    std::shared_ptr<ui::View> view;

    ViewLayoutInfo(std::shared_ptr<ui::ViewController> vc, std::shared_ptr<ui::View> view)
        : vc(std::move(vc)), view(std::move(view)) {}
};

}  // namespace quillgate

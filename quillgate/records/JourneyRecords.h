#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/Export.h"

// The journey records: the access service's answer to one article (may the reader read it,
// by which right, and what to put over it when not). `UserJourneyModel` is the root.
//
// Every record here is a plain value made whole by decoding (see RecordCoding.h). Each one
// carries its key table, `fields(f, record)`, which lists (JSON key, member) in declaration
// order; the decoder, the encoder and the description all walk that one table, so a key is
// written down exactly once. A `std::optional` member is optional on the wire; a plain
// member is required. Keys are the service's, spelling and case included.
//
// Records have no behaviour and no references between them: copy them freely, on any
// thread. The client core keeps the last journey on the main thread.

namespace quillgate {

// One trigger: a threshold of some kind, switched on or off.
struct QUILLGATE_EXPORT DesktopPageLoad {
    std::optional<int64_t> value;
    std::optional<std::string> type;
    std::optional<bool> enabled;

    static constexpr std::string_view typeName = "DesktopPageLoad";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("value", r.value);
        f("type", r.type);
        f("enabled", r.enabled);
    }
    bool operator==(const DesktopPageLoad&) const = default;
};

// The triggers of a paywall or popup action. All four share one shape on purpose.
struct QUILLGATE_EXPORT Conditions {
    std::optional<DesktopPageLoad> desktopScrollDepth;
    std::optional<DesktopPageLoad> mobileScrollDepth;
    std::optional<DesktopPageLoad> desktopPageLoad;
    std::optional<DesktopPageLoad> mobilePageLoad;

    static constexpr std::string_view typeName = "Conditions";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("desktopScrollDepth", r.desktopScrollDepth);
        f("mobileScrollDepth", r.mobileScrollDepth);
        f("desktopPageLoad", r.desktopPageLoad);
        f("mobilePageLoad", r.mobilePageLoad);
    }
    bool operator==(const Conditions&) const = default;
};

struct QUILLGATE_EXPORT ActionIDData {
    std::optional<Conditions> conditions;
    // Becomes the client's paywallId and selects the paywall configuration.
    std::optional<std::string> actionID;

    static constexpr std::string_view typeName = "ActionIDData";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("conditions", r.conditions);
        f("actionId", r.actionID);
    }
    bool operator==(const ActionIDData&) const = default;
};

// The paywall action the journey asks for when the article stays locked.
struct QUILLGATE_EXPORT ActionID {
    std::optional<bool> isFallback;
    std::optional<std::string> message;
    std::optional<ActionIDData> data;

    static constexpr std::string_view typeName = "ActionID";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("isFallback", r.isFallback);
        f("message", r.message);
        f("data", r.data);
    }
    bool operator==(const ActionID&) const = default;
};

// A count by name, but text on the wire.
struct QUILLGATE_EXPORT Variables {
    std::optional<std::string> stepCount;

    static constexpr std::string_view typeName = "Variables";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("stepCount", r.stepCount);
    }
    bool operator==(const Variables&) const = default;
};

struct QUILLGATE_EXPORT MobileAction {
    std::optional<std::string> title;
    std::optional<std::string> previewURL;
    std::optional<std::string> type;  // reported as paywallType in meter events
    std::optional<std::string> actionID;
    std::optional<std::string> deviceType;

    static constexpr std::string_view typeName = "MobileAction";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("title", r.title);
        f("previewUrl", r.previewURL);
        f("type", r.type);
        f("actionId", r.actionID);
        f("deviceType", r.deviceType);
    }
    bool operator==(const MobileAction&) const = default;
};

// The page-view meter. `frequency` is text here, unlike `Condition::frequency`.
struct QUILLGATE_EXPORT ViewMeter {
    std::optional<std::string> resetIntervalType;
    std::optional<std::string> frequency;
    std::optional<bool> enabled;
    std::optional<int64_t> resetInterval;
    std::optional<int64_t> allowLimit;
    std::optional<std::string> allowLimitType;
    std::optional<std::string> frequencyType;

    static constexpr std::string_view typeName = "ViewMeter";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("resetIntervalType", r.resetIntervalType);
        f("frequency", r.frequency);
        f("enabled", r.enabled);
        f("resetInterval", r.resetInterval);
        f("allowLimit", r.allowLimit);
        f("allowLimitType", r.allowLimitType);
        f("frequencyType", r.frequencyType);
    }
    bool operator==(const ViewMeter&) const = default;
};

// One condition of a micropay meter.
struct QUILLGATE_EXPORT Condition {
    std::optional<std::string> paymentType;
    std::optional<int64_t> ttlValue;
    std::optional<std::string> id;
    std::optional<std::string> ttlType;
    std::optional<int64_t> frequency;

    static constexpr std::string_view typeName = "Condition";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("paymentType", r.paymentType);
        f("ttlValue", r.ttlValue);
        f("_id", r.id);
        f("ttlType", r.ttlType);
        f("frequency", r.frequency);
    }
    bool operator==(const Condition&) const = default;
};

struct QUILLGATE_EXPORT MicropayMeter {
    std::optional<std::string> target;
    std::optional<std::vector<Condition>> conditions;
    std::optional<bool> enabled;

    static constexpr std::string_view typeName = "MicropayMeter";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("target", r.target);
        f("conditions", r.conditions);
        f("enabled", r.enabled);
    }
    bool operator==(const MicropayMeter&) const = default;
};

// The conditions of a metering action.
struct QUILLGATE_EXPORT PurpleConditions {
    std::optional<std::string> id;
    std::optional<DesktopPageLoad> mobileScrollDepth;
    std::optional<MicropayMeter> micropayMeter;
    std::optional<DesktopPageLoad> desktopScrollDepth;
    std::optional<ViewMeter> viewMeter;
    std::optional<DesktopPageLoad> mobilePageLoad;
    std::optional<MobileAction> mobileAction;
    std::optional<DesktopPageLoad> desktopPageLoad;

    static constexpr std::string_view typeName = "PurpleConditions";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("_id", r.id);
        f("mobileScrollDepth", r.mobileScrollDepth);
        f("micropayMeter", r.micropayMeter);
        f("desktopScrollDepth", r.desktopScrollDepth);
        f("viewMeter", r.viewMeter);
        f("mobilePageLoad", r.mobilePageLoad);
        f("mobileAction", r.mobileAction);
        f("desktopPageLoad", r.desktopPageLoad);
    }
    bool operator==(const PurpleConditions&) const = default;
};

struct QUILLGATE_EXPORT MeteringActionData {
    std::optional<bool> showBanner;
    std::optional<PurpleConditions> conditions;
    std::optional<std::string> actionID;  // reported as paywallId in meter events
    std::optional<Variables> variables;

    static constexpr std::string_view typeName = "MeteringActionData";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("showBanner", r.showBanner);
        f("conditions", r.conditions);
        f("actionId", r.actionID);
        f("variables", r.variables);
    }
    bool operator==(const MeteringActionData&) const = default;
};

// The metering banner's wrapper; unlike ActionID it has no message.
struct QUILLGATE_EXPORT MeteringAction {
    std::optional<bool> isFallback;
    std::optional<MeteringActionData> data;

    static constexpr std::string_view typeName = "MeteringAction";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("isFallback", r.isFallback);
        f("data", r.data);
    }
    bool operator==(const MeteringAction&) const = default;
};

struct QUILLGATE_EXPORT PopupActionData {
    std::optional<std::string> popupActionID;  // reported as popupId in popup events
    std::optional<Conditions> conditions;

    static constexpr std::string_view typeName = "PopupActionData";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("popupActionId", r.popupActionID);
        f("conditions", r.conditions);
    }
    bool operator==(const PopupActionData&) const = default;
};

struct QUILLGATE_EXPORT PopupAction {
    std::optional<bool> isFallback;
    std::optional<std::string> message;
    std::optional<PopupActionData> data;

    static constexpr std::string_view typeName = "PopupAction";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("isFallback", r.isFallback);
        f("message", r.message);
        f("data", r.data);
    }
    bool operator==(const PopupAction&) const = default;
};

struct QUILLGATE_EXPORT Facebook {
    std::optional<std::vector<std::string>> events;

    static constexpr std::string_view typeName = "Facebook";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("events", r.events);
    }
    bool operator==(const Facebook&) const = default;
};

struct QUILLGATE_EXPORT Pixels {
    std::optional<Facebook> facebook;

    static constexpr std::string_view typeName = "Pixels";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("facebook", r.facebook);
    }
    bool operator==(const Pixels&) const = default;
};

// Spelled as the service's schema spells it.
struct QUILLGATE_EXPORT PriceOverridess {
    std::optional<std::vector<std::string>> country;

    static constexpr std::string_view typeName = "PriceOverridess";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("country", r.country);
    }
    bool operator==(const PriceOverridess&) const = default;
};

// The article as the service stores it. Only "_id" is read, never "id".
struct QUILLGATE_EXPORT Content {
    std::optional<std::string> title;
    std::optional<std::string> url;
    std::optional<std::vector<std::string>> tags;
    std::optional<int64_t> duration;
    std::optional<int64_t> v;
    std::optional<bool> automaticallyCreated;
    std::optional<std::string> currency;
    std::optional<std::vector<std::string>> sections;
    std::optional<std::string> id;
    std::optional<std::string> authorName;
    std::optional<std::string> createdAt;
    std::optional<Pixels> pixels;
    std::optional<bool> excludeFromSubscription;
    std::optional<PriceOverridess> priceOverrides;
    std::optional<std::string> updatedAt;
    std::optional<std::string> imageURL;
    std::optional<std::string> contentType;
    std::optional<bool> bundle;
    std::optional<std::string> clientContentID;
    std::optional<std::vector<std::string>> bundleContentIDS;
    std::optional<std::string> clientID;
    std::optional<int64_t> price;
    std::optional<std::string> authorID;
    std::optional<std::vector<std::string>> categories;
    std::optional<std::string> subTitle;

    static constexpr std::string_view typeName = "Content";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("title", r.title);
        f("url", r.url);
        f("tags", r.tags);
        f("duration", r.duration);
        f("__v", r.v);
        f("automaticallyCreated", r.automaticallyCreated);
        f("currency", r.currency);
        f("sections", r.sections);
        f("_id", r.id);
        f("authorName", r.authorName);
        f("createdAt", r.createdAt);
        f("pixels", r.pixels);
        f("excludeFromSubscription", r.excludeFromSubscription);
        f("priceOverrides", r.priceOverrides);
        f("updatedAt", r.updatedAt);
        f("imageUrl", r.imageURL);
        f("contentType", r.contentType);
        f("bundle", r.bundle);
        f("clientContentId", r.clientContentID);
        f("bundleContentIds", r.bundleContentIDS);
        f("clientId", r.clientID);
        f("price", r.price);
        f("authorId", r.authorID);
        f("categories", r.categories);
        f("subTitle", r.subTitle);
    }
    bool operator==(const Content&) const = default;
};

// The root: the journey service's answer for one article. "consumptionID" keeps its
// upper-case "ID"; the paywall action comes under "actionId" (a root "actionID" is ignored).
struct QUILLGATE_EXPORT UserJourneyModel {
    std::optional<bool> sessionExists;
    std::optional<int64_t> accessTimeLeft;
    std::optional<bool> unlockedWithMicropayMeter;
    std::optional<bool> unlockedWithPass;
    std::optional<bool> unlockedWithContent;
    std::optional<bool> freeAccess;
    std::optional<bool> unlockedWithSubscription;
    std::optional<bool> noJourneySatisfied;
    std::optional<bool> isAdfreePurchased;
    std::optional<bool> unlockedWithRegwall;
    std::optional<bool> unlockedWithPageViewMeter;
    std::optional<bool> isRegWall;
    std::optional<bool> isPremium;
    std::optional<std::string> consumptionID;
    std::optional<std::string> signature;
    std::optional<bool> downloadExists;
    std::optional<std::string> message;
    std::optional<Content> content;
    std::optional<PopupAction> popupAction;
    std::optional<MeteringAction> meteringAction;
    std::optional<ActionID> actionID;

    static constexpr std::string_view typeName = "UserJourneyModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("sessionExists", r.sessionExists);
        f("accessTimeLeft", r.accessTimeLeft);
        f("unlockedWithMicropayMeter", r.unlockedWithMicropayMeter);
        f("unlockedWithPass", r.unlockedWithPass);
        f("unlockedWithContent", r.unlockedWithContent);
        f("freeAccess", r.freeAccess);
        f("unlockedWithSubscription", r.unlockedWithSubscription);
        f("noJourneySatisfied", r.noJourneySatisfied);
        f("isAdfreePurchased", r.isAdfreePurchased);
        f("unlockedWithRegwall", r.unlockedWithRegwall);
        f("unlockedWithPageViewMeter", r.unlockedWithPageViewMeter);
        f("isRegWall", r.isRegWall);
        f("isPremium", r.isPremium);
        f("consumptionID", r.consumptionID);
        f("signature", r.signature);
        f("downloadExists", r.downloadExists);
        f("message", r.message);
        f("content", r.content);
        f("popupAction", r.popupAction);
        f("meteringAction", r.meteringAction);
        f("actionId", r.actionID);
    }
    bool operator==(const UserJourneyModel&) const = default;
};

}  // namespace quillgate

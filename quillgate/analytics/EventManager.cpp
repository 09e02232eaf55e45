#include "quillgate/analytics/EventManager.h"

#include <cctype>
#include <climits>
#include <optional>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/NetworkClient.h"
#include "quillgate/service/NetworkProperties.h"

namespace quillgate {

namespace {

using nlohmann::json;

constexpr const char* kTopic = "demoTopic";
constexpr const char* kDeviceType = "MOBILE";
constexpr const char* kOsName = "IOS";
constexpr const char* kBrowser = "Mobile Safari";
constexpr const char* kPageType = "APP";
constexpr const char* kUserSourceData = "DIRECT";
constexpr const char* kPingEventType = "PING";
constexpr const char* kGoogleAction = "GOOGLE";

constexpr const char* kLogEventView = "zzzlogEventVIEW()";
constexpr const char* kLogEventClick = "zzzlogEventCLICK()";
constexpr const char* kLogEventExit = "zzzlogEventEXIT()";
constexpr const char* kLogMeterEventView = "zzzlogMeterEventVIEW()";
constexpr const char* kLogMeterEventClick = "zzzlogMeterEventCLICK()";
constexpr const char* kLogEventPing = "zzzlogEventPING()";
constexpr const char* kEventNamePrefix = "~~~~~Event Name = ";
constexpr const char* kClickActionPrefix = "~~~~~Click Action = ";
constexpr const char* kLineEnd = "~~~~~";
constexpr const char* kPingName = "~~~~~Event Name = PING~~~~~";
constexpr const char* kEventParameters = "~~~~~Event Parameters~~~~~";
constexpr const char* kLogEvent = "Log Event";
constexpr const char* kUnableToLogEvent = "Unable to Log Event";
constexpr const char* kCounterLine = "Constants.counter::";
constexpr const char* kActiveLine = "Constants.active::";
constexpr const char* kLastActiveLine = "Constants.lastActiveStatus::";

// After this many pings of an idle run the ticks fall silent until the reader acts.
constexpr int kSilentFromCounter = 13;

// A text read the way the platform's integerValue reads it: leading blanks skipped, an
// optional sign, then as many decimal digits as there are; 0 when there are none, and the
// nearest limit when the digits don't fit.
long long integerValue(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) {
        ++at;
    }
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        negative = text[at] == '-';
        ++at;
    }
    long long value = 0;
    for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at) {
        const int digit = text[at] - '0';
        if (value > (LLONG_MAX - digit) / 10) {
            return negative ? LLONG_MIN : LLONG_MAX;
        }
        value = value * 10 + digit;
    }
    return negative ? -value : value;
}

std::string textOr(const std::optional<std::string>& text) {
    return text.value_or("");
}

// The journey's content, if the client has a journey with one.
const Content* journeyContent(const QuillgateClient& client) {
    if (client.userJourneyModel && client.userJourneyModel->content) {
        return &*client.userJourneyModel->content;
    }
    return nullptr;
}

std::string contentAuthorName(const QuillgateClient& client) {
    const Content* content = journeyContent(client);
    return content ? textOr(content->authorName) : "";
}

json contentTags(const QuillgateClient& client) {
    const Content* content = journeyContent(client);
    if (content && content->tags) {
        return json(*content->tags);
    }
    return json::array();
}

std::string contentUrl(const QuillgateClient& client) {
    const Content* content = journeyContent(client);
    return content ? textOr(content->url) : "";
}

std::string contentTitle(const QuillgateClient& client) {
    const Content* content = journeyContent(client);
    return content ? textOr(content->title) : "";
}

json wrapped(json message) {
    return json{{"topic", kTopic}, {"messageBody", json::array({std::move(message)})}};
}

void printDebug(EventType type) {
    platform::log(rawValue(type));
}

void printEventName(EventLocation location, EventType type) {
    platform::log(std::string(kEventNamePrefix) + std::string(rawValue(location)) +
                  std::string(rawValue(type)) + kLineEnd);
}

void printClickAction(const std::string& clickAction) {
    platform::log(kClickActionPrefix + clickAction + kLineEnd);
}

json popupMessage(const QuillgateClient& client, const std::string& anonId, EventType type,
                  const std::string& clickAction) {
    std::string popupId;
    const auto& journey = client.userJourneyModel;
    if (journey && journey->popupAction && journey->popupAction->data) {
        popupId = textOr(journey->popupAction->data->popupActionID);
    }
    std::string imageUrl;
    if (client.popUpModel) {
        imageUrl = textOr(client.popUpModel->imageURL);
    }
    return json{
        {"anonId", anonId},
        {"paywallId", client.paywallId},
        {"clickAction", type == EventType::CLICK ? clickAction : ""},
        {"clientId", client.clientID},
        {"deviceType", kDeviceType},
        {"eventLocation", std::string(rawValue(EventLocation::POPUP))},
        {"eventType", std::string(rawValue(type))},
        {"popupId", popupId},
        {"referrer", ""},
        {"url", imageUrl},
        {"userId", Constants::userID()},
        {"userSourceData", kUserSourceData},
        {"utmCampaign", ""},
        {"utmMedium", ""},
        {"utmSource", ""},
    };
}

}  // namespace

EventManager& EventManager::shared() {
    return platform::sharedInstance<EventManager>();
}

// ---- Log operations ----------------------------------------------------------------------

void EventManager::logEventVIEW(EventLocation location) {
    platform::log(kLogEventView);
    json body = buildEventBody(EventType::VIEW, location, "");
    printEventName(location, EventType::VIEW);
    sendEvent(body);
}

void EventManager::logEventCLICK(const std::string& clickAction, EventLocation location) {
    Constants::active() = 1;
    json body = buildEventBody(EventType::CLICK, location, clickAction);
    platform::log(kLogEventClick);
    printEventName(location, EventType::CLICK);
    printClickAction(clickAction);
    sendEvent(body);
}

void EventManager::logEventEXIT(EventLocation location) {
    platform::log(kLogEventExit);
    Constants::active() = 1;
    json body = buildEventBody(EventType::EXIT, location, "");
    printEventName(location, EventType::EXIT);
    sendEvent(body);
}

void EventManager::logMeterEventVIEW(EventLocation location) {
    platform::log(kLogMeterEventView);
    json body = buildMeterEventBody(EventType::VIEW, location, "");
    printEventName(location, EventType::VIEW);
    sendEvent(body);
}

void EventManager::logMeterEventCLICK(const std::string& clickAction, EventLocation location) {
    platform::log(kLogMeterEventClick);
    Constants::active() = 1;
    json body = buildMeterEventBody(EventType::CLICK, location, clickAction);
    printEventName(location, EventType::CLICK);
    printClickAction(clickAction);
    sendEvent(body);
}

void EventManager::logEventPING() {
    platform::log(kLogEventPing);
    int& active = Constants::active();
    int& lastActiveStatus = Constants::lastActiveStatus();
    int& counter = Constants::counter();

    // A change between active and idle starts a new run: a new ping identity, counted from 1.
    if (active != lastActiveStatus) {
        Constants::removePingID();
        counter = 1;
    }
    platform::log(kCounterLine + std::to_string(counter));
    platform::log(kActiveLine + std::to_string(active));
    platform::log(kLastActiveLine + std::to_string(lastActiveStatus));

    // An idle run pings twelve times, then stays quiet until the reader acts.
    if (counter >= kSilentFromCounter && active != 1) {
        return;
    }
    json body = buildPingBody();
    platform::log(kPingName);
    sendEvent(body);

    // The counters move on whether or not the ping arrives.
    lastActiveStatus = active;
    active = 0;
    if (counter == INT_MAX) {
        platform::fatal("Fatal error: arithmetic overflow in the ping counter");
    }
    ++counter;
}

// ---- Bodies ------------------------------------------------------------------------------

json EventManager::buildEventBody(EventType type, EventLocation location,
                                  const std::string& clickAction) {
    // Read before the identity is fetched: an identity made by this very build is reported
    // as new by the next one.
    const bool newReader = Constants::isNewReader();
    Constants::isNewReader() = false;

    const QuillgateClient& client = QuillgateClient::shared();
    const std::string anonId = Constants::anonymousID();
    const auto& device = platform::current().device;

    json message{
        {"_id", platform::makeUuid()},
        {"anonId", anonId},
        {"paywallId", client.paywallId},
        {"paywallType", client.paywallType},
        {"deviceType", kDeviceType},
        {"mobileModel", device.model},
        {"osName", kOsName},
        {"osVersion", device.systemVersion},
        {"userAgent", NetworkProperties::userAgent()},
        {"clientId", client.clientID},
        {"contentId", client.contentID},
        {"userId", Constants::userID()},
        {"eventLocation", std::string(rawValue(location))},
        {"eventType", std::string(rawValue(type))},
    };

    switch (location) {
        case EventLocation::PAGE:
            if (type == EventType::VIEW || type == EventType::EXIT) {
                const bool premium =
                    client.userJourneyModel && client.userJourneyModel->isPremium.value_or(false);
                message["pageType"] = kPageType;
                message["userType"] = newReader ? "NEW" : "REPEAT";
                message["scrollDepth"] = client.scrollDepth();
                message["pageLength"] = client.pageLength;
                message["premiumContent"] = premium ? 1 : 0;
                message["unlockedStatus"] = Constants::unlockedStatus();
                message["accessType"] = Constants::accessType();
                message["authorName"] = contentAuthorName(client);
                message["tags"] = contentTags(client);
                message["url"] = contentUrl(client);
                message["contentTitle"] = contentTitle(client);
            } else {
                printDebug(type);
            }
            break;
        case EventLocation::PAYWALL:
            if (type == EventType::VIEW) {
                message["paywallId"] = client.paywallId;
                message["paywallType"] = client.paywallType;
                message["paywallDisplayType"] = std::string(rawValue(client.paywallDisplayType));
                message["numOfCta"] = integerValue(client.numOfCta);
            } else if (type == EventType::CLICK) {
                message["clickAction"] = clickAction;
                if (clickAction == kGoogleAction) {
                    if (auto delegate = client.eventParamsDelegate.lock()) {
                        delegate->success(client.paywallId, client.contentID, client.paywallType,
                                          client.clientID, anonId);
                    }
                }
            } else {
                printDebug(type);
            }
            break;
        case EventLocation::POPUP:
            // The popup's collector takes a message of its own, and no topic.
            return json{
                {"messageBody", json::array({popupMessage(client, anonId, type, clickAction)})}};
    }
    return wrapped(std::move(message));
}

json EventManager::buildMeterEventBody(EventType type, EventLocation location,
                                       const std::string& clickAction) {
    const QuillgateClient& client = QuillgateClient::shared();
    const auto& device = platform::current().device;

    std::string actionId;
    std::string actionType;
    const auto& journey = client.userJourneyModel;
    if (journey && journey->meteringAction && journey->meteringAction->data) {
        const auto& data = *journey->meteringAction->data;
        actionId = textOr(data.actionID);
        if (data.conditions && data.conditions->mobileAction) {
            actionType = textOr(data.conditions->mobileAction->type);
        }
    }

    json message{
        {"browser", kBrowser},
        {"anonId", Constants::anonymousID()},
        {"deviceType", kDeviceType},
        {"mobileModel", device.model},
        {"osName", kOsName},
        {"osVersion", device.systemVersion},
        {"userAgent", NetworkProperties::userAgent()},
        {"url", contentUrl(client)},
        {"userSourceData", kUserSourceData},
        {"isCookieBlocked", 0},
        {"paywallId", actionId},
        {"paywallType", actionType},
        {"clientId", client.clientID},
        {"contentId", client.contentID},
        {"userId", Constants::userID()},
        {"eventLocation", std::string(rawValue(location))},
        {"eventType", std::string(rawValue(type))},
    };
    if (type == EventType::CLICK) {
        message["clickAction"] = clickAction;
    } else {
        printDebug(type);
    }
    return wrapped(std::move(message));
}

json EventManager::buildPingBody() {
    const QuillgateClient& client = QuillgateClient::shared();
    json message{
        {"_id", platform::makeUuid()},
        {"anonId", Constants::anonymousID()},
        {"clientId", client.clientID},
        {"contentId", client.contentID},
        {"userId", Constants::userID()},
        {"pingId", Constants::pingID()},
        {"active", Constants::active()},
        {"counter", Constants::counter()},
        {"authorName", contentAuthorName(client)},
        {"eventType", kPingEventType},
        {"tags", contentTags(client)},
    };
    return wrapped(std::move(message));
}

// ---- Sending -----------------------------------------------------------------------------

void EventManager::sendEvent(const json& body) {
    platform::log(kEventParameters);
    platform::log(description::value(body));
    platform::HttpRequest request =
        NetworkProperties::collectionRequest(body, Endpoint::collectEvent());
    NetworkClient::shared().send(
        std::move(request),
        [](std::optional<std::string> data, std::optional<RequestError> error, long status) {
            if (!data || error) {
                return;
            }
            if (NetworkClient::isSuccess(status)) {
                platform::log(kLogEvent);
                return;
            }
            print(status == 404 ? CustomError::wrongClientOrContentID
                                : CustomError::someThingWentWrong);
            platform::log(kUnableToLogEvent);
        });
}

}  // namespace quillgate

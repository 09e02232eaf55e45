#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "quillgate/analytics/EventType.h"

// Reports what the reader saw and did to the collection service: one fire-and-forget POST
// per event, with no queue, no batching and no retry. A lost event stays lost, and nobody
// hears how a send ended beyond the printed lines.
//
// Screens never build a body themselves: they call one of the five log operations, and the
// body is assembled at that moment from the client's fields (QuillgateClient::shared()), its
// last journey answer, the device facts and the process-wide values of Constants. The log
// operations are also the activity signals of the ping: a CLICK or an EXIT sets
// Constants::active() to 1, a VIEW does not (a reader who only looks counts as idle).
//
// The manager holds no state; `shared()` exists so every caller goes through one object.
// Main thread only: screens, the ping's timer and service answers all call from there, and
// the values read have no lock.
namespace quillgate {

class EventManager {
  public:
    static EventManager& shared();

    // ---- The log operations: build, print, send ------------------------------------------

    void logEventVIEW(EventLocation location);
    void logEventCLICK(const std::string& clickAction, EventLocation location);
    void logEventEXIT(EventLocation location);
    void logMeterEventVIEW(EventLocation location);
    void logMeterEventCLICK(const std::string& clickAction, EventLocation location);

    // One tick of the ping (see PingManager): decides whether this tick sends, sends the
    // ping, and moves the activity counters on.
    void logEventPING();

    // ---- Bodies ----------------------------------------------------------------------------

    // {"topic": "demoTopic", "messageBody": [message]} for PAGE and PAYWALL; for POPUP the
    // popup message alone, {"messageBody": [message]}. Reads and clears
    // Constants::isNewReader() first of all. A PAYWALL CLICK with the action "GOOGLE" tells
    // the client's eventParamsDelegate, during the build.
    nlohmann::json buildEventBody(EventType type, EventLocation location,
                                  const std::string& clickAction);
    // The metering banner's events: seventeen keys describing the journey's metering action,
    // plus "clickAction" for a CLICK. No "_id".
    nlohmann::json buildMeterEventBody(EventType type, EventLocation location,
                                       const std::string& clickAction);
    // The ping: eleven keys, with the activity counters as they stand and the ping identity
    // (made anew if it was removed).
    nlohmann::json buildPingBody();

    // Prints the body and posts it to the collection address of the client's mode, if the
    // network is up ("No internet Connection" otherwise). The answer prints "Log Event" for
    // 200 or 201, the failure kind and "Unable to Log Event" for any other status, and
    // nothing for a transport error.
    void sendEvent(const nlohmann::json& body);

    // Use shared(); public only so that the process's shared-instance holder can make it.
    EventManager() = default;
};

}  // namespace quillgate

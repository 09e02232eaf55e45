#pragma once

#include <memory>

#include "quillgate/platform/RunLoop.h"

// The steady ping while a paywall screen or the metering banner is on show: every 15 seconds
// the collector hears that the reader is still there and whether the reader did anything
// since the last tick. The counting itself (Constants::active(), lastActiveStatus(),
// counter() and the stored "PingID") is EventManager::logEventPING; this class owns only
// the timer.
//
// The counters and the ping identity outlive the timer: a later screen goes on from them.
//
// Starting again while a timer runs only lets go of the earlier timer, it does not stop it:
// the run loop keeps a scheduled timer alive until it is invalidated, so the earlier one goes
// on firing beyond anyone's reach and two screens in a row ping at twice the rate. stopTimer
// stops only the latest. Screens rely on exactly this, so it is kept.
//
// Main thread only: the timer fires on the main run loop, beside the touch handlers that set
// the counters.

namespace quillgate {

class PingManager {
  public:
    static constexpr double interval = 15.0;

    static PingManager& shared();

    // Prints "startTimer()" and schedules a repeating 15-second timer on the main run loop
    // that calls logEventPING on the shared instance. A timer already held is released, not
    // invalidated.
    void startTimer();
    // Prints "stopTimer()", invalidates the timer held (if any) and forgets it.
    void stopTimer();
    // One tick: prints "logEvent()" and runs the shared EventManager's logEventPING.
    void logEventPING();

    // The latest timer started and not yet stopped.
    std::shared_ptr<platform::Timer> timer;

    // Use shared(); public only so that the process's shared-instance holder can make it.
    PingManager() = default;
};

}  // namespace quillgate

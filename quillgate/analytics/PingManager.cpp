#include "quillgate/analytics/PingManager.h"

#include "quillgate/analytics/EventManager.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"

namespace quillgate {

namespace {
constexpr const char* kStartTimer = "startTimer()";
constexpr const char* kStopTimer = "stopTimer()";
constexpr const char* kLogEvent = "logEvent()";
}  // namespace

PingManager& PingManager::shared() {
    return platform::sharedInstance<PingManager>();
}

void PingManager::startTimer() {
    platform::log(kStartTimer);
    timer = platform::mainQueue().scheduledTimer(
        interval, true, [](platform::Timer&) { PingManager::shared().logEventPING(); });
}

void PingManager::stopTimer() {
    platform::log(kStopTimer);
    if (timer) {
        timer->invalidate();
    }
    timer.reset();
}

void PingManager::logEventPING() {
    platform::log(kLogEvent);
    EventManager::shared().logEventPING();
}

}  // namespace quillgate

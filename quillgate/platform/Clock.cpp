#include "quillgate/platform/Clock.h"

namespace quillgate::platform {

namespace {
// 2026-03-02 09:00:00 UTC: a fixed, ordinary instant for reproducible tests.
constexpr std::chrono::seconds kManualEpoch{1772442000};
}  // namespace

ManualClock::ManualClock() : ManualClock(TimePoint(kManualEpoch)) {}

ManualClock::ManualClock(TimePoint start) : ticks_(start.time_since_epoch().count()) {}

TimePoint ManualClock::now() const {
    return TimePoint(Duration(ticks_.load() + wallOffset_.load()));
}

MonotonicTime ManualClock::monotonicNow() const {
    return MonotonicTime(
        std::chrono::duration_cast<MonotonicTime::duration>(Duration(ticks_.load())));
}

void ManualClock::set(TimePoint t) {
    ticks_.store(t.time_since_epoch().count() - wallOffset_.load());
}

void ManualClock::advance(Duration d) {
    ticks_.fetch_add(d.count());
}

void ManualClock::setMonotonic(MonotonicTime t) {
    const auto target = std::chrono::duration_cast<Duration>(t.time_since_epoch()).count();
    if (target > ticks_.load()) {
        ticks_.store(target);
    }
}

void ManualClock::stepWall(Duration d) {
    wallOffset_.fetch_add(d.count());
}

}  // namespace quillgate::platform

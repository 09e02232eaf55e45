#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include "quillgate/Export.h"

namespace quillgate::platform {

// Wall-clock time: dates, event timestamps, anything shown or sent.
using TimePoint = std::chrono::system_clock::time_point;
using Duration = std::chrono::system_clock::duration;
// Time that only moves forward, at a steady rate, whatever happens to the wall clock (a network
// time correction, the user setting the date): what timers and delays count on, so that a step
// of the wall clock neither bunches nor delays them. Its epoch means nothing.
using MonotonicTime = std::chrono::steady_clock::time_point;

// Converts seconds, as the system counts delays (0.5, 15, ...), into a clock duration.
inline Duration seconds(double value) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(value));
}

// The time of the system. Everything that asks "what time is it" asks the installed clock,
// so that tests can run on a manual one: the wall clock for dates and event times, the
// monotonic clock for timers and delayed work. Thread-safe: the HTTP worker may read it.
class QUILLGATE_EXPORT Clock {
  public:
    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;
    virtual MonotonicTime monotonicNow() const = 0;
    // True when time only moves when someone advances it (tests).
    virtual bool isManual() const { return false; }
};

// Wall-clock time.
class QUILLGATE_EXPORT SystemClock final : public Clock {
  public:
    TimePoint now() const override { return std::chrono::system_clock::now(); }
    MonotonicTime monotonicNow() const override { return std::chrono::steady_clock::now(); }
};

// A clock that stands still until advanced. Starts at a fixed, realistic instant so that
// date arithmetic in tests is reproducible; its monotonic time starts at the same count.
// Thread-safe.
class QUILLGATE_EXPORT ManualClock final : public Clock {
  public:
    ManualClock();
    explicit ManualClock(TimePoint start);
    TimePoint now() const override;
    MonotonicTime monotonicNow() const override;
    bool isManual() const override { return true; }
    // Moves both clocks: to wall time `t`, and the monotonic one by as much.
    void set(TimePoint t);
    void advance(Duration d);
    // Moves the monotonic clock to `t` (never back), the wall clock by as much.
    void setMonotonic(MonotonicTime t);
    // A step of the wall clock alone, forward or back, as a time correction makes.
    void stepWall(Duration d);

  private:
    std::atomic<Duration::rep> ticks_;          // monotonic
    std::atomic<Duration::rep> wallOffset_{0};  // wall minus monotonic
};

}  // namespace quillgate::platform

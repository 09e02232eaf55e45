#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include "quillgate/Export.h"

namespace quillgate::platform {

using TimePoint = std::chrono::system_clock::time_point;
using Duration = std::chrono::system_clock::duration;

// Converts seconds, as the system counts delays (0.5, 15, ...), into a clock duration.
inline Duration seconds(double value) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(value));
}

// The time of the system. Everything that asks "what time is it" (timers, delayed work,
// countdowns, event times) asks the installed clock, so that tests can run on a manual one.
// Thread-safe: the HTTP worker may read it.
class QUILLGATE_EXPORT Clock {
  public:
    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;
    // True when time only moves when someone advances it (tests).
    virtual bool isManual() const { return false; }
};

// Wall-clock time.
class QUILLGATE_EXPORT SystemClock final : public Clock {
  public:
    TimePoint now() const override { return std::chrono::system_clock::now(); }
};

// A clock that stands still until advanced. Starts at a fixed, realistic instant so that
// date arithmetic in tests is reproducible. Thread-safe.
class QUILLGATE_EXPORT ManualClock final : public Clock {
  public:
    ManualClock();
    explicit ManualClock(TimePoint start);
    TimePoint now() const override;
    bool isManual() const override { return true; }
    void set(TimePoint t);
    void advance(Duration d);

  private:
    std::atomic<TimePoint::rep> ticks_;
};

}  // namespace quillgate::platform

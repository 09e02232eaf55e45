#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/platform/Clock.h"

namespace quillgate::platform {

class RunLoop;

// A repeating or one-shot timer on the run loop. The run loop keeps a scheduled timer alive
// until it is invalidated (or, for a one-shot timer, has fired): dropping the last handle
// does not stop it, so a screen's countdown runs without the screen keeping the timer.
class QUILLGATE_EXPORT Timer {
  public:
    void invalidate();
    bool isValid() const { return valid_; }
    double interval() const { return interval_; }

  private:
    friend class RunLoop;
    Timer(double interval, bool repeats, std::function<void(Timer&)> fire)
        : interval_(interval), repeats_(repeats), fire_(std::move(fire)) {}
    double interval_;
    bool repeats_;
    bool valid_ = true;
    std::function<void(Timer&)> fire_;
};

// The main queue. One thread (the one that calls run...) owns all state of the system; work
// reaches it through this queue. `async`, `asyncAfter` and `post` may be called from any
// thread; everything scheduled runs on the thread that runs the loop, in order of due time,
// then order of scheduling. Timers and delays follow the installed clock's monotonic time, so
// that a step of the wall clock neither bunches nor delays them; with a manual clock they fire
// only when a test advances it (see `advance`).
class QUILLGATE_EXPORT RunLoop {
  public:
    using Task = std::function<void()>;

    explicit RunLoop(std::shared_ptr<Clock> clock);
    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    const std::shared_ptr<Clock>& clock() const { return clock_; }

    // Run `task` on the loop as soon as possible. Thread-safe.
    void async(Task task);
    // Run `task` on the loop once `seconds` have passed on the clock. Thread-safe.
    void asyncAfter(double seconds, Task task);
    // Same as async; the name says "from another thread" at the call site.
    void post(Task task) { async(std::move(task)); }

    // A timer that fires every `interval` seconds (or once) on the loop. Loop thread only.
    std::shared_ptr<Timer> scheduledTimer(double interval, bool repeats,
                                          std::function<void(Timer&)> fire);

    // Runs every task and timer that is due now, including those that become due while
    // running (a task scheduled with no delay). Never waits. Returns how many ran.
    std::size_t runPending();
    // Runs until `stop()`, waiting for posted work and, on a real clock, for deadlines.
    void run();
    // Runs until `done()` is true or `realTimeout` of wall time has passed, waiting for
    // posted work from other threads. With a manual clock, time does not advance here.
    // Returns done().
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds realTimeout);
    // Makes run() return after the task in progress. Thread-safe.
    void stop();

    // Manual clock only: moves the clock forward by `seconds`, stopping at every deadline on
    // the way to run what is due, so timers fire as many times as they would in real time.
    void advance(double seconds);

    // The earliest deadline of scheduled work, if any, on the clock's monotonic time (for hosts
    // that drive the loop from a main loop of their own: compare with clock()->monotonicNow()).
    std::optional<MonotonicTime> nextDeadline() const;
    // Called (from any thread) whenever work is added, so a host's own loop can wake up.
    void setWakeUpCallback(std::function<void()> wake);
    // Where run() and runUntil() wait while nothing is due: by default on the queue itself;
    // a host with an event loop of its own (a GUI toolkit's) installs a wait that runs that
    // loop until the given instant, so that its events are handled meanwhile. The wait must
    // return early once the wake-up callback has been called (also when that call came just
    // before the wait began), and may return early for any other reason. Loop thread only;
    // an empty function restores the default.
    using IdleWait = std::function<void(std::chrono::steady_clock::time_point until)>;
    void setIdleWait(IdleWait wait);

    // How many tasks and timers the loop has run so far: a host redraws only after a turn
    // that ran something. Loop thread only.
    std::uint64_t completedTaskCount() const { return completed_; }

    // Called on the loop's thread after each task or timer the loop runs, and once more at
    // the end of every runPending (one turn of the loop, even when nothing was due), so that
    // what a task leaves for later is done before the next one: the view toolkit lays out the
    // views marked as needing layout. One observer; an empty function removes it.
    void setTaskObserver(std::function<void()> observer);

    // Number of tasks and valid timers waiting.
    std::size_t pendingCount() const;

  private:
    struct Entry {
        MonotonicTime due;
        std::uint64_t sequence;
        Task task;
        std::shared_ptr<Timer> timer;
    };
    void schedule(MonotonicTime due, Task task, std::shared_ptr<Timer> timer);
    // The steady-clock instant at which `deadline` of the loop's clock comes, for waiting.
    std::chrono::steady_clock::time_point wakeTime(MonotonicTime deadline) const;
    bool popDue(Entry& out);
    bool hasDueLocked() const;  // mutex_ held
    void notifyTaskObserver();

    std::shared_ptr<Clock> clock_;
    mutable std::mutex mutex_;
    std::condition_variable cv_;
    std::vector<Entry> queue_;  // heap ordered by (due, sequence)
    std::uint64_t nextSequence_ = 0;
    bool stopped_ = false;
    std::function<void()> wake_;
    std::function<void()> taskObserver_;  // loop thread only
    IdleWait idleWait_;                   // loop thread only
    std::uint64_t completed_ = 0;         // loop thread only
};

}  // namespace quillgate::platform

#include "quillgate/platform/RunLoop.h"

#include <algorithm>

namespace quillgate::platform {

namespace {
// No timer fires more often than this: a zero interval would otherwise spin the loop
// forever.
constexpr double kMinimumTimerInterval = 0.0001;

bool later(const auto& a, const auto& b) {
    return a.due != b.due ? a.due > b.due : a.sequence > b.sequence;
}
}  // namespace

void Timer::invalidate() {
    valid_ = false;
}

RunLoop::RunLoop(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

RunLoop::~RunLoop() = default;

void RunLoop::schedule(MonotonicTime due, Task task, std::shared_ptr<Timer> timer) {
    std::function<void()> wake;
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(Entry{due, nextSequence_++, std::move(task), std::move(timer)});
        std::push_heap(queue_.begin(), queue_.end(), [](auto& a, auto& b) { return later(a, b); });
        wake = wake_;
    }
    cv_.notify_all();
    if (wake) {
        wake();
    }
}

void RunLoop::async(Task task) {
    schedule(clock_->monotonicNow(), std::move(task), nullptr);
}

void RunLoop::asyncAfter(double secondsFromNow, Task task) {
    schedule(clock_->monotonicNow() + seconds(std::max(0.0, secondsFromNow)), std::move(task),
             nullptr);
}

std::shared_ptr<Timer> RunLoop::scheduledTimer(double interval, bool repeats,
                                               std::function<void(Timer&)> fire) {
    interval = std::max(interval, kMinimumTimerInterval);
    auto timer = std::shared_ptr<Timer>(new Timer(interval, repeats, std::move(fire)));
    schedule(clock_->monotonicNow() + seconds(interval), nullptr, timer);
    return timer;
}

bool RunLoop::popDue(Entry& out) {
    std::lock_guard lock(mutex_);
    const auto now = clock_->monotonicNow();
    while (!queue_.empty()) {
        std::pop_heap(queue_.begin(), queue_.end(), [](auto& a, auto& b) { return later(a, b); });
        Entry& top = queue_.back();
        if (top.timer && !top.timer->isValid()) {
            queue_.pop_back();  // an invalidated timer leaves the loop here
            continue;
        }
        if (top.due > now) {
            std::push_heap(queue_.begin(), queue_.end(),
                           [](auto& a, auto& b) { return later(a, b); });
            return false;
        }
        out = std::move(top);
        queue_.pop_back();
        return true;
    }
    return false;
}

std::size_t RunLoop::runPending() {
    std::size_t count = 0;
    Entry entry;
    while (popDue(entry)) {
        ++count;
        if (entry.timer) {
            auto timer = std::move(entry.timer);
            if (timer->repeats_) {
                // Reschedule before firing so the handler may invalidate it. The next fire
                // date counts from this one's due time, so a late loop doesn't drift the
                // ping's period, and fire dates that have already passed are skipped.
                auto next = entry.due + seconds(timer->interval_);
                const auto now = clock_->monotonicNow();
                while (next <= now && !clock_->isManual()) {
                    next += seconds(timer->interval_);
                }
                schedule(next, nullptr, timer);
            } else {
                timer->valid_ = false;
            }
            auto fire = timer->fire_;  // a copy: the handler may reset the timer's owner
            if (fire) {
                fire(*timer);
            }
        } else if (entry.task) {
            entry.task();
        }
        entry = Entry{};
        ++completed_;
        notifyTaskObserver();
    }
    notifyTaskObserver();
    return count;
}

bool RunLoop::hasDueLocked() const {
    const auto now = clock_->monotonicNow();
    return std::any_of(queue_.begin(), queue_.end(), [&](const auto& e) {
        return e.due <= now && (!e.timer || e.timer->isValid());
    });
}

void RunLoop::setTaskObserver(std::function<void()> observer) {
    taskObserver_ = std::move(observer);
}

void RunLoop::notifyTaskObserver() {
    if (taskObserver_) {
        auto observer = taskObserver_;  // a copy: the observer may replace itself
        observer();
    }
}

std::optional<MonotonicTime> RunLoop::nextDeadline() const {
    std::lock_guard lock(mutex_);
    std::optional<MonotonicTime> best;
    for (const auto& e : queue_) {
        if (e.timer && !e.timer->isValid()) {
            continue;
        }
        if (!best || e.due < *best) {
            best = e.due;
        }
    }
    return best;
}

std::size_t RunLoop::pendingCount() const {
    std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(queue_.begin(), queue_.end(), [](const auto& e) {
        return !e.timer || e.timer->isValid();
    }));
}

void RunLoop::run() {
    for (;;) {
        runPending();
        std::unique_lock lock(mutex_);
        if (stopped_) {
            stopped_ = false;
            return;
        }
        auto hasDue = [&] { return hasDueLocked(); };
        if (hasDue()) {
            continue;
        }
        if (clock_->isManual() || queue_.empty()) {
            if (idleWait_) {
                lock.unlock();
                idleWait_(std::chrono::steady_clock::time_point::max());
                continue;
            }
            cv_.wait(lock, [&] { return stopped_ || hasDue(); });
        } else {
            lock.unlock();
            auto deadline = nextDeadline();
            if (idleWait_ && deadline) {
                idleWait_(wakeTime(*deadline));
                continue;
            }
            lock.lock();
            if (deadline) {
                cv_.wait_until(lock, wakeTime(*deadline), [&] { return stopped_ || hasDue(); });
            }
        }
    }
}

bool RunLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds realTimeout) {
    const auto giveUp = std::chrono::steady_clock::now() + realTimeout;
    for (;;) {
        runPending();
        if (done()) {
            return true;
        }
        const auto steadyNow = std::chrono::steady_clock::now();
        if (steadyNow >= giveUp) {
            return done();
        }
        auto wakeAt = giveUp;
        if (!clock_->isManual()) {
            if (auto deadline = nextDeadline()) {
                wakeAt = std::min(wakeAt, wakeTime(*deadline));
            }
        }
        // Whether anything is due is decided under the lock, like the wait itself: work posted
        // after runPending() and the done test is due at once, so the loop does not sleep
        // over it.
        std::unique_lock lock(mutex_);
        if (idleWait_) {
            if (!stopped_ && !hasDueLocked()) {
                // Work added from here on calls the wake-up callback, which ends the wait.
                lock.unlock();
                idleWait_(wakeAt);
                lock.lock();
            }
        } else {
            cv_.wait_until(lock, wakeAt, [&] { return stopped_ || hasDueLocked(); });
        }
        if (stopped_) {
            stopped_ = false;
            lock.unlock();
            runPending();
            return done();
        }
    }
}

void RunLoop::stop() {
    std::function<void()> wake;
    {
        std::lock_guard lock(mutex_);
        stopped_ = true;
        wake = wake_;
    }
    cv_.notify_all();
    if (wake) {
        wake();
    }
}

void RunLoop::advance(double secondsToAdvance) {
    auto* manual = dynamic_cast<ManualClock*>(clock_.get());
    if (manual == nullptr) {
        runPending();
        return;
    }
    const auto target = manual->monotonicNow() + seconds(std::max(0.0, secondsToAdvance));
    runPending();
    for (;;) {
        auto deadline = nextDeadline();
        if (!deadline || *deadline > target) {
            break;
        }
        manual->setMonotonic(*deadline);
        runPending();
    }
    manual->setMonotonic(target);
    runPending();
}

std::chrono::steady_clock::time_point RunLoop::wakeTime(MonotonicTime deadline) const {
    return std::chrono::steady_clock::now() + (deadline - clock_->monotonicNow());
}

void RunLoop::setIdleWait(IdleWait wait) {
    idleWait_ = std::move(wait);
}

void RunLoop::setWakeUpCallback(std::function<void()> wake) {
    std::lock_guard lock(mutex_);
    wake_ = std::move(wake);
}

}  // namespace quillgate::platform

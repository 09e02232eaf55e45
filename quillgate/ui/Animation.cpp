#include "quillgate/ui/Animation.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>

#include "quillgate/platform/Platform.h"
#include "quillgate/ui/View.h"

namespace quillgate::ui {

namespace {

// A frame this close to the end counts as the end: the run loop schedules in whole clock
// ticks, so the last frame may land a tick short of it.
constexpr auto kEndTolerance = std::chrono::microseconds(1);

// The y of a cubic Bézier from (0, 0) to (1, 1) with control points (x1, y1) and (x2, y2), at
// the parameter whose x is `x`. x(s) is monotonic for control x values in [0, 1], so a few
// Newton steps, with bisection as the fallback, find s.
double bezier(double x1, double y1, double x2, double y2, double x) {
    const auto coordinate = [](double a, double b, double s) {
        const double u = 1 - s;
        return 3 * u * u * s * a + 3 * u * s * s * b + s * s * s;
    };
    const auto slope = [](double a, double b, double s) {
        const double u = 1 - s;
        return 3 * u * u * a + 6 * u * s * (b - a) + 3 * s * s * (1 - b);
    };
    double s = x;
    for (int i = 0; i < 8; ++i) {
        const double error = coordinate(x1, x2, s) - x;
        if (std::fabs(error) < 1e-9) {
            return coordinate(y1, y2, s);
        }
        const double d = slope(x1, x2, s);
        if (std::fabs(d) < 1e-9) {
            break;
        }
        s -= error / d;
    }
    double low = 0;
    double high = 1;
    s = x;
    for (int i = 0; i < 60; ++i) {
        if (coordinate(x1, x2, s) < x) {
            low = s;
        } else {
            high = s;
        }
        s = (low + high) / 2;
    }
    return coordinate(y1, y2, s);
}

double lerp(double from, double to, double progress) {
    return from + (to - from) * progress;
}

}  // namespace

double curveProgress(AnimationCurve curve, double time) {
    const double t = std::clamp(time, 0.0, 1.0);
    if (t == 0 || t == 1) {
        return t;
    }
    switch (curve) {
        case AnimationCurve::linear:
            return t;
        case AnimationCurve::easeIn:
            return bezier(0.42, 0, 1, 1, t);
        case AnimationCurve::easeOut:
            return bezier(0, 0, 0.58, 1, t);
        case AnimationCurve::easeInOut:
            return bezier(0.42, 0, 0.58, 1, t);
    }
    return t;
}

Animation::Animation(AnimationTiming timing, std::function<void(double)> step,
                     std::function<void(bool)> completion)
    : timing_(timing), step_(std::move(step)), completion_(std::move(completion)) {}

std::shared_ptr<Animation> Animation::start(AnimationTiming timing,
                                            std::function<void(double progress)> step,
                                            std::function<void(bool finished)> completion) {
    timing.duration = std::isfinite(timing.duration) ? std::max(0.0, timing.duration) : 0;
    timing.delay = std::isfinite(timing.delay) ? std::max(0.0, timing.delay) : 0;
    std::shared_ptr<Animation> animation(
        new Animation(timing, std::move(step), std::move(completion)));
    // The queued work holds the animation until its last frame; the caller's handle is only
    // for cancelling.
    platform::mainQueue().asyncAfter(timing.delay, [animation] { animation->begin(); });
    return animation;
}

void Animation::begin() {
    if (!running_) {
        return;
    }
    startedAt_ = platform::mainQueue().clock()->now();
    endsAt_ = startedAt_ + platform::seconds(timing_.duration);
    frame();
}

void Animation::frame() {
    if (!running_) {
        return;
    }
    const auto now = platform::mainQueue().clock()->now();
    const bool last = now + kEndTolerance >= endsAt_;
    double time = 1;
    if (!last) {
        time = std::chrono::duration<double>(now - startedAt_).count() / timing_.duration;
    }
    if (step_) {
        step_(curveProgress(timing_.curve, time));
    }
    if (stopRequested_) {
        finish(false);
        return;
    }
    if (last) {
        finish(true);
        return;
    }
    const double remaining = std::chrono::duration<double>(endsAt_ - now).count();
    platform::mainQueue().asyncAfter(std::min(frameInterval, remaining),
                                     [self = shared_from_this()] { self->frame(); });
}

void Animation::cancel() {
    if (running_) {
        finish(false);
    }
}

void Animation::finish(bool finished) {
    running_ = false;
    step_ = nullptr;
    if (auto completion = std::move(completion_)) {
        completion_ = nullptr;
        completion(finished);
    }
}

namespace {

// Interpolates a property of a weakly held view from its value at the first frame.
template <class Value, class Get, class Set, class Mix>
std::shared_ptr<Animation> animateView(const std::shared_ptr<View>& view, Value to,
                                       AnimationTiming timing, Get get, Set set, Mix mix,
                                       std::function<void(bool)> completion) {
    struct State {
        std::weak_ptr<View> view;
        std::optional<Value> from;
        std::weak_ptr<Animation> animation;
    };
    auto state = std::make_shared<State>();
    state->view = view;
    auto animation = Animation::start(
        timing,
        [state, to, get, set, mix](double progress) {
            auto target = state->view.lock();
            if (!target) {
                if (auto animation = state->animation.lock()) {
                    animation->stopFromStep();
                }
                return;
            }
            if (!state->from) {
                state->from = get(*target);
            }
            set(*target, mix(*state->from, to, progress));
        },
        std::move(completion));
    state->animation = animation;
    return animation;
}

}  // namespace

std::shared_ptr<Animation> animateAlpha(const std::shared_ptr<View>& view, double to,
                                        AnimationTiming timing,
                                        std::function<void(bool finished)> completion) {
    return animateView(
        view, to, timing, [](const View& v) { return v.alpha(); },
        [](View& v, double alpha) { v.setAlpha(alpha); }, lerp, std::move(completion));
}

std::shared_ptr<Animation> animateFrame(const std::shared_ptr<View>& view, Rect to,
                                        AnimationTiming timing,
                                        std::function<void(bool finished)> completion) {
    return animateView(
        view, to, timing, [](const View& v) { return v.frame(); },
        [](View& v, Rect frame) { v.setFrame(frame); },
        [](Rect from, Rect target, double p) {
            return Rect(lerp(from.x(), target.x(), p), lerp(from.y(), target.y(), p),
                        lerp(from.width(), target.width(), p),
                        lerp(from.height(), target.height(), p));
        },
        std::move(completion));
}

}  // namespace quillgate::ui

#pragma once

#include <functional>
#include <memory>

#include "quillgate/Export.h"
#include "quillgate/platform/Clock.h"
#include "quillgate/ui/Geometry.h"

// Property animation on the main queue. An animation waits `delay` seconds, then moves its
// progress from 0 to 1 over `duration` seconds along a timing curve, one frame every
// `Animation::frameInterval` on the installed clock, and ends with a frame at exactly 1.
// What moves is up to the caller: `step` receives the curved progress and sets whatever it
// animates (the alpha and frame helpers below interpolate from the value the property has
// when the animation begins, so that a second animation picks up where the first one left
// it). Frames follow the clock, not a frame count: with a manual clock they run only as a
// test advances it, and a late frame jumps to where the curve is at that time.
//
// The run loop keeps a running animation alive; the handle is for cancelling it. Main thread
// only: start, cancel and every callback happen on the main queue.
namespace quillgate::ui {

enum class AnimationCurve {
    linear,
    easeIn,     // slow start: cubic Bézier (0.42, 0) (1, 1)
    easeOut,    // slow end: cubic Bézier (0, 0) (0.58, 1)
    easeInOut,  // both: cubic Bézier (0.42, 0) (0.58, 1)
};

// The curve's progress at `time` (both from 0 to 1; outside that range, clamped).
QUILLGATE_EXPORT double curveProgress(AnimationCurve curve, double time);

struct AnimationTiming {
    double duration = 0.25;  // seconds; 0 jumps to the end at the first frame
    double delay = 0;        // seconds before the first frame
    AnimationCurve curve = AnimationCurve::easeInOut;
};

class QUILLGATE_EXPORT Animation : public std::enable_shared_from_this<Animation> {
  public:
    static constexpr double frameInterval = 1.0 / 60;

    // `step(progress)` runs on every frame; `completion(finished)` runs once at the end, with
    // false when the animation was cancelled (or its target went) before its last frame.
    static std::shared_ptr<Animation> start(AnimationTiming timing,
                                            std::function<void(double progress)> step,
                                            std::function<void(bool finished)> completion = {});

    // Stops before the next frame and calls the completion with false. Nothing once ended.
    void cancel();
    bool isRunning() const { return running_; }

    // Used by the helpers: ends the animation unfinished from inside its own step.
    void stopFromStep() { stopRequested_ = true; }

  private:
    Animation(AnimationTiming timing, std::function<void(double)> step,
              std::function<void(bool)> completion);
    void begin();
    void frame();
    void finish(bool finished);

    AnimationTiming timing_;
    std::function<void(double)> step_;
    std::function<void(bool)> completion_;
    platform::TimePoint startedAt_{};
    platform::TimePoint endsAt_{};
    bool running_ = true;
    bool stopRequested_ = false;
};

class View;

// Moves `view`'s alpha from its value when the animation begins to `to`. The animation holds
// the view weakly: if the view is destroyed first, it ends unfinished.
QUILLGATE_EXPORT std::shared_ptr<Animation> animateAlpha(
    const std::shared_ptr<View>& view, double to, AnimationTiming timing,
    std::function<void(bool finished)> completion = {});

// Moves `view`'s frame (origin and size) the same way.
QUILLGATE_EXPORT std::shared_ptr<Animation> animateFrame(
    const std::shared_ptr<View>& view, Rect to, AnimationTiming timing,
    std::function<void(bool finished)> completion = {});

}  // namespace quillgate::ui

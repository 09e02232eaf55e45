#include "quillgate/ui/Animation.h"

#include <vector>

#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

class AnimationTest : public UiTest {
  protected:
    void advance(double seconds) { platform.loop().advance(seconds); }
};

TEST(AnimationCurve, RunsFromZeroToOneWithTheShapeOfItsName) {
    for (auto curve : {AnimationCurve::linear, AnimationCurve::easeIn, AnimationCurve::easeOut,
                       AnimationCurve::easeInOut}) {
        EXPECT_EQ(curveProgress(curve, 0), 0);
        EXPECT_EQ(curveProgress(curve, 1), 1);
        EXPECT_EQ(curveProgress(curve, -2), 0);
        EXPECT_EQ(curveProgress(curve, 7), 1);
        double previous = 0;
        for (int i = 1; i <= 100; ++i) {
            const double p = curveProgress(curve, i / 100.0);
            EXPECT_GE(p, previous) << "never goes back";
            previous = p;
        }
    }
    EXPECT_DOUBLE_EQ(curveProgress(AnimationCurve::linear, 0.25), 0.25);
    // At the Bézier parameter 1/2 the ease-out curve is at x = 0.3425, y = 0.5.
    EXPECT_NEAR(curveProgress(AnimationCurve::easeOut, 0.3425), 0.5, 1e-9);
    EXPECT_GT(curveProgress(AnimationCurve::easeOut, 0.5), 0.5);
    EXPECT_LT(curveProgress(AnimationCurve::easeIn, 0.5), 0.5);
    EXPECT_NEAR(curveProgress(AnimationCurve::easeInOut, 0.5), 0.5, 1e-9);
}

TEST_F(AnimationTest, FadesAfterItsDelayAlongTheCurveAndEndsExactlyOnTime) {
    auto view = std::make_shared<View>();
    view->setAlpha(0.8);
    std::vector<bool> ends;
    animateAlpha(view, 0, {0.3, 2, AnimationCurve::easeOut},
                 [&](bool finished) { ends.push_back(finished); });

    advance(1.99);
    EXPECT_EQ(view->alpha(), 0.8);
    view->setAlpha(0.6);  // changed during the delay: the fade starts from here
    advance(0.01);
    EXPECT_EQ(view->alpha(), 0.6);
    advance(0.1);  // a third of the way, at a frame
    EXPECT_NEAR(view->alpha(), 0.6 * (1 - curveProgress(AnimationCurve::easeOut, 1.0 / 3)), 1e-6);
    EXPECT_TRUE(ends.empty());
    advance(0.2);
    EXPECT_EQ(view->alpha(), 0.0);
    EXPECT_EQ(ends, std::vector<bool>{true});
    advance(1);
    EXPECT_EQ(ends.size(), 1u);
}

TEST_F(AnimationTest, CancellingOrLosingTheViewEndsItUnfinishedWhereItStood) {
    auto view = std::make_shared<View>();
    view->setFrame(Rect(0, 0, 100, 100));
    std::vector<bool> ends;
    const auto record = [&](bool finished) { ends.push_back(finished); };

    // Cancelled during its delay: nothing moves.
    auto waiting =
        animateFrame(view, Rect(100, 0, 100, 50), {1, 1, AnimationCurve::linear}, record);
    waiting->cancel();
    waiting->cancel();
    advance(3);
    EXPECT_EQ(view->frame(), Rect(0, 0, 100, 100));
    EXPECT_EQ(ends, std::vector<bool>{false});

    // Cancelled half-way: it stays half-way.
    auto moving = animateFrame(view, Rect(100, 0, 100, 50), {1, 0, AnimationCurve::linear}, record);
    advance(0.5);
    EXPECT_TRUE(moving->isRunning());
    moving->cancel();
    advance(1);
    EXPECT_FALSE(moving->isRunning());
    EXPECT_NEAR(view->frame().x(), 50, 1e-3);
    EXPECT_NEAR(view->frame().height(), 75, 1e-3);
    EXPECT_EQ(ends, (std::vector<bool>{false, false}));

    // The view goes: the animation stops at its next frame.
    animateAlpha(view, 0, {1, 0, AnimationCurve::linear}, record);
    advance(0.2);
    view.reset();
    advance(0.1);
    EXPECT_EQ(ends, (std::vector<bool>{false, false, false}));

    // No duration: the end value at the first frame.
    auto other = std::make_shared<View>();
    animateAlpha(other, 0.25, {0, 0.5, AnimationCurve::easeIn}, record);
    EXPECT_EQ(other->alpha(), 1.0);
    advance(0.5);
    EXPECT_EQ(other->alpha(), 0.25);
    EXPECT_EQ(ends.back(), true);
}

}  // namespace
}  // namespace quillgate::ui

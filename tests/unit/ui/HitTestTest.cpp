// Hit testing: which view a pointer at a window point reaches, and converting points between
// views (scroll offsets included).

#include "quillgate/ui/ScrollView.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

class HitTestTest : public UiTest {
  protected:
    std::shared_ptr<Window> window = Application::shared().showWindow();  // 390 x 844
    std::shared_ptr<View> root = std::make_shared<View>(Rect(0, 0, 390, 844));

    template <class T = View>
    std::shared_ptr<T> add(const std::shared_ptr<View>& parent, Rect frame) {
        auto view = std::make_shared<T>(frame);
        parent->addSubview(view);
        return view;
    }

    void SetUp() override { window->addSubview(root); }
};

TEST_F(HitTestTest, ThePointReachesTheFrontMostViewThatTakesTouches) {
    auto button = add<Button>(root, Rect(10, 10, 100, 40));
    auto title = add<Label>(button, Rect(10, 5, 50, 20));  // labels take no touches
    auto under = add(root, Rect(150, 10, 100, 100));
    auto over = add(root, Rect(200, 10, 100, 100));  // added later: in front
    auto hidden = add(root, Rect(10, 100, 100, 100));
    add<Button>(hidden, Rect(0, 0, 50, 50));
    hidden->setHidden(true);
    auto faded = add(root, Rect(10, 220, 100, 100));
    add<Button>(faded, Rect(0, 0, 50, 50));
    faded->setAlpha(0.005);
    auto inert = add(root, Rect(10, 340, 100, 100));
    add<Button>(inert, Rect(0, 0, 50, 50));
    inert->setUserInteractionEnabled(false);
    auto clipped = add(root, Rect(200, 700, 100, 50));
    add<Button>(clipped, Rect(0, 60, 100, 30));  // sticks out below its parent

    const struct {
        Point point;
        std::shared_ptr<View> expected;
        const char* why;
    } cases[] = {
        {{30, 20}, button, "a label over a button lets the touch through to it"},
        {{12, 12}, button, "the button itself"},
        {{220, 50}, over, "overlapping siblings: the last added is in front"},
        {{160, 50}, under, "the sibling behind, where the front one is not"},
        {{20, 110}, root, "a hidden view and its subtree take nothing"},
        {{20, 230}, root, "a faded-out view takes nothing"},
        {{20, 350}, root, "a view that takes no touches hides its subviews"},
        {{210, 770}, root, "a subview outside its superview's bounds is not reached"},
        {{389.9, 843.9}, root, "the last point of the window"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(window->hitTest(c.point), c.expected) << c.why;
    }
    EXPECT_EQ(window->hitTest({390, 10}), nullptr) << "right of the window";
    EXPECT_EQ(window->hitTest({-1, 10}), nullptr) << "left of the window";
    window->setHidden(true);
    EXPECT_EQ(window->hitTest({12, 12}), nullptr) << "a hidden window takes nothing";
    window->setHidden(false);
    title->setUserInteractionEnabled(true);
    EXPECT_EQ(window->hitTest({30, 20}), title) << "a label that takes touches is reached";
}

TEST_F(HitTestTest, ScrolledContentIsReachedWhereItShowsAndPointsConvertBothWays) {
    auto scroll = add<ScrollView>(root, Rect(0, 400, 390, 200));
    scroll->setContentSize({390, 600});
    auto row = add<Button>(scroll, Rect(0, 150, 390, 50));
    scroll->setContentOffset({0, 100});
    // The row shows from y = 400 + 150 - 100 = 450 to 500 in the window.
    EXPECT_EQ(window->hitTest({10, 455}), row);
    EXPECT_EQ(window->hitTest({10, 445}), scroll);
    EXPECT_EQ(window->hitTest({10, 505}), scroll);

    const Point inWindow = row->convertPoint({5, 5}, nullptr);
    EXPECT_DOUBLE_EQ(inWindow.x, 5);
    EXPECT_DOUBLE_EQ(inWindow.y, 455);
    const Point back = window->convertPoint({5, 455}, row.get());
    EXPECT_DOUBLE_EQ(back.x, 5);
    EXPECT_DOUBLE_EQ(back.y, 5);
    const Point inRoot = row->convertPoint({0, 0}, root.get());
    EXPECT_DOUBLE_EQ(inRoot.y, 450);
}

}  // namespace
}  // namespace quillgate::ui

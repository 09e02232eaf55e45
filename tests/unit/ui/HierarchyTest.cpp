// The view tree: moving views between parents, look-ups, weak parents, recorded
// constraints, and what a reader's tap reaches.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/GestureRecognizer.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::ui {
namespace {

class HierarchyTest : public ::testing::Test {
  protected:
    testing::TestPlatform platform;
};

TEST_F(HierarchyTest, AddingAViewThatHasAParentMovesIt) {
    auto a = std::make_shared<View>();
    auto b = std::make_shared<View>();
    auto child = std::make_shared<View>();
    a->addSubview(child);
    b->addSubview(child);
    EXPECT_TRUE(a->subviews().empty());
    ASSERT_EQ(b->subviews().size(), 1u);
    EXPECT_EQ(child->superview(), b);

    // Re-adding to the same parent only reorders.
    auto other = std::make_shared<View>();
    b->addSubview(other);
    b->addSubview(child);
    EXPECT_EQ(b->subviews(), (std::vector<std::shared_ptr<View>>{other, child}));
    b->insertSubview(child, 0);
    EXPECT_EQ(b->subviews(), (std::vector<std::shared_ptr<View>>{child, other}));
    b->bringSubviewToFront(child);
    EXPECT_EQ(b->subviews().back(), child);
    b->sendSubviewToBack(child);
    EXPECT_EQ(b->subviews().front(), child);
}

TEST_F(HierarchyTest, CyclesAreRefused) {
    auto a = std::make_shared<View>();
    auto b = std::make_shared<View>();
    a->addSubview(b);
    b->addSubview(a);
    a->addSubview(a);
    EXPECT_EQ(a->superview(), nullptr);
    EXPECT_EQ(a->subviews().size(), 1u);
}

TEST_F(HierarchyTest, ViewWithTagSearchesTheSubtreeDepthFirstIncludingItself) {
    auto root = std::make_shared<View>();
    auto left = std::make_shared<View>();
    auto deep = std::make_shared<View>();
    auto right = std::make_shared<View>();
    root->addSubview(left);
    left->addSubview(deep);
    root->addSubview(right);
    deep->setTag(5);
    right->setTag(5);
    root->setTag(1);
    EXPECT_EQ(root->viewWithTag(5), deep);
    EXPECT_EQ(root->viewWithTag(1), root);
    EXPECT_EQ(right->viewWithTag(1), nullptr);
    EXPECT_EQ(root->viewWithTag(9988), nullptr);
}

TEST_F(HierarchyTest, ParentIsHeldWeaklyAndChildrenStrongly) {
    auto child = std::make_shared<View>();
    std::weak_ptr<View> weakParent;
    {
        auto parent = std::make_shared<View>();
        parent->addSubview(child);
        weakParent = parent;
    }
    EXPECT_TRUE(weakParent.expired());
    EXPECT_EQ(child->superview(), nullptr);

    std::weak_ptr<View> weakChild;
    auto parent = std::make_shared<View>();
    {
        auto c = std::make_shared<View>();
        parent->addSubview(c);
        weakChild = c;
    }
    EXPECT_FALSE(weakChild.expired());
    parent->subviews().front()->removeFromSuperview();
    EXPECT_TRUE(weakChild.expired());
}

TEST_F(HierarchyTest, WindowIsFoundThroughAncestors) {
    auto window = Application::shared().showWindow();
    auto a = std::make_shared<View>();
    auto b = std::make_shared<View>();
    a->addSubview(b);
    EXPECT_EQ(b->window(), nullptr);
    window->addSubview(a);
    EXPECT_EQ(b->window(), window);
    EXPECT_EQ(window->window(), window);
    // A window can't become a subview.
    a->addSubview(std::make_shared<Window>(Rect(0, 0, 1, 1)));
    EXPECT_EQ(a->subviews().size(), 1u);
}

TEST_F(HierarchyTest, ConstraintsAreRecordedOnTheCommonAncestorAndKeptWhenInactive) {
    auto container = std::make_shared<View>(Rect(0, 0, 300, 600));
    auto card = std::make_shared<View>();
    container->addSubview(card);

    auto height = LayoutConstraint::constantSize(card, LayoutAttribute::height, 120);
    height->setIdentifier("cardHeight");
    auto centerY = LayoutConstraint::equal(card, LayoutAttribute::centerY, container);
    LayoutConstraint::activate({height, centerY});
    EXPECT_EQ(height->owner(), card);
    EXPECT_EQ(centerY->owner(), container);
    EXPECT_TRUE(centerY->isActive());

    centerY->setActive(false);
    height->setConstant(80);
    EXPECT_FALSE(centerY->isActive());
    EXPECT_EQ(centerY->owner(), container);  // still kept, so a weak outlet stays bound
    EXPECT_EQ(container->constraintWithIdentifier("cardHeight"), height);
    EXPECT_EQ(height->description(), "View.height == 80 id=cardHeight (active)");
    EXPECT_EQ(centerY->description(), "View.centerY == View.centerY (inactive)");
}

TEST_F(HierarchyTest, PinningToEdgesRecordsFourConstraintsAndSetsTheFrame) {
    auto parent = std::make_shared<View>(Rect(10, 20, 390, 500));
    auto wall = std::make_shared<View>();
    parent->addSubview(wall);
    auto pins = pinToEdges(wall, parent);
    ASSERT_EQ(pins.size(), 4u);
    const LayoutAttribute expected[] = {LayoutAttribute::leading, LayoutAttribute::trailing,
                                        LayoutAttribute::top, LayoutAttribute::bottom};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(pins[i]->firstItem(), wall);
        EXPECT_EQ(pins[i]->secondItem(), parent);
        EXPECT_EQ(pins[i]->firstAttribute(), expected[i]);
        EXPECT_EQ(pins[i]->secondAttribute(), expected[i]);
        EXPECT_EQ(pins[i]->relation(), LayoutRelation::equal);
        EXPECT_TRUE(pins[i]->isActive());
    }
    EXPECT_EQ(parent->constraints().size(), 4u);
    EXPECT_EQ(wall->frame(), Rect(0, 0, 390, 500));
}

TEST_F(HierarchyTest, ButtonTapFiresOnlyWhenEnabledAndVisibleAlsoWithoutAWindow) {
    auto root = std::make_shared<View>();
    auto button = std::make_shared<Button>();
    root->addSubview(button);
    int taps = 0;
    button->addAction([&](Control&) { ++taps; }, ControlEvent::touchUpInside);

    EXPECT_TRUE(button->tap());
    EXPECT_EQ(taps, 1);

    button->setEnabled(false);
    EXPECT_FALSE(button->tap());
    button->setEnabled(true);

    button->setHidden(true);
    EXPECT_FALSE(button->tap());
    button->setHidden(false);

    root->setHidden(true);  // a hidden ancestor hides the button too
    EXPECT_FALSE(button->tap());
    root->setHidden(false);

    root->setAlpha(0.0);
    EXPECT_FALSE(button->tap());
    root->setAlpha(1.0);

    root->setUserInteractionEnabled(false);
    EXPECT_FALSE(button->tap());
    EXPECT_EQ(taps, 1);
    EXPECT_FALSE(button->isHighlighted());
}

TEST_F(HierarchyTest, TheSameTargetAndActionIsRegisteredOnce) {
    auto button = std::make_shared<Button>();
    int submits = 0;
    int owner = 0;
    for (int i = 0; i < 3; ++i) {
        button->addTarget(
            &owner, "btnSubmitAction:", [&](Control&) { ++submits; }, ControlEvent::touchUpInside);
    }
    button->addAction([&](Control&) { ++submits; }, ControlEvent::valueChanged);
    EXPECT_EQ(button->actionNames(ControlEvent::touchUpInside),
              (std::vector<std::string>{"btnSubmitAction:"}));
    button->tap();
    EXPECT_EQ(submits, 1);
    button->removeTarget(&owner);
    button->tap();
    EXPECT_EQ(submits, 1);
}

TEST_F(HierarchyTest, LabelTapsNeedUserInteractionAndFireOneRecognizer) {
    auto cell = std::make_shared<View>();
    auto label = std::make_shared<Label>("Log in");
    cell->addSubview(label);
    int logins = 0;
    // A reused row collects one recogniser per dequeue; one tap still acts once.
    label->addGestureRecognizer(std::make_shared<TapGestureRecognizer>(
        [&](GestureRecognizer&) { ++logins; }, "loginAction:"));
    label->addGestureRecognizer(std::make_shared<TapGestureRecognizer>(
        [&](GestureRecognizer&) { ++logins; }, "loginAction:"));

    EXPECT_FALSE(label->tap());  // labels don't take touches by default
    label->setUserInteractionEnabled(true);
    EXPECT_TRUE(label->tap());
    EXPECT_EQ(logins, 1);
    EXPECT_EQ(label->gestureRecognizers().front()->actionNames(),
              (std::vector<std::string>{"loginAction:"}));
}

TEST_F(HierarchyTest, TouchesTravelUpToTheController) {
    struct Screen : ViewController {
        using ViewController::ViewController;
        void touchesBegan() override { ++touches; }
        int touches = 0;
    };
    auto screen = ViewController::create<Screen>();
    auto box = std::make_shared<View>();
    screen->view()->addSubview(box);
    box->tap();
    EXPECT_EQ(screen->touches, 1);

    // A control keeps its touches.
    auto button = std::make_shared<Button>();
    box->addSubview(button);
    button->tap();
    EXPECT_EQ(screen->touches, 1);
}

}  // namespace
}  // namespace quillgate::ui

// The view tree: moving views between parents, look-ups, weak parents, recorded
// constraints, what a reader's tap reaches, and the tree's text rendering.

#include "quillgate/ui/GestureRecognizer.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/TreeDescription.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

using HierarchyTest = UiTest;

TEST_F(HierarchyTest, AddingMovesOrReordersAndRefusesCyclesAndWindows) {
    auto window = Application::shared().showWindow();
    auto a = std::make_shared<View>();
    auto b = std::make_shared<View>();
    auto child = std::make_shared<View>();
    a->addSubview(child);
    b->addSubview(child);
    EXPECT_TRUE(a->subviews().empty());
    EXPECT_EQ(child->superview(), b);

    // Re-adding to the same parent only reorders.
    auto other = std::make_shared<View>();
    b->addSubview(other);
    b->addSubview(child);
    EXPECT_EQ(b->subviews(), (Views{other, child}));
    b->insertSubview(child, 0);
    EXPECT_EQ(b->subviews(), (Views{child, other}));
    b->bringSubviewToFront(child);
    EXPECT_EQ(b->subviews().back(), child);
    b->sendSubviewToBack(child);
    EXPECT_EQ(b->subviews().front(), child);

    a->addSubview(b);
    b->addSubview(a);  // a cycle
    a->addSubview(a);
    a->addSubview(std::make_shared<Window>(Rect(0, 0, 1, 1)));  // a window can't be a subview
    EXPECT_EQ(a->superview(), nullptr);
    EXPECT_EQ(a->subviews(), (Views{b}));

    // The window is found through the ancestors.
    EXPECT_EQ(child->window(), nullptr);
    window->addSubview(a);
    EXPECT_EQ(child->window(), window);
    EXPECT_EQ(window->window(), window);
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
    auto parent = std::make_shared<View>();
    auto child = std::make_shared<View>();
    parent->addSubview(child);
    std::weak_ptr<View> weakParent = parent;
    std::weak_ptr<View> weakChild = child;
    parent.reset();
    EXPECT_TRUE(weakParent.expired());
    EXPECT_EQ(child->superview(), nullptr);

    parent = std::make_shared<View>();
    parent->addSubview(child);
    child.reset();
    EXPECT_FALSE(weakChild.expired());
    parent->subviews().front()->removeFromSuperview();
    EXPECT_TRUE(weakChild.expired());
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
    std::size_t i = 0;
    for (const std::string edge : {"leading", "trailing", "top", "bottom"}) {
        // Equal, multiplier 1, constant 0, active: the description leaves out the defaults.
        EXPECT_EQ(pins[i]->description(), "View." + edge + " == View." + edge + " (active)");
        EXPECT_EQ(pins[i]->firstItem(), wall);
        EXPECT_EQ(pins[i++]->secondItem(), parent);
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

    // Each of these stops the tap while it holds; the ancestor's state counts too.
    const std::function<void(bool)> blockers[] = {
        [&](bool on) { button->setEnabled(!on); },
        [&](bool on) { button->setHidden(on); },
        [&](bool on) { root->setHidden(on); },
        [&](bool on) { root->setAlpha(on ? 0.0 : 1.0); },
        [&](bool on) { root->setUserInteractionEnabled(!on); },
    };
    for (const auto& block : blockers) {
        block(true);
        EXPECT_FALSE(button->tap());
        block(false);
        EXPECT_TRUE(button->tap());
    }
    EXPECT_EQ(taps, 5);
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
    EXPECT_EQ(button->actionNames(ControlEvent::touchUpInside), (Lines{"btnSubmitAction:"}));
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
    for (int i = 0; i < 2; ++i) {
        label->addGestureRecognizer(std::make_shared<TapGestureRecognizer>(
            [&](GestureRecognizer&) { ++logins; }, "loginAction:"));
    }
    EXPECT_FALSE(label->tap());  // labels don't take touches by default
    label->setUserInteractionEnabled(true);
    EXPECT_TRUE(label->tap());
    EXPECT_EQ(logins, 1);
    EXPECT_EQ(label->gestureRecognizers().front()->actionNames(), (Lines{"loginAction:"}));
}

TEST_F(HierarchyTest, TouchesTravelUpToTheControllerButControlsKeepTheirs) {
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

    auto button = std::make_shared<Button>();
    box->addSubview(button);
    button->tap();
    EXPECT_EQ(screen->touches, 1);
}

TEST_F(HierarchyTest, TreeTextHasOneIndentedLinePerViewWithItsKeyTexts) {
    struct Wall : ViewController {
        using ViewController::ViewController;
        std::string className() const override { return "QuillgateStatusVC"; }
    };
    auto wall = ViewController::create<Wall>();
    auto root = wall->view();
    root->setTag(9988);
    root->setFrame(Rect(0, 0, 390, 453.5));
    root->setBackgroundColor(Color::white(112 / 255.0, 0.7));

    auto label = std::make_shared<Label>("Pay Optional(\"₹\")10.0 to read now");
    label->setFrame(Rect(16, 20, 358, 24));
    auto button = std::make_shared<Button>(Rect(16, 60, 358, 44));
    button->setTitle("Buy a pass");
    button->layer().cornerRadius = 8;
    button->layer().maskedCorners = minXMinYCorner | maxXMinYCorner;
    button->layer().borderWidth = 1;
    button->layer().borderColor = Color::red();
    button->setClipsToBounds(true);
    button->setHidden(true);
    button->setEnabled(false);
    auto field = std::make_shared<TextField>();
    field->setPlaceholder("Email Id");
    field->setAccessibilityIdentifier("email");
    field->setAlpha(0.5);
    root->addSubview(label);
    root->addSubview(button);
    button->addSubview(field);

    EXPECT_EQ(describeTree(root),
              "View tag=9988 frame=(0 0; 390 453.5) bg=#707070B3 controller=QuillgateStatusVC\n"
              "  Label frame=(16 20; 358 24) text=\"Pay Optional(\\\"₹\\\")10.0 to read now\" "
              "font=\".SFUI-Regular 17\" color=#000000\n"
              "  Button frame=(16 60; 358 44) hidden radius=8 corners=3 border=1 #FF0000 clips "
              "title=\"Buy a pass\" disabled font=\".SFUI-Regular 15\" color=#007AFF\n"
              "    TextField id=email frame=(0 0; 0 0) alpha=0.5 text=\"\" "
              "placeholder=\"Email Id\" font=\".SFUI-Regular 17\" color=#000000\n");
    EXPECT_EQ(describeTree(nullptr), "(no view)\n");
}

}  // namespace
}  // namespace quillgate::ui

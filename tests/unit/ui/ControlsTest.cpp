// Reader actions on controls: typing into a field with its delegate and the keyboard,
// stacked layout, scrolling, refreshing.

#include "quillgate/ui/ActivityIndicatorView.h"
#include "quillgate/ui/RefreshControl.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/StackView.h"
#include "quillgate/ui/TextField.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

// Accepts only digits, at most ten of them, and records every call.
class DigitsOnly : public TextFieldDelegate {
  public:
    void textFieldDidBeginEditing(TextField&) override { calls.push_back("begin"); }
    void textFieldDidEndEditing(TextField&) override { calls.push_back("end"); }
    bool shouldChangeCharacters(TextField& field, TextRange range,
                                const std::string& replacement) override {
        std::string after = field.text();
        after.replace(range.location, range.length, replacement);
        calls.push_back("change " + after);
        for (char c : replacement) {
            if (c < '0' || c > '9') {
                return false;
            }
        }
        return after.size() <= 10;
    }
    bool textFieldShouldReturn(TextField& field) override {
        field.resignFirstResponder();
        return true;
    }
    Lines calls;
};

class ControlsTest : public UiTest {
  protected:
    Lines keyboard() { return std::exchange(keyboardEvents, {}); }

    Lines keyboardEvents;
    ObserverToken tokens[2] = {
        NotificationCenter::defaultCenter().observe(
            KeyboardWillShowNotification,
            [this](const Notification& n) {
                auto frame = keyboardFrameEnd(n);
                keyboardEvents.push_back("show " +
                                         std::to_string(frame ? static_cast<int>(frame->y()) : -1));
            }),
        NotificationCenter::defaultCenter().observe(
            KeyboardWillHideNotification,
            [this](const Notification&) { keyboardEvents.push_back("hide"); }),
    };
};

TEST_F(ControlsTest, TypingAsksTheDelegatePerCharacterAndFiresEditingChanged) {
    auto field = std::make_shared<TextField>();
    auto delegate = std::make_shared<DigitsOnly>();
    field->setDelegate(delegate);
    Lines changes;
    field->addAction([&](Control& c) { changes.push_back(static_cast<TextField&>(c).text()); },
                     ControlEvent::editingChanged);

    EXPECT_TRUE(field->type("98x7"));
    EXPECT_EQ(field->text(), "987");
    EXPECT_EQ(changes, (Lines{"9", "98", "987"}));
    EXPECT_EQ(delegate->calls,
              (Lines{"begin", "change 9", "change 98", "change 98x", "change 987"}));
    EXPECT_TRUE(field->isFirstResponder());
    EXPECT_EQ(Application::shared().firstResponder(), field);
    EXPECT_EQ(keyboard(), (Lines{"show 508"}));  // 844 - 336

    EXPECT_TRUE(field->deleteBackward());
    EXPECT_EQ(field->text(), "98");

    // Setting the text in code tells nobody.
    delegate->calls.clear();
    field->setText("9876543210");
    EXPECT_TRUE(delegate->calls.empty());
    field->type("1");
    EXPECT_EQ(field->text(), "9876543210");

    EXPECT_TRUE(field->pressReturn());
    EXPECT_FALSE(field->isFirstResponder());
    EXPECT_EQ(delegate->calls.back(), "end");
    EXPECT_EQ(keyboard(), (Lines{"hide"}));
}

TEST_F(ControlsTest, FocusMovesBetweenFieldsAndEndsWhenTheFieldLeavesTheWindow) {
    auto window = Application::shared().showWindow();
    auto first = std::make_shared<TextField>();
    auto second = std::make_shared<TextField>();
    window->addSubview(second);
    EXPECT_TRUE(first->tap());
    EXPECT_TRUE(second->tap());  // the keyboard stays up
    EXPECT_FALSE(first->isFirstResponder());
    EXPECT_TRUE(second->isFirstResponder());
    Application::shared().endEditing();
    EXPECT_FALSE(second->isFirstResponder());
    second->type("a");
    second->removeFromSuperview();
    EXPECT_FALSE(second->isFirstResponder());
    EXPECT_EQ(keyboard(), (Lines{"show 508", "hide", "show 508", "hide"}));

    second->setEnabled(false);
    EXPECT_FALSE(second->tap());
    EXPECT_FALSE(second->type("b"));
    EXPECT_EQ(second->text(), "a");
    EXPECT_TRUE(keyboard().empty());
}

TEST_F(ControlsTest, StackViewLaysOutShownArrangedViewsOnly) {
    auto stack = std::make_shared<StackView>(Rect(0, 0, 200, 300));
    stack->setAxis(LayoutAxis::vertical);
    stack->setSpacing(8);
    auto a = std::make_shared<View>(Rect(0, 0, 10, 25));
    auto b = std::make_shared<View>(Rect(0, 0, 10, 25));
    auto c = std::make_shared<View>(Rect(0, 0, 10, 40));
    stack->addArrangedSubview(a);
    stack->addArrangedSubview(b);
    stack->addArrangedSubview(c);
    b->setHidden(true);
    stack->layoutIfNeeded();
    EXPECT_EQ(a->frame(), Rect(0, 0, 200, 25));
    EXPECT_EQ(c->frame(), Rect(0, 33, 200, 40));
    EXPECT_EQ(stack->sizeThatFits({}).height, 73);

    stack->removeArrangedSubview(a);
    EXPECT_EQ(stack->arrangedSubviews().size(), 2u);
    EXPECT_EQ(a->superview(), stack);  // still a subview
    c->removeFromSuperview();
    EXPECT_EQ(stack->arrangedSubviews(), (Views{b}));
}

TEST_F(ControlsTest, PullToRefreshAndScrolling) {
    auto scroll = std::make_shared<ScrollView>(Rect(0, 0, 100, 100));
    auto refresh = std::make_shared<RefreshControl>();
    scroll->setRefreshControl(refresh);
    int reloads = 0;
    refresh->addAction([&](Control&) { ++reloads; }, ControlEvent::valueChanged);
    EXPECT_TRUE(refresh->pullToRefresh());
    EXPECT_FALSE(refresh->pullToRefresh());  // already refreshing
    refresh->endRefreshing();
    EXPECT_EQ(reloads, 1);
    EXPECT_EQ(refresh->superview(), scroll);

    EXPECT_TRUE(scroll->scrollTo({0, 40}));
    EXPECT_EQ(scroll->bounds(), Rect(0, 40, 100, 100));
    scroll->setScrollEnabled(false);
    EXPECT_FALSE(scroll->scrollTo({0, 80}));

    ActivityIndicatorView spinner;
    EXPECT_TRUE(spinner.isHidden());
    spinner.startAnimating();
    EXPECT_FALSE(spinner.isHidden());
    spinner.stopAnimating();
    EXPECT_TRUE(spinner.isHidden());
}

}  // namespace
}  // namespace quillgate::ui

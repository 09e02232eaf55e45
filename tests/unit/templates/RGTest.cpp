// The registration wall: validation by input kind, the rows of each type, the submit button
// following the reader's typing, the submission and its click, Google, and the keyboard.

#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Toast.h"
#include "quillgate/templates/RGViewController.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/NotificationCenter.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::configuration;

class RGTest : public testing::TemplateTest {
  protected:
    RGTest() { client().clientID = "client-1"; }

    std::shared_ptr<RGViewController> wall(const std::string& name,
                                           const std::optional<std::string>& kind) {
        client().paywallName = name;
        json style = {
            {"styleForText", {{"typography", {{"mainSubmitBtn", {{"text", "Register"}}}}}}}};
        if (kind) {
            style["slotData"] = {{"slot", {{"contentDivBtn", {{"value", *kind}}}}}};
        }
        return show<RGViewController>(configuration(style));
    }

    std::string opened() {
        auto web = std::dynamic_pointer_cast<WebViewController>(client().webVC);
        return web && web->actualURL ? *web->actualURL : std::string();
    }
};

TEST_F(RGTest, EachInputKindHasItsPattern) {
    struct Case {
        std::string kind;
        std::string fieldHolds;  // what the field shows when the text is checked
        std::string text;
        bool valid;
    };
    const Case cases[] = {
        {"emailLogin", "", "reader@example.com", true},
        {"emailLogin", "", "reader@example", false},
        {"emailLogin", "", "reader@mail.example.co.in", true},
        {"emailLogin", "", "a reader@example.com", false},
        {"mobileLogin", "", "9876543210", true},
        {"mobileLogin", "", "5876543210", false},
        {"mobileLogin", "", "98765432100", false},
        {"nameInput", "", "Asha", true},
        {"nameInput", "", "Ash", false},
        {"nameInput", "", "As ha", false},
        // Either: the field's content, not the text checked, picks the pattern.
        {"emailMobileLogin", "", "9876543210", true},
        {"emailMobileLogin", "", "reader@example.com", false},
        {"emailMobileLogin", "r@", "reader@example.com", true},
        {"emailMobileLogin", "r@", "9876543210", false},
    };
    for (const auto& c : cases) {
        auto screen = wall("RG5", c.kind);
        screen->cell->textField->setText(c.fieldHolds);
        EXPECT_EQ(screen->validate(c.text), c.valid) << c.kind << " " << c.text;
        screen->view()->removeFromSuperview();
    }
    // An unknown kind keeps the pattern of the last validation.
    auto screen = wall("RG5", "faxLogin");
    EXPECT_FALSE(screen->validate("9876543210"));
    screen->regex = "^[6-9]\\d{9}$";
    EXPECT_TRUE(screen->validate("9876543210"));
}

TEST_F(RGTest, TheTypeChoosesTheRowsAndTheButtons) {
    struct Case {
        std::string name;
        int rows;
        bool input, submit, divider, google;
    };
    const Case cases[] = {
        {"RG4", 3, false, false, false, true},
        {"RG5", 4, true, true, false, false},
        {"RG6", 4, true, true, true, true},
        // An unknown name leaves the type absent: four rows, the nib's buttons.
        {"rg5", 4, true, true, true, true},
    };
    for (const auto& c : cases) {
        auto screen = wall(c.name, "emailLogin");
        EXPECT_EQ(screen->tblView->numberOfRows(0), c.rows) << c.name;
        EXPECT_EQ(screen->cell != nullptr, c.input) << c.name;
        auto footer = screen->footerCell;
        ASSERT_TRUE(footer);
        EXPECT_EQ(screen->tblView->cellForRow({0, c.rows - 1}), footer);
        EXPECT_EQ(!footer->btnSubscribe->isHidden(), c.submit) << c.name;
        EXPECT_EQ(!footer->vwOR->isHidden(), c.divider) << c.name;
        EXPECT_EQ(!footer->btnGoogle->isHidden(), c.google) << c.name;
        EXPECT_EQ(footer->btnGoogle->label->text(), "Sign in with Google");
        if (c.input) {
            EXPECT_EQ(screen->cell->textField->placeholder(), "Email Id");
        }
        screen->view()->removeFromSuperview();
    }
}

TEST_F(RGTest, SubmitIsEnabledOnlyWhileTheTextValidates) {
    auto screen = wall("RG6", "emailMobileLogin");
    auto& field = *screen->cell->textField;
    auto& submit = *screen->footerCell->btnSubscribe;
    EXPECT_FALSE(submit.isEnabled());
    ASSERT_TRUE(field.tap());

    // Digits: the phone pattern, enabled at the tenth.
    field.type("987654321");
    EXPECT_FALSE(submit.isEnabled());
    field.type("0");
    EXPECT_TRUE(submit.isEnabled());
    field.type("1");
    EXPECT_FALSE(submit.isEnabled());

    // An address: the "@" counts from the key after it, when the field holds it.
    field.setText("");
    field.type("reader@example.co");
    EXPECT_TRUE(submit.isEnabled());
    field.deleteBackward();
    field.deleteBackward();
    EXPECT_FALSE(submit.isEnabled());
    EXPECT_EQ(submit.title(), "Register");
}

TEST_F(RGTest, AValidSubmissionOpensTheWebLogInWithTheContact) {
    struct Case {
        std::string kind;
        std::string text;
        std::string body;
        std::string click;
    };
    const Case cases[] = {
        {"emailLogin", "reader@example.com", R"({"email":"reader@example.com"})", "EMAIL"},
        {"mobileLogin", "9876543210", R"({"phoneNumber":"9876543210"})", "MOBILE"},
        {"emailMobileLogin", "9876543210", R"({"phoneNumber":"9876543210"})", "MOBILE"},
        // A name has no "@": it counts as a mobile log-in.
        {"nameInput", "Asha", R"({"name":"Asha"})", "MOBILE"},
    };
    for (const auto& c : cases) {
        client().webVC.reset();
        const auto before = clicks(c.click);
        const auto challenges = sent("/login-challenge");
        auto screen = wall("RG5", c.kind);
        screen->cell->textField->tap();
        screen->cell->textField->type(c.text);
        ASSERT_TRUE(screen->footerCell->btnSubscribe->tap()) << c.kind;
        settle();
        EXPECT_TRUE(tp.printed("Slot " + c.kind));
        EXPECT_TRUE(tp.printed("userDetails::" + c.body));
        EXPECT_EQ(sent("/login-challenge"), challenges + 1);
        EXPECT_EQ(clicks(c.click), before + 1) << c.kind;
        EXPECT_EQ(testing::queryOf(opened())["userDetails"], c.body);
        ui::Application::shared().endEditing();
        screen->view()->removeFromSuperview();
    }
}

TEST_F(RGTest, AnInvalidSubmissionOnlyShowsTheToast) {
    client().debugMode = true;
    std::vector<std::string> toasts;
    Toast::shared().didShow = [&](const std::string& message) { toasts.push_back(message); };
    auto screen = wall("RG5", "mobileLogin");
    screen->cell->textField->setText("5876543210");
    screen->btnSubmitAction();
    settle();
    EXPECT_EQ(toasts, std::vector<std::string>{"Enter valid email or phone number"});
    EXPECT_EQ(sent("/login-challenge"), 0u);
    EXPECT_EQ(allClicks(), 0u);
    Toast::shared().didShow = nullptr;
}

TEST_F(RGTest, GoogleGoesToTheHostAndAlwaysLogsItsClick) {
    auto screen = wall("RG4", std::nullopt);
    host->calls.clear();
    screen->footerCell->btnGoogle->tap();
    settle();
    EXPECT_TRUE(tp.printed("GOOGLE"));
    EXPECT_EQ(clicks("GOOGLE"), 1u);
    EXPECT_TRUE(host->calls.empty()) << "no Google delegate yet";

    client().googleLogInDelegate = host;
    screen->btnGoogleAction();
    settle();
    EXPECT_EQ(host->calls.back(), "startGoogleLogin()");
    EXPECT_EQ(clicks("GOOGLE"), 2u);
}

TEST_F(RGTest, TheKeyboardLiftsTheCardUnlessItIsAPopup) {
    const double keyboard = ui::Application::shared().keyboardHeight();
    for (const auto display : {PAYWALLTYPE::INARTICLE, PAYWALLTYPE::POPUP}) {
        client().paywallDisplayType = display;
        auto screen = wall("RG5", "emailLogin");
        const double resting = screen->tblView->frame().maxY();
        screen->cell->textField->tap();
        settle();
        const bool lifts = display != PAYWALLTYPE::POPUP;
        EXPECT_EQ(screen->bottomConstraint->constant(), lifts ? keyboard : 0);
        EXPECT_DOUBLE_EQ(screen->tblView->frame().maxY(), resting - (lifts ? keyboard : 0));

        // Return hides the keyboard; the card comes down over a fifth of a second.
        screen->cell->textField->pressReturn();
        EXPECT_FALSE(screen->cell->textField->isEditing());
        tp.advance(0.1);
        if (lifts) {
            EXPECT_GT(screen->bottomConstraint->constant(), 0);
        }
        tp.advance(0.2);
        EXPECT_EQ(screen->bottomConstraint->constant(), 0);
        EXPECT_DOUBLE_EQ(screen->tblView->frame().maxY(), resting);

        // Gone from the window, the screen no longer listens to the keyboard.
        auto& center = ui::NotificationCenter::defaultCenter();
        EXPECT_EQ(center.ownerRegistrationCount(screen.get()), 3u);
        screen->view()->removeFromSuperview();
        EXPECT_EQ(center.ownerRegistrationCount(screen.get()), 1u);
    }
}

}  // namespace
}  // namespace quillgate

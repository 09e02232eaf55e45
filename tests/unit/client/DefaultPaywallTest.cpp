// The default paywall as the client presents it: which blocks show for which content
// details, what the card says, the height the host hears, and where each button leads.

#include "quillgate/resources/CUILine.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/StackView.h"
#include "quillgate/ui/Window.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using testing::ClientTest;

ContentDetails fullDetails() {
    ContentDetails details;
    details.price = 10;
    details.currencySymbol = "₹";
    details.subscriptionUrl = "http://127.0.0.1:3000/subscription?clientId=client-1&source=";
    details.subscriptionsExist = true;
    details.paywallCustomization =
        PaywallCustomization{"Subscribe to The Daily", "Every story, every day."};
    details.validPass = ValidPass{49.5, "Day pass", 24};
    return details;
}

class DefaultPaywallTest : public ClientTest {
  protected:
    DefaultPaywallTest() {
        window =
            ui::Application::shared().showWindow(ui::ViewController::create<ui::ViewController>());
        window->rootViewController()->view()->addSubview(parent);
        client().contentID = "article-1";
        client().paywallId = "pw-1";
        client().paywallType = "PAYWALL";
        client().completionHandlerDelegate = host;
        client().subscriberBtnDelegate = host;
        client().signInBtnDelegate = host;
    }

    // Presents the default paywall for `details` and returns it.
    std::shared_ptr<QuillgateStatusVC> present(std::optional<ContentDetails> details) {
        client().contentDetailsModel = std::move(details);
        client().parentView = parent;
        QuillgateClientTestAccess::presentDefaultPaywall(client());
        auto screen = std::dynamic_pointer_cast<QuillgateStatusVC>(client().blockerVC);
        EXPECT_TRUE(screen);
        return screen;
    }

    void dismiss() {
        if (client().blockerVC) {
            client().blockerVC->view()->removeFromSuperview();
            client().blockerVC.reset();
        }
    }

    std::shared_ptr<ui::Window> window;
};

// Shown blocks as letters: T(op), 1 (first divider), M(iddle), 2 (second divider), B(ottom).
std::string blocks(QuillgateStatusVC& s) {
    std::string out;
    out += s.topView->isHidden() ? "" : "T";
    out += s.firstOR->isHidden() ? "" : "1";
    out += s.middleView->isHidden() ? "" : "M";
    out += s.secondOR->isHidden() ? "" : "2";
    out += s.bottomView->isHidden() ? "" : "B";
    return out;
}

TEST_F(DefaultPaywallTest, BlocksShowByPricePassAndSubscriptionRules) {
    struct Case {
        const char* name;
        std::function<void(ContentDetails&)> change;
        bool subscriberDelegate;
        const char* shown;
    };
    const Case cases[] = {
        {"everything", [](ContentDetails&) {}, true, "T1M2B"},
        {"no pass", [](ContentDetails& d) { d.validPass.reset(); }, true, "T2B"},
        {"no price", [](ContentDetails& d) { d.price.reset(); }, true, "M2B"},
        {"neither", [](ContentDetails& d) { d.price.reset(), d.validPass.reset(); }, true, "B"},
        {"a price of zero counts", [](ContentDetails& d) { d.price = 0; }, true, "T1M2B"},
        {"no subscriptions, empty address",
         [](ContentDetails& d) { d.subscriptionsExist = false, d.subscriptionUrl = ""; }, true,
         "T1M"},
        {"no subscriptions, an address", [](ContentDetails& d) { d.subscriptionsExist = false; },
         true, "T1M2B"},
        {"no subscriptions, no address",
         [](ContentDetails& d) { d.subscriptionsExist = false, d.subscriptionUrl.reset(); }, true,
         "T1M2B"},
        {"no subscribe delegate", [](ContentDetails&) {}, false, "T1M"},
    };
    for (const auto& c : cases) {
        ContentDetails details = fullDetails();
        c.change(details);
        client().subscriberBtnDelegate.reset();
        if (c.subscriberDelegate) {
            client().subscriberBtnDelegate = host;
        }
        auto screen = present(details);
        EXPECT_EQ(blocks(*screen), c.shown) << c.name;
        EXPECT_EQ(screen->middleViewHeight->constant() == 0,
                  std::string(c.shown).find('M') == std::string::npos)
            << c.name;
        EXPECT_EQ(screen->bottomViewHeight->constant() == 0,
                  std::string(c.shown).find('B') == std::string::npos)
            << c.name;
        dismiss();
    }

    // No content details at all: the card, rounded and shadowed, with only the subscription.
    client().subscriberBtnDelegate = host;
    auto bare = present(std::nullopt);
    EXPECT_EQ(blocks(*bare), "B");
    EXPECT_EQ(bare->containerView->layer().cornerRadius, 10);
    EXPECT_EQ(bare->containerView->layer().shadowOpacity, 0.5);
    EXPECT_EQ(bare->contentPriceLbl->text(), "");
}

TEST_F(DefaultPaywallTest, TheCardSaysWhatTheContentDetailsHold) {
    auto screen = present(fullDetails());
    EXPECT_EQ(screen->contentPriceLbl->text(), "Pay Optional(\"₹\")10.0 to read now");
    EXPECT_EQ(screen->lblPassMsg->text(), "24-hr unlimited access to premium content");
    EXPECT_EQ(screen->passBtn->title(), "Buy a pass for Optional(\"₹\")49.5");
    EXPECT_EQ(screen->subscriptionTitleLbl->text(), "Subscribe to The Daily");
    EXPECT_EQ(screen->subscriptionMessageLbl->text(), "Every story, every day.");
    EXPECT_TRUE(screen->userBalanceLbl->isHidden());
    EXPECT_FALSE(screen->signInStackView->isHidden());
    // The outlined pass, in the fixed colour whatever the host's accent.
    const auto accent = ui::Color::rgb255(60, 70, 92);
    EXPECT_EQ(client().accentColor, ui::Color::red());
    EXPECT_EQ(screen->passBtn->titleColor(), accent);
    EXPECT_EQ(screen->passBtn->layer().borderWidth, 1);
    EXPECT_EQ(screen->readNowBtn->backgroundColor(), accent);
    EXPECT_EQ(screen->topBar->backgroundColor(), ui::Color::rgb255(244, 244, 244));
    EXPECT_EQ(screen->signInBtn->titleColor(), ui::Color::black());
    EXPECT_FALSE(screen->poweredByOrvelantImageView->image()->isEmpty());
    EXPECT_TRUE(screen->dashline1->isHorizontal);
    dismiss();

    ContentDetails odd = fullDetails();
    odd.currencySymbol.reset();
    odd.price.reset();
    odd.validPass = ValidPass{};
    odd.paywallCustomization.reset();
    client().signInBtnDelegate.reset();
    screen = present(odd);
    screen->userBalance = "0.0";  // only the exact "0" hides the balance
    screen->viewWillAppear(false);
    EXPECT_EQ(screen->contentPriceLbl->text(), "Pay nil0.0 to read now");
    EXPECT_EQ(screen->lblPassMsg->text(), "1-hr unlimited access to premium content");
    EXPECT_EQ(screen->passBtn->title(), "Buy a pass for nil0.0");
    EXPECT_EQ(screen->passBtn->backgroundColor(), ui::Color::rgb255(60, 70, 92));  // filled
    EXPECT_EQ(screen->passBtn->titleColor(), ui::Color::white());
    EXPECT_EQ(screen->subscriptionTitleLbl->text(), "");
    EXPECT_FALSE(screen->userBalanceLbl->isHidden());
    EXPECT_EQ(screen->userBalanceLbl->text(), "OrveLant balance:  nil0.0");
    EXPECT_TRUE(screen->signInStackView->isHidden());
}

TEST_F(DefaultPaywallTest, TheHostHearsTheHeightOfTheCardAsLaidOut) {
    auto full = present(fullDetails());
    ASSERT_EQ(host->calls.size(), 1u);
    const double fullHeight = full->containerView->frame().height();
    EXPECT_GT(fullHeight, 300);
    EXPECT_EQ(host->calls[0],
              "onPaywallVisible(paywallType: PAYWALL, paywallDisplayType: INARTICLE, "
              "paywallHeight: " +
                  description::number(fullHeight) + ", paywallId: pw-1)");
    // The card is as wide as the parent less its margins.
    EXPECT_EQ(full->containerView->frame().width(), 390 - 32);
    EXPECT_EQ(full->scrollView->contentSize().height, 453);
    dismiss();

    ContentDetails subscribeOnly = fullDetails();
    subscribeOnly.price.reset();
    subscribeOnly.validPass.reset();
    auto small = present(subscribeOnly);
    const double smallHeight = small->containerView->frame().height();
    EXPECT_LT(smallHeight, fullHeight - 150);  // dropped blocks take no room
    EXPECT_EQ(small->middleView->frame().height(), 0);
    EXPECT_LT(small->bottomView->frame().minY(), 120);
}

TEST_F(DefaultPaywallTest, ButtonsLeadThroughTheClient) {
    auto screen = present(fullDetails());
    tp.clearLines();
    EXPECT_TRUE(screen->readNowBtn->tap());
    settle();
    EXPECT_TRUE(tp.printed("~~~~~Click Action = CONTENT~~~~~"));
    EXPECT_TRUE(tp.printed("~~~~~Event Name = PAYWALLCLICK~~~~~"));
    EXPECT_EQ(sent("/login-challenge"), 1u);

    tp.clearLines();
    screen->passBtn->tap();
    settle();
    EXPECT_TRUE(tp.printed("~~~~~Click Action = PASS~~~~~"));

    tp.clearLines();
    client().clientID = "client-1";
    screen->subscribeBtn->tap();
    settle();
    EXPECT_TRUE(tp.printed("~~~~~Click Action = SUBS~~~~~"));

    tp.clearLines();
    screen->logIntoOrvelantBtn->tap();
    settle();
    EXPECT_TRUE(tp.printed("~~~~~Click Action = CONTENT~~~~~"));

    host->calls.clear();
    screen->signInBtn->tap();
    EXPECT_EQ(host->calls, std::vector<std::string>{"signInTap()"});

    // The close button takes the wall out of the parent view.
    auto close = screen->view()->viewWithIdentifier("close");
    ASSERT_TRUE(close);
    close->tap();
    EXPECT_TRUE(parent->subviews().empty());

    // Without its delegate a button does nothing at all.
    screen->delegate.reset();
    tp.clearLines();
    screen->readNowBtn->tap();
    settle();
    EXPECT_FALSE(tp.printedContaining("Click Action"));
}

}  // namespace
}  // namespace quillgate

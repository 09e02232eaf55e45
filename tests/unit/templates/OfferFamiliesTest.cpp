// The CTA5 cards, the CTA8 lines and the fixed CTA4: variants, what the offers read, which
// member styles which box, the selection and what the footer's button does with it.

#include "quillgate/screens/WebViewController.h"
#include "quillgate/templates/CTA4ViewController.h"
#include "quillgate/templates/CTA5ViewController.h"
#include "quillgate/templates/CTA8ViewController.h"
#include "quillgate/templates/Styling.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::configuration;
using testing::slotsOf;

// A border member with this background, and one with this border colour.
json filled(const std::string& color) {
    return {{"backgroundColor", color}};
}
json framed(const std::string& color) {
    return {{"borderColor", color}};
}

class OfferFamiliesTest : public testing::TemplateTest {
  protected:
    template <class Screen>
    std::shared_ptr<Screen> showWith(const std::string& numOfCta, const json& style) {
        client().numOfCta = numOfCta;
        return show<Screen>(configuration(style));
    }

    template <class Cell>
    std::shared_ptr<Cell> row(BaseViewController& screen, int index) {
        return std::dynamic_pointer_cast<Cell>(screen.tblView->cellForRow({0, index}));
    }

    std::shared_ptr<CommonFooterTableViewCell> footer(BaseViewController& screen) {
        const int last = screen.tblView->numberOfRows(0) - 1;
        return row<CommonFooterTableViewCell>(screen, last);
    }

    // The live prices of the offer: an article at 5 and a pass at 49, in "Rs".
    void offerPrices() {
        ContentDetails details;
        details.currencySymbol = "Rs";
        details.microPricing = MicroPricing{};
        details.microPricing->price = 5;
        details.validPass = ValidPass{};
        details.validPass->price = 49;
        client().contentDetailsModel = details;
    }

    // What a press of the footer's button did: the click actions logged and the web flows
    // started, as "CLICK/flows".
    std::string press(BaseViewController& screen) {
        const char* actions[] = {"CONTENT", "PASS", "SUBS"};
        std::size_t before[3];
        for (int i = 0; i < 3; ++i) {
            before[i] = clicks(actions[i]);
        }
        const auto allBefore = allClicks();
        const auto flowsBefore = sent("/login-challenge");
        host->calls.clear();
        EXPECT_TRUE(footer(screen)->btnSubscribe->tap());
        settle();
        std::string click = allClicks() == allBefore ? "none" : "other";
        for (int i = 0; i < 3; ++i) {
            if (clicks(actions[i]) > before[i]) {
                click = actions[i];
            }
        }
        client().webVC.reset();
        return click + "/" + std::to_string(sent("/login-challenge") - flowsBefore);
    }
};

// ---- CTA5 ----------------------------------------------------------------------------------

TEST_F(OfferFamiliesTest, CTA5VariantsChooseCardsAndTheFooterButtonsStyle) {
    struct Case {
        std::string numOfCta;
        CTA5Type type;
        const char* cell;
        const char* buttonColor;  // the footer's container: mainSubmitBtn or contentDivBtn
    };
    const Case cases[] = {
        {"1", CTA5Type::CTA5A1, "CTA5A1TableViewCell", "#00AA00"},
        {"2", CTA5Type::CTA5A2, "CTA5A2TableViewCell", "#AA0000"},
        {"3", CTA5Type::CTA5A3, "CTA5A3TableViewCell", "#AA0000"},
        {"9", CTA5Type::CTA5A1, "CTA5A1TableViewCell", "#00AA00"},
    };
    const json style = {
        {"styleForBackground",
         {{"border",
           {{"mainSubmitBtn", filled("#AA0000")}, {"contentDivBtn", filled("#00AA00")}}}}}};
    for (const auto& c : cases) {
        auto screen = showWith<CTA5ViewController>(c.numOfCta, style);
        EXPECT_EQ(screen->type, c.type) << c.numOfCta;
        EXPECT_EQ(screen->tblView->numberOfRows(0), 4);
        EXPECT_EQ(screen->tblView->cellForRow({0, 2})->className(), c.cell);
        EXPECT_EQ(footer(*screen)->btnContainerView->backgroundColor(), colorFromHex(c.buttonColor))
            << c.numOfCta;
        EXPECT_EQ(footer(*screen)->btnSubscribe->title(), "Buy Now");
        screen->view()->removeFromSuperview();
    }
}

TEST_F(OfferFamiliesTest, CTA5CardsWithoutConfigurationReadTheirDefaults) {
    auto screen = showWith<CTA5ViewController>("3", json::object());
    auto cards = row<CTA5A3TableViewCell>(*screen, 2);
    ASSERT_TRUE(cards);
    const std::vector<std::pair<std::shared_ptr<ui::Label>, std::string>> titles = {
        {cards->lblDTitle, "Subscribe"},
        {cards->lblWTitle, "Weekly Pass"},
        {cards->lblYTitle, "Anually"}};
    for (const auto& [label, text] : titles) {
        EXPECT_EQ(label->text(), text);
    }
    for (const auto& price : {cards->lblDPrice, cards->lblWPrice, cards->lblYPrice}) {
        EXPECT_EQ(price.get()->text(), "@39");
    }
    EXPECT_EQ(cards->lblWDiscount->text(), "50% off");
    EXPECT_EQ(cards->lblWOriginalPrice->text(), "@\u20b980");
    EXPECT_EQ(cards->lblYDiscription->text(), "24 hours unlimited access");
    EXPECT_FALSE(screen->selectedSlot.has_value());
    EXPECT_EQ(press(*screen), "none/0");
}

TEST_F(OfferFamiliesTest, CTA5PriceJoinsItsTextTheSymbolAndTheLivePrice) {
    struct Case {
        std::optional<std::string> text;
        std::string value;
        std::string shown;
    };
    const Case cases[] = {
        {"Now ", "content", "Now Rs5"},
        {"Only ", "Pass", "Only Rs49"},
        {std::nullopt, "content", "@39Rs5"},
        // No one-space sentinel in this family: a blank text is the default.
        {" ", "content", "@39Rs5"},
        {"Rs 199 a month", "subscription", "Rs 199 a month"},
        // Custom links mean nothing here: the symbol follows, with no price.
        {"See offers", "custom url", "See offersRs"},
    };
    offerPrices();
    for (const auto& c : cases) {
        json price = json::object();
        if (c.text) {
            price["text"] = *c.text;
        }
        auto screen = showWith<CTA5ViewController>(
            "1", {{"slotData", slotsOf({c.value})},
                  {"styleForText", {{"typography", {{"contentDivPrice", price}}}}}});
        EXPECT_EQ(row<CTA5A1TableViewCell>(*screen, 2)->lblYPrice->text(), c.shown) << c.value;
        EXPECT_TRUE(tp.printed("Selected Slot: " + c.value));
        screen->view()->removeFromSuperview();
    }
}

TEST_F(OfferFamiliesTest, CTA5BoxesTabsAndPointersTakeTheirMembers) {
    const json style = {{"slotData", slotsOf({"content", "pass", "subscription"})},
                        {"styleForBackground",
                         {{"border",
                           {{"contentDiv", framed("#111111")},
                            {"contentDivBtn", framed("#222222")},
                            {"subDivBtn", framed("#333333")},
                            {"contentHeader", filled("#440000")},
                            {"passHeader", filled("#not-a-colour")}}}}}};
    auto single = showWith<CTA5ViewController>("1", style);
    auto one = row<CTA5A1TableViewCell>(*single, 2);
    EXPECT_EQ(one->viewYmain->layer().borderColor, colorFromHex("#111111"));
    EXPECT_EQ(one->viewYlable->backgroundColor(), colorFromHex("#440000"));
    EXPECT_EQ(one->triangleView->backgroundColor(), colorFromHex("#440000"));
    single->view()->removeFromSuperview();

    auto three = showWith<CTA5ViewController>("3", style);
    auto cards = row<CTA5A3TableViewCell>(*three, 2);
    // The first card came up selected; the others keep their members' colours.
    EXPECT_EQ(cards->viewDmain->layer().borderColor, kSelectionColor);
    EXPECT_EQ(cards->viewYmain->layer().borderColor, colorFromHex("#333333"));
    const auto nibTab = cards->viewWlable->backgroundColor();
    EXPECT_NE(nibTab, colorFromHex("#440000"));  // a colour that doesn't parse changes nothing

    // A tap on the third card: the selection moves there, the first gets contentDivBtn back.
    EXPECT_TRUE(cards->btnY->tap());
    EXPECT_EQ(three->selectedSlot, "subscription");
    EXPECT_EQ(cards->viewYmain->layer().borderColor, kSelectionColor);
    EXPECT_EQ(cards->viewDmain->layer().borderColor, colorFromHex("#222222"));
}

TEST_F(OfferFamiliesTest, CTA5ButtonActsOnTheTappedCardsWord) {
    struct Case {
        std::string word;
        std::string printed;  // after "Selected Slot: ...", or empty
        std::string outcome;  // click / web flows
    };
    const Case cases[] = {
        {"content", "content", "CONTENT/1"},
        {"PASS", "pass", "PASS/1"},
        {"Subscription", "subscription", "SUBS/1"},
        {"custom url", "", "none/0"},
        {"donate", "", "none/0"},
    };
    for (const auto& c : cases) {
        auto screen =
            showWith<CTA5ViewController>("2", {{"slotData", slotsOf({"content", c.word})}});
        auto cards = row<CTA5A2TableViewCell>(*screen, 2);
        EXPECT_EQ(screen->selectedSlot, "content");
        EXPECT_TRUE(cards->btnW->tap());
        EXPECT_EQ(screen->selectedSlot, c.word);
        tp.clearLines();
        EXPECT_EQ(press(*screen), c.outcome) << c.word;
        const auto lines = tp.lines();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[1], "Selected Slot: Optional(\"" + c.word + "\")");
        if (!c.printed.empty()) {
            EXPECT_EQ(lines[2], c.printed);
        }
        screen->view()->removeFromSuperview();
    }
}

// ---- CTA8 ----------------------------------------------------------------------------------

TEST_F(OfferFamiliesTest, CTA8VariantsChooseLinesRadiosAndTheFooterButtonsStyle) {
    const json style = {
        {"styleForBackground",
         {{"border",
           {{"mainSubmitBtn", filled("#AA0000")}, {"contentDivBtn", filled("#00AA00")}}}}}};
    auto one = showWith<CTA8ViewController>("1", style);
    EXPECT_EQ(one->type, CTA8Type::CTA8A1);
    EXPECT_EQ(one->tblView->numberOfRows(0), 3);
    auto line = row<CTA8TableViewCell>(*one, 1);
    ASSERT_TRUE(line);
    EXPECT_TRUE(line->radioView->isHidden());
    EXPECT_TRUE(line->btnRadio->isHidden());
    EXPECT_EQ(line->radioViewWidth->constant(), 0);
    EXPECT_EQ(line->lblTitle->text(),
              "Subscribe for unlimited, uninterrupted and easy digital access");
    EXPECT_EQ(line->lblPrice->text(), "Rs 999");
    EXPECT_EQ(line->lblDiscount->text(), "Rs 999");
    EXPECT_EQ(footer(*one)->btnContainerView->backgroundColor(), colorFromHex("#00AA00"));
    EXPECT_EQ(row<CommonHeaderTableViewCell>(*one, 0)->lblTitle->text(),
              "Don't miss out on the full story");
    one->view()->removeFromSuperview();

    auto two = showWith<CTA8ViewController>("2", style);
    EXPECT_EQ(two->type, CTA8Type::CTA8A2);
    EXPECT_EQ(two->tblView->numberOfRows(0), 4);
    EXPECT_FALSE(row<CTA8TableViewCell>(*two, 2)->radioView->isHidden());
    EXPECT_GT(row<CTA8TableViewCell>(*two, 2)->radioViewWidth->constant(), 0);
    EXPECT_EQ(footer(*two)->btnContainerView->backgroundColor(), colorFromHex("#AA0000"));
}

TEST_F(OfferFamiliesTest, CTA8WithoutConfigurationReadsItsDefaultsAndSellsNothing) {
    auto screen = showWith<CTA8ViewController>("2", json::object());
    const std::pair<int, std::string> titles[] = {{1, "Continue with subscription"},
                                                  {2, "Continue with Pass"}};
    for (const auto& [index, title] : titles) {
        auto line = row<CTA8TableViewCell>(*screen, index);
        EXPECT_EQ(line->lblTitle->text(), title);
        EXPECT_EQ(line->lblPrice->text(), "Rs 999");
        EXPECT_EQ(line->lblDiscount->text(), "Rs 99");
    }
    EXPECT_TRUE(tp.printed("attributedText::: Continue with Pass"));
    EXPECT_FALSE(screen->selectedSlot.has_value());
    EXPECT_EQ(press(*screen), "none/0");
}

TEST_F(OfferFamiliesTest, CTA8TappedLinesMoveTheRadioAndTheSlot) {
    offerPrices();
    const json style = {
        {"slotData",
         {{"slot",
           {{"contentDivBtn", {{"value", "content"}}},
            {"RadioBtnOne", {{"value", "subscription"}}},
            {"RadioBtnTwo", {{"value", "pass"}}}}}}},
        {"styleForText", {{"typography", {{"passDivPrice", {{"text", "From "}}}}}}}};
    auto screen = showWith<CTA8ViewController>("2", style);
    EXPECT_EQ(row<CTA8TableViewCell>(*screen, 2)->lblPrice->text(), "From Rs49");
    // Step by step: the row tapped, then which radio shows, the slot and what the button does.
    struct Step {
        int tapped;
        bool firstRadio;
        bool secondRadio;
        std::string slot;
        std::string outcome;
    };
    const Step steps[] = {
        {0, true, false, "subscription", "SUBS/1"},  // nothing tapped yet: the first line
        {2, false, true, "pass", "PASS/1"},
        {1, true, false, "subscription", "SUBS/1"},
        {0, false, false, "subscription", "SUBS/1"},  // the heading: no radio, same slot
    };
    bool first = true;
    for (const auto& step : steps) {
        if (!first) {
            // The reader's touch on the line's title reaches the row.
            auto line = screen->tblView->cellForRow({0, step.tapped});
            EXPECT_TRUE(line->tap());
            settle();
        }
        first = false;
        EXPECT_EQ(row<CTA8TableViewCell>(*screen, 1)->btnRadio->isSelected(), step.firstRadio)
            << step.tapped;
        EXPECT_EQ(row<CTA8TableViewCell>(*screen, 2)->btnRadio->isSelected(), step.secondRadio)
            << step.tapped;
        EXPECT_EQ(screen->selectedSlot, step.slot);
        EXPECT_EQ(press(*screen), step.outcome) << step.tapped;
    }

    // In CTA8A1 no line is selectable.
    auto single = showWith<CTA8ViewController>("1", style);
    EXPECT_TRUE(single->tblView->cellForRow({0, 1})->tap());
    EXPECT_EQ(single->selectedSlot, "content");
    EXPECT_EQ(press(*single), "CONTENT/1");
}

// ---- CTA4 ----------------------------------------------------------------------------------

TEST_F(OfferFamiliesTest, CTA4ShowsItsFixedRowsAndItsButtonDoesNothing) {
    const json full = {
        {"slotData", slotsOf({"content"})},
        {"styleForText", {{"typography", {{"heading", {{"text", "Configured heading"}}}}}}},
        {"styleForBackground",
         {{"border", {{"contentDivBtn", filled("#00AA00")}, {"mainDiv", filled("#123456")}}}}}};
    client().paywallDisplayType = PAYWALLTYPE::POPUP;
    for (const json& style : {json::object(), full}) {
        auto screen = show<CTA4ViewController>(configuration(style));
        EXPECT_EQ(screen->tblView->numberOfRows(0), 5);
        EXPECT_EQ(row<CommonHeaderCenterTableViewCell>(*screen, 0)->lblName->text(),
                  "Don't miss out on the full story");
        for (int i = 1; i <= 3; ++i) {
            EXPECT_TRUE(row<CTA4TableViewCell>(*screen, i)) << i;
        }
        // No presentation is read: the card keeps the nib's place and colour.
        EXPECT_TRUE(screen->bottomConstraint->isActive());
        EXPECT_NE(screen->tblView->backgroundColor(), colorFromHex("#123456"));
        auto last = footer(*screen);
        EXPECT_EQ(last->btnSubscribe->title(), "Buy Now");
        EXPECT_TRUE(last->btnSubscribe->actionNames(ui::ControlEvent::touchUpInside).empty());
        EXPECT_TRUE(last->lblLogin->gestureRecognizers().empty());
        EXPECT_EQ(press(*screen), "none/0");
        screen->view()->removeFromSuperview();
    }
    // The footer is still styled, from the contentDivBtn members.
    auto screen = show<CTA4ViewController>(configuration(full));
    EXPECT_EQ(footer(*screen)->btnContainerView->backgroundColor(), colorFromHex("#00AA00"));
}

}  // namespace
}  // namespace quillgate

// The CTA3 family and CTA7: variants, the price lines of the boxes, the selected slot and
// what the footer's button does with it.

#include "quillgate/screens/WebViewController.h"
#include "quillgate/templates/CTA3ViewController.h"
#include "quillgate/templates/CTA7ViewController.h"
#include "quillgate/templates/Styling.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::configuration;
using testing::slotsOf;

class CTA3Test : public testing::TemplateTest {
  protected:
    std::shared_ptr<CTA3ViewController> showCTA3(const std::string& numOfCta, const json& style) {
        client().numOfCta = numOfCta;
        return show<CTA3ViewController>(configuration(style));
    }

    template <class Cell>
    std::shared_ptr<Cell> options(CTA3ViewController& screen) {
        return std::dynamic_pointer_cast<Cell>(screen.tblView->cellForRow({0, 2}));
    }

    // The address the web flow was opened on, or empty.
    std::string opened() {
        auto web = std::dynamic_pointer_cast<WebViewController>(client().webVC);
        return web && web->actualURL ? *web->actualURL : std::string();
    }
};

TEST_F(CTA3Test, NumberOfCallsToActionChoosesTheVariant) {
    const std::pair<std::string, CTA3Type> cases[] = {
        {"1", CTA3Type::CTA3A1}, {"2", CTA3Type::CTA3A2}, {"3", CTA3Type::CTA3A3},
        {"0", CTA3Type::CTA3A1}, {"4", CTA3Type::CTA3A1}, {"", CTA3Type::CTA3A1},
    };
    for (const auto& [word, type] : cases) {
        EXPECT_EQ(CTA3ViewController::typeFor(word), type) << word;
    }
    auto one = showCTA3("1", {{"slotData", slotsOf({"content"})}});
    EXPECT_TRUE(options<CTA3A1TableViewCell>(*one));
    EXPECT_TRUE(tp.printed("CTA3A1"));
    auto three = showCTA3("3", {{"slotData", slotsOf({"content", "pass", "subscription"})}});
    ASSERT_TRUE(options<CTA3A3TableViewCell>(*three));
    EXPECT_EQ(three->tblView->numberOfRows(0), 4);
    // Each box's button carries the cell's action, then the screen's.
    EXPECT_EQ(
        options<CTA3A3TableViewCell>(*three)->btnW->actionNames(ui::ControlEvent::touchUpInside),
        (std::vector<std::string>{"btnWeeklyPassAction:", "btnWeeklyPassTap:"}));
    EXPECT_TRUE(options<CTA3A1TableViewCell>(*one)
                    ->btnY->actionNames(ui::ControlEvent::touchUpInside)
                    .empty());
}

TEST_F(CTA3Test, HeadingsTakeTheirDefaultsWithoutConfiguration) {
    auto screen = showCTA3("1", json::object());
    auto heading = std::dynamic_pointer_cast<CommonHeaderCenterTableViewCell>(
        screen->tblView->cellForRow({0, 0}));
    auto sub = std::dynamic_pointer_cast<CommonHeaderCenterTableViewCell>(
        screen->tblView->cellForRow({0, 1}));
    ASSERT_TRUE(heading && sub);
    EXPECT_EQ(heading->lblName->text(), "Don't miss out on the full story");
    EXPECT_EQ(sub->lblName->text(),
              "Subscribe for unlimited, uninterrupted and easy digital access");
    auto box = options<CTA3A1TableViewCell>(*screen);
    EXPECT_EQ(box->lblYTitle->text(), "Weekly \nMICROPAYMENT");
    EXPECT_EQ(box->lblYPrice->text(), "@39");
    EXPECT_FALSE(screen->selectedSlot.has_value());
}

TEST_F(CTA3Test, PriceLinesJoinTheConfiguredPrefixAndTheLivePrice) {
    struct Case {
        std::optional<std::string> text;
        std::string value;
        double price;
        std::string shown;
    };
    const Case cases[] = {
        {" ", "content", 2.5, "Rs2.5"},
        {" ", "content", 5, "Rs5"},
        {std::nullopt, "content", 5, "@39Rs5"},
        {"From ", "pass", 49, "From Rs49"},
        {"Rs 199 a month", "Subscription", 5, "Rs 199 a month"},
        {"See offers", "custom url", 5, "See offers"},
        {"  ", "other", 5, "@39Rs"},
    };
    for (const auto& c : cases) {
        ContentDetails details;
        details.currencySymbol = "Rs";
        details.microPricing = MicroPricing{};
        details.microPricing->price = c.price;
        details.validPass = ValidPass{};
        details.validPass->price = c.price;
        client().contentDetailsModel = details;
        json price = json::object();
        if (c.text) {
            price["text"] = *c.text;
        }
        auto screen =
            showCTA3("1", {{"slotData", slotsOf({c.value})},
                           {"styleForText", {{"typography", {{"contentDivPrice", price}}}}}});
        EXPECT_EQ(options<CTA3A1TableViewCell>(*screen)->lblYPrice->text(), c.shown) << c.value;
        EXPECT_TRUE(tp.printed("Selected Slot 3A 1 CTA : " + c.value));
        screen->view()->removeFromSuperview();
    }
}

TEST_F(CTA3Test, TappingABoxMovesTheSelectedSlot) {
    auto screen = showCTA3(
        "2",
        {{"slotData", slotsOf({"content", "pass"})},
         {"styleForBackground", {{"border", {{"contentDivBtn", {{"borderColor", "#C42001"}}}}}}}});
    ASSERT_TRUE(screen->selectedSlot);
    EXPECT_EQ(screen->selectedSlot->value, "content");
    auto cell = options<CTA3A2TableViewCell>(*screen);
    ASSERT_TRUE(cell);
    // The first box came up selected; a tap on the second moves the colour there.
    EXPECT_EQ(cell->viewDaily->layer().borderColor, kSelectionColor);
    EXPECT_TRUE(cell->btnW->tap());
    EXPECT_EQ(screen->selectedSlot->value, "pass");
    EXPECT_EQ(cell->viewWeekly->layer().borderColor, kSelectionColor);
    EXPECT_EQ(cell->viewDaily->layer().borderColor, colorFromHex("#C42001"));
    EXPECT_TRUE(cell->btnD->tap());
    EXPECT_EQ(screen->selectedSlot->value, "content");
}

TEST_F(CTA3Test, SubmitActsOnTheSelectedSlot) {
    struct Case {
        std::string value;
        std::string printed;
        std::string click;  // expected click action, or empty
        std::string query;  // part of the web flow's address, or empty
    };
    const Case cases[] = {
        {"content", "content", "CONTENT", "clientContentId=article-1"},
        {"PASS", "pass", "PASS", "purchaseMode=PASS"},
        {"Subscription", "subscription", "SUBS", ""},
        {"custom url", "custom url", "", ""},
        {"donate", "", "", ""},
    };
    for (const auto& c : cases) {
        host->calls.clear();
        auto screen = showCTA3("3", {{"slotData", slotsOf({"content", c.value, "subscription"})}});
        auto cell = options<CTA3A3TableViewCell>(*screen);
        ASSERT_TRUE(cell);
        cell->btnW->tap();
        const auto challenges = sent("/login-challenge");
        const auto clicksBefore = allClicks();
        tp.clearLines();
        auto footer = std::dynamic_pointer_cast<CommonFooterTableViewCell>(
            screen->tblView->cellForRow({0, 3}));
        ASSERT_TRUE(footer);
        EXPECT_TRUE(footer->btnSubscribe->tap());
        settle();
        // The touch on the button marks the reader active, then the button acts.
        const auto lines = tp.lines();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[0], "resetUserActiveStatus()");
        EXPECT_EQ(lines[1], "Selected Slot 1#: Optional(\"" + c.value + "\")");
        if (!c.printed.empty()) {
            EXPECT_EQ(lines[2], c.printed);
        }
        // The web flow opened by the button reports its own events; the button clicks once.
        EXPECT_EQ(allClicks() - clicksBefore, c.click.empty() ? 0u : 1u) << c.value;
        if (!c.click.empty()) {
            EXPECT_EQ(clicks(c.click), 1u) << c.value;
        }
        if (!c.query.empty()) {
            EXPECT_EQ(sent("/login-challenge") - challenges, 1u);
            EXPECT_NE(opened().find(c.query), std::string::npos) << opened();
        }
        if (c.value == "custom url") {
            EXPECT_EQ(sent("/login-challenge"), challenges);
            EXPECT_EQ(host->calls.back(), "onCustomLinkSlot(link: nil, contentId: article-1)");
        }
        screen->view()->removeFromSuperview();
        client().webVC.reset();
    }
}

TEST_F(CTA3Test, SubmitWithoutASlotOnlyPrints) {
    auto screen = showCTA3("3", json::object());
    tp.clearLines();
    screen->btnSubmitAction();
    EXPECT_EQ(tp.lines(), std::vector<std::string>{"Selected Slot 1#: nil"});
}

TEST_F(CTA3Test, CTA7ActsOnItsFirstSlot) {
    client().paywallDisplayType = PAYWALLTYPE::POPUP;
    auto screen = show<CTA7ViewController>(configuration({{"slotData", slotsOf({"Pass"})}}));
    EXPECT_EQ(screen->tblView->numberOfRows(0), 3);
    auto heading = std::dynamic_pointer_cast<CommonHeaderCenterTableViewCell>(
        screen->tblView->cellForRow({0, 0}));
    EXPECT_EQ(heading->lblName->text(), "Enjoy \"Brand-name\" Gold");
    tp.clearLines();
    screen->btnSubmitAction();
    settle();
    EXPECT_EQ(tp.lines()[0], "Selected Slot: Optional(\"Pass\")");
    EXPECT_EQ(clicks("PASS"), 1u);
    EXPECT_NE(opened().find("purchaseMode=PASS"), std::string::npos);

    // "custom url" means nothing to this template.
    auto other = show<CTA7ViewController>(configuration({{"slotData", slotsOf({"custom url"})}}));
    const auto events = sent("/collect");
    host->calls.clear();
    other->btnSubmitAction();
    settle();
    EXPECT_EQ(sent("/collect"), events);
    EXPECT_TRUE(host->calls.empty());
}

}  // namespace
}  // namespace quillgate

// The benefits screen: its rows from the two arrays, the rounding of the white block, the
// height that the screen and the host take from the rows, and its one button.

#include "quillgate/templates/ZelViewController.h"
#include "tests/unit/templates/TemplateTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::configuration;

class ZelTest : public testing::TemplateTest {};

TEST_F(ZelTest, RowsFollowTheArraysAndTheBlockIsRoundedAtItsEnds) {
    auto screen = show<ZelViewController>(configuration(json::object()));
    auto& table = *screen->tblView;
    ASSERT_EQ(table.numberOfRows(0), 8);
    EXPECT_TRUE(std::dynamic_pointer_cast<HeaderTableViewCell>(table.cellForRow({0, 0})));
    EXPECT_TRUE(std::dynamic_pointer_cast<SubHeaderTableViewCell>(table.cellForRow({0, 1})));
    EXPECT_TRUE(std::dynamic_pointer_cast<FooterTableViewCell>(table.cellForRow({0, 7})));
    auto first = std::dynamic_pointer_cast<BenifitTableViewCell>(table.cellForRow({0, 2}));
    auto last = std::dynamic_pointer_cast<BenifitTableViewCell>(table.cellForRow({0, 6}));
    ASSERT_TRUE(first && last);
    EXPECT_EQ(first->lblTitle->text(), "Premium Content Access");
    EXPECT_EQ(last->lblTitle->text(), "Premium Video Sneak Peek");
    EXPECT_EQ(last->lblDesc->text(),
              "Preview of ZELLIVE Premium YouTube* that contains special reports, coverages, "
              "exclusives, and gems from the past.");

    // The sub-header rounds the block's top, the footer its bottom; the rows between are
    // square.
    struct Corners {
        int row;
        double radius;
        ui::CornerMask mask;
    };
    const Corners corners[] = {
        {0, 0, 0},
        {1, 12, ui::minXMinYCorner | ui::maxXMinYCorner},
        {4, 0, 0},
        {7, 12, ui::minXMaxYCorner | ui::maxXMaxYCorner},
    };
    for (const auto& c : corners) {
        const auto& layer = table.cellForRow({0, c.row})->layer();
        EXPECT_EQ(layer.cornerRadius, c.radius) << c.row;
        EXPECT_EQ(layer.maskedCorners, c.mask) << c.row;
    }

    // Fewer entries, fewer rows: the footer is always the last.
    auto shorter = ui::ViewController::create<ZelViewController>();
    shorter->arrText = {"", "", "Newsletters", ""};
    shorter->arrDescText = {"", "", "Weekly", ""};
    shorter->view()->setFrame(parent->bounds());
    settle();
    ASSERT_EQ(shorter->tblView->numberOfRows(0), 4);
    EXPECT_TRUE(
        std::dynamic_pointer_cast<FooterTableViewCell>(shorter->tblView->cellForRow({0, 3})));
}

TEST_F(ZelTest, ScreenAndHostTakeTheRowsHeightPlusTheMargin) {
    auto screen = show<ZelViewController>(configuration(json::object()));
    const double rows = screen->tblView->contentSize().height;
    ASSERT_GT(rows, 0);
    const double expected = rows + ZelViewController::bottomMargin;
    EXPECT_DOUBLE_EQ(client().paywallHeight, expected);
    EXPECT_DOUBLE_EQ(screen->scrollView->contentSize().height, rows);
    EXPECT_DOUBLE_EQ(screen->tblView->frame().height(), expected);
    EXPECT_DOUBLE_EQ(screen->gradientContainerView->frame().height(), expected);
    EXPECT_DOUBLE_EQ(screen->gradientView->frame().height(), expected);
    EXPECT_EQ(screen->gradientView->superview(), screen->gradientContainerView.get());

    // The host heard the height of the moment it appeared: before the rows came in.
    ASSERT_EQ(host->calls.size(), 1u);
    EXPECT_EQ(host->calls[0],
              "onPaywallVisible(paywallType: PAYWALL, paywallDisplayType: INARTICLE, "
              "paywallHeight: 0.0, paywallId: pw-1)");

    // The deferred part is dropped once the screen is gone; the client's height isn't.
    screen->tblView->setContentSize(ui::Size{390, 100});
    EXPECT_DOUBLE_EQ(client().paywallHeight, 140);
    auto table = screen->tblView.get();
    screen->view()->removeFromSuperview();
    EXPECT_EQ(table->observerCount("contentSize"), 0u);
    screen.reset();
    settle();
    EXPECT_DOUBLE_EQ(table->frame().height(), expected);
}

TEST_F(ZelTest, ViewAllPlansPassesTheConfiguredLinkOrNone) {
    const std::pair<json, std::string> cases[] = {
        {{{"slotData",
           {{"slot", {{"contentDivBtn", {{"redirectUrl", "https://example.com/plans"}}}}}}}},
         "onCustomLinkSlot(link: https://example.com/plans, contentId: article-1)"},
        {json::object(), "onCustomLinkSlot(link: nil, contentId: article-1)"},
    };
    for (const auto& [style, heard] : cases) {
        auto screen = show<ZelViewController>(configuration(style));
        host->calls.clear();
        auto footer =
            std::dynamic_pointer_cast<FooterTableViewCell>(screen->tblView->cellForRow({0, 7}));
        ASSERT_TRUE(footer);
        footer->btnViewAllPlan->tap();
        EXPECT_EQ(host->calls, std::vector<std::string>{heard});
        screen->view()->removeFromSuperview();
    }
}

}  // namespace
}  // namespace quillgate

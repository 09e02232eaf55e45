// The subscription screen: its set-up, stepping between plans, the free-trial opt-in, the tier
// list's selection and what it sends to the web flow, and the plans row that reads before the
// first plan.

#include "quillgate/screens/SubscriptionViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/NibRegistry.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using Lines = std::vector<std::string>;

const ui::Color kRed =
    ui::Color::rgba(0.7686274509803922, 0.12549019607843137, 0.00392156862745098, 1);

// Stands in for the client behind the screen: writes down what the screen asks of it.
struct RecordingClient : quillgateVCDelegate {
    void closeScreens() override { calls.push_back("closeScreens"); }
    void startWebFlow(const std::string& contentID, ContentType type,
                      const std::string& text) override {
        calls.push_back("startWebFlow " + contentID + " " + std::to_string(static_cast<int>(type)) +
                        " [" + text + "]");
    }
    void subscribeTap(bool) override {}
    void contactLogin(const std::string&) override {}
    void payBtnTap(bool, bool) override {}
    void handleRelaunchApp(const std::string&) override {}
    void openWebFlow(const std::string&, bool) override {}
    Lines calls;
};

Tier tier(std::optional<std::string> id, std::optional<double> basePrice, double price,
          int64_t duration) {
    Tier t;
    t._id = std::move(id);
    t.basePrice = basePrice;
    t.price = price;
    t.duration = duration;
    return t;
}

Subscriptions plan(std::string title, bool trial, std::optional<int64_t> days, std::string benefits,
                   std::vector<Tier> tiers) {
    Subscriptions s;
    s.title = std::move(title);
    s.freeTrial.enabled = trial;
    s.freeTrial.duration = days;
    s.benefits = std::move(benefits);
    s.tiers = std::move(tiers);
    s.currencySymbol = "\u20B9";
    return s;
}

EmbededSubscription threePlans() {
    EmbededSubscription m;
    m.title = "Choose your plan";
    m.subscriptions = {
        plan("Digital", true, 7, "A, B,C", {tier("d1", 249, 199, 1), tier("d12", 2988, 1799, 12)}),
        plan("Print", false, 30, "Paper", {tier("p1", 0, 499, 1)}),
        plan("Weekend", true, 1, "Sat,Sun,", {tier("w1", std::nullopt, 99, 1)}),
    };
    return m;
}

class SubscriptionScreenTest : public testing::ClientTest {
  protected:
    // A screen from its scene with these fields, its view loaded (not laid out).
    std::shared_ptr<SubscriptionViewController> screen(std::optional<EmbededSubscription> model,
                                                       std::optional<bool> cross = true,
                                                       bool noSession = true) {
        auto s = std::dynamic_pointer_cast<SubscriptionViewController>(
            ui::NibRegistry::shared().instantiateViewController("QuillgateStoryboard",
                                                                "SubscriptionVC"));
        s->embededSubModel = std::move(model);
        s->crossBtnHS = cross;
        s->toShowLogInWithOrvelant = noSession;
        s->delegate = recorder;
        s->loadViewIfNeeded();
        return s;
    }

    // A plans row 358 points wide showing `tiers`; its tier cells speak to any screen loaded.
    std::shared_ptr<PlansTableViewCell> plansRow(std::vector<Tier> tiers) {
        auto row = std::dynamic_pointer_cast<PlansTableViewCell>(
            ui::NibRegistry::shared().instantiate("PlansTableViewCell"));
        row->setFrame(ui::Rect(0, 0, 358, 280));
        row->layoutIfNeeded();
        row->tiers = std::move(tiers);
        row->currencySymbol = std::nullopt;
        row->collectionView->reloadData();
        return row;
    }

    static std::shared_ptr<PlansCollectionViewCell> tierCell(const PlansTableViewCell& row,
                                                             int item) {
        return std::dynamic_pointer_cast<PlansCollectionViewCell>(
            row.collectionView->cellForItem({0, item}));
    }

    std::shared_ptr<RecordingClient> recorder = std::make_shared<RecordingClient>();
};

TEST_F(SubscriptionScreenTest, SetUpHidesWhatTheFieldsSayAndPrintsItsState) {
    EmbededSubscription one = threePlans();
    one.subscriptions.resize(1);
    struct Row {
        std::optional<EmbededSubscription> model;
        std::optional<bool> cross;
        bool noSession;
        bool rightHidden, crossHidden, logInHidden;
        std::string printed;
    };
    const std::vector<Row> rows = {
        {threePlans(), std::nullopt, true, false, false, false, "nil nil false"},
        {threePlans(), true, false, false, false, true, "Optional(true) nil false"},
        {one, false, true, true, true, false, "Optional(false) nil true"},
        {std::nullopt, true, true, true, false, false, "Optional(true) nil false"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.printed);
        tp.clearLines();
        auto s = screen(row.model, row.cross, row.noSession);
        EXPECT_TRUE(s->btnLeft->isHidden());
        EXPECT_EQ(s->btnRight->isHidden(), row.rightHidden);
        EXPECT_EQ(s->btnCross->isHidden(), row.crossHidden);
        EXPECT_EQ(s->contView->isHidden(), row.logInHidden);
        EXPECT_EQ(s->lblTitle->text(), row.model ? "Choose your plan" : "");
        EXPECT_EQ(tp.lines(), Lines{row.printed});
        EXPECT_EQ(s->btnSubscribeAcation->layer().cornerRadius,
                  s->btnSubscribeAcation->frame().height() / 2);
    }
}

TEST_F(SubscriptionScreenTest, SteppingWalksThePlansKeepsTheTierAndTheCheckBox) {
    auto s = screen(threePlans());
    auto state = [&] {
        return std::to_string(s->indexPath) + (s->btnLeft->isHidden() ? " -" : " <") +
               (s->btnRight->isHidden() ? "-" : ">") +
               (s->viewFreeTrail->isHidden() ? " no trial" : " " + s->lblFreeTrial->text());
    };
    EXPECT_EQ(state(), "1 -> Start your 7-days Free Trial");
    EXPECT_EQ(s->singleSubCur->benefits, (Lines{"A", " B", "C"}));
    EXPECT_EQ(s->tires->size(), 2u);
    const auto words = s->lblFreeTrial->attributedText();
    EXPECT_EQ(words.attributesAt(words.find("Free")->location).foregroundColor, kRed);
    EXPECT_TRUE(s->btnCheckbox->isSelected());

    s->tierId = "d12";
    s->btnCheckboxAction();  // the reader declines the trial
    const std::vector<std::pair<void (SubscriptionViewController::*)(), std::string>> walk = {
        {&SubscriptionViewController::btnRightAction, "2 <> no trial"},
        {&SubscriptionViewController::btnRightAction, "3 <- Start your 1-day Free Trial"},
        {&SubscriptionViewController::btnRightAction, "3 <- Start your 1-day Free Trial"},
        {&SubscriptionViewController::btnLeftAction, "2 <> no trial"},
        {&SubscriptionViewController::btnLeftAction, "1 -> Start your 7-days Free Trial"},
        {&SubscriptionViewController::btnLeftAction, "1 -> Start your 7-days Free Trial"},
    };
    for (const auto& [step, expected] : walk) {
        ((*s).*step)();
        EXPECT_EQ(state(), expected);
        if (&step == &walk.front().first) {
            // A plan without a trial leaves the box as the reader set it.
            EXPECT_FALSE(s->btnCheckbox->isSelected());
        }
        if (s->indexPath == 3) {
            EXPECT_EQ(s->singleSubCur->benefits, (Lines{"Sat", "Sun", ""}));
        }
    }
    EXPECT_EQ(s->tierId, "d12") << "stepping doesn't choose a tier";
    EXPECT_TRUE(s->tblView->hasPendingReload()) << "rows are asked for at the next layout";
}

TEST_F(SubscriptionScreenTest, TheFirstTierIsChosenAndATappedOneReplacesIt) {
    client().contentID = "article-1";
    auto s = screen(std::nullopt);
    s->btnSubscribeAction();  // nothing chosen yet: the empty tier

    auto row = plansRow(
        {tier("d1", 249, 199, 1), tier("d12", 2988, 1799, 12), tier(std::nullopt, 10, 5, 1)});
    EXPECT_EQ(s->tierId, "d1");
    EXPECT_EQ(tierCell(*row, 0)->layer().borderColor, kRed);
    EXPECT_EQ(tierCell(*row, 0)->layer().borderWidth, 2);
    EXPECT_EQ(tierCell(*row, 0)->lblAmount->text(), "\u20B9199.0") << "the symbol's default";

    ASSERT_TRUE(row->collectionView->tapItem({0, 1}));
    EXPECT_EQ(s->tierId, "d12");
    EXPECT_EQ(tierCell(*row, 0)->layer().borderColor, ui::Color::darkGray());
    EXPECT_EQ(tierCell(*row, 0)->layer().borderWidth, 0.5);
    // A tier without an identity names nothing: the last choice stands.
    ASSERT_TRUE(row->collectionView->tapItem({0, 2}));
    EXPECT_EQ(s->tierId, "d12");
    EXPECT_TRUE(tp.printed("d12"));

    s->btnCheckboxAction();
    EXPECT_TRUE(s->btnCheckbox->isSelected());
    EXPECT_EQ(s->btnCheckbox->image(ui::ControlState::normal), ui::Image::systemNamed("square"));
    s->btnSubscribeAction();
    EXPECT_EQ(client().availFreeTrialVar, true);
    EXPECT_EQ(recorder->calls,
              (Lines{"startWebFlow article-1 4 []", "startWebFlow article-1 4 [d12]"}));
}

TEST_F(SubscriptionScreenTest, TierCellsShowTheReductionAndTheLength) {
    struct Row {
        Tier tier;
        bool reductionShown;
        std::string off, old, amount, length;
    };
    const std::vector<Row> rows = {
        {tier("a", 100, 75, 1), true, "25% off", "100.0", "\u20B975.0", "1 month"},
        {tier("b", 1999, 1499.5, 12), true, "25% off", "1999.0", "\u20B91499.5", "12 month"},
        {tier("c", 0, 499, 1), false, "0% off", "0.0", "\u20B9499.0", "1 month"},
        // No old price: "0.0" struck through, and the reduction keeps the scene's words.
        {tier("d", std::nullopt, 99, 6), true, "0% off", "0.0", "\u20B999.0", "6 month"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.amount);
        auto cell = std::dynamic_pointer_cast<PlansCollectionViewCell>(
            ui::NibRegistry::shared().instantiate("PlansCollectionViewCell"));
        cell->fill(row.tier, "\u20B9");
        EXPECT_EQ(cell->lblOff->isHidden(), !row.reductionShown);
        EXPECT_EQ(cell->lblDiscount->isHidden(), !row.reductionShown);
        EXPECT_EQ(cell->lblOff->text(), row.off);
        EXPECT_EQ(cell->lblOff->textColor(), kRed);
        const auto old = cell->lblDiscount->attributedText();
        EXPECT_EQ(old.string(), row.old);
        EXPECT_EQ(old.attributesAt(old.length() - 1).strikethroughStyle, ui::LineStyle::single);
        EXPECT_EQ(cell->lblAmount->text(), row.amount);
        EXPECT_EQ(cell->lblDuration->text(), row.length);
    }
}

TEST_F(SubscriptionScreenTest, TheTierListCentresTwoTiersLowersOneAndFillsWithMore) {
    for (int n : {1, 2, 3}) {
        SCOPED_TRACE(n);
        auto row = plansRow(std::vector<Tier>(static_cast<std::size_t>(n), tier("t", 2, 1, 1)));
        auto& list = *row->collectionView;
        const double width = list.bounds().width();
        const double w = width * 0.5 - 6;
        const double gap = (width - w * n - 10 * (n - 1)) / 2;
        const ui::EdgeInsets insets = n == 1   ? ui::EdgeInsets{100, gap, 0, gap}
                                      : n == 2 ? ui::EdgeInsets{0, 1, 0, 1}
                                               : ui::EdgeInsets{0, 0, 0, 0};
        EXPECT_EQ(row->insetForSection(list, 0), insets);
        EXPECT_EQ(row->sizeForItem(list, {0, 0}), (ui::Size{w, 86}));
        // One line of tiers, from the left inset.
        EXPECT_EQ(tierCell(*row, 0)->frame().origin, (ui::Point{insets.left, insets.top}));
        if (n > 1) {
            EXPECT_EQ(tierCell(*row, 1)->frame().origin.y, insets.top);
        }
    }
}

TEST_F(SubscriptionScreenTest, WithoutPlansTheScreenShowsAnEmptyRowAndClosesItself) {
    auto s = screen(std::nullopt);
    parent->addSubview(s->view());
    s->view()->setFrame(parent->bounds());
    s->view()->layoutIfNeeded();
    auto& table = *s->tblView;
    ASSERT_EQ(table.numberOfSections(), 2);
    EXPECT_EQ(table.numberOfRows(0), 1);
    EXPECT_EQ(table.numberOfRows(1), 0);
    EXPECT_EQ(table.rectForRow({0, 0})->height(), 280);
    auto title = std::dynamic_pointer_cast<ui::Label>(table.headerView(1)->subviews().front());
    EXPECT_EQ(title->text(), "Benefits: You will get");
    EXPECT_EQ(title->font(), ui::Font::boldSystem(18));
    EXPECT_EQ(std::dynamic_pointer_cast<PlansTableViewCell>(table.cellForRow({0, 0}))
                  ->collectionView->numberOfItems(0),
              0);

    s->btnCloseScreen();
    EXPECT_EQ(recorder->calls, Lines{"closeScreens"});
    EXPECT_TRUE(parent->subviews().empty());
}

TEST_F(SubscriptionScreenTest, ThePlansRowReadsBeforeTheFirstPlanAndEndsTheProgram) {
    // Set-up and stepping never ask for rows; laying the table out does.
    auto s = screen(threePlans());
    s->btnRightAction();
    EXPECT_DEATH(s->view()->layoutIfNeeded(), "Fatal error: Index out of range");
    // An empty list ends it at once: there is no first plan to show.
    EmbededSubscription none = threePlans();
    none.subscriptions.clear();
    EXPECT_DEATH(screen(none), "Fatal error: Index out of range");
}

}  // namespace
}  // namespace quillgate

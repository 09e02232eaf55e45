// Geometry from text: fitting sizes measured with the fixed-advance test layout (each
// character half its font size wide, lines 1.2 times the size high), the layout pass that
// runs after main-queue tasks, and tables and collections that size their items.

#include "quillgate/ui/CollectionView.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Layout.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/StackView.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/WindowScene.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

// 22 points: 11 a character, 26.4 a line.
constexpr const char* kHeading = "Unlock every story";

std::shared_ptr<Label> heading(int lines = 0) {
    auto label = std::make_shared<Label>(kHeading);
    label->setFont(Font::system(22, FontWeight::bold));
    label->setNumberOfLines(lines);
    return label;
}

class LayoutTest : public UiTest {};

TEST_F(LayoutTest, ViewsFitTheirTextAtAWidth) {
    auto label = heading();
    struct Case {
        double width;
        Size size;
    };
    // Wrapped by words; heights round up to whole points (2 x 26.4 = 52.8).
    for (const Case& c :
         {Case{0, {198, 27}}, Case{400, {198, 27}}, Case{130, {121, 53}}, Case{120, {66, 80}}}) {
        EXPECT_EQ(label->sizeThatFits({c.width, 0}), c.size) << c.width;
    }
    label->setNumberOfLines(2);
    EXPECT_EQ(label->sizeThatFits({120, 0}), (Size{120, 53}));  // cut, an ellipsis fills it
    label->setNumberOfLines(1);
    EXPECT_EQ(label->sizeThatFits({120, 0}).height, 27);
    EXPECT_EQ(Label().sizeThatFits({120, 0}), Size{});
    label->setHidden(true);
    EXPECT_EQ(fittingSize(*label, 120), Size{});  // hidden views take no room

    Button button;  // 15 points: 7.5 a character, 18 a line
    button.setTitle("Subscribe");
    EXPECT_EQ(button.sizeThatFits({}), (Size{68, 18}));
    button.setContentEdgeInsets({10, 20, 10, 20});
    button.setImage(Image::named("check.png", {16, 24}));
    EXPECT_EQ(button.sizeThatFits({}), (Size{16 + 68 + 40, 24 + 20}));

    TextField field(Rect(0, 0, 300, 40));
    EXPECT_EQ(field.sizeThatFits({}), (Size{300, 21}));  // one line of 17 points
    EXPECT_EQ(field.sizeThatFits({200, 0}), (Size{200, 21}));

    ImageView logo(Image::named("logo.png", {400, 100}));
    logo.setContentMode(ContentMode::scaleAspectFit);
    EXPECT_EQ(logo.sizeThatFits({200, 0}), (Size{200, 50}));
    logo.setContentMode(ContentMode::center);
    EXPECT_EQ(logo.sizeThatFits({200, 0}), (Size{400, 100}));
}

TEST_F(LayoutTest, StacksAndContainersSizeUpFromTheirMembers) {
    auto stack = std::make_shared<StackView>(Rect(0, 0, 130, 10));
    stack->setAxis(LayoutAxis::vertical);
    stack->setSpacing(8);
    auto title = heading();
    auto note = std::make_shared<Label>("Cancel at any time");  // 17 points: 8.5 a character
    note->setNumberOfLines(0);
    auto hidden = heading();
    hidden->setHidden(true);
    stack->addArrangedSubview(title);
    stack->addArrangedSubview(hidden);
    stack->addArrangedSubview(note);
    // 53 + 8 + 2 lines of 20.4 ("Cancel at any" is 110.5, "time" 34).
    EXPECT_EQ(stack->sizeThatFits({}), (Size{130, 53 + 8 + 41}));
    stack->layoutIfNeeded();
    EXPECT_EQ(title->frame(), Rect(0, 0, 130, 53));
    EXPECT_EQ(note->frame(), Rect(0, 61, 130, 41));

    // A plain container keeps its subviews' side margins, and its top margin below them.
    auto card = std::make_shared<View>(Rect(0, 0, 300, 100));
    auto text = heading();
    text->setFrame(Rect(16, 10, 268, 30));
    card->addSubview(text);
    EXPECT_EQ(card->sizeThatFits({}), (Size{300, 10 + 27 + 10}));
    EXPECT_EQ(card->sizeThatFits({162, 0}), (Size{162, 10 + 53 + 10}));
}

// A scene laid out in code from its constraint outlets.
class Banner : public View {
  public:
    Banner() : View(Rect(0, 0, 390, 200)) {}
    void build() {
        message = heading();
        addSubview(message);
        top = LayoutConstraint::equal(message, LayoutAttribute::top, shared_from_this(), 12);
        top->setActive(true);
        compact = LayoutConstraint::constantSize(message, LayoutAttribute::height, 27);
        addConstraint(compact);
    }
    void layoutSubviews() override {
        ++passes;
        const double width = bounds().width() - 32;
        const double h =
            compact->isActive() ? compact->constant() : fittingSize(*message, width).height;
        message->setFrame(Rect(16, top->constant(), width, h));
    }
    std::shared_ptr<Label> message;
    std::shared_ptr<LayoutConstraint> top;
    std::shared_ptr<LayoutConstraint> compact;
    int passes = 0;
};

TEST_F(LayoutTest, AConstraintChangeIsLaidOutOnTheNextTurnOfTheMainQueue) {
    auto window = std::make_shared<Window>(Rect(0, 0, 390, 844));
    auto banner = std::make_shared<Banner>();
    banner->build();
    window->addSubview(banner);  // joining a window lays out at once
    EXPECT_EQ(banner->message->frame(), Rect(16, 12, 358, 27));
    EXPECT_EQ(banner->passes, 1);
    platform.runPending();
    EXPECT_EQ(banner->passes, 1);  // nothing marked, nothing laid out

    banner->top->setConstant(20);
    banner->compact->setActive(false);
    EXPECT_EQ(banner->message->frame().y(), 12);  // recorded, not yet laid out
    platform.runPending();
    EXPECT_EQ(banner->message->frame(), Rect(16, 20, 358, 27));
    EXPECT_EQ(banner->passes, 2);  // both changes in one pass

    // Changes made by a task are laid out before the next task runs.
    std::vector<Rect> seen;
    platform.loop().async([&] { banner->setFrame(Rect(0, 0, 162, 200)); });
    platform.loop().async([&] { seen.push_back(banner->message->frame()); });
    platform.runPending();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0], Rect(16, 20, 130, 53));

    // A label's new text lays its superview out again; a view outside a window waits.
    banner->message->setText("Read on");
    platform.runPending();
    EXPECT_EQ(banner->message->frame().height(), 27);
    auto alone = std::make_shared<Banner>();
    alone->build();
    alone->top->setConstant(30);
    platform.runPending();
    EXPECT_EQ(alone->passes, 0);
    alone->layoutIfNeeded();
    EXPECT_EQ(alone->message->frame().y(), 30);
}

// A cell whose label wraps: 8 points above and below it, 16 at the sides.
class HeadingCell : public TableViewCell {
  public:
    HeadingCell() {
        setFrame(Rect(0, 0, 390, 44));
        label = heading();
        label->setFrame(Rect(16, 8, 358, 28));
        contentView()->addSubview(label);
    }
    std::shared_ptr<Label> label;
};

class Headings : public TableViewDataSource {
  public:
    int numberOfRows(TableView&, int) override { return 3; }
    std::shared_ptr<TableViewCell> cellForRow(TableView& table, IndexPath path) override {
        auto cell = table.dequeueReusableCell("heading", path);
        static_cast<HeadingCell&>(*cell).label->setText(path.row == 2 ? "Plans" : kHeading);
        return cell;
    }
};

TEST_F(LayoutTest, ATableMeasuresItsRowsAgainWhenItsWidthChanges) {
    auto window = std::make_shared<Window>(Rect(0, 0, 390, 844));
    auto table = std::make_shared<TableView>(Rect(0, 0, 390, 600));
    auto rows = std::make_shared<Headings>();
    table->registerClass<HeadingCell>("heading");
    table->setDataSource(rows);
    table->setRowHeight(automaticDimension);
    table->setEstimatedRowHeight(100);  // a first guess only: never a row's height
    window->addSubview(table);
    std::vector<Size> seen;
    int owner = 0;
    table->addObserver(&owner, "contentSize", [&](const KeyValueChange& change) {
        seen.push_back(std::any_cast<Size>(change.newValue));
    });

    table->reloadData();  // one line each: 8 + 27 + 8
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen.back(), (Size{390, 3 * 43}));

    table->setFrame(Rect(0, 0, 200, 600));  // "Unlock every" / "story" at 168
    platform.runPending();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen.back(), (Size{200, 69 + 69 + 43}));
    EXPECT_EQ(table->rectForRow({0, 1}), Rect(0, 69, 200, 69));
    EXPECT_EQ(table->cellForRow({0, 2})->frame(), Rect(0, 138, 200, 43));

    table->setFrame(Rect(0, 0, 200, 300));  // only the height: rows stay
    platform.runPending();
    EXPECT_EQ(seen.size(), 2u);
}

class SelectingTiers : public CollectionViewDataSource {
  public:
    int numberOfItems(CollectionView&, int) override { return 3; }
    std::shared_ptr<CollectionViewCell> cellForItem(CollectionView& view, IndexPath path) override {
        auto cell = view.dequeueReusableCell("tier", path);
        if (path.row == 1) {
            view.selectItem(path);  // the tier the offer recommends
        }
        return cell;
    }
};

class TierCell : public CollectionViewCell {
  public:
    TierCell() {
        setFrame(Rect(0, 0, 100, 100));
        label = std::make_shared<Label>("Monthly");  // 17 points: 59.5 x 20.4
        label->setFrame(Rect(10, 10, 80, 21));
        contentView()->addSubview(label);
    }
    std::shared_ptr<Label> label;
};

TEST_F(LayoutTest, ACollectionKeepsASelectionMadeWhileMakingCellsAndSizesItsItems) {
    auto view = std::make_shared<CollectionView>(Rect(0, 0, 390, 300));
    auto tiers = std::make_shared<SelectingTiers>();
    view->registerClass<TierCell>("tier");
    view->setDataSource(tiers);
    view->layout().estimatedItemSize = {50, 50};
    view->layout().sectionInset = {5, 5, 5, 5};
    view->reloadData();
    EXPECT_EQ(view->indexPathsForSelectedItems(), (std::vector<IndexPath>{{0, 1}}));
    EXPECT_TRUE(view->cellForItem({0, 1})->isSelected());
    EXPECT_FALSE(view->cellForItem({0, 0})->isSelected());
    // Each cell's fitting size: as wide as the line, 10 + 21 + 10 high.
    EXPECT_EQ(view->cellForItem({0, 0})->frame(), Rect(5, 5, 380, 41));
    EXPECT_EQ(view->cellForItem({0, 1})->frame(), Rect(5, 56, 380, 41));

    view->reloadData();  // reused cells come back unselected but for the recommended one
    EXPECT_TRUE(view->cellForItem({0, 1})->isSelected());
    EXPECT_EQ(view->indexPathsForSelectedItems().size(), 1u);
}

// A wall's controller, as the walls are: its root view pinned to the article's page.
class TurningScreen : public ViewController {
  public:
    using ViewController::ViewController;
    void viewWillTransitionToSize(Size size) override {
        heard.push_back("size " + std::to_string(int(size.width)) + "x" +
                        std::to_string(int(size.height)) + " in a window " +
                        std::to_string(int(view()->window()->bounds().width())) + " wide");
    }
    void willTransitionToTraitCollection() override {
        heard.push_back(std::string("traits, upright: ") +
                        (Application::shared().deviceOrientation() == DeviceOrientation::portrait
                             ? "yes"
                             : "no"));
    }
    Lines heard;
};

TEST_F(LayoutTest, TurningThePhoneTurnsTheScreenTellsTheWallsAndPinnedViewsFollow) {
    auto& app = Application::shared();
    auto root = ViewController::create<ViewController>();
    auto window = app.showWindow(root);
    auto page = std::make_shared<View>(root->view()->bounds());
    root->view()->addSubview(page);
    pinToEdges(page, root->view());
    auto wall = ViewController::create<TurningScreen>();
    page->addSubview(wall->view());
    pinToEdges(wall->view(), page, EdgeInsets{0, 10, 20, 10});
    // Placed by hand, not pinned: stays where it is.
    auto badge = std::make_shared<View>(Rect(5, 5, 30, 30));
    page->addSubview(badge);

    app.rotate(DeviceOrientation::landscapeLeft);
    EXPECT_EQ(app.mainScreen().bounds.size, (Size{844, 390}));
    EXPECT_EQ(app.safeAreaInsets(), (EdgeInsets{0, 47, 0, 34}));
    EXPECT_EQ(app.connectedScenes().front()->interfaceOrientation(),
              InterfaceOrientation::landscapeRight);
    // The controllers hear of the new size while the window still has the old one.
    EXPECT_EQ(wall->heard, (Lines{"traits, upright: no", "size 844x390 in a window 390 wide"}));
    window->layoutIfNeeded();
    EXPECT_EQ(window->frame(), Rect(0, 0, 844, 390));
    EXPECT_EQ(page->frame(), Rect(0, 0, 844, 390));
    EXPECT_EQ(wall->view()->frame(), Rect(10, 0, 824, 370));
    EXPECT_EQ(badge->frame(), Rect(5, 5, 30, 30));

    // From one landscape side to the other the screen keeps its shape.
    wall->heard.clear();
    app.rotate(DeviceOrientation::landscapeRight);
    EXPECT_EQ(app.mainScreen().bounds.size, (Size{844, 390}));
    EXPECT_EQ(wall->heard.back(), "size 844x390 in a window 844 wide");

    // Lying flat says nothing to the screens; upright again, all is as it was.
    wall->heard.clear();
    app.rotate(DeviceOrientation::faceUp);
    EXPECT_TRUE(wall->heard.empty());
    EXPECT_EQ(app.connectedScenes().front()->interfaceOrientation(),
              InterfaceOrientation::landscapeLeft);
    app.rotate(DeviceOrientation::portrait);
    window->layoutIfNeeded();
    EXPECT_EQ(app.safeAreaInsets(), (EdgeInsets{47, 0, 34, 0}));
    EXPECT_EQ(wall->view()->frame(), Rect(10, 0, 370, 824));
}

}  // namespace
}  // namespace quillgate::ui

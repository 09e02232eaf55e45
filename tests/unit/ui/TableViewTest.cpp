// Tables and collections: content size from row heights, cell reuse, selection by the
// reader and by code.

#include "quillgate/ui/CollectionView.h"
#include "quillgate/ui/GestureRecognizer.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TableView.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

class CountingCell : public TableViewCell {
  public:
    std::string className() const override { return "CountingCell"; }
    void prepareForReuse() override { ++reuses; }
    int reuses = 0;
};

// A table of rows with given heights (automaticDimension: the cell's fitting height, its own
// frame height while it holds nothing).
class Rows : public TableViewDataSource, public TableViewDelegate {
  public:
    int numberOfRows(TableView&, int) override { return static_cast<int>(heights.size()); }
    std::shared_ptr<TableViewCell> cellForRow(TableView& table, IndexPath path) override {
        auto cell = table.dequeueReusableCell("row", path);
        cell->setFrame(Rect(0, 0, 0, 30));  // what a nib would give
        return cell;
    }
    std::optional<std::string> titleForHeader(TableView&, int) override { return title; }
    std::optional<double> heightForRow(TableView&, IndexPath path) override {
        return heights[static_cast<std::size_t>(path.row)];
    }
    void didSelectRow(TableView&, IndexPath path) override {
        events.push_back("select " + std::to_string(path.row));
    }
    void didDeselectRow(TableView&, IndexPath path) override {
        events.push_back("deselect " + std::to_string(path.row));
    }

    std::vector<double> heights;
    std::optional<std::string> title;
    Lines events;
};

class TableViewTest : public UiTest {
  protected:
    void SetUp() override {
        table->registerClass<CountingCell>("row");
        table->setDataSource(rows);
        table->setDelegate(rows);
    }

    std::shared_ptr<TableView> table = std::make_shared<TableView>(Rect(0, 0, 320, 400));
    std::shared_ptr<Rows> rows = std::make_shared<Rows>();
};

TEST_F(TableViewTest, ContentSizeAddsEachRowsHeightAndIsObserved) {
    std::vector<Size> seen;
    int owner = 0;
    table->addObserver(&owner, "contentSize", [&](const KeyValueChange& change) {
        seen.push_back(std::any_cast<Size>(change.newValue));
    });

    rows->heights = {100, automaticDimension, 12.5};
    table->reloadData();
    EXPECT_EQ(table->contentSize(), (Size{320, 142.5}));
    EXPECT_EQ(table->rectForRow({0, 1}), Rect(0, 100, 320, 30));
    EXPECT_EQ(table->rectForRow({0, 2}), Rect(0, 130, 320, 12.5));

    // A titled section gets a header of the section header height above its rows.
    rows->title = "Benefits: You will get";
    table->reloadData();
    EXPECT_EQ(table->contentSize(), (Size{320, 170.5}));
    auto header = std::dynamic_pointer_cast<Label>(table->headerView(0));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->text(), "Benefits: You will get");

    rows->heights.clear();
    table->reloadData();
    EXPECT_EQ(seen, (std::vector<Size>{{320, 142.5}, {320, 170.5}, {320, 28}}));

    table->removeObserver(&owner, "contentSize");
    EXPECT_FALSE(table->hasObservers());
}

TEST_F(TableViewTest, ReloadReusesCellsWhichKeepWhatTheyCollected) {
    rows->heights = {44, 44};
    table->reloadData();
    auto first = std::dynamic_pointer_cast<CountingCell>(table->cellForRow({0, 0}));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->reuseIdentifier(), "row");
    EXPECT_EQ(first->superview(), table);
    auto button = std::make_shared<Button>();
    first->contentView()->addSubview(button);
    int presses = 0;
    button->addAction([&](Control&) { ++presses; }, ControlEvent::touchUpInside);

    table->reloadData();
    auto cells = table->visibleCells();
    ASSERT_EQ(cells.size(), 2u);
    EXPECT_TRUE(std::find(cells.begin(), cells.end(), first) != cells.end());
    EXPECT_EQ(first->reuses, 1);
    button->tap();
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(table->reloadCount(), 2);
}

TEST_F(TableViewTest, TappingRowsSelectsAndTellsTheDelegate) {
    rows->heights = {44, 44, 44};
    table->reloadData();

    EXPECT_TRUE(table->tapRow({0, 1}));
    EXPECT_TRUE(table->tapRow({0, 2}));
    EXPECT_EQ(rows->events, (Lines{"select 1", "deselect 1", "select 2"}));
    EXPECT_EQ(table->indexPathForSelectedRow(), (IndexPath{0, 2}));
    EXPECT_TRUE(table->cellForRow({0, 2})->isSelected());
    EXPECT_FALSE(table->cellForRow({0, 1})->isSelected());

    // Programmatic selection tells nobody.
    rows->events.clear();
    table->selectRow({0, 0});
    EXPECT_TRUE(rows->events.empty());
    EXPECT_EQ(table->indexPathForSelectedRow(), (IndexPath{0, 0}));

    // Not there, or not reachable.
    EXPECT_FALSE(table->tapRow({0, 7}));
    table->setHidden(true);
    EXPECT_FALSE(table->tapRow({0, 1}));
    EXPECT_TRUE(rows->events.empty());
}

TEST_F(TableViewTest, ATouchOnAViewInsideACellSelectsItsRow) {
    rows->heights = {44, 44};
    table->reloadData();
    auto words = std::make_shared<Label>();
    table->cellForRow({0, 1})->contentView()->addSubview(words);
    auto link = std::make_shared<Label>();
    bool linked = false;
    link->addGestureRecognizer(
        std::make_shared<TapGestureRecognizer>([&](GestureRecognizer&) { linked = true; }));
    link->setUserInteractionEnabled(true);
    table->cellForRow({0, 0})->contentView()->addSubview(link);

    // A plain label passes the touch to its cell, which selects its row.
    EXPECT_TRUE(words->superview()->tap());
    EXPECT_EQ(rows->events, (Lines{"select 1"}));
    // A recogniser that takes the touch leaves the selection alone.
    EXPECT_TRUE(link->tap());
    EXPECT_TRUE(linked);
    EXPECT_EQ(rows->events, (Lines{"select 1"}));
    // A cell outside any table only passes the touch on.
    auto loose = std::make_shared<TableViewCell>();
    EXPECT_TRUE(loose->tap());
    EXPECT_EQ(rows->events, (Lines{"select 1"}));
}

TEST_F(TableViewTest, CellsRegisteredByNibAreBuiltThroughTheRegistry) {
    NibRegistry::shared().registerNib("PlainNibCell", [](Responder* owner) {
        EXPECT_EQ(owner, nullptr);
        auto cell = std::make_shared<TableViewCell>();
        cell->setFrame(Rect(0, 0, 100, 61));
        cell->contentView()->addSubview(std::make_shared<Label>("from the nib"));
        return cell;
    });
    table->registerNib("PlainNibCell", "row");
    rows->heights = {automaticDimension};
    table->reloadData();
    EXPECT_EQ(table->contentSize().height, 21);  // the label's one line of 17 points
    auto cell = table->cellForRow({0, 0});
    auto label = std::dynamic_pointer_cast<Label>(cell->contentView()->subviews().at(0));
    ASSERT_TRUE(label);
    EXPECT_EQ(label->text(), "from the nib");
    NibRegistry::shared().removeNib("PlainNibCell");
}

// A horizontal list of tiers, two to a screen.
class Tiers : public CollectionViewDataSource, public CollectionViewDelegate {
  public:
    int numberOfItems(CollectionView&, int) override { return count; }
    std::shared_ptr<CollectionViewCell> cellForItem(CollectionView& view, IndexPath path) override {
        return view.dequeueReusableCell("tier", path);
    }
    std::optional<Size> sizeForItem(CollectionView& view, IndexPath) override {
        return Size{view.bounds().width() * 0.5 - 6, 86};
    }
    std::optional<EdgeInsets> insetForSection(CollectionView&, int) override {
        return EdgeInsets{0, 10, 0, 10};
    }
    void didSelectItem(CollectionView&, IndexPath path) override { selected.push_back(path.row); }

    int count = 3;
    std::vector<int> selected;
};

// A collection of `tiers`, sized by them when they are also its delegate.
std::shared_ptr<CollectionView> tierCollection(Rect frame, const CollectionViewFlowLayout& layout,
                                               const std::shared_ptr<Tiers>& tiers, bool delegate) {
    auto collection = std::make_shared<CollectionView>(frame, layout);
    collection->registerClass<CollectionViewCell>("tier");
    collection->setDataSource(tiers);
    if (delegate) {
        collection->setDelegate(tiers);
    }
    collection->reloadData();
    return collection;
}

TEST_F(TableViewTest, CollectionFlowLayoutPlacesItemsAndSizesTheContent) {
    CollectionViewFlowLayout layout;
    layout.scrollDirection = ScrollDirection::horizontal;
    layout.minimumLineSpacing = 10;
    auto tiers = std::make_shared<Tiers>();
    auto collection = tierCollection(Rect(0, 0, 300, 100), layout, tiers, true);
    ASSERT_EQ(collection->numberOfItems(0), 3);
    EXPECT_EQ(collection->cellForItem({0, 0})->frame(), Rect(10, 0, 144, 86));
    EXPECT_EQ(collection->cellForItem({0, 1})->frame(), Rect(164, 0, 144, 86));
    EXPECT_EQ(collection->cellForItem({0, 2})->frame(), Rect(318, 0, 144, 86));
    EXPECT_EQ(collection->contentSize(), (Size{472, 100}));

    collection->selectItem({0, 0});
    EXPECT_TRUE(collection->cellForItem({0, 0})->isSelected());
    EXPECT_TRUE(tiers->selected.empty());
    EXPECT_TRUE(collection->tapItem({0, 1}));
    EXPECT_FALSE(collection->cellForItem({0, 0})->isSelected());
    EXPECT_EQ(tiers->selected, (std::vector<int>{1}));

    // A vertical flow of the layout's item size wraps its lines.
    layout = {};
    layout.itemSize = {100, 40};
    layout.minimumInteritemSpacing = 10;
    layout.minimumLineSpacing = 5;
    tiers->count = 5;
    collection = tierCollection(Rect(0, 0, 250, 300), layout, tiers, false);
    EXPECT_EQ(collection->cellForItem({0, 1})->frame(), Rect(110, 0, 100, 40));
    EXPECT_EQ(collection->cellForItem({0, 2})->frame(), Rect(0, 45, 100, 40));
    EXPECT_EQ(collection->contentSize(), (Size{250, 130}));
}

}  // namespace
}  // namespace quillgate::ui

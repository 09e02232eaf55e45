// Nibs and storyboards: building trees for owners, binding outlets, and the faults that end
// the program.

#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableView.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

class StatusScreen : public ViewController {
  public:
    using ViewController::ViewController;
    std::string className() const override { return "StatusScreen"; }
    void viewDidLoad() override { lblTitle->setText("loaded"); }

    Outlet<Label> lblTitle;
    Outlet<Button> btnClose;
};

class AwakeCell : public TableViewCell {
  public:
    void awakeFromNib() override { awoken = true; }
    bool awoken = false;
};

// The scene binds the title only; the close button is left unbound.
std::shared_ptr<View> buildStatusScene(Responder* owner) {
    auto root = std::make_shared<View>(Rect(0, 0, 390, 844));
    auto title = std::make_shared<Label>("nib words");
    auto cell = std::make_shared<AwakeCell>();
    root->addSubview(title);
    root->addSubview(cell);
    if (auto* screen = dynamic_cast<StatusScreen*>(owner)) {
        screen->lblTitle = title;
    }
    return root;
}

class NibRegistryTest : public UiTest {
  protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        NibRegistry::shared().registerScene<StatusScreen>("TestStoryboard", "StatusVC",
                                                          buildStatusScene);
    }
    void TearDown() override { NibRegistry::shared().removeStoryboard("TestStoryboard"); }
};

TEST_F(NibRegistryTest, StoryboardScenesMakeControllersWhoseViewsBindOutlets) {
    auto vc = NibRegistry::shared().instantiateViewController("TestStoryboard", "StatusVC");
    auto screen = std::dynamic_pointer_cast<StatusScreen>(vc);
    ASSERT_TRUE(screen);
    EXPECT_FALSE(screen->isViewLoaded());
    EXPECT_FALSE(screen->lblTitle.isBound());

    screen->loadViewIfNeeded();
    EXPECT_EQ(screen->lblTitle->text(), "loaded");
    EXPECT_EQ(screen->lblTitle.get()->superview(), screen->view());
    auto cell = std::dynamic_pointer_cast<AwakeCell>(screen->view()->subviews().at(1));
    ASSERT_TRUE(cell);
    EXPECT_TRUE(cell->awoken);
    EXPECT_EQ(screen->btnClose.optional(), nullptr);

    // An outlet whose element was freed reads as unbound.
    Outlet<Label> outlet;
    outlet = std::make_shared<Label>();
    EXPECT_FALSE(outlet.isBound());
    EXPECT_EQ(outlet.optional(), nullptr);
}

using NibRegistryDeathTest = NibRegistryTest;

TEST_F(NibRegistryDeathTest, UnboundOutletsMissingNibsAndScenesEndTheProgram) {
    auto screen = std::static_pointer_cast<StatusScreen>(
        NibRegistry::shared().instantiateViewController("TestStoryboard", "StatusVC"));
    screen->loadViewIfNeeded();
    EXPECT_DEATH(screen->btnClose->setTitle("x"),
                 "Fatal error: Unexpectedly found nil while implicitly unwrapping an Optional "
                 "value");

    struct Orphan : ViewController {
        Orphan(Token t) : ViewController(t, "NoSuchNib") {}
    };
    auto orphan = ViewController::create<Orphan>();
    EXPECT_DEATH(orphan->view(),
                 "Could not load NIB in bundle: 'NSBundle <Quillgate.framework> "
                 "\\(loaded\\)' with name 'NoSuchNib'");
    EXPECT_DEATH(NibRegistry::shared().instantiateViewController("NoSuchStoryboard", "X"),
                 "Could not find a storyboard named 'NoSuchStoryboard'");
    EXPECT_DEATH(NibRegistry::shared().instantiateViewController("TestStoryboard", "WebVC"),
                 "doesn't contain a view controller with identifier 'WebVC'");

    auto table = std::make_shared<TableView>();
    EXPECT_DEATH(table->dequeueReusableCell("PlansTableCell"),
                 "unable to dequeue a cell with identifier PlansTableCell");
    NibRegistry::shared().registerNib("NotACell",
                                      [](Responder*) { return std::make_shared<View>(); });
    table->registerNib("NotACell", "cell");
    EXPECT_DEATH(table->dequeueReusableCell("cell"), "invalid nib registered for identifier");
    NibRegistry::shared().removeNib("NotACell");
}

}  // namespace
}  // namespace quillgate::ui

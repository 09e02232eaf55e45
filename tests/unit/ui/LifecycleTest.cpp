// Controller lifecycle: loading on first access, appearance when the root view joins or
// leaves a window, modal presentation and dismissal, teardown; container controllers and
// key-value observation.

#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/SafariViewController.h"
#include "quillgate/ui/ScrollView.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

// Records every lifecycle call, with its own name, into a shared journal. The "will" calls
// come while the view is still where it was, the "did" calls once it has moved.
class Recorder : public ViewController {
  public:
    Recorder(Token token, std::string name, std::shared_ptr<Lines> journal)
        : ViewController(token), name_(std::move(name)), journal_(std::move(journal)) {}

    std::string className() const override { return "Recorder"; }
    void viewDidLoad() override { note("viewDidLoad"); }
    void viewWillAppear(bool animated) override {
        EXPECT_EQ(view()->window(), nullptr) << name_;
        note(std::string("viewWillAppear") + (animated ? "(animated)" : ""));
    }
    void viewDidAppear(bool) override {
        EXPECT_NE(view()->window(), nullptr) << name_;
        note("viewDidAppear");
    }
    void viewWillDisappear(bool) override {
        EXPECT_NE(view()->window(), nullptr) << name_;
        note("viewWillDisappear");
    }
    void viewDidDisappear(bool) override {
        EXPECT_EQ(view()->window(), nullptr) << name_;
        note("viewDidDisappear");
    }
    void deinit() override { note("deinit"); }

  private:
    void note(const std::string& what) { journal_->push_back(name_ + "." + what); }

    std::string name_;
    std::shared_ptr<Lines> journal_;
};

class LifecycleTest : public UiTest {
  protected:
    std::shared_ptr<Recorder> make(const std::string& name) {
        return ViewController::create<Recorder>(name, journal);
    }
    Lines take() { return std::exchange(*journal, {}); }

    std::shared_ptr<Lines> journal = std::make_shared<Lines>();
};

const Lines kAppear = {"a.viewWillAppear", "a.viewDidAppear"};
const Lines kDisappear = {"a.viewWillDisappear", "a.viewDidDisappear"};

TEST_F(LifecycleTest, ViewLoadsOnFirstAccessFromTheClassNibOrAsAPlainScreen) {
    auto vc = make("a");
    EXPECT_FALSE(vc->isViewLoaded());
    EXPECT_TRUE(take().empty());
    auto view = vc->view();
    EXPECT_EQ(vc->view(), view);
    EXPECT_EQ(view->owningViewController(), vc);
    EXPECT_EQ(take(), (Lines{"a.viewDidLoad"}));
    EXPECT_EQ(view->frame(), Application::shared().mainScreen().bounds);

    // With no nib name given, a nib named after the class is used.
    Responder* seenOwner = nullptr;
    NibRegistry::shared().registerNib("Recorder", [&](Responder* owner) {
        seenOwner = owner;
        auto root = std::make_shared<View>();
        root->setTag(7);
        return root;
    });
    auto fromNib = make("b");
    EXPECT_EQ(fromNib->view()->tag(), 7);
    EXPECT_EQ(seenOwner, fromNib.get());
    NibRegistry::shared().removeNib("Recorder");
}

TEST_F(LifecycleTest, AppearanceFollowsTheRootViewIntoAndOutOfAWindow) {
    auto window = Application::shared().showWindow();
    auto host = std::make_shared<View>();
    auto vc = make("a");
    vc->view();
    take();

    host->addSubview(vc->view());  // not in a window: nothing
    EXPECT_TRUE(take().empty());
    window->addSubview(host);  // the ancestor joins the window
    EXPECT_EQ(take(), kAppear);
    EXPECT_EQ(vc->appearanceState(), AppearanceState::appeared);

    // Moving within the same window is no appearance change.
    auto other = std::make_shared<View>();
    window->addSubview(other);
    other->addSubview(vc->view());
    EXPECT_TRUE(take().empty());

    vc->view()->removeFromSuperview();  // leaving directly
    EXPECT_EQ(take(), kDisappear);
    host->addSubview(vc->view());  // joining directly, then leaving through the ancestor
    EXPECT_EQ(take(), kAppear);
    host->removeFromSuperview();
    EXPECT_EQ(take(), kDisappear);
}

TEST_F(LifecycleTest, NestedControllersAppearParentFirst) {
    auto window = Application::shared().showWindow();
    auto parent = make("parent");
    auto child = make("child");
    parent->addChild(child);
    parent->view()->addSubview(child->view());
    child->didMoveToParent(parent.get());
    take();

    window->addSubview(parent->view());
    EXPECT_EQ(take(), (Lines{"parent.viewWillAppear", "child.viewWillAppear",
                             "parent.viewDidAppear", "child.viewDidAppear"}));
    EXPECT_EQ(child->parent(), parent);
    child->removeFromParent();
    EXPECT_TRUE(parent->children().empty());
}

TEST_F(LifecycleTest, WindowRootControllerAppearsAndIsReplaced) {
    auto first = make("first");
    auto window = Application::shared().showWindow(first);
    EXPECT_EQ(take(), (Lines{"first.viewDidLoad", "first.viewWillAppear", "first.viewDidAppear"}));
    EXPECT_EQ(window->subviews().front(), first->view());
    EXPECT_EQ(first->view()->frame(), window->bounds());

    window->setRootViewController(make("second"));
    EXPECT_EQ(take(),
              (Lines{"first.viewWillDisappear", "first.viewDidDisappear", "second.viewDidLoad",
                     "second.viewWillAppear", "second.viewDidAppear"}));
    EXPECT_EQ(Application::shared().keyWindow(), window);
}

TEST_F(LifecycleTest, PresentAndDismissWithCompletionsAfterTheCurrentTask) {
    auto root = make("root");
    auto window = Application::shared().showWindow(root);
    auto modal = make("modal");
    take();

    bool presented = false;
    root->present(modal, true, [&] { presented = true; });
    EXPECT_EQ(take(), (Lines{"modal.viewDidLoad", "modal.viewWillAppear(animated)",
                             "modal.viewDidAppear"}));
    EXPECT_EQ(root->presentedViewController(), modal);
    EXPECT_EQ(modal->presentingViewController(), root);
    EXPECT_EQ(window->subviews().back(), modal->view());
    EXPECT_FALSE(presented);
    platform.runPending();
    EXPECT_TRUE(presented);

    // The presented controller dismisses itself; code after the call runs before the
    // completion.
    Lines order;
    modal->dismiss(true, [&] { order.push_back("completion"); });
    order.push_back("after dismiss");
    EXPECT_EQ(take(), (Lines{"modal.viewWillDisappear", "modal.viewDidDisappear"}));
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(modal->presentingViewController(), nullptr);
    EXPECT_EQ(modal->view()->superview(), nullptr);
    platform.runPending();
    EXPECT_EQ(order, (Lines{"after dismiss", "completion"}));
}

TEST_F(LifecycleTest, DismissingFromTheBottomTakesTheWholeChainTopFirst) {
    auto root = make("root");
    Application::shared().showWindow(root);
    auto first = make("first");
    root->present(first, false);
    first->present(make("second"), false);  // held by its presenter only
    take();

    root->dismiss(false);
    EXPECT_EQ(take(),
              (Lines{"second.viewWillDisappear", "second.viewDidDisappear",
                     "first.viewWillDisappear", "first.viewDidDisappear", "second.deinit"}));
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(first->presentedViewController(), nullptr);
}

TEST_F(LifecycleTest, RefusedPresentationsPrintAndNeverComplete) {
    auto root = make("root");
    bool completed = false;

    root->present(make("lost"), false, [&] { completed = true; });
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_TRUE(platform.printed(
        "Attempt to present <Recorder> on <Recorder> whose view is not in the window hierarchy."));

    Application::shared().showWindow(root);
    auto first = make("first");
    root->present(first, false);
    root->present(make("second"), false, [&] { completed = true; });
    EXPECT_EQ(root->presentedViewController(), first);
    EXPECT_TRUE(platform.printedContaining("which is already presenting <Recorder>."));

    make("lone")->dismiss(false, [&] { completed = true; });  // nothing to dismiss

    platform.runPending();
    EXPECT_FALSE(completed);
}

TEST_F(LifecycleTest, TeardownRunsOnceForTheLastOwnerAndForgetsTheObservations) {
    auto vc = make("a");
    auto copy = vc;
    int calls = 0;
    NotificationCenter::defaultCenter().addObserver(vc.get(), "ping", [&](auto&) { ++calls; });
    NotificationCenter::defaultCenter().post("ping");
    vc.reset();
    EXPECT_TRUE(take().empty());
    copy.reset();
    EXPECT_EQ(take(), (Lines{"a.deinit"}));
    NotificationCenter::defaultCenter().post("ping");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(NotificationCenter::defaultCenter().observerCount("ping"), 0u);

    // Resetting the process state takes the windows down with their controllers.
    Application::shared().showWindow(make("root"));
    take();
    platform::resetProcessState();
    EXPECT_EQ(take(), (Lines{"root.deinit"}));
}

class Screen : public ViewController {
  public:
    using ViewController::ViewController;
    void viewDidAppear(bool) override { ++appearances; }
    int appearances = 0;
};

using ContainersTest = UiTest;

TEST_F(ContainersTest, NavigationShowsTheTopControllerAndChildrenPresentThroughIt) {
    auto root = ViewController::create<Screen>();
    auto nav = NavigationController::withRoot(root);
    Application::shared().showWindow(nav);
    EXPECT_EQ(root->appearances, 1);
    EXPECT_EQ(nav->topViewController(), root);

    auto next = ViewController::create<Screen>();
    nav->pushViewController(next, true);
    EXPECT_EQ(next->appearances, 1);
    EXPECT_EQ(root->appearanceState(), AppearanceState::disappeared);
    EXPECT_EQ(next->view()->superview(), nav->view());

    // A child presents through the top of its containment.
    auto browser = ViewController::create<SafariViewController>("https://example.invalid/promo");
    next->present(browser, true);
    EXPECT_EQ(browser->url(), "https://example.invalid/promo");
    EXPECT_EQ(nav->visibleViewController(), browser);
    EXPECT_EQ(nav->presentedViewController(), browser);
    EXPECT_EQ(next->presentedViewController(), browser);
    EXPECT_EQ(browser->presentingViewController(), nav);
    browser->dismiss(false);
    EXPECT_EQ(nav->presentedViewController(), nullptr);

    EXPECT_EQ(nav->popViewController(false), next);
    EXPECT_EQ(root->appearances, 2);
    EXPECT_EQ(nav->popViewController(false), nullptr);  // the root stays

    auto empty = ViewController::create<NavigationController>();
    EXPECT_EQ(empty->topViewController(), nullptr);
    EXPECT_EQ(empty->visibleViewController(), nullptr);
}

TEST_F(ContainersTest, TabBarShowsTheSelectedController) {
    auto a = ViewController::create<Screen>();
    auto b = ViewController::create<Screen>();
    auto tabs = ViewController::create<TabBarController>();
    tabs->setViewControllers({a, b});
    Application::shared().showWindow(tabs);
    EXPECT_EQ(tabs->selectedViewController(), a);
    tabs->setSelectedIndex(1);
    EXPECT_EQ(tabs->selectedViewController(), b);
    EXPECT_EQ(b->appearances, 1);
    EXPECT_EQ(a->appearanceState(), AppearanceState::disappeared);
    tabs->setSelectedIndex(5);
    EXPECT_EQ(tabs->selectedIndex(), 1u);
}

TEST_F(ContainersTest, KeyValueObserversCanLeaveDuringANotification) {
    auto scroll = std::make_shared<ScrollView>();
    int owner1 = 0;
    int owner2 = 0;
    Lines calls;
    scroll->addObserver(&owner1, "contentSize", [&](const KeyValueChange& c) {
        calls.push_back("one " +
                        std::to_string(static_cast<int>(std::any_cast<Size>(c.newValue).height)));
        scroll->removeObserver(&owner2, "contentSize");
    });
    scroll->addObserver(&owner2, "contentSize",
                        [&](const KeyValueChange&) { calls.push_back("two"); });
    scroll->addObserver(&owner1, "contentOffset",
                        [&](const KeyValueChange&) { calls.push_back("offset"); });

    scroll->setContentSize({10, 20});
    scroll->setContentSize({10, 20});  // setting the same value notifies again
    EXPECT_EQ(calls, (Lines{"one 20", "one 20"}));

    // Removing takes the latest registration of that key path only; removing an unknown
    // observer is harmless.
    scroll->removeObserver(&owner1, "contentSize");
    scroll->removeObserver(&owner2, "contentSize");
    EXPECT_EQ(scroll->observerCount("contentSize"), 0u);
    EXPECT_TRUE(scroll->hasObservers());
    scroll->removeObserver(&owner1);
    EXPECT_FALSE(scroll->hasObservers());
}

}  // namespace
}  // namespace quillgate::ui

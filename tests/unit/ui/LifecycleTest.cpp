// Controller lifecycle: loading on first access, appearance when the root view joins or
// leaves a window, modal presentation and dismissal, teardown.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quillgate/ui/Application.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::ui {
namespace {

// Records every lifecycle call, with its own name, into a shared journal.
class Recorder : public ViewController {
  public:
    Recorder(Token token, std::string name, std::shared_ptr<std::vector<std::string>> journal)
        : ViewController(token), name_(std::move(name)), journal_(std::move(journal)) {}

    std::string className() const override { return "Recorder"; }
    void viewDidLoad() override { note("viewDidLoad"); }
    void viewWillAppear(bool animated) override {
        note(std::string("viewWillAppear") + (animated ? "(animated)" : ""));
    }
    void viewDidAppear(bool) override { note("viewDidAppear"); }
    void viewWillDisappear(bool) override { note("viewWillDisappear"); }
    void viewDidDisappear(bool) override { note("viewDidDisappear"); }
    void deinit() override { note("deinit"); }

    void note(const std::string& what) { journal_->push_back(name_ + "." + what); }

  private:
    std::string name_;
    std::shared_ptr<std::vector<std::string>> journal_;
};

class LifecycleTest : public ::testing::Test {
  protected:
    std::shared_ptr<Recorder> make(const std::string& name) {
        return ViewController::create<Recorder>(name, journal);
    }
    std::vector<std::string> take() {
        auto out = *journal;
        journal->clear();
        return out;
    }

    testing::TestPlatform platform;
    std::shared_ptr<std::vector<std::string>> journal =
        std::make_shared<std::vector<std::string>>();
};

using Lines = std::vector<std::string>;

TEST_F(LifecycleTest, ViewLoadsOnFirstAccessAndViewDidLoadRunsOnce) {
    auto vc = make("a");
    EXPECT_FALSE(vc->isViewLoaded());
    EXPECT_TRUE(take().empty());

    auto view = vc->view();
    EXPECT_TRUE(vc->isViewLoaded());
    EXPECT_EQ(vc->view(), view);
    EXPECT_EQ(view->owningViewController(), vc);
    EXPECT_EQ(take(), (Lines{"a.viewDidLoad"}));
    // A controller without a nib gets a plain view of the screen's size.
    EXPECT_EQ(view->frame(), Application::shared().mainScreen().bounds);
}

TEST_F(LifecycleTest, NibNamedAfterTheClassIsUsedWhenNoNameIsGiven) {
    Responder* seenOwner = nullptr;
    NibRegistry::shared().registerNib("Recorder", [&](Responder* owner) {
        seenOwner = owner;
        auto root = std::make_shared<View>(Rect(0, 0, 10, 20));
        root->setTag(7);
        return root;
    });
    auto vc = make("a");
    EXPECT_EQ(vc->view()->tag(), 7);
    EXPECT_EQ(seenOwner, vc.get());
    NibRegistry::shared().removeNib("Recorder");
}

TEST_F(LifecycleTest, AppearanceFollowsTheRootViewIntoAndOutOfAWindow) {
    auto window = Application::shared().showWindow();
    auto host = std::make_shared<View>();
    auto vc = make("a");
    vc->view();
    take();

    // Not in a window: nothing.
    host->addSubview(vc->view());
    EXPECT_TRUE(take().empty());

    // The ancestor joins the window: the controller appears.
    window->addSubview(host);
    EXPECT_EQ(take(), (Lines{"a.viewWillAppear", "a.viewDidAppear"}));
    EXPECT_EQ(vc->appearanceState(), AppearanceState::appeared);

    // Moving within the same window is no appearance change.
    auto other = std::make_shared<View>();
    window->addSubview(other);
    other->addSubview(vc->view());
    EXPECT_TRUE(take().empty());

    // Leaving, directly.
    vc->view()->removeFromSuperview();
    EXPECT_EQ(take(), (Lines{"a.viewWillDisappear", "a.viewDidDisappear"}));

    // Joining directly, then leaving through the ancestor.
    host->addSubview(vc->view());
    EXPECT_EQ(take(), (Lines{"a.viewWillAppear", "a.viewDidAppear"}));
    host->removeFromSuperview();
    EXPECT_EQ(take(), (Lines{"a.viewWillDisappear", "a.viewDidDisappear"}));
}

TEST_F(LifecycleTest, ViewWillAppearRunsBeforeTheViewIsInTheWindowAndDidAppearAfter) {
    auto window = Application::shared().showWindow();
    struct Probe : ViewController {
        using ViewController::ViewController;
        void viewWillAppear(bool) override { inWindowAtWill = view()->window() != nullptr; }
        void viewDidAppear(bool) override { inWindowAtDid = view()->window() != nullptr; }
        bool inWindowAtWill = true;
        bool inWindowAtDid = false;
    };
    auto vc = ViewController::create<Probe>();
    window->addSubview(vc->view());
    EXPECT_FALSE(vc->inWindowAtWill);
    EXPECT_TRUE(vc->inWindowAtDid);
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

    auto second = make("second");
    window->setRootViewController(second);
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
    EXPECT_EQ(modal->view()->window(), window);
    EXPECT_EQ(window->subviews().back(), modal->view());
    EXPECT_FALSE(presented);
    platform.runPending();
    EXPECT_TRUE(presented);

    // The presented controller dismisses itself; code after the call runs before the
    // completion.
    std::vector<std::string> order;
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
    auto second = make("second");
    root->present(first, false);
    first->present(second, false);
    take();

    root->dismiss(false);
    EXPECT_EQ(take(), (Lines{"second.viewWillDisappear", "second.viewDidDisappear",
                             "first.viewWillDisappear", "first.viewDidDisappear"}));
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(first->presentedViewController(), nullptr);
}

TEST_F(LifecycleTest, RefusedPresentationsPrintAndNeverComplete) {
    auto root = make("root");
    bool completed = false;

    // Presenter not in a window.
    root->present(make("lost"), false, [&] { completed = true; });
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_TRUE(platform.printed(
        "Attempt to present <Recorder> on <Recorder> whose view is not in the window hierarchy."));

    // Presenter already presenting.
    Application::shared().showWindow(root);
    auto first = make("first");
    root->present(first, false);
    root->present(make("second"), false, [&] { completed = true; });
    EXPECT_EQ(root->presentedViewController(), first);
    EXPECT_TRUE(platform.printedContaining("which is already presenting <Recorder>."));

    // Nothing to dismiss.
    auto lone = make("lone");
    lone->dismiss(false, [&] { completed = true; });

    platform.runPending();
    EXPECT_FALSE(completed);
}

TEST_F(LifecycleTest, DeinitRunsOnceWhenTheLastOwnerLetsGo) {
    auto vc = make("a");
    std::weak_ptr<Recorder> weak = vc;
    auto copy = vc;
    vc.reset();
    EXPECT_TRUE(take().empty());
    copy.reset();
    EXPECT_EQ(take(), (Lines{"a.deinit"}));
    EXPECT_TRUE(weak.expired());
}

TEST_F(LifecycleTest, DismissedControllerHeldOnlyByItsPresenterIsTornDown) {
    auto root = make("root");
    Application::shared().showWindow(root);
    root->present(make("modal"), false);
    take();
    root->dismiss(false);
    EXPECT_EQ(take(), (Lines{"modal.viewWillDisappear", "modal.viewDidDisappear", "modal.deinit"}));
}

TEST_F(LifecycleTest, TeardownForgetsTheControllersObservations) {
    auto vc = make("a");
    int calls = 0;
    NotificationCenter::defaultCenter().addObserver(vc.get(), "ping", [&](auto&) { ++calls; });
    NotificationCenter::defaultCenter().post("ping");
    vc.reset();
    NotificationCenter::defaultCenter().post("ping");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(NotificationCenter::defaultCenter().observerCount("ping"), 0u);
}

TEST_F(LifecycleTest, ResettingTheProcessStateTearsDownWindowsAndTheirControllers) {
    Application::shared().showWindow(make("root"));
    take();
    platform::resetProcessState();
    EXPECT_EQ(take(), (Lines{"root.deinit"}));
}

}  // namespace
}  // namespace quillgate::ui

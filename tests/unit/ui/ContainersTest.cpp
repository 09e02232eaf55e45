// Container controllers, presentation from a child, and key-value observation.

#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/SafariViewController.h"
#include "quillgate/ui/ScrollView.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

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

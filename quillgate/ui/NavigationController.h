#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quillgate/ui/ViewController.h"

// Container controllers: a navigation stack and a tab bar. Each shows one child's view
// (the top one, the selected one) inside its own root view; the children are its child
// controllers. They are small: enough for the look-ups that find the visible controller
// through them. Main thread only.
namespace quillgate::ui {

class NavigationController : public ViewController {
  public:
    using ViewController::ViewController;

    // A navigation controller whose stack holds `root`.
    static std::shared_ptr<NavigationController> withRoot(std::shared_ptr<ViewController> root);

    std::string className() const override { return "NavigationController"; }

    const std::vector<std::shared_ptr<ViewController>>& viewControllers() const {
        return children();
    }
    void setViewControllers(const std::vector<std::shared_ptr<ViewController>>& controllers);
    std::shared_ptr<ViewController> topViewController() const;
    // The top controller's presented controller if it has one, else the top controller.
    std::shared_ptr<ViewController> visibleViewController() const;
    void pushViewController(const std::shared_ptr<ViewController>& controller, bool animated);
    std::shared_ptr<ViewController> popViewController(bool animated);

  private:
    void showTop();
};

class TabBarController : public ViewController {
  public:
    using ViewController::ViewController;

    std::string className() const override { return "TabBarController"; }

    const std::vector<std::shared_ptr<ViewController>>& viewControllers() const {
        return children();
    }
    void setViewControllers(const std::vector<std::shared_ptr<ViewController>>& controllers);
    std::size_t selectedIndex() const { return selectedIndex_; }
    void setSelectedIndex(std::size_t index);
    std::shared_ptr<ViewController> selectedViewController() const;

  private:
    void showSelected();
    std::size_t selectedIndex_ = 0;
};

}  // namespace quillgate::ui

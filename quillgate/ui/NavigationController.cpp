#include "quillgate/ui/NavigationController.h"

#include "quillgate/ui/View.h"

namespace quillgate::ui {

namespace {
// Shows `shown`'s view alone inside `container`'s view.
void showOnly(ViewController& container, const std::shared_ptr<ViewController>& shown) {
    const auto& root = container.view();
    for (const auto& child : container.children()) {
        if (child != shown) {
            if (auto v = child->viewIfLoaded(); v && v->superview() == root) {
                v->removeFromSuperview();
            }
        }
    }
    if (shown) {
        const auto& v = shown->view();
        v->setFrame(root->bounds());
        if (v->superview() != root) {
            root->addSubview(v);
        }
    }
}

void replaceChildren(ViewController& container,
                     const std::vector<std::shared_ptr<ViewController>>& controllers) {
    auto old = container.children();
    for (const auto& child : old) {
        child->willMoveToParent(nullptr);
        if (auto v = child->viewIfLoaded()) {
            v->removeFromSuperview();
        }
        child->removeFromParent();
    }
    for (const auto& child : controllers) {
        if (child) {
            container.addChild(child);
            child->didMoveToParent(&container);
        }
    }
}
}  // namespace

std::shared_ptr<NavigationController> NavigationController::withRoot(
    std::shared_ptr<ViewController> root) {
    auto nav = ViewController::create<NavigationController>();
    if (root) {
        nav->setViewControllers({std::move(root)});
    }
    return nav;
}

void NavigationController::setViewControllers(
    const std::vector<std::shared_ptr<ViewController>>& controllers) {
    replaceChildren(*this, controllers);
    showTop();
}

std::shared_ptr<ViewController> NavigationController::topViewController() const {
    return children().empty() ? nullptr : children().back();
}

std::shared_ptr<ViewController> NavigationController::visibleViewController() const {
    auto top = topViewController();
    if (top) {
        if (auto presented = top->presentedViewController()) {
            return presented;
        }
    }
    return top;
}

void NavigationController::pushViewController(const std::shared_ptr<ViewController>& controller,
                                              bool animated) {
    (void)animated;
    if (!controller) {
        return;
    }
    addChild(controller);
    controller->didMoveToParent(this);
    showTop();
}

std::shared_ptr<ViewController> NavigationController::popViewController(bool animated) {
    (void)animated;
    if (children().size() < 2) {
        return nullptr;
    }
    auto top = children().back();
    top->willMoveToParent(nullptr);
    if (auto v = top->viewIfLoaded()) {
        v->removeFromSuperview();
    }
    top->removeFromParent();
    showTop();
    return top;
}

void NavigationController::showTop() {
    showOnly(*this, topViewController());
}

void TabBarController::setViewControllers(
    const std::vector<std::shared_ptr<ViewController>>& controllers) {
    replaceChildren(*this, controllers);
    if (selectedIndex_ >= children().size()) {
        selectedIndex_ = 0;
    }
    showSelected();
}

void TabBarController::setSelectedIndex(std::size_t index) {
    if (index < children().size()) {
        selectedIndex_ = index;
        showSelected();
    }
}

std::shared_ptr<ViewController> TabBarController::selectedViewController() const {
    return selectedIndex_ < children().size() ? children()[selectedIndex_] : nullptr;
}

void TabBarController::showSelected() {
    showOnly(*this, selectedViewController());
}

}  // namespace quillgate::ui

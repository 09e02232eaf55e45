#include "quillgate/resources/ViewLookups.h"

#include "quillgate/platform/Platform.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "quillgate/ui/WindowScene.h"

namespace quillgate {

std::shared_ptr<ui::Window> keyWindow() {
    for (const auto& scene : ui::Application::shared().connectedScenes()) {
        for (const auto& window : scene->windows()) {
            if (window->isKeyWindow()) {
                return window;
            }
        }
    }
    return nullptr;
}

std::shared_ptr<ui::ViewController> rootViewController() {
    auto window = keyWindow();
    return window ? window->rootViewController() : nullptr;
}

std::shared_ptr<ui::ViewController> topMostViewController() {
    return quillgateVisibleViewController(rootViewController());
}

std::shared_ptr<ui::ViewController> quillgateVisibleViewController(
    const std::shared_ptr<ui::ViewController>& controller) {
    if (!controller) {
        return nullptr;
    }
    if (auto navigation = std::dynamic_pointer_cast<ui::NavigationController>(controller)) {
        return quillgateVisibleViewController(navigation->topViewController());
    }
    if (auto tabs = std::dynamic_pointer_cast<ui::TabBarController>(controller)) {
        return quillgateVisibleViewController(tabs->selectedViewController());
    }
    if (auto presented = controller->presentedViewController()) {
        return quillgateVisibleViewController(presented);
    }
    return controller;
}

std::shared_ptr<ui::ViewController> presentedViewController() {
    auto controller = rootViewController();
    while (controller) {
        auto next = controller->presentedViewController();
        if (!next) {
            break;
        }
        controller = std::move(next);
    }
    return controller;
}

std::shared_ptr<ui::NavigationController> topNavigationController(
    std::shared_ptr<ui::ViewController> controller) {
    if (!controller) {
        controller = rootViewController();
    }
    if (!controller) {
        return nullptr;
    }
    if (auto navigation = std::dynamic_pointer_cast<ui::NavigationController>(controller)) {
        return navigation;
    }
    if (auto tabs = std::dynamic_pointer_cast<ui::TabBarController>(controller)) {
        auto selected = tabs->selectedViewController();
        return selected ? topNavigationController(selected) : nullptr;
    }
    if (auto presented = controller->presentedViewController()) {
        return topNavigationController(presented);
    }
    return nullptr;
}

double statusBarHeight() {
    auto window = keyWindow();
    if (!window) {
        return 0.0;
    }
    auto scene = window->windowScene();
    return scene ? scene->statusBarFrame().height() : 0.0;
}

void roundCorners(ui::View& view, ui::CornerMask corners, double radius) {
    view.layer().mask = ui::Layer::RoundedMask{view.bounds(), corners, radius};
}

void reloadOnMainQueue(const std::shared_ptr<ui::TableView>& table) {
    std::weak_ptr<ui::TableView> weak = table;
    platform::current().runLoop->async([weak] {
        if (auto t = weak.lock()) {
            t->reloadData();
        }
    });
}

}  // namespace quillgate

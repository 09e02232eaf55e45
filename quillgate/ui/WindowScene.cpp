#include "quillgate/ui/WindowScene.h"

#include <algorithm>

#include "quillgate/ui/Application.h"
#include "quillgate/ui/Window.h"

namespace quillgate::ui {

std::shared_ptr<Window> WindowScene::makeWindow() {
    auto window = std::make_shared<Window>(Application::shared().mainScreen().bounds);
    addWindow(window);
    return window;
}

void WindowScene::addWindow(const std::shared_ptr<Window>& window) {
    if (!window) {
        return;
    }
    if (auto old = window->windowScene(); old && old.get() != this) {
        old->removeWindow(window);
    }
    if (std::find(windows_.begin(), windows_.end(), window) == windows_.end()) {
        windows_.push_back(window);
    }
    window->scene_ = weak_from_this();
}

void WindowScene::removeWindow(const std::shared_ptr<Window>& window) {
    auto it = std::find(windows_.begin(), windows_.end(), window);
    if (it != windows_.end()) {
        (*it)->scene_.reset();
        windows_.erase(it);
    }
}

std::shared_ptr<Window> WindowScene::keyWindow() const {
    for (const auto& w : windows_) {
        if (w->isKeyWindow()) {
            return w;
        }
    }
    return nullptr;
}

Rect WindowScene::statusBarFrame() const {
    const auto& app = Application::shared();
    return Rect(0, 0, app.mainScreen().bounds.width(), app.statusBarHeight());
}

}  // namespace quillgate::ui

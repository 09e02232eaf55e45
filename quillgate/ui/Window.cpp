#include "quillgate/ui/Window.h"

#include "quillgate/ui/Application.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/WindowScene.h"

namespace quillgate::ui {

Window::Window() : Window(Application::shared().mainScreen().bounds) {}

Window::Window(Rect frame) : View(frame) {
    setHidden(true);
}

Window::~Window() = default;

void Window::setRootViewController(std::shared_ptr<ViewController> controller) {
    if (controller == root_) {
        return;
    }
    auto old = std::move(root_);
    root_ = controller;
    if (old) {
        if (auto v = old->viewIfLoaded(); v && v->superview().get() == this) {
            v->removeFromSuperview();
        }
    }
    if (controller) {
        const auto& v = controller->view();
        v->setFrame(bounds());
        insertSubview(v, 0);
    }
}

void Window::makeKey() {
    Application::shared().setKeyWindow(this);
    key_ = true;
}

void Window::makeKeyAndVisible() {
    setHidden(false);
    makeKey();
}

EdgeInsets Window::safeAreaInsets() const {
    return Application::shared().safeAreaInsets();
}

}  // namespace quillgate::ui

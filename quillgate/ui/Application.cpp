#include "quillgate/ui/Application.h"

#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"

namespace quillgate::ui {

Application& Application::shared() {
    return platform::sharedInstance<Application>();
}

Application::~Application() {
    // Windows first, then scenes: controllers torn down here may still ask for the
    // application's facts, which stay readable until the members go.
    for (auto& scene : scenes_) {
        auto windows = scene->windows();
        for (auto& w : windows) {
            scene->removeWindow(w);
        }
    }
}

std::shared_ptr<WindowScene> Application::connectScene() {
    auto scene = std::make_shared<WindowScene>();
    scenes_.push_back(scene);
    return scene;
}

void Application::disconnectScene(const std::shared_ptr<WindowScene>& scene) {
    std::erase(scenes_, scene);
}

std::shared_ptr<Window> Application::keyWindow() const {
    for (const auto& scene : scenes_) {
        if (auto w = scene->keyWindow()) {
            return w;
        }
    }
    return nullptr;
}

std::vector<std::shared_ptr<Window>> Application::windows() const {
    std::vector<std::shared_ptr<Window>> all;
    for (const auto& scene : scenes_) {
        all.insert(all.end(), scene->windows().begin(), scene->windows().end());
    }
    return all;
}

std::shared_ptr<Window> Application::showWindow(std::shared_ptr<ViewController> root) {
    auto scene = scenes_.empty() ? connectScene() : scenes_.front();
    auto window = scene->makeWindow();
    if (root) {
        window->setRootViewController(std::move(root));
    }
    window->makeKeyAndVisible();
    return window;
}

void Application::setKeyWindow(Window* window) {
    for (const auto& scene : scenes_) {
        for (const auto& w : scene->windows()) {
            if (w.get() != window) {
                w->key_ = false;
            }
        }
    }
}

// ---- Rotation

namespace {

bool isLandscape(DeviceOrientation o) {
    return o == DeviceOrientation::landscapeLeft || o == DeviceOrientation::landscapeRight;
}

bool isUpright(DeviceOrientation o) {
    return o == DeviceOrientation::portrait || o == DeviceOrientation::portraitUpsideDown;
}

InterfaceOrientation interfaceFor(DeviceOrientation o) {
    switch (o) {
        case DeviceOrientation::portrait:
            return InterfaceOrientation::portrait;
        case DeviceOrientation::portraitUpsideDown:
            return InterfaceOrientation::portraitUpsideDown;
        case DeviceOrientation::landscapeLeft:
            return InterfaceOrientation::landscapeRight;
        case DeviceOrientation::landscapeRight:
            return InterfaceOrientation::landscapeLeft;
        default:
            return InterfaceOrientation::unknown;
    }
}

// Every controller whose root view is in `view`'s tree, parents before children.
void controllersUnder(const std::shared_ptr<View>& view,
                      std::vector<std::shared_ptr<ViewController>>& out) {
    if (auto vc = view->owningViewController(); vc && vc->viewIfLoaded() == view) {
        out.push_back(std::move(vc));
    }
    for (const auto& sub : view->subviews()) {
        controllersUnder(sub, out);
    }
}

}  // namespace

void Application::rotate(DeviceOrientation orientation) {
    const bool wasLandscape = screen_.bounds.width() > screen_.bounds.height();
    deviceOrientation_ = orientation;
    if (!isLandscape(orientation) && !isUpright(orientation)) {
        return;
    }
    for (const auto& scene : scenes_) {
        scene->setInterfaceOrientation(interfaceFor(orientation));
    }
    if (isLandscape(orientation) != wasLandscape) {
        const Rect b = screen_.bounds;
        screen_.bounds = Rect(b.minX(), b.minY(), b.height(), b.width());
        safeArea_ = EdgeInsets{safeArea_.left, safeArea_.top, safeArea_.right, safeArea_.bottom};
    }
    const Size size = screen_.bounds.size;

    std::vector<std::shared_ptr<ViewController>> controllers;
    const auto all = windows();
    for (const auto& window : all) {
        controllersUnder(window, controllers);
    }
    for (const auto& vc : controllers) {
        vc->willTransitionToTraitCollection();
        vc->viewWillTransitionToSize(size);
    }
    for (const auto& window : all) {
        window->setFrame(Rect(window->frame().origin, size));
        if (auto root = window->rootViewController()) {
            if (auto v = root->viewIfLoaded(); v && v->superview() == window) {
                v->setFrame(window->bounds());
            }
        }
    }
}

// ---- State

void Application::resignActive() {
    if (state_ != ApplicationState::active) {
        return;
    }
    state_ = ApplicationState::inactive;
    NotificationCenter::defaultCenter().post(ApplicationWillResignActiveNotification);
}

void Application::becomeActive() {
    if (state_ == ApplicationState::active) {
        return;
    }
    if (state_ == ApplicationState::background) {
        NotificationCenter::defaultCenter().post(ApplicationWillEnterForegroundNotification);
    }
    state_ = ApplicationState::active;
    NotificationCenter::defaultCenter().post(ApplicationDidBecomeActiveNotification);
}

void Application::enterBackground() {
    if (state_ == ApplicationState::background) {
        return;
    }
    resignActive();
    state_ = ApplicationState::background;
    NotificationCenter::defaultCenter().post(ApplicationDidEnterBackgroundNotification);
}

// ---- Keyboard focus

void Application::endEditing() {
    if (auto field = firstResponder()) {
        field->resignFirstResponder();
    }
}

void Application::setFirstResponder(const std::shared_ptr<TextField>& field) {
    firstResponder_ = field;
}

void Application::clearFirstResponder(const TextField* field) {
    if (firstResponder_.lock().get() == field) {
        firstResponder_.reset();
    }
}

void Application::postKeyboard(bool show, const std::shared_ptr<TextField>& field) {
    (void)field;
    if (show == keyboardShown_) {
        return;
    }
    const Rect screen = screen_.bounds;
    const Rect shown(0, screen.height() - keyboardHeight_, screen.width(), keyboardHeight_);
    const Rect hidden(0, screen.height(), screen.width(), keyboardHeight_);
    nlohmann::json info = {
        {std::string(KeyboardFrameEndUserInfoKey), rectToJson(show ? shown : hidden)},
        {"UIKeyboardFrameBeginUserInfoKey", rectToJson(show ? hidden : shown)},
        {"UIKeyboardAnimationDurationUserInfoKey", 0.25},
    };
    auto& center = NotificationCenter::defaultCenter();
    center.post(show ? KeyboardWillShowNotification : KeyboardWillHideNotification, {}, info);
    keyboardShown_ = show;
    center.post(show ? KeyboardDidShowNotification : KeyboardDidHideNotification, {}, info);
}

}  // namespace quillgate::ui

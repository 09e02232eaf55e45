#include "quillgate/ui/ViewController.h"

#include <algorithm>

#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/Window.h"

namespace quillgate::ui {

namespace {
std::string named(const ViewController& vc) {
    return "<" + vc.className() + ">";
}

void stopObservingSubtree(View& view, const void* observer) {
    view.removeObserver(observer);
    for (const auto& sub : view.subviews()) {
        stopObservingSubtree(*sub, observer);
    }
}
}  // namespace

ViewController::ViewController(Token, std::string nibName) : nibName_(std::move(nibName)) {}

ViewController::~ViewController() {
    for (auto& child : children_) {
        child->parent_.reset();
    }
    if (presented_) {
        presented_->presenting_.reset();
    }
}

void ViewController::finish() {
    if (finished_) {
        return;
    }
    finished_ = true;
    deinit();
    // What the platform forgets by itself when a controller goes: its registrations in the
    // notification centre and the key-value observations it made on its own views. Both
    // the whole object's address and this base's are looked up, as either may have been
    // given as the observer.
    const void* whole = dynamic_cast<const void*>(this);
    const void* base = this;
    if (auto* center = NotificationCenter::existingDefaultCenter()) {
        center->removeObserver(whole);
        center->removeObserver(base);
    }
    if (view_) {
        stopObservingSubtree(*view_, whole);
        stopObservingSubtree(*view_, base);
    }
}

Responder* ViewController::nextResponder() const {
    if (view_) {
        if (auto parent = view_->superview()) {
            return parent.get();
        }
    }
    if (auto p = parent_.lock()) {
        return p.get();
    }
    return presenting_.lock().get();
}

// ---- Root view

const std::shared_ptr<View>& ViewController::view() {
    if (!view_ && !loading_) {
        loading_ = true;
        loadView();
        if (!view_) {
            setView(std::make_shared<View>(Application::shared().mainScreen().bounds));
        }
        loading_ = false;
        viewDidLoad();
    }
    return view_;
}

void ViewController::setView(std::shared_ptr<View> view) {
    if (view_ && view_ != view) {
        view_->controller_.reset();
    }
    view_ = std::move(view);
    if (view_) {
        view_->controller_ = weak_from_this();
    }
}

void ViewController::loadView() {
    std::shared_ptr<View> root;
    if (sceneBuilder_) {
        root = sceneBuilder_(this);
    } else if (!nibName_.empty()) {
        root = NibRegistry::shared().instantiate(nibName_, this);
    } else if (NibRegistry::shared().hasNib(className())) {
        root = NibRegistry::shared().instantiate(className(), this);
    }
    if (!root) {
        root = std::make_shared<View>(Application::shared().mainScreen().bounds);
    }
    setView(std::move(root));
}

// ---- Appearance

void ViewController::beginAppearanceTransition(bool isAppearing, bool animated) {
    if (isAppearing) {
        if (appearance_ == AppearanceState::appearing || appearance_ == AppearanceState::appeared) {
            return;
        }
        appearance_ = AppearanceState::appearing;
        transitionAnimated_ = animated;
        viewWillAppear(animated);
    } else {
        if (appearance_ == AppearanceState::disappearing ||
            appearance_ == AppearanceState::disappeared) {
            return;
        }
        appearance_ = AppearanceState::disappearing;
        transitionAnimated_ = animated;
        viewWillDisappear(animated);
    }
}

void ViewController::endAppearanceTransition() {
    if (appearance_ == AppearanceState::appearing) {
        appearance_ = AppearanceState::appeared;
        viewDidAppear(transitionAnimated_);
    } else if (appearance_ == AppearanceState::disappearing) {
        appearance_ = AppearanceState::disappeared;
        viewDidDisappear(transitionAnimated_);
    }
}

// ---- Presentation

ViewController* ViewController::presentationContext() {
    ViewController* top = this;
    while (auto p = top->parent_.lock()) {
        top = p.get();
    }
    return top;
}

const ViewController* ViewController::presentationContext() const {
    return const_cast<ViewController*>(this)->presentationContext();
}

std::shared_ptr<ViewController> ViewController::presentedViewController() const {
    return presentationContext()->presented_;
}

std::shared_ptr<ViewController> ViewController::presentingViewController() const {
    return presentationContext()->presenting_.lock();
}

void ViewController::present(std::shared_ptr<ViewController> controller, bool animated,
                             std::function<void()> completion) {
    if (!controller || controller.get() == this) {
        return;
    }
    auto self = shared_from_this();
    ViewController* context = presentationContext();
    if (auto presenter = controller->presenting_.lock()) {
        platform::log("Application tried to present modally a view controller " +
                      named(*controller) + " that is already being presented by " +
                      named(*presenter) + ".");
        return;
    }
    if (context->presented_) {
        platform::log("Attempt to present " + named(*controller) + " on " + named(*context) +
                      " which is already presenting " + named(*context->presented_) + ".");
        return;
    }
    auto window = context->view_ ? context->view_->window() : nullptr;
    if (!window) {
        platform::log("Attempt to present " + named(*controller) + " on " + named(*context) +
                      " whose view is not in the window hierarchy.");
        return;
    }

    context->presented_ = controller;
    controller->presenting_ = context->weak_from_this();
    const auto& view = controller->view();
    view->setFrame(window->bounds());
    controller->beginAppearanceTransition(true, animated);
    window->addSubview(view);
    controller->endAppearanceTransition();
    if (completion) {
        platform::mainQueue().async(std::move(completion));
    }
}

void ViewController::dismiss(bool animated, std::function<void()> completion) {
    auto self = shared_from_this();
    std::shared_ptr<ViewController> target = presentationContext()->shared_from_this();
    if (!target->presented_) {
        target = target->presenting_.lock();
        if (!target) {
            return;
        }
    }
    // The whole chain above the target goes, topmost first.
    std::vector<std::shared_ptr<ViewController>> chain;
    for (auto p = target->presented_; p; p = p->presented_) {
        chain.push_back(p);
    }
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        auto& vc = *it;
        vc->beginAppearanceTransition(false, animated);
        if (vc->view_) {
            vc->view_->removeFromSuperview();
        }
        vc->endAppearanceTransition();
    }
    for (auto& vc : chain) {
        vc->presenting_.reset();
        vc->presented_.reset();
    }
    target->presented_.reset();
    if (completion) {
        platform::mainQueue().async(std::move(completion));
    }
}

// ---- Containment

void ViewController::addChild(const std::shared_ptr<ViewController>& child) {
    if (!child || child.get() == this) {
        return;
    }
    if (auto old = child->parent_.lock()) {
        if (old.get() == this) {
            return;
        }
        child->removeFromParent();
    }
    child->willMoveToParent(this);
    children_.push_back(child);
    child->parent_ = weak_from_this();
}

void ViewController::removeFromParent() {
    auto parent = parent_.lock();
    if (!parent) {
        return;
    }
    auto self = shared_from_this();
    auto& siblings = parent->children_;
    siblings.erase(std::remove(siblings.begin(), siblings.end(), self), siblings.end());
    parent_.reset();
    didMoveToParent(nullptr);
}

}  // namespace quillgate::ui

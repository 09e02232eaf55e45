#include "quillgate/ui/View.h"

#include <algorithm>

#include "quillgate/ui/GestureRecognizer.h"
#include "quillgate/ui/Layout.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"

namespace quillgate::ui {

namespace {

// The controllers whose root views lie in the subtree of `root`, parents before children.
void collectControllers(const View& root, std::vector<std::shared_ptr<ViewController>>& out) {
    if (auto vc = root.owningViewController(); vc && vc->viewIfLoaded().get() == &root) {
        out.push_back(std::move(vc));
    }
    for (const auto& sub : root.subviews()) {
        collectControllers(*sub, out);
    }
}

void forEachInSubtree(View& root, const std::function<void(View&)>& fn) {
    fn(root);
    // A hook may change the tree: walk a copy.
    auto subs = root.subviews();
    for (const auto& sub : subs) {
        forEachInSubtree(*sub, fn);
    }
}

// Moves `view` under `newParent` (or out of the tree when `newParent` is null),
// telling views and controllers when the move takes the subtree into or out of a window.
void move(const std::shared_ptr<View>& view, View* newParent, const std::function<void()>& detach,
          const std::function<void()>& attach) {
    auto oldWindow = view->window();
    auto newWindow = newParent ? newParent->window() : nullptr;
    const bool leaving = oldWindow && oldWindow != newWindow;
    const bool joining = newWindow && oldWindow != newWindow;

    std::vector<std::shared_ptr<ViewController>> controllers;
    if (leaving || joining) {
        collectControllers(*view, controllers);
    }
    if (leaving) {
        for (auto& vc : controllers)
            vc->beginAppearanceTransition(false, false);
    } else if (joining) {
        for (auto& vc : controllers)
            vc->beginAppearanceTransition(true, false);
    }
    if (leaving || joining) {
        forEachInSubtree(*view, [&](View& v) { v.willMoveToWindow(newWindow); });
    }
    detach();
    if (attach) {
        attach();
    }
    if (leaving || joining) {
        forEachInSubtree(*view, [&](View& v) { v.didMoveToWindow(); });
    }
    if (leaving) {
        for (auto& vc : controllers)
            vc->endAppearanceTransition();
        if (joining) {
            for (auto& vc : controllers)
                vc->beginAppearanceTransition(true, false);
        }
    }
    if (joining) {
        view->layoutIfNeeded();
        for (auto& vc : controllers)
            vc->endAppearanceTransition();
    }
}

}  // namespace

View::~View() {
    for (auto& sub : subviews_) {
        sub->superview_.reset();
    }
}

Responder* View::nextResponder() const {
    if (auto vc = controller_.lock(); vc && vc->viewIfLoaded().get() == this) {
        return vc.get();
    }
    return superview_.lock().get();
}

// ---- Hierarchy

void View::addSubview(const std::shared_ptr<View>& view) {
    insertSubview(view, subviews_.size());
}

void View::insertSubview(const std::shared_ptr<View>& view, std::size_t index) {
    if (!view || view.get() == this || isDescendantOf(*view) || dynamic_cast<Window*>(view.get())) {
        return;
    }
    auto oldParent = view->superview();
    if (oldParent.get() == this) {
        // Only the order changes.
        auto it = std::find(subviews_.begin(), subviews_.end(), view);
        const auto from = static_cast<std::size_t>(it - subviews_.begin());
        subviews_.erase(it);
        if (index > from) {
            --index;
        }
        index = std::min(index, subviews_.size());
        subviews_.insert(subviews_.begin() + static_cast<std::ptrdiff_t>(index), view);
        return;
    }
    auto keep = view;
    move(
        keep, this, [&] { keep->detachFromSuperview(); },
        [&] {
            const auto at = std::min(index, subviews_.size());
            subviews_.insert(subviews_.begin() + static_cast<std::ptrdiff_t>(at), keep);
            keep->superview_ = weak_from_this();
        });
}

void View::insertSubviewBelow(const std::shared_ptr<View>& view,
                              const std::shared_ptr<View>& sibling) {
    auto it = std::find(subviews_.begin(), subviews_.end(), sibling);
    if (it == subviews_.end()) {
        addSubview(view);
        return;
    }
    insertSubview(view, static_cast<std::size_t>(it - subviews_.begin()));
}

void View::insertSubviewAbove(const std::shared_ptr<View>& view,
                              const std::shared_ptr<View>& sibling) {
    auto it = std::find(subviews_.begin(), subviews_.end(), sibling);
    if (it == subviews_.end()) {
        addSubview(view);
        return;
    }
    insertSubview(view, static_cast<std::size_t>(it - subviews_.begin()) + 1);
}

void View::detachFromSuperview() {
    auto parent = superview_.lock();
    if (!parent) {
        superview_.reset();
        return;
    }
    auto& siblings = parent->subviews_;
    auto it = std::find_if(siblings.begin(), siblings.end(),
                           [&](const std::shared_ptr<View>& v) { return v.get() == this; });
    superview_.reset();
    if (it != siblings.end()) {
        siblings.erase(it);  // may drop the parent's reference to this view
    }
}

void View::removeFromSuperview() {
    auto self = weak_from_this().lock();
    if (!self || !superview()) {
        return;
    }
    move(self, nullptr, [&] { self->detachFromSuperview(); }, {});
}

void View::bringSubviewToFront(const std::shared_ptr<View>& view) {
    if (view && view->superview().get() == this) {
        insertSubview(view, subviews_.size());
    }
}

void View::sendSubviewToBack(const std::shared_ptr<View>& view) {
    if (view && view->superview().get() == this) {
        insertSubview(view, 0);
    }
}

bool View::isDescendantOf(const View& view) const {
    for (const View* v = this; v;) {
        if (v == &view) {
            return true;
        }
        auto parent = v->superview_.lock();
        v = parent.get();
    }
    return false;
}

std::shared_ptr<View> View::viewWithTag(int tag) {
    if (tag_ == tag) {
        return weak_from_this().lock();
    }
    for (const auto& sub : subviews_) {
        if (auto found = sub->viewWithTag(tag)) {
            return found;
        }
    }
    return nullptr;
}

std::shared_ptr<View> View::viewWithIdentifier(const std::string& id) {
    if (accessibilityIdentifier_ == id) {
        return weak_from_this().lock();
    }
    for (const auto& sub : subviews_) {
        if (auto found = sub->viewWithIdentifier(id)) {
            return found;
        }
    }
    return nullptr;
}

std::shared_ptr<Window> View::window() const {
    std::shared_ptr<const View> root = weak_from_this().lock();
    if (!root) {
        return nullptr;
    }
    while (auto parent = root->superview()) {
        root = parent;
    }
    return std::dynamic_pointer_cast<Window>(std::const_pointer_cast<View>(root));
}

// ---- Look

void View::setHidden(bool hidden) {
    if (hidden == hidden_) {
        return;
    }
    hidden_ = hidden;
    if (auto parent = superview()) {
        parent->setNeedsLayoutUpToWindow();
    }
}

bool View::canReceiveTouches() const {
    for (auto v = weak_from_this().lock(); v; v = v->superview()) {
        if (v->hidden_ || !v->userInteractionEnabled_ || v->alpha_ < 0.01) {
            return false;
        }
    }
    return true;
}

bool View::isVisibleInTree() const {
    for (auto v = weak_from_this().lock(); v; v = v->superview()) {
        if (v->hidden_) {
            return false;
        }
    }
    return true;
}

// ---- Geometry

void View::setFrame(Rect frame) {
    const bool resized = frame.size != frame_.size;
    frame_ = frame;
    if (resized) {
        setNeedsLayout();
    }
}

void View::setBounds(Rect bounds) {
    setFrame(Rect(frame_.origin, bounds.size));
}

void View::setCenter(Point c) {
    setFrame(
        Rect(c.x - frame_.width() / 2, c.y - frame_.height() / 2, frame_.width(), frame_.height()));
}

void View::invalidateIntrinsicContentSize() {
    setNeedsLayoutUpToWindow();
}

void View::setNeedsLayout() {
    needsLayout_ = true;
    if (auto w = window()) {
        detail::windowNeedsLayout(w);
    }
}

void View::setNeedsLayoutUpToWindow() {
    needsLayout_ = true;
    std::shared_ptr<View> top;
    for (auto v = weak_from_this().lock(); v; v = v->superview()) {
        v->needsLayout_ = true;
        top = v;
    }
    if (auto w = std::dynamic_pointer_cast<Window>(top)) {
        detail::windowNeedsLayout(w);
    }
}

Size View::sizeThatFits(Size fitting) const {
    const double width = fitting.width > 0 ? fitting.width : frame_.width();
    double top = 0;
    double bottom = 0;
    bool any = false;
    for (const auto& sub : subviews_) {
        if (sub->isHidden()) {
            continue;
        }
        const Rect f = sub->frame();
        const double rightMargin = std::max(0.0, frame_.width() - f.maxX());
        const double subWidth = std::max(0.0, width - f.x() - rightMargin);
        top = any ? std::min(top, f.y()) : f.y();
        bottom = std::max(bottom, f.y() + sub->sizeThatFits(Size{subWidth, 0}).height);
        any = true;
    }
    if (!any) {
        return frame_.size;
    }
    return Size{width, bottom + std::max(0.0, top)};
}

// ---- Constraints

void View::keepConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
    if (auto owner = constraint->owner_.lock(); owner && owner.get() != this) {
        owner->removeConstraint(constraint);
    }
    if (std::find(constraints_.begin(), constraints_.end(), constraint) == constraints_.end()) {
        constraints_.push_back(constraint);
    }
    constraint->owner_ = weak_from_this();
}

void View::addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
    if (!constraint) {
        return;
    }
    keepConstraint(constraint);
    constraint->active_ = true;
}

void View::removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
    auto it = std::find(constraints_.begin(), constraints_.end(), constraint);
    if (it != constraints_.end()) {
        constraints_.erase(it);
        constraint->owner_.reset();
        constraint->active_ = false;
    }
}

std::shared_ptr<LayoutConstraint> View::constraintWithIdentifier(const std::string& id) const {
    for (const auto& c : constraints_) {
        if (c->identifier() == id) {
            return c;
        }
    }
    for (const auto& sub : subviews_) {
        if (auto c = sub->constraintWithIdentifier(id)) {
            return c;
        }
    }
    return nullptr;
}

namespace {

// The frame a subview pinned to all four edges of `container` takes, if it is so pinned.
std::optional<Rect> edgePinnedFrame(const View& container, const View& sub) {
    double leading = 0, trailing = 0, top = 0, bottom = 0;
    unsigned found = 0;
    for (const auto& c : container.constraints()) {
        if (!c->isActive() || c->relation() != LayoutRelation::equal || c->multiplier() != 1 ||
            c->firstItem().get() != &sub || c->secondItem().get() != &container ||
            c->firstAttribute() != c->secondAttribute()) {
            continue;
        }
        switch (c->firstAttribute()) {
            case LayoutAttribute::leading:
                leading = c->constant();
                found |= 1;
                break;
            case LayoutAttribute::trailing:
                trailing = -c->constant();
                found |= 2;
                break;
            case LayoutAttribute::top:
                top = c->constant();
                found |= 4;
                break;
            case LayoutAttribute::bottom:
                bottom = -c->constant();
                found |= 8;
                break;
            default:
                break;
        }
    }
    if (found != 15) {
        return std::nullopt;
    }
    return insetRect(container.bounds(), EdgeInsets{top, leading, bottom, trailing});
}

}  // namespace

void View::layoutIfNeeded() {
    auto self = weak_from_this().lock();
    auto vc = controller_.lock();
    const bool isRoot = vc && vc->viewIfLoaded().get() == this;
    if (needsLayout_) {
        needsLayout_ = false;
        if (isRoot) {
            vc->viewWillLayoutSubviews();
        }
        if (!constraints_.empty()) {
            for (const auto& sub : subviews_) {
                if (const auto pinned = edgePinnedFrame(*this, *sub)) {
                    sub->setFrame(*pinned);
                }
            }
        }
        layoutSubviews();
        if (isRoot) {
            vc->viewDidLayoutSubviews();
        }
    }
    auto subs = subviews_;
    for (const auto& sub : subs) {
        sub->layoutIfNeeded();
    }
}

// ---- Touches

void View::addGestureRecognizer(const std::shared_ptr<GestureRecognizer>& recognizer) {
    if (!recognizer) {
        return;
    }
    if (auto old = recognizer->view(); old && old.get() != this) {
        old->removeGestureRecognizer(recognizer);
    }
    if (std::find(recognizers_.begin(), recognizers_.end(), recognizer) == recognizers_.end()) {
        recognizers_.push_back(recognizer);
    }
    recognizer->view_ = weak_from_this();
}

void View::removeGestureRecognizer(const std::shared_ptr<GestureRecognizer>& recognizer) {
    auto it = std::find(recognizers_.begin(), recognizers_.end(), recognizer);
    if (it != recognizers_.end()) {
        (*it)->view_.reset();
        recognizers_.erase(it);
    }
}

std::shared_ptr<View> View::hitTest(Point point) {
    if (hidden_ || !userInteractionEnabled_ || alpha_ < 0.01 || !bounds().contains(point)) {
        return nullptr;
    }
    auto self = weak_from_this().lock();
    for (auto it = subviews_.rbegin(); it != subviews_.rend(); ++it) {
        // A subview may go while another one answers; hold it for the call.
        const std::shared_ptr<View> sub = *it;
        const Rect b = sub->bounds();
        const Point local{point.x - sub->frame_.x() + b.x(), point.y - sub->frame_.y() + b.y()};
        if (auto hit = sub->hitTest(local)) {
            return hit;
        }
    }
    return self;
}

Point View::convertPoint(Point point, const View* view) const {
    // Up to the root from here, then down to `view` by subtracting its offset to the root.
    const auto toRoot = [](const View* v, Point p) {
        for (; v; v = v->superview().get()) {
            const Rect b = v->bounds();
            p.x -= b.x();
            p.y -= b.y();
            if (!v->superview()) {
                break;
            }
            p.x += v->frame_.x();
            p.y += v->frame_.y();
        }
        return p;
    };
    const Point inRoot = toRoot(this, point);
    if (!view) {
        return inRoot;
    }
    const Point origin = toRoot(view, Point{0, 0});
    return Point{inRoot.x - origin.x, inRoot.y - origin.y};
}

bool View::tap() {
    auto self = weak_from_this().lock();
    if (!canReceiveTouches()) {
        return false;
    }
    std::shared_ptr<GestureRecognizer> recognizer;
    for (auto v = self; v && !recognizer; v = v->superview()) {
        for (const auto& r : v->recognizers_) {
            if (r->isEnabled() && dynamic_cast<TapGestureRecognizer*>(r.get())) {
                recognizer = r;
                break;
            }
        }
    }
    touchesBegan();
    if (recognizer) {
        recognizer->fire();
        if (recognizer->cancelsTouchesInView()) {
            touchesCancelled();
            return true;
        }
    }
    touchesEnded();
    return true;
}

// ---- Texts

void View::describeAttributes(std::vector<std::string>& out) const {
    (void)out;
}

void View::notifyObservers(const std::string& keyPath, const std::any& newValue,
                           const std::any& oldValue) {
    auto self = weak_from_this().lock();
    didChangeValue(keyPath, newValue, oldValue);
}

}  // namespace quillgate::ui

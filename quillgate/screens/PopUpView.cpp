#include "quillgate/screens/PopUpView.h"

#include <vector>

#include "quillgate/platform/Log.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "quillgate/ui/WindowScene.h"

namespace quillgate {

namespace {

constexpr const char* kNibName = "PopUpView";
constexpr const char* kCouldNotLoad = "Could not load view from nib file.";

// Height to width of each shape of popup.
constexpr double kBannerRatio = 0.26666666666666666;
constexpr double kSquareRatio = 1.3333333333333333;
constexpr double kWideRatio = 0.7051282051282052;
constexpr double kTallRatio = 1.7027027027027026;

constexpr double kWideInset = 30;
constexpr double kNarrowInset = 15;
constexpr double kBottomInset = 30;
// Lifts the tall popups of "4" and "5" so that their lower part stays over the article.
constexpr double kTallLift = 55;
constexpr double kTopOffsetWithoutNavigation = 100;
constexpr double kTopOffsetBelowNavigation = 5;
// The headless navigation controller draws no bar of its own: its standard height stands in.
constexpr double kNavigationBarHeight = 44;

using ui::LayoutAttribute;
using ui::LayoutConstraint;
using ui::LayoutRelation;

// The height of the key window's status bar, 0 when there is none to ask.
double statusBarHeight() {
    auto window = ui::Application::shared().keyWindow();
    if (!window) {
        return 0;
    }
    auto scene = window->windowScene();
    return scene ? scene->statusBarFrame().size.height : 0;
}

}  // namespace

std::shared_ptr<PopUpView> PopUpView::loadFromNib() {
    auto& registry = ui::NibRegistry::shared();
    if (!registry.hasNib(kNibName)) {
        platform::fatal(kCouldNotLoad);
    }
    auto popup = std::dynamic_pointer_cast<PopUpView>(registry.instantiate(kNibName));
    if (!popup) {
        platform::fatal(kCouldNotLoad);
    }
    return popup;
}

double PopUpView::topOffset(const std::shared_ptr<ui::View>& parent) {
    const ui::ViewController* controller = nullptr;
    for (const ui::Responder* r = parent.get(); r && !controller; r = r->nextResponder()) {
        controller = dynamic_cast<const ui::ViewController*>(r);
    }
    if (!controller) {
        return kTopOffsetWithoutNavigation;
    }
    for (auto up = controller->parent(); up; up = up->parent()) {
        if (std::dynamic_pointer_cast<ui::NavigationController>(up)) {
            return statusBarHeight() + kNavigationBarHeight + kTopOffsetBelowNavigation;
        }
    }
    return kTopOffsetWithoutNavigation;
}

void PopUpView::place(const std::shared_ptr<ui::View>& parent, const std::string& position) {
    if (!parent) {
        return;
    }
    const bool wide = position == "1" || position == "2" || position == "3" || position == "8";
    const bool tall = position == "4" || position == "5" || position == "6" || position == "7";
    if (!wide && !tall) {
        return;
    }
    auto self = std::static_pointer_cast<ui::View>(shared_from_this());
    const ui::Rect bounds = parent->bounds();
    const double parentWidth = bounds.size.width;
    const double parentHeight = bounds.size.height;

    std::vector<std::shared_ptr<LayoutConstraint>> constraints;
    double ratio = 0;
    ui::Rect frame;
    if (wide) {
        ratio = position == "1" || position == "3" ? kBannerRatio
                : position == "2"                  ? kSquareRatio
                                                   : kWideRatio;
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::leading, parent, kWideInset));
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::trailing, parent, -kWideInset));
        frame.origin.x = kWideInset;
        frame.size.width = parentWidth - 2 * kWideInset;
    } else {
        ratio = kTallRatio;
        constraints.push_back(LayoutConstraint::make(self, LayoutAttribute::width,
                                                     LayoutRelation::equal, parent,
                                                     LayoutAttribute::width, 0.5));
        frame.size.width = 0.5 * parentWidth;
        if (position == "4" || position == "6") {
            constraints.push_back(
                LayoutConstraint::equal(self, LayoutAttribute::leading, parent, kNarrowInset));
            frame.origin.x = kNarrowInset;
        } else {
            constraints.push_back(
                LayoutConstraint::equal(self, LayoutAttribute::trailing, parent, -kNarrowInset));
            frame.origin.x = parentWidth - kNarrowInset - frame.size.width;
        }
    }
    constraints.push_back(LayoutConstraint::make(
        self, LayoutAttribute::height, LayoutRelation::equal, self, LayoutAttribute::width, ratio));
    frame.size.height = frame.size.width * ratio;

    if (position == "1") {
        const double top = topOffset(parent);
        constraints.push_back(LayoutConstraint::equal(self, LayoutAttribute::top, parent, top));
        frame.origin.y = top;
    } else if (position == "2") {
        constraints.push_back(LayoutConstraint::equal(self, LayoutAttribute::centerY, parent));
        frame.origin.y = (parentHeight - frame.size.height) / 2;
    } else if (position == "4" || position == "5") {
        const double lift = ratio * 0.5 * parent->frame().size.width - kTallLift;
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::bottom, parent, -lift));
        frame.origin.y = parentHeight - lift - frame.size.height;
    } else {
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::bottom, parent, -kBottomInset));
        frame.origin.y = parentHeight - kBottomInset - frame.size.height;
    }

    for (const auto& constraint : constraints) {
        constraint->setActive(true);
    }
    setFrame(frame);
}

}  // namespace quillgate

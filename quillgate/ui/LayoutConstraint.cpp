#include "quillgate/ui/LayoutConstraint.h"

#include <cmath>
#include <cstdio>

#include "quillgate/ui/View.h"

namespace quillgate::ui {

const char* layoutAttributeName(LayoutAttribute attribute) {
    switch (attribute) {
        case LayoutAttribute::notAnAttribute:
            return "notAnAttribute";
        case LayoutAttribute::left:
            return "left";
        case LayoutAttribute::right:
            return "right";
        case LayoutAttribute::top:
            return "top";
        case LayoutAttribute::bottom:
            return "bottom";
        case LayoutAttribute::leading:
            return "leading";
        case LayoutAttribute::trailing:
            return "trailing";
        case LayoutAttribute::width:
            return "width";
        case LayoutAttribute::height:
            return "height";
        case LayoutAttribute::centerX:
            return "centerX";
        case LayoutAttribute::centerY:
            return "centerY";
        case LayoutAttribute::firstBaseline:
            return "firstBaseline";
        case LayoutAttribute::lastBaseline:
            return "lastBaseline";
    }
    return "notAnAttribute";
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::make(const std::shared_ptr<View>& first,
                                                         LayoutAttribute firstAttribute,
                                                         LayoutRelation relation,
                                                         const std::shared_ptr<View>& second,
                                                         LayoutAttribute secondAttribute,
                                                         double multiplier, double constant) {
    std::shared_ptr<LayoutConstraint> c(new LayoutConstraint());
    c->first_ = first;
    c->firstAttribute_ = firstAttribute;
    c->relation_ = relation;
    c->second_ = second;
    c->secondAttribute_ = second ? secondAttribute : LayoutAttribute::notAnAttribute;
    c->multiplier_ = multiplier;
    c->constant_ = constant;
    return c;
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::equal(const std::shared_ptr<View>& first,
                                                          LayoutAttribute attribute,
                                                          const std::shared_ptr<View>& second,
                                                          double constant) {
    return make(first, attribute, LayoutRelation::equal, second, attribute, 1, constant);
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::constantSize(const std::shared_ptr<View>& first,
                                                                 LayoutAttribute attribute,
                                                                 double constant) {
    return make(first, attribute, LayoutRelation::equal, nullptr, LayoutAttribute::notAnAttribute,
                1, constant);
}

void LayoutConstraint::activate(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints) {
    for (const auto& c : constraints) {
        if (c) {
            c->setActive(true);
        }
    }
}

void LayoutConstraint::deactivate(
    const std::vector<std::shared_ptr<LayoutConstraint>>& constraints) {
    for (const auto& c : constraints) {
        if (c) {
            c->setActive(false);
        }
    }
}

void LayoutConstraint::setConstant(double constant) {
    if (constant != constant_) {
        constant_ = constant;
        needsLayout();
    }
}

void LayoutConstraint::needsLayout() const {
    auto view = owner_.lock();
    if (!view) {
        view = first_.lock();
    }
    if (view) {
        view->setNeedsLayoutUpToWindow();
    }
}

void LayoutConstraint::setActive(bool active) {
    if (active && !owner_.lock()) {
        auto first = first_.lock();
        auto second = second_.lock();
        std::shared_ptr<View> keeper = first;
        if (first && second) {
            // The nearest common ancestor of both items.
            keeper = nullptr;
            for (auto v = first; v; v = v->superview()) {
                if (second->isDescendantOf(*v)) {
                    keeper = v;
                    break;
                }
            }
            if (!keeper) {
                keeper = first;
            }
        }
        if (keeper) {
            keeper->keepConstraint(shared_from_this());
        }
    }
    if (active != active_) {
        active_ = active;
        needsLayout();
    }
}

std::string LayoutConstraint::description() const {
    auto item = [](const std::shared_ptr<View>& v) {
        return v ? v->className() : std::string("nil");
    };
    auto num = [](double v) {
        char out[32];
        if (v == std::floor(v) && std::fabs(v) < 1e15) {
            std::snprintf(out, sizeof out, "%lld", static_cast<long long>(v));
        } else {
            std::snprintf(out, sizeof out, "%g", v);
        }
        return std::string(out);
    };
    const char* rel = relation_ == LayoutRelation::equal             ? "=="
                      : relation_ == LayoutRelation::lessThanOrEqual ? "<="
                                                                     : ">=";
    std::string text = item(firstItem()) + "." + layoutAttributeName(firstAttribute_) + " " + rel;
    if (auto second = secondItem()) {
        text += " " + item(second) + "." + layoutAttributeName(secondAttribute_);
        if (multiplier_ != 1) {
            text += " * " + num(multiplier_);
        }
        if (constant_ != 0) {
            text += (constant_ < 0 ? " - " : " + ") + num(std::fabs(constant_));
        }
    } else {
        text += " " + num(constant_);
    }
    if (!identifier_.empty()) {
        text += " id=" + identifier_;
    }
    text += active_ ? " (active)" : " (inactive)";
    return text;
}

std::vector<std::shared_ptr<LayoutConstraint>> pinToEdges(const std::shared_ptr<View>& view,
                                                          const std::shared_ptr<View>& container,
                                                          EdgeInsets insets) {
    if (!view || !container) {
        return {};
    }
    std::vector<std::shared_ptr<LayoutConstraint>> constraints = {
        LayoutConstraint::equal(view, LayoutAttribute::leading, container, insets.left),
        LayoutConstraint::equal(view, LayoutAttribute::trailing, container, -insets.right),
        LayoutConstraint::equal(view, LayoutAttribute::top, container, insets.top),
        LayoutConstraint::equal(view, LayoutAttribute::bottom, container, -insets.bottom),
    };
    LayoutConstraint::activate(constraints);
    view->setFrame(insetRect(container->bounds(), insets));
    return constraints;
}

}  // namespace quillgate::ui

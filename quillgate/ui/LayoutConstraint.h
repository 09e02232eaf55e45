#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quillgate/ui/Geometry.h"

// A layout constraint, recorded and never solved: first item and attribute, relation, second
// item and attribute, multiplier, constant, priority, active flag and identifier. Screens
// flip constraints on and off and change constants; tests read them back. Nib builders set
// the frames themselves, and each scene's layoutSubviews reads the constants and active flags
// it depends on: a change of either marks the view that keeps the constraint (or its first
// item) and every ancestor for layout, so the next layout pass places the views anew.
//
// Ownership: a constraint is kept by one view (the one it was added to, or, on activation,
// the nearest common ancestor of its items). It stays there when deactivated, so a weak
// outlet to it stays bound, and a screen can switch between two alternative constraints by
// their active flags without losing one. Items are held weakly. Main thread only.
namespace quillgate::ui {

class View;

enum class LayoutAttribute {
    notAnAttribute,
    left,
    right,
    top,
    bottom,
    leading,
    trailing,
    width,
    height,
    centerX,
    centerY,
    firstBaseline,
    lastBaseline,
};

enum class LayoutRelation { lessThanOrEqual = -1, equal = 0, greaterThanOrEqual = 1 };

const char* layoutAttributeName(LayoutAttribute attribute);

class LayoutConstraint : public std::enable_shared_from_this<LayoutConstraint> {
  public:
    static constexpr float requiredPriority = 1000;

    // A new, inactive constraint "first.attribute relation second.attribute * multiplier +
    // constant". For a size constant, `second` is null and its attribute notAnAttribute.
    static std::shared_ptr<LayoutConstraint> make(const std::shared_ptr<View>& first,
                                                  LayoutAttribute firstAttribute,
                                                  LayoutRelation relation,
                                                  const std::shared_ptr<View>& second,
                                                  LayoutAttribute secondAttribute,
                                                  double multiplier = 1, double constant = 0);
    // "first.attribute == second.attribute + constant".
    static std::shared_ptr<LayoutConstraint> equal(const std::shared_ptr<View>& first,
                                                   LayoutAttribute attribute,
                                                   const std::shared_ptr<View>& second,
                                                   double constant = 0);
    // "first.attribute == constant" (width or height).
    static std::shared_ptr<LayoutConstraint> constantSize(const std::shared_ptr<View>& first,
                                                          LayoutAttribute attribute,
                                                          double constant);

    // Activates / deactivates each of them.
    static void activate(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints);
    static void deactivate(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints);

    std::shared_ptr<View> firstItem() const { return first_.lock(); }
    std::shared_ptr<View> secondItem() const { return second_.lock(); }
    LayoutAttribute firstAttribute() const { return firstAttribute_; }
    LayoutAttribute secondAttribute() const { return secondAttribute_; }
    LayoutRelation relation() const { return relation_; }
    double multiplier() const { return multiplier_; }

    double constant() const { return constant_; }
    void setConstant(double constant);
    float priority() const { return priority_; }
    void setPriority(float priority) { priority_ = priority; }
    const std::string& identifier() const { return identifier_; }
    void setIdentifier(std::string id) { identifier_ = std::move(id); }

    bool isActive() const { return active_; }
    // Activating a constraint that no view keeps yet puts it on the nearest common ancestor
    // of its items (or on the first item).
    void setActive(bool active);

    // The view that keeps this constraint, if any.
    std::shared_ptr<View> owner() const { return owner_.lock(); }

    // "first.width == second.width * 0.5 + 10 (active)" with class names for items.
    std::string description() const;

  private:
    friend class View;
    LayoutConstraint() = default;
    void needsLayout() const;

    std::weak_ptr<View> first_;
    std::weak_ptr<View> second_;
    LayoutAttribute firstAttribute_ = LayoutAttribute::notAnAttribute;
    LayoutAttribute secondAttribute_ = LayoutAttribute::notAnAttribute;
    LayoutRelation relation_ = LayoutRelation::equal;
    double multiplier_ = 1;
    double constant_ = 0;
    float priority_ = requiredPriority;
    std::string identifier_;
    bool active_ = false;
    std::weak_ptr<View> owner_;
};

// Pins `view` to the four edges of `container` (leading, trailing, top, bottom, each equal
// with a constant from `insets`), activates the four constraints in one go and, as there is
// no solver, sets the view's frame to the container's bounds less the insets. Returns the
// constraints in that order. `view` should already be a subview of `container`.
std::vector<std::shared_ptr<LayoutConstraint>> pinToEdges(const std::shared_ptr<View>& view,
                                                          const std::shared_ptr<View>& container,
                                                          EdgeInsets insets = {});

}  // namespace quillgate::ui

#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/Geometry.h"
#include "quillgate/ui/KeyValueObservable.h"
#include "quillgate/ui/Responder.h"

// The node of the headless view tree. Views are always held by shared_ptr (make them with
// std::make_shared): a parent holds its subviews, a subview knows its parent weakly, so that
// dropping a subtree frees it. A view whose root ancestor is a Window is "in the window";
// joining or leaving a window tells the controllers whose root views are in the moving
// subtree (viewWillAppear / viewDidAppear / viewWillDisappear / viewDidDisappear).
//
// Properties are plain values that screens set and tests read back. There is no constraint
// solver: builders set frames, constraints are recorded (LayoutConstraint), and each scene
// lays itself out in code, measuring down, sizing up and then placing (ui/Layout.h tells how
// and when). Main thread only.
namespace quillgate::platform {
class Canvas;
}

namespace quillgate::ui {

class GestureRecognizer;
class LayoutConstraint;
class ViewController;
class Window;

// Corners of a layer, as mask bits; screens combine them, so the values are fixed.
enum Corner : unsigned {
    minXMinYCorner = 1u << 0,  // top left
    maxXMinYCorner = 1u << 1,  // top right
    minXMaxYCorner = 1u << 2,  // bottom left
    maxXMaxYCorner = 1u << 3,  // bottom right
    allCorners = 0xFu,
};
using CornerMask = unsigned;

// The look of a view's layer: rounding, border, shadow and mask.
struct QUILLGATE_EXPORT Layer {
    double cornerRadius = 0;
    double borderWidth = 0;
    std::optional<Color> borderColor;  // absent: no border colour (cleared)
    CornerMask maskedCorners = allCorners;
    bool masksToBounds = false;
    std::optional<Color> shadowColor;
    Size shadowOffset{0, -3};
    double shadowRadius = 3;
    double shadowOpacity = 0;

    // A shape mask of a rounded rectangle, rounding only `corners` (the "round selected
    // corners" helper sets one).
    struct RoundedMask {
        Rect bounds;
        CornerMask corners = allCorners;
        double radius = 0;
        friend bool operator==(const RoundedMask&, const RoundedMask&) = default;
    };
    std::optional<RoundedMask> mask;
};

enum class ContentMode {
    scaleToFill,
    scaleAspectFit,
    scaleAspectFill,
    center,
    top,
    bottom,
    left,
    right
};

class QUILLGATE_EXPORT View : public Responder,
                              public KeyValueObservable,
                              public std::enable_shared_from_this<View> {
  public:
    View() = default;
    explicit View(Rect frame) : frame_(frame) {}
    ~View() override;
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    std::string className() const override { return "View"; }
    Responder* nextResponder() const override;

    // ---- Identity
    int tag() const { return tag_; }
    void setTag(int tag) { tag_ = tag; }
    const std::string& accessibilityIdentifier() const { return accessibilityIdentifier_; }
    void setAccessibilityIdentifier(std::string id) { accessibilityIdentifier_ = std::move(id); }

    // ---- Hierarchy
    std::shared_ptr<View> superview() const { return superview_.lock(); }
    const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }
    // Adds `view` on top of the subviews. A view that has another parent leaves it first;
    // adding a view to itself or to one of its own descendants is ignored.
    void addSubview(const std::shared_ptr<View>& view);
    // Inserts at `index` (clipped to the end).
    void insertSubview(const std::shared_ptr<View>& view, std::size_t index);
    void insertSubviewBelow(const std::shared_ptr<View>& view,
                            const std::shared_ptr<View>& sibling);
    void insertSubviewAbove(const std::shared_ptr<View>& view,
                            const std::shared_ptr<View>& sibling);
    void removeFromSuperview();
    void bringSubviewToFront(const std::shared_ptr<View>& view);
    void sendSubviewToBack(const std::shared_ptr<View>& view);
    // True if this is `view` or lies below it.
    bool isDescendantOf(const View& view) const;
    // The first view with this tag, depth first, this view included.
    std::shared_ptr<View> viewWithTag(int tag);
    // The first view with this accessibility identifier, depth first, this view included.
    std::shared_ptr<View> viewWithIdentifier(const std::string& id);
    // The window this view is in, if any (a window answers itself).
    std::shared_ptr<Window> window() const;
    // The controller whose root view this is, if any.
    std::shared_ptr<ViewController> owningViewController() const { return controller_.lock(); }

    // ---- Look
    bool isHidden() const { return hidden_; }
    // A hidden view takes no room: showing or hiding one lays its superview out again.
    void setHidden(bool hidden);
    double alpha() const { return alpha_; }
    void setAlpha(double alpha) { alpha_ = alpha; }
    const std::optional<Color>& backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(std::optional<Color> color) { backgroundColor_ = color; }
    const std::optional<Color>& tintColor() const { return tintColor_; }
    void setTintColor(std::optional<Color> color) { tintColor_ = color; }
    bool clipsToBounds() const { return layer_.masksToBounds; }
    void setClipsToBounds(bool clips) { layer_.masksToBounds = clips; }
    Layer& layer() { return layer_; }
    const Layer& layer() const { return layer_; }
    ContentMode contentMode() const { return contentMode_; }
    void setContentMode(ContentMode mode) { contentMode_ = mode; }
    // False for labels and image views (they show, they don't act), true for other views.
    bool isUserInteractionEnabled() const { return userInteractionEnabled_; }
    void setUserInteractionEnabled(bool enabled) { userInteractionEnabled_ = enabled; }
    // True when this view and all its ancestors are shown, opaque enough (alpha of 0.01 or
    // more) and take touches: the condition for a reader's tap to reach it.
    bool canReceiveTouches() const;
    // True when this view and all its ancestors are shown.
    bool isVisibleInTree() const;

    // ---- Geometry
    Rect frame() const { return frame_; }
    virtual void setFrame(Rect frame);
    // The view's own coordinate space: origin at (0, 0) (a scroll view's origin follows its
    // content offset), size of the frame.
    virtual Rect bounds() const { return Rect(Point{}, frame_.size); }
    void setBounds(Rect bounds);
    Point center() const { return Point{frame_.midX(), frame_.midY()}; }
    void setCenter(Point c);
    // The size this view would like at most `fitting.width` wide (0: its own width; the
    // height asked is ignored). A plain view with no shown subviews answers its frame's size.
    // A plain container measures its shown subviews at the widths that keep their side
    // margins, at their places, and is as high as the lowest of them reaches plus, below it,
    // the margin above the highest (a padding that is the same at top and bottom); it is as
    // wide as asked. Labels, buttons, fields, image views and stack views answer from their
    // content. Cells may override it to give their automatic row height.
    virtual Size sizeThatFits(Size fitting) const;
    // Insets of the window for the window itself; zero for other views.
    virtual EdgeInsets safeAreaInsets() const { return {}; }

    // ---- Layout (recorded, not solved)
    bool translatesAutoresizingMaskIntoConstraints() const { return translatesAutoresizing_; }
    void setTranslatesAutoresizingMaskIntoConstraints(bool on) { translatesAutoresizing_ = on; }
    const std::vector<std::shared_ptr<LayoutConstraint>>& constraints() const {
        return constraints_;
    }
    // Keeps `constraint` on this view and activates it.
    void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint);
    void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint);
    // The first constraint with this identifier kept on this view or below it.
    std::shared_ptr<LayoutConstraint> constraintWithIdentifier(const std::string& id) const;
    // Marks the view for layout: after the main-queue task in progress (for a view in a
    // window), or at the next `layoutIfNeeded`, its `layoutSubviews` runs (and the owning
    // controller's viewWillLayoutSubviews / viewDidLayoutSubviews around it). A change of the
    // frame's size marks the view too. Before `layoutSubviews`, a subview whose four edges are
    // pinned to this view (active "equal" constraints on leading, trailing, top and bottom, as
    // `pinToEdges` makes) takes this view's bounds less the constants: the one constraint
    // shape the toolkit follows by itself, so that a wall filling its parent follows the
    // parent through a rotation.
    void setNeedsLayout();
    bool needsLayout() const { return needsLayout_; }
    void layoutIfNeeded();
    virtual void layoutSubviews() {}
    // Asks for a redraw; counted so that a test can see that one was asked for.
    void setNeedsDisplay() { ++displayRequests_; }
    int displayRequests() const { return displayRequests_; }

    // ---- Drawing
    // Views with a look of their own (a dashed line, a gradient) paint it here, in their own
    // bounds' coordinates, over their background and beneath their subviews. The renderer
    // calls it with the view's bounds; the default paints nothing.
    virtual void draw(platform::Canvas& canvas, const Rect& rect) {
        (void)canvas;
        (void)rect;
    }

    // ---- Touches
    // The front-most view under `point` (in this view's bounds coordinates) that takes
    // touches: a descendant or this view itself. Nothing when the point lies outside the
    // bounds or the view is hidden, faded out (alpha below 0.01) or takes no touches; a subview
    // is looked at only where it lies inside its superview, front-most (last added) first, so
    // a label that takes no touches lets the point through to the view beneath it.
    std::shared_ptr<View> hitTest(Point point);
    // Where `point`, in this view's bounds coordinates, lies in `view`'s, or in the window's
    // when `view` is null. Both must be in one tree.
    Point convertPoint(Point point, const View* view) const;
    void addGestureRecognizer(const std::shared_ptr<GestureRecognizer>& recognizer);
    void removeGestureRecognizer(const std::shared_ptr<GestureRecognizer>& recognizer);
    const std::vector<std::shared_ptr<GestureRecognizer>>& gestureRecognizers() const {
        return recognizers_;
    }
    // Acts as a reader's tap on this view, in a window or not: nothing happens unless
    // `canReceiveTouches`. The touch begins here, the first enabled tap recogniser of this
    // view or of its nearest ancestor that has one fires, then the touch ends (or is
    // cancelled when a recogniser took it). Returns whether the tap reached the view.
    virtual bool tap();

    // ---- Hooks
    // After a nib builder made the tree and bound the outlets.
    virtual void awakeFromNib() {}
    // Around a move into or out of a window (called on every view of the moving subtree).
    virtual void willMoveToWindow(const std::shared_ptr<Window>& newWindow) { (void)newWindow; }
    virtual void didMoveToWindow() {}

    // Key texts of this view for tree texts ("text=\"...\"" etc.); subclasses append theirs.
    virtual void describeAttributes(std::vector<std::string>& out) const;

  protected:
    // The content that sets this view's fitting size changed (a label's text or font): the
    // view and its superview are laid out again.
    void invalidateIntrinsicContentSize();
    // Runs the key-value observers of `keyPath` while keeping this view alive.
    void notifyObservers(const std::string& keyPath, const std::any& newValue,
                         const std::any& oldValue);

  private:
    friend class ViewController;
    friend class LayoutConstraint;

    void keepConstraint(const std::shared_ptr<LayoutConstraint>& constraint);
    void detachFromSuperview();
    // Marks this view and every ancestor (a size that changes here may change theirs).
    void setNeedsLayoutUpToWindow();

    int tag_ = 0;
    std::string accessibilityIdentifier_;
    std::weak_ptr<View> superview_;
    std::vector<std::shared_ptr<View>> subviews_;
    std::weak_ptr<ViewController> controller_;

    bool hidden_ = false;
    double alpha_ = 1.0;
    std::optional<Color> backgroundColor_;
    std::optional<Color> tintColor_;
    Layer layer_;
    ContentMode contentMode_ = ContentMode::scaleToFill;

  protected:
    bool userInteractionEnabled_ = true;

  private:
    Rect frame_;
    bool translatesAutoresizing_ = true;
    std::vector<std::shared_ptr<LayoutConstraint>> constraints_;
    bool needsLayout_ = true;
    int displayRequests_ = 0;
    std::vector<std::shared_ptr<GestureRecognizer>> recognizers_;
};

}  // namespace quillgate::ui

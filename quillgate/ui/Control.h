#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "quillgate/ui/View.h"

// Controls: views that send actions for events (touch up inside, value changed, editing
// changed, ...) and have enabled / selected / highlighted state. An action is a function;
// it may carry the target it belongs to and an action name ("btnSubmitAction:"), which makes
// registering the same target, name and events a second time a no-op as on the original
// platform, and lets tests check how a screen wired its controls. Main thread only.
namespace quillgate::ui {

enum class ControlEvent : unsigned {
    touchDown = 1u << 0,
    touchDownRepeat = 1u << 1,
    touchDragInside = 1u << 2,
    touchDragOutside = 1u << 3,
    touchDragEnter = 1u << 4,
    touchDragExit = 1u << 5,
    touchUpInside = 1u << 6,
    touchUpOutside = 1u << 7,
    touchCancel = 1u << 8,
    valueChanged = 1u << 12,
    primaryActionTriggered = 1u << 13,
    editingDidBegin = 1u << 16,
    editingChanged = 1u << 17,
    editingDidEnd = 1u << 18,
    editingDidEndOnExit = 1u << 19,
    allTouchEvents = 0x00000FFFu,
    allEditingEvents = 0x000F0000u,
    allEvents = 0xFFFFFFFFu,
};

constexpr ControlEvent operator|(ControlEvent a, ControlEvent b) {
    return static_cast<ControlEvent>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool intersects(ControlEvent a, ControlEvent b) {
    return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}

// State flags; combinations ("selected | highlighted") key their own titles.
enum class ControlState : unsigned { normal = 0, highlighted = 1, disabled = 2, selected = 4 };

constexpr ControlState operator|(ControlState a, ControlState b) {
    return static_cast<ControlState>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

// Fixed numbering: screens store and compare these values.
enum class ContentHorizontalAlignment {
    center = 0,
    left = 1,
    right = 2,
    fill = 3,
    leading = 4,
    trailing = 5
};
enum class ContentVerticalAlignment { center = 0, top = 1, bottom = 2, fill = 3 };

class Control : public View {
  public:
    using Action = std::function<void(Control&)>;

    Control() = default;
    explicit Control(Rect frame) : View(frame) {}

    std::string className() const override { return "Control"; }

    // Registers `action` under `target` and `actionName` for `events`.
    void addTarget(const void* target, std::string actionName, Action action, ControlEvent events);
    // Registers an anonymous action.
    void addAction(Action action, ControlEvent events);
    // Removes the registrations of `target` (all targets when null) for these events.
    void removeTarget(const void* target, ControlEvent events = ControlEvent::allEvents);
    // Names of the actions registered for `event`, in order ("" for anonymous ones).
    std::vector<std::string> actionNames(ControlEvent event) const;
    std::size_t actionCount(ControlEvent event) const;
    // Runs the actions registered for any of `events`, in registration order.
    void sendActions(ControlEvent events);

    bool isEnabled() const { return enabled_; }
    virtual void setEnabled(bool enabled) { enabled_ = enabled; }
    bool isSelected() const { return selected_; }
    virtual void setSelected(bool selected) { selected_ = selected; }
    bool isHighlighted() const { return highlighted_; }
    virtual void setHighlighted(bool highlighted) { highlighted_ = highlighted; }
    ControlState state() const;

    ContentHorizontalAlignment contentHorizontalAlignment() const { return hAlign_; }
    void setContentHorizontalAlignment(ContentHorizontalAlignment a) { hAlign_ = a; }
    ContentVerticalAlignment contentVerticalAlignment() const { return vAlign_; }
    void setContentVerticalAlignment(ContentVerticalAlignment a) { vAlign_ = a; }

    // A reader's tap: when the control can receive touches and is enabled, the touch begins
    // (highlight, touchDown) and ends inside (touchUpInside). Returns whether it reached an
    // enabled control.
    bool tap() override;

    // A control tracks its touches itself and doesn't pass them along the responder chain.
    void touchesBegan() override;
    void touchesEnded() override;
    void touchesCancelled() override;

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    struct Entry {
        const void* target;
        std::string name;
        std::shared_ptr<Action> action;
        ControlEvent events;
    };
    std::vector<Entry> actions_;
    bool enabled_ = true;
    bool selected_ = false;
    bool highlighted_ = false;
    ContentHorizontalAlignment hAlign_ = ContentHorizontalAlignment::center;
    ContentVerticalAlignment vAlign_ = ContentVerticalAlignment::center;
};

}  // namespace quillgate::ui

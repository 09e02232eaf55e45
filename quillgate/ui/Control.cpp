#include "quillgate/ui/Control.h"

#include <algorithm>

namespace quillgate::ui {

void Control::addTarget(const void* target, std::string actionName, Action action,
                        ControlEvent events) {
    if (!action) {
        return;
    }
    if (target && !actionName.empty()) {
        for (const auto& e : actions_) {
            if (e.target == target && e.name == actionName && e.events == events) {
                return;
            }
        }
    }
    actions_.push_back(
        Entry{target, std::move(actionName), std::make_shared<Action>(std::move(action)), events});
}

void Control::addAction(Action action, ControlEvent events) {
    addTarget(nullptr, {}, std::move(action), events);
}

void Control::removeTarget(const void* target, ControlEvent events) {
    std::erase_if(actions_, [&](const Entry& e) {
        return (!target || e.target == target) && intersects(e.events, events);
    });
}

std::vector<std::string> Control::actionNames(ControlEvent event) const {
    std::vector<std::string> names;
    for (const auto& e : actions_) {
        if (intersects(e.events, event)) {
            names.push_back(e.name);
        }
    }
    return names;
}

std::size_t Control::actionCount(ControlEvent event) const {
    return static_cast<std::size_t>(
        std::count_if(actions_.begin(), actions_.end(),
                      [&](const Entry& e) { return intersects(e.events, event); }));
}

void Control::sendActions(ControlEvent events) {
    // Actions may change the registrations or free this control's tree.
    auto self = weak_from_this().lock();
    std::vector<std::shared_ptr<Action>> due;
    for (const auto& e : actions_) {
        if (intersects(e.events, events)) {
            due.push_back(e.action);
        }
    }
    for (const auto& action : due) {
        (*action)(*this);
    }
}

ControlState Control::state() const {
    unsigned s = 0;
    if (highlighted_)
        s |= static_cast<unsigned>(ControlState::highlighted);
    if (!enabled_)
        s |= static_cast<unsigned>(ControlState::disabled);
    if (selected_)
        s |= static_cast<unsigned>(ControlState::selected);
    return static_cast<ControlState>(s);
}

bool Control::tap() {
    auto self = weak_from_this().lock();
    if (!canReceiveTouches() || !enabled_) {
        return false;
    }
    touchesBegan();
    touchesEnded();
    return true;
}

void Control::touchesBegan() {
    setHighlighted(true);
    sendActions(ControlEvent::touchDown);
}

void Control::touchesEnded() {
    setHighlighted(false);
    sendActions(ControlEvent::touchUpInside | ControlEvent::primaryActionTriggered);
}

void Control::touchesCancelled() {
    setHighlighted(false);
    sendActions(ControlEvent::touchCancel);
}

void Control::describeAttributes(std::vector<std::string>& out) const {
    if (!enabled_)
        out.push_back("disabled");
    if (selected_)
        out.push_back("selected");
}

}  // namespace quillgate::ui

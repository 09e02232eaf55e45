#include "quillgate/ui/GestureRecognizer.h"

namespace quillgate::ui {

GestureRecognizer::GestureRecognizer(Action action, std::string actionName) {
    addAction(std::move(action), std::move(actionName));
}

void GestureRecognizer::addAction(Action action, std::string actionName) {
    if (action) {
        actions_.push_back(Entry{std::move(action), std::move(actionName)});
    }
}

std::vector<std::string> GestureRecognizer::actionNames() const {
    std::vector<std::string> names;
    for (const auto& a : actions_) {
        names.push_back(a.name);
    }
    return names;
}

void GestureRecognizer::fire() {
    // An action may add actions or drop the view that holds this recogniser.
    auto actions = actions_;
    for (auto& a : actions) {
        a.action(*this);
    }
}

}  // namespace quillgate::ui

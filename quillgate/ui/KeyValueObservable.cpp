#include "quillgate/ui/KeyValueObservable.h"

#include <algorithm>

namespace quillgate::ui {

void KeyValueObservable::addObserver(const void* observer, std::string keyPath, Handler handler) {
    entries_.push_back(
        Entry{observer, std::move(keyPath), std::make_shared<Handler>(std::move(handler))});
}

void KeyValueObservable::removeObserver(const void* observer, const std::string& keyPath) {
    for (auto it = entries_.rbegin(); it != entries_.rend(); ++it) {
        if (it->observer == observer && it->keyPath == keyPath) {
            entries_.erase(std::next(it).base());
            return;
        }
    }
}

void KeyValueObservable::removeObserver(const void* observer) {
    std::erase_if(entries_, [&](const Entry& e) { return e.observer == observer; });
}

std::size_t KeyValueObservable::observerCount(const std::string& keyPath) const {
    return static_cast<std::size_t>(std::count_if(
        entries_.begin(), entries_.end(), [&](const Entry& e) { return e.keyPath == keyPath; }));
}

void KeyValueObservable::didChangeValue(const std::string& keyPath, const std::any& newValue,
                                        const std::any& oldValue) {
    std::vector<std::shared_ptr<Handler>> handlers;
    for (const auto& e : entries_) {
        if (e.keyPath == keyPath) {
            handlers.push_back(e.handler);
        }
    }
    const KeyValueChange change{keyPath, newValue, oldValue};
    for (const auto& h : handlers) {
        const bool stillRegistered = std::any_of(entries_.begin(), entries_.end(),
                                                 [&](const Entry& e) { return e.handler == h; });
        if (stillRegistered) {
            (*h)(change);
        }
    }
}

}  // namespace quillgate::ui

#include "quillgate/ui/NotificationCenter.h"

#include <algorithm>

#include "quillgate/platform/Platform.h"

namespace quillgate::ui {

namespace detail {
struct NotificationRegistry {
    struct Entry {
        std::uint64_t id;
        const void* owner;  // null for token registrations
        std::string name;
        std::shared_ptr<NotificationCenter::Handler> handler;
    };
    std::vector<Entry> entries;
    std::uint64_t nextId = 1;

    void remove(std::uint64_t id) {
        std::erase_if(entries, [&](const Entry& e) { return e.id == id; });
    }
    bool contains(std::uint64_t id) const {
        return std::any_of(entries.begin(), entries.end(),
                           [&](const Entry& e) { return e.id == id; });
    }
};
}  // namespace detail

namespace {
NotificationCenter*& liveDefaultCenter() {
    static NotificationCenter* center = nullptr;
    return center;
}
}  // namespace

nlohmann::json rectToJson(const Rect& rect) {
    return nlohmann::json{
        {"x", rect.x()}, {"y", rect.y()}, {"width", rect.width()}, {"height", rect.height()}};
}

std::optional<Rect> rectFromJson(const nlohmann::json& value) {
    if (!value.is_object()) {
        return std::nullopt;
    }
    double parts[4];
    const char* keys[4] = {"x", "y", "width", "height"};
    for (int i = 0; i < 4; ++i) {
        auto it = value.find(keys[i]);
        if (it == value.end() || !it->is_number()) {
            return std::nullopt;
        }
        parts[i] = it->get<double>();
    }
    return Rect(parts[0], parts[1], parts[2], parts[3]);
}

std::optional<Rect> keyboardFrameEnd(const Notification& notification) {
    if (!notification.userInfo.is_object()) {
        return std::nullopt;
    }
    auto it = notification.userInfo.find(std::string(KeyboardFrameEndUserInfoKey));
    if (it == notification.userInfo.end()) {
        return std::nullopt;
    }
    return rectFromJson(*it);
}

// ---- ObserverToken

ObserverToken::ObserverToken(std::weak_ptr<detail::NotificationRegistry> registry, std::uint64_t id)
    : registry_(std::move(registry)), id_(id) {}

ObserverToken::ObserverToken(ObserverToken&& other) noexcept
    : registry_(std::move(other.registry_)), id_(other.id_) {
    other.registry_.reset();
    other.id_ = 0;
}

ObserverToken& ObserverToken::operator=(ObserverToken&& other) noexcept {
    if (this != &other) {
        reset();
        registry_ = std::move(other.registry_);
        id_ = other.id_;
        other.registry_.reset();
        other.id_ = 0;
    }
    return *this;
}

void ObserverToken::reset() {
    if (auto registry = registry_.lock()) {
        registry->remove(id_);
    }
    registry_.reset();
    id_ = 0;
}

bool ObserverToken::isActive() const {
    auto registry = registry_.lock();
    return registry && registry->contains(id_);
}

// ---- NotificationCenter

NotificationCenter& NotificationCenter::defaultCenter() {
    auto& center = platform::sharedInstance<NotificationCenter>();
    liveDefaultCenter() = &center;
    return center;
}

NotificationCenter* NotificationCenter::existingDefaultCenter() {
    return liveDefaultCenter();
}

NotificationCenter::NotificationCenter()
    : registry_(std::make_shared<detail::NotificationRegistry>()) {}

NotificationCenter::~NotificationCenter() {
    if (liveDefaultCenter() == this) {
        liveDefaultCenter() = nullptr;
    }
}

void NotificationCenter::addObserver(const void* owner, std::string_view name, Handler handler) {
    if (!handler) {
        return;
    }
    registry_->entries.push_back({registry_->nextId++, owner, std::string(name),
                                  std::make_shared<Handler>(std::move(handler))});
}

void NotificationCenter::removeObserver(const void* owner) {
    if (!owner) {
        return;
    }
    std::erase_if(registry_->entries, [&](const auto& e) { return e.owner == owner; });
}

void NotificationCenter::removeObserver(const void* owner, std::string_view name) {
    if (!owner) {
        return;
    }
    std::erase_if(registry_->entries,
                  [&](const auto& e) { return e.owner == owner && e.name == name; });
}

ObserverToken NotificationCenter::observe(std::string_view name, Handler handler) {
    if (!handler) {
        return {};
    }
    const auto id = registry_->nextId++;
    registry_->entries.push_back(
        {id, nullptr, std::string(name), std::make_shared<Handler>(std::move(handler))});
    return ObserverToken(registry_, id);
}

void NotificationCenter::post(std::string_view name, std::any object, nlohmann::json userInfo) {
    post(Notification{std::string(name), std::move(object), std::move(userInfo)});
}

void NotificationCenter::post(const Notification& notification) {
    // Keep the registry alive: a handler may reset the process state.
    auto registry = registry_;
    std::vector<std::pair<std::uint64_t, std::shared_ptr<Handler>>> due;
    for (const auto& e : registry->entries) {
        if (e.name.empty() || e.name == notification.name) {
            due.emplace_back(e.id, e.handler);
        }
    }
    for (const auto& [id, handler] : due) {
        if (registry->contains(id)) {
            (*handler)(notification);
        }
    }
}

std::size_t NotificationCenter::observerCount(std::string_view name) const {
    return static_cast<std::size_t>(
        std::count_if(registry_->entries.begin(), registry_->entries.end(),
                      [&](const auto& e) { return !e.name.empty() && e.name == name; }));
}

std::size_t NotificationCenter::ownerRegistrationCount(const void* owner) const {
    return static_cast<std::size_t>(
        std::count_if(registry_->entries.begin(), registry_->entries.end(),
                      [&](const auto& e) { return owner && e.owner == owner; }));
}

}  // namespace quillgate::ui

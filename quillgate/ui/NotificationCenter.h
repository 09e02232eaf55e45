#pragma once

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/ui/Geometry.h"

// The process's notification centre: observers register a handler for a name and are called
// synchronously, in registration order, on every post of that name. A notification carries
// an object (any value: a text, a pointer to the posting view) and user info as a JSON value,
// so that handlers can test its members' types ("a text under "id"").
//
// Two ways to observe: with an owner pointer (usually the observing controller's `this`),
// removed by `removeObserver(owner...)` or when that controller is destroyed; or with a token
// that removes its registration when dropped. Main thread only. `defaultCenter()` is a shared
// instance of the process; resetting the process state destroys it, after which tokens
// are inert.
namespace quillgate::ui {

// Names the platform posts.
inline constexpr std::string_view ApplicationWillResignActiveNotification =
    "UIApplicationWillResignActiveNotification";
inline constexpr std::string_view ApplicationDidBecomeActiveNotification =
    "UIApplicationDidBecomeActiveNotification";
inline constexpr std::string_view ApplicationDidEnterBackgroundNotification =
    "UIApplicationDidEnterBackgroundNotification";
inline constexpr std::string_view ApplicationWillEnterForegroundNotification =
    "UIApplicationWillEnterForegroundNotification";
inline constexpr std::string_view KeyboardWillShowNotification = "UIKeyboardWillShowNotification";
inline constexpr std::string_view KeyboardDidShowNotification = "UIKeyboardDidShowNotification";
inline constexpr std::string_view KeyboardWillHideNotification = "UIKeyboardWillHideNotification";
inline constexpr std::string_view KeyboardDidHideNotification = "UIKeyboardDidHideNotification";
// User info key of the keyboard notifications: the keyboard's final frame in screen
// coordinates, as {"x":..,"y":..,"width":..,"height":..} (see keyboardFrameEnd).
inline constexpr std::string_view KeyboardFrameEndUserInfoKey = "UIKeyboardFrameEndUserInfoKey";

struct Notification {
    std::string name;
    std::any object;
    nlohmann::json userInfo;  // null when there is none
};

// A rectangle as user info carries it, and back. Nothing when the value isn't one.
nlohmann::json rectToJson(const Rect& rect);
std::optional<Rect> rectFromJson(const nlohmann::json& value);
// The keyboard's end frame of a keyboard notification, if it carries one.
std::optional<Rect> keyboardFrameEnd(const Notification& notification);

class NotificationCenter;
namespace detail {
struct NotificationRegistry;
}

// Keeps one registration alive; dropping or resetting it removes the registration.
class ObserverToken {
  public:
    ObserverToken() = default;
    ObserverToken(ObserverToken&& other) noexcept;
    ObserverToken& operator=(ObserverToken&& other) noexcept;
    ObserverToken(const ObserverToken&) = delete;
    ObserverToken& operator=(const ObserverToken&) = delete;
    ~ObserverToken() { reset(); }

    void reset();
    bool isActive() const;

  private:
    friend class NotificationCenter;
    ObserverToken(std::weak_ptr<detail::NotificationRegistry> registry, std::uint64_t id);
    std::weak_ptr<detail::NotificationRegistry> registry_;
    std::uint64_t id_ = 0;
};

class NotificationCenter {
  public:
    using Handler = std::function<void(const Notification&)>;

    // The process's centre (a shared instance).
    static NotificationCenter& defaultCenter();
    // The process's centre if it exists now, without creating it (for teardown paths).
    static NotificationCenter* existingDefaultCenter();

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // Registers `handler` for `name` under `owner`. An empty name observes every notification.
    void addObserver(const void* owner, std::string_view name, Handler handler);
    // Removes every registration of `owner`, or those for `name` only.
    void removeObserver(const void* owner);
    void removeObserver(const void* owner, std::string_view name);

    // Registers `handler` for `name`; the registration lives as long as the token.
    [[nodiscard]] ObserverToken observe(std::string_view name, Handler handler);

    // Calls every handler registered for `name` (and the catch-all ones) now, in order.
    // Registrations added during the post are not called for it; removed ones no longer are.
    void post(std::string_view name, std::any object = {}, nlohmann::json userInfo = nullptr);
    void post(const Notification& notification);

    // Number of registrations for `name` (catch-all ones not counted).
    std::size_t observerCount(std::string_view name) const;
    // Number of registrations of `owner` (all names).
    std::size_t ownerRegistrationCount(const void* owner) const;

  private:
    std::shared_ptr<detail::NotificationRegistry> registry_;
};

}  // namespace quillgate::ui

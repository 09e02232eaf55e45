#pragma once

#include <memory>
#include <string_view>

#include "quillgate/platform/Log.h"

// An outlet: a weak reference from an owner (a controller, a cell) to an element of the tree
// its nib built. It is read without a test, as the screens read theirs: reading an outlet
// that was never bound, or whose element has been freed, ends the program with the
// platform's message. `optional()` is the read that tolerates absence. Main thread only.
namespace quillgate::ui {

inline constexpr std::string_view UnboundOutletMessage =
    "Fatal error: Unexpectedly found nil while implicitly unwrapping an Optional value";

template <class T>
class Outlet {
  public:
    Outlet() = default;
    Outlet(const std::shared_ptr<T>& element) : ref_(element) {}  // NOLINT: binding reads well

    Outlet& operator=(const std::shared_ptr<T>& element) {
        ref_ = element;
        return *this;
    }
    void bind(const std::shared_ptr<T>& element) { ref_ = element; }
    void reset() { ref_.reset(); }

    // The element; ends the program when there is none.
    std::shared_ptr<T> get() const {
        auto element = ref_.lock();
        if (!element) {
            platform::fatal(UnboundOutletMessage);
        }
        return element;
    }
    std::shared_ptr<T> operator->() const { return get(); }
    T& operator*() const { return *get(); }
    operator std::shared_ptr<T>() const { return get(); }  // NOLINT: a forced read

    // The element or null.
    std::shared_ptr<T> optional() const { return ref_.lock(); }
    bool isBound() const { return !ref_.expired(); }

  private:
    std::weak_ptr<T> ref_;
};

}  // namespace quillgate::ui

#pragma once

#include <any>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quillgate/Export.h"

// Key-value observation of a few properties of the view tree ("contentSize" of a scroll
// view, "loading" of a web view), as the screens observe them. An observer is identified by
// a pointer (usually the observing controller); it registers a handler per key path and is
// called synchronously, in registration order, each time the property is set. Main thread
// only. Removing an observer that isn't registered does nothing: a screen torn down twice
// must not end the program.
namespace quillgate::ui {

struct QUILLGATE_EXPORT KeyValueChange {
    std::string keyPath;
    std::any newValue;  // the property's value type, e.g. ui::Size for "contentSize"
    std::any oldValue;
};

class QUILLGATE_EXPORT KeyValueObservable {
  public:
    using Handler = std::function<void(const KeyValueChange&)>;

    virtual ~KeyValueObservable() = default;

    // Registers `handler` for `keyPath`. Registering twice gives two calls per change.
    void addObserver(const void* observer, std::string keyPath, Handler handler);
    // Removes the latest registration of `observer` for `keyPath`.
    void removeObserver(const void* observer, const std::string& keyPath);
    // Removes every registration of `observer`.
    void removeObserver(const void* observer);
    // True when any observer is registered (the platform's non-nil `observationInfo`).
    bool hasObservers() const { return !entries_.empty(); }
    std::size_t observerCount(const std::string& keyPath) const;

  protected:
    KeyValueObservable() = default;
    // Tells every observer of `keyPath`. Observers added meanwhile are not called for this
    // change; observers removed meanwhile are not called any more.
    void didChangeValue(const std::string& keyPath, const std::any& newValue,
                        const std::any& oldValue);

  private:
    struct Entry {
        const void* observer;
        std::string keyPath;
        std::shared_ptr<Handler> handler;
    };
    std::vector<Entry> entries_;
};

}  // namespace quillgate::ui

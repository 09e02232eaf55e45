#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

// The collection service's memory: every event and ping posted to /collect/event, kept in
// arrival order until cleared. Thread-safe; the HTTP workers add, tests and the host read.

namespace quillgate::devserver {

struct CollectedEvent {
    std::chrono::system_clock::time_point receivedAt;
    // The body parsed as JSON; a body that isn't JSON is kept as a JSON string of its text.
    nlohmann::ordered_json body;
    // From the first message of "messageBody" when present ("VIEW", "CLICK", "PING", ...),
    // else empty. Pings carry "PING" there too.
    std::string eventType;
    std::string eventLocation;
};

// Keeps the most recent kEventLimit events (a long run must not grow the service without
// bound); count() and waitForCount() count every event since the last clear().
class Collector {
  public:
    static constexpr size_t kEventLimit = 2000;

    void add(const std::string& body, std::chrono::system_clock::time_point receivedAt);
    std::vector<CollectedEvent> events() const;
    // The list as the collection server answers it: {"count": n, "events": [...]}, each item
    // with "receivedAt", "eventType", "eventLocation" and the "body" as received. An empty
    // `eventType` lists all.
    nlohmann::ordered_json toJson(const std::string& eventType = "") const;
    void clear();
    size_t count() const;
    // Blocks until at least `count` events have arrived or `timeout` has passed; true when
    // they have. For callers on another thread than the one that makes the library post.
    bool waitForCount(size_t count, std::chrono::milliseconds timeout) const;

  private:
    mutable std::mutex mutex_;
    std::deque<CollectedEvent> events_;  // the last kEventLimit, oldest first
    size_t received_ = 0;                // since the last clear()
    mutable std::condition_variable arrived_;
};

}  // namespace quillgate::devserver

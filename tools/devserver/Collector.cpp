#include "tools/devserver/Collector.h"

#include <utility>

#include "tools/devserver/Encoding.h"

namespace quillgate::devserver {

void Collector::add(const std::string& body, std::chrono::system_clock::time_point receivedAt) {
    CollectedEvent event;
    event.receivedAt = receivedAt;
    event.body = nlohmann::ordered_json::parse(body, nullptr, false);
    if (event.body.is_discarded()) {
        event.body = body;
    }
    if (event.body.is_object()) {
        auto messages = event.body.find("messageBody");
        if (messages != event.body.end() && messages->is_array() && !messages->empty() &&
            messages->front().is_object()) {
            const auto& message = messages->front();
            if (auto it = message.find("eventType"); it != message.end() && it->is_string()) {
                event.eventType = it->get<std::string>();
            }
            if (auto it = message.find("eventLocation"); it != message.end() && it->is_string()) {
                event.eventLocation = it->get<std::string>();
            }
        }
    }
    {
        std::lock_guard lock(mutex_);
        if (events_.size() >= kEventLimit) {
            events_.pop_front();
        }
        events_.push_back(std::move(event));
        ++received_;
    }
    arrived_.notify_all();
}

std::vector<CollectedEvent> Collector::events() const {
    std::lock_guard lock(mutex_);
    return {events_.begin(), events_.end()};
}

nlohmann::ordered_json Collector::toJson(const std::string& eventType) const {
    std::lock_guard lock(mutex_);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& event : events_) {
        if (!eventType.empty() && event.eventType != eventType) {
            continue;
        }
        list.push_back({{"receivedAt", isoTime(event.receivedAt)},
                        {"eventType", event.eventType},
                        {"eventLocation", event.eventLocation},
                        {"body", event.body}});
    }
    return {{"count", list.size()}, {"events", list}};
}

void Collector::clear() {
    std::lock_guard lock(mutex_);
    events_.clear();
    received_ = 0;
}

size_t Collector::count() const {
    std::lock_guard lock(mutex_);
    return received_;
}

bool Collector::waitForCount(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, timeout, [&] { return received_ >= count; });
}

}  // namespace quillgate::devserver

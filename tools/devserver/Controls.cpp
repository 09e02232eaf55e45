#include "tools/devserver/Controls.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "tools/devserver/Encoding.h"

namespace quillgate::devserver {

namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

bool pathMatches(const std::string& pattern, const std::string& path) {
    if (!pattern.empty() && pattern.back() == '*') {
        return path.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
    }
    return pattern == path;
}

}  // namespace

std::string faultKindName(FaultKind kind) {
    switch (kind) {
        case FaultKind::status:
            return "status";
        case FaultKind::empty:
            return "empty";
        case FaultKind::malformed:
            return "malformed";
        case FaultKind::delay:
            return "delay";
        case FaultKind::drop:
            return "drop";
    }
    return "status";
}

std::optional<Fault> Controls::parseFault(const Json& spec, std::string& error) {
    if (!spec.is_object()) {
        error = "a fault is a JSON object";
        return std::nullopt;
    }
    Fault fault;
    auto textOf = [&](const char* key, std::string& out) {
        auto it = spec.find(key);
        if (it == spec.end() || it->is_null()) {
            return true;
        }
        if (!it->is_string()) {
            error = std::string("\"") + key + "\" must be a string";
            return false;
        }
        out = it->get<std::string>();
        return true;
    };
    auto intOf = [&](const char* key, int& out) {
        auto it = spec.find(key);
        if (it == spec.end() || it->is_null()) {
            return true;
        }
        if (!it->is_number_integer()) {
            error = std::string("\"") + key + "\" must be a whole number";
            return false;
        }
        out = it->get<int>();
        return true;
    };
    std::string kind;
    if (!textOf("path", fault.path) || !textOf("method", fault.method) ||
        !textOf("server", fault.server) || !textOf("fault", kind) ||
        !textOf("message", fault.message)) {
        return std::nullopt;
    }
    if (fault.path.empty() || fault.path.front() != '/') {
        error = "\"path\" must start with \"/\"";
        return std::nullopt;
    }
    fault.method = upper(fault.method);
    if (!fault.server.empty() && fault.server != "api" && fault.server != "web" &&
        fault.server != "collect") {
        error = "\"server\" must be \"api\", \"web\" or \"collect\"";
        return std::nullopt;
    }
    const bool hasStatus = spec.contains("status");
    if (kind.empty() || kind == "status") {
        fault.kind = FaultKind::status;
        if (!hasStatus) {
            error = "a status fault needs \"status\"";
            return std::nullopt;
        }
    } else if (kind == "empty") {
        fault.kind = FaultKind::empty;
        fault.status = 200;
    } else if (kind == "malformed") {
        fault.kind = FaultKind::malformed;
        fault.status = 200;
    } else if (kind == "delay") {
        fault.kind = FaultKind::delay;
    } else if (kind == "drop") {
        fault.kind = FaultKind::drop;
    } else {
        error = "\"fault\" must be status, empty, malformed, delay or drop";
        return std::nullopt;
    }
    if (!intOf("status", fault.status) || !intOf("delayMs", fault.delayMs) ||
        !intOf("times", fault.times)) {
        return std::nullopt;
    }
    if (fault.status < 100 || fault.status > 599) {
        error = "\"status\" must lie between 100 and 599";
        return std::nullopt;
    }
    if (fault.delayMs < 0 || fault.delayMs > 600000) {
        error = "\"delayMs\" must lie between 0 and 600000";
        return std::nullopt;
    }
    if (auto it = spec.find("body"); it != spec.end() && !it->is_null()) {
        fault.body = it->is_string() ? it->get<std::string>() : it->dump();
    }
    return fault;
}

std::string Controls::addFault(Fault fault) {
    std::lock_guard lock(mutex_);
    fault.method = upper(fault.method);
    if (fault.id.empty()) {
        fault.id = "fault-" + std::to_string(nextFault_++);
    }
    faults_.push_back(fault);
    return fault.id;
}

std::optional<Fault> Controls::takeFault(const std::string& server, const std::string& method,
                                         const std::string& path) {
    std::lock_guard lock(mutex_);
    for (auto it = faults_.begin(); it != faults_.end(); ++it) {
        if ((!it->server.empty() && it->server != server) ||
            (!it->method.empty() && it->method != method) || !pathMatches(it->path, path)) {
            continue;
        }
        Fault taken = *it;
        if (it->times > 0 && --it->times == 0) {
            faults_.erase(it);
        }
        return taken;
    }
    return std::nullopt;
}

std::vector<Fault> Controls::faults() const {
    std::lock_guard lock(mutex_);
    return faults_;
}

void Controls::clearFaults() {
    std::lock_guard lock(mutex_);
    faults_.clear();
}

Reply Controls::faultReply(const Fault& fault) {
    switch (fault.kind) {
        case FaultKind::empty:
            return Reply::text(fault.status, "", "application/json; charset=utf-8");
        case FaultKind::malformed:
            return Reply::text(fault.status, fault.body.value_or("{\"statusCode\": 200, \"data"),
                               "application/json; charset=utf-8");
        default:
            break;
    }
    if (fault.body) {
        return Reply::text(fault.status, *fault.body, "application/json; charset=utf-8");
    }
    if (fault.status >= 400) {
        return Reply::error(fault.status,
                            fault.message.empty() ? "Forced by a test control" : fault.message);
    }
    return Reply::text(fault.status, "{}", "application/json; charset=utf-8");
}

OrderedJson Controls::faultJson(const Fault& fault) {
    OrderedJson out{{"id", fault.id},
                    {"server", fault.server},
                    {"method", fault.method},
                    {"path", fault.path},
                    {"fault", faultKindName(fault.kind)},
                    {"status", fault.status},
                    {"delayMs", fault.delayMs},
                    {"times", fault.times}};
    if (fault.body) {
        out["body"] = *fault.body;
    }
    if (!fault.message.empty()) {
        out["message"] = fault.message;
    }
    return out;
}

uint64_t Controls::record(RecordedRequest request) {
    std::lock_guard lock(mutex_);
    request.sequence = nextSequence_++;
    if (requests_.size() >= kRequestLogLimit) {
        requests_.pop_front();
    }
    requests_.push_back(std::move(request));
    return requests_.back().sequence;
}

void Controls::setAnswer(uint64_t sequence, int status, const std::string& faultId,
                         const std::string& body) {
    std::lock_guard lock(mutex_);
    for (auto it = requests_.rbegin(); it != requests_.rend(); ++it) {
        if (it->sequence == sequence) {
            it->status = status;
            if (!body.empty()) {
                it->body = body;
            }
            if (!faultId.empty()) {
                it->fault = faultId;
            }
            return;
        }
    }
}

std::vector<RecordedRequest> Controls::requests() const {
    std::lock_guard lock(mutex_);
    return {requests_.begin(), requests_.end()};
}

OrderedJson Controls::requestsJson(const std::string& path, const std::string& server) const {
    std::lock_guard lock(mutex_);
    OrderedJson list = OrderedJson::array();
    for (const auto& r : requests_) {
        if ((!path.empty() && !pathMatches(path, r.path)) ||
            (!server.empty() && r.server != server)) {
            continue;
        }
        OrderedJson params = OrderedJson::object();
        for (const auto& [key, value] : r.params) {
            params[key].push_back(value);
        }
        OrderedJson headers = OrderedJson::object();
        for (const auto& [key, value] : r.headers) {
            headers[key] = value;
        }
        OrderedJson item{{"sequence", r.sequence},
                         {"receivedAt", isoTime(r.receivedAt)},
                         {"server", r.server},
                         {"method", r.method},
                         {"path", r.path},
                         {"target", r.target},
                         {"params", params},
                         {"headers", headers},
                         {"body", r.body},
                         {"status", r.status},
                         {"remotePort", r.remotePort}};
        if (!r.fault.empty()) {
            item["fault"] = r.fault;
        }
        list.push_back(std::move(item));
    }
    return {{"count", list.size()}, {"requests", list}};
}

void Controls::clearRequests() {
    std::lock_guard lock(mutex_);
    requests_.clear();
}

bool Controls::waitFor(std::chrono::milliseconds delay) {
    std::unique_lock lock(mutex_);
    return !interrupted_.wait_for(lock, delay, [&] { return interrupting_; });
}

void Controls::interruptWaits() {
    {
        std::lock_guard lock(mutex_);
        interrupting_ = true;
    }
    interrupted_.notify_all();
}

void Controls::resumeWaits() {
    std::lock_guard lock(mutex_);
    interrupting_ = false;
}

}  // namespace quillgate::devserver

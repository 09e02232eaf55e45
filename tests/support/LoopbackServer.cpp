#include "tests/support/LoopbackServer.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <set>

namespace quillgate::testing {

namespace {

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

// httplib adds these to the request's headers itself; they never came over the wire.
bool isSynthetic(std::string_view name) {
    return name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" ||
           name == "LOCAL_PORT";
}

// The record of the request being handled on this server thread: the body is read after the
// pre-routing hook that records the request, so the route wrapper fills it in.
thread_local std::size_t currentRecord = 0;

}  // namespace

std::optional<std::string> RecordedRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (sameName(key, name)) {
            return value;
        }
    }
    return std::nullopt;
}

std::optional<std::string> RecordedRequest::query(std::string_view name) const {
    for (const auto& [key, value] : queryItems) {
        if (key == name) {
            return value;
        }
    }
    return std::nullopt;
}

LoopbackServer::LoopbackServer() {
    server_.set_tcp_nodelay(true);
    server_.set_keep_alive_max_count(100000);
    server_.set_keep_alive_timeout(2);
    server_.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response&) {
        RecordedRequest record;
        record.method = req.method;
        record.path = req.path;
        record.target = req.target;
        for (const auto& [name, value] : req.headers) {
            if (!isSynthetic(name)) {
                record.headers.emplace_back(name, value);
            }
        }
        for (const auto& [name, value] : req.params) {
            record.queryItems.emplace_back(name, value);
        }
        record.remotePort = req.remote_port;
        std::lock_guard lock(mutex_);
        currentRecord = requests_.size();
        requests_.push_back(std::move(record));
        return httplib::Server::HandlerResponse::Unhandled;
    });
}

LoopbackServer::~LoopbackServer() {
    release();
    if (thread_.joinable()) {
        // stop() only takes effect once the accept loop runs; it starts right after bind.
        while (!server_.is_running() && !listenReturned_.load()) {
            std::this_thread::yield();
        }
        server_.stop();
        thread_.join();
    }
}

LoopbackServer& LoopbackServer::get(const std::string& pattern, Handler handler) {
    server_.Get(pattern, recording(std::move(handler)));
    return *this;
}

LoopbackServer& LoopbackServer::post(const std::string& pattern, Handler handler) {
    server_.Post(pattern, recording(std::move(handler)));
    return *this;
}

LoopbackServer& LoopbackServer::put(const std::string& pattern, Handler handler) {
    server_.Put(pattern, recording(std::move(handler)));
    return *this;
}

LoopbackServer& LoopbackServer::del(const std::string& pattern, Handler handler) {
    server_.Delete(pattern, recording(std::move(handler)));
    return *this;
}

LoopbackServer::Handler LoopbackServer::recording(Handler handler) {
    return
        [this, handler = std::move(handler)](const httplib::Request& req, httplib::Response& res) {
            {
                std::lock_guard lock(mutex_);
                if (currentRecord < requests_.size()) {
                    requests_[currentRecord].body = req.body;
                }
            }
            handler(req, res);
        };
}

void LoopbackServer::start() {
    port_ = server_.bind_to_any_port("127.0.0.1");
    if (port_ <= 0) {
        std::fprintf(stderr, "LoopbackServer: cannot bind 127.0.0.1\n");
        std::abort();
    }
    thread_ = std::thread([this] {
        server_.listen_after_bind();
        listenReturned_ = true;
    });
}

std::string LoopbackServer::baseUrl() const {
    return "http://127.0.0.1:" + std::to_string(port_);
}

std::string LoopbackServer::url(std::string_view path) const {
    return baseUrl() + std::string(path);
}

std::vector<RecordedRequest> LoopbackServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::size_t LoopbackServer::requestCount() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

std::vector<RecordedRequest> LoopbackServer::requestsTo(std::string_view path) const {
    std::lock_guard lock(mutex_);
    std::vector<RecordedRequest> out;
    for (const auto& r : requests_) {
        if (r.path == path) {
            out.push_back(r);
        }
    }
    return out;
}

std::size_t LoopbackServer::connectionCount() const {
    std::lock_guard lock(mutex_);
    std::set<int> ports;
    for (const auto& r : requests_) {
        ports.insert(r.remotePort);
    }
    return ports.size();
}

void LoopbackServer::holdUntilReleased() {
    std::unique_lock lock(gateMutex_);
    ++held_;
    gate_.wait(lock, [this] { return released_; });
    --held_;
}

void LoopbackServer::release() {
    {
        std::lock_guard lock(gateMutex_);
        released_ = true;
    }
    gate_.notify_all();
}

}  // namespace quillgate::testing

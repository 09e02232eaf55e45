#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <httplib.h>

namespace quillgate::testing {

// A request as a LoopbackServer received it.
struct RecordedRequest {
    std::string method;
    std::string path;    // without the query
    std::string target;  // as on the request line: path and query, still encoded
    // Every header the client sent (Host included), in name order; names as sent.
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;    // recorded for requests that reach a route added by get/post/put/del
    int remotePort = 0;  // the client's end of the connection

    // Value of the first header of that name (case-insensitive), if any.
    std::optional<std::string> header(std::string_view name) const;
    // Decoded value of a query parameter, if present.
    std::optional<std::string> query(std::string_view name) const;
    std::vector<std::pair<std::string, std::string>> queryItems;  // decoded, by name
};

// An HTTP server on 127.0.0.1 and an ephemeral port, for tests that talk to the real HTTP
// stack. Add routes, start(), point the client at url("/path"); every request is recorded
// (before its handler runs, so a completion never races the record). The destructor releases
// held handlers, stops the server and joins its thread.
//
// Destroy HTTP clients before the server (declare the server first): connections a client
// keeps open hold up the server's end for up to the keep-alive time-out.
//
// Set-up (routes, options) on the test's thread before start(); requests(), release() and the
// counters from any thread. Handlers run on the server's threads.
//
//     LoopbackServer server;
//     server.get("/hello", [](const httplib::Request&, httplib::Response& res) {
//         res.set_content("hi", "text/plain");
//     });
//     server.start();
//     session.dataTask({server.url("/hello")}, ...);
class LoopbackServer {
  public:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // Routes (httplib patterns, regular expressions allowed). Before start().
    LoopbackServer& get(const std::string& pattern, Handler handler);
    LoopbackServer& post(const std::string& pattern, Handler handler);
    LoopbackServer& put(const std::string& pattern, Handler handler);
    LoopbackServer& del(const std::string& pattern, Handler handler);
    // The server itself, for anything else (before start()). Requests to routes added here
    // directly are recorded without their body.
    httplib::Server& server() { return server_; }

    // Idle connections are closed after this many seconds (default 2). Before start().
    void setKeepAliveTimeout(int seconds) { server_.set_keep_alive_timeout(seconds); }

    // Binds 127.0.0.1 on a free port and serves from a thread of its own. Connections are
    // accepted from the moment it returns. Aborts the test binary if no port can be bound.
    void start();

    int port() const { return port_; }
    // "http://127.0.0.1:<port>"
    std::string baseUrl() const;
    // baseUrl() + path
    std::string url(std::string_view path) const;

    // Every request received so far, in order of arrival.
    std::vector<RecordedRequest> requests() const;
    std::size_t requestCount() const;
    // The requests whose path is `path`.
    std::vector<RecordedRequest> requestsTo(std::string_view path) const;
    // Number of distinct client connections the recorded requests came over.
    std::size_t connectionCount() const;

    // For handlers: blocks the calling handler until release() (or the server's end). Use it
    // to hold an answer back (time-outs, requests in flight) without any test sleeping.
    void holdUntilReleased();
    void release();
    // Number of handlers blocked in holdUntilReleased right now.
    int heldCount() const { return held_.load(); }

  private:
    Handler recording(Handler handler);

    httplib::Server server_;
    std::thread thread_;
    int port_ = -1;
    std::atomic<bool> listenReturned_{false};

    mutable std::mutex mutex_;
    std::vector<RecordedRequest> requests_;

    std::mutex gateMutex_;
    std::condition_variable gate_;
    bool released_ = false;
    std::atomic<int> held_{0};
};

}  // namespace quillgate::testing

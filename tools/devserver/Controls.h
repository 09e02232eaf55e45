#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/devserver/Reply.h"

// Test controls shared by the three servers: faults forced onto a route's next answers, and
// the log of every request received. The HTTP layer consults `takeFault` before routing and
// records each request; tests set faults and read the log through the control API
// (/__control/...) or directly through DevServer::controls(). Thread-safe.

namespace quillgate::devserver {

enum class FaultKind {
    status,     // answer this status; 4xx and 5xx with an APIResponse body unless one is given
    empty,      // answer an empty body (status 200 unless given)
    malformed,  // answer a body that isn't JSON (status 200 unless given)
    delay,      // wait, then answer normally
    drop,       // close the connection without any answer
};

struct Fault {
    std::string id;
    std::string server;  // "api", "web", "collect", or empty for any
    std::string method;  // upper case, or empty for any
    // The request path, exactly ("/api/v1/journey"), or a prefix ending in "*"
    // ("/api/v1/login-challenge/*").
    std::string path;
    FaultKind kind = FaultKind::status;
    int status = 500;
    std::optional<std::string> body;
    std::string message;  // the APIResponse message of a status fault
    int delayMs = 1000;
    // Answers left to force; 0 or less: every answer until the faults are cleared.
    int times = 1;
};

struct RecordedRequest {
    uint64_t sequence = 0;
    std::chrono::system_clock::time_point receivedAt;
    std::string server;
    std::string method;
    std::string path;
    std::string target;  // path and query as sent
    Params params;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;   // empty for a request a fault answered before reading it
    int status = 0;     // 0 until answered; stays 0 for a dropped connection
    std::string fault;  // id of the fault that shaped the answer, if any
    // The client's end of the connection: requests with the same port came over one kept-alive
    // connection.
    int remotePort = 0;
};

class Controls {
  public:
    // Reads a fault from its JSON form (see README); `error` says what is wrong with it.
    static std::optional<Fault> parseFault(const nlohmann::json& spec, std::string& error);

    // Adds a fault and returns its id.
    std::string addFault(Fault fault);
    // The first fault matching this request, with one use consumed.
    std::optional<Fault> takeFault(const std::string& server, const std::string& method,
                                   const std::string& path);
    std::vector<Fault> faults() const;
    void clearFaults();

    // The answer a status, empty or malformed fault gives.
    static Reply faultReply(const Fault& fault);
    static nlohmann::ordered_json faultJson(const Fault& fault);

    // The log keeps the most recent requests only, so that a long run under load (a soak)
    // does not grow the service without bound: every request's headers and body stay here.
    static constexpr size_t kRequestLogLimit = 2000;

    uint64_t record(RecordedRequest request);
    // Completes a logged request once it has been answered. The body is read only after the
    // faults had their say, so it is filled in here.
    void setAnswer(uint64_t sequence, int status, const std::string& faultId,
                   const std::string& body);
    std::vector<RecordedRequest> requests() const;
    // The log as JSON; `path` and `server`, when not empty, filter it.
    nlohmann::ordered_json requestsJson(const std::string& path = "",
                                        const std::string& server = "") const;
    void clearRequests();

    // Waits for a delay fault; returns early (false) once `interruptWaits` has been called.
    bool waitFor(std::chrono::milliseconds delay);
    void interruptWaits();
    void resumeWaits();

  private:
    mutable std::mutex mutex_;
    std::condition_variable interrupted_;
    bool interrupting_ = false;
    std::vector<Fault> faults_;
    uint64_t nextFault_ = 1;
    std::deque<RecordedRequest> requests_;  // the last kRequestLogLimit, oldest first
    uint64_t nextSequence_ = 1;
};

std::string faultKindName(FaultKind kind);

}  // namespace quillgate::devserver

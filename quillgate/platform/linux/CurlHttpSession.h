#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "quillgate/platform/HttpSession.h"

namespace quillgate::platform {

// The HTTP stack of the Linux platform: libcurl's multi interface on one worker thread.
//
// Callers hand requests over from any thread; they go through a queue to the worker, which
// drives every transfer at once and keeps connections open between them, so requests to the
// same host reuse one connection. Each completion is called exactly once, on the worker
// thread: callers post to their run loop themselves. A completion must not block for long,
// since it holds up every other transfer.
//
// On the wire:
// - The method is sent upper-cased when it is one of the standard verbs in any case ("get",
//   "Post"): servers compare methods case-sensitively and the service's routes are written in
//   lower case. Any other method text goes out as given.
// - Exactly the headers of the request: curl adds none of its own (no Accept, no Expect, no
//   Content-Type, no User-Agent). Only the framing ones remain: Host, and Content-Length
//   with a body. A header with an empty value is sent with an empty value.
// - The body as given.
// - Redirects are followed, so a service that moved an address still answers: up to
//   `maxRedirects` (16), over http and https only; 301, 302 and 303 turn a POST into a GET
//   without a body, 307 and 308 keep method and body (other methods keep their name
//   throughout). The response describes the last answer.
// - The time-out is an idle interval: connecting may take that long, and a transfer ends when
//   no byte has arrived for that long (counted in whole seconds). A slow but steady answer
//   runs to its end.
//
// A transfer that gets no HTTP answer ends with status 0 (no response, no body) and a
// TransportError holding curl's code and its text (7 connection refused, 28 time-out). The
// destructor stops the worker: transfers still queued or under way complete then, with
// kSessionClosedError, so nothing is dropped without an answer.
//
// Download tasks write the body to a new temporary file (in `downloadDirectory`, by default
// the system's temporary directory) and hand over its path; the file is deleted after the
// completion returns unless the completion moved it away.
class CurlHttpSession final : public HttpSession {
  public:
    // CURLE_ABORTED_BY_CALLBACK: the code of transfers cut off by the session's end.
    static constexpr int kSessionClosedError = 42;

    struct Options {
        long maxRedirects = 16;
        // Connections open at once to one host (6, what browsers allow);
        // further requests wait for one of them. Also keeps a small server's thread pool from
        // being filled with idle kept-alive connections.
        long maxConnectionsPerHost = 6;
        std::filesystem::path downloadDirectory;  // empty: the system's temporary directory
        // https answers are verified: the certificate chain against these authorities (a PEM
        // file) and the name against the address. Empty: the system's authorities.
        std::filesystem::path caFile;
    };

    CurlHttpSession();
    explicit CurlHttpSession(Options options);
    ~CurlHttpSession() override;
    CurlHttpSession(const CurlHttpSession&) = delete;
    CurlHttpSession& operator=(const CurlHttpSession&) = delete;

    void dataTask(HttpRequest request, std::function<void(HttpResult)> completion) override;
    void downloadTask(HttpRequest request, std::function<void(DownloadResult)> completion) override;

  private:
    struct Worker;
    std::shared_ptr<Worker> worker_;
};

}  // namespace quillgate::platform

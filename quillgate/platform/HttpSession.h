#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillgate/Export.h"

namespace quillgate::platform {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

// A request exactly as it goes on the wire: the method text as given, these headers and no
// others, the body if any.
struct QUILLGATE_EXPORT HttpRequest {
    std::string url;
    std::string method = "GET";
    HttpHeaders headers;
    std::optional<std::string> body;
    double timeoutSeconds = 60.0;
    // Whether the session follows redirects by itself. Off, a redirect answer comes back as
    // it is (status and "Location" header), so that the caller decides each hop, as a web
    // view's navigation delegate does.
    bool followRedirects = true;

    // Value of the first header of that name (case-insensitive), if any.
    std::optional<std::string> header(std::string_view name) const;
    // "<url>": how the log lines describe a request.
    std::string description() const { return url; }
};

struct QUILLGATE_EXPORT HttpResponse {
    long statusCode = 0;
    HttpHeaders headers;
    std::string url;  // the final address, after redirects
};

// A transport failure: no HTTP answer could be had. `code` is the HTTP stack's own number
// (for curl: 7 connection refused, 28 time-out).
struct QUILLGATE_EXPORT TransportError {
    int code = 0;
    std::string message;
};

// How a data task ends, handed back exactly once. On a transport error there is usually no
// response and no body; with an HTTP answer, the body is present (possibly empty).
struct QUILLGATE_EXPORT HttpResult {
    std::optional<std::string> body;
    std::optional<HttpResponse> response;
    std::optional<TransportError> error;
};

// How a download task ends: the bytes in a temporary file that the completion may move
// away; the file is deleted after the completion returns if it is still there.
struct QUILLGATE_EXPORT DownloadResult {
    std::optional<std::filesystem::path> location;
    std::optional<HttpResponse> response;
    std::optional<TransportError> error;
};

// The HTTP stack. Transfers run off the main thread; each completion is called exactly once
// on the session's own thread (never the caller's), so callers hop back to the run loop
// themselves, where the system says "on the main queue". Implementations: the curl session
// (platform/linux) and scripted sessions in tests. Thread-safe.
class QUILLGATE_EXPORT HttpSession {
  public:
    virtual ~HttpSession() = default;
    virtual void dataTask(HttpRequest request, std::function<void(HttpResult)> completion) = 0;
    virtual void downloadTask(HttpRequest request,
                              std::function<void(DownloadResult)> completion) = 0;
};

}  // namespace quillgate::platform

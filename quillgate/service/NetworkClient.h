#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "quillgate/platform/HttpSession.h"
#include "quillgate/platform/RunLoop.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/service/CustomError.h"

// The thin layer under every call to the access service and the collector: one session for
// the process, one way of handing an answer back on the main queue, and the status outline
// that all callers share. No retry, no queue, no state per request.
//
// Every call site follows one order:
//   auto request = NetworkProperties::getRequest(parameters, false, Endpoint::content());
//   NetworkClient::shared().send(std::move(request), weakOwner,
//       NetworkClient::commonOutline([](const std::string& body) { ...200 or 201... }));
// `send` checks the network (printing that there is no internet connection and stopping
// when it is down) and starts the data task; `handleDataTaskResult` prints the request and the
// answer on the session's thread and hands the outcome to the completion on the main queue, where
// the completion runs only while its owner is alive.
//
// `shared()`, `send` and the helpers run on the main thread; handleDataTaskResult runs on
// the HTTP session's thread and only prints there (and, for an answer without any response,
// calls the completion there: that completion sees an error and must do nothing else).
namespace quillgate {

// What a completion hears in place of a body when something went wrong: a failure kind of
// the library, or the HTTP stack's own transport error.
struct RequestError {
    std::optional<CustomError> custom;
    std::optional<platform::TransportError> transport;

    std::string description() const;
};

class NetworkClient {
  public:
    // The body (present, possibly empty, when an HTTP answer came), the error, the status.
    using Completion = std::function<void(std::optional<std::string> data,
                                          std::optional<RequestError> error, long status)>;

    static NetworkClient& shared();

    // The process's HTTP session, taken from the platform when the client is first used (so
    // a test that swaps the platform's session does it before its first request).
    platform::HttpSession& session() { return *session_; }

    // Checks the network and starts a data task. The completion runs only while `owner` is
    // alive; an owner that has gone drops the answer.
    void send(platform::HttpRequest request, std::weak_ptr<const void> owner,
              Completion completion);
    // The same for callers that own nothing (events): the completion always runs.
    void send(platform::HttpRequest request, Completion completion);

    // The common response path of a data task, handing completions to `mainQueue`.
    static void handleDataTaskResult(const platform::HttpResult& result,
                                     const platform::HttpRequest& request,
                                     const Completion& completion, platform::RunLoop& mainQueue);
    // The same, handing completions to the installed platform's main queue.
    static void handleDataTaskResult(const platform::HttpResult& result,
                                     const platform::HttpRequest& request,
                                     const Completion& completion);

    // What the response line prints after its marker: the description of the body's pretty
    // text, which is an optional text. Present, it reads Optional("<text>") with the text
    // quoted (its line breaks and quotes escaped, so the answer stays one line); for a body
    // that isn't a JSON object or list it reads "nil". The pretty text is the body written
    // again with two-space indentation and every double backslash removed.
    static std::string responseDescription(std::string_view body);

    // --- The outline every completion shares -----------------------------------------------

    // 200 and 201 are success; no other status is, not even 204.
    static bool isSuccess(long status) { return status == 200 || status == 201; }

    // Status 400: the service's error body. Shows a toast with its first message, or
    // a fixed "invalid details" text when it has none; prints decodingError when the body isn't
    // one.
    static void showBadRequest(std::string_view body);

    // The failure statuses: 400 as above, 404 prints wrongClientOrContentID, any other
    // prints someThingWentWrong.
    static void handleFailureStatus(long status, std::string_view body);

    // A completion with the whole outline: stops when the body is absent or an error is
    // present; hands a 200 or 201 body to `onSuccess`; handles any other status as
    // handleFailureStatus does.
    static Completion commonOutline(std::function<void(const std::string& body)> onSuccess);

    // Which of the two line families a failed decode prints.
    enum class FailureLines { longFamily, shortFamily };

    // Decodes a success body into `T`, or prints the failure line and gives nothing.
    template <class T>
    static std::optional<T> decodeReporting(std::string_view body,
                                            FailureLines lines = FailureLines::longFamily) {
        auto result = decode<T>(body);
        if (!result) {
            reportDecodingFailure(result.error(), lines);
            return std::nullopt;
        }
        return std::move(result).toOptional();
    }

    static void reportDecodingFailure(const DecodingError& error, FailureLines lines);

    // Use shared(); public only so that the process's shared-instance holder can make it.
    NetworkClient();

  private:
    std::shared_ptr<platform::HttpSession> session_;
};

}  // namespace quillgate

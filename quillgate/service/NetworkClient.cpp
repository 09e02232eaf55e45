#include "quillgate/service/NetworkClient.h"

#include <thread>

#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/JsonText.h"
#include "quillgate/service/NetworkProperties.h"
#include "quillgate/service/Toast.h"

namespace quillgate {

namespace {

constexpr const char* kNoInternetConnection = "No internet Connection";
constexpr const char* kNoDataReceived = "Error: No data received";
constexpr const char* kApiRequest = "API Request::";
constexpr const char* kApiResponse = "API Response::";
constexpr const char* kInvalidDetails = "Invalid Details";

// The toast of a refused request: 2 seconds, corner radius 10, 60 points high.
constexpr double kBadRequestToastDuration = 2.0;
constexpr double kBadRequestToastCornerRadius = 10.0;
constexpr double kBadRequestToastHeight = 60.0;

// Drops every pair of backslashes, left to right, in one pass over the text.
void removeDoubleBackslashes(std::string& text) {
    std::string::size_type to = text.find("\\\\");
    if (to == std::string::npos) {
        return;
    }
    const std::string::size_type size = text.size();
    for (std::string::size_type from = to; from < size;) {
        if (text[from] == '\\' && from + 1 < size && text[from + 1] == '\\') {
            from += 2;
        } else {
            text[to++] = text[from++];
        }
    }
    text.resize(to);
}

}  // namespace

std::string RequestError::description() const {
    if (custom) {
        return std::string(name(*custom));
    }
    if (transport) {
        return "Error Domain=NSURLErrorDomain Code=" + std::to_string(transport->code) + " \"" +
               transport->message + "\"";
    }
    return "nil";
}

NetworkClient::NetworkClient() : session_(platform::current().http) {}

NetworkClient& NetworkClient::shared() {
    return platform::sharedInstance<NetworkClient>();
}

// A request without an answer is handed back on the HTTP session's thread. What the caller's
// completion holds (its owner, screens, the client) may meanwhile have been let go by the main
// thread; the last reference must not die on the session's thread, where a destructor would
// race the main thread. So whatever a completion holds is handed back to the main queue to be
// released there.
void NetworkClient::send(platform::HttpRequest request, std::weak_ptr<const void> owner,
                         Completion completion) {
    send(std::move(request),
         [owner = std::move(owner), completion = std::move(completion),
          mainQueue = std::weak_ptr(platform::current().runLoop),
          mainThread = std::this_thread::get_id()](std::optional<std::string> data,
                                                   std::optional<RequestError> error, long status) {
             if (auto alive = owner.lock()) {
                 completion(std::move(data), std::move(error), status);
                 if (std::this_thread::get_id() != mainThread) {
                     if (auto queue = mainQueue.lock()) {
                         queue->post([alive = std::move(alive)] {});
                     }
                 }
             }
         });
}

void NetworkClient::send(platform::HttpRequest request, Completion completion) {
    if (!NetworkProperties::isConnectedToNetwork()) {
        platform::log(kNoInternetConnection);
        return;
    }
    auto shared = std::make_shared<platform::HttpRequest>(request);
    session_->dataTask(std::move(request), [shared, completion = std::move(completion),
                                            mainQueue = std::weak_ptr(platform::current().runLoop),
                                            mainThread = std::this_thread::get_id()](
                                               platform::HttpResult result) mutable {
        handleDataTaskResult(result, *shared, completion);
        if (std::this_thread::get_id() != mainThread) {
            // Weak: a task of the queue must not keep the queue alive.
            if (auto queue = mainQueue.lock()) {
                queue->post([completion = std::move(completion)] {});
            }
        }
    });
}

void NetworkClient::handleDataTaskResult(const platform::HttpResult& result,
                                         const platform::HttpRequest& request,
                                         const Completion& completion) {
    handleDataTaskResult(result, request, completion, platform::mainQueue());
}

void NetworkClient::handleDataTaskResult(const platform::HttpResult& result,
                                         const platform::HttpRequest& request,
                                         const Completion& completion,
                                         platform::RunLoop& mainQueue) {
    if (!result.response) {
        // No HTTP answer at all: handed over at once, on this thread.
        completion(std::nullopt, RequestError{CustomError::someThingWentWrong, std::nullopt}, 0);
        return;
    }
    const long status = result.response->statusCode;
    if (!result.body) {
        platform::log(kNoDataReceived);
        return;
    }
    platform::log(kApiRequest + request.description());
    platform::log(kApiResponse + responseDescription(*result.body));

    if (result.error) {
        RequestError error{std::nullopt, result.error};
        mainQueue.async([completion, error, status] { completion(std::nullopt, error, status); });
        return;
    }
    mainQueue.async(
        [completion, body = *result.body, status] { completion(body, std::nullopt, status); });
}

std::string NetworkClient::responseDescription(std::string_view body) {
    auto pretty = jsontext::prettyText(body);
    if (pretty) {
        removeDoubleBackslashes(*pretty);
    }
    return description::optional(pretty);
}

void NetworkClient::showBadRequest(std::string_view body) {
    auto response = decode<APIResponse>(body);
    if (!response) {
        print(CustomError::decodingError);
        return;
    }
    const auto& messages = response->message;
    const std::string text =
        messages && !messages->empty() ? messages->front() : std::string(kInvalidDetails);
    Toast::shared().show(text, kBadRequestToastDuration, kBadRequestToastCornerRadius,
                         kBadRequestToastHeight);
}

void NetworkClient::handleFailureStatus(long status, std::string_view body) {
    if (status == 400) {
        showBadRequest(body);
    } else if (status == 404) {
        print(CustomError::wrongClientOrContentID);
    } else {
        print(CustomError::someThingWentWrong);
    }
}

NetworkClient::Completion NetworkClient::commonOutline(
    std::function<void(const std::string& body)> onSuccess) {
    return [onSuccess = std::move(onSuccess)](std::optional<std::string> data,
                                              std::optional<RequestError> error, long status) {
        if (!data || error) {
            return;
        }
        if (isSuccess(status)) {
            onSuccess(*data);
        } else {
            handleFailureStatus(status, *data);
        }
    };
}

void NetworkClient::reportDecodingFailure(const DecodingError& error, FailureLines lines) {
    platform::log(lines == FailureLines::shortFamily ? shortDecodingFailureLine(error)
                                                     : longDecodingFailureLine(error));
}

}  // namespace quillgate

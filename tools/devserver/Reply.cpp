#include "tools/devserver/Reply.h"

#include <utility>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/RecordCoding.h"

namespace quillgate::devserver {

std::string param(const Params& params, const std::string& key, const std::string& fallback) {
    auto it = params.find(key);
    return it == params.end() ? fallback : it->second;
}

bool hasParam(const Params& params, const std::string& key) {
    return params.find(key) != params.end();
}

Reply Reply::json(int status, const nlohmann::ordered_json& body) {
    Reply reply;
    reply.status = status;
    reply.body = body.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    return reply;
}

Reply Reply::text(int status, std::string body, std::string contentType) {
    Reply reply;
    reply.status = status;
    reply.body = std::move(body);
    reply.contentType = std::move(contentType);
    return reply;
}

Reply Reply::redirect(std::string location) {
    Reply reply;
    reply.status = 302;
    reply.contentType = "text/plain; charset=utf-8";
    reply.body = "Redirecting to " + location;
    reply.location = std::move(location);
    return reply;
}

Reply Reply::error(int status, const std::string& message) {
    APIResponse response;
    response.statusCode = status;
    response.message = std::vector<std::string>{message};
    response.error = reasonPhrase(status);
    return json(status, encode(response));
}

std::string reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 201:
            return "Created";
        case 204:
            return "No Content";
        case 302:
            return "Found";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 409:
            return "Conflict";
        case 429:
            return "Too Many Requests";
        case 500:
            return "Internal Server Error";
        case 502:
            return "Bad Gateway";
        case 503:
            return "Service Unavailable";
        default:
            return status >= 500 ? "Server Error" : "Error";
    }
}

}  // namespace quillgate::devserver

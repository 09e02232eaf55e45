#pragma once

#include <map>
#include <string>

#include <nlohmann/json.hpp>

// What the devserver's pieces hand back to the HTTP layer, kept free of the HTTP library so
// that the service logic can be exercised without sockets. Plain values; any thread.

namespace quillgate::devserver {

// Query or form parameters as they arrived, repeated keys kept in order.
using Params = std::multimap<std::string, std::string>;

// The first value of `key`, or `fallback` when the key is absent.
std::string param(const Params& params, const std::string& key, const std::string& fallback = "");
bool hasParam(const Params& params, const std::string& key);

struct Reply {
    int status = 200;
    std::string body;
    std::string contentType = "application/json; charset=utf-8";
    // A redirect target, sent as "Location" when present.
    std::string location;

    static Reply json(int status, const nlohmann::ordered_json& body);
    static Reply text(int status, std::string body, std::string contentType);
    static Reply redirect(std::string location);
    // The service's error body, `APIResponse`: {"statusCode", "message": [message], "error"}.
    static Reply error(int status, const std::string& message);
};

// The reason phrase the service puts under "error" for a status ("Bad Request", ...).
std::string reasonPhrase(int status);

}  // namespace quillgate::devserver

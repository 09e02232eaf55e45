#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

// JSON text written the way the platform's JSON serialiser writes it, so that request bodies
// and logged answers read as they always have: "/" escaped as "\/", non-ASCII text as it is,
// integral floating numbers without a fraction. Compact form: no blanks at all. Pretty form:
// two-space indentation, " : " between key and value, empty containers as "[\n\n]".
// Keys come out in the JSON object's (sorted) order. Pure functions, any thread.
namespace quillgate::jsontext {

struct WriteResult {
    std::optional<std::string> text;
    std::string error;  // why there is no text: invalid UTF-8, a non-finite number, ...
};

// Writes `value`, which must be an object or a list at the top.
WriteResult write(const nlohmann::json& value, bool pretty = false);

// The pretty text of a JSON body: parsed (an object or a list at the top, nothing else),
// then written pretty. Nothing if the body isn't such JSON.
std::optional<std::string> prettyText(std::string_view body);

}  // namespace quillgate::jsontext

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

// How values read when the library prints them or writes them into a text: the same
// descriptions hosts see in the original library's logs and query texts. Pure functions,
// any thread.
namespace quillgate::description {

// A text as a debug description: in double quotes, with \" \\ \n \r \t \0 escaped and any
// other control character as \u{hex}. `quoted("a\"b")` is `"a\"b"`.
std::string quoted(std::string_view text);

// A value as it prints: a text as it stands; true/false; integers in decimal; floating
// numbers as `number` below; null as "nil"; a list as `["a", "b"]` and a map as
// `["k": "v"]` (elements described with texts quoted), empty ones as `[]` and `[:]`.
std::string value(const nlohmann::json& v);

// Floating numbers the way the platform prints them: the shortest text that reads back to
// the same value, always with a fraction or exponent ("50.0", "33.3", "1e+20").
std::string number(double v);
std::string number(float v);

// An optional as it prints: `Optional("text")` (the text quoted) or "nil".
std::string optional(const std::optional<std::string>& v);
// `Optional(true)`, `Optional(false)` or "nil".
std::string optional(const std::optional<bool>& v);

inline std::string boolean(bool v) {
    return v ? "true" : "false";
}

}  // namespace quillgate::description

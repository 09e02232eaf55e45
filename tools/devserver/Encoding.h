#pragma once

#include <chrono>
#include <string>
#include <string_view>

// Small text helpers that the devserver's pages and answers share: escaping for HTML and for
// URL queries, random identities, and the time formats of the service. Pure functions; any
// thread (randomHex draws from a thread-local generator).

namespace quillgate::devserver {

// Percent-encodes everything but the unreserved characters (letters, digits, "-._~"), so the
// result is safe as a query key or value.
std::string percentEncode(std::string_view text);

// Escapes the five characters that matter in HTML text and attribute values.
std::string htmlEscape(std::string_view text);

// `length` random lower-case hexadecimal digits.
std::string randomHex(size_t length);

// "2025-11-22T09:30:00.000Z", as the service's document store writes times.
std::string isoTime(std::chrono::system_clock::time_point time);

// "Sat Nov 22 2025 09:30:00 GMT+0000": the form the timer templates parse, in UTC.
std::string timerTime(std::chrono::system_clock::time_point time);

// A decimal amount as the service writes it: two digits after the point.
std::string decimalText(double amount);

}  // namespace quillgate::devserver

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillgate/platform/Clock.h"

// Text operations with the semantics stated below, on ICU (platform/linux/Text.cpp).
// All texts are UTF-8. Pure functions, any thread. Invalid UTF-8 never crashes: it is read
// with replacement characters.
namespace quillgate::platform::text {

// Empty after trimming white space and newlines (the client's `isBlank`).
bool isBlank(std::string_view s);
inline bool isNotBlank(std::string_view s) {
    return !isBlank(s);
}
// Empty after trimming white space only, newlines kept (the styling engine's test).
bool isBlankIgnoringNewlines(std::string_view s);

// Trims white space and newlines from both ends.
std::string trimmed(std::string_view s);
// Trims white space only (not newlines) from both ends.
std::string trimmedWhitespace(std::string_view s);

std::string lowercased(std::string_view s);
std::string uppercased(std::string_view s);
// First letter of each word upper case, the rest lower case.
std::string capitalized(std::string_view s);

// The process's default locale, as an ICU locale id ("de_DE"): what formatting uses when no
// locale is given. Taken from the environment (LC_ALL, LC_MESSAGES, LANG) at first use; a host
// (or a test) may set another one on the main thread before formatting starts on others.
std::string defaultLocale();
void setDefaultLocale(std::string_view locale);

// A decimal number with at least `minFractionDigits` and at most `maxFractionDigits`,
// rounded half-even, in `locale` (ICU locale id; empty: the process's default locale).
std::string formatDecimal(double value, int minFractionDigits, int maxFractionDigits,
                          std::string_view locale = {});

// Parses `text` with a date pattern of the platform's pattern language (e.g.
// "EEE MMM d yyyy HH:mm:ss 'GMT'Z") in the en_US_POSIX locale. The whole text must be
// consumed; otherwise nothing.
std::optional<TimePoint> parseDate(std::string_view text, std::string_view pattern);

// Calendar difference from `from` to `to` in the UTC calendar, as whole days, then the
// remaining hours, minutes and seconds. Negative when `to` is earlier.
struct DateDifference {
    long days = 0;
    long hours = 0;
    long minutes = 0;
    long seconds = 0;
};
DateDifference dateDifference(TimePoint from, TimePoint to);

// True if the whole of `text` matches the regular expression `pattern` ("SELF MATCHES").
// An invalid pattern matches nothing.
bool matchesWhole(std::string_view pattern, std::string_view text);

}  // namespace quillgate::platform::text

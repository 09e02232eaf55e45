// Text operations on ICU, with the semantics Text.h states.
//
// Compiled formatters and patterns are costly to build and not safe to share between threads,
// so each thread keeps a small cache of its own. Nothing here throws or crashes on bad input:
// invalid UTF-8 is read with replacement characters, and an ICU failure gives the empty or
// "no" answer documented in the header.

#include "quillgate/platform/Text.h"

#include <unicode/brkiter.h>
#include <unicode/calendar.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/parsepos.h>
#include <unicode/regex.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>

namespace quillgate::platform::text {

namespace {

// Past this many entries a per-thread cache starts over; the system uses a handful of
// patterns and formats, so this only guards against unbounded growth.
constexpr std::size_t kCacheLimit = 32;

icu::UnicodeString fromUtf8(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(
        s.data(), static_cast<int32_t>(std::min<std::size_t>(s.size(), INT32_MAX))));
}

std::string toUtf8(const icu::UnicodeString& u) {
    std::string out;
    u.toUTF8String(out);
    return out;
}

// "Whitespaces and newlines": the Unicode White_Space property.
bool isWhitespaceOrNewline(UChar32 c) {
    return u_isUWhiteSpace(c);
}
// "Whitespaces": horizontal white space only (blank, tab, no-break space...), not newlines.
bool isWhitespace(UChar32 c) {
    return u_isblank(c);
}

template <class Pred>
bool allOf(std::string_view s, Pred pred) {
    const icu::UnicodeString u = fromUtf8(s);
    for (int32_t i = 0; i < u.length();) {
        const UChar32 c = u.char32At(i);
        if (!pred(c)) {
            return false;
        }
        i += U16_LENGTH(c);
    }
    return true;
}

template <class Pred>
std::string trimWith(std::string_view s, Pred isSpace) {
    const icu::UnicodeString u = fromUtf8(s);
    int32_t start = 0;
    int32_t end = u.length();
    while (start < end) {
        const UChar32 c = u.char32At(start);
        if (!isSpace(c)) {
            break;
        }
        start += U16_LENGTH(c);
    }
    while (end > start) {
        const UChar32 c = u.char32At(end - 1);  // the whole pair when at a trail surrogate
        if (!isSpace(c)) {
            break;
        }
        end -= U16_LENGTH(c);
    }
    return toUtf8(icu::UnicodeString(u, start, end - start));
}

template <class Map>
void bound(Map& cache) {
    if (cache.size() >= kCacheLimit) {
        cache.clear();
    }
}

TimePoint fromUDate(UDate ms) {
    return TimePoint(
        std::chrono::duration_cast<Duration>(std::chrono::duration<double, std::milli>(ms)));
}

UDate toUDate(TimePoint t) {
    return std::chrono::duration<double, std::milli>(t.time_since_epoch()).count();
}

}  // namespace

bool isBlank(std::string_view s) {
    return allOf(s, isWhitespaceOrNewline);
}

bool isBlankIgnoringNewlines(std::string_view s) {
    return allOf(s, isWhitespace);
}

std::string trimmed(std::string_view s) {
    return trimWith(s, isWhitespaceOrNewline);
}

std::string trimmedWhitespace(std::string_view s) {
    return trimWith(s, isWhitespace);
}

// Case mapping is locale-independent (the root locale), as the platform's String does it:
// full mappings, so "ß" upper-cases to "SS".
std::string lowercased(std::string_view s) {
    icu::UnicodeString u = fromUtf8(s);
    return toUtf8(u.toLower(icu::Locale::getRoot()));
}

std::string uppercased(std::string_view s) {
    icu::UnicodeString u = fromUtf8(s);
    return toUtf8(u.toUpper(icu::Locale::getRoot()));
}

// Words are found by the word break rules, so a hyphen starts a new word
// ("merriweather-regular" gives "Merriweather-Regular") while an apostrophe does not
// ("don't" gives "Don't"). Each word: title case on its first cased letter, the rest lower.
std::string capitalized(std::string_view s) {
    thread_local std::unique_ptr<icu::BreakIterator> words;
    if (!words) {
        UErrorCode status = U_ZERO_ERROR;
        words.reset(icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status)) {
            words.reset();
        }
    }
    icu::UnicodeString u = fromUtf8(s);
    return toUtf8(u.toTitle(words.get(), icu::Locale::getRoot()));
}

std::string defaultLocale() {
    return icu::Locale::getDefault().getName();
}

void setDefaultLocale(std::string_view locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(std::string(locale).c_str()), status);
}

std::string formatDecimal(double value, int minFractionDigits, int maxFractionDigits,
                          std::string_view locale) {
    const int maxDigits = std::clamp(maxFractionDigits, 0, 999);
    const int minDigits = std::clamp(minFractionDigits, 0, maxDigits);
    const icu::Locale loc =
        locale.empty() ? icu::Locale::getDefault() : icu::Locale(std::string(locale).c_str());

    thread_local std::map<std::string, icu::number::LocalizedNumberFormatter> cache;
    const std::string key = std::string(loc.getName()) + '|' + std::to_string(minDigits) + '|' +
                            std::to_string(maxDigits);
    auto it = cache.find(key);
    if (it == cache.end()) {
        bound(cache);
        // The default rounding mode is half-even, as the platform's number formatter.
        auto formatter = icu::number::NumberFormatter::withLocale(loc).precision(
            icu::number::Precision::minMaxFraction(minDigits, maxDigits));
        it = cache.emplace(key, std::move(formatter)).first;
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::number::FormattedNumber formatted = it->second.formatDouble(value, status);
    const icu::UnicodeString result = formatted.toString(status);
    if (U_FAILURE(status)) {
        return {};
    }
    return toUtf8(result);
}

std::optional<TimePoint> parseDate(std::string_view text, std::string_view pattern) {
    thread_local std::map<std::string, std::unique_ptr<icu::SimpleDateFormat>> cache;
    const std::string key(pattern);
    auto it = cache.find(key);
    if (it == cache.end()) {
        bound(cache);
        UErrorCode status = U_ZERO_ERROR;
        // The fixed POSIX locale: English month and day names whatever the user's locale.
        auto format = std::make_unique<icu::SimpleDateFormat>(fromUtf8(pattern),
                                                              icu::Locale("en_US_POSIX"), status);
        if (U_FAILURE(status)) {
            format.reset();
        } else {
            // The platform's date formatter is strict unless told otherwise.
            format->setLenient(false);
        }
        it = cache.emplace(key, std::move(format)).first;
    }
    if (!it->second) {
        return std::nullopt;
    }
    const icu::UnicodeString input = fromUtf8(text);
    icu::ParsePosition position(0);
    const UDate date = it->second->parse(input, position);
    // ICU stops quietly at the first character it cannot use ("GMT+5:30" reads as +05:00 and
    // leaves ":30"): only a parse that consumed the whole text counts.
    if (position.getErrorIndex() >= 0 || position.getIndex() != input.length() || input.isEmpty()) {
        return std::nullopt;
    }
    return fromUDate(date);
}

DateDifference dateDifference(TimePoint from, TimePoint to) {
    DateDifference out;
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(*icu::TimeZone::getGMT(), status);
    if (U_FAILURE(status)) {
        return out;
    }
    const UDate target = toUDate(to);
    calendar.setTime(toUDate(from), status);
    // Each call moves the calendar forward by the whole units it counted, so the next one
    // counts what remains: keep them as separate statements, in this order.
    out.days = calendar.fieldDifference(target, UCAL_DATE, status);
    out.hours = calendar.fieldDifference(target, UCAL_HOUR_OF_DAY, status);
    out.minutes = calendar.fieldDifference(target, UCAL_MINUTE, status);
    out.seconds = calendar.fieldDifference(target, UCAL_SECOND, status);
    if (U_FAILURE(status)) {
        return DateDifference{};
    }
    return out;
}

bool matchesWhole(std::string_view pattern, std::string_view text) {
    // Invalid patterns are cached too (as nothing), so that they are not compiled again.
    thread_local std::map<std::string, std::unique_ptr<icu::RegexPattern>> cache;
    const std::string key(pattern);
    auto it = cache.find(key);
    if (it == cache.end()) {
        bound(cache);
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexPattern> compiled(
            icu::RegexPattern::compile(fromUtf8(pattern), 0, status));
        if (U_FAILURE(status)) {
            compiled.reset();
        }
        it = cache.emplace(key, std::move(compiled)).first;
    }
    if (!it->second) {
        return false;
    }
    // The matcher keeps a reference to its input: `input` must outlive it.
    const icu::UnicodeString input = fromUtf8(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(it->second->matcher(input, status));
    if (U_FAILURE(status) || !matcher) {
        return false;
    }
    // A pathological pattern gives up (no match) instead of holding the main thread.
    matcher->setTimeLimit(2000, status);
    const bool whole = matcher->matches(status);  // the whole text, like "SELF MATCHES"
    return U_SUCCESS(status) && whole;
}

}  // namespace quillgate::platform::text

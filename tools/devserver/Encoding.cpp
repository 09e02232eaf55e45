#include "tools/devserver/Encoding.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <random>

namespace quillgate::devserver {

std::string percentEncode(std::string_view text) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size() * 3);
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool unreserved = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                                (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' ||
                                byte == '_' || byte == '~';
        if (unreserved) {
            out.push_back(c);
        } else {
            out.push_back('%');
            out.push_back(hex[byte >> 4]);
            out.push_back(hex[byte & 0x0F]);
        }
    }
    return out;
}

std::string htmlEscape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&#39;";
                break;
            default:
                out.push_back(c);
        }
    }
    return out;
}

std::string randomHex(size_t length) {
    thread_local std::mt19937_64 generator{std::random_device{}()};
    static constexpr char hex[] = "0123456789abcdef";
    std::uniform_int_distribution<int> digit(0, 15);
    std::string out(length, '0');
    for (char& c : out) {
        c = hex[digit(generator)];
    }
    return out;
}

namespace {

std::tm utc(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    return parts;
}

}  // namespace

std::string isoTime(std::chrono::system_clock::time_point time) {
    const std::tm parts = utc(time);
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() %
        1000;
    std::array<char, 96> buffer{};  // room for any int in each field
    std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec, static_cast<int>(millis < 0 ? 0 : millis));
    return buffer.data();
}

std::string timerTime(std::chrono::system_clock::time_point time) {
    static constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm parts = utc(time);
    std::array<char, 48> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%s %s %d %04d %02d:%02d:%02d GMT+0000",
                  days[parts.tm_wday], months[parts.tm_mon], parts.tm_mday, parts.tm_year + 1900,
                  parts.tm_hour, parts.tm_min, parts.tm_sec);
    return buffer.data();
}

std::string decimalText(double amount) {
    std::array<char, 48> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.2f", amount);
    return buffer.data();
}

}  // namespace quillgate::devserver

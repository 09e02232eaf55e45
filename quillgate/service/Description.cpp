#include "quillgate/service/Description.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace quillgate::description {

namespace {

template <class Float>
std::string floatText(Float v) {
    if (std::isnan(v)) {
        return "nan";
    }
    if (std::isinf(v)) {
        return v < 0 ? "-inf" : "inf";
    }
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, v);
    if (ec != std::errc()) {
        return "0.0";
    }
    std::string text(buffer, end);
    if (text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::string element(const nlohmann::json& v) {
    return v.is_string() ? description::quoted(v.get_ref<const std::string&>()) : value(v);
}

}  // namespace

std::string quoted(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8 + 2);
    out.push_back('"');
    // Runs of characters that need no escape are copied whole.
    std::size_t run = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\' && c != 0x7F) {
            continue;
        }
        out.append(text.data() + run, i - run);
        run = i + 1;
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\0':
                out += "\\0";
                break;
            default: {
                char escaped[16];
                std::snprintf(escaped, sizeof escaped, "\\u{%x}", c);
                out += escaped;
            }
        }
    }
    out.append(text.data() + run, text.size() - run);
    out.push_back('"');
    return out;
}

std::string value(const nlohmann::json& v) {
    switch (v.type()) {
        case nlohmann::json::value_t::string:
            return v.get<std::string>();
        case nlohmann::json::value_t::boolean:
            return boolean(v.get<bool>());
        case nlohmann::json::value_t::number_integer:
            return std::to_string(v.get<std::int64_t>());
        case nlohmann::json::value_t::number_unsigned:
            return std::to_string(v.get<std::uint64_t>());
        case nlohmann::json::value_t::number_float:
            return number(v.get<double>());
        case nlohmann::json::value_t::array: {
            std::string out = "[";
            bool first = true;
            for (const auto& e : v) {
                if (!first) {
                    out += ", ";
                }
                first = false;
                out += element(e);
            }
            return out + "]";
        }
        case nlohmann::json::value_t::object: {
            if (v.empty()) {
                return "[:]";
            }
            std::string out = "[";
            bool first = true;
            for (const auto& [key, e] : v.items()) {
                if (!first) {
                    out += ", ";
                }
                first = false;
                out += description::quoted(key) + ": " + element(e);
            }
            return out + "]";
        }
        default:
            return "nil";
    }
}

std::string number(double v) {
    return floatText(v);
}

std::string number(float v) {
    return floatText(v);
}

std::string optional(const std::optional<std::string>& v) {
    return v ? "Optional(" + description::quoted(*v) + ")" : "nil";
}

std::string optional(const std::optional<bool>& v) {
    return v ? "Optional(" + boolean(*v) + ")" : "nil";
}

}  // namespace quillgate::description

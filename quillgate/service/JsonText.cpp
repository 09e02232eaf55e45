#include "quillgate/service/JsonText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace quillgate::jsontext {

namespace {

class Writer {
  public:
    explicit Writer(bool pretty) : pretty_(pretty) {}

    bool write(const nlohmann::json& v) {
        switch (v.type()) {
            case nlohmann::json::value_t::object:
                return writeObject(v);
            case nlohmann::json::value_t::array:
                return writeArray(v);
            case nlohmann::json::value_t::string:
                writeString(v.get_ref<const std::string&>());
                return true;
            case nlohmann::json::value_t::boolean:
                out_ += v.get<bool>() ? "true" : "false";
                return true;
            case nlohmann::json::value_t::number_integer:
                out_ += std::to_string(v.get<std::int64_t>());
                return true;
            case nlohmann::json::value_t::number_unsigned:
                out_ += std::to_string(v.get<std::uint64_t>());
                return true;
            case nlohmann::json::value_t::number_float:
                return writeFloat(v.get<double>());
            case nlohmann::json::value_t::null:
                out_ += "null";
                return true;
            default:
                error_ = "Invalid type in JSON write";
                return false;
        }
    }

    std::string& text() { return out_; }
    const std::string& error() const { return error_; }

  private:
    void newline() {
        if (pretty_) {
            out_.push_back('\n');
            out_.append(static_cast<std::size_t>(indent_) * 2, ' ');
        }
    }

    bool writeObject(const nlohmann::json& v) {
        out_.push_back('{');
        ++indent_;
        if (pretty_) {
            out_.push_back('\n');
        }
        bool first = true;
        for (const auto& [key, element] : v.items()) {
            if (!first) {
                out_ += pretty_ ? ",\n" : ",";
            }
            first = false;
            if (pretty_) {
                out_.append(static_cast<std::size_t>(indent_) * 2, ' ');
            }
            writeString(key);
            out_ += pretty_ ? " : " : ":";
            if (!write(element)) {
                return false;
            }
        }
        --indent_;
        newline();
        out_.push_back('}');
        return true;
    }

    bool writeArray(const nlohmann::json& v) {
        out_.push_back('[');
        ++indent_;
        if (pretty_) {
            out_.push_back('\n');
        }
        bool first = true;
        for (const auto& element : v) {
            if (!first) {
                out_ += pretty_ ? ",\n" : ",";
            }
            first = false;
            if (pretty_) {
                out_.append(static_cast<std::size_t>(indent_) * 2, ' ');
            }
            if (!write(element)) {
                return false;
            }
        }
        --indent_;
        newline();
        out_.push_back(']');
        return true;
    }

    bool writeFloat(double d) {
        if (!std::isfinite(d)) {
            error_ = std::isnan(d) ? "Invalid number value (NaN) in JSON write"
                                   : "Invalid number value (infinite) in JSON write";
            return false;
        }
        if (d == std::trunc(d) && std::fabs(d) < 1e15) {
            char buffer[32];
            std::snprintf(buffer, sizeof buffer, "%.0f", d);
            out_ += buffer;
            return true;
        }
        char buffer[64];
        auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, d);
        out_.append(buffer, ec == std::errc() ? end : buffer);
        return true;
    }

    void writeString(const std::string& s) {
        out_.push_back('"');
        for (char ch : s) {
            const auto c = static_cast<unsigned char>(ch);
            switch (c) {
                case '"':
                    out_ += "\\\"";
                    break;
                case '\\':
                    out_ += "\\\\";
                    break;
                case '/':
                    out_ += "\\/";
                    break;
                case '\b':
                    out_ += "\\b";
                    break;
                case '\f':
                    out_ += "\\f";
                    break;
                case '\n':
                    out_ += "\\n";
                    break;
                case '\r':
                    out_ += "\\r";
                    break;
                case '\t':
                    out_ += "\\t";
                    break;
                default:
                    if (c < 0x20) {
                        char escaped[8];
                        std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                        out_ += escaped;
                    } else {
                        out_.push_back(ch);
                    }
            }
        }
        out_.push_back('"');
    }

    bool pretty_;
    int indent_ = 0;
    std::string out_;
    std::string error_;
};

}  // namespace

WriteResult write(const nlohmann::json& value, bool pretty) {
    if (!value.is_object() && !value.is_array()) {
        return {std::nullopt, "Invalid top-level type in JSON write"};
    }
    // Texts must be valid UTF-8; the library's own serialiser is the judge of that.
    try {
        (void)value.dump();
    } catch (const nlohmann::json::exception& e) {
        return {std::nullopt, e.what()};
    }
    Writer writer(pretty);
    if (!writer.write(value)) {
        return {std::nullopt, writer.error()};
    }
    return {std::move(writer.text()), {}};
}

std::optional<std::string> prettyText(std::string_view body) {
    auto parsed = nlohmann::json::parse(body, nullptr, false);
    if (parsed.is_discarded() || (!parsed.is_object() && !parsed.is_array())) {
        return std::nullopt;
    }
    return write(parsed, true).text;
}

}  // namespace quillgate::jsontext

#include "quillgate/service/JsonText.h"

#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <vector>

namespace quillgate::jsontext {

namespace {

// The text of one document being written; the walkers below feed it.
class TextWriter {
  public:
    explicit TextWriter(bool pretty) : pretty_(pretty) {}

    std::string& text() { return out_; }
    const std::string& error() const { return error_; }

  protected:
    void newline() {
        if (pretty_) {
            out_.push_back('\n');
            out_.append(static_cast<std::size_t>(indent_) * 2, ' ');
        }
    }

    void openContainer(char open) {
        out_.push_back(open);
        ++indent_;
        if (pretty_) {
            out_.push_back('\n');
        }
    }

    void beginElement(bool first) {
        if (!first) {
            out_ += pretty_ ? ",\n" : ",";
        }
        if (pretty_) {
            out_.append(static_cast<std::size_t>(indent_) * 2, ' ');
        }
    }

    void writeKey(std::string_view key) {
        writeString(key);
        out_ += pretty_ ? " : " : ":";
    }

    void closeContainer(char close) {
        --indent_;
        newline();
        out_.push_back(close);
    }

    void writeInteger(std::int64_t n) { appendNumber(n); }
    void writeInteger(std::uint64_t n) { appendNumber(n); }

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

    // Runs of characters that need no escape are copied whole.
    void writeString(std::string_view s) {
        out_.push_back('"');
        std::size_t run = 0;
        for (std::size_t i = 0; i < s.size(); ++i) {
            const auto c = static_cast<unsigned char>(s[i]);
            if (c >= 0x20 && c != '"' && c != '\\' && c != '/') {
                continue;
            }
            out_.append(s.data() + run, i - run);
            run = i + 1;
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
                default: {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out_ += escaped;
                }
            }
        }
        out_.append(s.data() + run, s.size() - run);
        out_.push_back('"');
    }

    std::string error_;

  private:
    template <class Integer>
    void appendNumber(Integer n) {
        char buffer[24];
        auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, n);
        out_.append(buffer, end);
    }

    bool pretty_;
    int indent_ = 0;
    std::string out_;
};

// Writes an nlohmann document.
class Writer : public TextWriter {
  public:
    using TextWriter::TextWriter;

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
                text() += v.get<bool>() ? "true" : "false";
                return true;
            case nlohmann::json::value_t::number_integer:
                writeInteger(v.get<std::int64_t>());
                return true;
            case nlohmann::json::value_t::number_unsigned:
                writeInteger(v.get<std::uint64_t>());
                return true;
            case nlohmann::json::value_t::number_float:
                return writeFloat(v.get<double>());
            case nlohmann::json::value_t::null:
                text() += "null";
                return true;
            default:
                error_ = "Invalid type in JSON write";
                return false;
        }
    }

  private:
    bool writeObject(const nlohmann::json& v) {
        openContainer('{');
        bool first = true;
        for (const auto& [key, element] : v.items()) {
            beginElement(first);
            first = false;
            writeKey(key);
            if (!write(element)) {
                return false;
            }
        }
        closeContainer('}');
        return true;
    }

    bool writeArray(const nlohmann::json& v) {
        openContainer('[');
        bool first = true;
        for (const auto& element : v) {
            beginElement(first);
            first = false;
            if (!write(element)) {
                return false;
            }
        }
        closeContainer(']');
        return true;
    }
};

// Writes a simdjson document as Writer writes the same body parsed by nlohmann: an object's
// keys in sorted (byte) order, and of a repeated key only its last value, as nlohmann keeps
// it. The parser has checked the texts' UTF-8 and the numbers are finite.
class DomWriter : public TextWriter {
  public:
    using TextWriter::TextWriter;

    void write(simdjson::dom::element v) {
        using simdjson::dom::element_type;
        switch (v.type()) {
            case element_type::OBJECT:
                writeObject(v.get_object().value_unsafe());
                break;
            case element_type::ARRAY: {
                openContainer('[');
                bool first = true;
                const simdjson::dom::array array = v.get_array().value_unsafe();
                for (const simdjson::dom::element element : array) {
                    beginElement(first);
                    first = false;
                    write(element);
                }
                closeContainer(']');
                break;
            }
            case element_type::STRING:
                writeString(v.get_string().value_unsafe());
                break;
            case element_type::BOOL:
                text() += v.get_bool().value_unsafe() ? "true" : "false";
                break;
            case element_type::INT64:
                writeInteger(v.get_int64().value_unsafe());
                break;
            case element_type::UINT64:
                writeInteger(v.get_uint64().value_unsafe());
                break;
            case element_type::DOUBLE:
                writeFloat(v.get_double().value_unsafe());
                break;
            case element_type::NULL_VALUE:
                text() += "null";
                break;
        }
    }

  private:
    struct Member {
        std::string_view key;
        simdjson::dom::element value;
    };

    void writeObject(simdjson::dom::object object) {
        // The members of every open object share one stack.
        const std::size_t base = members_.size();
        for (const simdjson::dom::key_value_pair field : object) {
            members_.push_back(Member{field.key, field.value});
        }
        const auto begin = members_.begin() + static_cast<std::ptrdiff_t>(base);
        std::stable_sort(begin, members_.end(),
                         [](const Member& a, const Member& b) { return a.key < b.key; });
        openContainer('{');
        bool first = true;
        const std::size_t end = members_.size();
        for (std::size_t i = base; i < end; ++i) {
            if (i + 1 < end && members_[i + 1].key == members_[i].key) {
                continue;  // a later value of the same key replaces this one
            }
            beginElement(first);
            first = false;
            writeKey(members_[i].key);
            write(members_[i].value);
        }
        closeContainer('}');
        members_.resize(base);
    }

    std::vector<Member> members_;
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
    // simdjson reads most bodies several times faster than nlohmann; what it refuses (a byte
    // order mark, an integer beyond 64 bits, deep nesting, and whatever isn't JSON) is left to
    // nlohmann, which has the last word.
    thread_local simdjson::dom::parser parser;
    constexpr std::size_t kSharedParserLimit = 256 * 1024;
    if (body.size() <= kSharedParserLimit) {
        simdjson::dom::element root;
        if (parser.parse(body.data(), body.size()).get(root) == simdjson::SUCCESS) {
            if (!root.is_object() && !root.is_array()) {
                return std::nullopt;
            }
            DomWriter writer(true);
            writer.text().reserve(body.size() * 2);
            writer.write(root);
            return std::move(writer.text());
        }
    }
    auto parsed = nlohmann::json::parse(body, nullptr, false);
    if (parsed.is_discarded() || (!parsed.is_object() && !parsed.is_array())) {
        return std::nullopt;
    }
    return write(parsed, true).text;
}

}  // namespace quillgate::jsontext

#include "quillgate/records/DecodingError.h"

namespace quillgate {

namespace {

// Quotes a text for the context description: '"' and '\' escaped, control characters as
// \n, \t or \u{XX}, so the whole context stays on one line.
std::string quoted(const std::string& text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
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
            default:
                if (byte < 0x20 || byte == 0x7F) {
                    out += "\\u{";
                    out += kHex[byte >> 4];
                    out += kHex[byte & 0xF];
                    out += '}';
                } else {
                    out += c;
                }
        }
    }
    out += '"';
    return out;
}

}  // namespace

std::string DecodingError::codingPathDescription() const {
    std::string out;
    for (const CodingKey& step : codingPath) {
        if (step.intValue) {
            out += '[';
            out += std::to_string(*step.intValue);
            out += ']';
        } else {
            if (!out.empty()) {
                out += '.';
            }
            out += step.stringValue;
        }
    }
    return out;
}

std::string DecodingError::contextDescription() const {
    std::string out = "Context(codingPath: ";
    out += quoted(codingPathDescription());
    out += ", debugDescription: ";
    out += quoted(debugDescription);
    if (!underlyingError.empty()) {
        out += ", underlyingError: ";
        out += quoted(underlyingError);
    }
    out += ')';
    return out;
}

std::string DecodingError::localizedDescription() const {
    switch (kind) {
        case DecodingErrorKind::keyNotFound:
        case DecodingErrorKind::valueNotFound:
            return "The data couldn\u2019t be read because it is missing.";
        case DecodingErrorKind::typeMismatch:
        case DecodingErrorKind::dataCorrupted:
            break;
    }
    return "The data couldn\u2019t be read because it isn\u2019t in the correct format.";
}

std::string longDecodingFailureLine(const DecodingError& error) {
    const std::string tail =
        ", value " + error.contextDescription() + ", and ERROR: " + error.localizedDescription();
    switch (error.kind) {
        case DecodingErrorKind::typeMismatch:
            return "Type mismatch error: " + error.typeName + tail;
        case DecodingErrorKind::valueNotFound:
            return "Value not found error: " + error.typeName + tail;
        case DecodingErrorKind::keyNotFound:
            return "Key not found error: " + error.key + tail;
        case DecodingErrorKind::dataCorrupted:
            break;
    }
    return "Data corrupted error: " + error.contextDescription() +
           ", and ERROR: " + error.localizedDescription();
}

std::string shortDecodingFailureLine(const DecodingError& error) {
    const std::string tail =
        ", value " + error.contextDescription() + " and ERROR: " + error.localizedDescription();
    switch (error.kind) {
        case DecodingErrorKind::typeMismatch:
        case DecodingErrorKind::valueNotFound:
            return "error " + error.typeName + tail;
        case DecodingErrorKind::keyNotFound:
            return "error " + error.key + tail;
        case DecodingErrorKind::dataCorrupted:
            break;
    }
    return "error " + error.contextDescription() + ", and ERROR: " + error.localizedDescription();
}

}  // namespace quillgate

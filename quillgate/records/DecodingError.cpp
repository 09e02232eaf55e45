#include "quillgate/records/DecodingError.h"

#include "quillgate/service/Description.h"

namespace quillgate {

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
    out += description::quoted(codingPathDescription());
    out += ", debugDescription: ";
    out += description::quoted(debugDescription);
    if (!underlyingError.empty()) {
        out += ", underlyingError: ";
        out += description::quoted(underlyingError);
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

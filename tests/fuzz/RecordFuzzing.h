#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "quillgate/records/RecordCoding.h"

// The body of every record fuzz target: any bytes decode to a record or a DecodingError, never
// a crash, and to the same one the nlohmann decoder gives. A success must encode to a body that
// decodes to the same record and encodes to the same text again; a failure must print both
// line families as single lines.

namespace quillgate::fuzzing {

template <class T>
int fuzzRecord(const uint8_t* data, size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    auto decoded = decode<T>(body);
    // The nlohmann decoder is the reference: the same record, or the same failure.
    const auto reference = decodeWithNlohmann<T>(body);
    if (decoded.ok() != reference.ok() ||
        (decoded.ok() ? !(*decoded == *reference) : !(decoded.error() == reference.error()))) {
        std::abort();
    }
    if (decoded.ok()) {
        const std::string encoded = encodeToString(*decoded);
        auto again = decode<T>(encoded);
        if (!again.ok() || !(*again == *decoded) || encodeToString(*again) != encoded) {
            std::abort();
        }
        return 0;
    }
    for (const std::string& line :
         {longDecodingFailureLine(decoded.error()), shortDecodingFailureLine(decoded.error())}) {
        if (line.find('\n') != std::string::npos || line.find('\r') != std::string::npos) {
            std::abort();
        }
    }
    return 0;
}

}  // namespace quillgate::fuzzing

// Decodes arbitrary bytes as a ContentDetails.
#include "RecordFuzzing.h"
#include "quillgate/records/AccountRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return quillgate::fuzzing::fuzzRecord<quillgate::ContentDetails>(data, size);
}

// Decodes arbitrary bytes as a EmbededSubscription.
#include "RecordFuzzing.h"
#include "quillgate/records/AccountRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return quillgate::fuzzing::fuzzRecord<quillgate::EmbededSubscription>(data, size);
}

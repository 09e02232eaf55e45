// Decodes arbitrary bytes as a UserJourneyModel.
#include "RecordFuzzing.h"
#include "quillgate/records/JourneyRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return quillgate::fuzzing::fuzzRecord<quillgate::UserJourneyModel>(data, size);
}

// Decodes arbitrary bytes as a CustomizePayWallModel.
#include "RecordFuzzing.h"
#include "quillgate/records/PaywallRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return quillgate::fuzzing::fuzzRecord<quillgate::CustomizePayWallModel>(data, size);
}

// Decodes arbitrary bytes as a PurchaseModel.
#include "RecordFuzzing.h"
#include "quillgate/records/AccountRecords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return quillgate::fuzzing::fuzzRecord<quillgate::PurchaseModel>(data, size);
}

#pragma once

#include <string>

#include "quillgate/Export.h"

namespace quillgate::platform {

// Facts about the device, as the events report them.
struct QUILLGATE_EXPORT DeviceInfo {
    std::string model;          // e.g. "x86_64"
    std::string systemName;     // e.g. "Linux"
    std::string systemVersion;  // e.g. "6.1.0"
};

}  // namespace quillgate::platform

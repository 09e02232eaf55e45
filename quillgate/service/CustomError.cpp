#include "quillgate/service/CustomError.h"

#include <array>

#include "quillgate/platform/Log.h"

namespace quillgate {

namespace {
// In the order of the cases.
constexpr std::array<std::string_view, 5> kNames{"noInternetConnection", "someThingWentWrong",
                                                 "decodingError", "wrongClientOrContentID",
                                                 "internalServerError"};
}  // namespace

std::string_view name(CustomError error) {
    const auto index = static_cast<std::size_t>(error);
    return index < kNames.size() ? kNames[index] : kNames[1];
}

void print(CustomError error) {
    platform::log(name(error));
}

}  // namespace quillgate

#include "quillgate/service/CustomError.h"

#include "quillgate/platform/Log.h"

namespace quillgate {

std::string_view name(CustomError error) {
    switch (error) {
        case CustomError::noInternetConnection:
            return "noInternetConnection";
        case CustomError::someThingWentWrong:
            return "someThingWentWrong";
        case CustomError::decodingError:
            return "decodingError";
        case CustomError::wrongClientOrContentID:
            return "wrongClientOrContentID";
        case CustomError::internalServerError:
            return "internalServerError";
    }
    return "someThingWentWrong";
}

void print(CustomError error) {
    platform::log(name(error));
}

}  // namespace quillgate

#pragma once

#include <string_view>

// The library's failure kinds. A case is only ever printed (one line with the case's own
// name, e.g. someThingWentWrong) or handed to a completion; it never reaches the host.
// `noInternetConnection` and `internalServerError` are part of the vocabulary but nothing
// raises them. Any thread.
namespace quillgate {

enum class CustomError {
    noInternetConnection,
    someThingWentWrong,
    decodingError,
    wrongClientOrContentID,
    internalServerError,
};

// The case's name.
std::string_view name(CustomError error);
// Prints the case's name as one line.
void print(CustomError error);

}  // namespace quillgate

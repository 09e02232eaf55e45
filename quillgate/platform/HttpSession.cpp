#include "quillgate/platform/HttpSession.h"

#include <algorithm>
#include <cctype>

namespace quillgate::platform {

std::optional<std::string> HttpRequest::header(std::string_view name) const {
    auto sameName = [&](const std::string& candidate) {
        return std::equal(candidate.begin(), candidate.end(), name.begin(), name.end(),
                          [](char a, char b) {
                              return std::tolower(static_cast<unsigned char>(a)) ==
                                     std::tolower(static_cast<unsigned char>(b));
                          });
    };
    for (const auto& [key, value] : headers) {
        if (sameName(key)) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace quillgate::platform

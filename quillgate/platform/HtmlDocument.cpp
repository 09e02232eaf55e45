#include "quillgate/platform/HtmlDocument.h"

namespace quillgate::platform {

std::optional<std::string> HtmlElement::attribute(std::string_view name) const {
    for (const auto& [key, value] : attributes) {
        if (key == name) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace quillgate::platform

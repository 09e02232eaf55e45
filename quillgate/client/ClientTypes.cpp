#include "quillgate/client/ClientTypes.h"

namespace quillgate {

std::string_view rawValue(PAYWALLTYPE type) {
    switch (type) {
        case PAYWALLTYPE::FULLPAGE:
            return "FULLPAGE";
        case PAYWALLTYPE::POPUP:
            return "POPUP";
        case PAYWALLTYPE::INARTICLE:
            break;
    }
    return "INARTICLE";
}

std::optional<PAYWALLTYPE> paywallTypeFromRawValue(std::string_view text) {
    for (auto type : {PAYWALLTYPE::INARTICLE, PAYWALLTYPE::FULLPAGE, PAYWALLTYPE::POPUP}) {
        if (rawValue(type) == text) {
            return type;
        }
    }
    return std::nullopt;
}

}  // namespace quillgate

#include "quillgate/service/Mode.h"

#include <array>
#include <utility>

namespace quillgate {

namespace {
constexpr std::array<std::pair<Mode, std::string_view>, 4> kModes{{
    {Mode::stage, "stage"},
    {Mode::sandbox, "sandbox"},
    {Mode::production, "production"},
    {Mode::local, "local"},
}};
}  // namespace

std::string_view rawValue(Mode mode) {
    for (const auto& [m, text] : kModes) {
        if (m == mode) {
            return text;
        }
    }
    return "stage";
}

std::optional<Mode> modeFromRawValue(std::string_view text) {
    for (const auto& [m, raw] : kModes) {
        if (raw == text) {
            return m;
        }
    }
    return std::nullopt;
}

}  // namespace quillgate

#include "quillgate/analytics/EventType.h"

#include <array>
#include <utility>

namespace quillgate {

namespace {

constexpr std::array<std::pair<EventType, std::string_view>, 4> kTypes{{
    {EventType::VIEW, "VIEW"},
    {EventType::CLICK, "CLICK"},
    {EventType::EXIT, "EXIT"},
    {EventType::CROSS, "CROSS"},
}};

constexpr std::array<std::pair<EventLocation, std::string_view>, 3> kLocations{{
    {EventLocation::PAYWALL, "PAYWALL"},
    {EventLocation::PAGE, "PAGE"},
    {EventLocation::POPUP, "POPUP"},
}};

template <class E, std::size_t N>
std::string_view textOf(const std::array<std::pair<E, std::string_view>, N>& table, E value) {
    for (const auto& [e, text] : table) {
        if (e == value) {
            return text;
        }
    }
    return table.front().second;
}

template <class E, std::size_t N>
std::optional<E> caseOf(const std::array<std::pair<E, std::string_view>, N>& table,
                        std::string_view text) {
    for (const auto& [e, raw] : table) {
        if (raw == text) {
            return e;
        }
    }
    return std::nullopt;
}

}  // namespace

std::string_view rawValue(EventType type) {
    return textOf(kTypes, type);
}

std::optional<EventType> eventTypeFromRawValue(std::string_view text) {
    return caseOf(kTypes, text);
}

std::string_view rawValue(EventLocation location) {
    return textOf(kLocations, location);
}

std::optional<EventLocation> eventLocationFromRawValue(std::string_view text) {
    return caseOf(kLocations, text);
}

}  // namespace quillgate

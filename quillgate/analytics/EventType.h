#pragma once

#include <optional>
#include <string_view>

// The vocabulary screens report with: what happened (EventType) and where (EventLocation).
// Both read and write as their raw texts, which are also what the collector receives. The
// ping has no case here: its "PING" is a literal of the ping body. CROSS is part of the
// collector's format although no screen reports it today. Pure values, any thread.
namespace quillgate {

enum class EventType { VIEW, CLICK, EXIT, CROSS };

enum class EventLocation { PAYWALL, PAGE, POPUP };

// "VIEW", "CLICK", "EXIT", "CROSS".
std::string_view rawValue(EventType type);
// The case whose raw text is exactly `text`; nothing for any other text.
std::optional<EventType> eventTypeFromRawValue(std::string_view text);

// "PAYWALL", "PAGE", "POPUP".
std::string_view rawValue(EventLocation location);
std::optional<EventLocation> eventLocationFromRawValue(std::string_view text);

}  // namespace quillgate

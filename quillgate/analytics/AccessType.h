#pragma once

#include <optional>
#include <string>

#include "quillgate/records/JourneyRecords.h"

// How a journey answer shows up in the page events: the reader's access type ("PASS",
// "SUB", "REGWALL", "CONTENT", "PVM" or "UJF") and the unlocked status (1 while the
// service knows a session). Both are kept in Constants for the life of the process and read
// by every PAGE event after they were written.
//
// The access flow calls these for each decoded journey, in its own order:
//   updateAccessType(journey);            // just before the PAGE VIEW is logged
//   EventManager::shared().logEventVIEW(EventLocation::PAGE);
//   ...
//   updateUnlockedStatus(journey);        // last, so that PAGE VIEW still carried the old one
//
// Main thread only, like Constants.
namespace quillgate {

// The access type `journey` names, first match winning, a flag counting only when present
// and true: unlockedWithPass "PASS", unlockedWithSubscription "SUB", unlockedWithRegwall
// "REGWALL", unlockedWithContent "CONTENT", unlockedWithPageViewMeter "PVM"; else "UJF" when
// the pass, subscription, regwall and content flags are all present and false and the
// signature is absent or not empty. Nothing otherwise: the earlier value then stands.
std::optional<std::string> accessTypeOf(const UserJourneyModel& journey);

// Writes accessTypeOf(journey) into Constants::accessType(), or leaves it as it was.
void updateAccessType(const UserJourneyModel& journey);

// Writes Constants::unlockedStatus(): 1 if the journey says sessionExists is true, else 0.
void updateUnlockedStatus(const UserJourneyModel& journey);

}  // namespace quillgate

#include "quillgate/analytics/AccessType.h"

#include "quillgate/service/Constants.h"

namespace quillgate {

namespace {

bool isTrue(const std::optional<bool>& flag) {
    return flag.value_or(false);
}

bool isFalse(const std::optional<bool>& flag) {
    return flag.has_value() && !*flag;
}

}  // namespace

std::optional<std::string> accessTypeOf(const UserJourneyModel& journey) {
    if (isTrue(journey.unlockedWithPass)) {
        return "PASS";
    }
    if (isTrue(journey.unlockedWithSubscription)) {
        return "SUB";
    }
    if (isTrue(journey.unlockedWithRegwall)) {
        return "REGWALL";
    }
    if (isTrue(journey.unlockedWithContent)) {
        return "CONTENT";
    }
    if (isTrue(journey.unlockedWithPageViewMeter)) {
        return "PVM";
    }
    // "UJF" needs an explicit false for each of the four unlock flags (the page-view meter's
    // is not one of them); a signature that is present but empty rules it out.
    const bool allAnsweredFalse =
        isFalse(journey.unlockedWithSubscription) && isFalse(journey.unlockedWithRegwall) &&
        isFalse(journey.unlockedWithContent) && isFalse(journey.unlockedWithPass);
    if (allAnsweredFalse && (!journey.signature || !journey.signature->empty())) {
        return "UJF";
    }
    return std::nullopt;
}

void updateAccessType(const UserJourneyModel& journey) {
    if (auto type = accessTypeOf(journey)) {
        Constants::accessType() = std::move(*type);
    }
}

void updateUnlockedStatus(const UserJourneyModel& journey) {
    Constants::unlockedStatus() = isTrue(journey.sessionExists) ? 1 : 0;
}

}  // namespace quillgate

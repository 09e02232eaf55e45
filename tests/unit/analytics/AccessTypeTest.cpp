#include "quillgate/analytics/AccessType.h"

#include "quillgate/service/Constants.h"
#include "tests/unit/analytics/AnalyticsTestSupport.h"

namespace quillgate::analyticstest {
namespace {

using AccessTypeTest = AnalyticsTest;

UserJourneyModel journey(const std::string& body) {
    auto decoded = decode<UserJourneyModel>(body);
    EXPECT_TRUE(decoded) << body;
    return decoded ? *decoded : UserJourneyModel{};
}

TEST_F(AccessTypeTest, FirstTrueFlagWinsInItsOrder) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({"unlockedWithPass":true,"unlockedWithSubscription":true})", "PASS"},
        {R"({"unlockedWithSubscription":true,"unlockedWithRegwall":true})", "SUB"},
        {R"({"unlockedWithRegwall":true,"unlockedWithContent":true})", "REGWALL"},
        {R"({"unlockedWithContent":true,"unlockedWithPageViewMeter":true})", "CONTENT"},
        {R"({"unlockedWithPageViewMeter":true,"unlockedWithPass":false})", "PVM"},
    };
    for (const auto& [body, expected] : cases) {
        EXPECT_EQ(accessTypeOf(journey(body)), expected) << body;
    }
}

TEST_F(AccessTypeTest, JourneyFailureNeedsFourExplicitFalsesAndNoEmptySignature) {
    const std::string allFalse = R"("unlockedWithPass":false,"unlockedWithSubscription":false,)"
                                 R"("unlockedWithRegwall":false,"unlockedWithContent":false)";
    EXPECT_EQ(accessTypeOf(journey("{" + allFalse + "}")), "UJF");
    EXPECT_EQ(accessTypeOf(journey("{" + allFalse + R"(,"signature":"sig"})")), "UJF");
    EXPECT_EQ(accessTypeOf(journey("{" + allFalse + R"(,"unlockedWithPageViewMeter":false})")),
              "UJF");
    EXPECT_EQ(accessTypeOf(journey("{" + allFalse + R"(,"signature":""})")), std::nullopt);
    EXPECT_EQ(
        accessTypeOf(journey(
            R"({"unlockedWithPass":false,"unlockedWithSubscription":false,"unlockedWithRegwall":false})")),
        std::nullopt);
    EXPECT_EQ(accessTypeOf(journey("{}")), std::nullopt);
}

TEST_F(AccessTypeTest, UpdatesKeepTheEarlierValueWhenNothingMatches) {
    updateAccessType(journey(R"({"unlockedWithRegwall":true})"));
    EXPECT_EQ(Constants::accessType(), "REGWALL");
    updateAccessType(journey(R"({"freeAccess":true})"));
    EXPECT_EQ(Constants::accessType(), "REGWALL");

    updateUnlockedStatus(journey(R"({"sessionExists":true})"));
    EXPECT_EQ(Constants::unlockedStatus(), 1);
    updateUnlockedStatus(journey(R"({})"));
    EXPECT_EQ(Constants::unlockedStatus(), 0);
}

}  // namespace
}  // namespace quillgate::analyticstest

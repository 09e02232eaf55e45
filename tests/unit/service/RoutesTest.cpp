#include <gtest/gtest.h>

#include "quillgate/service/Deployment.h"
#include "quillgate/service/Endpoint.h"
#include "quillgate/service/Mode.h"

namespace quillgate {
namespace {

TEST(RoutesTest, EveryRouteHasItsPathAndLowerCaseMethod) {
    struct Row {
        Endpoint endpoint;
        std::string path;
        std::string method;
    };
    const std::vector<Row> rows = {
        {Endpoint::loginChallengeById("c1"), "/login-challenge/c1", "get"},
        {Endpoint::logout("s1"), "/auth/logout-via-sessionid?sessionId=s1", "post"},
        {Endpoint::paywallConfig("cl"), "/paywall/paywall-config/cl", "get"},
        {Endpoint::popup("p1"), "/client/popup/p1", "get"},
        {Endpoint::meteringBanner("m1"), "/metering/banner/m1", "get"},
        {Endpoint::contentAccess(), "/content/access", "post"},
        {Endpoint::subscriptionAccess(), "/subscription/access", "get"},
        {Endpoint::content(), "/content", "get"},
        {Endpoint::loginChallenge(), "/login-challenge", "post"},
        {Endpoint::collectEvent(), "", "post"},
        {Endpoint::user(), "/user/", "get"},
        {Endpoint::subscriptionSettings(), "/subscription/settings", "get"},
        {Endpoint::currencyConversion(), "/subscription/convert-subscription-currency", "get"},
        {Endpoint::embeddedSubscription(), "/subscription/embedded-subscription", "get"},
        {Endpoint::ping(), "", "post"},
        {Endpoint::journey(), "/journey", "get"},
    };
    ASSERT_EQ(rows.size(), 16u);
    for (const auto& row : rows) {
        EXPECT_EQ(row.endpoint.path(), row.path);
        EXPECT_EQ(row.endpoint.method(), row.method) << row.path;
        EXPECT_EQ(row.endpoint.isCollection(), row.path.empty()) << row.path;
    }
}

TEST(RoutesTest, ModesReadFromTheirExactRawTextOnly) {
    for (Mode m : {Mode::stage, Mode::sandbox, Mode::production, Mode::local}) {
        EXPECT_EQ(modeFromRawValue(rawValue(m)), m);
    }
    EXPECT_EQ(rawValue(Mode::production), "production");
    EXPECT_FALSE(modeFromRawValue("Stage"));
    EXPECT_FALSE(modeFromRawValue(""));
    EXPECT_FALSE(modeFromRawValue("prod"));
}

TEST(RoutesTest, BuiltInTableSendsLocalEventsToStagingAndSandboxToProduction) {
    const Deployment d = Deployment::builtIn();
    EXPECT_EQ(d.addresses(Mode::local).apiBase, "http://127.0.0.1:3001/api/v1");
    EXPECT_EQ(d.addresses(Mode::local).webBase, "http://127.0.0.1:3000/");
    EXPECT_EQ(d.addresses(Mode::local).collectionAddress,
              d.addresses(Mode::stage).collectionAddress);
    EXPECT_EQ(d.addresses(Mode::sandbox).collectionAddress,
              d.addresses(Mode::production).collectionAddress);
    EXPECT_NE(d.addresses(Mode::stage).collectionAddress,
              d.addresses(Mode::production).collectionAddress);
    for (Mode m : {Mode::stage, Mode::sandbox, Mode::production, Mode::local}) {
        const auto& a = d.addresses(m);
        EXPECT_TRUE(a.apiBase.ends_with("/api/v1")) << rawValue(m);
        EXPECT_TRUE(a.webBase.ends_with("/")) << rawValue(m);
        EXPECT_TRUE(a.collectionAddress.ends_with("/collect/event")) << rawValue(m);
    }
    EXPECT_TRUE(d.mockSiteAddress.ends_with("/"));
    EXPECT_FALSE(d.placeholderSiteAddress.ends_with("/"));
}

}  // namespace
}  // namespace quillgate

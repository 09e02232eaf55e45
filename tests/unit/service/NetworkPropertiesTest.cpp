#include "quillgate/service/NetworkProperties.h"

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Url.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Deployment.h"
#include "quillgate/service/Endpoint.h"
#include "quillgate/service/Mode.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using nlohmann::json;
using platform::HttpHeaders;
using testing::TestPlatform;

const ServiceAddresses kAddresses{"https://api.example.test/api/v1", "https://web.example.test/",
                                  "https://collect.example.test/collect/event"};

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

TEST(RoutesTest, BuiltInTableGivesEveryModeItsAddressesAndSandboxEventsGoToProduction) {
    const Deployment d = Deployment::builtIn();
    // The local API base and collection address are checked with the requests below.
    EXPECT_EQ(d.addresses(Mode::local).webBase, "http://127.0.0.1:3000/");
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

class NetworkPropertiesTest : public ::testing::Test {
  protected:
    TestPlatform tp;
};

TEST_F(NetworkPropertiesTest, GetRoutesRepeatKeysForListsAndLeaveOtherValuesOut) {
    auto request = NetworkProperties::getRequest(
        json{{"clientId", "c 1"}, {"tag", json::array({"x", "y&z"})}, {"count", 3}}, false,
        Endpoint::content(), kAddresses);
    EXPECT_EQ(request.method, "get");
    EXPECT_FALSE(request.body);
    EXPECT_EQ(request.url,
              "https://api.example.test/api/v1/content?clientId=c%201&tag=x&tag=y%26z");
    EXPECT_EQ(platform::url::queryItems(request.url),
              (platform::url::QueryItems{{"clientId", "c 1"}, {"tag", "x"}, {"tag", "y&z"}}));

    // Without entries there is no query; entries that give no item still set an empty one.
    for (const json& none : {json::object(), json{}}) {
        EXPECT_EQ(NetworkProperties::getRequest(none, false, Endpoint::popup("p1"), kAddresses).url,
                  "https://api.example.test/api/v1/client/popup/p1");
    }
    EXPECT_EQ(
        NetworkProperties::getRequest(json{{"n", 1}}, false, Endpoint::content(), kAddresses).url,
        "https://api.example.test/api/v1/content?");
}

TEST_F(NetworkPropertiesTest, JourneyQueryPrintsValuesAndEncodesTheWholeAddress) {
    const json parameters{{"categories", json::array({"a", "b c"})},
                          {"clientId", "cl"},
                          {"tags", json::array({""})},
                          {"url", "https://news.test/x?y=1"}};
    EXPECT_EQ(NetworkProperties::joinedQuery(parameters),
              R"(categories=["a", "b c"]&clientId=cl&tags=[""]&url=https://news.test/x?y=1)");

    auto request = NetworkProperties::getRequest(parameters, true, Endpoint::journey(), kAddresses);
    EXPECT_EQ(request.url,
              "https://api.example.test/api/v1/journey?"
              "categories=%5B%22a%22,%20%22b%20c%22%5D&clientId=cl&tags=%5B%22%22%5D"
              "&url=https://news.test/x?y=1");
}

TEST_F(NetworkPropertiesTest, PostRoutesCarryTheParametersAsJsonWhenTheyCanBeWritten) {
    auto request = NetworkProperties::getRequest(
        json{{"redirectTo", "orvelant://home?id=a1"}, {"loginChallengeId", "C-1"}}, false,
        Endpoint::loginChallenge(), kAddresses);
    EXPECT_EQ(request.method, "post");
    EXPECT_EQ(request.url, "https://api.example.test/api/v1/login-challenge");
    ASSERT_TRUE(request.body);
    EXPECT_EQ(json::parse(*request.body),
              (json{{"redirectTo", "orvelant://home?id=a1"}, {"loginChallengeId", "C-1"}}));
    EXPECT_TRUE(tp.lines().empty());

    // A body that cannot be written goes out empty.
    auto unwritable = NetworkProperties::getRequest(json{{"sessionId", std::string("\xff")}}, false,
                                                    Endpoint::logout("s"), kAddresses);
    EXPECT_FALSE(unwritable.body);
    ASSERT_EQ(tp.lines().size(), 1u);
    EXPECT_TRUE(tp.lines()[0].starts_with("Error converting to data: "));
    EXPECT_EQ(unwritable.headers.size(), 3u);
}

TEST_F(NetworkPropertiesTest, RequestsCarryExactlyTheThreeHeadersAnd45SecondsButTheUserRoute) {
    for (const Endpoint& endpoint : {Endpoint::journey(), Endpoint::loginChallenge()}) {
        auto request = NetworkProperties::getRequest(json::object(), false, endpoint, kAddresses);
        EXPECT_EQ(request.headers, (HttpHeaders{{"accept", "application/json"},
                                                {"Content-Type", "application/json"},
                                                {"User-Agent", NetworkProperties::userAgent()}}));
        EXPECT_EQ(request.timeoutSeconds, 45.0);
    }

    // The user route has no user agent, and the session in its path.
    auto without = NetworkProperties::getUserRequest("cl-1", kAddresses);
    EXPECT_EQ(without.url, "https://api.example.test/api/v1/user/?clientId=cl-1");
    EXPECT_EQ(without.method, "get");
    EXPECT_EQ(without.headers,
              (HttpHeaders{{"accept", "application/json"}, {"Content-Type", "application/json"}}));
    EXPECT_EQ(without.timeoutSeconds, 45.0);

    Constants::setSessionID("sess-9");
    EXPECT_EQ(NetworkProperties::getUserRequest("cl-1", kAddresses).url,
              "https://api.example.test/api/v1/user/sess-9?clientId=cl-1");
}

TEST_F(NetworkPropertiesTest, RequestsFollowTheClientsModeAndDeployment) {
    auto& client = QuillgateClient::shared();
    client.configure(Mode::local, "cl");
    EXPECT_EQ(NetworkProperties::getRequest(json::object(), false, Endpoint::content()).url,
              "http://127.0.0.1:3001/api/v1/content");
    EXPECT_EQ(NetworkProperties::collectionRequest(json{{"topic", "demoTopic"}}).url,
              client.deployment.stage.collectionAddress);

    client.deployment.production = kAddresses;
    client.configure(Mode::production, "cl");
    auto ping = NetworkProperties::collectionRequest(json{{"a", 1}}, Endpoint::ping());
    EXPECT_EQ(ping.url, kAddresses.collectionAddress);
    EXPECT_EQ(ping.method, "post");
    EXPECT_EQ(ping.body, R"({"a":1})");
    EXPECT_EQ(ping.headers.size(), 3u);
}

using NetworkPropertiesDeathTest = NetworkPropertiesTest;

TEST_F(NetworkPropertiesDeathTest, AnAddressThatDoesNotParseEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        NetworkProperties::getRequest(json::object(), false, Endpoint::popup("a b"), kAddresses),
        "Quillgate/NetworkProperties");
}

}  // namespace
}  // namespace quillgate

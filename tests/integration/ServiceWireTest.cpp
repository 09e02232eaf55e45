// The service layer against a real HTTP server on loopback, through the curl session: what
// goes on the wire for each kind of request, and where each mode sends it.

#include <chrono>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Url.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/NetworkClient.h"
#include "quillgate/service/NetworkProperties.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::LoopbackServer;
using testing::RecordedRequest;
using testing::TestPlatform;

class ServiceWireTest : public ::testing::Test {
  protected:
    ServiceWireTest() {
        const std::string any = ".*";
        const auto answer = [](const httplib::Request&, httplib::Response& res) {
            res.set_content("{}", "application/json");
        };
        server.get(any, answer);
        server.post(any, answer);
        server.start();
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());

        auto& client = QuillgateClient::shared();
        client.deployment.local.apiBase = server.url("/api/v1");
        client.deployment.local.webBase = server.url("/");
        // As in the shipped table: local and stage report to the staging collector, sandbox
        // and production to the production one.
        const std::string staging = server.url("/staging/collect/event");
        const std::string production = server.url("/production/collect/event");
        client.deployment.local.collectionAddress = staging;
        client.deployment.stage.collectionAddress = staging;
        client.deployment.sandbox.collectionAddress = production;
        client.deployment.production.collectionAddress = production;
        client.configure(Mode::local, "client-1");
    }

    // Sends `request` and waits (on the main queue) until its completion has run. A
    // completion without any answer runs on the session's thread: it hops to the loop here.
    long roundTrip(platform::HttpRequest request) {
        long status = -1;
        auto& loop = tp.loop();
        NetworkClient::shared().send(std::move(request), [&](auto, auto, long s) {
            loop.post([&status, s] { status = s; });
        });
        EXPECT_TRUE(tp.loop().runUntil([&] { return status != -1; }, std::chrono::seconds(10)));
        return status;
    }

    RecordedRequest onlyRequest() {
        auto requests = server.requests();
        EXPECT_EQ(requests.size(), 1u);
        return requests.empty() ? RecordedRequest{} : requests.back();
    }

    static std::set<std::string> headerNames(const RecordedRequest& r) {
        std::set<std::string> names;
        for (const auto& [name, value] : r.headers) {
            names.insert(name);
        }
        return names;
    }

    LoopbackServer server;  // before the platform: outlives the session's connections
    TestPlatform tp;
};

TEST_F(ServiceWireTest, JourneyRequestCarriesItsSixteenKeysAndExactlyThreeHeaders) {
    const json parameters{{"clientId", "client-1"},
                          {"anonId", Constants::anonymousID()},
                          {"adBlock", "false"},
                          {"cookies", "0"},
                          {"clientContentId", "article-1"},
                          {"sessionId", ""},
                          {"device", "application"},
                          {"operatingSystem", "IOS"},
                          {"browser", "WEBVIEW"},
                          {"userId", ""},
                          {"categories", json::array({"news", "world affairs"})},
                          {"sections", json::array({""})},
                          {"title", "A title: with words"},
                          {"tags", json::array({""})},
                          {"url", "https://news.test/a1"},
                          {"authorName", ""}};
    ASSERT_EQ(parameters.size(), 16u);

    EXPECT_EQ(roundTrip(NetworkProperties::getRequest(parameters, true, Endpoint::journey())), 200);

    const RecordedRequest r = onlyRequest();
    EXPECT_EQ(r.method, "GET");
    EXPECT_EQ(r.path, "/api/v1/journey");
    const auto items = platform::url::queryItems(r.target);
    ASSERT_EQ(items.size(), 16u);
    std::map<std::string, std::string> byKey(items.begin(), items.end());
    EXPECT_EQ(byKey["categories"], R"(["news", "world affairs"])");
    EXPECT_EQ(byKey["sections"], R"([""])");
    EXPECT_EQ(byKey["title"], "A title: with words");
    EXPECT_EQ(byKey["url"], "https://news.test/a1");
    EXPECT_EQ(byKey["adBlock"], "false");
    EXPECT_EQ(byKey["anonId"], Constants::anonymousID());

    EXPECT_EQ(headerNames(r),
              (std::set<std::string>{"Host", "accept", "Content-Type", "User-Agent"}));
    EXPECT_EQ(r.header("accept"), "application/json");
    EXPECT_EQ(r.header("Content-Type"), "application/json");
    EXPECT_EQ(r.header("User-Agent"), NetworkProperties::userAgent());
    EXPECT_FALSE(NetworkProperties::userAgent().empty());
}

TEST_F(ServiceWireTest, AListOnAnotherGetRouteBecomesRepeatedKeys) {
    roundTrip(NetworkProperties::getRequest(
        json{{"clientId", "client-1"}, {"tags", json::array({"a b", "c&d"})}}, false,
        Endpoint::content()));
    const RecordedRequest r = onlyRequest();
    EXPECT_EQ(r.path, "/api/v1/content");
    EXPECT_EQ(
        platform::url::queryItems(r.target),
        (platform::url::QueryItems{{"clientId", "client-1"}, {"tags", "a b"}, {"tags", "c&d"}}));
}

TEST_F(ServiceWireTest, UserRouteCarriesTheSessionInItsPath) {
    roundTrip(NetworkProperties::getUserRequest("client-1"));
    Constants::setSessionID("session-42");
    roundTrip(NetworkProperties::getUserRequest("client-1"));

    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].target, "/api/v1/user/?clientId=client-1");
    EXPECT_EQ(requests[1].target, "/api/v1/user/session-42?clientId=client-1");
    EXPECT_EQ(headerNames(requests[1]), (std::set<std::string>{"Host", "accept", "Content-Type"}));
}

TEST_F(ServiceWireTest, PostRoutesSendTheParametersAsAJsonBody) {
    const json body{{"redirectTo", "orvelant://home?id=article-1"}, {"loginChallengeId", "C-1"}};
    roundTrip(NetworkProperties::getRequest(body, false, Endpoint::loginChallenge()));
    const RecordedRequest r = onlyRequest();
    EXPECT_EQ(r.method, "POST");
    EXPECT_EQ(r.target, "/api/v1/login-challenge");
    EXPECT_EQ(json::parse(r.body), body);
    EXPECT_EQ(headerNames(r), (std::set<std::string>{"Host", "accept", "Content-Type", "User-Agent",
                                                     "Content-Length"}));
}

TEST_F(ServiceWireTest, LocalModeTalksPlainHttpToTheLoopbackBases) {
    const auto builtIn = Deployment::builtIn().local;
    const auto& local = QuillgateClient::shared().deployment.local;
    // The test's table differs from the shipped one only by the port.
    const auto withoutPort = [](std::string address) {
        const auto colon = address.find(':', address.find("//"));
        const auto slash = address.find('/', colon);
        return address.erase(colon, slash - colon);
    };
    EXPECT_EQ(withoutPort(local.apiBase), withoutPort(builtIn.apiBase));
    EXPECT_EQ(withoutPort(local.webBase), withoutPort(builtIn.webBase));

    EXPECT_EQ(
        roundTrip(NetworkProperties::getRequest(json::object(), false, Endpoint::popup("popup-1"))),
        200);
    EXPECT_EQ(onlyRequest().target, "/api/v1/client/popup/popup-1");
}

TEST_F(ServiceWireTest, EventsGoToTheCollectionAddressOfTheMode) {
    const json event{{"topic", "demoTopic"}, {"messageBody", json::array({json::object()})}};
    roundTrip(NetworkProperties::collectionRequest(event));  // local: the staging collector
    QuillgateClient::shared().mode = Mode::sandbox;          // sandbox: the production one
    roundTrip(NetworkProperties::collectionRequest(event, Endpoint::ping()));

    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].target, "/staging/collect/event");
    EXPECT_EQ(requests[1].target, "/production/collect/event");
    for (const auto& r : requests) {
        EXPECT_EQ(r.method, "POST");
        EXPECT_EQ(r.header("User-Agent"), NetworkProperties::userAgent());
        EXPECT_EQ(json::parse(r.body), event);
    }
}

TEST_F(ServiceWireTest, AClosedPortEndsWithoutAnAnswer) {
    QuillgateClient::shared().deployment.local.apiBase = "http://127.0.0.1:1/api/v1";
    EXPECT_EQ(roundTrip(NetworkProperties::getRequest(json::object(), false, Endpoint::content())),
              0);
    EXPECT_FALSE(tp.printedContaining("API Request::"));
    EXPECT_EQ(server.requestCount(), 0u);
}

}  // namespace
}  // namespace quillgate

// The service layer and the event reports against a real HTTP server on loopback, through the
// curl session: what arrives on the wire, and how the answer's status reads back.

#include <atomic>
#include <chrono>
#include <set>

#include <gtest/gtest.h>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Url.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/service/NetworkClient.h"
#include "quillgate/service/NetworkProperties.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using nlohmann::json;
using platform::url::QueryItems;

class ServiceWireTest : public ::testing::Test {
  protected:
    ServiceWireTest() {
        const auto answer = [this](const httplib::Request&, httplib::Response& res) {
            res.status = status.load();
            res.set_content("{}", "application/json");
        };
        server.get(".*", answer);
        server.post(".*", answer);
        server.start();
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        auto& client = QuillgateClient::shared();
        client.deployment.local.apiBase = server.url("/api/v1");
        client.deployment.local.collectionAddress = server.url("/collect/event");
        client.configure(Mode::local, "client-1");
        client.contentID = "article-9";
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

    static std::set<std::string> headerNames(const testing::RecordedRequest& r) {
        std::set<std::string> names;
        for (const auto& [name, value] : r.headers) {
            names.insert(name);
        }
        return names;
    }

    // Waits on the main queue until `line` has been printed.
    bool waitForLine(const std::string& line) {
        return tp.loop().runUntil([&] { return tp.printed(line); }, std::chrono::seconds(10));
    }

    std::atomic<int> status{200};
    testing::LoopbackServer server;  // before the platform: outlives the session's connections
    testing::TestPlatform tp;
};

TEST_F(ServiceWireTest, JourneyAndPostRequestsArriveAsBuiltWithExactlyTheirHeaders) {
    // The journey prints its lists as ["..."] and sends the whole address encoded.
    const json parameters{{"clientId", "client-1"},
                          {"categories", json::array({"news", "world affairs"})},
                          {"title", "A title: with words"},
                          {"tags", json::array({""})}};
    EXPECT_EQ(roundTrip(NetworkProperties::getRequest(parameters, true, Endpoint::journey())), 200);
    const json challenge{{"redirectTo", "orvelant://home?id=article-1"},
                         {"loginChallengeId", "C-1"}};
    roundTrip(NetworkProperties::getRequest(challenge, false, Endpoint::loginChallenge()));

    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    const auto& journey = requests[0];
    EXPECT_EQ(journey.method, "GET");
    EXPECT_EQ(journey.path, "/api/v1/journey");
    EXPECT_EQ(platform::url::queryItems(journey.target),
              (QueryItems{{"categories", R"(["news", "world affairs"])"},
                          {"clientId", "client-1"},
                          {"tags", R"([""])"},
                          {"title", "A title: with words"}}));
    EXPECT_EQ(headerNames(journey),
              (std::set<std::string>{"Host", "accept", "Content-Type", "User-Agent"}));
    EXPECT_EQ(journey.header("User-Agent"), NetworkProperties::userAgent());

    const auto& post = requests[1];
    EXPECT_EQ(post.method, "POST");
    EXPECT_EQ(post.target, "/api/v1/login-challenge");
    EXPECT_EQ(json::parse(post.body), challenge);
    EXPECT_EQ(headerNames(post), (std::set<std::string>{"Host", "accept", "Content-Type",
                                                        "User-Agent", "Content-Length"}));
}

TEST_F(ServiceWireTest, EventArrivesAsJsonAndOnlyTwoHundredsCountAsLogged) {
    status = 201;
    EventManager::shared().logEventVIEW(EventLocation::PAGE);
    ASSERT_TRUE(waitForLine("Log Event"));
    const auto received = server.requestsTo("/collect/event");
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].method, "POST");
    EXPECT_EQ(received[0].header("Content-Type"), "application/json");
    const json m = json::parse(received[0].body)["messageBody"][0];
    EXPECT_TRUE(m["scrollDepth"].is_number_integer());
    EXPECT_TRUE(m["premiumContent"].is_number_integer());
    EXPECT_TRUE(m["tags"].is_array());
    EXPECT_EQ(m["contentId"], "article-9");

    // No content is a failure.
    status = 204;
    EventManager::shared().logEventCLICK("SUBS", EventLocation::PAYWALL);
    ASSERT_TRUE(waitForLine("Unable to Log Event"));
    EXPECT_TRUE(tp.printed("someThingWentWrong"));
    EXPECT_EQ(tp.countPrinted("Log Event"), 1u);
}

}  // namespace
}  // namespace quillgate

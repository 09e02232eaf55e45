// The service layer against a real HTTP server on loopback, through the curl session: what
// arrives on the wire for each kind of request the client builds.

#include <chrono>
#include <set>

#include <gtest/gtest.h>

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
        const auto answer = [](const httplib::Request&, httplib::Response& res) {
            res.set_content("{}", "application/json");
        };
        server.get(".*", answer);
        server.post(".*", answer);
        server.start();
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        QuillgateClient::shared().deployment.local.apiBase = server.url("/api/v1");
        QuillgateClient::shared().configure(Mode::local, "client-1");
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

}  // namespace
}  // namespace quillgate

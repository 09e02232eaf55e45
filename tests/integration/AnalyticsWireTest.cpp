// Events and pings through the curl session to collectors on loopback: what the collector
// receives, and how the answer's status reads back.

#include <atomic>
#include <chrono>
#include <utility>

#include <gtest/gtest.h>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/analytics/PingManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestPlatform.h"
#include "tools/devserver/DevServer.h"

namespace quillgate {
namespace {

using nlohmann::json;

class AnalyticsWireTest : public ::testing::Test {
  protected:
    AnalyticsWireTest() {
        server.post("/collect/event", [this](const httplib::Request&, httplib::Response& res) {
            res.status = status.load();
            res.set_content(R"({"ok":true})", "application/json");
        });
        server.start();
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        auto& client = QuillgateClient::shared();
        client.deployment.local.collectionAddress = server.url("/collect/event");
        client.configure(Mode::local, "client-1");
        client.contentID = "article-9";
    }

    // Waits on the main queue until `line` has been printed.
    bool waitForLine(const std::string& line) {
        return tp.loop().runUntil([&] { return tp.printed(line); }, std::chrono::seconds(10));
    }

    std::atomic<int> status{200};
    testing::LoopbackServer server;  // before the platform, which owns the HTTP session
    testing::TestPlatform tp;
};

TEST_F(AnalyticsWireTest, EventArrivesAsJsonWithNumbersAndLists) {
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
}

TEST_F(AnalyticsWireTest, NoContentIsAFailure) {
    status = 204;
    EventManager::shared().logEventCLICK("SUBS", EventLocation::PAYWALL);
    ASSERT_TRUE(waitForLine("Unable to Log Event"));
    EXPECT_TRUE(tp.printed("someThingWentWrong"));
    EXPECT_FALSE(tp.printed("Log Event"));
}

// The local access service's collector: what it keeps of an event and a ping.
class AnalyticsDevServerTest : public ::testing::Test {
  protected:
    AnalyticsDevServerTest() {
        EXPECT_TRUE(dev.start());
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        QuillgateClient::shared().deployment.local.collectionAddress = dev.collectUrl();
        QuillgateClient::shared().configure(Mode::local, "client-1");
    }

    devserver::DevServer dev{
        devserver::DevServer::Options{0, 0, 0, devserver::DevServer::defaultDataDir(), {}, {}}};
    testing::TestPlatform tp;  // after the server: its HTTP session closes first
};

TEST_F(AnalyticsDevServerTest, CollectorKeepsEventsAndPings) {
    EventManager::shared().logMeterEventVIEW(EventLocation::PAYWALL);
    PingManager::shared().startTimer();
    tp.advance(PingManager::interval);
    PingManager::shared().stopTimer();
    ASSERT_TRUE(tp.loop().runUntil([&] { return tp.countPrinted("Log Event") == 2; },
                                   std::chrono::seconds(10)));

    // Both were in flight at once: they may arrive in either order.
    auto events = dev.collector().events();
    ASSERT_EQ(events.size(), 2u);
    if (events[0].eventType == "PING") {
        std::swap(events[0], events[1]);
    }
    EXPECT_EQ(events[0].eventType, "VIEW");
    EXPECT_EQ(events[0].eventLocation, "PAYWALL");
    EXPECT_EQ(events[1].eventType, "PING");
    EXPECT_EQ(events[1].body["messageBody"][0].value("counter", -1), 1);
}

}  // namespace
}  // namespace quillgate

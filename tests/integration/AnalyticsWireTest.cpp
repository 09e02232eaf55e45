// Events through the curl session to a collector on loopback: what the collector receives,
// and how the answer's status reads back.

#include <atomic>
#include <chrono>

#include <gtest/gtest.h>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestPlatform.h"

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

    std::atomic<int> status{201};
    testing::LoopbackServer server;  // before the platform, which owns the HTTP session
    testing::TestPlatform tp;
};

TEST_F(AnalyticsWireTest, EventArrivesAsJsonAndOnlyTwoHundredsCountAsLogged) {
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

#include "quillgate/analytics/PingManager.h"

#include "quillgate/analytics/EventManager.h"
#include "quillgate/service/Constants.h"
#include "tests/unit/analytics/AnalyticsTestSupport.h"

namespace quillgate::analyticstest {
namespace {

struct Ping {
    int active;
    int counter;
    std::string pingId;
};

class PingManagerTest : public AnalyticsTest {
  protected:
    PingManager& ping() { return PingManager::shared(); }

    std::vector<Ping> pings() {
        std::vector<Ping> out;
        for (const auto& body : sentBodies()) {
            const json& m = body["messageBody"][0];
            if (m["eventType"] == "PING") {
                out.push_back({m["active"].get<int>(), m["counter"].get<int>(),
                               m["pingId"].get<std::string>()});
            }
        }
        return out;
    }

    // Runs one 15-second period and gives the pings it sent.
    std::vector<Ping> tick() {
        const auto before = pings().size();
        tp.advance(PingManager::interval);
        auto all = pings();
        return {all.begin() + static_cast<long>(before), all.end()};
    }
};

TEST_F(PingManagerTest, PingBodyHasElevenKeys) {
    setJourney(R"({"content": {"authorName": "Ada", "tags": ["t"]}})");
    const json body = EventManager::shared().buildPingBody();
    EXPECT_EQ(body["topic"], "demoTopic");
    const json m = body["messageBody"][0];
    EXPECT_EQ(shape(m), keys('s', {"_id", "anonId", "clientId", "contentId", "userId", "pingId",
                                   "authorName", "eventType"}) +
                            keys('i', {"active", "counter"}) + keys('a', {"tags"}));
    EXPECT_EQ(m["pingId"], Constants::pingID());
    EXPECT_EQ(m["tags"], json({"t"}));
}

TEST_F(PingManagerTest, IdleRunPingsTwelveTimesThenFallsSilentUntilActivity) {
    ping().startTimer();
    auto first = tick();
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].active, 1);
    EXPECT_EQ(first[0].counter, 1);
    EXPECT_EQ(Constants::active(), 0);
    EXPECT_EQ(Constants::lastActiveStatus(), 1);
    EXPECT_EQ(Constants::counter(), 2);

    // The change to idle starts a new run with a new identity; twelve idle pings follow.
    std::string idleId;
    for (int counter = 1; counter <= 12; ++counter) {
        auto sent = tick();
        ASSERT_EQ(sent.size(), 1u) << counter;
        EXPECT_EQ(sent[0].active, 0);
        EXPECT_EQ(sent[0].counter, counter);
        if (counter == 1) {
            idleId = sent[0].pingId;
            EXPECT_NE(idleId, first[0].pingId);
        }
        EXPECT_EQ(sent[0].pingId, idleId);
    }
    // Counter 13 while idle: silent, and nothing moves.
    tp.clearLines();
    EXPECT_TRUE(tick().empty());
    EXPECT_TRUE(tick().empty());
    EXPECT_EQ(Constants::counter(), 13);
    EXPECT_TRUE(printedInOrder({"logEvent()", "zzzlogEventPING()", "Constants.counter::13",
                                "Constants.active::0", "Constants.lastActiveStatus::0"}));

    // Activity wakes the next tick: a new run, from 1, with a new identity.
    EventManager::shared().logEventEXIT(EventLocation::PAGE);
    auto woken = tick();
    ASSERT_EQ(woken.size(), 1u);
    EXPECT_EQ(woken[0].active, 1);
    EXPECT_EQ(woken[0].counter, 1);
    EXPECT_NE(woken[0].pingId, idleId);
    EXPECT_TRUE(tp.printed("New PingID: " + woken[0].pingId));
}

TEST_F(PingManagerTest, ActiveReaderKeepsOneRunPastThirteen) {
    ping().startTimer();
    for (int counter = 1; counter <= 15; ++counter) {
        Constants::active() = 1;
        auto sent = tick();
        ASSERT_EQ(sent.size(), 1u) << counter;
        EXPECT_EQ(sent[0].counter, counter);
        EXPECT_EQ(sent[0].pingId, pings().front().pingId);
    }
}

TEST_F(PingManagerTest, SecondStartLeavesTheFirstTimerRunningAndStopStopsOnlyTheLatest) {
    ping().startTimer();
    ping().startTimer();
    EXPECT_EQ(tick().size(), 2u);
    ping().stopTimer();
    EXPECT_EQ(ping().timer, nullptr);
    EXPECT_EQ(tick().size(), 1u);
    ping().stopTimer();  // nothing held any more: only the line
    EXPECT_EQ(tick().size(), 1u);
    EXPECT_EQ(tp.countPrinted("stopTimer()"), 2u);
}

TEST_F(PingManagerTest, ExitSDKStopsThePingAndLogsTheExitWithOrWithoutTimer) {
    client().exitSDK();
    EXPECT_TRUE(
        printedInOrder({"stopTimer()", "zzzlogEventEXIT()", "~~~~~Event Name = PAGEEXIT~~~~~"}));
    EXPECT_EQ(lastMessage()["eventType"], "EXIT");

    ping().startTimer();
    client().exitSDK();
    EXPECT_TRUE(tick().empty());
    EXPECT_EQ(sentBodies().size(), 2u);
}

TEST_F(PingManagerTest, CountersAdvanceWhenThePingCannotBeSent) {
    tp.reachability().set(false);
    ping().logEventPING();
    EXPECT_TRUE(tp.printed("No internet Connection"));
    EXPECT_EQ(Constants::counter(), 2);
    EXPECT_EQ(Constants::active(), 0);
}

}  // namespace
}  // namespace quillgate::analyticstest

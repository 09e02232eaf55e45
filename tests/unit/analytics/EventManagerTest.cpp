#include "quillgate/analytics/EventManager.h"

#include "quillgate/analytics/AccessType.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/NetworkProperties.h"
#include "tests/unit/analytics/AnalyticsTestSupport.h"

namespace quillgate::analyticstest {
namespace {

const Shape kPageShape =
    kBaseShape +
    keys('s', {"pageType", "userType", "accessType", "authorName", "url", "contentTitle"}) +
    keys('i', {"scrollDepth", "pageLength", "premiumContent", "unlockedStatus"}) +
    keys('a', {"tags"});

const char* kJourney = R"({
    "isPremium": true,
    "content": {"authorName": "Ada", "tags": ["t1", "t2"], "url": "https://a.example/1",
                "title": "Title"},
    "popupAction": {"data": {"popupActionId": "pop-1"}},
    "meteringAction": {"data": {"actionId": "meter-1",
                                "conditions": {"mobileAction": {"type": "BANNER"}}}}
})";

class EventManagerTest : public AnalyticsTest {
  protected:
    EventManager& events() { return EventManager::shared(); }
};

TEST_F(EventManagerTest, PageEventsBeforeAndAfterAJourney) {
    events().logEventVIEW(EventLocation::PAGE);
    const json body = sentBodies().at(0);
    EXPECT_EQ(body["topic"], "demoTopic");
    EXPECT_EQ(body["messageBody"].size(), 1u);
    json m = lastMessage();
    EXPECT_EQ(shape(m), kPageShape);
    EXPECT_EQ(m["premiumContent"], 0);
    EXPECT_EQ(m["tags"], json::array());
    EXPECT_EQ(m["authorName"].get<std::string>() + m["url"].get<std::string>() +
                  m["contentTitle"].get<std::string>(),
              "");
    EXPECT_EQ(m["deviceType"], "MOBILE");
    EXPECT_EQ(m["osName"], "IOS");
    EXPECT_EQ(m["userAgent"], NetworkProperties::userAgent());
    EXPECT_EQ(m["contentId"], "article-9");

    // After the journey the content and the process values come along.
    setJourney(kJourney);
    client().setScrollDepth(120);
    client().pageLength = 900;
    Constants::accessType() = "SUB";
    Constants::unlockedStatus() = 1;
    events().logEventVIEW(EventLocation::PAGE);
    m = lastMessage();
    EXPECT_EQ(shape(m), kPageShape);
    EXPECT_EQ(m["premiumContent"], 1);
    EXPECT_EQ(m["scrollDepth"], 120);
    EXPECT_EQ(m["pageLength"], 900);
    EXPECT_EQ(m["unlockedStatus"], 1);
    EXPECT_EQ(m["accessType"], "SUB");
    EXPECT_EQ(m["tags"], json({"t1", "t2"}));
    EXPECT_EQ(m["contentTitle"], "Title");
    events().logEventEXIT(EventLocation::PAGE);
    EXPECT_EQ(shape(lastMessage()), kPageShape);
}

TEST_F(EventManagerTest, PaywallViewAddsDisplayTypeAndCtaCount) {
    client().paywallDisplayType = PAYWALLTYPE::FULLPAGE;
    client().numOfCta = "3";
    events().logEventVIEW(EventLocation::PAYWALL);
    EXPECT_EQ(shape(lastMessage()),
              kBaseShape + keys('s', {"paywallDisplayType"}) + keys('i', {"numOfCta"}));
    EXPECT_EQ(lastMessage()["paywallDisplayType"], "FULLPAGE");
    EXPECT_EQ(lastMessage()["numOfCta"], 3);

    // Leading blanks and a sign are read, then digits up to the first other character.
    const std::vector<std::pair<std::string, long long>> texts = {
        {"", 0},
        {"abc", 0},
        {"  12abc", 12},
        {"\t-2", -2},
        {"+7", 7},
        {"4.9", 4},
        {"99999999999999999999", 9223372036854775807LL}};
    for (const auto& [text, number] : texts) {
        client().numOfCta = text;
        json body = events().buildEventBody(EventType::VIEW, EventLocation::PAYWALL, "");
        EXPECT_EQ(body["messageBody"][0]["numOfCta"], number) << text;
    }
}

struct RecordingParamsDelegate : QuillgateEventParamsDelegate {
    void success(const std::string& paywallId, const std::string& contentId,
                 const std::string& paywallType, const std::string& clientId,
                 const std::string& anonId) override {
        calls.push_back({paywallId, contentId, paywallType, clientId, anonId});
    }
    void failure(const std::string&) override { calls.push_back({"failure"}); }
    std::vector<std::vector<std::string>> calls;
};

TEST_F(EventManagerTest, PaywallClickTellsTheDelegateOnlyForGoogle) {
    auto delegate = std::make_shared<RecordingParamsDelegate>();
    client().eventParamsDelegate = delegate;
    client().paywallId = "pw-1";
    client().paywallType = "RG4";
    tp.reachability().set(false);  // heard during the build, whether or not the event goes out

    events().logEventCLICK("GOOGLE", EventLocation::PAYWALL);
    for (const char* action : {"google", "GOOGLE ", "EMAIL"}) {
        events().logEventCLICK(action, EventLocation::PAYWALL);
    }
    events().logMeterEventCLICK("GOOGLE", EventLocation::PAYWALL);
    events().logEventCLICK("GOOGLE", EventLocation::POPUP);
    EXPECT_EQ(delegate->calls,
              (std::vector<std::vector<std::string>>{
                  {"pw-1", "article-9", "RG4", "client-1", Constants::anonymousID()}}));

    tp.reachability().set(true);
    delegate.reset();  // a delegate that has gone is skipped
    events().logEventCLICK("GOOGLE", EventLocation::PAYWALL);
    EXPECT_EQ(shape(lastMessage()), kBaseShape + keys('s', {"clickAction"}));
    EXPECT_EQ(lastMessage()["clickAction"], "GOOGLE");
}

TEST_F(EventManagerTest, PopupEventsHaveTheirOwnMessageAndNoTopic) {
    setJourney(kJourney);
    client().popUpModel = PopUpModel{};
    client().popUpModel->imageURL = "https://img.example/p.png";

    events().logEventVIEW(EventLocation::POPUP);
    const json body = sentBodies().back();
    EXPECT_EQ(body.size(), 1u);  // "messageBody" only
    const json m = body["messageBody"][0];
    EXPECT_EQ(shape(m),
              keys('s', {"anonId", "paywallId", "clickAction", "clientId", "deviceType",
                         "eventLocation", "eventType", "popupId", "referrer", "url", "userId",
                         "userSourceData", "utmCampaign", "utmMedium", "utmSource"}));
    EXPECT_EQ(m["clickAction"], "");
    EXPECT_EQ(m["popupId"], "pop-1");
    EXPECT_EQ(m["url"], "https://img.example/p.png");
    EXPECT_TRUE(tp.printed("~~~~~Event Name = POPUPVIEW~~~~~"));

    events().logEventCLICK("POPUP_CLOSE", EventLocation::POPUP);
    EXPECT_EQ(lastMessage()["clickAction"], "POPUP_CLOSE");
}

TEST_F(EventManagerTest, TypesWithoutAdditionsOnlyPrintTheType) {
    events().logEventCLICK("SUBS", EventLocation::PAGE);
    EXPECT_EQ(shape(lastMessage()), kBaseShape);  // the action word is dropped
    events().logEventEXIT(EventLocation::PAYWALL);
    EXPECT_EQ(shape(lastMessage()), kBaseShape);
    EXPECT_TRUE(printedInOrder({"CLICK", "zzzlogEventCLICK()", "zzzlogEventEXIT()", "EXIT"}));
}

TEST_F(EventManagerTest, MeterEventsDescribeTheMeteringAction) {
    setJourney(kJourney);
    const Shape meterShape =
        keys('s', {"browser", "anonId", "deviceType", "mobileModel", "osName", "osVersion",
                   "userAgent", "url", "userSourceData", "paywallId", "paywallType", "clientId",
                   "contentId", "userId", "eventLocation", "eventType"}) +
        keys('i', {"isCookieBlocked"});

    events().logMeterEventVIEW(EventLocation::PAYWALL);
    EXPECT_EQ(sentBodies().back()["topic"], "demoTopic");
    json m = lastMessage();
    EXPECT_EQ(shape(m), meterShape);
    EXPECT_EQ(m["browser"], "Mobile Safari");
    EXPECT_EQ(m["paywallId"], "meter-1");
    EXPECT_EQ(m["paywallType"], "BANNER");

    events().logMeterEventCLICK("SUBS", EventLocation::PAYWALL);
    EXPECT_EQ(shape(lastMessage()), meterShape + keys('s', {"clickAction"}));
}

TEST_F(EventManagerTest, NewReaderIsReportedByTheBuildAfterTheIdentityIsMade) {
    // The first build makes the identity itself: it says REPEAT, the next one NEW.
    for (const char* expected : {"REPEAT", "NEW", "REPEAT"}) {
        events().logEventVIEW(EventLocation::PAGE);
        EXPECT_EQ(lastMessage()["userType"], expected);
    }
}

TEST_F(EventManagerTest, NewReaderIsReportedFirstWhenTheIdentityWasMadeEarlier) {
    Constants::anonymousID();                            // as the journey request does
    events().logMeterEventVIEW(EventLocation::PAYWALL);  // leaves the flag alone
    for (const char* expected : {"NEW", "REPEAT"}) {
        events().logEventEXIT(EventLocation::PAGE);
        EXPECT_EQ(lastMessage()["userType"], expected);
    }
    // Any other build takes the flag without reporting it.
    Constants::isNewReader() = true;
    events().logEventVIEW(EventLocation::PAYWALL);
    events().logEventVIEW(EventLocation::PAGE);
    EXPECT_EQ(lastMessage()["userType"], "REPEAT");
}

TEST_F(EventManagerTest, LogOperationsPrintInOrderAndOnlyActionsCountAsActivity) {
    struct Case {
        std::function<void()> log;
        int active;
        std::vector<std::string> lines;
    };
    const std::vector<Case> cases = {
        {[&] { events().logEventVIEW(EventLocation::PAYWALL); },
         0,
         {"zzzlogEventVIEW()", "~~~~~Event Name = PAYWALLVIEW~~~~~", "~~~~~Event Parameters~~~~~"}},
        {[&] { events().logMeterEventVIEW(EventLocation::PAYWALL); },
         0,
         {"zzzlogMeterEventVIEW()", "VIEW", "~~~~~Event Name = PAYWALLVIEW~~~~~"}},
        {[&] { events().logEventCLICK("PASS", EventLocation::PAYWALL); },
         1,
         {"zzzlogEventCLICK()", "~~~~~Event Name = PAYWALLCLICK~~~~~",
          "~~~~~Click Action = PASS~~~~~", "~~~~~Event Parameters~~~~~"}},
        {[&] { events().logEventEXIT(EventLocation::PAGE); },
         1,
         {"zzzlogEventEXIT()", "~~~~~Event Name = PAGEEXIT~~~~~"}},
        {[&] { events().logMeterEventCLICK("SUBS", EventLocation::PAYWALL); },
         1,
         {"zzzlogMeterEventCLICK()", "~~~~~Event Name = PAYWALLCLICK~~~~~",
          "~~~~~Click Action = SUBS~~~~~"}},
    };
    for (const auto& c : cases) {
        Constants::active() = 0;
        tp.clearLines();
        c.log();
        EXPECT_EQ(Constants::active(), c.active) << c.lines[0];
        EXPECT_TRUE(printedInOrder(c.lines)) << c.lines[0];
    }
}

TEST_F(EventManagerTest, EventsArePostedToTheModesCollector) {
    events().logEventVIEW(EventLocation::PAGE);
    client().mode = Mode::sandbox;
    events().logEventVIEW(EventLocation::PAGE);
    auto requests = tp.http().requestsTo("/collect/event");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].url, client().deployment.stage.collectionAddress);
    EXPECT_EQ(requests[1].url, client().deployment.production.collectionAddress);
    EXPECT_EQ(requests[0].method, "post");
    EXPECT_EQ(requests[0].header("User-Agent"), NetworkProperties::userAgent());
}

TEST_F(EventManagerTest, CompletionLinesFollowTheStatus) {
    const auto send = [&](long status) {
        tp.http().clearRules();
        tp.http().answer("/collect/event", status, "{}");
        tp.clearLines();
        events().sendEvent(json::object());
        tp.runPending();
    };
    send(201);
    EXPECT_TRUE(tp.printed("Log Event"));
    send(204);
    EXPECT_TRUE(printedInOrder({"someThingWentWrong", "Unable to Log Event"}));
    EXPECT_FALSE(tp.printed("Log Event"));
    send(404);
    EXPECT_TRUE(printedInOrder({"wrongClientOrContentID", "Unable to Log Event"}));

    tp.http().clearRules();  // unanswered: a transport error prints nothing of ours
    tp.clearLines();
    events().sendEvent(json::object());
    tp.runPending();
    EXPECT_FALSE(tp.printedContaining("Log Event"));
}

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

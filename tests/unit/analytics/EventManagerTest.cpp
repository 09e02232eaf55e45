#include "quillgate/analytics/EventManager.h"

#include "quillgate/service/Constants.h"
#include "quillgate/service/NetworkProperties.h"
#include "tests/unit/analytics/AnalyticsTestSupport.h"

namespace quillgate::analyticstest {
namespace {

const std::map<std::string, char> kPageShape = with(kBaseShape, {{"pageType", 's'},
                                                                 {"userType", 's'},
                                                                 {"scrollDepth", 'i'},
                                                                 {"pageLength", 'i'},
                                                                 {"premiumContent", 'i'},
                                                                 {"unlockedStatus", 'i'},
                                                                 {"accessType", 's'},
                                                                 {"authorName", 's'},
                                                                 {"tags", 'a'},
                                                                 {"url", 's'},
                                                                 {"contentTitle", 's'}});

const char* kJourneyWithContent = R"({
    "isPremium": true, "sessionExists": true,
    "content": {"authorName": "Ada", "tags": ["t1", "t2"], "url": "https://news.example/a",
                "title": "Title"},
    "popupAction": {"data": {"popupActionId": "pop-1"}},
    "meteringAction": {"data": {"actionId": "meter-1",
                                "conditions": {"mobileAction": {"type": "BANNER"}}}}
})";

class EventManagerTest : public AnalyticsTest {
  protected:
    EventManager& events() { return EventManager::shared(); }
};

TEST_F(EventManagerTest, PageViewBeforeAnyJourneyHasEmptyContentKeys) {
    client().paywallId = "pw";
    events().logEventVIEW(EventLocation::PAGE);
    ASSERT_EQ(sentBodies().size(), 1u);
    const json body = sentBodies()[0];
    EXPECT_EQ(body["topic"], "demoTopic");
    ASSERT_TRUE(body["messageBody"].is_array());
    EXPECT_EQ(body["messageBody"].size(), 1u);

    const json m = lastMessage();
    EXPECT_EQ(shape(m), kPageShape);
    EXPECT_EQ(m["premiumContent"], 0);
    EXPECT_EQ(m["tags"], json::array());
    EXPECT_EQ(m["authorName"], "");
    EXPECT_EQ(m["url"], "");
    EXPECT_EQ(m["contentTitle"], "");
    EXPECT_EQ(m["pageType"], "APP");
    EXPECT_EQ(m["deviceType"], "MOBILE");
    EXPECT_EQ(m["osName"], "IOS");
    EXPECT_EQ(m["mobileModel"], "x86_64");
    EXPECT_EQ(m["osVersion"], "6.1.0");
    EXPECT_EQ(m["userAgent"], NetworkProperties::userAgent());
    EXPECT_EQ(m["clientId"], "client-1");
    EXPECT_EQ(m["contentId"], "article-9");
    EXPECT_EQ(m["eventLocation"], "PAGE");
    EXPECT_EQ(m["eventType"], "VIEW");
}

TEST_F(EventManagerTest, PageViewAfterJourneyCarriesContentAndProcessValues) {
    setJourney(kJourneyWithContent);
    client().setScrollDepth(120);
    client().pageLength = 900;
    Constants::accessType() = "SUB";
    Constants::unlockedStatus() = 1;
    Constants::userID() = "reader-7";

    events().logEventEXIT(EventLocation::PAGE);
    const json m = lastMessage();
    EXPECT_EQ(shape(m), kPageShape);
    EXPECT_EQ(m["eventType"], "EXIT");
    EXPECT_EQ(m["premiumContent"], 1);
    EXPECT_EQ(m["scrollDepth"], 120);
    EXPECT_EQ(m["pageLength"], 900);
    EXPECT_EQ(m["unlockedStatus"], 1);
    EXPECT_EQ(m["accessType"], "SUB");
    EXPECT_EQ(m["userId"], "reader-7");
    EXPECT_EQ(m["authorName"], "Ada");
    EXPECT_EQ(m["tags"], json({"t1", "t2"}));
    EXPECT_EQ(m["url"], "https://news.example/a");
    EXPECT_EQ(m["contentTitle"], "Title");
}

TEST_F(EventManagerTest, PaywallViewAddsDisplayTypeAndCtaCountAsNumber) {
    client().paywallId = "pw-1";
    client().paywallType = "CTA3";
    client().paywallDisplayType = PAYWALLTYPE::FULLPAGE;
    client().numOfCta = "3";
    events().logEventVIEW(EventLocation::PAYWALL);
    const json m = lastMessage();
    EXPECT_EQ(shape(m), with(kBaseShape, {{"paywallDisplayType", 's'}, {"numOfCta", 'i'}}));
    EXPECT_EQ(m["paywallDisplayType"], "FULLPAGE");
    EXPECT_EQ(m["numOfCta"], 3);
    EXPECT_EQ(m["paywallId"], "pw-1");
    EXPECT_EQ(m["paywallType"], "CTA3");

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
        EXPECT_EQ(events().buildEventBody(EventType::VIEW, EventLocation::PAYWALL,
                                          "")["messageBody"][0]["numOfCta"],
                  number)
            << text;
    }
}

struct RecordingParamsDelegate : QuillgateEventParamsDelegate {
    void success(const std::string& paywallId, const std::string& contentId,
                 const std::string& paywallType, const std::string& clientId,
                 const std::string& anonId) override {
        calls.push_back({paywallId, contentId, paywallType, clientId, anonId});
    }
    void failure(const std::string&) override { ++failures; }
    std::vector<std::vector<std::string>> calls;
    int failures = 0;
};

TEST_F(EventManagerTest, PaywallClickTellsTheDelegateOnlyForGoogle) {
    auto delegate = std::make_shared<RecordingParamsDelegate>();
    client().eventParamsDelegate = delegate;
    client().paywallId = "pw-1";
    client().paywallType = "RG4";
    tp.reachability().set(false);  // the delegate hears even of an event that is never sent

    events().logEventCLICK("GOOGLE", EventLocation::PAYWALL);
    ASSERT_EQ(delegate->calls.size(), 1u);
    EXPECT_EQ(delegate->calls[0], (std::vector<std::string>{"pw-1", "article-9", "RG4", "client-1",
                                                            Constants::anonymousID()}));
    for (const char* action : {"google", "GOOGLE ", "EMAIL"}) {
        events().logEventCLICK(action, EventLocation::PAYWALL);
    }
    events().logMeterEventCLICK("GOOGLE", EventLocation::PAYWALL);
    events().logEventCLICK("GOOGLE", EventLocation::POPUP);
    EXPECT_EQ(delegate->calls.size(), 1u);
    EXPECT_EQ(delegate->failures, 0);

    tp.reachability().set(true);
    delegate.reset();  // a delegate that has gone is skipped
    events().logEventCLICK("GOOGLE", EventLocation::PAYWALL);
    const json m = lastMessage();
    EXPECT_EQ(shape(m), with(kBaseShape, {{"clickAction", 's'}}));
    EXPECT_EQ(m["clickAction"], "GOOGLE");
}

TEST_F(EventManagerTest, PopupEventsHaveTheirOwnMessageAndNoTopic) {
    setJourney(kJourneyWithContent);
    client().popUpModel = PopUpModel{};
    client().popUpModel->imageURL = "https://img.example/p.png";
    client().paywallId = "pw-1";

    events().logEventVIEW(EventLocation::POPUP);
    const json body = sentBodies().back();
    EXPECT_FALSE(body.contains("topic"));
    EXPECT_EQ(body.size(), 1u);
    const json m = body["messageBody"][0];
    const std::map<std::string, char> popupShape = {
        {"anonId", 's'},      {"paywallId", 's'},     {"clickAction", 's'}, {"clientId", 's'},
        {"deviceType", 's'},  {"eventLocation", 's'}, {"eventType", 's'},   {"popupId", 's'},
        {"referrer", 's'},    {"url", 's'},           {"userId", 's'},      {"userSourceData", 's'},
        {"utmCampaign", 's'}, {"utmMedium", 's'},     {"utmSource", 's'}};
    EXPECT_EQ(shape(m), popupShape);
    EXPECT_EQ(m["clickAction"], "");
    EXPECT_EQ(m["popupId"], "pop-1");
    EXPECT_EQ(m["url"], "https://img.example/p.png");
    EXPECT_EQ(m["userSourceData"], "DIRECT");
    EXPECT_TRUE(tp.printed("~~~~~Event Name = POPUPVIEW~~~~~"));

    events().logEventCLICK("POPUP_CLOSE", EventLocation::POPUP);
    EXPECT_EQ(lastMessage()["clickAction"], "POPUP_CLOSE");
    EXPECT_EQ(lastMessage()["eventType"], "CLICK");
}

TEST_F(EventManagerTest, TypesWithoutAdditionsOnlyPrintTheType) {
    events().logEventCLICK("SUBS", EventLocation::PAGE);
    EXPECT_EQ(shape(lastMessage()), kBaseShape);  // the action word is dropped
    EXPECT_TRUE(printedInOrder({"CLICK", "zzzlogEventCLICK()"}));

    tp.clearLines();
    events().logEventEXIT(EventLocation::PAYWALL);
    EXPECT_EQ(shape(lastMessage()), kBaseShape);
    EXPECT_TRUE(
        printedInOrder({"zzzlogEventEXIT()", "EXIT", "~~~~~Event Name = PAYWALLEXIT~~~~~"}));
}

TEST_F(EventManagerTest, MeterEventsDescribeTheMeteringAction) {
    setJourney(kJourneyWithContent);
    const std::map<std::string, char> meterShape = {
        {"browser", 's'},         {"anonId", 's'},    {"deviceType", 's'},
        {"mobileModel", 's'},     {"osName", 's'},    {"osVersion", 's'},
        {"userAgent", 's'},       {"url", 's'},       {"userSourceData", 's'},
        {"isCookieBlocked", 'i'}, {"paywallId", 's'}, {"paywallType", 's'},
        {"clientId", 's'},        {"contentId", 's'}, {"userId", 's'},
        {"eventLocation", 's'},   {"eventType", 's'}};

    events().logMeterEventVIEW(EventLocation::PAYWALL);
    ASSERT_EQ(sentBodies().back()["topic"], "demoTopic");
    json m = lastMessage();
    EXPECT_EQ(shape(m), meterShape);
    EXPECT_EQ(m["browser"], "Mobile Safari");
    EXPECT_EQ(m["isCookieBlocked"], 0);
    EXPECT_EQ(m["paywallId"], "meter-1");
    EXPECT_EQ(m["paywallType"], "BANNER");
    EXPECT_EQ(m["url"], "https://news.example/a");

    events().logMeterEventCLICK("METERING_BANNER_CROSSBTN", EventLocation::PAYWALL);
    m = lastMessage();
    EXPECT_EQ(shape(m), with(meterShape, {{"clickAction", 's'}}));
    EXPECT_EQ(m["clickAction"], "METERING_BANNER_CROSSBTN");
}

TEST_F(EventManagerTest, NewReaderIsReportedByTheBuildAfterTheIdentityIsMade) {
    // The first build makes the identity itself: it says REPEAT, the next one NEW.
    for (const char* expected : {"REPEAT", "NEW", "REPEAT"}) {
        events().logEventVIEW(EventLocation::PAGE);
        EXPECT_EQ(lastMessage()["userType"], expected);
    }
    EXPECT_EQ(tp.countPrinted("New Anonymous ID: " + Constants::anonymousID()), 1u);
}

TEST_F(EventManagerTest, NewReaderIsReportedFirstWhenTheIdentityWasMadeEarlier) {
    Constants::anonymousID();                            // the journey request fetches it first
    events().logMeterEventVIEW(EventLocation::PAYWALL);  // meter events leave the flag alone
    events().logEventEXIT(EventLocation::PAGE);
    EXPECT_EQ(lastMessage()["userType"], "NEW");
    events().logEventVIEW(EventLocation::PAGE);
    EXPECT_EQ(lastMessage()["userType"], "REPEAT");

    // Any other build consumes the flag without reporting it.
    Constants::isNewReader() = true;
    events().logEventVIEW(EventLocation::PAYWALL);
    events().logEventVIEW(EventLocation::PAGE);
    EXPECT_EQ(lastMessage()["userType"], "REPEAT");
}

TEST_F(EventManagerTest, LogOperationsPrintInOrderAndOnlyActionsCountAsActivity) {
    const auto run = [&](auto operation) {
        Constants::active() = 0;
        tp.clearLines();
        operation();
        return Constants::active();
    };
    EXPECT_EQ(run([&] { events().logEventVIEW(EventLocation::PAYWALL); }), 0);
    EXPECT_TRUE(printedInOrder(
        {"zzzlogEventVIEW()", "~~~~~Event Name = PAYWALLVIEW~~~~~", "~~~~~Event Parameters~~~~~"}));
    EXPECT_EQ(run([&] { events().logMeterEventVIEW(EventLocation::PAYWALL); }), 0);
    EXPECT_TRUE(
        printedInOrder({"zzzlogMeterEventVIEW()", "VIEW", "~~~~~Event Name = PAYWALLVIEW~~~~~"}));
    EXPECT_EQ(run([&] { events().logEventCLICK("PASS", EventLocation::PAYWALL); }), 1);
    EXPECT_TRUE(printedInOrder({"zzzlogEventCLICK()", "~~~~~Event Name = PAYWALLCLICK~~~~~",
                                "~~~~~Click Action = PASS~~~~~", "~~~~~Event Parameters~~~~~"}));
    EXPECT_EQ(run([&] { events().logEventEXIT(EventLocation::PAGE); }), 1);
    EXPECT_TRUE(printedInOrder({"zzzlogEventEXIT()", "~~~~~Event Name = PAGEEXIT~~~~~"}));
    EXPECT_EQ(run([&] { events().logMeterEventCLICK("SUBS", EventLocation::PAYWALL); }), 1);
    EXPECT_TRUE(printedInOrder({"zzzlogMeterEventCLICK()", "~~~~~Event Name = PAYWALLCLICK~~~~~",
                                "~~~~~Click Action = SUBS~~~~~"}));
}

TEST_F(EventManagerTest, EventsArePostedToTheModesCollector) {
    events().logEventVIEW(EventLocation::PAGE);
    client().mode = Mode::sandbox;
    events().logEventVIEW(EventLocation::PAGE);
    auto requests = tp.http().requestsTo("/collect/event");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].url, client().deployment.stage.collectionAddress);
    EXPECT_EQ(requests[1].url, client().deployment.production.collectionAddress);
    const auto& request = requests[0];
    EXPECT_EQ(request.method, "post");
    EXPECT_EQ(request.timeoutSeconds, 45.0);
    EXPECT_EQ(request.headers,
              (platform::HttpHeaders{{"accept", "application/json"},
                                     {"Content-Type", "application/json"},
                                     {"User-Agent", NetworkProperties::userAgent()}}));
}

TEST_F(EventManagerTest, CompletionLinesFollowTheStatus) {
    const auto send = [&](long status) {
        tp.http().clearRules();
        tp.http().answer("/collect/event", status, "{}");
        tp.clearLines();
        events().sendEvent(json{{"topic", "demoTopic"}});
        tp.runPending();
    };
    send(201);
    EXPECT_TRUE(tp.printed("Log Event"));
    send(204);
    EXPECT_TRUE(printedInOrder({"someThingWentWrong", "Unable to Log Event"}));
    EXPECT_FALSE(tp.printed("Log Event"));
    send(404);
    EXPECT_TRUE(printedInOrder({"wrongClientOrContentID", "Unable to Log Event"}));

    tp.http().clearRules();  // unanswered: a transport error, which prints nothing of ours
    tp.clearLines();
    events().sendEvent(json::object());
    tp.runPending();
    EXPECT_FALSE(tp.printedContaining("Log Event"));

    tp.reachability().set(false);
    const auto before = tp.http().requestCount();
    events().logEventVIEW(EventLocation::PAGE);
    EXPECT_TRUE(tp.printed("No internet Connection"));
    EXPECT_EQ(tp.http().requestCount(), before);
}

}  // namespace
}  // namespace quillgate::analyticstest

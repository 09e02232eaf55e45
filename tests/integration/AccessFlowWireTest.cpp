// The access flow and sign-in through the curl session against the local access service on
// loopback: one article per test, walked from showPayWall (or initSubscriptions) to what the
// host hears and which request comes next; the challenge the client posts is the one the web
// page signs the reader in with, and user details and logout act on that page's session.

#include <regex>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "quillgate/screens/BannerViewController.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/ViewController.h"
#include "tests/integration/LoopbackClient.h"

namespace quillgate::testing {
namespace {

using nlohmann::json;

class AccessFlowWireTest : public LoopbackClientTest {
  protected:
    // A challenge stored on the device that the service has seen signed in, as after the web
    // flow's sign-in page.
    void storeSignedInChallenge(const std::string& contentID) {
        Constants::setLoginChallenge("challenge-wire-1");
        ASSERT_EQ(dev.service()
                      .postLoginChallenge(json{{"redirectTo", "orvelant://home?id=" + contentID},
                                               {"loginChallengeId", "challenge-wire-1"}}
                                              .dump())
                      .status,
                  201);
        ASSERT_TRUE(
            dev.service()
                .signIn(kDemoClient, {"subscriber@quillgate.test", "", ""}, "challenge-wire-1")
                .ok);
    }

    void addFault(const json& form) {
        std::string error;
        auto fault = devserver::Controls::parseFault(form, error);
        ASSERT_TRUE(fault) << error;
        dev.controls().addFault(*fault);
    }

    void initSubscriptions() {
        QuillgateClient::shared().initSubscriptions("premium-3a", "A story", std::nullopt, parent,
                                                    host, host, host, true, host);
    }
};

TEST_F(AccessFlowWireTest, FreeArticleTakesBranchAAndFetchesNoOffer) {
    showPayWall("free-article");
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    tp.runPending();
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_TRUE(served("/content").empty());
}

TEST_F(AccessFlowWireTest, ChallengeThatYieldsASessionRunsTheJourneyAgainAndLetsTheReaderIn) {
    storeSignedInChallenge("premium-3a");
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return host->calls.size() >= 2; }));
    EXPECT_EQ(host->calls, (std::vector<std::string>{kLocked, kLetIn})) << "branch c, then b";
    EXPECT_EQ(served("/journey").size(), 2u);
    EXPECT_EQ(served("/login-challenge/challenge-wire-1").size(), 1u);
    EXPECT_TRUE(Constants::sessionID().has_value());
    EXPECT_EQ(Constants::loginChallenge(), std::nullopt);
    EXPECT_TRUE(served("/content").empty());
    EXPECT_EQ(Constants::unlockedStatus(), 1);
}

TEST_F(AccessFlowWireTest, PageViewMeterLeadsToTheBannerAndNotToTheConfiguration) {
    showPayWall("metered-1");
    ASSERT_TRUE(waitFor([&] { return !served("/metering/banner/").empty(); }));
    EXPECT_TRUE(served("/paywall/paywall-config/").empty());
    ASSERT_TRUE(QuillgateClient::shared().userJourneyModel.has_value());
    EXPECT_EQ(QuillgateClient::shared().userJourneyModel->unlockedWithPageViewMeter, true);
}

TEST_F(AccessFlowWireTest, BannerCountsTheArticlesLeftAndItsEventsReachTheCollector) {
    showPayWall("metered-2");
    std::shared_ptr<BannerViewController> banner;
    ASSERT_TRUE(waitFor([&] {
        banner = std::dynamic_pointer_cast<BannerViewController>(
            QuillgateClient::shared().customPayWallVC);
        return banner != nullptr;
    }));
    // The service's banner counts from its meter: the first metered article leaves two.
    EXPECT_EQ(banner->lblStep->text(), "You have 2 free articles left this month");
    EXPECT_EQ(banner->tblView->numberOfRows(0), 3);

    banner->btnCloseScreen();
    EXPECT_FALSE(parent->viewWithTag(9988));
    // The meter's view and the close click, as the collector received them.
    auto meterEvent = [&](const std::string& type) {
        for (const auto& event : dev.collector().events()) {
            const auto& message = event.body["messageBody"][0];
            if (event.eventType == type && message.value("paywallType", "") == "METER_BANNER") {
                return message;
            }
        }
        return nlohmann::ordered_json();
    };
    ASSERT_TRUE(waitFor([&] { return !meterEvent("CLICK").is_null(); }));
    const auto click = meterEvent("CLICK");
    EXPECT_EQ(click["clickAction"], "METERING_BANNER_CROSSBTN");
    EXPECT_EQ(click["eventLocation"], "PAYWALL");
    EXPECT_EQ(click["paywallId"], "meter-banner");
    EXPECT_EQ(click["contentId"], "metered-2");
    EXPECT_FALSE(meterEvent("VIEW").is_null());
}

TEST_F(AccessFlowWireTest, ServerErrorOnTheJourneyStillLoadsTheContent) {
    addFault({{"path", "/api/v1/journey"}, {"fault", "status"}, {"status", 500}});
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return !served("/content").empty(); }));
    EXPECT_TRUE(host->calls.empty());
}

TEST_F(AccessFlowWireTest, RefusedJourneysStopWithTheirToastOrLine) {
    QuillgateClient::shared().configure(Mode::local, "no-such-publisher");
    showPayWall("premium-3a");
    ASSERT_TRUE(waitFor([&] { return tp.printed("wrongClientOrContentID"); }));

    QuillgateClient::shared().configure(Mode::local, kDemoClient);
    addFault({{"path", "/api/v1/journey"},
              {"fault", "status"},
              {"status", 400},
              {"message", "Invalid reader"}});
    showPayWall("premium-3a");
    // The answer has been handled once its response line is out and the main queue is idle.
    ASSERT_TRUE(waitFor(
        [&] { return tp.printedContaining("Invalid reader") && tp.loop().pendingCount() == 0; }));
    EXPECT_TRUE(host->calls.empty());
    EXPECT_TRUE(served("/content").empty());
}

TEST_F(AccessFlowWireTest, SubscriptionEntryWithAStoredChallengeThenSignatureLetsTheReaderIn) {
    storeSignedInChallenge("premium-3a");
    initSubscriptions();
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
    EXPECT_EQ(served("/login-challenge/").size(), 1u);
    EXPECT_EQ(served("/subscription/access").size(), 1u);
    EXPECT_TRUE(served("/subscription/embedded-subscription").empty());
}

TEST_F(AccessFlowWireTest, SubscriptionEntryErrorAnswerWipesTheSessionAndFetchesThePlans) {
    Constants::setSessionID("session-unknown");
    Constants::userID() = "someone";
    initSubscriptions();
    ASSERT_TRUE(waitFor([&] { return !served("/subscription/embedded-subscription").empty(); }));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLocked});
    EXPECT_EQ(Constants::sessionID(), std::nullopt);
    EXPECT_EQ(Constants::userID(), "");
}

class SignInWireTest : public LoopbackClientTest {
  protected:
    SignInWireTest() {
        auto& c = QuillgateClient::shared();
        c.contentID = "premium-3a";
        c.parentView = parent;
        c.debugMode = true;
        ui::Application::shared().showWindow(ui::ViewController::create<ui::ViewController>());
    }

    // Waits for the client to open a web page and fetches it as the reader's browser would.
    std::string openedPage(const std::string& suffix = "") {
        auto screen = [] {
            return std::dynamic_pointer_cast<WebViewController>(QuillgateClient::shared().webVC);
        };
        if (!waitFor([&] { return screen() && screen()->actualURL; }, 10)) {
            ADD_FAILURE() << "no page opened";
            return "";
        }
        const std::string address = *screen()->actualURL;
        EXPECT_EQ(address.rfind(dev.webBase(), 0), 0u) << address;
        auto page = web.Get("/" + address.substr(dev.webBase().size()) + suffix);
        if (!page || page->status != 200) {
            ADD_FAILURE() << address << ": " << (page ? page->body : "no answer");
            return "";
        }
        return page->body;
    }

    // Logs out and gives the toast that tells the outcome.
    std::string logout() {
        Toast::shared().toastView.reset();
        QuillgateClient::shared().getlogout(host);
        const auto& box = Toast::shared().toastView;
        EXPECT_TRUE(waitFor([&] { return box != nullptr; }, 10));
        return box ? std::dynamic_pointer_cast<ui::Label>(box->subviews().at(0))->text() : "";
    }

    httplib::Client web{"127.0.0.1", dev.webPort()};
};

TEST_F(SignInWireTest, ThePageSignsInAgainstThePostedChallengeAndTheDeepLinkUnlocks) {
    auto& c = QuillgateClient::shared();
    c.completionHandlerDelegate = host;
    c.screenType = ScreenType::paywallScreen;

    c.contactLogin("subscriber@quillgate.test");
    const std::string html = openedPage();
    const auto challenge = Constants::loginChallenge();
    ASSERT_TRUE(challenge);
    const auto registered = dev.service().challenge(*challenge);
    ASSERT_TRUE(registered) << "the service knows the client's challenge";
    EXPECT_EQ(registered->redirectTo, "orvelant://home?id=premium-3a");

    // Act as the reader: the page's "contact" choice signs in and redirects to the deep link.
    std::smatch link;
    ASSERT_TRUE(
        std::regex_search(html, link, std::regex("id=\"choice-contact\" href=\"([^\"]*)\"")));
    const auto chosen = web.Get(std::regex_replace(link[1].str(), std::regex("&amp;"), "&"));
    ASSERT_TRUE(chosen);
    ASSERT_EQ(chosen->status, 302) << chosen->body;
    const std::string deepLink = chosen->get_header_value("Location");
    EXPECT_EQ(deepLink, "orvelant://home?id=premium-3a");

    // The relaunch runs the article again: the stored challenge now yields the session.
    c.handleRelaunchApp(deepLink);
    tp.advance(0.5);
    ASSERT_TRUE(waitFor([&] { return host->calls.size() >= 2; }));
    EXPECT_EQ(host->calls, (std::vector<std::string>{kLocked, kLetIn}));
    EXPECT_EQ(Constants::sessionID(), dev.service().challenge(*challenge)->sessionId);
}

TEST_F(SignInWireTest, AutoLoginPageOpensASessionThatUserDetailsAndLogoutActOn) {
    auto& c = QuillgateClient::shared();
    c.autoLogIn("premium-3a", kDemoClient, "", "subscriber@quillgate.test", std::nullopt, parent,
                host);
    const json model = json::parse(openedPage("&respond=json"));
    ASSERT_TRUE(model.contains("sessionId")) << model;
    EXPECT_EQ(dev.service().challenge(*Constants::loginChallenge())->sessionId, model["sessionId"]);

    // With the page's session stored, the user route answers the subscriber's details raw.
    const std::string session = model["sessionId"];
    Constants::setSessionID(session);
    c.getUserDetail(host);
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    const std::string prefix = "success(userDetails: ";
    ASSERT_EQ(host->calls[0].rfind(prefix, 0), 0u) << host->calls[0];
    const json details = json::parse(
        host->calls[0].substr(prefix.size(), host->calls[0].size() - prefix.size() - 1));
    EXPECT_EQ(details["name"], "Arjun Menon");
    EXPECT_EQ(details["existingSubscriber"], true);

    EXPECT_EQ(logout(), "You have been logged out");
    EXPECT_FALSE(Constants::sessionID());
    EXPECT_FALSE(Constants::loginChallenge());
    // The service has forgotten the session: a second logout of it is refused, and the
    // device is wiped all the same.
    Constants::setSessionID(session);
    EXPECT_EQ(logout(), "Unable to logout");
    EXPECT_TRUE(tp.printed("wrongClientOrContentID"));
    EXPECT_FALSE(Constants::sessionID());
    EXPECT_EQ(host->calls.size(), 1u) << "logout tells the host nothing";
}

}  // namespace
}  // namespace quillgate::testing

// Sign-in against the local access service over loopback: the challenge the client posts is
// the one the web page signs the reader in with, the auto-login page reads the encoded e-mail,
// and logout and user details act on real sessions.

#include <chrono>
#include <functional>
#include <memory>
#include <regex>
#include <string>

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"
#include "tools/devserver/DevServer.h"

namespace quillgate {
namespace {

using nlohmann::json;

constexpr const char* kClient = "quillgate-demo";

class SignInWireTest : public ::testing::Test {
  protected:
    SignInWireTest() {
        started = dev.start();
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        auto& c = QuillgateClient::shared();
        c.deployment.local = {dev.apiBase(), dev.webBase(), dev.collectUrl()};
        c.configure(Mode::local, kClient);
        c.contentID = "premium-3a";
        c.parentView = std::make_shared<ui::View>();
        c.debugMode = true;
        ui::Application::shared().showWindow(ui::ViewController::create<ui::ViewController>());
        web = std::make_unique<httplib::Client>("127.0.0.1", dev.webPort());
    }

    void SetUp() override { ASSERT_TRUE(started.ok) << started.error; }

    bool waitFor(const std::function<bool()>& done) {
        return tp.loop().runUntil(done, std::chrono::seconds(10));
    }
    // Waits for the client to open a web page; gives its address behind the web base.
    std::string openedPage() {
        auto screen = [] {
            return std::dynamic_pointer_cast<WebViewController>(QuillgateClient::shared().webVC);
        };
        if (!waitFor([&] { return screen() && screen()->actualURL; })) {
            ADD_FAILURE() << "no page opened";
            return "";
        }
        const std::string address = *screen()->actualURL;
        EXPECT_EQ(address.rfind(dev.webBase(), 0), 0u) << address;
        return "/" + address.substr(dev.webBase().size());
    }
    std::string toastText() {
        const auto& box = Toast::shared().toastView;
        return box ? std::dynamic_pointer_cast<ui::Label>(box->subviews().at(0))->text() : "";
    }

    devserver::DevServer dev{
        devserver::DevServer::Options{0, 0, 0, devserver::DevServer::defaultDataDir(), {}, {}}};
    testing::TestPlatform tp;  // after the server: its HTTP session closes first
    devserver::StartResult started;
    std::unique_ptr<httplib::Client> web;
    std::shared_ptr<testing::RecordingHost> host = std::make_shared<testing::RecordingHost>();
};

TEST_F(SignInWireTest, ThePageSignsInAgainstThePostedChallengeAndTheDeepLinkRelaunches) {
    auto& c = QuillgateClient::shared();
    c.completionHandlerDelegate = host;
    c.screenType = ScreenType::paywallScreen;

    c.contactLogin("subscriber@quillgate.test");
    const std::string page = openedPage();
    const auto challenge = Constants::loginChallenge();
    ASSERT_TRUE(challenge);
    const auto registered = dev.service().challenge(*challenge);
    ASSERT_TRUE(registered) << "the service knows the client's challenge";
    EXPECT_EQ(registered->redirectTo, "orvelant://home?id=premium-3a");

    // Act as the reader: the page's "contact" choice signs in and redirects to the deep link.
    const auto html = web->Get(page);
    ASSERT_TRUE(html);
    ASSERT_EQ(html->status, 200) << html->body;
    std::smatch link;
    ASSERT_TRUE(
        std::regex_search(html->body, link, std::regex("id=\"choice-contact\" href=\"([^\"]*)\"")));
    const std::string choice = std::regex_replace(link[1].str(), std::regex("&amp;"), "&");
    const auto chosen = web->Get(choice);
    ASSERT_TRUE(chosen);
    ASSERT_EQ(chosen->status, 302) << chosen->body;
    const std::string deepLink = chosen->get_header_value("Location");
    EXPECT_EQ(deepLink, "orvelant://home?id=premium-3a");
    EXPECT_FALSE(dev.service().challenge(*challenge)->sessionId.empty());

    tp.clearLines();
    c.handleRelaunchApp(deepLink);
    tp.advance(0.4);
    EXPECT_FALSE(tp.printed("trackstartProcess()::handleUserJourney"));
    tp.advance(0.1);
    EXPECT_TRUE(tp.printed("trackstartProcess()::handleUserJourney"));
}

TEST_F(SignInWireTest, AutoLoginPageFindsTheReaderByTheEncodedEmailAndUserDetailsFollow) {
    auto& c = QuillgateClient::shared();
    c.autoLogIn("premium-3a", kClient, "", "subscriber@quillgate.test", std::nullopt, c.parentView,
                host);
    const std::string page = openedPage();

    const auto answer = web->Get(page + "&respond=json");
    ASSERT_TRUE(answer);
    ASSERT_EQ(answer->status, 200) << answer->body;
    const json model = json::parse(answer->body);
    ASSERT_TRUE(model.contains("sessionId")) << answer->body;
    EXPECT_EQ(dev.service().challenge(*Constants::loginChallenge())->sessionId, model["sessionId"]);

    // With the page's session stored, the user route answers the subscriber's details raw.
    Constants::setSessionID(model["sessionId"].get<std::string>());
    c.getUserDetail(host);
    ASSERT_TRUE(waitFor([&] { return !host->calls.empty(); }));
    const std::string prefix = "success(userDetails: ";
    ASSERT_EQ(host->calls[0].rfind(prefix, 0), 0u) << host->calls[0];
    const json details = json::parse(
        host->calls[0].substr(prefix.size(), host->calls[0].size() - prefix.size() - 1));
    EXPECT_EQ(details["name"], "Arjun Menon");
    EXPECT_EQ(details["existingSubscriber"], true);
}

TEST_F(SignInWireTest, LogoutEndsTheSessionOnTheServiceAndOnTheDevice) {
    const auto signIn =
        dev.service().signIn(kClient, devserver::Identity{"reader@quillgate.test", "", ""}, "");
    ASSERT_TRUE(signIn.ok) << signIn.message;
    Constants::setSessionID(signIn.sessionId);
    Constants::setLoginChallenge("challenge-1");

    QuillgateClient::shared().getlogout(host);
    ASSERT_TRUE(waitFor([&] { return !toastText().empty(); }));
    EXPECT_EQ(toastText(), "You have been logged out");
    EXPECT_FALSE(Constants::sessionID());
    EXPECT_FALSE(Constants::loginChallenge());

    // The service has forgotten the session: a second logout of it is refused, and the
    // device is wiped all the same.
    Toast::shared().toastView.reset();
    Constants::setSessionID(signIn.sessionId);
    QuillgateClient::shared().getlogout(host);
    ASSERT_TRUE(waitFor([&] { return !toastText().empty(); }));
    EXPECT_EQ(toastText(), "Unable to logout");
    EXPECT_TRUE(tp.printed("wrongClientOrContentID"));
    EXPECT_FALSE(Constants::sessionID());
    EXPECT_TRUE(host->calls.empty());
}

}  // namespace
}  // namespace quillgate

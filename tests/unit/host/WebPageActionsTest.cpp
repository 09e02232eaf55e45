// The reader on the service's pages, through the web flow screen and its web view, against
// the local service on loopback: buying an article, signing in by the page's script message,
// the message without a session, the back button, and the actions with no page on show.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "tests/support/LocalService.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/HostApp.h"
#include "tools/quillgate/ReaderActions.h"
#include "tools/quillgate/WebPageActions.h"

namespace quillgate::host {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::HasSubstr;

constexpr auto kLimit = std::chrono::seconds(20);

class WebPageActionsTest : public ::testing::Test {
  protected:
    WebPageActionsTest() {
        state = fs::temp_directory_path() / ("quillgate-web-actions-" + std::to_string(::getpid()));
        fs::remove_all(state);
        HostSetup setup;
        setup.stateDirectory = state;
        setup.alwaysReachable = true;
        app = std::make_unique<HostApp>(out, std::move(setup));
        EXPECT_TRUE(server.start());
        server.pointAt(app->client().deployment);
        app->client().configure(Mode::local, "quillgate-demo");
    }
    ~WebPageActionsTest() override {
        app.reset();
        fs::remove_all(state);
    }

    // Opens `contentId` and waits for its wall.
    void openLockedArticle(const std::string& contentId) {
        app->client().showPayWall(
            contentId, "A story", std::vector<std::string>{"news"},
            std::vector<std::string>{"business"}, std::vector<std::string>{"demo"},
            "https://daily.quillgate.test/" + contentId, "Desk",
            "https://daily.quillgate.test/" + contentId, app->parentView(),
            app->eventParamsDelegate(), app->googleLogInDelegate(), app->completionDelegate(),
            app->subscribeDelegate(), app->signInDelegate());
        ASSERT_TRUE(app->loop().runUntil(
            [&] { return !app->parentView()->subviews().empty() && app->settled(); }, kLimit));
    }
    // The wall's button: the client's web flow, until its page is on show and loaded.
    void openThePage(bool isLogin) {
        app->client().payBtnTap(true, isLogin);
        ASSERT_TRUE(app->loop().runUntil(
            [&] {
                auto screen = webFlowOnShow(*app);
                return screen && !screen->webView->isLoading() && app->settled();
            },
            kLimit));
    }
    ActionOutcome act(const std::string& text) {
        std::string error;
        const auto action = parseReaderAction(text, error);
        EXPECT_TRUE(action) << error;
        return action ? runReaderAction(*app, *action) : ActionOutcome::failed;
    }
    bool heard(const std::string& call) {
        const auto calls = app->hostCalls();
        return std::find(calls.begin(), calls.end(), call) != calls.end();
    }
    bool waitToHear(const std::string& call) {
        return app->loop().runUntil([&] { return heard(call) && app->settled(); }, kLimit);
    }
    std::vector<std::string> lines() {
        std::vector<std::string> all;
        std::istringstream in(out.str());
        for (std::string line; std::getline(in, line);) {
            all.push_back(line);
        }
        return all;
    }
    std::size_t indexOf(const std::string& prefix) {
        const auto all = lines();
        return static_cast<std::size_t>(
            std::find_if(all.begin(), all.end(),
                         [&](const std::string& l) { return l.starts_with(prefix); }) -
            all.begin());
    }

    fs::path state;
    std::ostringstream out;
    std::unique_ptr<HostApp> app;
    devserver::DevServer server{testing::ephemeralService()};
};

TEST_F(WebPageActionsTest, ChoosingThePurchaseRedirectsHomeAndUnlocksTheArticle) {
    openLockedArticle("premium-3a");
    openThePage(false);
    EXPECT_EQ(act("choose Buy this story"), ActionOutcome::done);
    ASSERT_TRUE(waitToHear("purchasedOrNot(accessTime: true)"));
    app->printScreens();

    const std::string home = "orvelant://home?id=premium-3a";
    const auto loading = indexOf("loading url: " + server.webBase() + "overlay?");
    const auto decided = indexOf("decidePolicyFor - url: " + home);
    const auto ended = indexOf("success-home...");
    const auto unlocked = indexOf("host: purchasedOrNot(accessTime: true)");
    EXPECT_LT(loading, decided);
    EXPECT_LT(decided, unlocked);
    EXPECT_LT(ended, unlocked);
    EXPECT_LT(indexOf("decidePolicyFor - url: " + server.webBase() + "overlay/choose?"), decided)
        << "the choice's link, then its redirect, each decided by the screen";
    EXPECT_LT(unlocked, indexOf("screen: none"));
    EXPECT_LT(indexOf("screen: none"), lines().size());
    EXPECT_FALSE(webFlowOnShow(*app));
}

TEST_F(WebPageActionsTest, SigningInOnThePageStoresTheSessionAndTellsTheDelegateAfterTheExit) {
    openLockedArticle("premium-4a");
    app->client().autoLogInDelegate = app->autoLogInDelegate();
    openThePage(true);
    const auto exitsBefore = server.collector().count();
    EXPECT_EQ(act("choose Sign in as subscriber@quillgate.test"), ActionOutcome::done);
    ASSERT_TRUE(waitToHear("autoLogInsuccess()"));
    EXPECT_TRUE(Constants::sessionID().has_value());
    EXPECT_LT(indexOf("zzzlogEventEXIT()"), lines().size());
    EXPECT_LT(indexOf("message received::loginSuccess"), indexOf("host: autoLogInsuccess()"));
    EXPECT_GT(server.collector().count(), exitsBefore);
    // The relaunched journey knows the subscriber.
    EXPECT_TRUE(waitToHear("purchasedOrNot(accessTime: true)"));
}

TEST_F(WebPageActionsTest, AMessageWithoutASessionFailsAndBackLeaves) {
    openLockedArticle("premium-4a");
    app->client().autoLogInDelegate = app->autoLogInDelegate();
    openThePage(true);
    EXPECT_EQ(act("post nobody {}"), ActionOutcome::nothingOnScreen) << "goes nowhere";
    EXPECT_EQ(act("post loginSuccess not json"), ActionOutcome::failed);
    EXPECT_EQ(act("post loginSuccess {\"userId\":\"u1\"}"), ActionOutcome::done);
    ASSERT_TRUE(waitToHear("autoLogInfailure()"));
    EXPECT_FALSE(Constants::sessionID().has_value());
    EXPECT_FALSE(webFlowOnShow(*app));

    // With the page gone, the page's actions find nothing.
    EXPECT_EQ(act("choose Sign in"), ActionOutcome::nothingOnScreen);
    EXPECT_EQ(act("back"), ActionOutcome::nothingOnScreen);

    // Back on the page, the back button leaves it and runs the article again.
    openThePage(true);
    const auto journeys = server.controls().requests().size();
    EXPECT_EQ(act("choose nothing of the kind"), ActionOutcome::nothingOnScreen);
    EXPECT_EQ(act("back"), ActionOutcome::done);
    ASSERT_TRUE(app->loop().runUntil(
        [&] {
            return !webFlowOnShow(*app) && app->settled() &&
                   server.controls().requests().size() > journeys;
        },
        kLimit));

    std::string error;
    EXPECT_FALSE(parseReaderAction("back now", error));
    EXPECT_THAT(error, HasSubstr("takes no argument"));
}

}  // namespace
}  // namespace quillgate::host

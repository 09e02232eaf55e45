// `quillgate read` in-process against the local access service on ephemeral loopback ports:
// what the host prints for a free, a metered and a locked article, that the options reach the
// service, and that the exit is delivered before the command returns.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "quillgate/platform/Image.h"
#include "quillgate/ui/View.h"
#include "tests/support/FontFiles.h"
#include "tests/support/LocalService.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/Host.h"
#include "tools/quillgate/HostApp.h"

namespace {

namespace fs = std::filesystem;
using quillgate::devserver::DevServer;
using quillgate::devserver::RecordedRequest;
using quillgate::host::HostApp;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct ReadRun {
    int status = 0;
    std::vector<std::string> lines;
    std::string err;

    std::vector<std::string> startingWith(const std::string& prefix) const {
        std::vector<std::string> found;
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                     [&](const std::string& line) { return line.starts_with(prefix); });
        return found;
    }
    // Position of the first line equal to `line`, or the number of lines.
    std::size_t indexOf(const std::string& line) const {
        return static_cast<std::size_t>(std::find(lines.begin(), lines.end(), line) -
                                        lines.begin());
    }
};

const std::string kLocked = "host: purchasedOrNot(accessTime: false)";

class ReadCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        state = fs::temp_directory_path() /
                ("quillgate-read-test-" + std::to_string(::getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(state);
    }
    void TearDown() override { fs::remove_all(state); }

    // Runs `read` of `contentId` with every entry of the deployment pointed at the local
    // service and `more` options, until `finished` (the run's upper bound is its --run-for).
    ReadRun read(const std::string& contentId, std::function<bool(const HostApp&)> finished,
                 const std::vector<std::string>& more = {}) {
        std::vector<std::string> args = {"--client-id",      "quillgate-demo",
                                         "--content-id",     contentId,
                                         "--api-base",       server.apiBase(),
                                         "--web-base",       server.webBase(),
                                         "--collect-url",    server.collectUrl(),
                                         "--font-web-base",  server.webFontHostBase(),
                                         "--font-repo-base", server.sourceRepositoryHostBase(),
                                         "--state-dir",      state.string(),
                                         "--run-for",        "10"};
        args.insert(args.end(), more.begin(), more.end());
        quillgate::host::HostSetup setup;
        setup.alwaysReachable = true;
        setup.finishedEarly = std::move(finished);
        std::ostringstream out;
        std::ostringstream err;
        ReadRun run;
        run.status = quillgate::host::runRead(args, out, err, setup);
        std::istringstream lines(out.str());
        for (std::string line; std::getline(lines, line);) {
            run.lines.push_back(line);
        }
        run.err = err.str();
        return run;
    }

    // The requests the service's API received, in order.
    std::vector<RecordedRequest> apiRequests() {
        auto all = server.controls().requests();
        std::erase_if(all, [](const auto& r) { return r.server != "api"; });
        return all;
    }

    static bool showsAScreen(const HostApp& app) { return !app.parentView()->subviews().empty(); }

    DevServer server{quillgate::testing::ephemeralService()};
    fs::path state;
};

TEST_F(ReadCommandTest, FreeArticleLetsTheReaderInAndDeliversTheExitBeforeReturning) {
    const ReadRun run =
        read("free-article", [](const HostApp& app) { return !app.hostCalls().empty(); },
             {"--client-user-id", "reader-7", "--title", "Monsoon", "--category", "news", "--tag",
              "rain", "--tag", "coast"});

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "), ElementsAre(kLocked));
    EXPECT_EQ(run.lines.back(), "screen: none");
    // The library's own lines are there, unchanged and in order around the host's.
    EXPECT_LT(run.indexOf("resetValues()"), run.indexOf("trackstartProcess()::handleUserJourney"));
    EXPECT_LT(run.indexOf("trackstartProcess()::handleUserJourney"), run.indexOf(kLocked));
    // exitSDK's event reached the collector before read returned.
    const auto events = server.collector().events();
    EXPECT_EQ(std::count_if(events.begin(), events.end(),
                            [](const auto& e) { return e.eventType == "EXIT"; }),
              1);

    // The article and the host options reached the journey.
    const auto api = apiRequests();
    ASSERT_FALSE(api.empty());
    ASSERT_EQ(api.front().path, "/api/v1/journey");
    const auto& params = api.front().params;
    EXPECT_EQ(quillgate::devserver::param(params, "userId"), "reader-7");
    EXPECT_EQ(quillgate::devserver::param(params, "title"), "Monsoon");
    EXPECT_EQ(quillgate::devserver::param(params, "tags"), R"(["rain", "coast"])");
    EXPECT_EQ(quillgate::devserver::param(params, "categories"), R"(["news"])");
    // The user defaults live in the state directory.
    EXPECT_THAT(quillgate::testing::fileContent(state / "defaults.json"), HasSubstr("AnonymousID"));
}

TEST_F(ReadCommandTest, MeteredArticleShowsTheBannerAndLetsTheReaderIn) {
    const ReadRun run = read("metered-1", [](const HostApp& app) {
        return app.hostCalls().size() >= 3 && showsAScreen(app);
    });

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "),
                ElementsAre(kLocked, "host: purchasedOrNot(accessTime: true)",
                            StartsWith("host: onMeterBannerVisible(paywallType: METER_BANNER, "
                                       "meterBannerId: 4fa876d95f5c7db125ca377a, ")));
    EXPECT_THAT(run.startingWith("screen: "), ElementsAre("screen: BannerViewController tag 9988"));
}

TEST_F(ReadCommandTest, LockedArticleShowsItsTemplateAfterContentConfigurationAndFonts) {
    const ReadRun run = read("premium-3a", showsAScreen);

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "),
                ElementsAre(kLocked, HasSubstr("host: onPaywallVisible(paywallType: PAYWALL")));
    EXPECT_LT(run.indexOf("All font downloads completed successfully"), run.indexOf("TEMPLATE3A"));
    EXPECT_THAT(run.startingWith("screen: "), ElementsAre("screen: CTA3ViewController tag 9988"));
    // The fonts came from the hosts the options named, into the state directory.
    EXPECT_TRUE(fs::exists(state / "Documents" / "Roboto-Regular.ttf"));
}

TEST_F(ReadCommandTest, ActionsPictureAndTreeComeWithTheWallStillUp) {
    const fs::path picture = state / "wall.png";
    const ReadRun run = read("premium-3a", showsAScreen,
                             {"--do", "scroll 30", "--do", "tap Nothing like this", "--snapshot",
                              picture.string(), "--tree", "--scale", "1"});

    // The tap found nothing: said so, and the run ends with status 1 after doing the rest.
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.startingWith("reader: "),
                ElementsAre("reader: scroll 30", "reader: tap Nothing like this",
                            "reader: nothing to tap Nothing like this on screen"));
    EXPECT_LT(run.indexOf("reader: scroll 30"), run.indexOf("picture: " + picture.string()));
    // The tree of parentView: the wall's root fills it; then the paywall height, all before
    // the exit and the screen lines.
    const auto tree = run.startingWith("tree: ");
    ASSERT_GE(tree.size(), 2u);
    EXPECT_THAT(tree[0], ::testing::StartsWith("tree: View frame=(0 0; 390 844)"));
    EXPECT_THAT(tree[1], ::testing::StartsWith("tree:   View tag=9988 frame=(0 0; 390 844)"));
    EXPECT_THAT(tree[1], HasSubstr("controller=CTA3ViewController"));
    EXPECT_THAT(run.startingWith("client: "),
                ElementsAre(::testing::StartsWith("client: paywallHeight ")));
    EXPECT_LT(run.indexOf(tree[0]), run.indexOf("screen: CTA3ViewController tag 9988"));
    // The picture is the window's size at the asked scale.
    const auto size = quillgate::platform::imageSize(quillgate::testing::fileContent(picture));
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 390);
    EXPECT_EQ(size->height, 844);
}

// The plans screen's plans row reads the plan before the first one: with plans, `read` ends
// there, with the fatal line, once the screen joins the window.
TEST_F(ReadCommandTest, SubscriptionsWithPlansEndTheProgramAtThePlansRow) {
    // The run talks to this test's own service: the child process starts one of its own.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        read("subscription-plans", [](const HostApp&) { return false; }, {"--subscriptions"}),
        "Fatal error: Index out of range");
}

TEST_F(ReadCommandTest, PopupShowsItsImageClosesAndOpensItsLink) {
    const auto popupUp = [](const HostApp& app) { return showsAScreen(app); };
    const ReadRun closed = read("free-with-popup", popupUp, {"--do", "tap \u2715", "--tree"});
    ASSERT_EQ(closed.status, 0) << closed.err;
    EXPECT_EQ(closed.lines.back(), "screen: none");
    EXPECT_THAT(closed.startingWith("tree: "), ElementsAre("tree: View frame=(0 0; 390 844)"));

    const ReadRun opened = read("free-with-popup", popupUp, {"--do", "tap popup image", "--tree"});
    ASSERT_EQ(opened.status, 0) << opened.err;
    // The popup, half the window wide on the right, its poster fetched from the service.
    EXPECT_THAT(opened.startingWith("tree: "),
                ::testing::Contains(HasSubstr("PopUpView frame=(180 234.9; 195 332)")));
    EXPECT_THAT(opened.startingWith("tree: "),
                ::testing::Contains(HasSubstr("image=data:16174 bytes 600x1022")));
    EXPECT_THAT(
        opened.startingWith("presented: "),
        ElementsAre("presented: SafariViewController https://daily.quillgate.test/magazine"));

    std::vector<std::string> clicks;
    for (const auto& e : server.collector().events()) {
        if (e.eventType == "CLICK") {
            const std::string body = e.body.dump();
            for (const char* action : {"POPUP_CLOSE", "POPUP_REDIRECT"}) {
                if (body.find(action) != std::string::npos) {
                    clicks.push_back(e.eventLocation + " " + action);
                }
            }
        }
    }
    EXPECT_THAT(clicks, ElementsAre("POPUP POPUP_CLOSE", "POPUP POPUP_REDIRECT"));
}

TEST_F(ReadCommandTest, FailureShowsAToastOnlyInDebugMode) {
    quillgate::devserver::Fault fault;
    fault.path = "/api/v1/journey";
    fault.status = 400;
    fault.message = "Invalid reader";
    fault.times = 2;
    server.controls().addFault(fault);
    // Done once the journey has been answered: the toast, if any, comes with its answer.
    const auto answered = [this](const HostApp& app) {
        return app.requestsInFlight() == 0 && !apiRequests().empty();
    };

    const ReadRun withoutDebug = read("free-article", answered);
    server.controls().clearRequests();
    const ReadRun withDebug = read("free-article", answered, {"--debug"});

    EXPECT_TRUE(withoutDebug.startingWith("toast: ").empty());
    EXPECT_THAT(withDebug.startingWith("toast: "), ElementsAre("toast: Invalid reader"));
    // A refused journey tells the host nothing.
    EXPECT_TRUE(withDebug.startingWith("host: ").empty());
}

TEST(HostFloat, WholeNumbersKeepTheirPointAndOthersTheirShortestDigits) {
    EXPECT_EQ(quillgate::host::describeFloat(412), "412.0");
    EXPECT_EQ(quillgate::host::describeFloat(0), "0.0");
    EXPECT_EQ(quillgate::host::describeFloat(412.5), "412.5");
    EXPECT_EQ(quillgate::host::describeFloat(0.1), "0.1");
}

}  // namespace

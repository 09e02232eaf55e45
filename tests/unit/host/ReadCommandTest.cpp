// `quillgate read` in-process against the local access service on ephemeral loopback ports:
// what the host prints for a free, a metered and a locked article, that the options reach the
// service, that the exit is delivered before the command returns; and its usage errors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quillgate/ui/View.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/Host.h"
#include "tools/quillgate/HostApp.h"

namespace {

namespace fs = std::filesystem;
using quillgate::devserver::DevServer;
using quillgate::host::HostApp;
using quillgate::host::HostSetup;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

struct ReadRun {
    int status = 0;
    std::vector<std::string> lines;
    std::string err;

    std::vector<std::string> startingWith(const std::string& prefix) const {
        std::vector<std::string> found;
        for (const auto& line : lines) {
            if (line.rfind(prefix, 0) == 0) {
                found.push_back(line);
            }
        }
        return found;
    }
    // Position of the first line equal to `line`, or the number of lines.
    std::size_t indexOf(const std::string& line) const {
        return static_cast<std::size_t>(std::find(lines.begin(), lines.end(), line) -
                                        lines.begin());
    }
};

class ReadCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        std::error_code ec;
        state = fs::temp_directory_path(ec) /
                ("quillgate-read-test-" + std::to_string(::getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(state, ec);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(state, ec);
    }

    // The arguments that point every entry of the deployment at the local service.
    std::vector<std::string> against(const std::string& contentId) const {
        return {"--client-id",      "quillgate-demo",
                "--content-id",     contentId,
                "--api-base",       server.apiBase(),
                "--web-base",       server.webBase(),
                "--collect-url",    server.collectUrl(),
                "--font-web-base",  server.webFontHostBase(),
                "--font-repo-base", server.sourceRepositoryHostBase(),
                "--state-dir",      state.string(),
                "--run-for",        "10"};
    }

    // Runs `read` until `finished` (the run's upper bound is its --run-for).
    ReadRun read(std::vector<std::string> args, std::function<bool(const HostApp&)> finished) {
        HostSetup setup;
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

    static bool heardStartingWith(const HostApp& app, const std::string& prefix) {
        const auto calls = app.hostCalls();
        return std::any_of(calls.begin(), calls.end(),
                           [&](const std::string& c) { return c.rfind(prefix, 0) == 0; });
    }

    std::size_t collected(const std::string& eventType) {
        const auto events = server.collector().events();
        return static_cast<std::size_t>(std::count_if(
            events.begin(), events.end(), [&](const auto& e) { return e.eventType == eventType; }));
    }

    DevServer server{DevServer::Options{0, 0, 0, DevServer::defaultDataDir(), {}, {}}};
    fs::path state;
};

TEST_F(ReadCommandTest, FreeArticleLetsTheReaderInAndDeliversTheExitBeforeReturning) {
    auto args = against("free-article");
    args.insert(args.end(), {"--client-user-id", "reader-7", "--title", "Monsoon", "--category",
                             "news", "--tag", "rain", "--tag", "coast"});
    const ReadRun run = read(args, [](const HostApp& app) { return !app.hostCalls().empty(); });

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "), ElementsAre("host: purchasedOrNot(accessTime: false)"));
    EXPECT_EQ(run.lines.back(), "screen: none");
    // The library's own lines are there, unchanged and in order around the host's.
    EXPECT_LT(run.indexOf("resetValues()"), run.indexOf("trackstartProcess()::handleUserJourney"));
    EXPECT_LT(run.indexOf("trackstartProcess()::handleUserJourney"),
              run.indexOf("host: purchasedOrNot(accessTime: false)"));
    // exitSDK's event reached the collector before read returned.
    EXPECT_EQ(collected("EXIT"), 1u);

    // The article and the host options reached the journey.
    const auto journeys = [&] {
        std::vector<quillgate::devserver::RecordedRequest> found;
        for (const auto& r : server.controls().requests()) {
            if (r.path == "/api/v1/journey") {
                found.push_back(r);
            }
        }
        return found;
    }();
    ASSERT_EQ(journeys.size(), 1u);
    const auto& params = journeys.front().params;
    EXPECT_EQ(quillgate::devserver::param(params, "userId"), "reader-7");
    EXPECT_EQ(quillgate::devserver::param(params, "title"), "Monsoon");
    EXPECT_EQ(quillgate::devserver::param(params, "tags"), R"(["rain", "coast"])");
    EXPECT_EQ(quillgate::devserver::param(params, "categories"), R"(["news"])");
    // The user defaults live in the state directory.
    std::ifstream defaults(state / "defaults.json");
    std::stringstream text;
    text << defaults.rdbuf();
    EXPECT_THAT(text.str(), HasSubstr("AnonymousID"));
}

TEST_F(ReadCommandTest, MeteredArticleShowsTheBannerAndLetsTheReaderIn) {
    const ReadRun run = read(against("metered-1"), [](const HostApp& app) {
        return heardStartingWith(app, "purchasedOrNot(accessTime: true)") &&
               !app.parentView()->subviews().empty();
    });

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "), ElementsAre("host: purchasedOrNot(accessTime: false)",
                                                        "host: purchasedOrNot(accessTime: true)"));
    EXPECT_THAT(run.startingWith("screen: "), ElementsAre("screen: BannerViewController tag 9988"));
}

TEST_F(ReadCommandTest, LockedArticleShowsItsTemplateAfterContentConfigurationAndFonts) {
    const ReadRun run = read(against("premium-3a"), [](const HostApp& app) {
        return !app.parentView()->subviews().empty();
    });

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "), ElementsAre("host: purchasedOrNot(accessTime: false)"));
    EXPECT_LT(run.indexOf("All font downloads completed successfully"), run.indexOf("TEMPLATE3A"));
    EXPECT_THAT(run.startingWith("screen: "), ElementsAre("screen: CTA3ViewController tag 9988"));
    // The fonts came from the hosts the options named, into the state directory.
    EXPECT_TRUE(fs::exists(state / "Documents" / "Roboto-Regular.ttf"));
}

TEST_F(ReadCommandTest, SubscriptionsOpenTheSubscriptionScreenWithoutAJourney) {
    auto args = against("premium-3a");
    args.push_back("--subscriptions");
    const ReadRun run = read(args, [](const HostApp& app) { return !app.screens().empty(); });

    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.startingWith("host: "), ElementsAre("host: purchasedOrNot(accessTime: false)"));
    EXPECT_THAT(run.startingWith("screen: "),
                ElementsAre("screen: SubscriptionViewController tag 9988"));
    std::vector<std::string> paths;
    for (const auto& r : server.controls().requests()) {
        if (r.server == "api") {
            paths.push_back(r.path);
        }
    }
    EXPECT_THAT(paths, ElementsAre("/api/v1/subscription/access",
                                   "/api/v1/subscription/embedded-subscription"));
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
        const auto requests = server.controls().requests();
        return app.requestsInFlight() == 0 &&
               std::any_of(requests.begin(), requests.end(),
                           [](const auto& r) { return r.path == "/api/v1/journey"; });
    };

    const ReadRun withoutDebug = read(against("free-article"), answered);
    auto debug = against("free-article");
    debug.push_back("--debug");
    const ReadRun withDebug = read(debug, answered);

    EXPECT_TRUE(withoutDebug.startingWith("toast: ").empty());
    EXPECT_THAT(withDebug.startingWith("toast: "), ElementsAre("toast: Invalid reader"));
    // A refused journey tells the host nothing.
    EXPECT_TRUE(withDebug.startingWith("host: ").empty());
}

TEST(ReadUsage, BadArgumentsAreUsageErrorsThatRunNothing) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--content-id", "a"}, "--client-id is required"},
        {{"--client-id", "c"}, "--content-id is required"},
        {{"--client-id", "c", "--content-id", "a", "--mode", "Local"}, "--mode is one of"},
        {{"--client-id", "c", "--content-id", "a", "--run-for", "-1"}, "--run-for needs"},
        {{"--client-id", "c", "--content-id", "a", "--run-for", "5s"}, "--run-for needs"},
        {{"--client-id", "c", "--content-id", "a", "--run-for", "nan"}, "--run-for needs"},
        {{"--client-id", "c", "--content-id", "a", "--api-base", "127.0.0.1:3001"},
         "--api-base needs an http or https address"},
        {{"--client-id", "c", "--content-id", "a", "--font-web-base", "ftp://fonts.test/"},
         "--font-web-base needs an http or https address"},
        {{"--client-id", "c", "--content-id", "a", "--tag"}, "--tag needs a value"},
        {{"--client-id", "c", "--content-id", "a", "--debug=yes"}, "--debug takes no value"},
        {{"--client-id", "c", "--content-id", "a", "--colour", "red"}, "unknown option"},
        {{"--client-id", "c", "--content-id", "a", "extra"}, "unexpected argument"},
    };
    for (const auto& [args, message] : cases) {
        std::vector<std::string> command = {"read"};
        command.insert(command.end(), args.begin(), args.end());
        std::istringstream in;
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(quillgate::host::runHost(command, in, out, err), 2) << message;
        EXPECT_THAT(err.str(), HasSubstr("quillgate: read: " + message));
        EXPECT_EQ(out.str(), "") << message;
    }
}

TEST(ReadUsage, HelpListsTheOptionsAndRunsNothing) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(quillgate::host::runHost({"read", "--client-id", "c", "--help"}, in, out, err), 0);
    EXPECT_THAT(out.str(), HasSubstr("--font-repo-base URL"));
    EXPECT_THAT(out.str(), HasSubstr("--run-for SECONDS"));
    EXPECT_EQ(err.str(), "");
}

TEST(HostFloat, WholeNumbersKeepTheirPointAndOthersTheirShortestDigits) {
    EXPECT_EQ(quillgate::host::describeFloat(412), "412.0");
    EXPECT_EQ(quillgate::host::describeFloat(0), "0.0");
    EXPECT_EQ(quillgate::host::describeFloat(412.5), "412.5");
    EXPECT_EQ(quillgate::host::describeFloat(0.1), "0.1");
}

}  // namespace

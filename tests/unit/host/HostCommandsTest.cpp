// The host's commands run in-process on strings: the demo's story with the local access service
// on ephemeral loopback ports, decode against the service's sample bodies, --version and
// --help, and the usage errors of every command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/FontFiles.h"
#include "tests/support/LocalService.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/Host.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

struct HostRun {
    int status = 0;
    std::string out;
    std::string err;
};

// Runs `command` on string streams.
template <class Command>
HostRun capture(Command command) {
    std::ostringstream out;
    std::ostringstream err;
    HostRun result;
    result.status = command(out, err);
    result.out = out.str();
    result.err = err.str();
    return result;
}

HostRun run(const std::vector<std::string>& args, const std::string& input = "") {
    std::istringstream in(input);
    return capture([&](std::ostream& out, std::ostream& err) {
        return quillgate::host::runHost(args, in, out, err);
    });
}

HostRun demo(const quillgate::host::DemoPorts& ports, const std::vector<std::string>& args = {}) {
    return capture([&](std::ostream& out, std::ostream& err) {
        return quillgate::host::runDemo(args, out, err, ports);
    });
}

// The story's own lines (headings, screens, verdicts, the collection), without the library's.
std::vector<std::string> storyLines(const std::string& out) {
    std::vector<std::string> lines;
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);) {
        for (const char* prefix : {"== ", "-- ", "screen: ", "collected: ", "failed: "}) {
            if (line.starts_with(prefix)) {
                lines.push_back(line);
            }
        }
    }
    return lines;
}

// With --log, standard output keeps the story and the library's own lines go to the file.
TEST(Demo, StoryRunsToItsEndAsExpected) {
    const auto log = std::filesystem::path(::testing::TempDir()) / "demo-library.log";
    const HostRun run = demo({0, 0, 0}, {"--log", log.string()});
    const auto lines = storyLines(run.out);
    std::ifstream file(log);
    const std::string libraryLines((std::istreambuf_iterator<char>(file)),
                                   std::istreambuf_iterator<char>());
    EXPECT_THAT(run.out, HasSubstr("host: purchasedOrNot(accessTime: false)"));
    EXPECT_THAT(run.out, HasSubstr("reader: "));
    EXPECT_THAT(run.out, Not(HasSubstr("API Request::")));
    EXPECT_THAT(run.out, HasSubstr("== The library's own lines are in " + log.string()));
    EXPECT_THAT(libraryLines, HasSubstr("API Request::http://127.0.0.1:"));
    EXPECT_THAT(libraryLines, HasSubstr("trackstartProcess()::handleUserJourney"));
    EXPECT_THAT(libraryLines, Not(HasSubstr("host: ")));
    std::filesystem::remove(log);

    EXPECT_EQ(run.status, 0) << run.err << ::testing::PrintToString(lines);
    EXPECT_THAT(lines, Contains(StartsWith("== The story ran as expected")));
    EXPECT_THAT(lines, Not(Contains(StartsWith("-- NOT AS EXPECTED"))));
    // The chapters' screens, in the story's order.
    EXPECT_THAT(lines,
                IsSupersetOf(
                    {"screen: BannerViewController tag 9988", "screen: CTA3ViewController tag 9988",
                     "screen: QuillgateStatusVC tag 9988", "screen: RGViewController tag 9988"}));
    EXPECT_THAT(lines, Contains("screen: none")) << "the bought article is let in";
    // Each web flow adds its own exits (the screen's appearance and its ending) to the
    // application's.
    EXPECT_THAT(lines, Contains("collected: EXIT PAGE x7"));
}

// A taken port ends the demo before any chapter, and `serve` before it serves.
TEST(Host, TakenPortIsRefusedWithoutServing) {
    quillgate::devserver::DevServer other(quillgate::testing::ephemeralService());
    ASSERT_TRUE(other.start());

    const HostRun story = demo({0, other.webPort(), 0});
    EXPECT_EQ(story.status, 1);
    EXPECT_THAT(story.err, HasSubstr("cannot start the local access service"));
    EXPECT_THAT(story.err, HasSubstr(std::to_string(other.webPort())));
    EXPECT_THAT(storyLines(story.out), Not(Contains(StartsWith("== Chapter"))));

    const HostRun serve = run({"serve", "--api-port", std::to_string(other.apiPort()), "--web-port",
                               "0", "--collect-port", "0", "--quiet"});
    EXPECT_EQ(serve.status, 1);
    EXPECT_THAT(serve.err, StartsWith("quillgate serve: "));
    EXPECT_THAT(serve.out, Not(HasSubstr("Press Ctrl-C")));
}

const std::string kRecords = std::string(QUILLGATE_TEST_DATA_DIR) + "/records/";

// A root, its sample body, and a top-level key whose member no JSON number can fill.
struct RootCase {
    const char* root;
    const char* file;
    const char* key;
};

const RootCase kRootCases[] = {
    {"UserJourneyModel", "user_journey.json", "sessionExists"},
    {"CustomizePayWallModel", "customize_paywall.json", "data"},
    {"MeterModel", "meter_model.json", "data"},
    {"ContentDetails", "content_details.json", "currencySymbol"},
    {"PopUpModel", "popup_model.json", "title"},
    {"EmbededSubscription", "embeded_subscription.json", "subscriptions"},
    {"UserDetails", "user_details.json", "existingSubscriber"},
    {"LoginChallenge", "login_challenge.json", "loginChallengeId"},
    {"AutoLoginModel", "auto_login.json", "status"},
    {"PurchaseModel", "purchase.json", "signature"},
    {"LogoutModel", "logout.json", "message"},
    {"APIResponse", "api_response.json", "message"},
};

void PrintTo(const RootCase& c, std::ostream* os) {
    *os << c.root;
}

class DecodeEachRoot : public ::testing::TestWithParam<RootCase> {};

TEST_P(DecodeEachRoot, GoodBodyComesBackAsStablePrettyJson) {
    const RootCase& c = GetParam();
    const HostRun first = run({"decode", "--as", c.root, kRecords + c.file});
    ASSERT_EQ(first.status, 0) << first.out << first.err;
    EXPECT_EQ(first.err, "");
    ASSERT_TRUE(nlohmann::json::accept(first.out)) << first.out;
    EXPECT_THAT(first.out, StartsWith("{\n  \""));
    EXPECT_THAT(first.out, HasSubstr(std::string("\"") + c.key + "\":"));

    // The printed record is a body the client reads to the same record.
    const HostRun again = run({"decode", "--as", c.root, "-"}, first.out);
    EXPECT_EQ(again.status, 0) << again.out;
    EXPECT_EQ(again.out, first.out);
}

TEST_P(DecodeEachRoot, MismatchedMemberGivesTheLongFailureLine) {
    const RootCase& c = GetParam();
    auto body = nlohmann::json::parse(quillgate::testing::fileContent(kRecords + c.file));
    body[c.key] = 7;
    const HostRun result = run({"decode", "--as", c.root, "-"}, body.dump());
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, AllOf(StartsWith("Type mismatch error: "), HasSubstr(c.key)));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1) << result.out;
}

INSTANTIATE_TEST_SUITE_P(Roots, DecodeEachRoot, ::testing::ValuesIn(kRootCases),
                         [](const auto& info) { return std::string(info.param.root); });

TEST(Decode, PrintsOnlyTheMembersTheClientReadsAndFailsOnWhatIsNoRecord) {
    const HostRun journey =
        run({"decode", "--as", "UserJourneyModel", kRecords + "user_journey.json"});
    ASSERT_EQ(journey.status, 0);
    EXPECT_THAT(journey.out, Not(HasSubstr("\"actionID\"")));
    const HostRun sparse = run({"decode", "--as", "LoginChallenge", "-"}, R"({"extra": [1, 2]})");
    EXPECT_EQ(sparse.status, 0) << sparse.out;
    EXPECT_EQ(sparse.out, "{}\n");

    const std::pair<std::string, std::string> notRecords[] = {
        {"{\"message\": ", "Data corrupted error: "},
        {"", "Data corrupted error: "},
        {"[]", "Type mismatch error: Dictionary<String, Any>"},
    };
    for (const auto& [input, line] : notRecords) {
        const HostRun result = run({"decode", "--as", "LogoutModel", "-"}, input);
        EXPECT_EQ(result.status, 1) << input;
        EXPECT_THAT(result.out, StartsWith(line)) << input;
    }
}

TEST(Host, VersionAndHelp) {
    const HostRun version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, MatchesRegex("quillgate [0-9]+\\.[0-9]+\\.[0-9]+\n"));

    const HostRun help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("serve"), HasSubstr("decode --as ROOT FILE"),
                                HasSubstr("EmbededSubscription"), HasSubstr("--collect-port")));

    const HostRun readHelp = run({"read", "--client-id", "c", "--help"});
    EXPECT_EQ(readHelp.status, 0);
    EXPECT_THAT(readHelp.out,
                AllOf(HasSubstr("--font-repo-base URL"), HasSubstr("--run-for SECONDS")));
    EXPECT_EQ(readHelp.err, "");
}

// Exit 2, nothing on standard output, the reason on standard error.
TEST(Host, UsageErrorsRunNothing) {
    const auto expectUsage = [](const std::vector<std::string>& args, const std::string& message) {
        SCOPED_TRACE(::testing::PrintToString(args));
        const HostRun usage = run(args);
        EXPECT_EQ(usage.status, 2);
        EXPECT_EQ(usage.out, "");
        EXPECT_THAT(usage.err, AllOf(StartsWith("quillgate: "), HasSubstr(message)));
    };
    const std::string missing = kRecords + "no_such_body.json";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "a command is needed"},
        {{"frobnicate"}, "unknown command \"frobnicate\""},
        {{"--version", "x"}, "--version takes no arguments"},
        {{"demo", "--fast"}, "demo: unknown argument \"--fast\""},
        {{"demo", "--pictures"}, "demo: --pictures needs a directory"},
        {{"demo", "--log"}, "demo: --log needs a file"},
        {{"demo", "--log", kRecords}, "demo: cannot write the log file"},
        {{"decode", "--as", "LogoutModel", missing}, "cannot read \"" + missing + "\""},
        {{"decode", "--as", "LogoutModel", kRecords}, "cannot read"},
        {{"decode", "--as", "Nope", "-"}, "\"Nope\" (one of UserJourneyModel"},
        {{"decode", "-"}, "--as ROOT is needed"},
        {{"decode", "--as"}, "--as wants the name of a root record"},
        {{"decode", "--as", "LogoutModel"}, "a file is needed"},
        {{"decode", "--as", "LogoutModel", "a", "b"}, "one file at a time"},
        {{"decode", "--as", "LogoutModel", "--pretty", "-"}, "unknown option \"--pretty\""},
        {{"serve", "--api-port", "http"}, "--api-port wants a port number"},
        {{"serve", "--api-port", "70000"}, "--api-port wants a port number"},
        {{"serve", "--web-port"}, "--web-port wants a port number"},
        {{"serve", "--colour"}, "unknown argument \"--colour\""},
        {{"read", "--content-id", "a"}, "read: --client-id is required"},
        {{"read", "--client-id", "c"}, "read: --content-id is required"},
    };
    for (const auto& [args, message] : cases) {
        expectUsage(args, message);
    }
    EXPECT_THAT(run({"frobnicate"}).err, HasSubstr("Run 'quillgate --help'"));

    // The options of `read`, after a valid article.
    const std::pair<std::vector<std::string>, std::string> readCases[] = {
        {{"--mode", "Local"}, "--mode is one of"},
        {{"--run-for", "-1"}, "--run-for needs"},
        {{"--run-for", "5s"}, "--run-for needs"},
        {{"--run-for", "nan"}, "--run-for needs"},
        {{"--api-base", "127.0.0.1:3001"}, "--api-base needs an http or https address"},
        {{"--font-web-base", "ftp://x.test/"}, "--font-web-base needs an http or https address"},
        {{"--tag"}, "--tag needs a value"},
        {{"--debug=yes"}, "--debug takes no value"},
        {{"--colour", "red"}, "unknown option"},
        {{"extra"}, "unexpected argument"},
        {{"--do", "jump 3"}, "--do: unknown action \"jump 3\" (actions: tap, type, scroll"},
        {{"--do", "tap"}, "--do: \"tap TEXT\" needs its TEXT"},
        {{"--do", "scroll 120"}, "--do: \"scroll PERCENT\" needs a number from 0 to 100"},
        {{"--do", "wait soon"}, "--do: \"wait SECONDS\" needs a number of seconds"},
        {{"--do", "snapshot  "}, "--do: \"snapshot FILE.png\" needs its FILE.png"},
        {{"--snapshot", ""}, "--snapshot needs a file name"},
        {{"--scale", "9"}, "--scale needs a number from 0.5 to 4"},
        {{"--tree=1"}, "--tree takes no value"},
        {{"--log", kRecords}, "cannot write the log file"},
    };
    for (const auto& [options, message] : readCases) {
        std::vector<std::string> args = {"read", "--client-id", "c", "--content-id", "a"};
        args.insert(args.end(), options.begin(), options.end());
        expectUsage(args, "read: " + message);
    }
}

}  // namespace

// The host's commands run in-process on strings: decode against the service's sample bodies,
// serve's refusals, and the usage errors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Host.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

struct HostRun {
    int status = 0;
    std::string out;
    std::string err;
};

HostRun run(const std::vector<std::string>& args, const std::string& input = "") {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    HostRun result;
    result.status = quillgate::host::runHost(args, in, out, err);
    result.out = out.str();
    result.err = err.str();
    return result;
}

std::string recordsDir() {
    return std::string(QUILLGATE_TEST_DATA_DIR) + "/records/";
}

std::string readFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream buffer;
    buffer << stream.rdbuf();
    return buffer.str();
}

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

class DecodeEachRoot : public ::testing::TestWithParam<RootCase> {};

TEST_P(DecodeEachRoot, GoodBodyComesBackAsStablePrettyJson) {
    const RootCase& c = GetParam();
    const HostRun first = run({"decode", "--as", c.root, recordsDir() + c.file});
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
    auto body = nlohmann::json::parse(readFile(recordsDir() + c.file));
    body[c.key] = 7;
    const HostRun result = run({"decode", "--as", c.root, "-"}, body.dump());
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, AllOf(StartsWith("Type mismatch error: "), HasSubstr(c.key)));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1) << result.out;
}

INSTANTIATE_TEST_SUITE_P(Roots, DecodeEachRoot, ::testing::ValuesIn(kRootCases),
                         [](const auto& info) { return std::string(info.param.root); });

TEST(Decode, LeavesOutKeysTheClientIgnoresAndKeepsAbsentMembersAbsent) {
    const HostRun journey =
        run({"decode", "--as", "UserJourneyModel", recordsDir() + "user_journey.json"});
    ASSERT_EQ(journey.status, 0);
    EXPECT_THAT(journey.out, Not(HasSubstr("\"actionID\"")));

    const HostRun sparse = run({"decode", "--as", "LoginChallenge", "-"}, R"({"extra": [1, 2]})");
    EXPECT_EQ(sparse.status, 0) << sparse.out;
    EXPECT_EQ(sparse.out, "{}\n");
}

TEST(Decode, BodiesThatAreNotRecordsFailWithStatusOne) {
    const HostRun notJson = run({"decode", "--as", "LogoutModel", "-"}, "{\"message\": ");
    EXPECT_EQ(notJson.status, 1);
    EXPECT_THAT(notJson.out, StartsWith("Data corrupted error: "));

    const HostRun empty = run({"decode", "--as", "LogoutModel", "-"}, "");
    EXPECT_EQ(empty.status, 1);

    const HostRun array = run({"decode", "--as", "LogoutModel", "-"}, "[]");
    EXPECT_EQ(array.status, 1);
    EXPECT_THAT(array.out, StartsWith("Type mismatch error: Dictionary<String, Any>"));
}

TEST(Decode, UnreadableFilesAndBadArgumentsAreUsageFailures) {
    const std::string missing = recordsDir() + "no_such_body.json";
    const HostRun absent = run({"decode", "--as", "LogoutModel", missing});
    EXPECT_EQ(absent.status, 2);
    EXPECT_THAT(absent.err, HasSubstr("cannot read \"" + missing + "\""));
    EXPECT_EQ(absent.out, "");

    EXPECT_EQ(run({"decode", "--as", "LogoutModel", recordsDir()}).status, 2);

    const HostRun unknownRoot = run({"decode", "--as", "Nope", "-"});
    EXPECT_EQ(unknownRoot.status, 2);
    EXPECT_THAT(unknownRoot.err, AllOf(HasSubstr("\"Nope\""), HasSubstr("APIResponse")));

    EXPECT_EQ(run({"decode", "-"}).status, 2);                    // no --as
    EXPECT_EQ(run({"decode", "--as"}).status, 2);                 // --as without a name
    EXPECT_EQ(run({"decode", "--as", "LogoutModel"}).status, 2);  // no file
    EXPECT_EQ(run({"decode", "--as", "LogoutModel", "a", "b"}).status, 2);
    EXPECT_EQ(run({"decode", "--as", "LogoutModel", "--pretty", "-"}).status, 2);
}

TEST(Host, VersionHelpAndUsageErrors) {
    const HostRun version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, MatchesRegex("quillgate [0-9]+\\.[0-9]+\\.[0-9]+\n"));

    const HostRun help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("serve"), HasSubstr("decode --as ROOT FILE"),
                                HasSubstr("EmbededSubscription"), HasSubstr("--collect-port")));

    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {}, {"frobnicate"}, {"--verbose"}, {"--version", "x"}}) {
        const HostRun usage = run(args);
        EXPECT_EQ(usage.status, 2);
        EXPECT_EQ(usage.out, "");
        EXPECT_THAT(usage.err, AllOf(StartsWith("quillgate: "), HasSubstr("quillgate --help")));
    }
}

TEST(Serve, RefusesBadFlagsAndATakenPortWithoutServing) {
    EXPECT_EQ(run({"serve", "--api-port", "http"}).status, 2);
    EXPECT_EQ(run({"serve", "--api-port", "70000"}).status, 2);
    EXPECT_EQ(run({"serve", "--web-port"}).status, 2);
    EXPECT_EQ(run({"serve", "--colour"}).status, 2);

    quillgate::devserver::DevServer::Options ephemeral;
    ephemeral.apiPort = ephemeral.webPort = ephemeral.collectPort = 0;
    quillgate::devserver::DevServer other(ephemeral);
    ASSERT_TRUE(other.start());
    const HostRun taken = run({"serve", "--api-port", std::to_string(other.apiPort()), "--web-port",
                               "0", "--collect-port", "0", "--quiet"});
    EXPECT_EQ(taken.status, 1);
    EXPECT_THAT(taken.err, StartsWith("quillgate serve: "));
    EXPECT_THAT(taken.out, Not(HasSubstr("Press Ctrl-C")));
}

}  // namespace

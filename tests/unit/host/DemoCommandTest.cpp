// `quillgate demo` in-process, with the local access service on ephemeral loopback ports
// instead of the `local` mode's: the whole story, and a port that is already taken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/Host.h"

namespace {

using quillgate::devserver::DevServer;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

struct DemoRun {
    int status = 0;
    std::string out;
    std::string err;
};

DemoRun demo(const quillgate::host::DemoPorts& ports) {
    std::ostringstream out;
    std::ostringstream err;
    DemoRun run;
    run.status = quillgate::host::runDemo({}, out, err, ports);
    run.out = out.str();
    run.err = err.str();
    return run;
}

// The story's own lines (headings, screens, verdicts, the collection), without the library's.
std::vector<std::string> storyLines(const std::string& out) {
    std::vector<std::string> lines;
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);) {
        for (const char* prefix : {"== ", "-- ", "screen: ", "collected: ", "failed: "}) {
            if (line.rfind(prefix, 0) == 0) {
                lines.push_back(line);
            }
        }
    }
    return lines;
}

TEST(Demo, StoryRunsToItsEndAsExpected) {
    const DemoRun run = demo({0, 0, 0});
    const auto lines = storyLines(run.out);

    EXPECT_EQ(run.status, 0) << run.err << ::testing::PrintToString(lines);
    EXPECT_THAT(lines, Contains(StartsWith("== The story ran as expected")));
    EXPECT_THAT(lines, Not(Contains(StartsWith("-- NOT AS EXPECTED"))));
    // The chapters' screens, in the story's order.
    EXPECT_THAT(lines, IsSupersetOf({"screen: BannerViewController tag 9988",
                                     "screen: CTA3ViewController tag 9988",
                                     "screen: QuillgateStatusVC tag 9988"}));
    EXPECT_THAT(lines, Contains("screen: none")) << "the bought article is let in";
    EXPECT_THAT(lines, Contains("collected: EXIT PAGE x1"));
}

TEST(Demo, TakenPortEndsItBeforeAnyChapter) {
    DevServer other(DevServer::Options{0, 0, 0, DevServer::defaultDataDir(), {}, {}});
    ASSERT_TRUE(other.start());

    const DemoRun run = demo({0, other.webPort(), 0});

    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("cannot start the local access service"));
    EXPECT_THAT(run.err, HasSubstr(std::to_string(other.webPort())));
    EXPECT_THAT(storyLines(run.out), Not(Contains(StartsWith("== Chapter"))));
}

}  // namespace

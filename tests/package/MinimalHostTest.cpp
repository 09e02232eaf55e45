// The installed package as an application uses it: examples/minimal-host, built outside this
// build against a staging install, reads one article against the local access service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/LocalService.h"
#include "tools/devserver/DevServer.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

struct HostRun {
    int status = -1;
    std::string out;
    std::string err;
};

HostRun runHost(const std::string& command, const std::filesystem::path& errFile) {
    HostRun run;
    FILE* pipe = popen((command + " 2>" + errFile.string()).c_str(), "r");
    if (!pipe) {
        return run;
    }
    char buffer[4096];
    for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        run.out.append(buffer, n);
    }
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream err(errFile);
    run.err.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
    return run;
}

TEST(MinimalHost, ReadsAnArticleAgainstTheLocalServiceThroughTheInstalledPackage) {
    ASSERT_TRUE(std::filesystem::exists(QUILLGATE_MINIMAL_HOST)) << QUILLGATE_MINIMAL_HOST;
    quillgate::devserver::DevServer server(quillgate::testing::ephemeralService());
    ASSERT_TRUE(server.start());
    const auto scratch = std::filesystem::path(::testing::TempDir()) / "minimal-host";
    std::filesystem::remove_all(scratch);
    std::filesystem::create_directories(scratch);

    const HostRun run =
        runHost(std::string(QUILLGATE_MINIMAL_HOST) + " --api-base " + server.apiBase() +
                    " --web-base " + server.webBase() + " --collect-url " + server.collectUrl() +
                    " --content-id free-article --state-dir " + (scratch / "state").string(),
                scratch / "library.log");

    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_THAT(run.out, HasSubstr("host: purchasedOrNot(accessTime: false)"));
    EXPECT_THAT(run.out, HasSubstr("host: 0 view(s) over the article"));
    // The application's log sink sent the library's own lines to standard error.
    EXPECT_THAT(run.out, Not(HasSubstr("API Request::")));
    EXPECT_THAT(run.err, HasSubstr("API Request::" + server.apiBase() + "/journey?"));
    std::filesystem::remove_all(scratch);
}

}  // namespace

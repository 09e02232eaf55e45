// `quillgate read --window` against the local access service: the reader buys and signs in on
// the service's real pages with their real scripts, and the window shows what the renderer
// draws.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "quillgate/platform/linux/desktop/Desktop.h"
#include "tests/support/FontFiles.h"
#include "tests/support/LocalService.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/HostApp.h"

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::HasSubstr;

const std::string kLetIn = "host: purchasedOrNot(accessTime: true)";

class ReadWindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        state = fs::temp_directory_path() /
                ("quillgate-window-test-" + std::to_string(::getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(state);
        fs::create_directories(state);
    }
    void TearDown() override { fs::remove_all(state); }

    struct Run {
        int status = 0;
        std::vector<std::string> lines;
        std::string err;
        // The lines are whole: the library's own lines may come between the host's.
        bool has(const std::string& line) const {
            return std::find(lines.begin(), lines.end(), line) != lines.end();
        }
    };

    // `read` of `contentId` against the local service, with `more` options, ending once
    // `finished` or after its --run-for.
    Run read(const std::string& contentId, const std::vector<std::string>& more,
             std::function<bool(const quillgate::host::HostApp&)> finished = {}) {
        std::vector<std::string> args = {"--client-id",      "quillgate-demo",
                                         "--content-id",     contentId,
                                         "--api-base",       server.apiBase(),
                                         "--web-base",       server.webBase(),
                                         "--collect-url",    server.collectUrl(),
                                         "--font-web-base",  server.webFontHostBase(),
                                         "--font-repo-base", server.sourceRepositoryHostBase(),
                                         "--state-dir",      (state / "reader").string()};
        args.insert(args.end(), more.begin(), more.end());
        quillgate::host::HostSetup setup;
        setup.alwaysReachable = true;
        setup.finishedEarly = std::move(finished);
        std::ostringstream out;
        std::ostringstream err;
        Run run;
        run.status = quillgate::host::runRead(args, out, err, setup);
        std::istringstream text(out.str());
        for (std::string line; std::getline(text, line);) {
            run.lines.push_back(line);
        }
        run.err = err.str();
        return run;
    }

    quillgate::devserver::DevServer server{quillgate::testing::ephemeralService()};
    fs::path state;
};

// Once the reader's actions are done, the run may end as soon as the wall has gone.
std::function<bool(const quillgate::host::HostApp&)> wallGone() {
    return [](const quillgate::host::HostApp& app) {
        const auto calls = app.hostCalls();
        return std::find(calls.begin(), calls.end(), kLetIn.substr(6)) != calls.end() &&
               !app.wallIsUp();
    };
}

TEST_F(ReadWindowTest, TheReaderBuysTheArticleThroughThePagesOwnScriptAndTheWallGoes) {
    const Run run = read(
        "premium-3a",
        {"--window", "--run-for", "60", "--do", "tap CONTINUE", "--do", "click Buy this story"},
        wallGone());
    ASSERT_EQ(run.status, 0) << run.err;
    // The page's script followed the link; the service redirected to the app's home address,
    // which ended the flow and relaunched the access check.
    EXPECT_THAT(run.lines, Contains("success-home..."));
    EXPECT_TRUE(run.has(kLetIn));
    EXPECT_TRUE(run.has("screen: none"));
    const auto requests = server.controls().requests();
    EXPECT_TRUE(std::any_of(requests.begin(), requests.end(),
                            [](const auto& r) { return r.path == "/overlay/choose"; }));
}

TEST_F(ReadWindowTest, ThePagesScriptPostsTheSignInWhichStoresTheSession) {
    const Run run = read("premium-3a",
                         {"--window", "--run-for", "60", "--do", "tap CONTINUE", "--do",
                          "click Sign in as subscriber@quillgate.test"},
                         wallGone());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.lines, Contains("message received::loginSuccess"));
    EXPECT_THAT(run.lines, Contains(HasSubstr("AutoLoginModel: Optional(")));
    EXPECT_TRUE(run.has(kLetIn));
    EXPECT_THAT(quillgate::testing::fileContent(state / "reader" / "defaults.json"),
                HasSubstr("sessionID"));
}

TEST_F(ReadWindowTest, TheWindowShowsTheWallAsTheRendererDrawsIt) {
    const fs::path shown = state / "window.png";
    const fs::path drawn = state / "drawn.png";
    const auto wallUp = [](const quillgate::host::HostApp& app) { return app.wallIsUp(); };
    const Run window = read(
        "premium-3a",
        {"--window", "--run-for", "30", "--do", "wait 1", "--snapshot", shown.string()}, wallUp);
    ASSERT_EQ(window.status, 0) << window.err;
    const Run headless =
        read("premium-3a",
             {"--run-for", "30", "--do", "wait 1", "--scale", "1", "--snapshot", drawn.string()},
             wallUp);
    ASSERT_EQ(headless.status, 0) << headless.err;

    const auto a = quillgate::desktop::WindowPicture::readPng(shown);
    const auto b = quillgate::desktop::WindowPicture::readPng(drawn);
    ASSERT_TRUE(a && b);
    ASSERT_EQ(a->width, b->width);
    ASSERT_EQ(a->height, b->height);
    int differing = 0;
    int inked = 0;  // points of the wall's lower half that are not the page's white
    int probed = 0;
    for (int y = 0; y < a->height; y += 7) {
        for (int x = 0; x < a->width; x += 7) {
            const auto p = a->pixel(x, y);
            const auto q = b->pixel(x, y);
            ++probed;
            if (std::abs(p.r - q.r) > 0.05 || std::abs(p.g - q.g) > 0.05 ||
                std::abs(p.b - q.b) > 0.05) {
                ++differing;
            }
            if (y > a->height / 2 && (p.r < 0.9 || p.g < 0.9 || p.b < 0.9)) {
                ++inked;
            }
        }
    }
    EXPECT_EQ(differing, 0) << "of " << probed << " points";
    EXPECT_GT(inked, 50) << "the wall's card shows in the lower half";
}

}  // namespace

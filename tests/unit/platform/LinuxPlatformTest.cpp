// The Linux platform's assembly and its pieces: reachability, device facts, UUIDs, image
// facts, and fonts on fontconfig and FreeType with the font files of the machine's packages.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillgate/platform/Image.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/linux/FileKeyValueStore.h"
#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/platform/linux/NetlinkReachability.h"
#include "tests/support/FontFiles.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::platform {
namespace {

TEST(NetlinkReachability, AnswersAgainAndAgain) {
    NetlinkReachability reachability;
    const bool first = reachability.isReachable();
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(reachability.isReachable(), first);  // no socket left behind, same answer
    }
}

TEST(LinuxPlatform, AssemblesEveryPieceUnderTheStateDirectoryWithRandomUuids) {
    testing::TestPlatform test;
    const auto dir = test.stateDirectory() / "linux";
    const auto made = makeLinuxPlatform(dir);
    ASSERT_TRUE(made->clock && made->runLoop && made->http && made->defaults &&
                made->reachability && made->fonts && made->logSink && made->makeUuid);
    EXPECT_FALSE(made->clock->isManual());
    EXPECT_EQ(made->stateDirectory, dir);
    EXPECT_EQ(made->documentsDirectory, dir / "Documents");
    EXPECT_TRUE(std::filesystem::is_directory(dir / "Documents"));
    EXPECT_EQ(dynamic_cast<FileKeyValueStore&>(*made->defaults).file(), dir / "defaults.json");
    EXPECT_EQ(made->device.systemName, "Linux");
    EXPECT_FALSE(made->device.model.empty());
    EXPECT_FALSE(made->device.systemVersion.empty());

    // UUIDs are random (version 4) upper-case text.
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string uuid = made->makeUuid();
        ASSERT_EQ(uuid.size(), 36u);
        EXPECT_EQ(uuid[14], '4');
        for (char c : uuid) {
            EXPECT_TRUE((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || c == '-') << uuid;
        }
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 100u);
}

TEST(ImageSize, ReadsTheSizeFromTheHeaderOnly) {
    // A PNG signature and IHDR of a 3 x 2 image; no pixel data is needed for the size.
    const std::string png(
        "\x89PNG\r\n\x1a\n\x00\x00\x00\x0dIHDR\x00\x00\x00\x03\x00\x00\x00\x02\x08\x06\x00\x00"
        "\x00\x00\x00\x00\x00",
        33);
    const auto size = imageSize(png);
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 3);
    EXPECT_EQ(size->height, 2);

    // A GIF header: "GIF89a", width 5, height 7 (little endian).
    const std::string gif("GIF89a\x05\x00\x07\x00\x00\x00\x00", 13);
    ASSERT_TRUE(imageSize(gif));
    EXPECT_EQ(imageSize(gif)->height, 7);

    EXPECT_FALSE(imageSize(""));
    EXPECT_FALSE(imageSize("<html>not found</html>"));
    EXPECT_FALSE(imageSize(png.substr(0, 12)));
}

namespace fs = std::filesystem;

// Files of fonts-roboto and fonts-dejavu-core, wherever the machine keeps them.
const fs::path kRoboto = testing::systemFontFile("Roboto-Regular.ttf");
const fs::path kRobotoBold = testing::systemFontFile("Roboto-Bold.ttf");
const fs::path kDejaVu = testing::systemFontFile("DejaVuSans.ttf");

class FontconfigFontSystemTest : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const auto& f : {kRoboto, kRobotoBold, kDejaVu}) {
            ASSERT_TRUE(!f.empty() && fs::exists(f))
                << "install fonts-roboto and fonts-dejavu-core";
        }
    }
    testing::TestPlatform test;  // a temporary directory for files that are no fonts
    FontconfigFontSystem fonts{FontconfigFontSystem::InstalledFonts::exclude};
};

TEST_F(FontconfigFontSystemTest, OnlyARealFontFileHasANameAndRegisters) {
    EXPECT_EQ(fonts.postScriptName(kRoboto), "Roboto-Regular");
    EXPECT_EQ(fonts.postScriptName(kDejaVu), "DejaVuSans");

    const fs::path notAFont = test.stateDirectory() / "Roboto-Regular.ttf";
    std::ofstream(notAFont) << "<html>404</html>";
    for (const fs::path& file :
         {notAFont, test.stateDirectory() / "missing.ttf", test.stateDirectory()}) {
        EXPECT_FALSE(fonts.postScriptName(file)) << file;
        EXPECT_FALSE(fonts.registerFontFile(file)) << file;
    }
    EXPECT_FALSE(fonts.isRegistered("Roboto-Regular"));
}

TEST_F(FontconfigFontSystemTest, RegisteringMakesTheExactNameAndTheFamilyKnown) {
    // Answers given before a registration are not kept past it.
    EXPECT_FALSE(fonts.face("Roboto-Regular"));
    EXPECT_FALSE(fonts.face("Roboto"));
    EXPECT_FALSE(fonts.isRegistered("Roboto-Regular"));
    EXPECT_EQ(fonts.systemFace(FontWeight::regular).postScriptName, "");
    ASSERT_TRUE(fonts.registerFontFile(kRobotoBold));
    ASSERT_TRUE(fonts.registerFontFile(kRoboto));
    EXPECT_TRUE(fonts.isRegistered("Roboto-Regular"));
    for (const char* other : {"roboto-regular", "Roboto", "DejaVuSans", ""}) {
        EXPECT_FALSE(fonts.isRegistered(other)) << other;  // whole names, case and all
    }

    const auto bold = fonts.face("Roboto-Bold");
    ASSERT_TRUE(bold);
    EXPECT_EQ(bold->postScriptName, "Roboto-Bold");
    EXPECT_EQ(bold->family, "Roboto");
    EXPECT_EQ(bold->weight, FontWeight::bold);
    EXPECT_FALSE(bold->isSystem);

    const auto family = fonts.face("Roboto");  // the regular face of the family
    ASSERT_TRUE(family);
    EXPECT_EQ(family->postScriptName, "Roboto-Regular");
    EXPECT_EQ(family->weight, FontWeight::regular);
    for (const char* unknown : {"roboto", "Comic Sans", ""}) {
        EXPECT_FALSE(fonts.face(unknown)) << unknown;
    }
    EXPECT_EQ(fonts.systemFace(FontWeight::regular).postScriptName, "Roboto-Regular");
}

// A file's name is read once, but a different file at the same path (a font downloaded
// again, a damaged file) is read afresh.
TEST_F(FontconfigFontSystemTest, AFileReplacedAtTheSamePathIsReadAgain) {
    const fs::path file = test.stateDirectory() / "Downloaded.ttf";
    const auto replaceWith = [&](const fs::path& from) {
        const fs::path next = test.stateDirectory() / "next.ttf";
        fs::copy_file(from, next, fs::copy_options::overwrite_existing);
        fs::rename(next, file);
    };
    replaceWith(kRoboto);
    EXPECT_EQ(fonts.postScriptName(file), "Roboto-Regular");
    EXPECT_EQ(fonts.postScriptName(file), "Roboto-Regular");
    replaceWith(kDejaVu);
    EXPECT_EQ(fonts.postScriptName(file), "DejaVuSans");
    std::ofstream(file, std::ios::trunc) << "<html>404</html>";
    EXPECT_FALSE(fonts.postScriptName(file));
    fs::remove(file);
    EXPECT_FALSE(fonts.postScriptName(file));
}

TEST_F(FontconfigFontSystemTest, InstalledFontsAreKnownAndGiveASystemFace) {
    FontconfigFontSystem installed;
    EXPECT_TRUE(installed.isRegistered("DejaVuSans"));
    EXPECT_TRUE(installed.isRegistered("Roboto-Regular"));
    EXPECT_FALSE(installed.isRegistered("NoSuchFace-Regular"));

    const FontFace system = installed.systemFace(FontWeight::semibold);
    EXPECT_TRUE(system.isSystem);
    EXPECT_EQ(system.weight, FontWeight::semibold);
    EXPECT_EQ(system.family, "System");
    EXPECT_FALSE(system.postScriptName.empty());

    // With no font at all there is still an answer.
    EXPECT_EQ(fonts.systemFace(FontWeight::black).weight, FontWeight::black);
}

}  // namespace
}  // namespace quillgate::platform

namespace quillgate::platform {
namespace {

// A sink that keeps its lines; shared by the sink's copies, locked for the HTTP-like threads.
struct Kept {
    std::mutex mutex;
    std::vector<std::string> lines;
    LogSink sink() {
        return [this](std::string_view line) {
            std::lock_guard lock(mutex);
            lines.emplace_back(line);
        };
    }
    std::vector<std::string> take() {
        std::lock_guard lock(mutex);
        return std::exchange(lines, {});
    }
};

// The application's sink: set before anything is installed, kept by a platform installed
// without one, replaced by one that brings its own, wrapped to redact, swapped while other
// threads print, and dropped by a reset.
TEST(LogSink, TheApplicationsSinkThroughInstallWrappingThreadsAndReset) {
    testing::TestPlatform test;
    resetProcessState();
    Kept app;
    Kept brought;
    setLogSink(app.sink());
    log("before install");

    auto platform = std::make_shared<Platform>();
    platform->stateDirectory = test.stateDirectory() / "state";
    install(platform);
    log("after install");
    EXPECT_EQ(app.take(), (std::vector<std::string>{"before install", "after install"}));

    auto own = std::make_shared<Platform>();
    own->stateDirectory = test.stateDirectory() / "own";
    own->logSink = brought.sink();
    install(own);
    log("with its own");
    EXPECT_EQ(brought.take(), std::vector<std::string>{"with its own"});

    // Wrapping the current sink: the application redacts tokens and passes the rest on.
    setLogSink([inner = currentLogSink()](std::string_view line) {
        inner(line.find("token=") == std::string_view::npos ? line : "[redacted]");
    });
    log("GET /auto-login-user?token=secret");
    log("plain");
    EXPECT_EQ(brought.take(), (std::vector<std::string>{"[redacted]", "plain"}));

    // Two threads print while the sink changes under them: every line lands whole, once.
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 500; ++i) {
                log("thread " + std::to_string(t) + " line " + std::to_string(i));
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        setLogSink(i % 2 ? app.sink() : brought.sink());
    }
    for (auto& thread : threads) {
        thread.join();
    }
    auto lines = app.take();
    const auto more = brought.take();
    lines.insert(lines.end(), more.begin(), more.end());
    ASSERT_EQ(lines.size(), 1000u);
    for (const auto& line : lines) {
        EXPECT_EQ(line.rfind("thread ", 0), 0u) << line;
    }

    resetProcessState();
    log("to standard output");
    EXPECT_TRUE(app.take().empty());
    EXPECT_TRUE(brought.take().empty());
}

}  // namespace
}  // namespace quillgate::platform

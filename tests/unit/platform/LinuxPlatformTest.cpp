// The Linux platform's assembly and its small pieces: reachability, device facts, UUIDs,
// image facts.

#include <gtest/gtest.h>

#include <set>

#include "quillgate/platform/Image.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/linux/FileKeyValueStore.h"
#include "quillgate/platform/linux/NetlinkReachability.h"
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

}  // namespace
}  // namespace quillgate::platform

// The user defaults on disk: durable, atomic, and never losing a file it cannot read.

#include "quillgate/platform/linux/FileKeyValueStore.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/support/FontFiles.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::platform {
namespace {

namespace fs = std::filesystem;

using testing::fileContent;

void writeFile(const fs::path& p, const std::string& content) {
    std::ofstream(p, std::ios::binary) << content;
}

class FileKeyValueStoreTest : public ::testing::Test {
  protected:
    testing::TestPlatform test;  // its log sink keeps what the store prints
    fs::path dir = test.stateDirectory() / "store";
    fs::path file = dir / "defaults.json";
};

TEST_F(FileKeyValueStoreTest, ValuesSurviveARestart) {
    {
        FileKeyValueStore store(file);
        store.setObject("8F0C-ANON", "AnonymousID");
        store.setObject(nlohmann::json{{"n", 1}, {"list", {1, 2}}}, "nested");
        store.setValue(std::string("session-1"), "sessionID");
        store.setObject("gone", "loginChallenge");
        store.setValue(std::nullopt, "loginChallenge");
        store.setObject("bad \xff text", "invalid");  // stored with a replacement, not thrown
        EXPECT_TRUE(store.synchronize());
        store.setObject("", "clientUserId");  // written by the destructor, at exit
    }
    FileKeyValueStore again(file);
    EXPECT_EQ(again.string("AnonymousID"), "8F0C-ANON");
    EXPECT_EQ(again.object("nested"), (nlohmann::json{{"n", 1}, {"list", {1, 2}}}));
    EXPECT_EQ(again.string("sessionID"), "session-1");
    EXPECT_EQ(again.string("clientUserId"), "");
    EXPECT_FALSE(again.object("loginChallenge"));
    EXPECT_FALSE(again.string("nested"));  // not a text
    EXPECT_EQ(again.string("invalid"), "bad \xEF\xBF\xBD text");
    EXPECT_TRUE(test.lines().empty());
}

TEST_F(FileKeyValueStoreTest, WriteLeavesOnlyTheFileBehind) {
    FileKeyValueStore store(file);
    EXPECT_TRUE(store.synchronize());  // nothing changed: nothing written
    EXPECT_FALSE(fs::exists(file));
    store.setObject(42, "counter");
    EXPECT_TRUE(store.synchronize());
    store.setObject(43, "counter");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
    EXPECT_EQ(nlohmann::json::parse(fileContent(file)), (nlohmann::json{{"counter", 43}}));
}

TEST_F(FileKeyValueStoreTest, UnreadableFileReadsEmptyAndIsKeptAside) {
    for (const std::string& content : {std::string("{\"AnonymousID\": \"A"), std::string(""),
                                       std::string("[1,2]"), std::string("\x00\x01", 2)}) {
        fs::create_directories(dir);
        writeFile(file, content);
        test.clearLines();
        {
            FileKeyValueStore store(file);
            EXPECT_FALSE(store.object("AnonymousID"));
            EXPECT_EQ(test.lines(),
                      std::vector<std::string>{
                          "Quillgate: user defaults unreadable, starting empty: " + file.string()});
            store.setObject("fresh", "AnonymousID");
        }
        fs::path aside = file;
        aside += ".corrupt";
        EXPECT_EQ(fileContent(aside), content);
        EXPECT_EQ(FileKeyValueStore(file).string("AnonymousID"), "fresh");
        fs::remove_all(dir);
    }

    // A file kept aside earlier is not overwritten by the next one.
    fs::create_directories(dir);
    writeFile(file, "first");
    { FileKeyValueStore store(file); }
    writeFile(file, "second");
    { FileKeyValueStore store(file); }
    EXPECT_EQ(fileContent(dir / "defaults.json.corrupt"), "first");
    EXPECT_EQ(fileContent(dir / "defaults.json.corrupt.1"), "second");
}

TEST_F(FileKeyValueStoreTest, FailedWritePrintsOneLineAndIsTriedAgain) {
    // A file where the store's directory should be: nothing can be written below it.
    fs::create_directories(dir);
    writeFile(dir / "blocked", "x");
    FileKeyValueStore store(dir / "blocked" / "defaults.json");
    store.setObject("kept", "key");
    EXPECT_FALSE(store.synchronize());
    ASSERT_EQ(test.lines().size(), 1u);
    EXPECT_NE(test.lines()[0].find("could not write user defaults"), std::string::npos);
    EXPECT_EQ(store.string("key"), "kept");

    fs::remove(dir / "blocked");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(FileKeyValueStore(dir / "blocked" / "defaults.json").string("key"), "kept");
    EXPECT_EQ(test.lines().size(), 1u);
}

// A process killed while it writes: a child writes ever newer versions of a large object in a
// loop and tells the parent through a pipe after each one; the parent kills it (SIGKILL) after
// a varying number of them, so the kill lands at different points of a write. Every time the
// file reads back whole, as the last version reported or the one being written.
TEST_F(FileKeyValueStoreTest, KilledWriterLeavesTheOldOrTheNewFile) {
    const std::string padding(16 * 1024, 'x');
    int lastSeen = -1;
    for (int round = 0; round < 24; ++round) {
        int progress[2];
        ASSERT_EQ(::pipe(progress), 0);
        const int start = lastSeen + 1;
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(progress[0]);
            FileKeyValueStore store(file);
            for (int version = start;; ++version) {
                store.setObject(version, "version");
                store.setObject(padding + std::to_string(version), "padding");
                store.synchronize();
                if (::write(progress[1], &version, sizeof version) != sizeof version) {
                    ::_exit(1);
                }
            }
        }
        ::close(progress[1]);
        int reported = lastSeen;
        for (int writes = 0; writes < 1 + round % 4; ++writes) {
            ASSERT_EQ(::read(progress[0], &reported, sizeof reported),
                      static_cast<ssize_t>(sizeof reported));
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        // Writes the child finished and reported before the kill landed.
        for (int more = 0; ::read(progress[0], &more, sizeof more) == sizeof more;) {
            reported = more;
        }
        ::close(progress[0]);
        EXPECT_TRUE(WIFSIGNALED(status));

        FileKeyValueStore store(file);
        const auto version = store.object("version");
        ASSERT_TRUE(version && version->is_number_integer()) << "round " << round;
        lastSeen = version->get<int>();
        EXPECT_TRUE(lastSeen == reported || lastSeen == reported + 1)
            << "round " << round << ": read " << lastSeen << ", last reported " << reported;
        EXPECT_EQ(store.string("padding"), padding + std::to_string(lastSeen));
    }
    EXPECT_TRUE(test.lines().empty());  // never an unreadable file
    fs::path aside = file;
    aside += ".corrupt";
    EXPECT_FALSE(fs::exists(aside));
}

}  // namespace
}  // namespace quillgate::platform

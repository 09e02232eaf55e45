// Font provisioning end to end: real font files served on loopback at the two font hosts'
// paths, fetched by the curl session, read and registered by fontconfig and FreeType.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/resources/FontDownloader.h"
#include "tests/support/FontFiles.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

namespace fs = std::filesystem;
using platform::FontconfigFontSystem;

const std::string kRobotoPath = "/webfont/s/roboto/v30/KFOmCnqEu92Fr1Me5WZLCzYlKw.ttf";
const std::string kPoppinsPath = "/webfont/s/poppins/v20/pxiEyp8kv8JHgFVrFJDUc1NECPY.ttf";
const std::string kMerriweatherRegularPath =
    "/repo/google/fonts/raw/main/ofl/merriweather/Merriweather-Regular.ttf";

class FontProvisioningTest : public ::testing::Test {
  protected:
    FontProvisioningTest() {
        // Each path answers with an installed face; the fixed faces are stood in for by
        // faces whose PostScript names differ from theirs.
        const std::string ofl = "/repo/google/fonts/raw/main/ofl/";
        serve(kRobotoPath, fileOf("Roboto-Regular.ttf"));
        serve(kMerriweatherRegularPath, fileOf("DejaVuSans.ttf"));
        serve(ofl + "merriweather/Merriweather-Black.ttf", fileOf("Roboto-Black.ttf"));
        serve(ofl + "merriweather/Merriweather-BlackItalic.ttf", fileOf("Roboto-BlackItalic.ttf"));
        serve(ofl + "merriweather/Merriweather-Bold.ttf", fileOf("Roboto-Bold.ttf"));
        serve(ofl + "poppins/Poppins-SemiBold.ttf", fileOf("Roboto-Medium.ttf"));
        // A damaged download: the first kilobyte of a real font.
        serve(kPoppinsPath, fileOf("Roboto-Regular.ttf").substr(0, 1024));
        server.start();

        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        tp.platform().fonts = fonts;
        deployment.webFontHost = server.url("/webfont/");
        deployment.sourceRepositoryHost = server.url("/repo/");
    }

    static std::string fileOf(const std::string& name) {
        const fs::path file = testing::systemFontFile(name);
        EXPECT_FALSE(file.empty()) << name << ": install fonts-roboto and fonts-dejavu-core";
        return testing::fileContent(file);
    }

    void serve(const std::string& path, std::string content) {
        server.get(path, [this, content = std::move(content)](const httplib::Request&,
                                                              httplib::Response& res) {
            gate.pass();
            res.set_content(content, "font/ttf");
        });
    }

    static CustomizePayWallModel model(std::initializer_list<std::string> families) {
        CustomizePayWallModel m;
        auto& t = m.data.emplace()
                      .configuration.emplace()
                      .mobile.emplace()
                      .json.emplace()
                      .styleForText.emplace()
                      .typography.emplace();
        // One family per style, in declaration order.
        std::optional<typographyData>* const members[] = {
            &t.heading,    &t.subHeading, &t.mainSubmitBtn, &t.contentDivBtn, &t.contentDivTitle,
            &t.passDivBtn, &t.subDivBtn,  &t.label,         &t.crossBtn,      &t.orText};
        std::size_t i = 0;
        for (const auto& family : families) {
            members[i++]->emplace().fontFamily = family;
        }
        return m;
    }

    // Provisions `m` and runs the main queue until the completion has run.
    void provision(const CustomizePayWallModel& m) {
        std::atomic<int> completions{0};
        completionThread = {};
        gate.close();
        FontDownloader::shared().provision(m, deployment, [&] {
            completionThread = std::this_thread::get_id();
            ++completions;
        });
        gate.open();
        ASSERT_TRUE(tp.loop().runUntil([&] { return completions > 0; }, std::chrono::seconds(10)));
        tp.runPending();
        EXPECT_EQ(completions, 1);
    }

    fs::path documents() const { return tp.stateDirectory() / "Documents"; }

    // Holds the server's answers while `provision` walks the families, so that no download
    // can land in the documents folder before the last family has been looked up there,
    // however slowly the main thread runs.
    struct Gate {
        void close() {
            std::lock_guard lock(mutex);
            closed = true;
        }
        void open() {
            {
                std::lock_guard lock(mutex);
                closed = false;
            }
            opened.notify_all();
        }
        void pass() {
            std::unique_lock lock(mutex);
            opened.wait_for(lock, std::chrono::seconds(10), [&] { return !closed; });
        }
        std::mutex mutex;
        std::condition_variable opened;
        bool closed = false;
    } gate;                          // before the server, whose handlers wait on it
    testing::LoopbackServer server;  // before the platform, which owns the HTTP session
    testing::TestPlatform tp;
    std::shared_ptr<FontconfigFontSystem> fonts =
        std::make_shared<FontconfigFontSystem>(FontconfigFontSystem::InstalledFonts::exclude);
    Deployment deployment;
    std::thread::id completionThread;
};

TEST_F(FontProvisioningTest, AFamilyOnDiskIsNotDownloadedButTheFixedFacesAreOnEveryPaywall) {
    fs::copy_file(testing::systemFontFile("Roboto-Regular.ttf"),
                  documents() / "Roboto-Regular.ttf");
    provision(model({"Roboto"}));

    EXPECT_TRUE(tp.printed("Roboto-Regular.ttf file already exists in the document directory."));
    EXPECT_TRUE(tp.printed("Font registered successfully: Roboto-Regular.ttf"));
    EXPECT_TRUE(fonts->isRegistered("Roboto-Regular"));
    EXPECT_TRUE(server.requestsTo(kRobotoPath).empty());
    EXPECT_EQ(server.requestCount(), 5u);  // the fixed faces only
    EXPECT_TRUE(tp.printed("DejaVuSans.ttf downloaded and saved successfully: DejaVuSans.ttf"));
    EXPECT_TRUE(tp.printed("Merriweather-Regular downloaded and saved successfully"));
    for (const char* face :
         {"DejaVuSans", "Roboto-Black", "Roboto-BlackItalic", "Roboto-Bold", "Roboto-Medium"}) {
        EXPECT_TRUE(fonts->isRegistered(face)) << face;
        EXPECT_TRUE(fs::exists(documents() / (std::string(face) + ".ttf"))) << face;
    }

    // Looked for as Merriweather-Regular-Regular.ttf, which is never there.
    tp.clearLines();
    provision(model({"Roboto"}));
    EXPECT_EQ(server.requestsTo(kMerriweatherRegularPath).size(), 2u);
    EXPECT_EQ(server.requestCount(), 10u);
    EXPECT_TRUE(tp.printed("Font already registered: DejaVuSans.ttf"));
    EXPECT_TRUE(tp.printed("Error downloading or saving the Merriweather-Regular file"));
}

TEST_F(FontProvisioningTest, UnknownAndDamagedFamiliesFailWithoutStoppingTheRest) {
    provision(model({"Comic Sans", "Poppins"}));

    EXPECT_TRUE(tp.printed("Error downloading or saving the Comic Sans file"));
    EXPECT_TRUE(tp.printed("Font Download URL: " + server.url(kPoppinsPath)));
    EXPECT_TRUE(tp.printed("Error retrieving font information."));
    EXPECT_TRUE(tp.printed("Error downloading or saving the Poppins file"));
    EXPECT_EQ(server.requestsTo(kPoppinsPath).size(), 1u);
    EXPECT_TRUE(tp.printed("Poppins-SemiBold downloaded and saved successfully"));
    EXPECT_TRUE(fonts->isRegistered("Roboto-Medium"));
}

TEST_F(FontProvisioningTest, TenStylesOfOneFamilyJoinOnceOnTheMainThread) {
    provision(model({"Roboto", "Roboto", "Roboto", "Roboto", "Roboto", "Roboto", "Roboto", "Roboto",
                     "Roboto", "Roboto"}));

    EXPECT_EQ(server.requestsTo(kRobotoPath).size(), 10u);
    EXPECT_EQ(tp.countPrinted("Roboto downloaded and saved successfully"), 1u);
    EXPECT_EQ(tp.countPrinted("Error downloading or saving the Roboto file"), 9u);
    // The later ones find the file there, report it, and register it all the same.
    const auto lines = tp.lines();
    const auto movedOntoItself = [](const std::string& l) {
        return l.starts_with("Error moving font file: “") &&
               l.ends_with(
                   "” couldn’t be moved to “Documents” because an item with the same "
                   "name already exists.");
    };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), movedOntoItself), 9);
    EXPECT_EQ(tp.countPrinted("Font already registered: Roboto-Regular.ttf"), 9u);
    EXPECT_TRUE(fonts->isRegistered("Roboto-Regular"));

    // Once, on the main thread, after every download's own line.
    EXPECT_EQ(completionThread, std::this_thread::get_id());
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "All font downloads completed successfully"),
              1);
    EXPECT_EQ(lines.back(), "All font downloads completed successfully");
}

}  // namespace
}  // namespace quillgate

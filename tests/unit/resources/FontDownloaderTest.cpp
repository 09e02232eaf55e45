// Font provisioning with the scripted HTTP session and a font system that reads fonts from
// text files ("font:<PostScript name>"), so that every outcome can be had on demand.

#include "quillgate/resources/FontDownloader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/support/FontFiles.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

// "font:Name" is a font called Name, "font:" a font without a name, anything else no font.
class TextFontSystem final : public platform::FontSystem {
  public:
    std::optional<std::string> postScriptName(const fs::path& file) override {
        const std::string content = testing::fileContent(file);
        if (content.rfind("font:", 0) != 0) {
            return std::nullopt;
        }
        return content.substr(5);
    }
    bool registerFontFile(const fs::path& file) override {
        const auto name = postScriptName(file);
        if (!name || refused.count(*name) > 0) {
            return false;
        }
        registered.push_back(*name);
        return true;
    }
    bool isRegistered(const std::string& name) override {
        return std::find(registered.begin(), registered.end(), name) != registered.end();
    }

    std::vector<std::string> registered;
    std::set<std::string> refused;
};

const char* const kRobotoPath = "s/roboto/v30/KFOmCnqEu92Fr1Me5WZLCzYlKw.ttf";

class FontDownloaderTest : public ::testing::Test {
  protected:
    FontDownloaderTest() {
        tp.platform().fonts = fonts;
        deployment.webFontHost = "https://fonts.test/";
        deployment.sourceRepositoryHost = "https://repo.test/";
        // The five faces every paywall asks for, as fonts named after themselves.
        for (const char* face : {"Merriweather-Regular", "Merriweather-Black",
                                 "Merriweather-BlackItalic", "Merriweather-Bold"}) {
            tp.http().answer(std::string("merriweather/") + face + ".ttf", 200,
                             std::string("font:") + face);
        }
        tp.http().answer("poppins/Poppins-SemiBold.ttf", 200, "font:Poppins-SemiBold");
    }

    // A configuration whose text styles are `styles`: (member, family) in any order.
    static CustomizePayWallModel model(
        std::initializer_list<std::pair<std::optional<typographyData> typography::*, std::string>>
            styles) {
        CustomizePayWallModel m;
        auto& t = m.data.emplace()
                      .configuration.emplace()
                      .mobile.emplace()
                      .json.emplace()
                      .styleForText.emplace()
                      .typography.emplace();
        for (const auto& [member, family] : styles) {
            (t.*member).emplace().fontFamily = family;
        }
        return m;
    }

    // Runs provisioning to its end; returns how often the completion ran.
    int provision(const CustomizePayWallModel& m) {
        int completions = 0;
        FontDownloader::shared().provision(m, deployment, [&] { ++completions; });
        tp.runPending();
        return completions;
    }

    fs::path documents() const { return tp.stateDirectory() / "Documents"; }
    void putFile(const std::string& name, const std::string& content) const {
        std::ofstream(documents() / name) << content;
    }

    testing::TestPlatform tp;
    std::shared_ptr<TextFontSystem> fonts = std::make_shared<TextFontSystem>();
    Deployment deployment;
};

TEST_F(FontDownloaderTest, FamiliesInDeclarationOrderDuplicatesKeptThenTheFixedFaces) {
    auto m = model({{&typography::orText, "Laila"},
                    {&typography::heading, "Roboto"},
                    {&typography::passDivBtn, "Roboto"}});
    // A style without a family adds nothing.
    m.data->configuration->mobile->json->styleForText->typography->subHeading.emplace();
    EXPECT_THAT(
        FontDownloader::fontFamilies(m),
        ElementsAre("Roboto", "Roboto", "Laila", "Merriweather-Regular", "Merriweather-Black",
                    "Merriweather-BlackItalic", "Merriweather-Bold", "Poppins-SemiBold"));

    EXPECT_THAT(FontDownloader::fontFamilies(CustomizePayWallModel{}),
                ElementsAre("Merriweather-Regular", "Merriweather-Black",
                            "Merriweather-BlackItalic", "Merriweather-Bold", "Poppins-SemiBold"));
}

TEST_F(FontDownloaderTest, NormalisedFamiliesAndTheirAddresses) {
    EXPECT_EQ(FontDownloader::normalizedFamily("Noto Sans Tamil"), "NotoSansTamil");
    EXPECT_EQ(FontDownloader::normalizedFamily("noto sans TAMIL"), "NotoSansTamil");
    EXPECT_EQ(FontDownloader::normalizedFamily("Merriweather-Regular"), "Merriweather-Regular");
    EXPECT_EQ(FontDownloader::normalizedFamily("Poppins-SemiBold"), "Poppins-Semibold");
    EXPECT_EQ(FontDownloader::normalizedFamily(" play  fair "), "PlayFair");
    EXPECT_EQ(FontDownloader::normalizedFamily(""), "");
    EXPECT_EQ(FontDownloader::normalizedFamily("bad \xff byte"),
              "Bad\xef\xbf\xbd"
              "Byte");

    FontDownloader& fd = FontDownloader::shared();
    // Until a deployment is given, the built-in one's hosts.
    EXPECT_EQ(fd.downloadAddress("Roboto"), Deployment::builtIn().webFontHost + kRobotoPath);
    fd.setHosts(deployment);
    EXPECT_EQ(fd.downloadAddress("noto sans tamil"),
              "https://fonts.test/s/notosanstamil/v27/"
              "ieVc2YdFI3GCY6SyQy1KfStzYKZgzN1z4LKDbeZce-0429tBManUktuex7vGo70RqKDt_EvT.ttf");
    EXPECT_EQ(fd.downloadAddress("Merriweather-Regular"),
              "https://repo.test/google/fonts/raw/main/ofl/merriweather/Merriweather-Regular.ttf");
    EXPECT_EQ(fd.downloadAddress("Poppins"),
              "https://fonts.test/s/poppins/v20/pxiEyp8kv8JHgFVrFJDUc1NECPY.ttf");
    EXPECT_EQ(fd.downloadAddress("Poppins-SemiBold"),
              "https://repo.test/google/fonts/raw/main/ofl/poppins/Poppins-SemiBold.ttf");
    EXPECT_EQ(fd.downloadAddress("Merriweather"), "");
    EXPECT_EQ(fd.downloadAddress("Comic Sans"), "");
    EXPECT_EQ(fd.downloadAddress(""), "");
}

TEST_F(FontDownloaderTest, DownloadsAreSavedUnderThePostScriptNameRegisteredThenFoundOnDisk) {
    tp.http().answer("notosanstamil", 200, "font:NotoSansTamil-Regular");
    const auto m = model({{&typography::heading, "Noto Sans Tamil"}});

    FontDownloader::shared().provision(m, deployment, [] {});
    const auto lines = tp.lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], R"(FontFamily values: ["Noto Sans Tamil", "Merriweather-Regular", )"
                        R"("Merriweather-Black", "Merriweather-BlackItalic", "Merriweather-Bold", )"
                        R"("Poppins-SemiBold"])");
    EXPECT_EQ(lines[1],
              "Font Download URL: " + FontDownloader::shared().downloadAddress("NotoSansTamil"));
    EXPECT_EQ(tp.http().requestCount(), 6u);

    tp.runPending();
    EXPECT_TRUE(fs::exists(documents() / "NotoSansTamil-Regular.ttf"));
    EXPECT_TRUE(fs::exists(documents() / "Poppins-SemiBold.ttf"));
    EXPECT_TRUE(fonts->isRegistered("NotoSansTamil-Regular"));
    EXPECT_TRUE(
        tp.printed("NotoSansTamil-Regular.ttf downloaded and saved successfully: "
                   "NotoSansTamil-Regular.ttf"));
    EXPECT_TRUE(tp.printed("Font registered successfully: NotoSansTamil-Regular.ttf"));
    EXPECT_TRUE(tp.printed("Noto Sans Tamil downloaded and saved successfully"));
    EXPECT_TRUE(tp.printed("Poppins-SemiBold downloaded and saved successfully"));
    EXPECT_EQ(tp.lines().back(), "All font downloads completed successfully");

    // The next paywall finds the family on disk. The fixed faces are looked for under names
    // that never match what they are saved as, so they are fetched again and lose the move.
    tp.clearLines();
    EXPECT_EQ(provision(m), 1);
    EXPECT_EQ(tp.http().requestsTo("notosanstamil").size(), 1u);
    EXPECT_EQ(tp.http().requestsTo("Merriweather-Regular.ttf").size(), 2u);
    EXPECT_TRUE(
        tp.printed("NotoSansTamil-Regular.ttf file already exists in the document directory."));
    EXPECT_TRUE(tp.printed("Font already registered: NotoSansTamil-Regular.ttf"));
    EXPECT_TRUE(tp.printed("Error downloading or saving the Merriweather-Regular file"));
    EXPECT_TRUE(tp.printed("Font already registered: Merriweather-Regular.ttf"));
}

TEST_F(FontDownloaderTest, EveryFailureIsPrintedAndProvisioningStillCompletes) {
    tp.http().fail("roboto", 7);
    tp.http().answer("laila", 200, "<html>404</html>");
    tp.http().answer("arima", 200, "font:");  // a font without a name
    tp.http().answer("eczar", 404, "Not Found");
    const auto m = model({{&typography::heading, "Roboto"},
                          {&typography::subHeading, "Laila"},
                          {&typography::label, "Arima"},
                          {&typography::crossBtn, "Eczar"},
                          {&typography::timerDiv, "\xff\xfe"},
                          {&typography::orText, "Comic Sans"}});

    int completions = 0;
    FontDownloader::shared().provision(m, deployment, [&] { ++completions; });
    // An unknown family fails at once, without a request.
    EXPECT_TRUE(tp.printed("Error downloading or saving the Comic Sans file"));
    EXPECT_EQ(tp.http().requestsTo("comic").size(), 0u);
    EXPECT_EQ(completions, 0);

    tp.runPending();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(tp.countPrinted("All font downloads completed successfully"), 1u);
    EXPECT_TRUE(
        tp.printedContaining("Error downloading font: Error Domain=NSURLErrorDomain Code=7"));
    // A family that isn't valid UTF-8 is printed as it stands and fails like any unknown one.
    EXPECT_TRUE(
        tp.printed("FontFamily values: [\"Roboto\", \"Laila\", \"\xff\xfe\", \"Arima\", "
                   "\"Eczar\", \"Comic Sans\", \"Merriweather-Regular\", "
                   "\"Merriweather-Black\", \"Merriweather-BlackItalic\", "
                   "\"Merriweather-Bold\", \"Poppins-SemiBold\"]"));
    EXPECT_EQ(tp.countPrinted("Error retrieving font information."), 3u);
    for (const char* family : {"Roboto", "Laila", "Arima", "Eczar"}) {
        EXPECT_TRUE(tp.printed(std::string("Error downloading or saving the ") + family + " file"))
            << family;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(documents()), fs::directory_iterator()), 5)
        << "only the fixed faces were saved";
}

TEST_F(FontDownloaderTest, CompletionRunsOnTheMainQueueAfterTheLastDownloadEvenWithNone) {
    tp.http().setHoldAnswers(true);
    int completions = 0;
    FontDownloader::shared().provision(CustomizePayWallModel{}, deployment, [&] { ++completions; });
    tp.runPending();
    EXPECT_EQ(completions, 0);

    // The downloads end on "the session's thread"; the last one only queues the completion.
    EXPECT_EQ(tp.http().deliverHeld(), 5u);
    EXPECT_EQ(completions, 0);
    EXPECT_FALSE(tp.printed("All font downloads completed successfully"));
    tp.runPending();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(tp.lines().back(), "All font downloads completed successfully");

    // With every face on disk under the name it is looked for, nothing is fetched, and the
    // completion still comes through the main queue.
    for (const char* name : {"Merriweather-Regular", "Merriweather-Black",
                             "Merriweather-Blackitalic", "Merriweather-Bold", "Poppins-Semibold"}) {
        putFile(std::string(name) + "-Regular.ttf", std::string("font:") + name);
    }
    tp.clearLines();
    FontDownloader::shared().provision(CustomizePayWallModel{}, deployment, [&] { ++completions; });
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(tp.printed(
        "Merriweather-Blackitalic-Regular.ttf file already exists in the document directory."));
    tp.runPending();
    EXPECT_EQ(completions, 2);
    EXPECT_EQ(tp.http().requestCount(), 5u);
    EXPECT_EQ(tp.countPrinted("All font downloads completed successfully"), 1u);
}

TEST_F(FontDownloaderTest, RegistrationOutcomes) {
    putFile("Page.ttf", "<html>");
    putFile("Nameless.ttf", "font:");
    putFile("Refused.ttf", "font:Refused-Regular");
    putFile("Roboto-Regular.ttf", "font:Roboto-Regular");
    fonts->refused.insert("Refused-Regular");

    FontDownloader& fd = FontDownloader::shared();
    fd.registerFont(documents() / "Page.ttf");
    fd.registerFont(documents() / "Missing.ttf");
    fd.registerFont(documents() / "Nameless.ttf");
    fd.registerFont(documents() / "Refused.ttf");
    fd.registerFont(documents() / "Roboto-Regular.ttf");
    fd.registerFont(documents() / "Roboto-Regular.ttf");
    EXPECT_THAT(
        tp.lines(),
        ElementsAre("Error registering font: Page.ttf", "Error registering font: Missing.ttf",
                    "Error getting font name: Nameless.ttf",
                    "Error registering font: The font file “Refused.ttf” could not be "
                    "registered.",
                    "Font registered successfully: Roboto-Regular.ttf",
                    "Font already registered: Roboto-Regular.ttf"));
}

TEST_F(FontDownloaderTest, APostScriptNameThatIsAPathIsNotSavedOutsideTheDocuments) {
    tp.http().answer("roboto", 200, "font:../Escaped");
    bool outcome = true;
    FontDownloader::shared().setHosts(deployment);
    FontDownloader::shared().download("Roboto", [&](bool success) { outcome = success; });
    tp.runPending();
    EXPECT_FALSE(outcome);
    EXPECT_TRUE(tp.printedContaining("Error moving font file: "));
    EXPECT_FALSE(fs::exists(tp.stateDirectory() / "Escaped.ttf"));
    EXPECT_TRUE(fs::is_empty(documents()));
}

TEST_F(FontDownloaderTest, ADownloadThatEndsAfterItsDownloaderIsGoneDoesNothing) {
    tp.http().answer("roboto", 200, "font:Roboto-Regular");
    tp.http().setHoldAnswers(true);
    bool called = false;
    {
        FontDownloader local;
        local.setHosts(deployment);
        local.download("Roboto", [&](bool) { called = true; });
    }
    tp.clearLines();
    EXPECT_EQ(tp.http().deliverHeld(), 1u);
    EXPECT_FALSE(called);
    EXPECT_TRUE(tp.lines().empty());
    EXPECT_FALSE(fs::exists(documents() / "Roboto-Regular.ttf"));
}

}  // namespace
}  // namespace quillgate

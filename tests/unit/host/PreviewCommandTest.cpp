// `quillgate preview` in-process: the picture carries the configuration's colours, it is the
// picture `read --snapshot` takes of the same wall, the same inputs give the same bytes, a
// body the client can't read fails as `decode` fails, and the contact sheet opens in a
// browser.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/platform/Canvas.h"
#include "quillgate/platform/Image.h"
#include "quillgate/platform/Platform.h"
#include "tests/support/LocalService.h"
#include "tools/devserver/AccessService.h"
#include "tools/devserver/DevServer.h"
#include "tools/devserver/Scenario.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/FileSession.h"
#include "tools/quillgate/HostApp.h"

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string readBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeBytes(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

// A PNG file's pixels, read back through the platform's own canvas.
class Picture {
  public:
    explicit Picture(const fs::path& file) {
        const std::string bytes = readBytes(file);
        const auto size = quillgate::platform::imageSize(bytes);
        if (!size) {
            return;
        }
        auto platform = quillgate::platform::makeLinuxPlatform(fs::temp_directory_path());
        canvas_ = platform->makeImageCanvas(size->width, size->height, 1);
        canvas_->drawImage(bytes, 0, 0, size->width, size->height);
        width_ = size->width;
        height_ = size->height;
    }
    bool valid() const { return canvas_ != nullptr; }
    int width() const { return width_; }
    int height() const { return height_; }
    // How many pixels have exactly the colour "#RRGGBB", opaque.
    int count(const std::string& hex) const {
        const unsigned value = std::stoul(hex.substr(1), nullptr, 16);
        int found = 0;
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                const auto p = canvas_->pixel(x + 0.5, y + 0.5);
                const auto byte = [](double c) { return static_cast<unsigned>(c * 255 + 0.5); };
                if (byte(p.a) == 255 && byte(p.r) == (value >> 16) &&
                    byte(p.g) == ((value >> 8) & 0xff) && byte(p.b) == (value & 0xff)) {
                    ++found;
                }
            }
        }
        return found;
    }

  private:
    std::unique_ptr<quillgate::platform::ImageCanvas> canvas_;
    int width_ = 0;
    int height_ = 0;
};

struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

class PreviewCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir = fs::temp_directory_path() /
              ("quillgate-preview-test-" + std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
        auto load =
            quillgate::devserver::loadScenario(quillgate::devserver::DevServer::defaultDataDir());
        ASSERT_TRUE(load.scenario) << load.error;
        scenario = std::move(*load.scenario);
    }
    void TearDown() override { fs::remove_all(dir); }

    static Outcome preview(const std::vector<std::string>& args) {
        std::ostringstream out;
        std::ostringstream err;
        Outcome run;
        run.status = quillgate::host::runPreview(args, out, err);
        run.out = out.str();
        run.err = err.str();
        return run;
    }

    // The font files of the local service laid out as its hosts serve them, under `fonts`.
    void layOutFonts() {
        for (const auto& font : scenario.fonts) {
            if (font.file) {
                fs::create_directories((fonts / font.path).parent_path());
                fs::create_symlink(*font.file, fonts / font.path);
            }
        }
    }

    // The body the local service answers for a paywall action, at `instant`.
    std::string paywallBody(const std::string& id, std::chrono::system_clock::time_point instant =
                                                       std::chrono::system_clock::now()) {
        quillgate::devserver::AccessService service(scenario, [instant] { return instant; });
        return service.paywallConfig("quillgate-demo", {{"paywallId", id}}).body;
    }

    std::string contentBody(const std::string& contentId) {
        quillgate::devserver::AccessService service(
            scenario, [] { return std::chrono::system_clock::now(); });
        return service.content({{"clientId", "quillgate-demo"}, {"clientContentId", contentId}})
            .body;
    }

    fs::path dir;
    fs::path fonts;
    quillgate::devserver::Scenario scenario;
};

TEST_F(PreviewCommandTest, TheHeadingButtonAndBackgroundTakeTheConfigurationsColours) {
    // The sample configuration, with colours no default of the toolkit uses.
    auto config = nlohmann::json::parse(
        readBytes(fs::path(QUILLGATE_TEST_DATA_DIR) / "records/customize_paywall.json"));
    auto& json = config["data"]["configuration"]["mobile"]["json"];
    json["styleForText"]["typography"]["heading"]["color"] = "#8E24AA";
    json["styleForBackground"]["border"]["mainSubmitBtn"]["backgroundColor"] = "#1E88E5";
    json["styleForBackground"]["border"]["mainDiv"]["backgroundColor"] = "#FFF59D";
    const fs::path file = dir / "config.json";
    writeBytes(file, config.dump());

    fonts = dir / "fonts";
    layOutFonts();
    const fs::path png = dir / "3a.png";
    const Outcome run = preview({"--config", file.string(), "--template", "3A", "--fonts",
                                 fonts.string(), "--out", png.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("screen: CTA3ViewController tag 9988"));

    const Picture picture(png);
    ASSERT_TRUE(picture.valid());
    EXPECT_EQ(picture.width(), 780);
    EXPECT_EQ(picture.height(), 1688);
    // Solid areas: the box behind the offers and the main button; the heading's strokes.
    EXPECT_GT(picture.count("#FFF59D"), 20000);
    EXPECT_GT(picture.count("#1E88E5"), 2000);
    EXPECT_GT(picture.count("#8E24AA"), 50);
}

TEST_F(PreviewCommandTest, DrawsTheSamePixelsAsReadSnapshotOfTheSameWall) {
    fonts = dir / "fonts";
    layOutFonts();
    quillgate::devserver::DevServer server{quillgate::testing::ephemeralService()};
    ASSERT_TRUE(server.start());

    const fs::path read = dir / "read.png";
    quillgate::host::HostSetup setup;
    setup.alwaysReachable = true;
    setup.finishedEarly = [](const quillgate::host::HostApp& app) { return app.wallIsUp(); };
    std::ostringstream readOut;
    std::ostringstream readErr;
    const int readStatus =
        quillgate::host::runRead({"--client-id",      "quillgate-demo",
                                  "--content-id",     "premium-3a",
                                  "--api-base",       server.apiBase(),
                                  "--web-base",       server.webBase(),
                                  "--collect-url",    server.collectUrl(),
                                  "--font-web-base",  server.webFontHostBase(),
                                  "--font-repo-base", server.sourceRepositoryHostBase(),
                                  "--state-dir",      (dir / "state").string(),
                                  "--run-for",        "10",
                                  "--snapshot",       read.string()},
                                 readOut, readErr, setup);
    ASSERT_EQ(readStatus, 0) << readErr.str();
    ASSERT_THAT(readOut.str(), HasSubstr("screen: CTA3ViewController tag 9988"));

    writeBytes(dir / "config.json", paywallBody("pw-3a"));
    writeBytes(dir / "content.json", contentBody("premium-3a"));
    const fs::path png = dir / "preview.png";
    const Outcome run = preview({"--config", (dir / "config.json").string(), "--template", "3A",
                                 "--content", (dir / "content.json").string(), "--fonts",
                                 fonts.string(), "--out", png.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string picture = readBytes(png);
    ASSERT_FALSE(picture.empty());
    EXPECT_TRUE(picture == readBytes(read)) << "the two pictures differ";
}

TEST_F(PreviewCommandTest, TheSameInputsGiveTheSameBytesAndTheCountdownFollowsTheClock) {
    fonts = dir / "fonts";
    layOutFonts();
    const auto instant = std::chrono::sys_days{std::chrono::year{2025} / 6 / 1};
    writeBytes(dir / "config.json", paywallBody("pw-13a", instant));
    const auto render = [&](const std::string& name, const std::string& now) {
        const fs::path png = dir / name;
        const Outcome run =
            preview({"--config", (dir / "config.json").string(), "--template", "13A", "--fonts",
                     fonts.string(), "--now", now, "--scale", "1", "--out", png.string()});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.out, HasSubstr("screen: CTA13ViewController"));
        return readBytes(png);
    };
    const std::string first = render("a.png", "2025-06-01T00:00:00Z");
    ASSERT_FALSE(first.empty());
    EXPECT_TRUE(first == render("b.png", "2025-06-01T00:00:00Z"));
    // A minute later the countdown shows another time.
    EXPECT_FALSE(first == render("c.png", "2025-06-01T00:01:00Z"));
}

TEST_F(PreviewCommandTest, ABodyTheClientCannotReadFailsWithDecodesLine) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"3A", R"({"data": {"configuration": {"mobile": {"templateId": {"name": 3}}}}})"},
        {"3A", R"({"isFallback": false, "data": )"},
        {"banner", R"({"data": []})"},
        {"popup", R"({"position": 5})"},
    };
    for (const auto& [name, body] : cases) {
        SCOPED_TRACE(name + " " + body);
        const fs::path file = dir / "bad.json";
        writeBytes(file, body);
        const Outcome run = preview({"--config", file.string(), "--template", name, "--fonts",
                                     dir.string(), "--out", (dir / "x.png").string()});
        EXPECT_EQ(run.status, 1);
        EXPECT_FALSE(fs::exists(dir / "x.png"));

        const std::string root = name == "banner"  ? "MeterModel"
                                 : name == "popup" ? "PopUpModel"
                                                   : "CustomizePayWallModel";
        std::istringstream noInput;
        std::ostringstream decoded;
        std::ostringstream ignored;
        EXPECT_EQ(
            quillgate::host::runDecode({"--as", root, file.string()}, noInput, decoded, ignored),
            1);
        EXPECT_EQ(run.out, decoded.str());
    }
}

TEST_F(PreviewCommandTest, TheContactSheetShowsEveryDisplayInOneRowInABrowser) {
    fonts = dir / "fonts";
    layOutFonts();
    const fs::path sheet = dir / "sheet.html";
    const Outcome run =
        preview({"--fonts", fonts.string(), "--config",
                 (fs::path(QUILLGATE_TEST_DATA_DIR) / "records/customize_paywall.json").string(),
                 "--template", "3A", "--scale", "1", "--html", sheet.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    for (const char* display : {"inarticle", "fullpage", "popup"}) {
        EXPECT_TRUE(fs::exists(dir / ("sheet-" + std::string(display) + ".png"))) << display;
    }

    if (std::system("command -v chromium >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "chromium is not installed (QUILLGATE_CHROMIUM=1 "
                        "scripts/install-deps.sh installs it)";
    }
    const fs::path dom = dir / "dom.html";
    const std::string command =
        "chromium --headless --no-sandbox --disable-gpu --allow-file-access-from-files "
        "--virtual-time-budget=5000 --dump-dom 'file://" +
        sheet.string() + "' > '" + dom.string() + "' 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string page = readBytes(dom);
    EXPECT_THAT(page, HasSubstr("data-loaded=\"3\""));
    EXPECT_THAT(page, HasSubstr("data-one-row=\"true\""));
}

TEST_F(PreviewCommandTest, UsageErrorsNameWhatIsWrongAndDrawNothing) {
    const std::string config =
        (fs::path(QUILLGATE_TEST_DATA_DIR) / "records/customize_paywall.json").string();
    const std::string out = (dir / "x.png").string();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--config", config, "--out", out}, "--template NAME is required"},
        {{"--template", "3A", "--out", out}, "--config FILE is required"},
        {{"--config", config, "--template", "3A"}, "--out FILE.png or --html FILE.html"},
        {{"--config", config, "--template", "3A", "--out", out, "--width", "400"},
         "--width and --height go together"},
        {{"--config", config, "--template", "3A", "--out", out, "--display", "SIDEBAR"},
         "--display is one of INARTICLE, FULLPAGE, POPUP"},
        {{"--config", config, "--template", "3A", "--out", out, "--variant", "1.5"},
         "--variant needs a number of offers"},
        {{"--config", config, "--template", "3A", "--out", out, "--now", "2025-06-01 09:00"},
         "--now needs an instant"},
        {{"--config", config, "--template", "3A", "--out", out, "--now", "2025-02-30T00:00:00Z"},
         "--now needs an instant"},
        {{"--config", config, "--template", "3A", "--out"}, "--out needs a value"},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(message);
        const Outcome run = preview(args);
        EXPECT_EQ(run.status, 2);
        EXPECT_THAT(run.err, AllOf(StartsWith("quillgate: preview: "), HasSubstr(message)));
    }
    // No usage error draws anything.
    EXPECT_FALSE(fs::exists(out));
}

TEST(FileSessionTest, AnAddressIsTheFileAtTheRestOfItUnderItsMountAndNeverAboveIt) {
    const quillgate::host::FileSession session(
        {{"https://fonts.example/", "/fonts"}, {"", "/files"}}, nullptr, {});
    EXPECT_EQ(session.fileFor("https://fonts.example/s/a/b.ttf"), fs::path("/fonts/s/a/b.ttf"));
    EXPECT_EQ(session.fileFor("https://fonts.example/a%20b.ttf?v=1"), fs::path("/fonts/a b.ttf"));
    EXPECT_EQ(session.fileFor("http://127.0.0.1:3000/static/popup.png"),
              fs::path("/files/static/popup.png"));
    // Climbing out of the directory gets no file at all, not a file above it.
    EXPECT_EQ(session.fileFor("https://fonts.example/../../etc/passwd"), fs::path());
    EXPECT_EQ(session.fileFor("https://fonts.example/a/%2E%2E/%2E%2E/x"), fs::path());
}

}  // namespace

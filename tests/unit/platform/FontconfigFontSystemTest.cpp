// Fonts on fontconfig and FreeType, with the font files of the machine's packages.

#include "quillgate/platform/linux/FontconfigFontSystem.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/FontFiles.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::platform {
namespace {

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
    EXPECT_FALSE(fonts.face("Roboto-Regular"));
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

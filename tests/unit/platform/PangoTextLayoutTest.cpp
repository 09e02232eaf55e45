// Text set with Pango over the font system's configuration, with the machine's Debian fonts
// (fonts-roboto, fonts-dejavu-core): wrapping, weights, line limits, exact face look-up with
// its fallback, and faces registered after the layout was made.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quillgate/platform/Platform.h"
#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/platform/linux/PangoTextLayout.h"
#include "tests/support/FontFiles.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::platform {
namespace {

constexpr const char* kOffer = "Subscribe for unlimited, uninterrupted and easy digital access";

TextBlock block(std::string text, std::string face, double size,
                FontWeight weight = FontWeight::regular) {
    TextBlock b;
    b.runs.push_back(TextRun{0, text.size(), TextFont{std::move(face), size, weight}});
    b.text = std::move(text);
    return b;
}

class PangoTextLayoutTest : public ::testing::Test {
  protected:
    std::shared_ptr<FontconfigFontSystem> fonts = std::make_shared<FontconfigFontSystem>();
    PangoTextLayout layout{fonts};
};

TEST_F(PangoTextLayoutTest, WrapsByWordsAndANarrowerWidthTakesMoreLines) {
    const auto offer = block(kOffer, "Roboto-Bold", 15);
    const auto wide = layout.measure(offer, 358);
    const auto narrow = layout.measure(offer, 200);
    EXPECT_EQ(wide.lineCount, 2);
    EXPECT_EQ(narrow.lineCount, 3);
    EXPECT_GT(narrow.height, wide.height);
    EXPECT_LE(wide.width, 358);
    EXPECT_LE(narrow.width, 200);
    EXPECT_NEAR(wide.height, 36, 2);  // about 1.17 times the size per line

    const auto unlimited = layout.measure(offer, 0);  // one line, as wide as the text
    EXPECT_EQ(unlimited.lineCount, 1);
    EXPECT_GT(unlimited.width, 358);
    EXPECT_NEAR(unlimited.height * 2, wide.height, 1);

    // Same block, same width, same numbers: nothing carries over from the last layout.
    const auto again = layout.measure(offer, 358);
    EXPECT_EQ(again.width, wide.width);
    EXPECT_EQ(again.height, wide.height);

    const auto longer = block(std::string(kOffer) + " " + kOffer, "Roboto-Bold", 15);
    EXPECT_GT(layout.measure(longer, 358).height, wide.height);
}

TEST_F(PangoTextLayoutTest, ABoldFaceIsWiderThanARegularOne) {
    const std::string text = "Already a subscriber? Sign in";
    EXPECT_GT(layout.measure(block(text, "Roboto-Bold", 17), 0).width,
              layout.measure(block(text, "Roboto-Regular", 17), 0).width);
    // The system face follows the weight too.
    EXPECT_GT(layout.measure(block(text, "", 17, FontWeight::bold), 0).width,
              layout.measure(block(text, "", 17, FontWeight::regular), 0).width);
    // Sizes are points, whatever the face.
    const auto small = layout.measure(block(text, "Roboto-Regular", 10), 0);
    const auto large = layout.measure(block(text, "Roboto-Regular", 20), 0);
    EXPECT_NEAR(large.width, 2 * small.width, 0.5);
}

TEST_F(PangoTextLayoutTest, AnUnknownNameSetsTheSystemFaceOfItsWeight) {
    const std::string text = "Your free articles this month";
    for (const char* name : {"NoSuchFace-Bold", "roboto-bold", "Roboto"}) {
        EXPECT_EQ(layout.measure(block(text, name, 17, FontWeight::bold), 0).width,
                  layout.measure(block(text, "", 17, FontWeight::bold), 0).width)
            << name;  // exact PostScript names only
    }
    EXPECT_EQ(layout.resolvedFamily(block(text, "Roboto-Bold", 17)), "Roboto");
}

TEST_F(PangoTextLayoutTest, ALineLimitKeepsTheFirstLines) {
    auto offer = block(kOffer, "Roboto-Regular", 15);
    const auto all = layout.measure(offer, 150);
    ASSERT_GE(all.lineCount, 3);
    for (auto mode : {LineBreak::byWordWrapping, LineBreak::byTruncatingTail,
                      LineBreak::byTruncatingMiddle, LineBreak::byClipping}) {
        offer.lineBreak = mode;
        offer.maxLines = 2;
        const auto two = layout.measure(offer, 150);
        EXPECT_EQ(two.lineCount, 2) << static_cast<int>(mode);
        EXPECT_NEAR(two.height, all.height * 2 / all.lineCount, 1) << static_cast<int>(mode);
        EXPECT_LE(two.width, 150);
    }
    // Paragraphs count together.
    auto paragraphs = block("One\nTwo\nThree\nFour", "Roboto-Regular", 15);
    EXPECT_EQ(layout.measure(paragraphs, 300).lineCount, 4);
    paragraphs.maxLines = 3;
    paragraphs.lineBreak = LineBreak::byTruncatingTail;
    EXPECT_EQ(layout.measure(paragraphs, 300).lineCount, 3);
}

TEST_F(PangoTextLayoutTest, OddInputMeasuresWithoutHarm) {
    EXPECT_EQ(layout.measure(block("", "Roboto-Regular", 15), 100).height, 0);
    TextBlock noRuns;
    noRuns.text = "No runs at all";
    EXPECT_GT(layout.measure(noRuns, 0).width, 0);
    // Runs past the end, inside a character, and invalid UTF-8.
    TextBlock odd = block("caf\xc3\xa9 \xff\xfe bar", "Roboto-Regular", 15);
    odd.runs.push_back(TextRun{4, 100, TextFont{"Roboto-Bold", 30}});
    const auto m = layout.measure(odd, 50);
    EXPECT_GT(m.lineCount, 0);
    EXPECT_GT(m.height, 0);
}

// Measurements are kept: each block differing from the first in one thing that changes its
// layout, measured in turns on one layout, measures as it does on a layout of its own; and
// however many blocks are measured, only so many are kept.
TEST_F(PangoTextLayoutTest, KeptMeasurementsTellBlocksApartAndStayBounded) {
    const auto base = block(kOffer, "Roboto-Regular", 15);
    std::vector<std::pair<TextBlock, double>> cases{{base, 200}, {base, 201}, {base, 0}};
    auto change = [&](auto edit) {
        TextBlock b = base;
        edit(b);
        cases.emplace_back(std::move(b), 200);
    };
    change([](TextBlock& b) { b.runs[0].font.size = 15.5; });
    change([](TextBlock& b) { b.runs[0].font.postScriptName = "Roboto-Bold"; });
    change([](TextBlock& b) { b.runs[0].font = TextFont{"", 15, FontWeight::bold}; });
    change([](TextBlock& b) { b.maxLines = 1; });
    change([](TextBlock& b) {
        b.maxLines = 1;
        b.lineBreak = LineBreak::byTruncatingTail;
    });
    change([](TextBlock& b) { b.lineBreak = LineBreak::byCharWrapping; });
    change([](TextBlock& b) { b.text += "!"; });
    change([](TextBlock& b) {
        b.runs[0].length = 9;
        b.runs.push_back(TextRun{9, b.text.size() - 9, TextFont{"Roboto-Bold", 15}});
    });
    for (int round = 0; round < 2; ++round) {
        for (const auto& [b, width] : cases) {
            PangoTextLayout fresh(fonts);
            const auto expected = fresh.measure(b, width);
            const auto kept = layout.measure(b, width);
            EXPECT_EQ(kept.width, expected.width) << b.text << " at " << width;
            EXPECT_EQ(kept.height, expected.height) << b.text << " at " << width;
            EXPECT_EQ(kept.lineCount, expected.lineCount) << b.text << " at " << width;
        }
    }

    for (std::size_t i = 0; i < 3 * PangoTextLayout::kKeptMeasurements; ++i) {
        layout.measure(block("Row " + std::to_string(i), "", 13), 0);
    }
    EXPECT_LE(layout.keptMeasurements(), PangoTextLayout::kKeptMeasurements);
    EXPECT_GT(layout.keptMeasurements(), 0u);
}

TEST(PangoTextLayoutFonts, AFaceRegisteredLaterMeasuresWithItsOwnMetrics) {
    const auto dejaVu = testing::systemFontFile("DejaVuSans.ttf");
    const auto robotoBold = testing::systemFontFile("Roboto-Bold.ttf");
    ASSERT_FALSE(dejaVu.empty());
    ASSERT_FALSE(robotoBold.empty());
    auto fonts =
        std::make_shared<FontconfigFontSystem>(FontconfigFontSystem::InstalledFonts::exclude);
    ASSERT_TRUE(fonts->registerFontFile(dejaVu));
    PangoTextLayout layout(fonts);

    const auto text = block("Support independent journalism", "Roboto-Bold", 20);
    const auto before = layout.measure(text, 0);
    EXPECT_EQ(layout.measure(text, 0).width, before.width);  // kept

    ASSERT_TRUE(fonts->registerFontFile(robotoBold));  // as a download does
    const auto after = layout.measure(text, 0);        // measured again, with the new face
    EXPECT_NE(after.width, before.width);
    EXPECT_EQ(after.width, PangoTextLayout(fonts).measure(text, 0).width);
    EXPECT_EQ(layout.resolvedFamily(text), "Roboto");
}

TEST(PangoTextLayoutFonts, TheLinuxPlatformSharesItsFontSystemWithItsTextLayout) {
    testing::TestPlatform test;
    const auto made = makeLinuxPlatform(test.stateDirectory() / "linux");
    ASSERT_TRUE(made->textLayout);
    EXPECT_TRUE(dynamic_cast<PangoTextLayout*>(made->textLayout.get()));
    EXPECT_GT(made->textLayout->measure(block("Hello", "", 17), 0).width, 0);
}

}  // namespace
}  // namespace quillgate::platform

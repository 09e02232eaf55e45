// The styling engine: the word tables, colour parsing, the text rule, prices, and what the
// label, footer label, box and button procedures do to an element.

#include <gtest/gtest.h>

#include "quillgate/platform/Canvas.h"
#include "quillgate/platform/Text.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Renderer.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using ui::Color;
using ui::ContentHorizontalAlignment;
using ui::FontWeight;
using ui::TextAlignment;

// Knows one family, "Roboto", whose regular face is "Roboto-Regular", and the faces listed.
class FamilyFonts final : public platform::FontSystem {
  public:
    std::optional<std::string> postScriptName(const std::filesystem::path&) override {
        return std::nullopt;
    }
    bool registerFontFile(const std::filesystem::path&) override { return false; }
    bool isRegistered(const std::string& name) override {
        return name == "Roboto-Regular" || name == "Merriweather-Bold";
    }
    std::optional<platform::FontFace> face(const std::string& name) override {
        if (name == "Roboto") {
            return platform::FontFace{"Roboto-Regular", "Roboto", platform::FontWeight::regular,
                                      false};
        }
        return FontSystem::face(name);
    }
};

class StylingTest : public ::testing::Test {
  protected:
    void SetUp() override { platform.platform().fonts = std::make_shared<FamilyFonts>(); }

    testing::TestPlatform platform;
};

typographyData typography(std::optional<std::string> text = std::nullopt) {
    typographyData record;
    record.text = std::move(text);
    return record;
}

// ---- Word tables

TEST(StylingWordsTest, AlignmentTransformAndWeightTables) {
    const std::pair<const char*, TextAlignment> labelWords[] = {
        {"left", TextAlignment::left},    {"center", TextAlignment::center},
        {"right", TextAlignment::right},  {"RIGHT", TextAlignment::left},
        {"justify", TextAlignment::left}, {"", TextAlignment::left},
    };
    for (const auto& [word, alignment] : labelWords) {
        EXPECT_EQ(labelAlignment(word), alignment) << word;
    }
    // Buttons compare in lower case.
    const std::pair<const char*, ContentHorizontalAlignment> buttonWords[] = {
        {"left", ContentHorizontalAlignment::left},
        {"center", ContentHorizontalAlignment::center},
        {"Center", ContentHorizontalAlignment::center},
        {"RIGHT", ContentHorizontalAlignment::right},
        {"middle", ContentHorizontalAlignment::left},
    };
    for (const auto& [word, alignment] : buttonWords) {
        EXPECT_EQ(buttonAlignment(word), alignment) << word;
    }

    const std::tuple<const char*, const char*, const char*> transforms[] = {
        {"lowercase", "Read THE Story", "read the story"},
        {"uppercase", "Read the story", "READ THE STORY"},
        {"capitalize", "read tHE story", "Read The Story"},
        {"Uppercase", "Read the story", "Read the story"},
        {"none", "Read the story", "Read the story"},
    };
    for (const auto& [word, text, expected] : transforms) {
        EXPECT_EQ(transformText(word, text), expected) << word;
    }

    const std::pair<const char*, FontWeight> weights[] = {
        {"100", FontWeight::ultraLight}, {"200", FontWeight::thin},
        {"300", FontWeight::light},      {"400", FontWeight::regular},
        {"500", FontWeight::medium},     {"600", FontWeight::semibold},
        {"700", FontWeight::bold},       {"800", FontWeight::heavy},
        {"900", FontWeight::black},      {"", FontWeight::regular},
        {"bold", FontWeight::regular},   {"750", FontWeight::regular},
    };
    for (const auto& [word, weight] : weights) {
        EXPECT_EQ(fontWeight(word), weight) << word;
    }
}

TEST(StylingWordsTest, OnlyHashAndSixHexDigitsIsAColour) {
    EXPECT_EQ(colorFromHex("#0908F5"), Color::rgb255(9, 8, 245));
    EXPECT_EQ(colorFromHex("#ff8000"), Color::rgb255(255, 128, 0));
    for (const char* bad : {"#FFF", "#FF8000FF", "FF8000", "#GGGGGG", "#FF 800", " #FF8000",
                            "#FF8000 ", "", "#", "0xFF8000"}) {
        EXPECT_EQ(colorFromHex(bad), std::nullopt) << bad;
    }
}

TEST(StylingWordsTest, BlankIsWhiteSpaceOnlyAndDefaultsFillBlankTexts) {
    EXPECT_FALSE(isNotBlank(std::string_view("")));
    EXPECT_FALSE(isNotBlank(std::string_view(" \t ")));
    EXPECT_TRUE(isNotBlank(std::string_view("\n")));  // newlines are not trimmed
    EXPECT_TRUE(isNotBlank(std::string_view(" a ")));
    EXPECT_FALSE(isNotBlank(std::optional<std::string>()));

    const std::string fallback = "Subscribe now";
    EXPECT_EQ(textOrDefault(std::nullopt, fallback), fallback);
    EXPECT_EQ(textOrDefault(typography(), fallback), fallback);
    EXPECT_EQ(textOrDefault(typography("   "), fallback), fallback);
    EXPECT_EQ(textOrDefault(typography(""), fallback), fallback);
    EXPECT_EQ(textOrDefault(typography("Join us"), fallback), "Join us");
    EXPECT_EQ(textOrDefault(typography("\n"), fallback), "\n");
}

TEST(StylingWordsTest, PricesUseTheLocaleAndTwoDigitsOnlyForFractions) {
    const std::string before = platform::text::defaultLocale();
    platform::text::setDefaultLocale("en_US");
    EXPECT_EQ(priceString(10), "10");
    EXPECT_EQ(priceString(10.5), "10.5");
    EXPECT_EQ(priceString(1234.567), "1,234.57");
    EXPECT_EQ(priceString(0), "0");
    platform::text::setDefaultLocale("de_DE");
    EXPECT_EQ(priceString(1234.5), "1.234,5");
    EXPECT_EQ(priceString(99), "99");
    platform::text::setDefaultLocale(before);
}

// ---- Fonts and attributed text

TEST_F(StylingTest, AFamilyThatResolvesIgnoresTheWeight) {
    auto text = attributedText("Hello", "Roboto", "700", 22);
    ASSERT_EQ(text.runs().size(), 1u);
    const auto font = *text.runs()[0].attributes.font;
    EXPECT_EQ(font.name, "Roboto-Regular");
    EXPECT_FALSE(font.isSystem);
    EXPECT_EQ(font.size, 22);

    const auto fallback = styleFont("Lobster", "700", 14);
    EXPECT_EQ(fallback, ui::Font::system(14, FontWeight::bold));
    EXPECT_EQ(styleFont("", "", 17), ui::Font::system(17));

    auto underlined = textDecoration("Hello", "Merriweather-Bold", "", "underline", 15);
    ASSERT_TRUE(underlined);
    EXPECT_EQ(underlined->runs()[0].attributes.underlineStyle, ui::LineStyle::single);
    EXPECT_EQ(underlined->runs()[0].attributes.font->name, "Merriweather-Bold");
    auto struck = textDecoration("Rs 999", "", "", "line-through", 15);
    ASSERT_TRUE(struck);
    EXPECT_EQ(struck->runs()[0].attributes.strikethroughStyle, ui::LineStyle::single);
    EXPECT_EQ(struck->runs()[0].attributes.underlineStyle, std::nullopt);
    EXPECT_EQ(textDecoration("x", "", "", "overline", 15), std::nullopt);
}

// ---- Label procedure

TEST_F(StylingTest, ALabelKeepsItsNibLookWhereTheRecordSaysNothingUsable) {
    ui::Label label;
    label.setTextColor(Color::gray());
    label.setTextAlignment(TextAlignment::center);

    styleLabel(label, std::nullopt, "Don't miss out", 22);
    EXPECT_EQ(label.text(), "Don't miss out");
    EXPECT_EQ(label.textColor(), Color::gray());
    EXPECT_EQ(label.textAlignment(), TextAlignment::center);
    EXPECT_EQ(label.attributedText().runs()[0].attributes.font, ui::Font::system(22));

    typographyData record;
    record.color = "#FFF";  // not a colour of a style
    record.textAlign = "  ";
    record.textDecoration = "blink";
    record.fontWeight = "600";
    styleLabel(label, record, "Plain", 15);
    EXPECT_EQ(label.textColor(), Color::gray());
    EXPECT_EQ(label.textAlignment(), TextAlignment::center);
    const auto run = label.attributedText().runs()[0].attributes;
    EXPECT_EQ(run.font, ui::Font::system(15, FontWeight::semibold));
    EXPECT_EQ(run.underlineStyle, std::nullopt);
}

TEST_F(StylingTest, ALabelTakesEveryUsableValueOfItsRecord) {
    ui::Label label;
    typographyData record;
    record.text = "ignored by the procedure";
    record.textAlign = "right";
    record.textTransform = "uppercase";
    record.color = "#0908F5";
    record.fontFamily = "Roboto";
    record.textDecoration = "underline";
    styleLabel(label, record, "Best value", 14);
    EXPECT_EQ(label.text(), "BEST VALUE");
    EXPECT_EQ(label.textAlignment(), TextAlignment::right);
    EXPECT_EQ(label.textColor(), Color::rgb255(9, 8, 245));
    const auto run = label.attributedText().runs()[0].attributes;
    EXPECT_EQ(run.font->name, "Roboto-Regular");
    EXPECT_EQ(run.underlineStyle, ui::LineStyle::single);
}

TEST_F(StylingTest, TheFooterLabelStylesTheTextItHoldsAtFourteenPoints) {
    ui::Label label("Already a subscriber?");
    label.setTextAlignment(TextAlignment::left);
    typographyData record;
    record.text = "Not read";
    record.textAlign = "center";
    record.textTransform = "lowercase";
    styleFooterLabel(label, record);
    EXPECT_EQ(label.text(), "already a subscriber?");
    EXPECT_EQ(label.textAlignment(), TextAlignment::left);
    EXPECT_EQ(label.attributedText().runs()[0].attributes.font->size, 14);
}

// ---- Box and button procedures

struct BorderCase {
    const char* name;
    std::optional<int64_t> width;
    std::optional<int64_t> radius;
    double expectedWidth;
    double expectedRadius;
};

TEST_F(StylingTest, BoxWidthAndRadiusRules) {
    // A box 60 points wide.
    const BorderCase cases[] = {
        {"defaults", std::nullopt, std::nullopt, 2.0, 8.0},
        {"width below one", 0, std::nullopt, 2.0, 8.0},
        {"a width takes the rounding away", 3, std::nullopt, 3.0, 0.0},
        {"width capped at five", 9, std::nullopt, 5.0, 0.0},
        {"radius below one keeps the default", std::nullopt, 0, 2.0, 8.0},
        {"radius", 1, 12, 1.0, 12.0},
        {"radius at most half the width", std::nullopt, 100, 2.0, 30.0},
    };
    for (const auto& c : cases) {
        ui::View box(ui::Rect(0, 0, 60, 40));
        borderData record;
        record.borderWidthValue = c.width;
        record.radius = c.radius;
        styleBox(record, std::nullopt, box);
        EXPECT_EQ(box.layer().borderWidth, c.expectedWidth) << c.name;
        EXPECT_EQ(box.layer().cornerRadius, c.expectedRadius) << c.name;
        EXPECT_EQ(box.layer().borderColor, Color::rgb255(0x70, 0x70, 0x70)) << c.name;
    }

    ui::View box(ui::Rect(0, 0, 60, 40));
    box.setBackgroundColor(Color::white());
    styleBox(std::nullopt, std::nullopt, box);
    EXPECT_EQ(box.layer().borderWidth, 2.0);
    EXPECT_EQ(box.layer().cornerRadius, 8.0);
    EXPECT_EQ(box.backgroundColor(), Color::white());

    borderData coloured;
    coloured.backgroundColor = "#FFEEDD";
    coloured.borderColor = "red";  // not a colour: no border colour at all
    styleBox(coloured, std::nullopt, box);
    EXPECT_EQ(box.backgroundColor(), Color::rgb255(0xFF, 0xEE, 0xDD));
    EXPECT_EQ(box.layer().borderColor, std::nullopt);
    styleBox(coloured, kSelectionColor, box);
    EXPECT_EQ(box.layer().borderColor,
              Color::rgba(0.03529411764705882, 0.03137254901960784, 0.9607843137254902));
}

TEST_F(StylingTest, ButtonTitleBorderAndRadiusRules) {
    const BorderCase cases[] = {
        {"defaults", std::nullopt, std::nullopt, 0.0, 5.0},
        {"no cap on the width", 9, std::nullopt, 9.0, 5.0},
        {"radius below one as given", 0, 0, 0.0, 0.0},
        {"radius at most half the height", 2, 100, 2.0, 24.0},
    };
    for (const auto& c : cases) {
        ui::Button button;
        ui::View container(ui::Rect(0, 0, 300, 48));
        borderData record;
        record.borderWidthValue = c.width;
        record.radius = c.radius;
        styleButton(button, container, std::nullopt, record, "Subscribe");
        EXPECT_EQ(container.layer().borderWidth, c.expectedWidth) << c.name;
        EXPECT_EQ(container.layer().cornerRadius, c.expectedRadius) << c.name;
        EXPECT_EQ(container.layer().borderColor, Color::black()) << c.name;
    }

    ui::Button button;
    ui::View container(ui::Rect(0, 0, 300, 48));
    styleButton(button, container, std::nullopt, std::nullopt, "Subscribe");
    EXPECT_EQ(button.title(), "Subscribe");
    EXPECT_EQ(container.layer().borderWidth, 0.0);
    EXPECT_EQ(container.layer().cornerRadius, 5.0);

    typographyData typography;
    typography.textAlign = "RIGHT";
    typography.textTransform = "uppercase";
    typography.color = "#FFFFFF";
    typography.textDecoration = "line-through";
    borderData border;
    border.backgroundColor = "#0908F5";
    border.borderColor = "#123456";
    typography.text = "start now";
    styleButton(button, container, typography, border, "Subscribe");
    EXPECT_EQ(button.title(), "START NOW");
    EXPECT_EQ(button.contentHorizontalAlignment(), ContentHorizontalAlignment::right);
    EXPECT_EQ(button.titleColor(), Color::white());
    EXPECT_EQ(container.backgroundColor(), kSelectionColor);
    EXPECT_EQ(container.layer().borderColor, Color::rgb255(0x12, 0x34, 0x56));
    const auto title = *button.attributedTitle();
    EXPECT_EQ(title.string(), "START NOW");
    EXPECT_EQ(title.runs()[0].attributes.strikethroughStyle, ui::LineStyle::single);
    EXPECT_EQ(title.runs()[0].attributes.font->size, 17);
    EXPECT_TRUE(button.titleLabel()->adjustsFontForContentSizeCategory());

    typography.text = "";  // empty: the default title
    typography.textTransform.reset();
    styleButton(button, container, typography, border, "Subscribe");
    EXPECT_EQ(button.title(), "Subscribe");
}

// ---- In pixels

// The largest distance of one channel between two colours.
double channelDistance(const platform::Rgba& a, const platform::Rgba& b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
}

TEST_F(StylingTest, AStyledLabelInksInItsColourAndAStyledBoxShowsItsBorder) {
    // A white card holding a box styled from its record, and a label inside it styled from
    // its own: what a reader sees is the record's colours, not the nib's.
    ui::View root(ui::Rect(0, 0, 240, 120));
    root.setBackgroundColor(Color::white());
    auto card = std::make_shared<ui::View>(ui::Rect(20, 20, 200, 80));
    borderData border;
    border.backgroundColor = "#FFEEDD";
    border.borderColor = "#123456";
    border.borderWidthValue = 4;
    styleBox(border, std::nullopt, *card);
    auto label = std::make_shared<ui::Label>(ui::Rect(30, 40, 180, 40));
    label->setTextColor(Color::black());
    typographyData heading;
    heading.color = "#C0392B";
    heading.fontWeight = "bold";
    styleLabel(*label, heading, "MMMM", 30);
    card->addSubview(label);
    root.addSubview(card);

    const auto picture = ui::renderPicture(root, 2);
    ASSERT_TRUE(picture);
    const platform::Rgba borderInk{0x12 / 255.0, 0x34 / 255.0, 0x56 / 255.0, 1};
    const platform::Rgba fill{1, 0xEE / 255.0, 0xDD / 255.0, 1};
    const platform::Rgba headingInk{0xC0 / 255.0, 0x39 / 255.0, 0x2B / 255.0, 1};
    // The border lies inside the box's frame on all four sides, the record's fill within it.
    EXPECT_LT(channelDistance(picture->pixel(120, 21.5), borderInk), 0.03);
    EXPECT_LT(channelDistance(picture->pixel(21.5, 60), borderInk), 0.03);
    EXPECT_LT(channelDistance(picture->pixel(218.5, 60), borderInk), 0.03);
    EXPECT_LT(channelDistance(picture->pixel(120, 98.5), borderInk), 0.03);
    EXPECT_LT(channelDistance(picture->pixel(27, 30), fill), 0.03);
    EXPECT_LT(channelDistance(picture->pixel(10, 10), platform::Rgba{1, 1, 1, 1}), 0.03);
    // The heading's ink: the pixel of the label farthest from the fill is the record's colour
    // (the strokes of a bold 30-point face are wider than a pixel), never the nib's black.
    platform::Rgba darkest = fill;
    for (double y = 40; y < 80; y += 0.5) {
        for (double x = 30; x < 210; x += 0.5) {
            const auto p = picture->pixel(x, y);
            if (channelDistance(p, fill) > channelDistance(darkest, fill)) {
                darkest = p;
            }
        }
    }
    EXPECT_LT(channelDistance(darkest, headingInk), 0.06)
        << darkest.r << ", " << darkest.g << ", " << darkest.b;
}

}  // namespace
}  // namespace quillgate

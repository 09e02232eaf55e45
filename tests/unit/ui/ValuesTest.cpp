// Values of the tree and the texts elements show: colours, attributed text, label and
// button text rules.

#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/Color.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

TEST(ColorTest, HexParsingAcceptsTheThreeFormsOnly) {
    EXPECT_EQ(Color::fromHex("#FF8000"), Color::rgb255(255, 128, 0));
    EXPECT_EQ(Color::fromHex("#ff8000"), Color::rgb255(255, 128, 0));
    EXPECT_EQ(Color::fromHex("#F80"), Color::rgb255(255, 136, 0));
    EXPECT_EQ(Color::fromHex("#00000080"), Color::rgb255(0, 0, 0, 128 / 255.0));
    for (const char* bad : {"", "#", "FF8000", "#FF800", "#FF80000", "#GG8000", " #FF8000",
                            "#FF8000 ", "#+F8000", "#FF8000FF00"}) {
        EXPECT_EQ(Color::fromHex(bad), std::nullopt) << bad;
    }
    EXPECT_EQ(Color::rgb255(9, 8, 245).hex(), "#0908F5");
    EXPECT_EQ(Color::white(112 / 255.0, 0.7).hex(), "#707070B3");
}

TEST(AttributedStringTest, AttributesSplitAndMergeRuns) {
    TextAttributes base;
    base.font = Font::system(15);
    AttributedString s("Start your 7-days Free Trial", base);

    TextAttributes red;
    red.foregroundColor = Color::red();
    auto free = s.find("Free");
    ASSERT_TRUE(free);
    s.addAttributes(red, *free);
    ASSERT_EQ(s.runs().size(), 3u);
    EXPECT_EQ(s.runs()[1].range, (TextRange{18, 4}));
    EXPECT_EQ(s.runs()[1].attributes.font, Font::system(15));  // merged, not replaced
    EXPECT_EQ(s.runs()[1].attributes.foregroundColor, Color::red());
    EXPECT_EQ(s.attributesAt(0).foregroundColor, std::nullopt);

    // Setting the same attributes over everything joins the runs again; ranges past the
    // end are clipped.
    s.setAttributes(base, TextRange{0, 1000});
    EXPECT_EQ(s.runs().size(), 1u);
    EXPECT_EQ(s.runs()[0].range, s.fullRange());

    AttributedString price("0.0");
    TextAttributes struck;
    struck.strikethroughStyle = LineStyle::single;
    price.addAttributes(struck, price.fullRange());
    price.append(" % off");
    EXPECT_EQ(price.string(), "0.0 % off");
    EXPECT_EQ(price.runs().size(), 2u);
}

TEST(LabelTest, PlainAndAttributedTextAreOneValue) {
    Label label;
    label.setFont(Font::system(22, FontWeight::bold));
    label.setTextColor(Color::gray());
    label.setText("Heading");
    auto shown = label.attributedText();
    EXPECT_EQ(shown.string(), "Heading");
    EXPECT_EQ(shown.runs().at(0).attributes.font, Font::system(22, FontWeight::bold));
    EXPECT_FALSE(label.hasAttributedText());

    TextAttributes underline;
    underline.underlineStyle = LineStyle::single;
    label.setAttributedText(AttributedString("Styled", underline));
    EXPECT_EQ(label.text(), "Styled");
    // A colour set afterwards covers the whole attributed text.
    label.setTextColor(Color::red());
    EXPECT_EQ(label.attributedText().attributesAt(3).foregroundColor, Color::red());
    EXPECT_EQ(label.attributedText().attributesAt(3).underlineStyle, LineStyle::single);

    label.setText("Plain again");
    EXPECT_FALSE(label.hasAttributedText());
    label.setAttributedText(std::nullopt);
    EXPECT_EQ(label.text(), "");
}

TEST(ButtonTest, StateValuesFallBackToNormalAndAttributedTitlesWin) {
    testing::TestPlatform platform;
    Button button;
    button.setTitle("Buy a pass for nil0.0");
    button.setTitle("Selected", ControlState::selected);
    button.setTitleColor(Color::white());
    EXPECT_EQ(button.displayedTitle(), "Buy a pass for nil0.0");
    button.setSelected(true);
    EXPECT_EQ(button.displayedTitle(), "Selected");
    EXPECT_EQ(button.currentTitleColor(), Color::white());  // from the normal state
    button.setSelected(false);
    button.setEnabled(false);
    EXPECT_EQ(button.currentTitle(), "Buy a pass for nil0.0");

    button.setAttributedTitle(AttributedString("Subscribe"));
    EXPECT_EQ(button.displayedTitle(), "Subscribe");
    EXPECT_EQ(button.title(), "Buy a pass for nil0.0");

    Button system(ButtonType::system);
    EXPECT_EQ(system.currentTitleColor(), Color::systemBlue());
    system.setTintColor(Color::red());
    EXPECT_EQ(system.currentTitleColor(), Color::red());
}

TEST(FontTest, NamedFacesComeFromThePlatformsFontSystem) {
    testing::TestPlatform platform;
    platform.fonts().registered.push_back("Roboto-Bold");
    auto roboto = Font::named("Roboto-Bold", 17);
    ASSERT_TRUE(roboto);
    EXPECT_FALSE(roboto->isSystem);
    EXPECT_EQ(Font::named("roboto-bold", 17), std::nullopt);
    EXPECT_EQ(Font::named("", 17), std::nullopt);
    EXPECT_EQ(Font::system(14, FontWeight::semibold).name, ".SFUI-Semibold");
}

}  // namespace
}  // namespace quillgate::ui

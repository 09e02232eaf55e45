// What views hand the text layout service (one conversion for measuring and drawing), and
// the fixed-advance layout that unit tests measure with.

#include "quillgate/ui/TextBlocks.h"

#include "quillgate/ui/TextField.h"
#include "tests/support/FixedAdvanceTextLayout.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

using platform::LineBreak;
using platform::TextBlock;
using platform::TextFont;
using platform::TextRun;

TextBlock heading(std::string text, int maxLines = 0, LineBreak mode = LineBreak::byWordWrapping) {
    TextBlock b;
    b.runs.push_back(TextRun{0, text.size(), TextFont{"", 22}});
    b.text = std::move(text);
    b.maxLines = maxLines;
    b.lineBreak = mode;
    return b;
}

TEST(FixedAdvanceTextLayout, WrapsA22PointHeadingByWords) {
    testing::FixedAdvanceTextLayout layout;
    // 11 points a character, 26.4 a line.
    const std::string text = "Unlock every story";
    struct Case {
        double width;
        int lines;
        double widest;
    };
    for (const Case& c : {Case{0, 1, 198}, Case{198, 1, 198}, Case{197, 2, 132}, Case{130, 2, 121},
                          Case{120, 3, 66}, Case{40, 6, 33}}) {
        const auto m = layout.measure(heading(text), c.width);
        EXPECT_EQ(m.lineCount, c.lines) << c.width;
        EXPECT_DOUBLE_EQ(m.width, c.widest) << c.width;
        EXPECT_DOUBLE_EQ(m.height, 26.4 * c.lines) << c.width;
    }
    // Paragraphs, an empty line, a line limit, truncation filling the last line.
    EXPECT_EQ(layout.measure(heading("One\n\nTwo"), 0).lineCount, 3);
    EXPECT_EQ(layout.measure(heading("One\n"), 0).lineCount, 2);
    EXPECT_EQ(layout.measure(heading(text, 2), 120).lineCount, 2);
    EXPECT_DOUBLE_EQ(layout.measure(heading(text, 2, LineBreak::byTruncatingTail), 120).width, 120);
    EXPECT_EQ(layout.measure(heading(""), 100).height, 0);

    // Mixed sizes: each character its own advance, the line as high as its largest size.
    TextBlock mixed = heading("ab cd");
    mixed.runs = {TextRun{0, 3, TextFont{"", 10}}, TextRun{3, 2, TextFont{"", 20}}};
    const auto m = layout.measure(mixed, 0);
    EXPECT_DOUBLE_EQ(m.width, 3 * 5 + 2 * 10);
    EXPECT_DOUBLE_EQ(m.height, 24);
}

class TextBlocksTest : public UiTest {};

TEST_F(TextBlocksTest, ALabelFillsWhatItsRunsLeaveOpen) {
    platform.fonts().registered.push_back("Roboto-Bold");
    Label label;
    label.setFont(Font::system(15, FontWeight::semibold));
    label.setTextColor(Color::gray());
    label.setTextAlignment(TextAlignment::center);
    label.setNumberOfLines(0);
    label.setLineBreakMode(LineBreakMode::byWordWrapping);
    AttributedString text("Read on. Subscribe");
    TextAttributes bold;
    bold.font = Font::named("Roboto-Bold", 18);
    bold.underlineStyle = LineStyle::single;
    text.addAttributes(bold, TextRange{9, 9});
    label.setAttributedText(text);

    const TextBlock block = textBlock(label);
    EXPECT_EQ(block.text, "Read on. Subscribe");
    EXPECT_EQ(block.alignment, platform::TextAlign::center);
    EXPECT_EQ(block.lineBreak, LineBreak::byWordWrapping);
    EXPECT_EQ(block.maxLines, 0);
    ASSERT_EQ(block.runs.size(), 2u);
    EXPECT_EQ(block.runs[0].font,
              (TextFont{"", 15, platform::FontWeight::semibold}));  // the system face
    EXPECT_EQ(block.runs[0].color, (platform::Rgba{0.5, 0.5, 0.5, 1}));
    EXPECT_EQ(block.runs[1].location, 9u);
    EXPECT_EQ(block.runs[1].font, (TextFont{"Roboto-Bold", 18, platform::FontWeight::regular}));
    EXPECT_EQ(block.runs[1].underline, platform::TextLineStyle::single);

    // A plain label: one run, one line cut at the tail by default.
    const TextBlock plain = textBlock(Label("Hello"));
    EXPECT_EQ(plain.runs.size(), 1u);
    EXPECT_EQ(plain.maxLines, 1);
    EXPECT_EQ(plain.lineBreak, LineBreak::byTruncatingTail);
    EXPECT_EQ(plain.runs[0].font, (TextFont{"", 17}));
}

TEST_F(TextBlocksTest, AButtonShowsItsCurrentTitleAndAFieldItsTextOrPlaceholder) {
    Button button(ButtonType::system);
    button.setTitle("Subscribe");
    button.setTitle("Subscribed", ControlState::selected);
    button.setTitleColor(Color::white());
    EXPECT_EQ(textBlock(button).text, "Subscribe");
    button.setSelected(true);
    const TextBlock title = textBlock(button);
    EXPECT_EQ(title.text, "Subscribed");
    EXPECT_EQ(title.alignment, platform::TextAlign::center);
    EXPECT_EQ(title.lineBreak, LineBreak::byTruncatingMiddle);
    EXPECT_EQ(title.runs[0].font.size, 15);
    EXPECT_EQ(title.runs[0].color, (platform::Rgba{1, 1, 1, 1}));

    TextField field;
    field.setPlaceholder("Email");
    EXPECT_EQ(textBlock(field).text, "Email");
    EXPECT_EQ(textBlock(field).runs[0].color.a, Color::placeholderText().a);
    field.setText("p\xc3\xa4ss");
    field.setSecureTextEntry(true);
    EXPECT_EQ(textBlock(field).text, "\u2022\u2022\u2022\u2022");
    EXPECT_EQ(textBlock(field).maxLines, 1);
}

}  // namespace
}  // namespace quillgate::ui

#pragma once

#include <optional>
#include <string>

#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/View.h"

// A text label. Plain text and attributed text are two views of one value, never out of
// step: setting the text drops the attributes; setting attributed text sets the
// text to its characters; setting the font or colour while attributed text is shown applies
// it to the whole of it. Labels don't take touches unless told to. Main thread only.
namespace quillgate::ui {

class Label : public View {
  public:
    Label();
    explicit Label(Rect frame);
    explicit Label(std::string text);

    std::string className() const override { return "Label"; }

    const std::string& text() const { return text_; }
    void setText(std::string text);
    // The shown text with its attributes; plain text comes back as one run of the label's
    // font and colour.
    AttributedString attributedText() const;
    bool hasAttributedText() const { return attributed_.has_value(); }
    // Nothing clears the text.
    void setAttributedText(std::optional<AttributedString> text);

    const Font& font() const { return font_; }
    void setFont(Font font);
    const Color& textColor() const { return textColor_; }
    void setTextColor(Color color);
    TextAlignment textAlignment() const { return alignment_; }
    void setTextAlignment(TextAlignment alignment) { alignment_ = alignment; }
    // 0: as many lines as the text needs.
    int numberOfLines() const { return numberOfLines_; }
    void setNumberOfLines(int lines);
    // Text wraps by words onto as many lines as it may have; the last line that fits is cut
    // at its tail with an ellipsis (the default) or as the mode says.
    LineBreakMode lineBreakMode() const { return lineBreakMode_; }
    void setLineBreakMode(LineBreakMode mode);
    bool adjustsFontSizeToFitWidth() const { return adjustsFontSizeToFitWidth_; }
    void setAdjustsFontSizeToFitWidth(bool on) { adjustsFontSizeToFitWidth_ = on; }
    bool adjustsFontForContentSizeCategory() const { return adjustsForContentSize_; }
    void setAdjustsFontForContentSizeCategory(bool on) { adjustsForContentSize_ = on; }

    // The text's size at most `fitting.width` wide (0: one line per paragraph), wrapped and
    // limited as the label shows it, rounded up to whole points; zero for no text.
    Size sizeThatFits(Size fitting) const override;

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    std::string text_;
    std::optional<AttributedString> attributed_;
    Font font_ = Font::system(17);
    Color textColor_ = Color::label();
    TextAlignment alignment_ = TextAlignment::natural;
    int numberOfLines_ = 1;
    LineBreakMode lineBreakMode_ = LineBreakMode::byTruncatingTail;
    bool adjustsFontSizeToFitWidth_ = false;
    bool adjustsForContentSize_ = false;
};

// A text in double quotes with quotes, backslashes and line breaks escaped (tree texts).
std::string quotedText(std::string_view text);

}  // namespace quillgate::ui

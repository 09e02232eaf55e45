#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/ui/Color.h"
#include "quillgate/ui/Font.h"

// Styled text: a UTF-8 string with runs of attributes (font, colours, underline,
// strike-through, link). Ranges count bytes of the UTF-8 text. Plain value; any thread.
// Out-of-range ranges are clipped to the text, never a fault.
namespace quillgate::ui {

// Horizontal alignment of text; the numbering is fixed, as styles store these values.
enum class TextAlignment { left = 0, center = 1, right = 2, justified = 3, natural = 4 };

// What a label does with text that does not fit (numbered as nibs and stored styles number it):
// wrap by words or characters, clip, or cut the last line with an ellipsis.
enum class LineBreakMode {
    byWordWrapping = 0,
    byCharWrapping = 1,
    byClipping = 2,
    byTruncatingHead = 3,
    byTruncatingTail = 4,
    byTruncatingMiddle = 5
};

// Values of the underline and strike-through attributes.
enum class LineStyle { none = 0, single = 1, thick = 2, double_ = 9 };

struct TextRange {
    std::size_t location = 0;
    std::size_t length = 0;
    std::size_t end() const { return location + length; }
    friend bool operator==(const TextRange&, const TextRange&) = default;
};

// The attributes of one run. An absent member is "not set" and lets the holder's own value
// show (a label's font and text colour fill what a run leaves open).
struct TextAttributes {
    std::optional<Font> font;
    std::optional<Color> foregroundColor;
    std::optional<Color> backgroundColor;
    std::optional<LineStyle> underlineStyle;
    std::optional<Color> underlineColor;
    std::optional<LineStyle> strikethroughStyle;
    std::optional<Color> strikethroughColor;
    std::optional<std::string> link;

    // Members set in `other` replace these; the others stay.
    void merge(const TextAttributes& other);
    bool isEmpty() const { return *this == TextAttributes{}; }

    friend bool operator==(const TextAttributes&, const TextAttributes&) = default;
};

class AttributedString {
  public:
    struct Run {
        TextRange range;
        TextAttributes attributes;
        friend bool operator==(const Run&, const Run&) = default;
    };

    AttributedString() = default;
    explicit AttributedString(std::string text, TextAttributes attributes = {});

    const std::string& string() const { return text_; }
    std::size_t length() const { return text_.size(); }
    bool empty() const { return text_.empty(); }

    // Runs in order, covering the whole text; neighbours with equal attributes are one run.
    const std::vector<Run>& runs() const { return runs_; }
    // The attributes at a byte position (empty past the end).
    TextAttributes attributesAt(std::size_t index) const;

    void append(const AttributedString& other);
    void append(std::string_view text, const TextAttributes& attributes = {});
    // Merges `attributes` into every run inside `range`.
    void addAttributes(const TextAttributes& attributes, TextRange range);
    // Replaces the attributes inside `range`.
    void setAttributes(const TextAttributes& attributes, TextRange range);
    // The whole text.
    TextRange fullRange() const { return TextRange{0, text_.size()}; }
    // Where `needle` first occurs, if it does.
    std::optional<TextRange> find(std::string_view needle) const;

    friend bool operator==(const AttributedString&, const AttributedString&) = default;

  private:
    // Splits runs so that `pos` is a run boundary.
    void splitAt(std::size_t pos);
    void coalesce();
    TextRange clip(TextRange r) const;

    std::string text_;
    std::vector<Run> runs_;
};

}  // namespace quillgate::ui

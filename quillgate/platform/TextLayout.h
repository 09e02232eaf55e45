#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/platform/FontSystem.h"

// Measuring (and, through a canvas, drawing) styled text: the one service the view toolkit
// asks of the machine's text stack. The toolkit turns a label's attributed text into a
// TextBlock of plain values, so that this layer knows no views. Sizes are points: one point
// is one unit of the view tree, whatever the drawing scale.
//
// The Linux implementation (platform/linux/PangoTextLayout) sets text with Pango over the
// same fontconfig configuration as the FontSystem, so that a face registered at run time
// measures and draws with its own metrics. It keeps one font map for the thread that lays
// text out: main thread only.
namespace quillgate::platform {

// sRGB channels from 0 to 1.
struct QUILLGATE_EXPORT Rgba {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;
    friend bool operator==(const Rgba&, const Rgba&) = default;
};

// A face at a size. `postScriptName` names an exact face when it is not empty; otherwise (or
// when no face has that name) the system face of `weight` sets the text.
struct QUILLGATE_EXPORT TextFont {
    std::string postScriptName;
    double size = 17;
    FontWeight weight = FontWeight::regular;
    friend bool operator==(const TextFont&, const TextFont&) = default;
};

// Values as the view toolkit numbers them: none 0, single 1, thick 2, double 9.
enum class TextLineStyle { none = 0, single = 1, thick = 2, double_ = 9 };

// One stretch of the text with its attributes. Ranges are UTF-8 byte offsets into the
// block's text; runs are in order and cover the whole text.
struct QUILLGATE_EXPORT TextRun {
    std::size_t location = 0;
    std::size_t length = 0;
    TextFont font{};
    Rgba color{};
    std::optional<Rgba> backgroundColor{};
    TextLineStyle underline = TextLineStyle::none;
    std::optional<Rgba> underlineColor{};  // absent: the run's colour
    TextLineStyle strikethrough = TextLineStyle::none;
    std::optional<Rgba> strikethroughColor{};  // absent: the run's colour
    friend bool operator==(const TextRun&, const TextRun&) = default;
};

// Horizontal alignment; `natural` is left for left-to-right text.
enum class TextAlign { left, center, right, justified, natural };

// What happens to text that does not fit: wrapping by words (or characters) onto more lines,
// or one line cut with an ellipsis at the head, the middle or the tail, or clipped.
enum class LineBreak {
    byWordWrapping,
    byCharWrapping,
    byClipping,
    byTruncatingHead,
    byTruncatingTail,
    byTruncatingMiddle
};

struct QUILLGATE_EXPORT TextBlock {
    std::string text;
    std::vector<TextRun> runs;
    TextAlign alignment = TextAlign::natural;
    LineBreak lineBreak = LineBreak::byWordWrapping;
    int maxLines = 0;  // 0: as many lines as the text needs
    friend bool operator==(const TextBlock&, const TextBlock&) = default;
};

struct QUILLGATE_EXPORT TextMetrics {
    double width = 0;   // the widest line's ink advance, fractional
    double height = 0;  // all laid-out lines, fractional
    int lineCount = 0;
};

class QUILLGATE_EXPORT TextLayout {
  public:
    virtual ~TextLayout() = default;
    // The size `block` takes when laid out at most `width` wide (a width of 0 or less: no
    // limit, one line per paragraph). An empty text measures zero wide and zero high.
    virtual TextMetrics measure(const TextBlock& block, double width) = 0;
    // Faces were registered with the font system since the last measurement: later layouts
    // must see them.
    virtual void fontsChanged() {}
};

}  // namespace quillgate::platform

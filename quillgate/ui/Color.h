#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillgate/Export.h"

// A colour as the view tree keeps it: red, green, blue and alpha as doubles from 0 to 1 in
// the sRGB space. Plain value; any thread. Equality is exact, so that a test can check that
// an element took the colour a configuration asked for.
namespace quillgate::ui {

struct QUILLGATE_EXPORT Color {
    double r = 0;  // red
    double g = 0;  // green
    double b = 0;  // blue
    double a = 1;  // alpha

    static constexpr Color rgba(double red, double green, double blue, double alpha = 1) {
        return Color{red, green, blue, alpha};
    }
    // Channels given as 0-255 (`alpha` stays 0-1).
    static constexpr Color rgb255(int red, int green, int blue, double alpha = 1) {
        return Color{red / 255.0, green / 255.0, blue / 255.0, alpha};
    }
    static constexpr Color white(double w, double alpha = 1) { return Color{w, w, w, alpha}; }

    // The named colours that screens and styles refer to by name.
    static constexpr Color clear() { return Color{0, 0, 0, 0}; }
    static constexpr Color black() { return Color{0, 0, 0, 1}; }
    static constexpr Color white() { return Color{1, 1, 1, 1}; }
    static constexpr Color red() { return Color{1, 0, 0, 1}; }
    static constexpr Color green() { return Color{0, 1, 0, 1}; }
    static constexpr Color blue() { return Color{0, 0, 1, 1}; }
    static constexpr Color yellow() { return Color{1, 1, 0, 1}; }
    static constexpr Color orange() { return Color{1, 0.5, 0, 1}; }
    static constexpr Color gray() { return Color{0.5, 0.5, 0.5, 1}; }
    static constexpr Color lightGray() { return Color{2.0 / 3.0, 2.0 / 3.0, 2.0 / 3.0, 1}; }
    static constexpr Color darkGray() { return Color{1.0 / 3.0, 1.0 / 3.0, 1.0 / 3.0, 1}; }
    static constexpr Color systemBlue() { return Color{0, 122 / 255.0, 1, 1}; }
    static constexpr Color systemRed() { return Color{1, 59 / 255.0, 48 / 255.0, 1}; }
    static constexpr Color systemGreen() { return Color{52 / 255.0, 199 / 255.0, 89 / 255.0, 1}; }
    static constexpr Color systemGray() { return Color{142 / 255.0, 142 / 255.0, 147 / 255.0, 1}; }
    // Default colour of a label's text and of placeholder text.
    static constexpr Color label() { return black(); }
    static constexpr Color placeholderText() {
        return Color{60 / 255.0, 60 / 255.0, 67 / 255.0, 0.3};
    }

    // Parses "#RRGGBB", "#RRGGBBAA" or "#RGB" (hex digits in either case). Anything else,
    // including surrounding blanks, gives nothing. Callers with a narrower rule check the form
    // first.
    static std::optional<Color> fromHex(std::string_view text);

    Color withAlpha(double alpha) const { return Color{r, g, b, alpha}; }

    // "#RRGGBB" when opaque, else "#RRGGBBAA", each channel rounded to 0-255.
    std::string hex() const;

    friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace quillgate::ui

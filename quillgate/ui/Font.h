#pragma once

#include <optional>
#include <string>

#include "quillgate/Export.h"

// A font as the view tree keeps it: a face name, a point size and a weight. Plain value.
// `named` asks the installed platform's font system whether a face exists, so it runs on the
// main thread; the rest is pure.
namespace quillgate::ui {

// Weights of the system font, with the numeric values that styles are written against.
enum class FontWeight {
    ultraLight,
    thin,
    light,
    regular,
    medium,
    semibold,
    bold,
    heavy,
    black,
};

// The platform's number for a weight (-0.8 for ultra light ... 0.62 for black).
QUILLGATE_EXPORT double fontWeightValue(FontWeight weight);
// "UltraLight", "Thin", ..., "Black".
QUILLGATE_EXPORT const char* fontWeightName(FontWeight weight);

struct QUILLGATE_EXPORT Font {
    std::string name;  // PostScript name of the face; ".SFUI-<Weight>" for the system font
    double size = 17;
    FontWeight weight = FontWeight::regular;
    bool isSystem = true;

    // The system font at a size and weight (17 points regular is the default of labels).
    static Font system(double size, FontWeight weight = FontWeight::regular);
    static Font boldSystem(double size) { return system(size, FontWeight::bold); }
    // The face the installed platform's font system knows by this name at a size: the face
    // with exactly this PostScript name, else the regular face of the family called exactly
    // this (the font's name is then the face's PostScript name); nothing otherwise (an empty
    // name is never a face).
    static std::optional<Font> named(const std::string& name, double size);

    Font withSize(double newSize) const {
        Font f = *this;
        f.size = newSize;
        return f;
    }

    friend bool operator==(const Font&, const Font&) = default;
};

}  // namespace quillgate::ui

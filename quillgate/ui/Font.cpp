#include "quillgate/ui/Font.h"

#include "quillgate/platform/Platform.h"

namespace quillgate::ui {

double fontWeightValue(FontWeight weight) {
    switch (weight) {
        case FontWeight::ultraLight:
            return -0.8;
        case FontWeight::thin:
            return -0.6;
        case FontWeight::light:
            return -0.4;
        case FontWeight::regular:
            return 0.0;
        case FontWeight::medium:
            return 0.23;
        case FontWeight::semibold:
            return 0.3;
        case FontWeight::bold:
            return 0.4;
        case FontWeight::heavy:
            return 0.56;
        case FontWeight::black:
            return 0.62;
    }
    return 0.0;
}

const char* fontWeightName(FontWeight weight) {
    switch (weight) {
        case FontWeight::ultraLight:
            return "UltraLight";
        case FontWeight::thin:
            return "Thin";
        case FontWeight::light:
            return "Light";
        case FontWeight::regular:
            return "Regular";
        case FontWeight::medium:
            return "Medium";
        case FontWeight::semibold:
            return "Semibold";
        case FontWeight::bold:
            return "Bold";
        case FontWeight::heavy:
            return "Heavy";
        case FontWeight::black:
            return "Black";
    }
    return "Regular";
}

Font Font::system(double size, FontWeight weight) {
    return Font{std::string(".SFUI-") + fontWeightName(weight), size, weight, true};
}

std::optional<Font> Font::named(const std::string& name, double size) {
    if (name.empty()) {
        return std::nullopt;
    }
    auto& fonts = platform::current().fonts;
    if (!fonts) {
        return std::nullopt;
    }
    // A face's PostScript name, or a family's name for its regular face: a downloaded family
    // ("Roboto") sets its text in the face the download registered ("Roboto-Regular").
    const auto face = fonts->face(name);
    if (!face || face->postScriptName.empty()) {
        return std::nullopt;
    }
    return Font{face->postScriptName, size, static_cast<FontWeight>(face->weight), false};
}

}  // namespace quillgate::ui

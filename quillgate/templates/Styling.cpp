#include "quillgate/templates/Styling.h"

#include <algorithm>
#include <cmath>

#include "quillgate/platform/Text.h"
#include "quillgate/service/Description.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"

namespace quillgate {

namespace {

// The button's title size, before the reader's text size scales it.
constexpr double kButtonTitleSize = 17.0;
// The footer rows' text size.
constexpr double kFooterTextSize = 14.0;

// Box defaults: a thin grey rounded border.
constexpr double kBoxBorderWidth = 2.0;
constexpr double kBoxRadius = 8.0;
constexpr double kBoxWidthCap = 5.0;
constexpr const char* kBoxBorderColor = "#707070";

// Button defaults: no border, gently rounded.
constexpr double kButtonRadius = 5.0;
constexpr const char* kButtonBorderColor = "#000000";

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::string valueOr(const std::optional<std::string>& value) {
    return value.value_or(std::string());
}

// The record's family and weight words, both empty without a record.
struct FontWords {
    std::string family;
    std::string weight;
};

FontWords fontWords(const std::optional<typographyData>& record) {
    if (!record) {
        return {};
    }
    return {valueOr(record->fontFamily), valueOr(record->fontWeight)};
}

// A border colour text as the box and the button read it: present and not empty, else the
// element's default. A text that isn't a colour gives no colour.
std::optional<ui::Color> borderColorOf(const std::optional<std::string>& configured,
                                       const char* fallback) {
    if (configured && !configured->empty()) {
        return colorFromHex(*configured);
    }
    return colorFromHex(fallback);
}

}  // namespace

// ---- Words and values --------------------------------------------------------------------------

bool isNotBlank(std::string_view text) {
    return !platform::text::isBlankIgnoringNewlines(text);
}

bool isNotBlank(const std::optional<std::string>& text) {
    return text && isNotBlank(std::string_view(*text));
}

std::optional<ui::Color> colorFromHex(std::string_view text) {
    // The toolkit's parser reads more forms (three digits, alpha): only this one is a colour
    // of a paywall style.
    if (text.size() != 7 || text.front() != '#' ||
        !std::all_of(text.begin() + 1, text.end(), isHexDigit)) {
        return std::nullopt;
    }
    return ui::Color::fromHex(text);
}

std::string transformText(std::string_view word, std::string_view text) {
    if (word == "lowercase") {
        return platform::text::lowercased(text);
    }
    if (word == "uppercase") {
        return platform::text::uppercased(text);
    }
    if (word == "capitalize") {
        return platform::text::capitalized(text);
    }
    return std::string(text);
}

ui::FontWeight fontWeight(std::string_view word) {
    struct Entry {
        std::string_view word;
        ui::FontWeight weight;
    };
    static constexpr Entry kWeights[] = {
        {"100", ui::FontWeight::ultraLight}, {"200", ui::FontWeight::thin},
        {"300", ui::FontWeight::light},      {"400", ui::FontWeight::regular},
        {"500", ui::FontWeight::medium},     {"600", ui::FontWeight::semibold},
        {"700", ui::FontWeight::bold},       {"800", ui::FontWeight::heavy},
        {"900", ui::FontWeight::black},
    };
    for (const auto& entry : kWeights) {
        if (entry.word == word) {
            return entry.weight;
        }
    }
    return ui::FontWeight::regular;
}

ui::TextAlignment labelAlignment(std::string_view word) {
    if (word == "center") {
        return ui::TextAlignment::center;
    }
    if (word == "right") {
        return ui::TextAlignment::right;
    }
    return ui::TextAlignment::left;
}

ui::ContentHorizontalAlignment buttonAlignment(std::string_view word) {
    const std::string lower = platform::text::lowercased(word);
    if (lower == "center") {
        return ui::ContentHorizontalAlignment::center;
    }
    if (lower == "right") {
        return ui::ContentHorizontalAlignment::right;
    }
    return ui::ContentHorizontalAlignment::left;
}

ui::Font styleFont(std::string_view family, std::string_view weightWord, double size) {
    if (auto named = ui::Font::named(std::string(family), size)) {
        return *named;
    }
    return ui::Font::system(size, fontWeight(weightWord));
}

ui::AttributedString attributedText(std::string_view text, std::string_view fontFamily,
                                    std::string_view fontWeight, double size) {
    ui::TextAttributes attributes;
    attributes.font = styleFont(fontFamily, fontWeight, size);
    return ui::AttributedString(std::string(text), attributes);
}

std::optional<ui::AttributedString> textDecoration(std::string_view text,
                                                   std::string_view fontFamily,
                                                   std::string_view fontWeight,
                                                   std::string_view word, double size) {
    ui::TextAttributes attributes;
    if (word == "underline") {
        attributes.underlineStyle = ui::LineStyle::single;
    } else if (word == "line-through") {
        attributes.strikethroughStyle = ui::LineStyle::single;
    } else {
        return std::nullopt;
    }
    attributes.font = styleFont(fontFamily, fontWeight, size);
    return ui::AttributedString(std::string(text), attributes);
}

std::string priceString(double value) {
    const int maxFraction = std::fmod(value, 1.0) == 0.0 ? 0 : 2;
    std::string text = platform::text::formatDecimal(value, 0, maxFraction);
    if (text.empty()) {
        return description::number(value);
    }
    return text;
}

std::string textOrDefault(const std::optional<typographyData>& record,
                          const std::string& defaultText) {
    std::string text = record && isNotBlank(record->text) ? *record->text : defaultText;
    return text.empty() ? defaultText : text;
}

// ---- Element procedures ------------------------------------------------------------------------

namespace {

// The label procedure with the parts the footer leaves out made optional.
void styleLabelText(ui::Label& label, const std::optional<typographyData>& record, std::string text,
                    double size, bool readAlignment) {
    if (readAlignment && record && isNotBlank(record->textAlign)) {
        label.setTextAlignment(labelAlignment(*record->textAlign));
    }
    if (record && isNotBlank(record->textTransform)) {
        text = transformText(*record->textTransform, text);
    }
    if (record && isNotBlank(record->color)) {
        if (auto color = colorFromHex(*record->color)) {
            label.setTextColor(*color);
        }
    }
    const FontWords words = fontWords(record);
    label.setAttributedText(attributedText(text, words.family, words.weight, size));
    if (record && isNotBlank(record->textDecoration)) {
        if (auto decorated =
                textDecoration(text, words.family, words.weight, *record->textDecoration, size)) {
            label.setAttributedText(std::move(*decorated));
        }
    }
}

}  // namespace

void styleLabel(ui::Label& label, const std::optional<typographyData>& record,
                const std::string& text, double size) {
    styleLabelText(label, record, text, size, true);
}

void styleFooterLabel(ui::Label& label, const std::optional<typographyData>& record) {
    styleLabelText(label, record, label.text(), kFooterTextSize, false);
}

void styleButton(ui::Button& button, ui::View& container,
                 const std::optional<typographyData>& typography,
                 const std::optional<borderData>& border, const std::string& defaultTitle) {
    std::string title = typography && typography->text && !typography->text->empty()
                            ? *typography->text
                            : defaultTitle;
    if (border && isNotBlank(border->backgroundColor)) {
        if (auto background = colorFromHex(*border->backgroundColor)) {
            container.setBackgroundColor(*background);
        }
    }
    if (typography && isNotBlank(typography->textAlign)) {
        button.setContentHorizontalAlignment(buttonAlignment(*typography->textAlign));
    }
    if (typography && isNotBlank(typography->textTransform)) {
        title = transformText(*typography->textTransform, title);
    }
    button.setTitle(title, ui::ControlState::normal);
    if (typography && isNotBlank(typography->color)) {
        if (auto color = colorFromHex(*typography->color)) {
            button.setTitleColor(*color, ui::ControlState::normal);
        }
    }
    const FontWords words = fontWords(typography);
    button.setAttributedTitle(attributedText(title, words.family, words.weight, kButtonTitleSize),
                              ui::ControlState::normal);
    // The title follows the reader's text size. The toolkit has one text size, the standard
    // one, at which the body style's scaling leaves a face as it is.
    button.titleLabel()->setFont(styleFont(words.family, words.weight, kButtonTitleSize));
    button.titleLabel()->setAdjustsFontForContentSizeCategory(true);
    if (typography && isNotBlank(typography->textDecoration)) {
        if (auto decorated = textDecoration(title, words.family, words.weight,
                                            *typography->textDecoration, kButtonTitleSize)) {
            button.setAttributedTitle(std::move(*decorated), ui::ControlState::normal);
        }
    }

    auto& layer = container.layer();
    layer.borderColor =
        borderColorOf(border ? border->borderColor : std::nullopt, kButtonBorderColor);
    double width = 0;
    double radius = kButtonRadius;
    if (border) {
        width = static_cast<double>(border->borderWidthValue.value_or(0));
        if (border->radius) {
            const auto configured = static_cast<double>(*border->radius);
            radius =
                configured < 1 ? configured : std::min(configured, container.frame().height() / 2);
        }
    }
    layer.borderWidth = width;
    layer.cornerRadius = radius;
}

void styleBox(const std::optional<borderData>& record, std::optional<ui::Color> overrideColor,
              ui::View& view) {
    if (record && isNotBlank(record->backgroundColor)) {
        if (auto background = colorFromHex(*record->backgroundColor)) {
            view.setBackgroundColor(*background);
        }
    }
    std::optional<ui::Color> borderColor =
        borderColorOf(record ? record->borderColor : std::nullopt, kBoxBorderColor);
    if (overrideColor) {
        borderColor = overrideColor;
    }

    double width = kBoxBorderWidth;
    double radius = kBoxRadius;
    if (record) {
        // A configured width takes the default rounding away: a box with a width and no
        // radius has square corners.
        if (record->borderWidthValue && *record->borderWidthValue >= 1) {
            width = std::min(static_cast<double>(*record->borderWidthValue), kBoxWidthCap);
            radius = 0.0;
        }
        if (record->radius && *record->radius >= 1) {
            radius = std::min(static_cast<double>(*record->radius), view.frame().width() / 2);
        }
    }

    auto& layer = view.layer();
    layer.cornerRadius = radius;
    layer.borderWidth = width;
    layer.borderColor = borderColor;
}

}  // namespace quillgate

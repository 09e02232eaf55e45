#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/Control.h"
#include "quillgate/ui/Font.h"

namespace quillgate::ui {
class Button;
class Label;
class View;
}  // namespace quillgate::ui

// The styling engine: how a publisher's style records (`typographyData` for a text element,
// `borderData` for a box) become the look of one element of a paywall. Every template and the
// meter banner style their rows through these procedures; a template only chooses which
// record styles which element, at which size, with which default text.
//
// Nothing here fails: an unknown word is ignored as the tables below say, a colour that
// doesn't parse changes nothing, and a font family that no face answers to falls back to the
// system font of the record's weight at the same size. Nothing is cached either: each call
// builds its font and formatter anew, since styling runs once per configured row.
//
// The font look-up asks the installed platform's font system, so these run on the main
// thread; the word tables and colour parsing are pure.
namespace quillgate {

// ---- Words and values ------------------------------------------------------------------------

// A style value counts only when something other than white space remains after trimming
// spaces and tabs from both ends. Newlines are not trimmed: a text of line breaks counts.
bool isNotBlank(std::string_view text);
// A present value that isn't blank.
bool isNotBlank(const std::optional<std::string>& text);

// "#" and exactly six hexadecimal digits, as opaque red, green and blue. Any other form (three
// digits, eight digits with alpha, no "#", blanks around it) is no colour.
std::optional<ui::Color> colorFromHex(std::string_view text);

// The text after a `textTransform` word: "lowercase", "uppercase", "capitalize" (each word);
// any other word leaves it unchanged. Words match exactly.
std::string transformText(std::string_view word, std::string_view text);

// A `fontWeight` word ("100" ... "900", the service's own numbering) as a weight of the
// system font; anything else, the empty text included, is regular.
ui::FontWeight fontWeight(std::string_view word);

// A `textAlign` word for a label: "left", "center", "right", exactly; anything else is left.
ui::TextAlignment labelAlignment(std::string_view word);
// A `textAlign` word for a button, compared in lower case (the one place where case doesn't
// matter): "left", "center", "right"; anything else is left.
ui::ContentHorizontalAlignment buttonAlignment(std::string_view word);

// The font a style asks for: the face the font system knows by `fontFamily` at `size`, else
// the system font of `fontWeight(weightWord)`. A family that resolves ignores the weight, as
// the family is expected to name the face.
ui::Font styleFont(std::string_view family, std::string_view weightWord, double size);

// `text` set in styleFont(family, weight, size) over its whole length.
ui::AttributedString attributedText(std::string_view text, std::string_view fontFamily,
                                    std::string_view fontWeight, double size);

// `text` set in the style's font with the decoration of `word`: "underline" or
// "line-through" (a single line); any other word gives nothing, and the caller keeps the
// plain attributed text.
std::optional<ui::AttributedString> textDecoration(std::string_view text,
                                                   std::string_view fontFamily,
                                                   std::string_view fontWeight,
                                                   std::string_view word, double size);

// A price as the reader's locale writes a decimal number: no fraction digits for a whole
// number, up to two otherwise ("1,234" or "12.5" in English).
std::string priceString(double value);

// The text shown by an element with a default: the record's `text` when present and not
// blank, else the default; an empty result becomes the default once more.
std::string textOrDefault(const std::optional<typographyData>& record,
                          const std::string& defaultText);

// ---- Element procedures ----------------------------------------------------------------------

// Styles `label` to show `text` (already chosen by the caller) at `size`: alignment, case
// transform, colour, font and decoration from `record`, each only when the record has a
// usable value; otherwise the label keeps what its nib gave it.
void styleLabel(ui::Label& label, const std::optional<typographyData>& record,
                const std::string& text, double size);

// The footer's small text rows: as styleLabel at size 14 on the text the label already holds;
// the record's `text` and `textAlign` are not read.
void styleFooterLabel(ui::Label& label, const std::optional<typographyData>& record);

// The main button of a template's footer: `button` inside `container`. The title is the
// record's text or `defaultTitle`; the container takes the background and border of
// `border`, with the button's own width and radius rules (no cap on the width; a radius of
// at most half the container's height).
void styleButton(ui::Button& button, ui::View& container,
                 const std::optional<typographyData>& typography,
                 const std::optional<borderData>& border, const std::string& defaultTitle);

// An option box: background and border of `record`; `overrideColor`, when given, replaces
// the border colour (a selected box). A configured width of 1 or more is capped at 5 and
// takes the default rounding away; a radius is at most half the view's width.
void styleBox(const std::optional<borderData>& record, std::optional<ui::Color> overrideColor,
              ui::View& view);

// The border colour of a selected option box.
inline constexpr ui::Color kSelectionColor = ui::Color::rgb255(9, 8, 245);

}  // namespace quillgate

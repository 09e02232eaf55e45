#pragma once

#include "quillgate/platform/TextLayout.h"
#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/Font.h"

// The one conversion from what a view shows as text to the plain TextBlock the text layout
// service measures and the renderer draws, so that a view is measured exactly as it is
// drawn. Runs take the holder's font and colour where the attributed text leaves them open.
// Pure functions; main thread (they read views).
namespace quillgate::ui {

class Button;
class Label;
class TextField;

// A face named by PostScript name sets the text in that face; the system font in the system
// face of its weight.
platform::TextFont textFont(const Font& font);
platform::Rgba rgba(const Color& color);
platform::TextAlign textAlign(TextAlignment alignment);
platform::LineBreak lineBreak(LineBreakMode mode);

// `text` with `font` and `color` filling what its runs leave open.
platform::TextBlock textBlock(const AttributedString& text, const Font& font, const Color& color,
                              TextAlignment alignment = TextAlignment::natural,
                              LineBreakMode mode = LineBreakMode::byWordWrapping,
                              int numberOfLines = 0);

// A label's (attributed) text with its font, colour, alignment, line break mode and number of
// lines.
platform::TextBlock textBlock(const Label& label);
// A button's title for its current state: the attributed title if there is one, else the
// title in the title label's font and the current title colour; aligned as the button's
// content, limited as the title label.
platform::TextBlock textBlock(const Button& button);
// A field's text (dots for secure entry), or its placeholder when the text is empty: one
// line, cut at its tail.
platform::TextBlock textBlock(const TextField& field);

}  // namespace quillgate::ui

#pragma once

#include <optional>
#include <string>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"

// How the template cells hand their elements to the styling engine: one call per element
// kind, so that every cell words it the same way. Main thread only.
namespace quillgate {

// The text a caller gives for an element with a default: the style's `text` when present
// and not blank, else the default; an empty result falls back to the default once more.
std::string textOrDefault(const std::optional<typographyData>& style, const std::string& fallback);

// The label procedure: `text` on `label`, styled by `style` at `size`.
void styleLabel(ui::Label& label, const std::optional<typographyData>& style,
                const std::string& text, double size);
// The footer label procedure: the label's own text, styled by `style` at 14 points.
void styleFooterLabel(ui::Label& label, const std::optional<typographyData>& style);
// The button procedure: title and face from `style`, frame of `container` from `border`.
void styleButton(ui::Button& button, ui::View& container,
                 const std::optional<typographyData>& style,
                 const std::optional<borderData>& border, const std::string& defaultTitle);
// The text of a price.
std::string priceText(double value);
// The box procedure, with the selection colour as override when `selected`.
void styleBox(ui::View& box, const std::optional<borderData>& border, bool selected);

}  // namespace quillgate

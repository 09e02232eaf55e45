#include "quillgate/templates/TemplateText.h"

#include <cmath>
#include <cstdio>

#include "quillgate/platform/Text.h"

namespace quillgate {

std::string textOrDefault(const std::optional<typographyData>& style, const std::string& fallback) {
    std::string text = fallback;
    if (style && style->text && !platform::text::isBlankIgnoringNewlines(*style->text)) {
        text = *style->text;
    }
    return text.empty() ? fallback : text;
}

// Until the styling engine is in, the elements show their texts unstyled.
void styleLabel(ui::Label& label, const std::optional<typographyData>&, const std::string& text,
                double) {
    label.setText(text);
}

void styleFooterLabel(ui::Label&, const std::optional<typographyData>&) {}

void styleButton(ui::Button& button, ui::View&, const std::optional<typographyData>& style,
                 const std::optional<borderData>&, const std::string& defaultTitle) {
    std::string title = defaultTitle;
    if (style && style->text && !style->text->empty()) {
        title = *style->text;
    }
    button.setTitle(title);
}

void styleBox(ui::View&, const std::optional<borderData>&, bool) {}

}  // namespace quillgate

namespace quillgate {

std::string priceText(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, std::fmod(value, 1.0) == 0 ? "%.0f" : "%.2f", value);
    return buffer;
}

}  // namespace quillgate

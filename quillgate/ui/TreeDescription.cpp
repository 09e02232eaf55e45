#include "quillgate/ui/TreeDescription.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate::ui {

std::string describeNumber(double value) {
    if (std::isfinite(value) && value == std::floor(value) && std::fabs(value) < 1e15) {
        return std::to_string(static_cast<long long>(value));
    }
    char out[32];
    std::snprintf(out, sizeof out, "%.4g", value);
    return out;
}

std::string describeSize(Size size) {
    return describeNumber(size.width) + " " + describeNumber(size.height);
}

std::string describeRect(const Rect& rect) {
    return "(" + describeNumber(rect.x()) + " " + describeNumber(rect.y()) + "; " +
           describeSize(rect.size) + ")";
}

std::string describeFont(const Font& font) {
    return quotedText(font.name + " " + describeNumber(font.size));
}

namespace {

// The look of the layer, where it differs from a plain rectangle.
void describeLayer(const View& view, std::string& line) {
    const Layer& layer = view.layer();
    if (layer.cornerRadius > 0) {
        line += " radius=" + describeNumber(layer.cornerRadius);
        if (layer.maskedCorners != allCorners) {
            line += " corners=" + std::to_string(layer.maskedCorners);
        }
    }
    if (layer.borderWidth > 0 && layer.borderColor) {
        line += " border=" + describeNumber(layer.borderWidth) + " " + layer.borderColor->hex();
    }
    if (layer.shadowOpacity > 0) {
        line += " shadow=" + layer.shadowColor.value_or(Color::black()).hex() + " " +
                describeNumber(layer.shadowOpacity);
    }
    if (layer.masksToBounds) {
        line += " clips";
    }
}

// The font and colour text is shown in: the first run's, falling back to the view's own.
void describeTextLook(const View& view, std::string& line) {
    std::optional<Font> font;
    std::optional<Color> color;
    if (const auto* label = dynamic_cast<const Label*>(&view)) {
        const auto text = label->attributedText();
        const auto first = text.runs().empty() ? TextAttributes{} : text.runs().front().attributes;
        font = first.font.value_or(label->font());
        color = first.foregroundColor.value_or(label->textColor());
    } else if (const auto* button = dynamic_cast<const Button*>(&view)) {
        const auto title = button->currentAttributedTitle();
        const auto first =
            title && !title->runs().empty() ? title->runs().front().attributes : TextAttributes{};
        font = first.font ? first.font : std::optional<Font>(button->titleLabel()->font());
        color = first.foregroundColor.value_or(button->currentTitleColor());
    } else if (const auto* field = dynamic_cast<const TextField*>(&view)) {
        font = field->font();
        color = field->textColor();
    }
    if (font) {
        line += " font=" + describeFont(*font);
    }
    if (color) {
        line += " color=" + color->hex();
    }
}

void describe(const View& view, int depth, std::string& out) {
    std::string line(static_cast<std::size_t>(depth) * 2, ' ');
    line += view.className();
    if (view.tag() != 0) {
        line += " tag=" + std::to_string(view.tag());
    }
    if (!view.accessibilityIdentifier().empty()) {
        line += " id=" + view.accessibilityIdentifier();
    }
    line += " frame=" + describeRect(view.frame());
    if (view.isHidden()) {
        line += " hidden";
    }
    if (view.alpha() != 1.0) {
        line += " alpha=" + describeNumber(view.alpha());
    }
    if (const auto& bg = view.backgroundColor()) {
        line += " bg=" + bg->hex();
    }
    describeLayer(view, line);
    if (auto vc = view.owningViewController(); vc && vc->viewIfLoaded().get() == &view) {
        line += " controller=" + vc->className();
    }
    std::vector<std::string> attributes;
    view.describeAttributes(attributes);
    for (const auto& a : attributes) {
        line += " " + a;
    }
    describeTextLook(view, line);
    out += line;
    out += '\n';
    for (const auto& sub : view.subviews()) {
        describe(*sub, depth + 1, out);
    }
}
}  // namespace

std::string describeTree(const View& root) {
    std::string out;
    describe(root, 0, out);
    return out;
}

std::string describeTree(const std::shared_ptr<View>& root) {
    return root ? describeTree(*root) : std::string("(no view)\n");
}

}  // namespace quillgate::ui

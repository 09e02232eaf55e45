#include "quillgate/ui/TextBlocks.h"

#include <algorithm>

#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextField.h"

namespace quillgate::ui {

platform::TextFont textFont(const Font& font) {
    platform::TextFont out;
    out.postScriptName = font.isSystem ? "" : font.name;
    out.size = font.size;
    out.weight = static_cast<platform::FontWeight>(static_cast<int>(font.weight));
    return out;
}

platform::Rgba rgba(const Color& color) {
    return platform::Rgba{color.r, color.g, color.b, color.a};
}

platform::TextAlign textAlign(TextAlignment alignment) {
    switch (alignment) {
        case TextAlignment::left:
            return platform::TextAlign::left;
        case TextAlignment::center:
            return platform::TextAlign::center;
        case TextAlignment::right:
            return platform::TextAlign::right;
        case TextAlignment::justified:
            return platform::TextAlign::justified;
        case TextAlignment::natural:
            return platform::TextAlign::natural;
    }
    return platform::TextAlign::natural;
}

platform::LineBreak lineBreak(LineBreakMode mode) {
    switch (mode) {
        case LineBreakMode::byWordWrapping:
            return platform::LineBreak::byWordWrapping;
        case LineBreakMode::byCharWrapping:
            return platform::LineBreak::byCharWrapping;
        case LineBreakMode::byClipping:
            return platform::LineBreak::byClipping;
        case LineBreakMode::byTruncatingHead:
            return platform::LineBreak::byTruncatingHead;
        case LineBreakMode::byTruncatingTail:
            return platform::LineBreak::byTruncatingTail;
        case LineBreakMode::byTruncatingMiddle:
            return platform::LineBreak::byTruncatingMiddle;
    }
    return platform::LineBreak::byWordWrapping;
}

namespace {

platform::TextLineStyle lineStyle(LineStyle style) {
    return static_cast<platform::TextLineStyle>(static_cast<int>(style));
}

}  // namespace

platform::TextBlock textBlock(const AttributedString& text, const Font& font, const Color& color,
                              TextAlignment alignment, LineBreakMode mode, int numberOfLines) {
    platform::TextBlock block;
    block.text = text.string();
    block.alignment = textAlign(alignment);
    block.lineBreak = lineBreak(mode);
    block.maxLines = std::max(numberOfLines, 0);
    for (const auto& run : text.runs()) {
        const TextAttributes& a = run.attributes;
        platform::TextRun out;
        out.location = run.range.location;
        out.length = run.range.length;
        out.font = textFont(a.font.value_or(font));
        out.color = rgba(a.foregroundColor.value_or(color));
        if (a.backgroundColor) {
            out.backgroundColor = rgba(*a.backgroundColor);
        }
        out.underline = lineStyle(a.underlineStyle.value_or(LineStyle::none));
        if (a.underlineColor) {
            out.underlineColor = rgba(*a.underlineColor);
        }
        out.strikethrough = lineStyle(a.strikethroughStyle.value_or(LineStyle::none));
        if (a.strikethroughColor) {
            out.strikethroughColor = rgba(*a.strikethroughColor);
        }
        block.runs.push_back(std::move(out));
    }
    if (block.runs.empty() && !block.text.empty()) {
        block.runs.push_back(platform::TextRun{0, block.text.size(), textFont(font), rgba(color)});
    }
    return block;
}

platform::TextBlock textBlock(const Label& label) {
    return textBlock(label.attributedText(), label.font(), label.textColor(), label.textAlignment(),
                     label.lineBreakMode(), label.numberOfLines());
}

platform::TextBlock textBlock(const Button& button) {
    const Label& title = *button.titleLabel();
    TextAlignment alignment = TextAlignment::center;
    switch (button.contentHorizontalAlignment()) {
        case ContentHorizontalAlignment::left:
        case ContentHorizontalAlignment::leading:
            alignment = TextAlignment::left;
            break;
        case ContentHorizontalAlignment::right:
        case ContentHorizontalAlignment::trailing:
            alignment = TextAlignment::right;
            break;
        default:
            break;
    }
    const AttributedString text = button.currentAttributedTitle().value_or(
        AttributedString(button.currentTitle().value_or("")));
    return textBlock(text, title.font(), button.currentTitleColor(), alignment,
                     title.lineBreakMode(), title.numberOfLines());
}

platform::TextBlock textBlock(const TextField& field) {
    if (!field.text().empty()) {
        std::string shown = field.text();
        if (field.isSecureTextEntry()) {
            // One dot for each character (UTF-8 lead bytes).
            std::string dots;
            for (char c : shown) {
                if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
                    dots += "\u2022";
                }
            }
            shown = std::move(dots);
        }
        return textBlock(AttributedString(std::move(shown)), field.font(), field.textColor(),
                         field.textAlignment(), LineBreakMode::byTruncatingTail, 1);
    }
    const AttributedString placeholder =
        field.attributedPlaceholder().value_or(AttributedString(field.placeholder()));
    return textBlock(placeholder, field.font(), Color::placeholderText(), field.textAlignment(),
                     LineBreakMode::byTruncatingTail, 1);
}

}  // namespace quillgate::ui

#include "quillgate/ui/Label.h"

namespace quillgate::ui {

std::string quotedText(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                out += c;
        }
    }
    out += '"';
    return out;
}

Label::Label() {
    userInteractionEnabled_ = false;
}

Label::Label(Rect frame) : View(frame) {
    userInteractionEnabled_ = false;
}

Label::Label(std::string text) : Label() {
    text_ = std::move(text);
}

void Label::setText(std::string text) {
    text_ = std::move(text);
    attributed_.reset();
    invalidateIntrinsicContentSize();
}

void Label::setNumberOfLines(int lines) {
    numberOfLines_ = lines;
    invalidateIntrinsicContentSize();
}

void Label::setLineBreakMode(LineBreakMode mode) {
    lineBreakMode_ = mode;
    invalidateIntrinsicContentSize();
}

AttributedString Label::attributedText() const {
    if (attributed_) {
        return *attributed_;
    }
    TextAttributes attrs;
    attrs.font = font_;
    attrs.foregroundColor = textColor_;
    return AttributedString(text_, attrs);
}

void Label::setAttributedText(std::optional<AttributedString> text) {
    if (!text) {
        attributed_.reset();
        text_.clear();
        invalidateIntrinsicContentSize();
        return;
    }
    text_ = text->string();
    attributed_ = std::move(text);
    invalidateIntrinsicContentSize();
}

void Label::setFont(Font font) {
    font_ = std::move(font);
    if (attributed_) {
        TextAttributes attrs;
        attrs.font = font_;
        attributed_->addAttributes(attrs, attributed_->fullRange());
    }
    invalidateIntrinsicContentSize();
}

void Label::setTextColor(Color color) {
    textColor_ = color;
    if (attributed_) {
        TextAttributes attrs;
        attrs.foregroundColor = textColor_;
        attributed_->addAttributes(attrs, attributed_->fullRange());
    }
}

void Label::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("text=" + quotedText(text_));
}

}  // namespace quillgate::ui

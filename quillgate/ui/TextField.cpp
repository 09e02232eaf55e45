#include "quillgate/ui/TextField.h"

#include "quillgate/ui/TextBlocks.h"

#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Window.h"

namespace quillgate::ui {

namespace {
// Length in bytes of the UTF-8 sequence that starts with `lead` (1 for a stray byte).
std::size_t sequenceLength(unsigned char lead) {
    if (lead >= 0xF0 && lead <= 0xF7)
        return 4;
    if (lead >= 0xE0)
        return lead <= 0xEF ? 3 : 1;
    if (lead >= 0xC0)
        return 2;
    return 1;
}
}  // namespace

void TextField::setAttributedPlaceholder(std::optional<AttributedString> p) {
    attributedPlaceholder_ = std::move(p);
    if (attributedPlaceholder_) {
        placeholder_ = attributedPlaceholder_->string();
    }
}

bool TextField::becomeFirstResponder() {
    if (editing_) {
        return true;
    }
    auto self = std::static_pointer_cast<TextField>(weak_from_this().lock());
    if (!self || !isEnabled()) {
        return false;
    }
    if (auto d = delegate(); d && !d->textFieldShouldBeginEditing(*this)) {
        return false;
    }
    auto& app = Application::shared();
    if (auto current = app.firstResponder(); current && current != self) {
        if (!current->endEditing(false)) {
            return false;
        }
    }
    editing_ = true;
    app.setFirstResponder(self);
    if (auto d = delegate()) {
        d->textFieldDidBeginEditing(*this);
    }
    sendActions(ControlEvent::editingDidBegin);
    if (editing_) {
        app.postKeyboard(true, self);
    }
    return true;
}

bool TextField::resignFirstResponder() {
    return endEditing(true);
}

bool TextField::endEditing(bool hideKeyboard) {
    if (!editing_) {
        return true;
    }
    auto self = std::static_pointer_cast<TextField>(weak_from_this().lock());
    if (auto d = delegate(); d && !d->textFieldShouldEndEditing(*this)) {
        return false;
    }
    editing_ = false;
    auto& app = Application::shared();
    app.clearFirstResponder(this);
    if (auto d = delegate()) {
        d->textFieldDidEndEditing(*this);
    }
    sendActions(ControlEvent::editingDidEnd);
    if (hideKeyboard && !app.firstResponder()) {
        app.postKeyboard(false, self);
    }
    return true;
}

bool TextField::tap() {
    if (!canReceiveTouches() || !isEnabled()) {
        return false;
    }
    return becomeFirstResponder();
}

bool TextField::applyEdit(TextRange range, std::string_view replacement) {
    if (range.location > text_.size()) {
        range.location = text_.size();
    }
    if (range.length > text_.size() - range.location) {
        range.length = text_.size() - range.location;
    }
    const std::string piece(replacement);
    if (auto d = delegate(); d && !d->shouldChangeCharacters(*this, range, piece)) {
        return false;
    }
    text_.replace(range.location, range.length, piece);
    sendActions(ControlEvent::editingChanged);
    return true;
}

bool TextField::type(std::string_view text) {
    auto self = weak_from_this().lock();
    if (!becomeFirstResponder()) {
        return false;
    }
    std::size_t i = 0;
    while (i < text.size()) {
        std::size_t n = sequenceLength(static_cast<unsigned char>(text[i]));
        n = std::min(n, text.size() - i);
        applyEdit(TextRange{text_.size(), 0}, text.substr(i, n));
        i += n;
    }
    return true;
}

bool TextField::deleteBackward() {
    auto self = weak_from_this().lock();
    if (!becomeFirstResponder() || text_.empty()) {
        return false;
    }
    // Back over continuation bytes to the start of the last character.
    std::size_t start = text_.size() - 1;
    while (start > 0 && (static_cast<unsigned char>(text_[start]) & 0xC0) == 0x80) {
        --start;
    }
    return applyEdit(TextRange{start, text_.size() - start}, "");
}

bool TextField::replace(TextRange range, std::string_view replacement) {
    auto self = weak_from_this().lock();
    if (!becomeFirstResponder()) {
        return false;
    }
    return applyEdit(range, replacement);
}

bool TextField::pressReturn() {
    auto self = weak_from_this().lock();
    if (!editing_) {
        return false;
    }
    if (auto d = delegate(); d && !d->textFieldShouldReturn(*this)) {
        return false;
    }
    sendActions(ControlEvent::editingDidEndOnExit);
    return true;
}

void TextField::willMoveToWindow(const std::shared_ptr<Window>& newWindow) {
    if (!newWindow && editing_ && window()) {
        resignFirstResponder();
    }
}

void TextField::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("text=" + quotedText(text_));
    if (!placeholder_.empty()) {
        out.push_back("placeholder=" + quotedText(placeholder_));
    }
    if (editing_) {
        out.push_back("editing");
    }
    Control::describeAttributes(out);
}

Size TextField::sizeThatFits(Size fitting) const {
    const double width = fitting.width > 0 ? fitting.width : frame().width();
    // One line of the font, whatever is shown (an empty field is as high as a filled one).
    const Size line = textSize(ui::textBlock(AttributedString("Xg"), font_, textColor_), 0);
    const Size shown = textSize(ui::textBlock(*this), width);
    return Size{width, std::max(line.height, shown.height)};
}

}  // namespace quillgate::ui

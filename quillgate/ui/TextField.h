#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/Control.h"

// A one-line text input. The screen sets its text and reads it back; a reader (test or host)
// taps it, types into it, deletes and presses return. Each typed character is offered to the
// delegate's should-change hook (with the range it would replace, in UTF-8 bytes) and, when
// accepted, goes in and fires editingChanged. Setting the text in code fires nothing.
//
// Focus: becoming first responder asks the delegate, ends the editing of the field that had
// the focus, and shows the keyboard (the application posts the keyboard will/did show
// notifications) unless it is already up; resigning hides it. A field edits also outside a
// window, so that a detached tree can be driven; leaving a window resigns. The delegate is
// held weakly. Main thread only.
namespace quillgate::ui {

class TextField;

// Fixed numbering: screens and stored configurations name keyboards by these values.
enum class KeyboardType {
    defaultType = 0,
    asciiCapable = 1,
    numbersAndPunctuation = 2,
    url = 3,
    numberPad = 4,
    phonePad = 5,
    namePhonePad = 6,
    emailAddress = 7,
    decimalPad = 8,
    twitter = 9,
    webSearch = 10,
    asciiCapableNumberPad = 11,
};

enum class ReturnKeyType {
    defaultType = 0,
    go = 1,
    google = 2,
    join = 3,
    next = 4,
    route = 5,
    search = 6,
    send = 7,
    yahoo = 8,
    done = 9
};

class TextFieldDelegate {
  public:
    virtual ~TextFieldDelegate() = default;
    virtual bool textFieldShouldBeginEditing(TextField& field) {
        (void)field;
        return true;
    }
    virtual void textFieldDidBeginEditing(TextField& field) { (void)field; }
    virtual bool textFieldShouldEndEditing(TextField& field) {
        (void)field;
        return true;
    }
    virtual void textFieldDidEndEditing(TextField& field) { (void)field; }
    // `range` of the current text is to be replaced by `replacement`.
    virtual bool shouldChangeCharacters(TextField& field, TextRange range,
                                        const std::string& replacement) {
        (void)field;
        (void)range;
        (void)replacement;
        return true;
    }
    virtual bool textFieldShouldReturn(TextField& field) {
        (void)field;
        return true;
    }
};

class TextField : public Control {
  public:
    TextField() = default;
    explicit TextField(Rect frame) : Control(frame) {}

    std::string className() const override { return "TextField"; }

    const std::string& text() const { return text_; }
    void setText(std::string text) { text_ = std::move(text); }
    const std::string& placeholder() const { return placeholder_; }
    void setPlaceholder(std::string placeholder) { placeholder_ = std::move(placeholder); }
    const std::optional<AttributedString>& attributedPlaceholder() const {
        return attributedPlaceholder_;
    }
    void setAttributedPlaceholder(std::optional<AttributedString> p);
    const Font& font() const { return font_; }
    void setFont(Font font) { font_ = std::move(font); }
    const Color& textColor() const { return textColor_; }
    void setTextColor(Color color) { textColor_ = color; }
    TextAlignment textAlignment() const { return alignment_; }
    void setTextAlignment(TextAlignment a) { alignment_ = a; }
    KeyboardType keyboardType() const { return keyboardType_; }
    void setKeyboardType(KeyboardType type) { keyboardType_ = type; }
    ReturnKeyType returnKeyType() const { return returnKeyType_; }
    void setReturnKeyType(ReturnKeyType type) { returnKeyType_ = type; }
    bool isSecureTextEntry() const { return secure_; }
    void setSecureTextEntry(bool secure) { secure_ = secure; }

    std::shared_ptr<TextFieldDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<TextFieldDelegate> delegate) { delegate_ = std::move(delegate); }

    // ---- Focus
    bool isFirstResponder() const { return editing_; }
    bool isEditing() const { return editing_; }
    // False when the field is disabled or the delegate refuses.
    bool becomeFirstResponder();
    // False when the delegate refuses.
    bool resignFirstResponder();

    // ---- Acting as the reader
    // Takes the focus when the field can receive touches and is enabled.
    bool tap() override;
    // Types `text` character by character at the end (taking the focus first). Returns false
    // when the focus could not be had; characters the delegate refuses are left out.
    bool type(std::string_view text);
    // Deletes the last character, if the delegate agrees.
    bool deleteBackward();
    // Replaces `range` with `replacement` in one edit (a paste), if the delegate agrees.
    bool replace(TextRange range, std::string_view replacement);
    // The return key: asks the delegate, and when it agrees sends editingDidEndOnExit.
    bool pressReturn();

    // As wide as asked (0: its frame's width), one line of its font high.
    Size sizeThatFits(Size fitting) const override;

    void willMoveToWindow(const std::shared_ptr<Window>& newWindow) override;
    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    bool endEditing(bool hideKeyboard);
    bool applyEdit(TextRange range, std::string_view replacement);

    std::string text_;
    std::string placeholder_;
    std::optional<AttributedString> attributedPlaceholder_;
    Font font_ = Font::system(17);
    Color textColor_ = Color::label();
    TextAlignment alignment_ = TextAlignment::natural;
    KeyboardType keyboardType_ = KeyboardType::defaultType;
    ReturnKeyType returnKeyType_ = ReturnKeyType::defaultType;
    bool secure_ = false;
    bool editing_ = false;
    std::weak_ptr<TextFieldDelegate> delegate_;
};

}  // namespace quillgate::ui

#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/Control.h"
#include "quillgate/ui/Image.h"

// A button: a title, title colour, attributed title and image per control state, and a
// title label that carries the font. A value missing for the current state falls back to the
// normal state's, so a screen sets only what differs; an attributed title wins over a plain one.
// `tap()` (from Control) is how a test or host presses it. Main thread only.
namespace quillgate::ui {

class Label;

enum class ButtonType { custom = 0, system = 1 };

class Button : public Control {
  public:
    explicit Button(ButtonType type = ButtonType::system);
    explicit Button(Rect frame, ButtonType type = ButtonType::system);
    ~Button() override;

    std::string className() const override { return "Button"; }
    ButtonType buttonType() const { return type_; }

    void setTitle(std::optional<std::string> title, ControlState state = ControlState::normal);
    std::optional<std::string> title(ControlState state = ControlState::normal) const;
    void setTitleColor(std::optional<Color> color, ControlState state = ControlState::normal);
    std::optional<Color> titleColor(ControlState state = ControlState::normal) const;
    void setAttributedTitle(std::optional<AttributedString> title,
                            ControlState state = ControlState::normal);
    std::optional<AttributedString> attributedTitle(
        ControlState state = ControlState::normal) const;
    void setImage(std::optional<Image> image, ControlState state = ControlState::normal);
    std::optional<Image> image(ControlState state = ControlState::normal) const;
    void setBackgroundImage(std::optional<Image> image, ControlState state = ControlState::normal);
    std::optional<Image> backgroundImage(ControlState state = ControlState::normal) const;

    // For the current state.
    std::optional<std::string> currentTitle() const { return title(state()); }
    std::optional<AttributedString> currentAttributedTitle() const {
        return attributedTitle(state());
    }
    std::optional<Image> currentImage() const { return image(state()); }
    // The title colour shown now: the state's, else the normal one's, else the type's
    // default (the tint colour or system blue for a system button, white for a custom one).
    Color currentTitleColor() const;
    // The characters shown now: the attributed title's if there is one, else the title's.
    std::string displayedTitle() const;

    // The label that shows the title; its font is the button's title font.
    const std::shared_ptr<Label>& titleLabel() const { return titleLabel_; }

    // Room between the button's edges and its image and title.
    EdgeInsets contentEdgeInsets() const { return contentEdgeInsets_; }
    void setContentEdgeInsets(EdgeInsets insets);

    // The current image and title side by side (the title measured in the width left at
    // most `fitting.width` wide, 0: no limit), plus the content insets.
    Size sizeThatFits(Size fitting) const override;

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    template <class T>
    static std::optional<T> lookup(const std::map<unsigned, T>& values, ControlState state);

    ButtonType type_;
    std::map<unsigned, std::string> titles_;
    std::map<unsigned, Color> titleColors_;
    std::map<unsigned, AttributedString> attributedTitles_;
    std::map<unsigned, Image> images_;
    std::map<unsigned, Image> backgroundImages_;
    std::shared_ptr<Label> titleLabel_;
    EdgeInsets contentEdgeInsets_;
};

}  // namespace quillgate::ui

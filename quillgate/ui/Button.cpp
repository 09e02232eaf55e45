#include "quillgate/ui/Button.h"

#include "quillgate/ui/Label.h"

namespace quillgate::ui {

namespace {
template <class T>
void store(std::map<unsigned, T>& values, std::optional<T> value, ControlState state) {
    const auto key = static_cast<unsigned>(state);
    if (value) {
        values[key] = std::move(*value);
    } else {
        values.erase(key);
    }
}
}  // namespace

Button::Button(ButtonType type) : Button(Rect(), type) {}

Button::Button(Rect frame, ButtonType type)
    : Control(frame), type_(type), titleLabel_(std::make_shared<Label>()) {
    titleLabel_->setFont(Font::system(type == ButtonType::system ? 15 : 18));
    titleLabel_->setLineBreakMode(LineBreakMode::byTruncatingMiddle);
}

Button::~Button() = default;

template <class T>
std::optional<T> Button::lookup(const std::map<unsigned, T>& values, ControlState state) {
    auto it = values.find(static_cast<unsigned>(state));
    if (it == values.end()) {
        it = values.find(static_cast<unsigned>(ControlState::normal));
    }
    if (it == values.end()) {
        return std::nullopt;
    }
    return it->second;
}

void Button::setTitle(std::optional<std::string> title, ControlState state) {
    store(titles_, std::move(title), state);
}

std::optional<std::string> Button::title(ControlState state) const {
    return lookup(titles_, state);
}

void Button::setTitleColor(std::optional<Color> color, ControlState state) {
    store(titleColors_, color, state);
}

std::optional<Color> Button::titleColor(ControlState state) const {
    return lookup(titleColors_, state);
}

void Button::setAttributedTitle(std::optional<AttributedString> title, ControlState state) {
    store(attributedTitles_, std::move(title), state);
}

std::optional<AttributedString> Button::attributedTitle(ControlState state) const {
    return lookup(attributedTitles_, state);
}

void Button::setImage(std::optional<Image> image, ControlState state) {
    store(images_, std::move(image), state);
}

std::optional<Image> Button::image(ControlState state) const {
    return lookup(images_, state);
}

void Button::setBackgroundImage(std::optional<Image> image, ControlState state) {
    store(backgroundImages_, std::move(image), state);
}

std::optional<Image> Button::backgroundImage(ControlState state) const {
    return lookup(backgroundImages_, state);
}

Color Button::currentTitleColor() const {
    if (auto c = titleColor(state())) {
        return *c;
    }
    if (type_ == ButtonType::system) {
        return tintColor().value_or(Color::systemBlue());
    }
    return Color::white();
}

std::string Button::displayedTitle() const {
    if (auto a = currentAttributedTitle()) {
        return a->string();
    }
    return currentTitle().value_or("");
}

void Button::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("title=" + quotedText(displayedTitle()));
    if (auto img = currentImage()) {
        out.push_back("image=" + img->description());
    }
    Control::describeAttributes(out);
}

}  // namespace quillgate::ui

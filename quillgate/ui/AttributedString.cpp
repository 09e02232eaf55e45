#include "quillgate/ui/AttributedString.h"

#include <algorithm>

namespace quillgate::ui {

void TextAttributes::merge(const TextAttributes& other) {
    if (other.font)
        font = other.font;
    if (other.foregroundColor)
        foregroundColor = other.foregroundColor;
    if (other.backgroundColor)
        backgroundColor = other.backgroundColor;
    if (other.underlineStyle)
        underlineStyle = other.underlineStyle;
    if (other.underlineColor)
        underlineColor = other.underlineColor;
    if (other.strikethroughStyle)
        strikethroughStyle = other.strikethroughStyle;
    if (other.strikethroughColor)
        strikethroughColor = other.strikethroughColor;
    if (other.link)
        link = other.link;
}

AttributedString::AttributedString(std::string text, TextAttributes attributes)
    : text_(std::move(text)) {
    if (!text_.empty()) {
        runs_.push_back(Run{TextRange{0, text_.size()}, std::move(attributes)});
    }
}

TextAttributes AttributedString::attributesAt(std::size_t index) const {
    for (const auto& run : runs_) {
        if (index >= run.range.location && index < run.range.end()) {
            return run.attributes;
        }
    }
    return {};
}

void AttributedString::append(const AttributedString& other) {
    const std::size_t offset = text_.size();
    text_ += other.text_;
    for (const auto& run : other.runs_) {
        runs_.push_back(
            Run{TextRange{run.range.location + offset, run.range.length}, run.attributes});
    }
    coalesce();
}

void AttributedString::append(std::string_view text, const TextAttributes& attributes) {
    append(AttributedString(std::string(text), attributes));
}

TextRange AttributedString::clip(TextRange r) const {
    const std::size_t start = std::min(r.location, text_.size());
    const std::size_t end = r.length > text_.size() - start ? text_.size() : start + r.length;
    return TextRange{start, end - start};
}

void AttributedString::splitAt(std::size_t pos) {
    for (std::size_t i = 0; i < runs_.size(); ++i) {
        Run& run = runs_[i];
        if (pos > run.range.location && pos < run.range.end()) {
            Run tail{TextRange{pos, run.range.end() - pos}, run.attributes};
            run.range.length = pos - run.range.location;
            runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(i) + 1, std::move(tail));
            return;
        }
    }
}

void AttributedString::coalesce() {
    std::vector<Run> out;
    for (auto& run : runs_) {
        if (run.range.length == 0) {
            continue;
        }
        if (!out.empty() && out.back().attributes == run.attributes) {
            out.back().range.length += run.range.length;
        } else {
            out.push_back(std::move(run));
        }
    }
    runs_ = std::move(out);
}

void AttributedString::addAttributes(const TextAttributes& attributes, TextRange range) {
    range = clip(range);
    if (range.length == 0) {
        return;
    }
    splitAt(range.location);
    splitAt(range.end());
    for (auto& run : runs_) {
        if (run.range.location >= range.location && run.range.end() <= range.end()) {
            run.attributes.merge(attributes);
        }
    }
    coalesce();
}

void AttributedString::setAttributes(const TextAttributes& attributes, TextRange range) {
    range = clip(range);
    if (range.length == 0) {
        return;
    }
    splitAt(range.location);
    splitAt(range.end());
    for (auto& run : runs_) {
        if (run.range.location >= range.location && run.range.end() <= range.end()) {
            run.attributes = attributes;
        }
    }
    coalesce();
}

std::optional<TextRange> AttributedString::find(std::string_view needle) const {
    if (needle.empty()) {
        return std::nullopt;
    }
    auto pos = text_.find(needle);
    if (pos == std::string::npos) {
        return std::nullopt;
    }
    return TextRange{pos, needle.size()};
}

}  // namespace quillgate::ui

#pragma once

#include "quillgate/platform/TextLayout.h"

namespace quillgate::testing {

// A text layout with made-up metrics, so that unit tests get exact numbers on any machine.
// Every character (UTF-8 code point) advances half its run's font size, whatever the face or
// weight; a line is 1.2 times the largest font size on it high. Text wraps as a phone wraps
// by words: a line breaks at the last space that lets it fit (spaces at the end of a line take
// no room), a word longer than the width is broken between characters, and "\n" starts a new
// paragraph. A line limit keeps the first lines; when the text was cut and the mode truncates,
// the last line is as wide as the width (its ellipsis fills it). An empty text measures zero.
//
// Example: "Unlock every story" (18 characters) at 22 points is 198 wide on one line; at a
// width of 130 it takes two lines ("Unlock every" would be 132), "Unlock" and "every story":
// 121 wide, 52.8 high.
class FixedAdvanceTextLayout final : public platform::TextLayout {
  public:
    static constexpr double kAdvance = 0.5;     // times the font size, per character
    static constexpr double kLineHeight = 1.2;  // times the font size

    platform::TextMetrics measure(const platform::TextBlock& block, double width) override;

    // How many times `measure` was called (tests that check caching).
    int measurements = 0;
};

}  // namespace quillgate::testing

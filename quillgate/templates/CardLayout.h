#pragma once

#include <algorithm>

#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"

// The measures the template cells lay their rows out with: each cell asks its elements for
// their fitting size at the width it offers them, then places them top to bottom, and its
// own fitting height (the row's automatic height) is the bottom of the last element plus
// its padding. Main thread only.
namespace quillgate::card {

// Side margin of the card's rows.
inline constexpr double margin = 20;

// The height `view` needs at `width`.
inline double fittingHeight(const ui::View& view, double width) {
    return std::max(0.0, view.sizeThatFits(ui::Size{width, 0}).height);
}

// The width a one-line `label` needs, at most `limit`.
inline double fittingWidth(const ui::View& view, double limit) {
    return std::clamp(view.sizeThatFits(ui::Size{limit, 0}).width, 0.0, limit);
}

}  // namespace quillgate::card

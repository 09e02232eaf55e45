#pragma once

#include "quillgate/platform/TextLayout.h"
#include "quillgate/ui/Color.h"

// Small conversions between the view tree's values and the canvas's, for the views that
// draw themselves. Pure, any thread.
namespace quillgate {

inline platform::Rgba toRgba(const ui::Color& color) {
    return platform::Rgba{color.r, color.g, color.b, color.a};
}

}  // namespace quillgate

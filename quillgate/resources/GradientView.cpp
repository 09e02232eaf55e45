#include "quillgate/resources/GradientView.h"

#include "quillgate/platform/Canvas.h"
#include "quillgate/ui/TextBlocks.h"

namespace quillgate {

void GradientView::draw(platform::Canvas& canvas, const ui::Rect& rect) {
    platform::CanvasPath area;
    area.addRect(rect.x(), rect.y(), rect.width(), rect.height());
    canvas.save();
    canvas.clip(area);
    // The gradient goes on past its end circle in its last colour; a view of 200 points or
    // less has no circle at all and is that colour throughout.
    canvas.fill(area, ui::rgba(color4));
    const double radius = endRadius(rect.height());
    if (radius > 0) {
        const double cx = rect.width() * 0.5;
        const ui::Color colors[4] = {color1, color2, color3, color4};
        std::vector<platform::GradientStop> stops;
        for (int i = 0; i < 4; ++i) {
            stops.push_back({kLocations[i], ui::rgba(colors[i])});
        }
        canvas.radialGradient(cx, 0, 0, cx, 0, radius, stops);
    }
    canvas.restore();
}

}  // namespace quillgate

#include "quillgate/resources/CUILine.h"

#include "quillgate/platform/Canvas.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextBlocks.h"

namespace quillgate {

double CUILine::strokeWidth() const {
    const double scale = ui::Application::shared().mainScreen().scale;
    return scale > 0 ? lineWidth / scale : lineWidth;
}

void CUILine::draw(platform::Canvas& canvas, const ui::Rect& rect) {
    platform::CanvasPath path;
    if (isHorizontal) {
        path.moveTo(rect.x() + paddingLeft, rect.midY());
        path.lineTo(rect.width() - paddingRight, rect.midY());
    } else {
        path.moveTo(rect.midX(), rect.y() + paddingTop);
        path.lineTo(rect.midX(), rect.height() - paddingBottom);
    }
    std::vector<double> dashes;
    if (isDash) {
        dashes = {dashPointWidth, dashSpace};
    }
    // A line encloses nothing: of stroke-and-fill only the stroke shows.
    canvas.stroke(path, ui::rgba(lineColor), strokeWidth(), dashes);
}

void CUILine::describeAttributes(std::vector<std::string>& out) const {
    View::describeAttributes(out);
    std::string line = isHorizontal ? "horizontal" : "vertical";
    line += isDash ? " dashed" : " solid";
    out.push_back("line=" + ui::quotedText(line + " " + lineColor.hex()));
}

}  // namespace quillgate

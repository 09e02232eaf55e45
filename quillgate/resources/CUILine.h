#pragma once

#include <string>

#include "quillgate/ui/View.h"

// A straight line drawn across the middle of the view, horizontal or vertical, solid or
// dashed: the dividers of the default paywall. Each property is read at the next draw, so a
// change shows once the view is asked to redraw (setNeedsDisplay). Main thread only.
namespace quillgate {

class CUILine : public ui::View {
  public:
    CUILine() = default;
    explicit CUILine(ui::Rect frame) : View(frame) {}

    std::string className() const override { return "CUILine"; }

    // Width in pixels of the main screen, not points: 1 is a hairline on any screen.
    double lineWidth = 1;
    ui::Color lineColor = ui::Color::black();
    // Insets of the line's ends from the view's edges, in points.
    double paddingLeft = 0;
    double paddingRight = 0;
    double paddingTop = 0;
    double paddingBottom = 0;
    bool isHorizontal = true;
    bool isDash = false;
    // Length of a dash and of the gap after it, in points.
    double dashPointWidth = 3;
    double dashSpace = 1;

    // The stroke width in points on the main screen.
    double strokeWidth() const;

    void draw(platform::Canvas& canvas, const ui::Rect& rect) override;
    void describeAttributes(std::vector<std::string>& out) const override;
};

}  // namespace quillgate

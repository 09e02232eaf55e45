#include "quillgate/platform/Canvas.h"

#include <algorithm>
#include <numbers>

namespace quillgate::platform {

void CanvasPath::addRect(double x, double y, double width, double height) {
    moveTo(x, y);
    lineTo(x + width, y);
    lineTo(x + width, y + height);
    lineTo(x, y + height);
    close();
}

void CanvasPath::addRoundedRect(double x, double y, double width, double height, double topLeft,
                                double topRight, double bottomRight, double bottomLeft) {
    const double limit = std::max(0.0, std::min(width, height) / 2);
    auto clipRadius = [limit](double r) { return std::clamp(r, 0.0, limit); };
    topLeft = clipRadius(topLeft);
    topRight = clipRadius(topRight);
    bottomRight = clipRadius(bottomRight);
    bottomLeft = clipRadius(bottomLeft);
    constexpr double pi = std::numbers::pi;
    moveTo(x + topLeft, y);
    lineTo(x + width - topRight, y);
    if (topRight > 0) {
        arc(x + width - topRight, y + topRight, topRight, -pi / 2, 0);
    }
    lineTo(x + width, y + height - bottomRight);
    if (bottomRight > 0) {
        arc(x + width - bottomRight, y + height - bottomRight, bottomRight, 0, pi / 2);
    }
    lineTo(x + bottomLeft, y + height);
    if (bottomLeft > 0) {
        arc(x + bottomLeft, y + height - bottomLeft, bottomLeft, pi / 2, pi);
    }
    lineTo(x, y + topLeft);
    if (topLeft > 0) {
        arc(x + topLeft, y + topLeft, topLeft, pi, 3 * pi / 2);
    }
    close();
}

void CanvasPath::addEllipse(double x, double y, double width, double height) {
    // A circle scaled into the box would need a transform; an ellipse is drawn as a rounded
    // rectangle whose radii are half its sides, which is exact for circles.
    const double r = std::min(width, height) / 2;
    addRoundedRect(x, y, width, height, r, r, r, r);
}

}  // namespace quillgate::platform

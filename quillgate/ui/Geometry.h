#pragma once

#include <algorithm>

#include "quillgate/Export.h"

// Points, sizes, rectangles and insets of the view tree, in points (not pixels), with the
// origin at the top left and y growing downwards. Plain values; any thread.
namespace quillgate::ui {

struct QUILLGATE_EXPORT Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct QUILLGATE_EXPORT Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

struct QUILLGATE_EXPORT Rect {
    Point origin;
    Size size;

    Rect() = default;
    Rect(Point o, Size s) : origin(o), size(s) {}
    Rect(double x, double y, double width, double height) : origin{x, y}, size{width, height} {}

    double x() const { return origin.x; }
    double y() const { return origin.y; }
    double width() const { return size.width; }
    double height() const { return size.height; }
    double minX() const { return std::min(origin.x, origin.x + size.width); }
    double maxX() const { return std::max(origin.x, origin.x + size.width); }
    double minY() const { return std::min(origin.y, origin.y + size.height); }
    double maxY() const { return std::max(origin.y, origin.y + size.height); }
    double midX() const { return origin.x + size.width / 2; }
    double midY() const { return origin.y + size.height / 2; }
    bool isEmpty() const { return size.width == 0 || size.height == 0; }
    bool contains(Point p) const {
        return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY();
    }

    // The rectangle shrunk by `insets` on each side.
    Rect inset(double top, double left, double bottom, double right) const {
        return Rect(origin.x + left, origin.y + top, size.width - left - right,
                    size.height - top - bottom);
    }

    friend bool operator==(const Rect&, const Rect&) = default;
};

struct QUILLGATE_EXPORT EdgeInsets {
    double top = 0;
    double left = 0;
    double bottom = 0;
    double right = 0;
    friend bool operator==(const EdgeInsets&, const EdgeInsets&) = default;
};

inline Rect insetRect(const Rect& r, const EdgeInsets& i) {
    return r.inset(i.top, i.left, i.bottom, i.right);
}

}  // namespace quillgate::ui

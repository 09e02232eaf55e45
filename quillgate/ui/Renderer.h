#pragma once

#include <filesystem>
#include <memory>

#include "quillgate/platform/Canvas.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/Geometry.h"

// Pictures of the view tree: what a reader would see of a window, drawn through a canvas.
//
// Each view is drawn in its superview's bounds, back to front: its shadow, its background
// (rounded by the layer's corner radius on the masked corners, or cut by the layer's shape
// mask), its drawing hook, its own content (a label's text, a button's images and title, a
// field's text or placeholder, an image view's image, a spinning indicator), its subviews
// (clipped to its shape when it clips to bounds), then its border on top. Hidden views and
// views of alpha below 0.01 draw nothing with their subviews; a view with alpha below 1 is
// composited as one layer. Text is set by the platform's text layout service.
//
// Named and system images (resources, symbols) have no pixels in this toolkit and draw
// nothing; downloaded image bytes are decoded. Main thread only.
namespace quillgate::ui {

class View;

// Draws `root` and everything under it with root's top-left corner at the canvas's origin.
void renderTree(const View& root, platform::Canvas& canvas);

// A picture of `root` at `scale` pixels per point, on an image canvas of root's size made by
// the installed platform.
std::unique_ptr<platform::ImageCanvas> renderPicture(const View& root, double scale = 2);

// Writes renderPicture's result as a PNG file; false when the file could not be written.
bool writePicture(const View& root, const std::filesystem::path& file, double scale = 2);

// The canvas's colour for a colour of the view tree.
inline platform::Rgba toRgba(const Color& c) {
    return platform::Rgba{c.r, c.g, c.b, c.a};
}

// The outline of a rectangle whose `corners` are rounded by `radius`.
platform::CanvasPath roundedPath(const Rect& rect, double radius, unsigned corners);

}  // namespace quillgate::ui

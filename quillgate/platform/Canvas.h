#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/platform/TextLayout.h"

// A surface to draw on, in points with the origin at the top left and y growing downwards:
// what the view toolkit's renderer and the views that draw themselves (a dashed line, a
// gradient) paint through. The Linux implementation (platform/linux/CairoCanvas) draws with
// Cairo into an image at a scale factor and writes PNG files. Main thread only.
namespace quillgate::platform {

// A path of straight segments and circular arcs. Plain value.
class QUILLGATE_EXPORT CanvasPath {
  public:
    enum class Verb { moveTo, lineTo, arc, close };
    struct Element {
        Verb verb;
        double x = 0;
        double y = 0;
        double radius = 0;
        double startAngle = 0;  // radians, clockwise on screen
        double endAngle = 0;
    };

    void moveTo(double x, double y) { elements_.push_back({Verb::moveTo, x, y}); }
    void lineTo(double x, double y) { elements_.push_back({Verb::lineTo, x, y}); }
    // An arc around (cx, cy) from `start` to `end`, clockwise on screen.
    void arc(double cx, double cy, double radius, double start, double end) {
        elements_.push_back({Verb::arc, cx, cy, radius, start, end});
    }
    void close() { elements_.push_back({Verb::close}); }
    void addRect(double x, double y, double width, double height);
    // A rectangle whose corners are rounded by their own radii (top left, top right, bottom
    // right, bottom left); radii are clipped to half the shorter side.
    void addRoundedRect(double x, double y, double width, double height, double topLeft,
                        double topRight, double bottomRight, double bottomLeft);
    void addEllipse(double x, double y, double width, double height);

    const std::vector<Element>& elements() const { return elements_; }
    bool empty() const { return elements_.empty(); }

  private:
    std::vector<Element> elements_;
};

struct QUILLGATE_EXPORT GradientStop {
    double location = 0;  // 0 to 1
    Rgba color;
};

class QUILLGATE_EXPORT Canvas {
  public:
    virtual ~Canvas() = default;

    // The drawing state (transform, clip, alpha) is a stack.
    virtual void save() = 0;
    virtual void restore() = 0;
    virtual void translate(double dx, double dy) = 0;
    // Everything drawn until the matching endTransparencyLayer is composited at `alpha`.
    virtual void beginTransparencyLayer(double alpha) = 0;
    virtual void endTransparencyLayer() = 0;
    // Narrows the clip to the inside of `path`.
    virtual void clip(const CanvasPath& path) = 0;

    virtual void fill(const CanvasPath& path, const Rgba& color) = 0;
    // `dashes`: lengths of drawn and skipped stretches, in turn; empty for a solid line.
    virtual void stroke(const CanvasPath& path, const Rgba& color, double lineWidth,
                        const std::vector<double>& dashes = {}) = 0;
    // A soft shadow of `path`'s shape, offset and blurred by `blurRadius`.
    virtual void shadow(const CanvasPath& path, const Rgba& color, double offsetX, double offsetY,
                        double blurRadius) = 0;
    // Fills the current clip with a radial gradient between two circles.
    virtual void radialGradient(double startX, double startY, double startRadius, double endX,
                                double endY, double endRadius,
                                const std::vector<GradientStop>& stops) = 0;
    // Decodes `encoded` (PNG, JPEG, GIF, ...) and draws it scaled into the rectangle. Bytes
    // that are not an image draw nothing.
    virtual void drawImage(std::string_view encoded, double x, double y, double width,
                           double height) = 0;
    // Sets `block` as the text layout service does at `width` and draws it with its top-left
    // corner at (x, y).
    virtual void drawText(const TextBlock& block, double x, double y, double width) = 0;
};

// A canvas that draws into an image in memory: `width` x `height` points at `scale` pixels per
// point, transparent to begin with. It writes the picture as a PNG file and reads single
// pixels back, so that tests can probe what was drawn.
class ImageCanvas : public Canvas {
  public:
    // The picture's size in pixels (the points times the scale, rounded up).
    virtual int pixelWidth() const = 0;
    virtual int pixelHeight() const = 0;
    virtual double scale() const = 0;
    // The colour of the pixel under the point (x, y), not premultiplied; transparent black
    // outside the picture.
    virtual Rgba pixel(double x, double y) const = 0;
    // Writes the picture as a PNG file. False (with nothing written) when the file cannot be
    // written.
    virtual bool writePng(const std::filesystem::path& file) const = 0;
};

// Makes an image canvas (see Platform::makeImageCanvas). Sizes of zero or less, or a picture
// too large to allocate, give a canvas of one pixel that draws nothing useful but never fails.
using ImageCanvasFactory =
    std::function<std::unique_ptr<ImageCanvas>(double width, double height, double scale)>;

}  // namespace quillgate::platform

#pragma once

#include <cairo.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "quillgate/platform/Canvas.h"

// The image canvas on Cairo: an ARGB32 image surface of the picture's size in pixels, with
// the points-to-pixels scale applied to the context, so that everything is drawn in points.
// Text is handed to a text painter (the platform's Pango text layout) together with the
// context. Decoded images are kept for the life of the canvas, keyed by their bytes, so that
// an image shown many times is decoded once. Main thread only.
namespace quillgate::platform {

class CairoCanvas final : public ImageCanvas {
  public:
    // Draws `block` at (x, y), `width` wide, into `context` in its current state.
    using TextPainter = std::function<void(cairo_t* context, const TextBlock& block, double x,
                                           double y, double width)>;

    CairoCanvas(double width, double height, double scale, TextPainter textPainter);
    ~CairoCanvas() override;
    CairoCanvas(const CairoCanvas&) = delete;
    CairoCanvas& operator=(const CairoCanvas&) = delete;

    void save() override;
    void restore() override;
    void translate(double dx, double dy) override;
    void beginTransparencyLayer(double alpha) override;
    void endTransparencyLayer() override;
    void clip(const CanvasPath& path) override;
    void fill(const CanvasPath& path, const Rgba& color) override;
    void stroke(const CanvasPath& path, const Rgba& color, double lineWidth,
                const std::vector<double>& dashes = {}) override;
    void shadow(const CanvasPath& path, const Rgba& color, double offsetX, double offsetY,
                double blurRadius) override;
    void radialGradient(double startX, double startY, double startRadius, double endX, double endY,
                        double endRadius, const std::vector<GradientStop>& stops) override;
    void drawImage(std::string_view encoded, double x, double y, double width,
                   double height) override;
    void drawText(const TextBlock& block, double x, double y, double width) override;

    int pixelWidth() const override { return pixelWidth_; }
    int pixelHeight() const override { return pixelHeight_; }
    double scale() const override { return scale_; }
    Rgba pixel(double x, double y) const override;
    bool writePng(const std::filesystem::path& file) const override;

    cairo_t* context() const { return cr_; }

  private:
    void setPath(const CanvasPath& path);
    // The decoded image for these bytes (null if they are no image), from the cache.
    cairo_surface_t* decoded(std::string_view encoded);

    double scale_ = 1;
    int pixelWidth_ = 1;
    int pixelHeight_ = 1;
    cairo_surface_t* surface_ = nullptr;
    cairo_t* cr_ = nullptr;
    // Open transparency layers and their alpha, innermost last.
    std::vector<double> layers_;
    // Saves and layers may be left open by a drawing hook; the destructor does not care.
    TextPainter textPainter_;
    std::map<std::string, cairo_surface_t*, std::less<>> images_;
};

}  // namespace quillgate::platform

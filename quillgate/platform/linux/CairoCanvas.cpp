// The image canvas on Cairo, with images decoded by stb_image (the Debian library holds stb's
// implementation: nothing is defined here).

#include "quillgate/platform/linux/CairoCanvas.h"

#include <stb_image.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace quillgate::platform {

namespace {

// Pictures larger than this many pixels a side are refused (a bad size from a caller must not
// allocate gigabytes).
constexpr double kLargestSide = 16384;

int pixelsFor(double points, double scale) {
    const double pixels = std::ceil(points * scale - 1e-9);
    if (!std::isfinite(pixels) || pixels < 1) {
        return 1;
    }
    return static_cast<int>(std::min(pixels, kLargestSide));
}

void setColor(cairo_t* cr, const Rgba& c) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

// Blurs an A8 surface in place: three box blurs of radius `r` pixels along each axis, which
// comes close to a Gaussian.
void blurAlpha(cairo_surface_t* surface, int r) {
    if (r <= 0) {
        return;
    }
    cairo_surface_flush(surface);
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int w = cairo_image_surface_get_width(surface);
    const int h = cairo_image_surface_get_height(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    std::vector<unsigned char> line(static_cast<std::size_t>(std::max(w, h)));
    const auto pass = [&](unsigned char* start, int count, int step) {
        for (int i = 0; i < count; ++i) {
            line[static_cast<std::size_t>(i)] = start[i * step];
        }
        const int window = 2 * r + 1;
        int sum = 0;
        for (int i = -r; i <= r; ++i) {
            if (i >= 0 && i < count) {
                sum += line[static_cast<std::size_t>(i)];
            }
        }
        for (int i = 0; i < count; ++i) {
            start[i * step] = static_cast<unsigned char>(sum / window);
            const int out = i - r;
            const int in = i + r + 1;
            if (out >= 0) {
                sum -= line[static_cast<std::size_t>(out)];
            }
            if (in < count) {
                sum += line[static_cast<std::size_t>(in)];
            }
        }
    };
    for (int round = 0; round < 3; ++round) {
        for (int y = 0; y < h; ++y) {
            pass(data + static_cast<std::ptrdiff_t>(y) * stride, w, 1);
        }
        for (int x = 0; x < w; ++x) {
            pass(data + x, h, stride);
        }
    }
    cairo_surface_mark_dirty(surface);
}

}  // namespace

CairoCanvas::CairoCanvas(double width, double height, double scale, TextPainter textPainter)
    : scale_(std::isfinite(scale) && scale > 0 && scale <= 16 ? scale : 1),
      textPainter_(std::move(textPainter)) {
    pixelWidth_ = pixelsFor(width, scale_);
    pixelHeight_ = pixelsFor(height, scale_);
    surface_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixelWidth_, pixelHeight_);
    if (cairo_surface_status(surface_) != CAIRO_STATUS_SUCCESS) {
        // Out of memory: a picture of one pixel, so that drawing stays harmless.
        cairo_surface_destroy(surface_);
        pixelWidth_ = pixelHeight_ = 1;
        surface_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
    }
    cr_ = cairo_create(surface_);
    cairo_scale(cr_, scale_, scale_);
}

CairoCanvas::~CairoCanvas() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
    for (auto& [bytes, image] : images_) {
        if (image) {
            cairo_surface_destroy(image);
        }
    }
}

void CairoCanvas::save() {
    cairo_save(cr_);
}

void CairoCanvas::restore() {
    cairo_restore(cr_);
}

void CairoCanvas::translate(double dx, double dy) {
    cairo_translate(cr_, dx, dy);
}

void CairoCanvas::beginTransparencyLayer(double alpha) {
    layers_.push_back(std::clamp(alpha, 0.0, 1.0));
    cairo_push_group(cr_);
}

void CairoCanvas::endTransparencyLayer() {
    if (layers_.empty()) {
        return;
    }
    const double alpha = layers_.back();
    layers_.pop_back();
    cairo_pop_group_to_source(cr_);
    cairo_paint_with_alpha(cr_, alpha);
    // The group's pattern stays the source otherwise; it is not needed any more.
    cairo_set_source_rgba(cr_, 0, 0, 0, 1);
}

void CairoCanvas::setPath(const CanvasPath& path) {
    cairo_new_path(cr_);
    for (const auto& e : path.elements()) {
        switch (e.verb) {
            case CanvasPath::Verb::moveTo:
                cairo_move_to(cr_, e.x, e.y);
                break;
            case CanvasPath::Verb::lineTo:
                cairo_line_to(cr_, e.x, e.y);
                break;
            case CanvasPath::Verb::arc:
                if (e.radius > 0) {
                    cairo_arc(cr_, e.x, e.y, e.radius, e.startAngle, e.endAngle);
                }
                break;
            case CanvasPath::Verb::close:
                cairo_close_path(cr_);
                break;
        }
    }
}

void CairoCanvas::clip(const CanvasPath& path) {
    setPath(path);
    cairo_clip(cr_);
}

void CairoCanvas::fill(const CanvasPath& path, const Rgba& color) {
    if (color.a <= 0 || path.empty()) {
        return;
    }
    setPath(path);
    setColor(cr_, color);
    cairo_fill(cr_);
}

void CairoCanvas::stroke(const CanvasPath& path, const Rgba& color, double lineWidth,
                         const std::vector<double>& dashes) {
    if (color.a <= 0 || lineWidth <= 0 || !std::isfinite(lineWidth) || path.empty()) {
        return;
    }
    setPath(path);
    setColor(cr_, color);
    cairo_set_line_width(cr_, lineWidth);
    // Cairo puts a dash pattern of only zeros or negative lengths into an error state that
    // ends all drawing: such a pattern draws a solid line instead.
    const bool validDashes =
        !dashes.empty() &&
        std::all_of(dashes.begin(), dashes.end(),
                    [](double d) { return std::isfinite(d) && d >= 0; }) &&
        std::any_of(dashes.begin(), dashes.end(), [](double d) { return d > 0; });
    if (validDashes) {
        cairo_set_dash(cr_, dashes.data(), static_cast<int>(dashes.size()), 0);
    }
    cairo_stroke(cr_);
    cairo_set_dash(cr_, nullptr, 0, 0);
}

void CairoCanvas::shadow(const CanvasPath& path, const Rgba& color, double offsetX, double offsetY,
                         double blurRadius) {
    if (color.a <= 0 || path.empty()) {
        return;
    }
    cairo_save(cr_);
    cairo_translate(cr_, offsetX, offsetY);
    setPath(path);
    double x1 = 0;
    double y1 = 0;
    double x2 = 0;
    double y2 = 0;
    cairo_path_extents(cr_, &x1, &y1, &x2, &y2);
    // The shape in device pixels, widened by the blur.
    cairo_user_to_device(cr_, &x1, &y1);
    cairo_user_to_device(cr_, &x2, &y2);
    const double blur = std::isfinite(blurRadius) ? std::clamp(blurRadius, 0.0, 200.0) : 0;
    const int blurPixels = static_cast<int>(std::lround(blur * scale_ / 2));
    const int pad = 3 * blurPixels + 2;
    const double left = std::floor(std::min(x1, x2)) - pad;
    const double top = std::floor(std::min(y1, y2)) - pad;
    const double right = std::ceil(std::max(x1, x2)) + pad;
    const double bottom = std::ceil(std::max(y1, y2)) + pad;
    const bool sane = std::isfinite(left) && std::isfinite(top) && right - left < kLargestSide &&
                      bottom - top < kLargestSide;
    if (blurPixels == 0 || !sane) {
        setColor(cr_, color);
        cairo_fill(cr_);
        cairo_restore(cr_);
        return;
    }
    cairo_surface_t* mask = cairo_image_surface_create(
        CAIRO_FORMAT_A8, static_cast<int>(right - left), static_cast<int>(bottom - top));
    cairo_t* m = cairo_create(mask);
    cairo_matrix_t matrix;
    cairo_get_matrix(cr_, &matrix);
    cairo_translate(m, -left, -top);
    cairo_transform(m, &matrix);
    cairo_new_path(m);
    cairo_path_t* shape = cairo_copy_path(cr_);
    cairo_append_path(m, shape);
    cairo_path_destroy(shape);
    cairo_fill(m);
    cairo_destroy(m);
    blurAlpha(mask, blurPixels);

    cairo_new_path(cr_);
    cairo_identity_matrix(cr_);
    setColor(cr_, color);
    cairo_mask_surface(cr_, mask, left, top);
    cairo_surface_destroy(mask);
    cairo_restore(cr_);
}

void CairoCanvas::radialGradient(double startX, double startY, double startRadius, double endX,
                                 double endY, double endRadius,
                                 const std::vector<GradientStop>& stops) {
    if (stops.empty()) {
        return;
    }
    cairo_pattern_t* pattern = cairo_pattern_create_radial(
        startX, startY, std::max(0.0, startRadius), endX, endY, std::max(0.0, endRadius));
    for (const auto& stop : stops) {
        cairo_pattern_add_color_stop_rgba(pattern, std::clamp(stop.location, 0.0, 1.0),
                                          stop.color.r, stop.color.g, stop.color.b, stop.color.a);
    }
    // Beyond the outer circle the last colour goes on, as the views that use it expect.
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_save(cr_);
    cairo_set_source(cr_, pattern);
    cairo_paint(cr_);
    cairo_restore(cr_);
    cairo_pattern_destroy(pattern);
}

cairo_surface_t* CairoCanvas::decoded(std::string_view encoded) {
    if (auto found = images_.find(encoded); found != images_.end()) {
        return found->second;
    }
    cairo_surface_t* image = nullptr;
    int w = 0;
    int h = 0;
    int components = 0;
    stbi_uc* pixels =
        encoded.empty() || encoded.size() > static_cast<std::size_t>(INT_MAX)
            ? nullptr
            : stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(encoded.data()),
                                    static_cast<int>(encoded.size()), &w, &h, &components, 4);
    if (pixels && w > 0 && h > 0 && w <= kLargestSide && h <= kLargestSide) {
        image = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
        if (cairo_surface_status(image) == CAIRO_STATUS_SUCCESS) {
            // stb gives RGBA bytes, straight alpha; Cairo wants premultiplied native words.
            unsigned char* data = cairo_image_surface_get_data(image);
            const int stride = cairo_image_surface_get_stride(image);
            for (int y = 0; y < h; ++y) {
                auto* row = reinterpret_cast<std::uint32_t*>(data + static_cast<std::ptrdiff_t>(y) *
                                                                        stride);
                const stbi_uc* in = pixels + static_cast<std::ptrdiff_t>(y) * w * 4;
                for (int x = 0; x < w; ++x, in += 4) {
                    const std::uint32_t a = in[3];
                    const auto premultiply = [a](std::uint32_t c) { return (c * a + 127) / 255; };
                    row[x] = (a << 24) | (premultiply(in[0]) << 16) | (premultiply(in[1]) << 8) |
                             premultiply(in[2]);
                }
            }
            cairo_surface_mark_dirty(image);
        } else {
            cairo_surface_destroy(image);
            image = nullptr;
        }
    }
    if (pixels) {
        stbi_image_free(pixels);
    }
    images_.emplace(std::string(encoded), image);
    return image;
}

void CairoCanvas::drawImage(std::string_view encoded, double x, double y, double width,
                            double height) {
    if (!(width > 0) || !(height > 0) || !std::isfinite(width) || !std::isfinite(height)) {
        return;
    }
    cairo_surface_t* image = decoded(encoded);
    if (!image) {
        return;
    }
    const int w = cairo_image_surface_get_width(image);
    const int h = cairo_image_surface_get_height(image);
    cairo_save(cr_);
    cairo_rectangle(cr_, x, y, width, height);
    cairo_clip(cr_);
    cairo_translate(cr_, x, y);
    cairo_scale(cr_, width / w, height / h);
    cairo_set_source_surface(cr_, image, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr_), CAIRO_FILTER_GOOD);
    cairo_pattern_set_extend(cairo_get_source(cr_), CAIRO_EXTEND_PAD);
    cairo_paint(cr_);
    cairo_restore(cr_);
}

void CairoCanvas::drawText(const TextBlock& block, double x, double y, double width) {
    if (!textPainter_ || block.text.empty()) {
        return;
    }
    cairo_save(cr_);
    textPainter_(cr_, block, x, y, width);
    cairo_restore(cr_);
}

Rgba CairoCanvas::pixel(double x, double y) const {
    const double px = std::floor(x * scale_);
    const double py = std::floor(y * scale_);
    if (!(px >= 0 && py >= 0 && px < pixelWidth_ && py < pixelHeight_)) {
        return Rgba{0, 0, 0, 0};
    }
    cairo_surface_flush(surface_);
    const unsigned char* data = cairo_image_surface_get_data(surface_);
    const int stride = cairo_image_surface_get_stride(surface_);
    std::uint32_t word = 0;
    std::memcpy(
        &word,
        data + static_cast<std::ptrdiff_t>(py) * stride + static_cast<std::ptrdiff_t>(px) * 4,
        sizeof word);
    const double a = (word >> 24) & 0xFF;
    if (a == 0) {
        return Rgba{0, 0, 0, 0};
    }
    const auto channel = [a](std::uint32_t c) { return std::min(1.0, c / a); };
    return Rgba{channel((word >> 16) & 0xFF), channel((word >> 8) & 0xFF), channel(word & 0xFF),
                a / 255.0};
}

bool CairoCanvas::writePng(const std::filesystem::path& file) const {
    cairo_surface_flush(surface_);
    return cairo_surface_write_to_png(surface_, file.c_str()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace quillgate::platform

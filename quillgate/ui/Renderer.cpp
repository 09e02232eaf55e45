#include "quillgate/ui/Renderer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "quillgate/platform/Image.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/ui/ActivityIndicatorView.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextBlocks.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/View.h"

namespace quillgate::ui {

namespace {

using platform::Canvas;
using platform::CanvasPath;

// Below this alpha a view counts as invisible, as for touches.
constexpr double kInvisibleAlpha = 0.01;

bool visible(const std::optional<Color>& color) {
    return color && color->a > 0;
}

// The outline of the view's layer in its own frame-local coordinates (origin at its top-left
// corner): the rounded rectangle of its corner radius on its masked corners.
CanvasPath layerShape(const View& view) {
    const Layer& layer = view.layer();
    return roundedPath(Rect(Point{}, view.frame().size), layer.cornerRadius, layer.maskedCorners);
}

// The size an image shows at: its size in points, else its pixel size.
Size naturalSize(const Image& image) {
    if (image.size().width > 0 && image.size().height > 0) {
        return image.size();
    }
    if (const auto size = platform::imageSize(image.data())) {
        return Size{static_cast<double>(size->width), static_cast<double>(size->height)};
    }
    return {};
}

void drawImageIn(Canvas& canvas, const Image& image, const Rect& rect) {
    if (image.data().empty() || rect.isEmpty()) {
        return;
    }
    canvas.drawImage(image.data(), rect.x(), rect.y(), rect.width(), rect.height());
}

// Where an image of `size` goes in `box` for a content mode.
Rect placeImage(Size size, const Rect& box, ContentMode mode) {
    if (size.width <= 0 || size.height <= 0) {
        return box;
    }
    const auto centered = [&](double w, double h) {
        return Rect(box.midX() - w / 2, box.midY() - h / 2, w, h);
    };
    switch (mode) {
        case ContentMode::scaleToFill:
            return box;
        case ContentMode::scaleAspectFit: {
            const double s = std::min(box.width() / size.width, box.height() / size.height);
            return centered(size.width * s, size.height * s);
        }
        case ContentMode::scaleAspectFill: {
            const double s = std::max(box.width() / size.width, box.height() / size.height);
            return centered(size.width * s, size.height * s);
        }
        case ContentMode::center:
            return centered(size.width, size.height);
        case ContentMode::top:
            return Rect(box.midX() - size.width / 2, box.y(), size.width, size.height);
        case ContentMode::bottom:
            return Rect(box.midX() - size.width / 2, box.maxY() - size.height, size.width,
                        size.height);
        case ContentMode::left:
            return Rect(box.x(), box.midY() - size.height / 2, size.width, size.height);
        case ContentMode::right:
            return Rect(box.maxX() - size.width, box.midY() - size.height / 2, size.width,
                        size.height);
    }
    return box;
}

// The spinning indicator: twelve spokes, darker towards the head.
void drawIndicator(Canvas& canvas, const ActivityIndicatorView& view) {
    const Rect b = view.bounds();
    const double radius = std::min(b.width(), b.height()) / 2;
    if (radius <= 0) {
        return;
    }
    const Color color = view.tintColor().value_or(Color::systemGray());
    const double cx = b.midX();
    const double cy = b.midY();
    constexpr int kSpokes = 12;
    for (int i = 0; i < kSpokes; ++i) {
        const double angle = 2 * std::numbers::pi * i / kSpokes - std::numbers::pi / 2;
        CanvasPath spoke;
        spoke.moveTo(cx + std::cos(angle) * radius * 0.45, cy + std::sin(angle) * radius * 0.45);
        spoke.lineTo(cx + std::cos(angle) * radius * 0.9, cy + std::sin(angle) * radius * 0.9);
        const double alpha = 0.25 + 0.75 * (kSpokes - i) / kSpokes;
        canvas.stroke(spoke, rgba(color.withAlpha(color.a * alpha)), radius * 0.16);
    }
}

// The size `block` takes at `width` (0: unbounded), by the platform's text layout service.
platform::TextMetrics measure(const platform::TextBlock& block, double width) {
    const auto& layout = platform::current().textLayout;
    return layout ? layout->measure(block, width) : platform::TextMetrics{};
}

// Sets `block` as wide as `box`, centred vertically in it, as labels and fields show text.
void drawTextIn(Canvas& canvas, const platform::TextBlock& block, const Rect& box) {
    if (block.text.empty() || box.width() <= 0) {
        return;
    }
    const double height = measure(block, box.width()).height;
    canvas.drawText(block, box.x(), box.midY() - height / 2, box.width());
}

// A button's background image fills it; its image and title sit side by side, as one group
// placed by the content alignment and centred vertically.
void drawButton(Canvas& canvas, const Button& button) {
    const Rect b = button.bounds();
    if (const auto background = button.backgroundImage(button.state())) {
        drawImageIn(canvas, *background, b);
    }
    const auto image = button.currentImage();
    const platform::TextBlock title = textBlock(button);
    if (!image) {
        // The title alone is set across the button, aligned as its content.
        drawTextIn(canvas, title, b);
        return;
    }
    const Size imageSize = naturalSize(*image);
    const double available = std::max(0.0, b.width() - imageSize.width);
    const double titleWidth =
        title.text.empty() ? 0 : std::min(available, std::ceil(measure(title, 0).width) + 1);
    const double groupWidth = imageSize.width + titleWidth;
    double x = b.x() + (b.width() - groupWidth) / 2;
    switch (button.contentHorizontalAlignment()) {
        case ContentHorizontalAlignment::left:
        case ContentHorizontalAlignment::leading:
        case ContentHorizontalAlignment::fill:
            x = b.x();
            break;
        case ContentHorizontalAlignment::right:
        case ContentHorizontalAlignment::trailing:
            x = b.maxX() - groupWidth;
            break;
        case ContentHorizontalAlignment::center:
            break;
    }
    if (image) {
        drawImageIn(canvas, *image,
                    Rect(x, b.midY() - imageSize.height / 2, imageSize.width, imageSize.height));
    }
    if (titleWidth > 0) {
        drawTextIn(canvas, title, Rect(x + imageSize.width, b.y(), titleWidth, b.height()));
    }
}

void drawContent(Canvas& canvas, const View& view);

void drawView(Canvas& canvas, const View& view) {
    if (view.isHidden() || view.alpha() < kInvisibleAlpha) {
        return;
    }
    const Layer& layer = view.layer();
    const Rect frame = view.frame();
    const CanvasPath shape = layerShape(view);

    canvas.save();
    canvas.translate(frame.x(), frame.y());

    // The shadow follows the layer's shape when the layer has a background to cast it.
    if (layer.shadowOpacity > 0 && visible(view.backgroundColor())) {
        const Color color = layer.shadowColor.value_or(Color::black());
        canvas.shadow(shape,
                      rgba(color.withAlpha(color.a * std::min(1.0, layer.shadowOpacity) *
                                           std::min(1.0, view.alpha()))),
                      layer.shadowOffset.width, layer.shadowOffset.height, layer.shadowRadius);
    }

    const bool layered = view.alpha() < 1;
    if (layered) {
        canvas.beginTransparencyLayer(view.alpha());
    }
    if (layer.mask) {
        const Rect b = view.bounds();
        const Rect m = layer.mask->bounds;
        canvas.clip(roundedPath(Rect(m.x() - b.x(), m.y() - b.y(), m.width(), m.height()),
                                layer.mask->radius, layer.mask->corners));
    }
    if (visible(view.backgroundColor())) {
        canvas.fill(shape, rgba(*view.backgroundColor()));
    }

    canvas.save();
    if (view.clipsToBounds()) {
        canvas.clip(shape);
    }
    // From here on, the view's bounds (a scroll view's follow its content offset).
    const Rect bounds = view.bounds();
    canvas.translate(-bounds.x(), -bounds.y());
    // The hook of a view that paints a look of its own; a hook may not leave its state behind.
    canvas.save();
    const_cast<View&>(view).draw(canvas, bounds);
    canvas.restore();
    drawContent(canvas, view);
    for (const auto& sub : view.subviews()) {
        drawView(canvas, *sub);
    }
    canvas.restore();

    // The border lies inside the shape, over the content.
    if (layer.borderWidth > 0 && visible(layer.borderColor)) {
        const double w = layer.borderWidth;
        const Rect inner(w / 2, w / 2, frame.width() - w, frame.height() - w);
        if (inner.width() > 0 && inner.height() > 0) {
            canvas.stroke(
                roundedPath(inner, std::max(0.0, layer.cornerRadius - w / 2), layer.maskedCorners),
                rgba(*layer.borderColor), w);
        } else {
            canvas.fill(shape, rgba(*layer.borderColor));
        }
    }

    if (layered) {
        canvas.endTransparencyLayer();
    }
    canvas.restore();
}

void drawContent(Canvas& canvas, const View& view) {
    const Rect bounds = view.bounds();
    if (const auto* label = dynamic_cast<const Label*>(&view)) {
        drawTextIn(canvas, textBlock(*label), bounds);
    } else if (const auto* button = dynamic_cast<const Button*>(&view)) {
        drawButton(canvas, *button);
    } else if (const auto* field = dynamic_cast<const TextField*>(&view)) {
        drawTextIn(canvas, textBlock(*field), bounds);
    } else if (const auto* imageView = dynamic_cast<const ImageView*>(&view)) {
        if (const auto& image = imageView->image()) {
            const Rect placed = placeImage(naturalSize(*image), bounds, view.contentMode());
            drawImageIn(canvas, *image, placed);
        }
    } else if (const auto* indicator = dynamic_cast<const ActivityIndicatorView*>(&view)) {
        drawIndicator(canvas, *indicator);
    }
}

}  // namespace

CanvasPath roundedPath(const Rect& rect, double radius, unsigned corners) {
    CanvasPath path;
    const double r = std::isfinite(radius) ? std::max(0.0, radius) : 0;
    const auto corner = [&](unsigned bit) { return (corners & bit) != 0 ? r : 0.0; };
    path.addRoundedRect(rect.x(), rect.y(), rect.width(), rect.height(), corner(minXMinYCorner),
                        corner(maxXMinYCorner), corner(maxXMaxYCorner), corner(minXMaxYCorner));
    return path;
}

void renderTree(const View& root, Canvas& canvas) {
    canvas.save();
    canvas.translate(-root.frame().x(), -root.frame().y());
    drawView(canvas, root);
    canvas.restore();
}

std::unique_ptr<platform::ImageCanvas> renderPicture(const View& root, double scale) {
    auto& make = platform::current().makeImageCanvas;
    if (!make) {
        return nullptr;
    }
    auto canvas = make(root.frame().width(), root.frame().height(), scale);
    if (canvas) {
        renderTree(root, *canvas);
    }
    return canvas;
}

bool writePicture(const View& root, const std::filesystem::path& file, double scale) {
    const auto canvas = renderPicture(root, scale);
    return canvas && canvas->writePng(file);
}

}  // namespace quillgate::ui

// Pictures of small scenes, probed at chosen points with a tolerance: what each kind of view
// paints, where, and what it leaves alone.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "quillgate/platform/Canvas.h"
#include "quillgate/platform/Image.h"
#include "quillgate/ui/ActivityIndicatorView.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Renderer.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/TextField.h"
#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

using platform::Rgba;

constexpr double kTolerance = 0.03;

::testing::AssertionResult near(const Rgba& got, const Rgba& want, double tolerance = kTolerance) {
    const auto close = [&](double a, double b) { return std::abs(a - b) <= tolerance; };
    if (close(got.r, want.r) && close(got.g, want.g) && close(got.b, want.b) &&
        close(got.a, want.a)) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "got (" << got.r << ", " << got.g << ", " << got.b << ", " << got.a << "), want ("
           << want.r << ", " << want.g << ", " << want.b << ", " << want.a << ")";
}

Rgba rgba(const Color& c) {
    return toRgba(c);
}

const Rgba kClear{0, 0, 0, 0};

std::string fileBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::shared_ptr<View> box(Rect frame, std::optional<Color> color) {
    auto v = std::make_shared<View>(frame);
    v->setBackgroundColor(color);
    return v;
}

// A view whose hook draws a dashed line across its middle and a radial gradient in its lower
// half.
class DashedLine : public View {
  public:
    using View::View;
    void draw(platform::Canvas& canvas, const Rect& rect) override {
        platform::CanvasPath line;
        line.moveTo(0, rect.height() / 4);
        line.lineTo(rect.width(), rect.height() / 4);
        canvas.stroke(line, Rgba{0, 0, 1, 1}, 4, {10, 10});
        canvas.save();
        platform::CanvasPath lower;
        lower.addRect(0, rect.height() / 2, rect.width(), rect.height() / 2);
        canvas.clip(lower);
        canvas.radialGradient(rect.midX(), rect.height() * 0.75, 0, rect.midX(),
                              rect.height() * 0.75, rect.width() / 2,
                              {{0, Rgba{1, 1, 0, 1}}, {1, Rgba{0, 0.5, 0, 1}}});
        canvas.restore();
    }
};

class RendererTest : public UiTest {};

TEST_F(RendererTest, BackgroundsBordersCornersAndTheirOrder) {
    auto root = box(Rect(0, 0, 200, 100), Color::white());
    // A rounded card with a thick border, clipping a red child that pokes out of it.
    auto card = box(Rect(20, 20, 100, 60), Color::blue());
    card->layer().cornerRadius = 20;
    card->layer().borderWidth = 4;
    card->layer().borderColor = Color::black();
    card->setClipsToBounds(true);
    card->addSubview(box(Rect(80, 40, 60, 60), Color::red()));
    // Only the top corners rounded, and no clipping: the green child shows outside.
    auto tab = box(Rect(140, 20, 40, 40), Color::darkGray());
    tab->layer().cornerRadius = 15;
    tab->layer().maskedCorners = minXMinYCorner | maxXMinYCorner;
    tab->addSubview(box(Rect(30, 30, 20, 20), Color::green()));
    root->addSubview(card);
    root->addSubview(tab);

    const auto picture = renderPicture(*root, 2);
    ASSERT_TRUE(picture);
    if (const char* keep = std::getenv("QUILLGATE_KEEP_PICTURES")) {
        picture->writePng(std::filesystem::path(keep) / "renderer-basics.png");
    }
    EXPECT_EQ(picture->pixelWidth(), 400);
    EXPECT_EQ(picture->pixelHeight(), 200);

    EXPECT_TRUE(near(picture->pixel(5, 5), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(60, 50), rgba(Color::blue())));
    // The border sits inside the frame, over the clipped child too.
    EXPECT_TRUE(near(picture->pixel(60, 21), rgba(Color::black())));
    EXPECT_TRUE(near(picture->pixel(118.5, 50), rgba(Color::black())));
    EXPECT_TRUE(near(picture->pixel(110, 70), rgba(Color::red())));
    // Outside the rounded corner the root shows; the child is clipped away there and beyond.
    EXPECT_TRUE(near(picture->pixel(21, 21), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(119, 79), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(125, 70), rgba(Color::white())));
    // Masked corners: rounded at the top, square at the bottom; no clip, so the child shows.
    EXPECT_TRUE(near(picture->pixel(141, 21), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(141, 59), rgba(Color::darkGray())));
    EXPECT_TRUE(near(picture->pixel(185, 65), rgba(Color::green())));
}

TEST_F(RendererTest, TransparentOutsideARoundedRootAndNothingForHiddenOrFadedViews) {
    auto root = box(Rect(0, 0, 100, 100), Color::red());
    root->layer().cornerRadius = 30;
    auto hidden = box(Rect(40, 40, 20, 20), Color::blue());
    hidden->setHidden(true);
    auto faded = box(Rect(40, 0, 20, 20), Color::blue());
    faded->setAlpha(0.005);
    auto half = box(Rect(0, 40, 20, 20), Color::blue());
    half->setAlpha(0.5);
    // A half-transparent view composites as one layer: its opaque child does not show through.
    half->addSubview(box(Rect(5, 5, 10, 10), Color::green()));
    root->addSubview(hidden);
    root->addSubview(faded);
    root->addSubview(half);

    const auto picture = renderPicture(*root, 1);
    ASSERT_TRUE(picture);
    EXPECT_TRUE(near(picture->pixel(1, 1), kClear));
    EXPECT_TRUE(near(picture->pixel(50, 50), rgba(Color::red())));
    EXPECT_TRUE(near(picture->pixel(50, 10), rgba(Color::red())));
    EXPECT_TRUE(near(picture->pixel(2, 50), Rgba{0.5, 0, 0.5, 1}));
    EXPECT_TRUE(near(picture->pixel(10, 50), Rgba{0.5, 0.5, 0, 1}));
    // Outside the picture: transparent.
    EXPECT_TRUE(near(picture->pixel(-1, 50), kClear));
    EXPECT_TRUE(near(picture->pixel(100, 50), kClear));
}

TEST_F(RendererTest, ShapeMasksShadowsScrollOffsetsAndDrawingHooks) {
    auto root = box(Rect(0, 0, 300, 200), Color::white());
    // A mask rounds only the bottom-left corner and cuts the background and border with it.
    auto masked = box(Rect(10, 10, 80, 80), Color::blue());
    masked->layer().mask = Layer::RoundedMask{Rect(0, 0, 80, 80), minXMaxYCorner, 30};
    // A card with a soft shadow below it.
    auto card = box(Rect(110, 10, 60, 40), Color::white());
    card->layer().shadowOpacity = 1;
    card->layer().shadowOffset = Size{0, 10};
    card->layer().shadowRadius = 4;
    card->layer().shadowColor = Color::black();
    // A scroll view scrolled by 50 points shows its content's lower part.
    auto scroll = std::make_shared<ScrollView>(Rect(200, 10, 80, 80));
    scroll->setContentSize(Size{80, 200});
    scroll->setContentOffset(Point{0, 50});
    scroll->setClipsToBounds(true);
    scroll->addSubview(box(Rect(0, 0, 80, 60), Color::red()));
    scroll->addSubview(box(Rect(0, 60, 80, 140), Color::green()));
    auto hook = std::make_shared<DashedLine>(Rect(10, 100, 200, 80));
    root->addSubview(masked);
    root->addSubview(card);
    root->addSubview(scroll);
    root->addSubview(hook);

    const auto picture = renderPicture(*root, 2);
    ASSERT_TRUE(picture);
    if (const char* keep = std::getenv("QUILLGATE_KEEP_PICTURES")) {
        picture->writePng(std::filesystem::path(keep) / "renderer-layers.png");
    }
    EXPECT_TRUE(near(picture->pixel(11, 11), rgba(Color::blue())));
    EXPECT_TRUE(near(picture->pixel(11, 89), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(89, 89), rgba(Color::blue())));
    // Shadow: dark just below the card, the card itself white, nothing far away.
    const Rgba under = picture->pixel(140, 55);
    EXPECT_LT(under.r, 0.5);
    EXPECT_TRUE(near(picture->pixel(140, 30), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(140, 80), rgba(Color::white())));
    // Scrolled: the red part is partly gone above the view's top edge.
    EXPECT_TRUE(near(picture->pixel(240, 12), rgba(Color::red())));
    EXPECT_TRUE(near(picture->pixel(240, 30), rgba(Color::green())));
    // The hook's dashes: drawn, skipped, drawn; and its gradient from yellow to green.
    EXPECT_TRUE(near(picture->pixel(15, 120), Rgba{0, 0, 1, 1}));
    EXPECT_TRUE(near(picture->pixel(25, 120), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(35, 120), Rgba{0, 0, 1, 1}));
    EXPECT_TRUE(near(picture->pixel(110, 160), Rgba{1, 1, 0, 1}, 0.1));
    EXPECT_TRUE(near(picture->pixel(12, 178), Rgba{0, 0.5, 0, 1}, 0.1));
}

TEST_F(RendererTest, ImageBytesAreDecodedAndPlacedByContentMode) {
    // A 20 x 10 picture: red left half, blue right half, as PNG bytes.
    auto source = box(Rect(0, 0, 20, 10), Color::red());
    source->addSubview(box(Rect(10, 0, 10, 10), Color::blue()));
    const auto file = platform.stateDirectory() / "source.png";
    ASSERT_TRUE(writePicture(*source, file, 1));
    const Image image = Image::fromData(fileBytes(file), Size{20, 10});

    auto root = box(Rect(0, 0, 100, 100), Color::white());
    auto fit = std::make_shared<ImageView>(image);
    fit->setFrame(Rect(0, 0, 100, 40));
    fit->setContentMode(ContentMode::scaleAspectFit);
    auto fill = std::make_shared<ImageView>(image);
    fill->setFrame(Rect(0, 50, 100, 40));
    auto junk = std::make_shared<ImageView>(Image::fromData("not an image", Size{10, 10}));
    junk->setFrame(Rect(0, 90, 100, 10));
    root->addSubview(fit);
    root->addSubview(fill);
    root->addSubview(junk);

    const auto picture = renderPicture(*root, 2);
    ASSERT_TRUE(picture);
    // Aspect fit: 80 x 40 in the middle, white bars on both sides.
    EXPECT_TRUE(near(picture->pixel(5, 20), rgba(Color::white())));
    EXPECT_TRUE(near(picture->pixel(20, 20), rgba(Color::red())));
    EXPECT_TRUE(near(picture->pixel(80, 20), rgba(Color::blue())));
    EXPECT_TRUE(near(picture->pixel(95, 20), rgba(Color::white())));
    // Scale to fill: stretched over the whole frame.
    EXPECT_TRUE(near(picture->pixel(2, 70), rgba(Color::red())));
    EXPECT_TRUE(near(picture->pixel(98, 70), rgba(Color::blue())));
    // Bytes that are not an image draw nothing.
    EXPECT_TRUE(near(picture->pixel(50, 95), rgba(Color::white())));
}

TEST_F(RendererTest, PngFilesHaveThePictureSizeAndUnwritablePathsFail) {
    auto root = box(Rect(0, 0, 39, 84.4), Color::white());
    const auto file = platform.stateDirectory() / "picture.png";
    ASSERT_TRUE(writePicture(*root, file, 3));
    const auto image = platform::imageSize(fileBytes(file));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 117);
    EXPECT_EQ(image->height, 254);
    EXPECT_FALSE(writePicture(*root, platform.stateDirectory() / "missing" / "x.png", 2));
    // Degenerate sizes and scales still give a (one-pixel) picture rather than a fault.
    auto empty = std::make_shared<View>();
    const auto tiny = renderPicture(*empty, -1);
    ASSERT_TRUE(tiny);
    EXPECT_EQ(tiny->pixelWidth(), 1);
}

}  // namespace
}  // namespace quillgate::ui

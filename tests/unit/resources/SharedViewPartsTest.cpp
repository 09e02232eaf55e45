// The shared view parts: what the drawn line and the gradient paint, touch forwarding to the
// screen, the icon button's alignment, the screen look-ups, nib and cell helpers, and the
// library's own images.

#include <gtest/gtest.h>

#include "quillgate/platform/Canvas.h"
#include "quillgate/resources/CUILine.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/resources/CustomTableView.h"
#include "quillgate/resources/CustomUIButton.h"
#include "quillgate/resources/GradientView.h"
#include "quillgate/resources/ViewLookups.h"
#include "quillgate/templates/Helper.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/Window.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

// Keeps what was stroked, filled and graded, in order.
class RecordingCanvas final : public platform::Canvas {
  public:
    struct Stroke {
        platform::CanvasPath path;
        platform::Rgba color;
        double width;
        std::vector<double> dashes;
    };
    struct Gradient {
        double startX, startY, startRadius, endX, endY, endRadius;
        std::vector<platform::GradientStop> stops;
    };

    void save() override {}
    void restore() override {}
    void translate(double, double) override {}
    void beginTransparencyLayer(double) override {}
    void endTransparencyLayer() override {}
    void clip(const platform::CanvasPath&) override {}
    void fill(const platform::CanvasPath&, const platform::Rgba& color) override {
        fills.push_back(color);
    }
    void stroke(const platform::CanvasPath& path, const platform::Rgba& color, double lineWidth,
                const std::vector<double>& dash) override {
        strokes.push_back({path, color, lineWidth, dash});
    }
    void shadow(const platform::CanvasPath&, const platform::Rgba&, double, double,
                double) override {}
    void radialGradient(double sx, double sy, double sr, double ex, double ey, double er,
                        const std::vector<platform::GradientStop>& stops) override {
        gradients.push_back({sx, sy, sr, ex, ey, er, stops});
    }
    void drawImage(std::string_view, double, double, double, double) override {}
    void drawText(const platform::TextBlock&, double, double, double) override {}

    std::vector<platform::Rgba> fills;
    std::vector<Stroke> strokes;
    std::vector<Gradient> gradients;
};

class SharedViewPartsTest : public ::testing::Test {
  protected:
    testing::TestPlatform platform;
};

using Verb = platform::CanvasPath::Verb;

TEST_F(SharedViewPartsTest, TheLineIsAPixelWideAcrossTheMiddleSolidOrDashed) {
    CUILine line(ui::Rect(0, 0, 300, 20));
    line.paddingLeft = 10;
    line.paddingRight = 20;
    line.lineColor = ui::Color::rgb255(60, 70, 92);
    RecordingCanvas canvas;
    line.draw(canvas, line.bounds());
    ASSERT_EQ(canvas.strokes.size(), 1u);
    const auto& solid = canvas.strokes[0];
    EXPECT_DOUBLE_EQ(solid.width, 1.0 / 3.0);  // one pixel of a 3x screen
    EXPECT_TRUE(solid.dashes.empty());
    EXPECT_EQ(solid.color, (platform::Rgba{60 / 255.0, 70 / 255.0, 92 / 255.0, 1}));
    ASSERT_EQ(solid.path.elements().size(), 2u);
    EXPECT_EQ(solid.path.elements()[0].verb, Verb::moveTo);
    EXPECT_EQ(solid.path.elements()[0].x, 10);
    EXPECT_EQ(solid.path.elements()[0].y, 10);
    EXPECT_EQ(solid.path.elements()[1].x, 280);
    EXPECT_EQ(solid.path.elements()[1].y, 10);

    ui::Application::shared().setMainScreen(ui::Screen{ui::Rect(0, 0, 390, 844), 2});
    line.isHorizontal = false;
    line.isDash = true;
    line.lineWidth = 4;
    line.paddingTop = 2;
    line.paddingBottom = 3;
    line.draw(canvas, line.bounds());
    ASSERT_EQ(canvas.strokes.size(), 2u);
    const auto& dashed = canvas.strokes[1];
    EXPECT_DOUBLE_EQ(dashed.width, 2.0);
    EXPECT_EQ(dashed.dashes, (std::vector<double>{3, 1}));
    EXPECT_EQ(dashed.path.elements()[0].x, 150);
    EXPECT_EQ(dashed.path.elements()[0].y, 2);
    EXPECT_EQ(dashed.path.elements()[1].y, 17);
}

TEST_F(SharedViewPartsTest, TheGradientReachesTwoHundredPointsAboveTheBottom) {
    GradientView tall(ui::Rect(0, 0, 390, 600));
    RecordingCanvas canvas;
    tall.draw(canvas, tall.bounds());
    ASSERT_EQ(canvas.gradients.size(), 1u);
    const auto& g = canvas.gradients[0];
    EXPECT_EQ(g.startX, 195);
    EXPECT_EQ(g.endX, 195);
    EXPECT_EQ(g.startY, 0);
    EXPECT_EQ(g.startRadius, 0);
    EXPECT_EQ(g.endRadius, 400);
    ASSERT_EQ(g.stops.size(), 4u);
    EXPECT_EQ(g.stops[1].location, 0.3);
    EXPECT_EQ(g.stops[2].color, (platform::Rgba{1.0, 0.81, 0.91, 1}));
    // Past the end circle the last colour shows.
    ASSERT_EQ(canvas.fills.size(), 1u);
    EXPECT_EQ(canvas.fills[0], (platform::Rgba{0.97, 0.64, 0.69, 1}));

    // No circle at all for a short view: the last colour throughout.
    GradientView shortView(ui::Rect(0, 0, 390, 200));
    RecordingCanvas flat;
    shortView.draw(flat, shortView.bounds());
    EXPECT_TRUE(flat.gradients.empty());
    EXPECT_EQ(flat.fills.size(), 1u);
}

// A screen that counts the touches it hears.
class TouchedScreen : public ui::ViewController {
  public:
    using ViewController::ViewController;
    std::string className() const override { return "TouchedScreen"; }
    void touchesBegan() override { ++touches; }
    int touches = 0;
};

TEST_F(SharedViewPartsTest, TouchesOnTheCustomControlsReachTheScreen) {
    auto screen = ui::ViewController::create<TouchedScreen>();
    auto card = std::make_shared<ui::View>(ui::Rect(0, 0, 300, 400));
    screen->view()->addSubview(card);

    auto custom = std::make_shared<CustomButton>(ui::Rect(0, 0, 100, 40));
    int pressed = 0;
    custom->addAction([&](ui::Control&) { ++pressed; }, ui::ControlEvent::touchUpInside);
    card->addSubview(custom);
    EXPECT_TRUE(custom->tap());
    EXPECT_EQ(pressed, 1);  // still a button
    EXPECT_EQ(screen->touches, 1);

    // A plain button keeps its touch.
    auto plain = std::make_shared<ui::Button>(ui::Rect(0, 0, 100, 40));
    card->addSubview(plain);
    plain->tap();
    EXPECT_EQ(screen->touches, 1);

    // A touch on a row's label travels up to the table, which passes it to the screen.
    auto table = std::make_shared<CustomTableView>(ui::Rect(0, 0, 300, 200));
    card->addSubview(table);
    auto rowLabel = std::make_shared<ui::Label>("Row");
    rowLabel->setUserInteractionEnabled(true);
    table->addSubview(rowLabel);
    rowLabel->tap();
    EXPECT_EQ(screen->touches, 2);
}

TEST_F(SharedViewPartsTest, TheIconButtonSwitchesItsConstraintsByAlignmentWord) {
    CustomUIButton::registerNib();
    auto button = CustomUIButton::make(ui::Rect(0, 0, 300, 48));
    ASSERT_TRUE(button->view);
    EXPECT_EQ(button->view->frame(), ui::Rect(0, 0, 300, 48));
    button->label->setText("Sign in with Google");

    struct Row {
        const char* word;
        bool left, centre, right;
    };
    const Row rows[] = {
        {"left", true, false, false},
        {"RIGHT", false, false, true},
        {"Center", true, true, true},
    };
    for (const auto& row : rows) {
        button->setAlignment(row.word);
        EXPECT_EQ(button->centerLConstraint->isActive(), row.left) << row.word;
        EXPECT_EQ(button->centerYConstraint->isActive(), row.centre) << row.word;
        EXPECT_EQ(button->centerRConstraint->isActive(), row.right) << row.word;
    }
    button->setAlignment("left");
    platform.clearLines();
    button->setAlignment("justify");  // unchanged
    EXPECT_TRUE(platform.printed("center"));
    EXPECT_TRUE(button->centerLConstraint->isActive());
    EXPECT_FALSE(button->centerRConstraint->isActive());
    button->layoutIfNeeded();
    EXPECT_EQ(button->imageView->frame().x(), 12);
}

TEST_F(SharedViewPartsTest, LookUpsFollowNavigationTabsAndPresentations) {
    EXPECT_EQ(keyWindow(), nullptr);
    EXPECT_EQ(topMostViewController(), nullptr);
    EXPECT_EQ(statusBarHeight(), 0.0);

    auto first = ui::ViewController::create<TouchedScreen>();
    auto navigation = ui::NavigationController::withRoot(first);
    auto window = ui::Application::shared().showWindow(navigation);
    EXPECT_EQ(keyWindow(), window);
    EXPECT_EQ(rootViewController(), navigation);
    EXPECT_EQ(topMostViewController(), first);
    EXPECT_EQ(topNavigationController(), navigation);
    EXPECT_EQ(statusBarHeight(), 47.0);

    auto modal = ui::ViewController::create<TouchedScreen>();
    first->present(modal, false);
    EXPECT_EQ(topMostViewController(), modal);
    EXPECT_EQ(presentedViewController(), modal);  // presented through the navigation stack
    EXPECT_EQ(topNavigationController(modal), nullptr);

    auto tabs = ui::ViewController::create<ui::TabBarController>();
    auto inner = ui::NavigationController::withRoot(ui::ViewController::create<TouchedScreen>());
    tabs->setViewControllers({inner});
    EXPECT_EQ(topNavigationController(tabs), inner);
    EXPECT_EQ(quillgateVisibleViewController(tabs), inner->topViewController());

    // A container with no child answers none.
    auto empty = ui::ViewController::create<ui::NavigationController>();
    EXPECT_EQ(quillgateVisibleViewController(empty), nullptr);
}

class RowCell : public ui::TableViewCell {
  public:
    std::string className() const override { return "RowCell"; }
};

TEST_F(SharedViewPartsTest, CellsRegisterAndDequeueByTheirClassName) {
    ui::NibRegistry::shared().registerNib(
        "RowCell", [](ui::Responder*) { return std::make_shared<RowCell>(); });
    ui::TableView table(ui::Rect(0, 0, 300, 400));
    registerCell<RowCell>(table);
    EXPECT_TRUE(table.isRegistered("RowCell"));
    auto cell = dequeueCell<RowCell>(table, ui::IndexPath{0, 0});
    ASSERT_TRUE(cell);
    EXPECT_EQ(cell->reuseIdentifier(), "RowCell");
    ui::NibRegistry::shared().removeNib("RowCell");
}

TEST_F(SharedViewPartsTest, HelpersForImagesQueriesAndCorners) {
    const auto logo = bundleImage("orvelantLogoMono.png");
    EXPECT_EQ(logo.source(), ui::Image::Source::named);
    EXPECT_FALSE(logo.data().empty());
    EXPECT_GT(logo.size().width, logo.size().height);
    EXPECT_TRUE(bundleImage("missing.png").isEmpty());

    EXPECT_EQ(queryString("https://x.test/p", {{"b", "2"}, {"a", "1"}}),
              "https://x.test/p?a=1&b=2");
    EXPECT_EQ(queryString("https://x.test/p", {}), "https://x.test/p");

    ui::View view(ui::Rect(0, 0, 80, 40));
    roundCorners(view, ui::minXMinYCorner | ui::maxXMinYCorner, 10);
    ASSERT_TRUE(view.layer().mask);
    EXPECT_EQ(view.layer().mask->corners, ui::minXMinYCorner | ui::maxXMinYCorner);
    EXPECT_EQ(view.layer().mask->bounds, ui::Rect(0, 0, 80, 40));

    std::vector<std::optional<std::string>> got;
    imageDownloadFinished(std::string("bytes"), false, [&](auto data) { got.push_back(data); });
    imageDownloadFinished(std::string(""), false, [&](auto data) { got.push_back(data); });
    imageDownloadFinished(std::string("bytes"), true, [&](auto data) { got.push_back(data); });
    // The failures answer at once; the bytes come on the main queue.
    EXPECT_EQ(got, (std::vector<std::optional<std::string>>{std::nullopt, std::nullopt}));
    platform.runPending();
    ASSERT_EQ(got.size(), 3u);
    EXPECT_EQ(got[2], "bytes");
}

class SharedViewPartsDeathTest : public SharedViewPartsTest {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(SharedViewPartsDeathTest, WrongNibsAndCellsEndTheProgramWithTheirMessages) {
    // A nib named after the class whose root is of another class.
    ui::NibRegistry::shared().registerNib(
        "GradientView", [](ui::Responder*) { return std::make_shared<ui::View>(); });
    EXPECT_DEATH(loadFromXib<GradientView>(), "Could not load view from nib file.");
    ui::NibRegistry::shared().removeNib("GradientView");

    ui::TableView table(ui::Rect(0, 0, 300, 400));
    table.registerClass("RowCell", [] { return std::make_shared<ui::TableViewCell>(); });
    EXPECT_DEATH(dequeueCell<RowCell>(table, ui::IndexPath{0, 0}),
                 "Could not dequeue cell with identifier: RowCell");
}

}  // namespace
}  // namespace quillgate

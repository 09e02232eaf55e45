#include "quillgate/service/Toast.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Canvas.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Renderer.h"
#include "quillgate/ui/Window.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using testing::TestPlatform;

class ToastTest : public ::testing::Test {
  protected:
    ToastTest() { QuillgateClient::shared().debugMode = true; }

    std::shared_ptr<ui::Label> label() {
        return std::dynamic_pointer_cast<ui::Label>(Toast::shared().toastView->subviews().at(0));
    }

    TestPlatform tp;
};

TEST_F(ToastTest, NothingWithoutDebugModeOrWithoutAWindow) {
    auto window = ui::Application::shared().showWindow();
    QuillgateClient::shared().debugMode = false;
    Toast::shared().show("hidden", 2, 10, 60);
    EXPECT_FALSE(Toast::shared().toastView);
    EXPECT_EQ(window->subviews().size(), 0u) << "only the root view, if any";

    TestPlatform fresh;  // no scene, no window
    QuillgateClient::shared().debugMode = true;
    Toast::shared().show("no window", 2, 10, 60);
    EXPECT_FALSE(Toast::shared().toastView);
}

TEST_F(ToastTest, ShowsABoxOnTheLastWindowPlacedByPosition) {
    auto window = ui::Application::shared().showWindow();
    auto& toast = Toast::shared();

    toast.show("Top", ui::Color::blue(), ui::Color::yellow(), ui::Font::system(12), Toast::top, 2,
               8, 40);
    ASSERT_TRUE(toast.toastView);
    EXPECT_EQ(toast.toastView->superview(), window);
    EXPECT_EQ(window->subviews().back(), toast.toastView);
    EXPECT_EQ(toast.toastView->frame(), ui::Rect(95, 20, 200, 40));
    EXPECT_EQ(toast.toastView->alpha(), 0.8);
    EXPECT_EQ(toast.toastView->backgroundColor(), ui::Color::blue());
    EXPECT_EQ(toast.toastView->layer().cornerRadius, 8);
    EXPECT_TRUE(toast.toastView->clipsToBounds());
    EXPECT_EQ(label()->text(), "Top");
    EXPECT_EQ(label()->textColor(), ui::Color::yellow());
    EXPECT_EQ(label()->font(), ui::Font::system(12));
    EXPECT_EQ(label()->textAlignment(), ui::TextAlignment::center);
    EXPECT_EQ(label()->numberOfLines(), 0);
    EXPECT_EQ(label()->frame().width(), 180);

    toast.show("Middle", 2, 10, 60);
    EXPECT_EQ(toast.toastView->frame(), ui::Rect(95, 392, 200, 60));
    EXPECT_EQ(label()->textColor(), ui::Color::white());
    EXPECT_EQ(toast.toastView->backgroundColor(), ui::Color::black());

    toast.show("Bottom", ui::Color::black(), ui::Color::white(), ui::Font::system(14), 7, 2, 10,
               60);
    EXPECT_EQ(toast.toastView->frame(), ui::Rect(95, 844 - 20 - 60, 200, 60));
}

TEST_F(ToastTest, ASecondToastReplacesTheFirstAtOnceAndFadesAfterItsOwnDuration) {
    auto window = ui::Application::shared().showWindow();
    auto& toast = Toast::shared();
    toast.show("first", 2, 10, 60);
    auto first = toast.toastView;
    tp.advance(1);
    toast.show("second", 2, 10, 60);
    auto second = toast.toastView;
    EXPECT_FALSE(first->superview());
    EXPECT_EQ(label()->text(), "second");

    // The first toast's fade, still due, leaves the second alone.
    tp.advance(1.9);
    EXPECT_EQ(second->alpha(), 0.8);
    // Two seconds after it was shown the second one fades out over 0.3 s, fast at first
    // (ease-out): half-way through it is fainter than a linear fade would make it.
    tp.advance(0.1);
    EXPECT_EQ(second->alpha(), 0.8);
    tp.advance(0.15);
    EXPECT_GT(second->alpha(), 0.0);
    EXPECT_LT(second->alpha(), 0.4);
    EXPECT_EQ(second->superview(), window);
    tp.advance(0.15);
    EXPECT_EQ(second->alpha(), 0.0);
    EXPECT_FALSE(second->superview());
    EXPECT_FALSE(toast.toastView);
}

TEST_F(ToastTest, ThePictureShowsTheRoundedBoxItsWhiteWordsAndTheFade) {
    auto window = ui::Application::shared().showWindow();
    window->setBackgroundColor(ui::Color::white());
    // The web flow's "Unable to Login": white 14-point words on black, centred, 60 high.
    Toast::shared().show("Unable to Login", 2, 10, 60);
    const ui::Rect box(95, 392, 200, 60);

    // The box's grey: black at 0.8 over the white page; anything white inside it is the words.
    const auto brightest = [&](const platform::ImageCanvas& picture) {
        double most = 0;
        for (double x = box.minX() + 12; x < box.maxX() - 12; x += 0.5) {
            for (double y = box.minY() + 20; y < box.maxY() - 20; y += 0.5) {
                most = std::max(most, picture.pixel(x, y).r);
            }
        }
        return most;
    };
    auto shown = ui::renderPicture(*window, 2);
    ASSERT_TRUE(shown);
    EXPECT_NEAR(shown->pixel(box.minX() + 4, box.midY()).r, 0.2, 0.02);
    EXPECT_NEAR(shown->pixel(box.maxX() - 4, box.minY() + 30).g, 0.2, 0.02);
    EXPECT_NEAR(shown->pixel(box.minX() + 0.5, box.minY() + 0.5).r, 1, 0.02) << "a rounded corner";
    EXPECT_NEAR(shown->pixel(box.midX(), box.minY() - 2).r, 1, 0.02);
    EXPECT_GT(brightest(*shown), 0.8) << "white words";

    tp.advance(2.15);  // half-way through the fade: lighter than the box, darker than the page
    auto fading = ui::renderPicture(*window, 2);
    const double half = fading->pixel(box.minX() + 4, box.midY()).r;
    EXPECT_GT(half, 0.25);
    EXPECT_LT(half, 0.95);

    tp.advance(0.2);
    auto gone = ui::renderPicture(*window, 2);
    EXPECT_NEAR(gone->pixel(box.minX() + 4, box.midY()).r, 1, 0.02);
}

}  // namespace
}  // namespace quillgate

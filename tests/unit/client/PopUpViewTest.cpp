// The popup: where each position puts it, its image fetched from the record's address, the
// close button that waits for that attempt, the close and the link with their events.

#include <fstream>
#include <iterator>

#include "quillgate/screens/PopUpView.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/SafariViewController.h"
#include "quillgate/ui/Window.h"
#include "tests/unit/client/ClientTestSupport.h"
#include "tools/devserver/DevServer.h"

namespace quillgate {
namespace {

using Access = QuillgateClientTestAccess;

std::string fileBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class PopUpViewTest : public testing::ClientTest {
  protected:
    PopUpViewTest() { client().parentView = parent; }

    // A popup record as the service sends one for phones.
    static PopUpModel record(std::optional<std::string> image, std::optional<std::string> link,
                             std::string position = "3") {
        PopUpModel m;
        m.id = "popup-1";
        m.type = "mobile";
        m.position = std::move(position);
        m.imageURL = std::move(image);
        m.link = std::move(link);
        return m;
    }

    // The client puts the popup of `model` up now.
    std::shared_ptr<PopUpView> show(PopUpModel model) {
        client().popUpView.reset();
        client().isNeedToShowPopUp = true;
        client().popUpModel = std::move(model);
        Access::showPopUp(client(), 0);
        tp.runPending();
        return std::dynamic_pointer_cast<PopUpView>(client().popUpView);
    }

    std::size_t clicks(const std::string& action) {
        std::size_t n = 0;
        for (const auto& r : tp.http().requestsTo("/collect")) {
            n += r.body && r.body->find("\"" + action + "\"") != std::string::npos ? 1 : 0;
        }
        return n;
    }
};

TEST_F(PopUpViewTest, EachPositionHasItsShapeAndPlace) {
    // The parent is 390 x 800; its controller sits in a navigation stack for the last row.
    const double half = 195;
    const double tall = 1.7027027027027026 * half;
    const double lifted = 800 - (tall - 55) - tall;  // "4" and "5" stand higher
    struct Row {
        std::string position;
        ui::Rect frame;
        bool inNavigation = false;
    };
    const std::vector<Row> rows = {
        {"1", {30, 100, 330, 330 * 0.26666666666666666}},
        {"2", {30, (800 - 440) / 2.0, 330, 440}},
        {"3", {30, 800 - 30 - 88, 330, 88}},
        {"8", {30, 800 - 30 - 330 * 0.7051282051282052, 330, 330 * 0.7051282051282052}},
        {"4", {15, lifted, half, tall}},
        {"5", {390 - 15 - half, lifted, half, tall}},
        {"6", {15, 800 - 30 - tall, half, tall}},
        {"7", {390 - 15 - half, 800 - 30 - tall, half, tall}},
        // Below the status bar (20) and the navigation bar (44), 5 points down.
        {"1", {30, 20 + 44 + 5, 330, 88}, true},
    };
    ui::Application::shared().setStatusBarHeight(20);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.position + (row.inNavigation ? " in a navigation stack" : ""));
        std::shared_ptr<ui::ViewController> article;
        if (row.inNavigation) {
            article = ui::ViewController::create<ui::ViewController>();
            auto stack = ui::NavigationController::withRoot(article);
            ui::Application::shared().showWindow(stack);
            parent = article->view();
            parent->setFrame(ui::Rect(0, 0, 390, 800));
        } else {
            parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 800));
        }
        client().parentView = parent;
        auto popup = show(record(std::nullopt, std::nullopt, row.position));
        ASSERT_TRUE(popup);
        EXPECT_EQ(popup->frame(), row.frame);
        // Width (or both sides), the height's ratio to the width, and one vertical tie.
        std::size_t active = 0;
        for (const auto& holder : {std::static_pointer_cast<ui::View>(popup), parent}) {
            for (const auto& c : holder->constraints()) {
                active += c->isActive() ? 1 : 0;
            }
        }
        EXPECT_EQ(active, 4u);
    }
}

TEST_F(PopUpViewTest, TheCloseButtonWaitsForTheImageAttemptWhateverItsOutcome) {
    const std::string png =
        fileBytes(devserver::DevServer::defaultDataDir() / "static" / "popup.png");
    ASSERT_FALSE(png.empty());
    tp.http().answer("/img/poster.png", 200, png);
    tp.http().answer("/img/missing.png", 404, "<html>Not found</html>");
    struct Row {
        std::optional<std::string> image;
        bool requested;
        bool shown;  // an image in the frame at the end
        bool closeAtOnce, closeAtEnd;
    };
    const std::vector<Row> rows = {
        {"http://127.0.0.1:3000/img/poster.png", true, true, false, true},
        {"http://127.0.0.1:3000/img/missing.png", true, false, false, true},
        {"http://127.0.0.1:3000/img/unreachable.png", true, false, false, true},
        {"not an address", false, false, true, true},
        // Nothing to fetch: nothing ever shows the close button.
        {std::nullopt, false, false, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.image.value_or("no image"));
        const auto before = tp.http().requestCount();
        client().popUpModel = record(row.image, std::nullopt);
        auto popup = PopUpView::loadFromNib();
        EXPECT_EQ(popup->btnClose->isHidden(), !row.closeAtOnce);
        settle();
        EXPECT_EQ(popup->btnClose->isHidden(), !row.closeAtEnd);
        const auto& image = popup->customView->imageView->image();
        EXPECT_EQ(image.has_value(), row.shown);
        if (row.shown) {
            EXPECT_EQ(image->size(), (ui::Size{600, 1022}));
            EXPECT_EQ(image->data(), png);
        }
        const auto requests = tp.http().requests();
        ASSERT_EQ(requests.size() - before, row.requested ? 1u : 0u);
        if (row.requested) {
            EXPECT_EQ(requests.back().url, *row.image);
            EXPECT_EQ(requests.back().timeoutSeconds, 60);
        }
        EXPECT_EQ(popup->customView->imageView->contentMode(), ui::ContentMode::scaleAspectFill);
        EXPECT_FALSE(popup->customView->view->isUserInteractionEnabled());
    }
}

TEST_F(PopUpViewTest, AnImageArrivingAfterThePopupWasClosedIsDropped) {
    tp.http().setHoldAnswers(true);
    auto popup = show(record("http://127.0.0.1:3000/img/late.png", std::nullopt));
    ASSERT_TRUE(popup);
    std::weak_ptr<PopUpView> gone = popup;
    popup->btnCloseAction();
    popup.reset();
    EXPECT_TRUE(gone.expired());
    tp.http().deliverHeld();
    settle();  // nothing left to show it in, and nothing to crash on
    EXPECT_FALSE(client().popUpView);
}

TEST_F(PopUpViewTest, CloseReportsAndTakesThePopupAway) {
    auto popup = show(record("not an address", std::nullopt));
    ASSERT_TRUE(popup);
    ASSERT_TRUE(popup->btnClose->tap());
    settle();
    EXPECT_FALSE(client().popUpView);
    EXPECT_TRUE(parent->subviews().empty());
    EXPECT_EQ(clicks("POPUP_CLOSE"), 1u);
    EXPECT_TRUE(tp.printed("~~~~~Click Action = POPUP_CLOSE~~~~~"));
}

TEST_F(PopUpViewTest, ATapOnTheImageOpensItsLinkInTheInAppBrowser) {
    auto root = ui::ViewController::create<ui::ViewController>();
    ui::Application::shared().showWindow(root);
    for (const std::optional<std::string>& link :
         {std::optional<std::string>("not a link"), std::optional<std::string>()}) {
        tp.clearLines();
        auto popup = show(record(std::nullopt, link));
        ASSERT_TRUE(popup->customView->tap());
        EXPECT_TRUE(tp.printed("Invalid URL"));
        EXPECT_FALSE(root->presentedViewController());
    }
    settle();
    EXPECT_EQ(clicks("POPUP_REDIRECT"), 0u);

    auto popup = show(record(std::nullopt, "https://daily.example/magazine"));
    ASSERT_TRUE(popup->customView->tap()) << "the image takes the tap, not its picture";
    settle();
    auto browser =
        std::dynamic_pointer_cast<ui::SafariViewController>(root->presentedViewController());
    ASSERT_TRUE(browser);
    EXPECT_EQ(browser->url(), "https://daily.example/magazine");
    EXPECT_EQ(clicks("POPUP_REDIRECT"), 1u);
    EXPECT_EQ(client().popUpView, popup) << "the popup stays under the browser";
}

}  // namespace
}  // namespace quillgate

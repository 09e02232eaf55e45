// The reader's actions on a screen the test puts up in the host's window: which view a tap
// reaches, typing into the focused field, the scroll depth, pictures, and what is printed when
// the target is not on screen.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Image.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/GestureRecognizer.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/Window.h"
#include "tools/quillgate/HostApp.h"
#include "tools/quillgate/ReaderActions.h"

namespace quillgate::host {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class ReaderActionsTest : public ::testing::Test {
  protected:
    ReaderActionsTest() {
        state = fs::temp_directory_path() / ("quillgate-reader-test-" + std::to_string(::getpid()));
        fs::remove_all(state);
        HostSetup setup;
        setup.stateDirectory = state;
        setup.alwaysReachable = true;
        app = std::make_unique<HostApp>(out, std::move(setup));
    }
    ~ReaderActionsTest() override {
        app.reset();
        fs::remove_all(state);
    }

    // Runs `text` as `read --do` would; the lines it printed.
    std::vector<std::string> act(const std::string& text, ActionOutcome expected) {
        std::string error;
        const auto action = parseReaderAction(text, error);
        EXPECT_TRUE(action) << error;
        out.str("");
        if (action) {
            EXPECT_EQ(runReaderAction(*app, *action), expected) << text;
        }
        std::vector<std::string> lines;
        std::istringstream in(out.str());
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    std::shared_ptr<ui::Button> button(const std::string& title, ui::Rect frame, int& taps) {
        auto b = std::make_shared<ui::Button>(frame);
        b->setTitle(title);
        b->addAction([&taps](ui::Control&) { ++taps; }, ui::ControlEvent::touchUpInside);
        app->parentView()->addSubview(b);
        return b;
    }

    fs::path state;
    std::ostringstream out;
    std::unique_ptr<HostApp> app;
};

TEST_F(ReaderActionsTest, TapReachesTheFrontMostVisibleEnabledViewWithThatText) {
    int back = 0;
    int front = 0;
    int hidden = 0;
    int disabled = 0;
    int offScreen = 0;
    button("Subscribe", ui::Rect(0, 0, 100, 40), back);
    button("Subscribe", ui::Rect(0, 50, 100, 40), front);
    button("Subscribe", ui::Rect(0, 100, 100, 40), hidden)->setHidden(true);
    button("Subscribe", ui::Rect(0, 150, 100, 40), disabled)->setEnabled(false);
    button("Sign in", ui::Rect(0, 2000, 100, 40), offScreen);
    // A label with its own tap recogniser, and one that lets the touch through to its card.
    int labelTaps = 0;
    int cardTaps = 0;
    auto link = std::make_shared<ui::Label>("Terms");
    link->setFrame(ui::Rect(0, 200, 100, 20));
    link->setUserInteractionEnabled(true);
    link->addGestureRecognizer(
        std::make_shared<ui::TapGestureRecognizer>([&](ui::GestureRecognizer&) { ++labelTaps; }));
    auto card = std::make_shared<ui::View>(ui::Rect(0, 300, 200, 100));
    card->addGestureRecognizer(
        std::make_shared<ui::TapGestureRecognizer>([&](ui::GestureRecognizer&) { ++cardTaps; }));
    auto caption = std::make_shared<ui::Label>("Read on");
    caption->setFrame(ui::Rect(10, 10, 100, 20));
    card->addSubview(caption);
    app->parentView()->addSubview(link);
    app->parentView()->addSubview(card);

    EXPECT_THAT(act("tap Subscribe", ActionOutcome::done), ElementsAre("reader: tap Subscribe"));
    EXPECT_EQ(front, 1);
    EXPECT_EQ(back + hidden + disabled, 0);
    act("tap \"Terms\"", ActionOutcome::done);
    act("tap Read on", ActionOutcome::done);
    EXPECT_EQ(labelTaps, 1);
    EXPECT_EQ(cardTaps, 1);
    EXPECT_THAT(act("tap Sign in", ActionOutcome::nothingOnScreen),
                ElementsAre("reader: tap Sign in", "reader: nothing to tap Sign in on screen"));
    EXPECT_EQ(offScreen, 0);
    act("tap Subscribe now", ActionOutcome::nothingOnScreen);
}

TEST_F(ReaderActionsTest, TypeGoesToTheFieldBeingEditedScrollSetsTheDepth) {
    auto field = std::make_shared<ui::TextField>(ui::Rect(0, 0, 200, 40));
    field->setPlaceholder("Email Id");
    auto other = std::make_shared<ui::TextField>(ui::Rect(0, 50, 200, 40));
    other->setPlaceholder("Name");
    app->parentView()->addSubview(field);
    app->parentView()->addSubview(other);

    // Two fields and neither edited: there is no telling which one the reader means.
    EXPECT_THAT(act("type reader@example.com", ActionOutcome::nothingOnScreen),
                ElementsAre("reader: type reader@example.com",
                            "reader: nothing to type reader@example.com on screen"));
    act("tap Email Id", ActionOutcome::done);
    act("type reader@example.com", ActionOutcome::done);
    EXPECT_EQ(field->text(), "reader@example.com");
    EXPECT_EQ(other->text(), "");

    // With one field on screen (the other hidden) and none edited, typing goes into it.
    ui::Application::shared().endEditing();
    field->setHidden(true);
    act("type Asha", ActionOutcome::done);
    EXPECT_EQ(other->text(), "Asha");
    EXPECT_TRUE(other->isEditing());

    act("scroll 40", ActionOutcome::done);
    EXPECT_FLOAT_EQ(app->client().scrollDepthPercentage(), 40);
    act("wait 0", ActionOutcome::done);
}

TEST_F(ReaderActionsTest, SnapshotWritesTheWindowAtTwicePointsOrSaysItCouldNot) {
    const fs::path file = state / "wall.png";
    EXPECT_THAT(act("snapshot " + file.string(), ActionOutcome::done),
                ElementsAre("reader: snapshot " + file.string()));
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    const auto size = platform::imageSize(bytes.str());
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, static_cast<int>(app->window()->frame().width() * 2));
    EXPECT_EQ(size->height, static_cast<int>(app->window()->frame().height() * 2));

    const std::string nowhere = (state / "no" / "such" / "dir.png").string();
    EXPECT_THAT(
        act("snapshot " + nowhere, ActionOutcome::failed),
        ElementsAre("reader: snapshot " + nowhere, "reader: could not snapshot " + nowhere));
}

TEST(ReaderActionTable, EveryRowParsesItsOwnFormAndHasHelp) {
    const std::pair<std::string, std::string> examples[] = {
        {"tap", "tap  Buy now "},
        {"type", "type a b"},
        {"scroll", "scroll 12.5"},
        {"rotate", "rotate landscape"},
        {"wait", "wait 1"},
        {"snapshot", "snapshot x.png"},
        {"choose", "choose Buy this story"},
        {"click", "click Buy this story"},
        {"post", "post loginSuccess {\"a\": 1}"},
        {"back", "back"},
    };
    ASSERT_EQ(readerActions().size(), std::size(examples));
    for (const auto& [name, text] : examples) {
        std::string error;
        const auto parsed = parseReaderAction(text, error);
        ASSERT_TRUE(parsed) << text << ": " << error;
        EXPECT_EQ(parsed->action->name, name);
    }
    std::string error;
    EXPECT_EQ(parseReaderAction("tap  Buy now ", error)->argument.text, "Buy now");
    EXPECT_EQ(parseReaderAction("tap  Buy now ", error)->text, "tap  Buy now");
    EXPECT_DOUBLE_EQ(parseReaderAction("scroll 12.5", error)->argument.number, 12.5);
    EXPECT_THAT(readerActionsHelp(), ::testing::HasSubstr("snapshot FILE.png"));
}

}  // namespace
}  // namespace quillgate::host

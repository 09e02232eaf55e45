// The text rendering of a view tree.

#include <memory>

#include <gtest/gtest.h>

#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/TreeDescription.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"

namespace quillgate::ui {
namespace {

TEST(TreeDescriptionTest, OneIndentedLinePerViewWithItsKeyTexts) {
    testing::TestPlatform platform;
    struct Wall : ViewController {
        using ViewController::ViewController;
        std::string className() const override { return "QuillgateStatusVC"; }
    };
    auto wall = ViewController::create<Wall>();
    auto root = wall->view();
    root->setTag(9988);
    root->setFrame(Rect(0, 0, 390, 453.5));
    root->setBackgroundColor(Color::white(112 / 255.0, 0.7));

    auto label = std::make_shared<Label>("Pay Optional(\"₹\")10.0 to read now");
    label->setFrame(Rect(16, 20, 358, 24));
    auto button = std::make_shared<Button>(Rect(16, 60, 358, 44));
    button->setTitle("Buy a pass");
    button->setHidden(true);
    button->setEnabled(false);
    auto field = std::make_shared<TextField>();
    field->setPlaceholder("Email Id");
    field->setAccessibilityIdentifier("email");
    field->setAlpha(0.5);
    root->addSubview(label);
    root->addSubview(button);
    button->addSubview(field);

    EXPECT_EQ(describeTree(root),
              "View tag=9988 frame=(0 0; 390 453.5) bg=#707070B3 controller=QuillgateStatusVC\n"
              "  Label frame=(16 20; 358 24) text=\"Pay Optional(\\\"₹\\\")10.0 to read now\"\n"
              "  Button frame=(16 60; 358 44) hidden title=\"Buy a pass\" disabled\n"
              "    TextField id=email frame=(0 0; 0 0) alpha=0.5 text=\"\" "
              "placeholder=\"Email Id\"\n");
    EXPECT_EQ(describeTree(nullptr), "(no view)\n");
}

}  // namespace
}  // namespace quillgate::ui

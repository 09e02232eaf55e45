// The platform's HTML parser: what a host acts on, read the way a browser reads a page.

#include <gtest/gtest.h>

#include <string>

#include "quillgate/platform/HtmlDocument.h"

namespace quillgate::platform {
namespace {

TEST(HtmlDocument, ReadsControlsFormsAndTextTheWayABrowserDoes) {
    const auto doc = parseHtml(
        "<title>A &amp; B</title><p>text <a id=x href='/a?b=1&amp;c=2'>Go\n  <b>on</b></a>"
        "<form action=/f><input name=n value=v><label>L</label><select name=s></select>"
        "<a href=/in>in</a><button>Ok</button></form><button>Out</button>"
        "<script type='application/json' data-handler=h>{\"a\": \"</b>\"}</script>");
    EXPECT_EQ(doc.title, "A & B");
    ASSERT_EQ(doc.forms.size(), 1u);
    std::vector<std::string> tags;
    for (const auto& e : doc.elements) {
        tags.push_back(e.tag + (e.form ? "@form" : ""));
    }
    EXPECT_EQ(tags,
              (std::vector<std::string>{"a", "form", "input@form", "label@form", "select@form",
                                        "a@form", "button@form", "button", "script"}));
    EXPECT_EQ(doc.elements[0].text, "Go on");
    EXPECT_EQ(doc.elements[0].attribute("href"), "/a?b=1&c=2");
    EXPECT_EQ(doc.elements[8].text, "{\"a\": \"</b>\"}") << "script text stays raw";
    EXPECT_EQ(doc.elements[8].attribute("data-handler"), "h");
    // Fields and buttons belong to the form; links and labels don't submit.
    EXPECT_EQ(doc.forms[0].controls, (std::vector<std::size_t>{2, 4, 6}));
}

TEST(HtmlDocument, AnyInputGivesADocument) {
    std::string deep;
    for (int i = 0; i < 2000; ++i) {
        deep += "<div><span>";
    }
    deep += "<a href=/deep>deep</a>";
    const std::vector<std::string> inputs = {"", "\xff\xfe<a href=x>\xc3(</a", "<form><form>",
                                             std::string("<a>\0</a>", 8), deep};
    for (const auto& input : inputs) {
        const auto doc = parseHtml(input);
        EXPECT_LE(doc.forms.size(), 1u);
    }
    EXPECT_EQ(parseHtml(deep).elements.back().text, "deep");
}

}  // namespace
}  // namespace quillgate::platform

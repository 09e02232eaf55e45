#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// An HTML page as a web view's host sees it: its title and the elements a reader acts on
// (links, buttons, form fields, forms), with their attributes and text. Parsing is the
// platform's HTML parser (platform/linux, on gumbo), which reads any input the way a browser
// does: unclosed tags, stray text and bytes that are not UTF-8 give a document, never an
// error. Values; pure functions, any thread.
namespace quillgate::platform {

struct HtmlElement {
    // Lower-case tag name: "a", "button", "input", "select", "textarea", "form", "script",
    // "label", "base".
    std::string tag;
    // Attributes as written (names lower case), values with character references decoded.
    std::vector<std::pair<std::string, std::string>> attributes;
    // The text inside, white space runs collapsed to one blank and trimmed.
    std::string text;
    // The index in `HtmlDocument::forms` of the form that holds this element, if any.
    std::optional<std::size_t> form;

    std::optional<std::string> attribute(std::string_view name) const;
    bool hasAttribute(std::string_view name) const { return attribute(name).has_value(); }
};

struct HtmlForm {
    // The element index of the form itself in `HtmlDocument::elements`.
    std::size_t element = 0;
    // Indices in `HtmlDocument::elements` of its fields and buttons, in document order.
    std::vector<std::size_t> controls;
};

struct HtmlDocument {
    // The text of the first <title>, collapsed like element texts.
    std::string title;
    // The elements above in document order.
    std::vector<HtmlElement> elements;
    std::vector<HtmlForm> forms;
};

// Parses `html` into a document (platform/linux). Never fails.
HtmlDocument parseHtml(std::string_view html);

}  // namespace quillgate::platform

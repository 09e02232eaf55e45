// The HTML document of the platform on gumbo, the HTML5 parser: it builds the tree a browser
// would, whatever the input, and this file reads the elements a host acts on out of it.

#include <gumbo.h>

#include <memory>
#include <utility>
#include <vector>

#include "quillgate/platform/HtmlDocument.h"

namespace quillgate::platform {

namespace {

struct OutputDeleter {
    void operator()(GumboOutput* output) const {
        gumbo_destroy_output(&kGumboDefaultOptions, output);
    }
};

bool isKept(GumboTag tag) {
    switch (tag) {
        case GUMBO_TAG_A:
        case GUMBO_TAG_BUTTON:
        case GUMBO_TAG_INPUT:
        case GUMBO_TAG_SELECT:
        case GUMBO_TAG_TEXTAREA:
        case GUMBO_TAG_FORM:
        case GUMBO_TAG_SCRIPT:
        case GUMBO_TAG_LABEL:
        case GUMBO_TAG_BASE:
            return true;
        default:
            return false;
    }
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

// Appends `text` to `out`, with runs of white space as one blank and none at the start.
void appendCollapsed(std::string& out, const char* text) {
    for (const char* p = text; *p != '\0'; ++p) {
        if (isBlank(*p)) {
            if (!out.empty() && out.back() != ' ') {
                out.push_back(' ');
            }
        } else {
            out.push_back(*p);
        }
    }
}

// The text below `root`, walked without recursion so that deep trees cost no stack.
std::string textOf(const GumboNode* root, bool raw) {
    std::string out;
    std::vector<const GumboNode*> stack{root};
    while (!stack.empty()) {
        const GumboNode* node = stack.back();
        stack.pop_back();
        switch (node->type) {
            case GUMBO_NODE_TEXT:
            case GUMBO_NODE_CDATA:
            case GUMBO_NODE_WHITESPACE:
                if (raw) {
                    out += node->v.text.text;
                } else {
                    appendCollapsed(out, node->v.text.text);
                }
                break;
            case GUMBO_NODE_ELEMENT:
            case GUMBO_NODE_TEMPLATE: {
                const GumboVector& children = node->v.element.children;
                for (unsigned i = children.length; i > 0; --i) {
                    stack.push_back(static_cast<const GumboNode*>(children.data[i - 1]));
                }
                break;
            }
            default:
                break;
        }
    }
    if (!raw && !out.empty() && out.back() == ' ') {
        out.pop_back();
    }
    return out;
}

}  // namespace

HtmlDocument parseHtml(std::string_view html) {
    HtmlDocument document;
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;  // the errors of a page are of no use here
    std::unique_ptr<GumboOutput, OutputDeleter> output(
        gumbo_parse_with_options(&options, html.data(), html.size()));
    if (!output) {
        return document;
    }

    // Depth-first, in document order; each entry carries the form that encloses the node.
    struct Visit {
        const GumboNode* node;
        std::optional<std::size_t> form;
    };
    std::vector<Visit> stack{{output->root, std::nullopt}};
    bool titleSeen = false;
    while (!stack.empty()) {
        const Visit visit = stack.back();
        stack.pop_back();
        const GumboNode* node = visit.node;
        if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
            continue;
        }
        const GumboElement& element = node->v.element;
        std::optional<std::size_t> form = visit.form;
        if (element.tag == GUMBO_TAG_TITLE && !titleSeen) {
            titleSeen = true;
            document.title = textOf(node, false);
        }
        if (isKept(element.tag)) {
            HtmlElement kept;
            kept.tag = gumbo_normalized_tagname(element.tag);
            for (unsigned i = 0; i < element.attributes.length; ++i) {
                const auto* attribute =
                    static_cast<const GumboAttribute*>(element.attributes.data[i]);
                kept.attributes.emplace_back(attribute->name, attribute->value);
            }
            kept.text = textOf(node, element.tag == GUMBO_TAG_SCRIPT);
            const std::size_t index = document.elements.size();
            if (element.tag == GUMBO_TAG_FORM) {
                // A form inside a form is ignored by the parser already; this one holds what
                // follows below it.
                form = document.forms.size();
                document.forms.push_back(HtmlForm{index, {}});
            } else {
                kept.form = form;
                if (form && element.tag != GUMBO_TAG_A && element.tag != GUMBO_TAG_SCRIPT &&
                    element.tag != GUMBO_TAG_LABEL && element.tag != GUMBO_TAG_BASE) {
                    document.forms[*form].controls.push_back(index);
                }
            }
            document.elements.push_back(std::move(kept));
        }
        const GumboVector& children = element.children;
        for (unsigned i = children.length; i > 0; --i) {
            stack.push_back({static_cast<const GumboNode*>(children.data[i - 1]), form});
        }
    }
    return document;
}

}  // namespace quillgate::platform

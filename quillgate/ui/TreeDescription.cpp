#include "quillgate/ui/TreeDescription.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate::ui {

std::string describeNumber(double value) {
    if (std::isfinite(value) && value == std::floor(value) && std::fabs(value) < 1e15) {
        return std::to_string(static_cast<long long>(value));
    }
    char out[32];
    std::snprintf(out, sizeof out, "%.4g", value);
    return out;
}

std::string describeSize(Size size) {
    return describeNumber(size.width) + " " + describeNumber(size.height);
}

std::string describeRect(const Rect& rect) {
    return "(" + describeNumber(rect.x()) + " " + describeNumber(rect.y()) + "; " +
           describeSize(rect.size) + ")";
}

namespace {
void describe(const View& view, int depth, std::string& out) {
    std::string line(static_cast<std::size_t>(depth) * 2, ' ');
    line += view.className();
    if (view.tag() != 0) {
        line += " tag=" + std::to_string(view.tag());
    }
    if (!view.accessibilityIdentifier().empty()) {
        line += " id=" + view.accessibilityIdentifier();
    }
    line += " frame=" + describeRect(view.frame());
    if (view.isHidden()) {
        line += " hidden";
    }
    if (view.alpha() != 1.0) {
        line += " alpha=" + describeNumber(view.alpha());
    }
    if (const auto& bg = view.backgroundColor()) {
        line += " bg=" + bg->hex();
    }
    if (auto vc = view.owningViewController(); vc && vc->viewIfLoaded().get() == &view) {
        line += " controller=" + vc->className();
    }
    std::vector<std::string> attributes;
    view.describeAttributes(attributes);
    for (const auto& a : attributes) {
        line += " " + a;
    }
    out += line;
    out += '\n';
    for (const auto& sub : view.subviews()) {
        describe(*sub, depth + 1, out);
    }
}
}  // namespace

std::string describeTree(const View& root) {
    std::string out;
    describe(root, 0, out);
    return out;
}

std::string describeTree(const std::shared_ptr<View>& root) {
    return root ? describeTree(*root) : std::string("(no view)\n");
}

}  // namespace quillgate::ui

#include "tools/quillgate/ReaderActions.h"

#include <chrono>
#include <cmath>
#include <memory>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/Window.h"
#include "tools/quillgate/HostApp.h"
#include "tools/quillgate/WebPageActions.h"

namespace quillgate::host {

namespace {

constexpr double kLongestWait = 24 * 60 * 60;

// ---- Finding a target on the screen

// Shown: the view and its ancestors are not hidden and not faded out.
bool shown(const ui::View& view) {
    for (const ui::View* v = &view; v; v = v->superview().get()) {
        if (v->isHidden() || v->alpha() < 0.01) {
            return false;
        }
    }
    return true;
}

// The view's frame in the coordinates of its root (the window).
ui::Rect frameInRoot(const ui::View& view) {
    ui::Rect r = view.frame();
    for (auto parent = view.superview(); parent; parent = parent->superview()) {
        const ui::Rect b = parent->bounds();
        r.origin.x += parent->frame().x() - b.x();
        r.origin.y += parent->frame().y() - b.y();
    }
    return r;
}

bool onScreen(const ui::View& view, const ui::Window& window) {
    const ui::Rect r = frameInRoot(view);
    const ui::Rect w(ui::Point{}, window.frame().size);
    return shown(view) && r.width() > 0 && r.height() > 0 && r.maxX() > w.minX() &&
           r.minX() < w.maxX() && r.maxY() > w.minY() && r.minY() < w.maxY();
}

// The text a reader would tap a view by: a label's text, a button's title, a field's text or,
// while it is empty, its placeholder.
std::optional<std::string> readableText(const ui::View& view) {
    if (const auto* label = dynamic_cast<const ui::Label*>(&view)) {
        return label->text();
    }
    if (const auto* button = dynamic_cast<const ui::Button*>(&view)) {
        return button->displayedTitle();
    }
    if (const auto* field = dynamic_cast<const ui::TextField*>(&view)) {
        return field->text().empty() ? field->placeholder() : field->text();
    }
    return std::nullopt;
}

// Depth first in drawing order, so that the last match is the front-most one. A button's
// title label is the button's own text and is not looked at separately.
void collect(const std::shared_ptr<ui::View>& view, const std::string& text,
             const ui::Window& window, std::shared_ptr<ui::View>& frontMost) {
    if (view->isHidden()) {
        return;
    }
    const auto own = readableText(*view);
    // A view with no words of its own (an image the reader taps) goes by its identifier.
    const bool named = own ? *own == text : view->accessibilityIdentifier() == text;
    if (named && onScreen(*view, window)) {
        const auto* control = dynamic_cast<const ui::Control*>(view.get());
        if (!control || control->isEnabled()) {
            frontMost = view;
        }
    }
    if (dynamic_cast<const ui::Button*>(view.get())) {
        return;
    }
    for (const auto& sub : view->subviews()) {
        collect(sub, text, window, frontMost);
    }
}

// ---- The actions

ActionOutcome tap(HostApp& app, const ActionArgument& argument) {
    const auto window = ui::Application::shared().keyWindow();
    if (!window) {
        return ActionOutcome::nothingOnScreen;
    }
    std::shared_ptr<ui::View> target;
    collect(window, argument.text, *window, target);
    // A view that takes no touches (a plain label) lets the touch through to the nearest
    // ancestor that does, as hit-testing does.
    while (target && !target->canReceiveTouches()) {
        target = target->superview();
    }
    if (!target || target == window) {
        return ActionOutcome::nothingOnScreen;
    }
    (void)app;
    return target->tap() ? ActionOutcome::done : ActionOutcome::nothingOnScreen;
}

// Every shown, enabled text field of the window's tree.
void collectFields(const std::shared_ptr<ui::View>& view, const ui::Window& window,
                   std::vector<std::shared_ptr<ui::TextField>>& fields) {
    if (view->isHidden()) {
        return;
    }
    if (auto field = std::dynamic_pointer_cast<ui::TextField>(view);
        field && field->isEnabled() && onScreen(*field, window)) {
        fields.push_back(field);
    }
    for (const auto& sub : view->subviews()) {
        collectFields(sub, window, fields);
    }
}

ActionOutcome type(HostApp& app, const ActionArgument& argument) {
    (void)app;
    auto field = ui::Application::shared().firstResponder();
    if (!field) {
        // Nothing is being edited: a screen with a single field is typed into, as a reader
        // would after tapping the only place there is to type.
        const auto window = ui::Application::shared().keyWindow();
        std::vector<std::shared_ptr<ui::TextField>> fields;
        if (window) {
            collectFields(window, *window, fields);
        }
        if (fields.size() == 1 && fields.front()->tap()) {
            field = fields.front();
        }
    }
    if (!field || !field->window() || !shown(*field)) {
        return ActionOutcome::nothingOnScreen;
    }
    return field->type(argument.text) ? ActionOutcome::done : ActionOutcome::nothingOnScreen;
}

ActionOutcome scroll(HostApp& app, const ActionArgument& argument) {
    app.client().setScrollDepthPercentage(static_cast<float>(argument.number));
    return ActionOutcome::done;
}

ActionOutcome wait(HostApp& app, const ActionArgument& argument) {
    app.runFor(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double>(argument.number)));
    return ActionOutcome::done;
}

ActionOutcome snapshot(HostApp& app, const ActionArgument& argument) {
    switch (app.writeSnapshot(argument.text)) {
        case HostApp::Snapshot::written:
            return ActionOutcome::done;
        case HostApp::Snapshot::noWindow:
            return ActionOutcome::nothingOnScreen;
        case HostApp::Snapshot::notWritten:
            break;
    }
    return ActionOutcome::failed;
}

// Turns the phone; the walls on screen hear of it and follow the window's new size.
ActionOutcome rotate(HostApp& app, const ActionArgument& argument) {
    (void)app;
    ui::DeviceOrientation orientation;
    if (argument.text == "landscape") {
        orientation = ui::DeviceOrientation::landscapeLeft;
    } else if (argument.text == "portrait") {
        orientation = ui::DeviceOrientation::portrait;
    } else {
        return ActionOutcome::failed;
    }
    auto& application = ui::Application::shared();
    application.rotate(orientation);
    for (const auto& window : application.windows()) {
        window->layoutIfNeeded();
    }
    return ActionOutcome::done;
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

}  // namespace

std::optional<double> parseNumber(const std::string& text, double lowest, double highest) {
    if (text.empty()) {
        return std::nullopt;
    }
    std::size_t used = 0;
    double value = 0;
    try {
        value = std::stod(text, &used);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    if (used != text.size() || !std::isfinite(value) || value < lowest || value > highest) {
        return std::nullopt;
    }
    return value;
}

const std::vector<ReaderAction>& readerActions() {
    static const std::vector<ReaderAction> table = {
        {"tap", ArgumentForm::text, "TEXT",
         "tap the front-most visible, enabled view whose text or title is TEXT (for a view "
         "without words, its accessibility identifier: \"popup image\")",
         tap},
        {"type", ArgumentForm::text, "TEXT",
         "type TEXT into the field being edited (the only field on screen when none is)", type},
        {"scroll", ArgumentForm::percent, "PERCENT",
         "scroll the article to PERCENT of its length (the scroll depth)", scroll},
        {"rotate", ArgumentForm::text, "landscape|portrait",
         "turn the phone: the window takes the turned screen's size and the walls follow", rotate},
        {"wait", ArgumentForm::seconds, "SECONDS", "let the main loop run for SECONDS", wait},
        {"snapshot", ArgumentForm::file, "FILE.png",
         "write a picture of the key window, as it is now", snapshot},
        {"choose", ArgumentForm::text, "TEXT",
         "on the web flow's page, follow the link or press the button whose text or id is TEXT",
         choosePageControl},
        {"click", ArgumentForm::text, "TEXT",
         "on the web flow's page, click the link or button whose text or id is TEXT (in the "
         "window's web engine, the page's script runs)",
         clickPageControl},
        {"post", ArgumentForm::text, "NAME JSON",
         "the web flow's page posts the JSON text to the script message handler NAME",
         postPageMessage},
        {"back", ArgumentForm::none, "", "press the web flow screen's back button",
         pressWebFlowBack},
    };
    return table;
}

std::optional<ParsedAction> parseReaderAction(std::string_view text, std::string& error) {
    const std::string_view whole = trimmed(text);
    const auto space = whole.find_first_of(" \t");
    const std::string name(whole.substr(0, space));
    const std::string_view rest =
        space == std::string_view::npos ? std::string_view{} : trimmed(whole.substr(space));
    const ReaderAction* action = nullptr;
    for (const auto& row : readerActions()) {
        if (row.name == name) {
            action = &row;
        }
    }
    if (!action) {
        std::string names;
        for (const auto& row : readerActions()) {
            names += (names.empty() ? "" : ", ") + row.name;
        }
        error = "unknown action \"" + std::string(whole) + "\" (actions: " + names + ")";
        return std::nullopt;
    }
    ParsedAction parsed;
    parsed.action = action;
    parsed.text = std::string(whole);
    std::string argument(rest);
    if (argument.size() >= 2 && argument.front() == '"' && argument.back() == '"') {
        argument = argument.substr(1, argument.size() - 2);
    }
    parsed.argument.text = argument;
    const std::string usage = name + " " + action->argumentName;
    switch (action->form) {
        case ArgumentForm::text:
        case ArgumentForm::file:
            if (argument.empty()) {
                error = "\"" + usage + "\" needs its " + action->argumentName;
                return std::nullopt;
            }
            break;
        case ArgumentForm::none:
            if (!argument.empty()) {
                error = "\"" + name + "\" takes no argument";
                return std::nullopt;
            }
            break;
        case ArgumentForm::percent:
        case ArgumentForm::seconds: {
            const bool percent = action->form == ArgumentForm::percent;
            const auto value = parseNumber(argument, 0, percent ? 100 : kLongestWait);
            if (!value) {
                error =
                    "\"" + usage + "\" needs " +
                    (percent ? "a number from 0 to 100" : "a number of seconds from 0 to 86400") +
                    ", not \"" + argument + "\"";
                return std::nullopt;
            }
            parsed.argument.number = *value;
            break;
        }
    }
    return parsed;
}

ActionOutcome runReaderAction(HostApp& app, const ParsedAction& action) {
    app.say("reader: " + action.text);
    const ActionOutcome outcome = action.action->perform(app, action.argument);
    switch (outcome) {
        case ActionOutcome::done:
            break;
        case ActionOutcome::nothingOnScreen:
            app.say("reader: nothing to " + action.text + " on screen");
            break;
        case ActionOutcome::failed:
            app.say("reader: could not " + action.text);
            break;
    }
    return outcome;
}

std::string readerActionsHelp() {
    std::string text;
    for (const auto& row : readerActions()) {
        std::string head =
            "        " + row.name + (row.argumentName.empty() ? "" : " " + row.argumentName);
        head.resize(std::max<std::size_t>(head.size() + 2, 30), ' ');
        text += head + row.help + "\n";
    }
    return text;
}

}  // namespace quillgate::host

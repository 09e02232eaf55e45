#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The reader's actions: what `read --do "ACTION"` (and the demo) make a reader do on the
// screen the library shows. An action is a name and an argument ("tap Subscribe now",
// "scroll 40", "wait 2", "snapshot wall.png"). The actions form one table: adding an action is
// adding a row to it (ReaderActions.cpp), with its name, the form of its argument and the
// function that performs it.
//
// Running an action prints "reader: " and the action; an action whose target is not on the
// screen prints "reader: nothing to ACTION on screen" and reports it, so that `read` can exit
// 1 at the end. Main thread only.
namespace quillgate::host {

class HostApp;

// The form of an action's argument, checked when the action is parsed.
enum class ArgumentForm {
    text,     // any text that is not empty (double quotes around it are taken off)
    percent,  // a number from 0 to 100
    seconds,  // a number of seconds from 0 to a day
    file,     // a file name
    none,     // no argument
};

// The argument as parsed: the text, and the number for the numeric forms.
struct ActionArgument {
    std::string text;
    double number = 0;
};

enum class ActionOutcome {
    done,
    nothingOnScreen,  // the target is not on screen (or nothing takes the action)
    failed,           // the action could not be carried out (a file not written)
};

struct ReaderAction {
    std::string name;
    ArgumentForm form;
    // For the usage text: the argument's placeholder and what the action does.
    std::string argumentName;
    std::string help;
    std::function<ActionOutcome(HostApp&, const ActionArgument&)> perform;
};

// The table, in the order the usage text lists it.
const std::vector<ReaderAction>& readerActions();

// One action as given: the table's row, its argument, and the text as written.
struct ParsedAction {
    const ReaderAction* action = nullptr;
    ActionArgument argument;
    std::string text;
};

// Reads "NAME ARGUMENT". Nothing, with `error` set, for an unknown name or an argument not of
// the action's form.
std::optional<ParsedAction> parseReaderAction(std::string_view text, std::string& error);

// Prints "reader: " + the action, performs it, and prints what stopped it if it did not get
// done. Returns the outcome.
ActionOutcome runReaderAction(HostApp& app, const ParsedAction& action);

// The number `text` spells out whole, when it is finite and from `lowest` to `highest`; the
// commands' options read their numbers with it too.
std::optional<double> parseNumber(const std::string& text, double lowest, double highest);

// The actions' lines for the usage text.
std::string readerActionsHelp();

}  // namespace quillgate::host

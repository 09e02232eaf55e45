#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/quillgate/ReaderActions.h"

// The reader's actions on the service's page in the web flow screen: choosing a link or a
// button, the page posting a script message, and the screen's back button. They act on the
// web flow screen on show (the client's web screen while it is presented) and its headless
// web view; with no such screen they find nothing on screen.
//
// In a web engine the page's own script does its work. The headless web view runs no
// script, so `choose` acts out what the page's script does with
// a control that speaks to the app: such a control names the message handler in its
// "data-handler" attribute and the address whose answer is the message in "data-message-url".
// When the web view has a handler of that name, the page fetches that address and posts the
// answer's text to it; otherwise, as in a browser without the app, the control is followed as
// a plain link. Main thread only.
namespace quillgate {
class WebViewController;
}

namespace quillgate::host {

class HostApp;

// The web flow screen while it is presented, or null.
std::shared_ptr<WebViewController> webFlowOnShow(HostApp& app);

// "choose TEXT": follows the link or presses the button whose text or id is TEXT; in a web
// engine, clicks it (as "click").
ActionOutcome choosePageControl(HostApp& app, const ActionArgument& argument);
// "click TEXT": the reader clicks the link or button whose text or id is TEXT. In a web engine
// (the desktop's) the page's own script runs as for a pointer's click: the control is clicked
// once the page has loaded, looked for again while it is still coming. On the headless web
// view it is "choose".
ActionOutcome clickPageControl(HostApp& app, const ActionArgument& argument);
// "post NAME JSON": the page posts the JSON text, as a text, to the handler NAME. A name
// without a handler takes nothing, as in a web engine; text that is not JSON fails.
ActionOutcome postPageMessage(HostApp& app, const ActionArgument& argument);
// "back": the web flow screen's back button.
ActionOutcome pressWebFlowBack(HostApp& app, const ActionArgument& argument);

}  // namespace quillgate::host

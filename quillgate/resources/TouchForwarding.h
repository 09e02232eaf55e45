#pragma once

#include "quillgate/ui/Responder.h"

// The controls of a wall keep their touches (a control tracks its own, a table scrolls), so
// a screen would not learn that its reader is active. These two pass a touch that begins on
// them on to the screen as well. Main thread only.
namespace quillgate {

// Sends touchesBegan to the first view controller along `from`'s responder chain (not `from`
// itself), if there is one.
void forwardTouchToViewController(const ui::Responder& from);

}  // namespace quillgate

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "quillgate/Export.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/Font.h"

namespace quillgate::ui {
class View;
}

// The only way a failure ever reaches the reader's eyes: a small box of text over the
// application's last window that fades away by itself. It appears only when the client's
// `debugMode` is on; otherwise showing one does nothing. One toast at a time: a new one
// replaces the one on screen at once.
//
// The fade runs on the main queue: `duration` seconds after showing, the box's alpha goes to
// 0 over 0.3 seconds (ease-out), then it is removed. Main thread only.
namespace quillgate {

class QUILLGATE_EXPORT Toast {
  public:
    // Where the box stands in the window.
    static constexpr int top = 0;     // its top 20 points below the window's top
    static constexpr int center = 1;  // centred vertically
    // Any other position: its bottom 20 points above the window's bottom.

    static constexpr double width = 200;
    static constexpr double fadeSeconds = 0.3;

    static Toast& shared();

    void show(const std::string& message, ui::Color backgroundColor, ui::Color textColor,
              ui::Font font, int position, double duration, double cornerRadius, double height);

    // The library's usual toast: white system text of 14 points on black, centred.
    void show(const std::string& message, double duration, double cornerRadius, double height);

    // The toast on screen, if any.
    std::shared_ptr<ui::View> toastView;

    // Told the message each time a toast is put in the window (a host's transcript, a
    // test). Empty by default; lives as long as this shared instance.
    std::function<void(const std::string& message)> didShow;
};

}  // namespace quillgate

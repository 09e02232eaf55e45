#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/platform/TextLayout.h"
#include "quillgate/ui/Geometry.h"

// The desktop backend: real toolkit windows (GTK 4) that show the library's windows, and the
// service's pages in a real web engine (WebKitGTK, see DesktopWebView).
//
// A host installs it once the platform is installed; from then on:
//   - `ui::WebView::make()` builds DesktopWebView (uninstalling restores the headless one);
//   - the main queue waits in the toolkit's main loop, so the toolkit's events are handled
//     whenever the library has nothing due, and a task posted from any thread wakes it;
//   - each window shown with `show` gets a toolkit window of its size. Its content draws the
//     window's view tree with the Cairo renderer, again after every turn of the main queue
//     that ran something; pointer presses and releases become touches through the view tree's
//     hit testing; keys reach the text field being edited; the toolkit window's size is the
//     window's. Web views on show in the window get their engine's widget over their frame.
//
// One backend at a time; uninstall (destroy) it before the process state is reset. Main thread
// only.
namespace quillgate::ui {
class Window;
}

namespace quillgate::desktop {

// A picture of a toolkit window as the toolkit drew it, web pages included.
struct WindowPicture {
    int width = 0;                    // pixels
    int height = 0;                   // pixels
    double scale = 1;                 // pixels per point
    std::vector<unsigned char> rgba;  // not premultiplied, row after row

    // The colour of the pixel under the point (x, y); transparent black outside.
    platform::Rgba pixel(double x, double y) const;
    // False (nothing written) when the file cannot be written.
    bool writePng(const std::filesystem::path& file) const;
    // A PNG file read back, at scale 1; nothing when it is no picture.
    static std::optional<WindowPicture> readPng(const std::filesystem::path& file);
};

class Desktop {
  public:
    // Why there is no desktop here (no display, or the toolkit would not start), or nothing.
    static std::optional<std::string> unavailableReason();

    // Starts the toolkit and installs the backend over the installed platform. Null, with
    // `error` set, when there is no desktop here or a backend is installed already.
    static std::unique_ptr<Desktop> install(std::string& error);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    // Opens a toolkit window titled `title` that shows `window`, of its size.
    void show(const std::shared_ptr<ui::Window>& window, const std::string& title);
    // Whether the reader has closed a toolkit window.
    bool closed() const;

    // Draws now what changed since the last turn (the toolkit does it by itself while the
    // main queue waits; tests call it before a picture).
    void refresh();
    // A picture of the toolkit window of `window` as it is on screen; nothing when `window`
    // is not shown.
    std::optional<WindowPicture> capture(const std::shared_ptr<ui::Window>& window);

    // The reader's pointer and keys as the toolkit delivers them to `window`, in the window's
    // points; each is handed to the main queue. A press hit-tests the view tree and
    // highlights a control; the release completes the touch (a tap) when it is inside the
    // view pressed, and only lets go of it otherwise.
    void pointerPressed(const std::shared_ptr<ui::Window>& window, ui::Point point);
    void pointerReleased(const std::shared_ptr<ui::Window>& window, ui::Point point);
    void pointerCancelled(const std::shared_ptr<ui::Window>& window);
    // A key by the toolkit's key value: a character is typed into the field being edited,
    // BackSpace deletes, Return presses return. False when no field is edited or the key
    // means nothing to one.
    bool keyPressed(unsigned keyval);

  private:
    struct Impl;
    explicit Desktop(std::shared_ptr<Impl> impl);
    std::shared_ptr<Impl> impl_;
};

}  // namespace quillgate::desktop

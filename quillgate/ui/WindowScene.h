#pragma once

#include <memory>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/ui/Geometry.h"

// A connected scene of the application, holding its windows (strongly) and the interface
// orientation. The application keeps its scenes. Main thread only.
namespace quillgate::ui {

class Window;

// Fixed numbering: hosts and device reports use these values.
enum class InterfaceOrientation {
    unknown = 0,
    portrait = 1,
    portraitUpsideDown = 2,
    landscapeRight = 3,
    landscapeLeft = 4,
};

inline bool isPortrait(InterfaceOrientation o) {
    return o == InterfaceOrientation::portrait || o == InterfaceOrientation::portraitUpsideDown;
}

class QUILLGATE_EXPORT WindowScene : public std::enable_shared_from_this<WindowScene> {
  public:
    WindowScene() = default;
    WindowScene(const WindowScene&) = delete;
    WindowScene& operator=(const WindowScene&) = delete;

    const std::vector<std::shared_ptr<Window>>& windows() const { return windows_; }
    // A new window of the screen's size, kept by this scene.
    std::shared_ptr<Window> makeWindow();
    void addWindow(const std::shared_ptr<Window>& window);
    void removeWindow(const std::shared_ptr<Window>& window);
    // The key window among this scene's windows.
    std::shared_ptr<Window> keyWindow() const;

    InterfaceOrientation interfaceOrientation() const { return orientation_; }
    void setInterfaceOrientation(InterfaceOrientation o) { orientation_ = o; }

    // The status bar's frame: full screen width, the application's status-bar height.
    Rect statusBarFrame() const;

  private:
    std::vector<std::shared_ptr<Window>> windows_;
    InterfaceOrientation orientation_ = InterfaceOrientation::portrait;
};

}  // namespace quillgate::ui

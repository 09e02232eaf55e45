#pragma once

#include <memory>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/ui/Geometry.h"
#include "quillgate/ui/WindowScene.h"

// The application object: connected scenes and their windows, the key window, the facts of
// the screen (bounds, scale, safe area, status bar, keyboard height; a phone's by default:
// 390 x 844 points at scale 3, status bar 47, safe area 47 top and 34 bottom), the device
// orientation, the application state, and the text field that has the keyboard.
//
// `Application::shared()` is a shared instance of the process: resetting the process state
// destroys it with its scenes, windows and their controllers. Hosts and tests set it up
// (`showWindow`) and act on it (`resignActive`, which posts the will-resign-active
// notification). Main thread only.
namespace quillgate::ui {

class TextField;
class ViewController;
class View;
class Window;

struct QUILLGATE_EXPORT Screen {
    Rect bounds{0, 0, 390, 844};
    double scale = 3;
};

// Fixed numbering: hosts and device reports use these values.
enum class DeviceOrientation {
    unknown = 0,
    portrait = 1,
    portraitUpsideDown = 2,
    landscapeLeft = 3,
    landscapeRight = 4,
    faceUp = 5,
    faceDown = 6,
};

enum class ApplicationState { active = 0, inactive = 1, background = 2 };

class QUILLGATE_EXPORT Application {
  public:
    static Application& shared();

    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // ---- Screen and device
    const Screen& mainScreen() const { return screen_; }
    void setMainScreen(Screen screen) { screen_ = screen; }
    EdgeInsets safeAreaInsets() const { return safeArea_; }
    void setSafeAreaInsets(EdgeInsets insets) { safeArea_ = insets; }
    double statusBarHeight() const { return statusBarHeight_; }
    void setStatusBarHeight(double height) { statusBarHeight_ = height; }
    double keyboardHeight() const { return keyboardHeight_; }
    void setKeyboardHeight(double height) { keyboardHeight_ = height; }
    DeviceOrientation deviceOrientation() const { return deviceOrientation_; }
    void setDeviceOrientation(DeviceOrientation o) { deviceOrientation_ = o; }
    // Turns the device to `orientation`. The device and every connected scene take it (the
    // interface turns against the device, so the landscape sides swap); from portrait to
    // landscape or back, the screen's bounds and safe area turn with it. Every controller whose
    // view is in a window then hears willTransitionToTraitCollection and
    // viewWillTransitionToSize with the new screen size, and every window and its root view
    // take the new bounds; views pinned to their superview's edges follow in the layout pass.
    // Face up, face down and unknown change the device's orientation only.
    void rotate(DeviceOrientation orientation);

    // ---- Scenes and windows
    const std::vector<std::shared_ptr<WindowScene>>& connectedScenes() const { return scenes_; }
    std::shared_ptr<WindowScene> connectScene();
    // Drops a scene; its windows and their controllers go with it unless held elsewhere.
    void disconnectScene(const std::shared_ptr<WindowScene>& scene);
    // The first key window among the windows of the connected scenes, if any.
    std::shared_ptr<Window> keyWindow() const;
    // Every window of every connected scene, in order.
    std::vector<std::shared_ptr<Window>> windows() const;
    // Set-up in one call: a window of the screen's size in the first scene (connected if
    // there is none) with `root` as root controller, made key and visible.
    std::shared_ptr<Window> showWindow(std::shared_ptr<ViewController> root = nullptr);

    // ---- Application state
    ApplicationState applicationState() const { return state_; }
    // Active -> inactive; posts ApplicationWillResignActiveNotification.
    void resignActive();
    // -> active; posts ApplicationDidBecomeActiveNotification.
    void becomeActive();
    // Resigns active if needed, -> background; posts ApplicationDidEnterBackgroundNotification.
    void enterBackground();

    // ---- Keyboard focus
    // The text field being edited, if any.
    std::shared_ptr<TextField> firstResponder() const { return firstResponder_.lock(); }
    bool isKeyboardShown() const { return keyboardShown_; }
    // Resigns the first responder, if any.
    void endEditing();

  private:
    template <class T>
    friend T& platform::sharedInstance();
    friend class TextField;
    friend class Window;
    Application() = default;

    // Focus hand-over, from TextField.
    void setFirstResponder(const std::shared_ptr<TextField>& field);
    void clearFirstResponder(const TextField* field);
    void postKeyboard(bool show, const std::shared_ptr<TextField>& field);
    // Unsets the key flag of every window but `window`.
    void setKeyWindow(Window* window);

    Screen screen_;
    EdgeInsets safeArea_{47, 0, 34, 0};
    double statusBarHeight_ = 47;
    double keyboardHeight_ = 336;
    DeviceOrientation deviceOrientation_ = DeviceOrientation::portrait;
    std::vector<std::shared_ptr<WindowScene>> scenes_;
    ApplicationState state_ = ApplicationState::active;
    std::weak_ptr<TextField> firstResponder_;
    bool keyboardShown_ = false;
};

}  // namespace quillgate::ui

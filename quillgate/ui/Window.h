#pragma once

#include <memory>
#include <string>

#include "quillgate/Export.h"
#include "quillgate/ui/View.h"

// A window: the root of a view tree that is "on screen". It shows its root view
// controller's view beneath everything else it holds, and presented controllers' views above
// it. It starts hidden, so nothing appears half built; `makeKeyAndVisible` shows it and
// makes it the application's key window. A window kept by a WindowScene belongs to the
// application; a window made alone still works as a tree root (for tests). Appearance
// callbacks follow the tree, not visibility: a root view joining a hidden window appears.
// Main thread only.
namespace quillgate::ui {

class ViewController;
class WindowScene;

class QUILLGATE_EXPORT Window : public View {
  public:
    Window();
    explicit Window(Rect frame);
    ~Window() override;

    std::string className() const override { return "Window"; }
    Responder* nextResponder() const override { return nullptr; }

    std::shared_ptr<WindowScene> windowScene() const { return scene_.lock(); }

    std::shared_ptr<ViewController> rootViewController() const { return root_; }
    // Replaces the root controller: the old root's view leaves, the new one's view is loaded,
    // sized to the window and put beneath the other subviews.
    void setRootViewController(std::shared_ptr<ViewController> controller);

    bool isKeyWindow() const { return key_; }
    // Makes this the only key window of the application.
    void makeKey();
    void makeKeyAndVisible();

    // The application's safe-area insets.
    EdgeInsets safeAreaInsets() const override;

  private:
    friend class WindowScene;
    friend class Application;

    std::weak_ptr<WindowScene> scene_;
    std::shared_ptr<ViewController> root_;
    bool key_ = false;
};

}  // namespace quillgate::ui

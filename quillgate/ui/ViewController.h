#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quillgate/Export.h"
#include "quillgate/ui/Geometry.h"
#include "quillgate/ui/Responder.h"

// A screen's controller. It owns its root view, which it loads on the first call of `view()`:
// from the storyboard scene it was made from, else from the nib named `nibName()`, else from
// a nib named after its class, else as a plain view of the screen's size; then it calls
// `viewDidLoad()` once. When the root view joins a window's tree (itself or through an
// ancestor) the controller hears viewWillAppear / viewDidAppear; when it leaves,
// viewWillDisappear / viewDidDisappear.
//
// Controllers are made with `ViewController::create<T>(...)` and held by shared_ptr: the
// constructor takes a token only `create` can make, and the deleter `create` installs calls
// the virtual `deinit()` on the whole object before it is destroyed. So the teardown steps
// of a screen (stop its timer, leave the notification centre) run with virtual dispatch
// intact. An override of `deinit()` does its own steps, then calls its base's. During
// `deinit()` the controller can no longer hand out shared_ptrs to itself.
//
// Modal presentation: `present` puts the presented controller's view on top of the
// presenter's window at once (appearance callbacks included) and `dismiss` takes the
// presented chain away at once; their completions run on the main queue after the current
// task, so a completion always sees the transition done. A refused presentation
// (presenter not in a window, already presenting) prints a line and never calls its
// completion. Main thread only.
namespace quillgate::ui {

class View;
class Window;

// Builds a view tree for an owner (a controller, a view, or nobody) and binds the owner's
// outlets; returns the root (the nib's first top-level object).
using NibBuilder = std::function<std::shared_ptr<View>(Responder* owner)>;

enum class ModalPresentationStyle {
    automatic = -2,
    fullScreen = 0,
    pageSheet = 1,
    formSheet = 2,
    currentContext = 3,
    custom = 4,
    overFullScreen = 5,
    overCurrentContext = 6,
    popover = 7,
};

enum class UserInterfaceStyle { unspecified = 0, light = 1, dark = 2 };

enum class AppearanceState { disappeared, appearing, appeared, disappearing };

class QUILLGATE_EXPORT ViewController : public Responder,
                                        public std::enable_shared_from_this<ViewController> {
  protected:
    // Proof of construction through `create`.
    class Token {
        friend class ViewController;
        Token() = default;
    };

  public:
    explicit ViewController(Token token, std::string nibName = {});
    ~ViewController() override;
    ViewController(const ViewController&) = delete;
    ViewController& operator=(const ViewController&) = delete;

    // Makes a controller of class T (constructor `T(Token, args...)`) whose destruction runs
    // `deinit()` first.
    template <class T, class... Args>
    static std::shared_ptr<T> create(Args&&... args) {
        static_assert(std::is_base_of_v<ViewController, T>, "T must be a ViewController");
        return std::shared_ptr<T>(new T(Token{}, std::forward<Args>(args)...), [](T* p) {
            static_cast<ViewController*>(p)->finish();
            delete p;
        });
    }

    std::string className() const override { return "ViewController"; }
    Responder* nextResponder() const override;

    // ---- The root view
    // Loads the view if needed (loadView, then viewDidLoad) and returns it.
    const std::shared_ptr<View>& view();
    std::shared_ptr<View> viewIfLoaded() const { return view_; }
    bool isViewLoaded() const { return view_ != nullptr; }
    void loadViewIfNeeded() { (void)view(); }
    // Makes `view` the root view (from loadView, or to replace the view).
    void setView(std::shared_ptr<View> view);
    const std::string& nibName() const { return nibName_; }
    // The nib to load the root view from; only before the view is loaded.
    void setNibName(std::string name) { nibName_ = std::move(name); }
    // The storyboard scene this controller was made from (set by the nib registry).
    void setSceneBuilder(NibBuilder builder) { sceneBuilder_ = std::move(builder); }
    // Creates the root view; see the class comment for the default. An override calls
    // setView.
    virtual void loadView();

    // ---- Lifecycle hooks
    virtual void viewDidLoad() {}
    virtual void viewWillAppear(bool animated) { (void)animated; }
    virtual void viewDidAppear(bool animated) { (void)animated; }
    virtual void viewWillDisappear(bool animated) { (void)animated; }
    virtual void viewDidDisappear(bool animated) { (void)animated; }
    virtual void viewWillLayoutSubviews() {}
    virtual void viewDidLayoutSubviews() {}
    virtual void viewWillTransitionToSize(Size size) { (void)size; }
    // The device is turning; the trait collection (its orientation) is about to change.
    virtual void willTransitionToTraitCollection() {}
    // Teardown, called once right before destruction (see the class comment).
    virtual void deinit() {}

    AppearanceState appearanceState() const { return appearance_; }
    // Drive the appearance callbacks; each state change calls its hook once.
    void beginAppearanceTransition(bool isAppearing, bool animated);
    void endAppearanceTransition();

    // ---- Modal presentation
    void present(std::shared_ptr<ViewController> controller, bool animated,
                 std::function<void()> completion = {});
    // Dismisses what this controller presents; if it presents nothing, dismisses itself
    // from its presenter. With nothing to dismiss, nothing happens (completion included).
    void dismiss(bool animated, std::function<void()> completion = {});
    std::shared_ptr<ViewController> presentedViewController() const;
    std::shared_ptr<ViewController> presentingViewController() const;
    ModalPresentationStyle modalPresentationStyle() const { return modalStyle_; }
    void setModalPresentationStyle(ModalPresentationStyle style) { modalStyle_ = style; }

    // ---- Containment
    void addChild(const std::shared_ptr<ViewController>& child);
    void removeFromParent();
    const std::vector<std::shared_ptr<ViewController>>& children() const { return children_; }
    std::shared_ptr<ViewController> parent() const { return parent_.lock(); }
    virtual void willMoveToParent(ViewController* parent) { (void)parent; }
    virtual void didMoveToParent(ViewController* parent) { (void)parent; }

    // ---- Misc
    const std::string& title() const { return title_; }
    void setTitle(std::string title) { title_ = std::move(title); }
    UserInterfaceStyle overrideUserInterfaceStyle() const { return interfaceStyle_; }
    void setOverrideUserInterfaceStyle(UserInterfaceStyle style) { interfaceStyle_ = style; }

  private:
    void finish();
    // The controller that presents on behalf of this one: the top of its containment chain.
    ViewController* presentationContext();
    const ViewController* presentationContext() const;

    std::string nibName_;
    NibBuilder sceneBuilder_;
    std::shared_ptr<View> view_;
    bool loading_ = false;
    bool finished_ = false;
    AppearanceState appearance_ = AppearanceState::disappeared;
    bool transitionAnimated_ = false;

    std::shared_ptr<ViewController> presented_;
    std::weak_ptr<ViewController> presenting_;
    ModalPresentationStyle modalStyle_ = ModalPresentationStyle::automatic;

    std::vector<std::shared_ptr<ViewController>> children_;
    std::weak_ptr<ViewController> parent_;

    std::string title_;
    UserInterfaceStyle interfaceStyle_ = UserInterfaceStyle::unspecified;
};

}  // namespace quillgate::ui

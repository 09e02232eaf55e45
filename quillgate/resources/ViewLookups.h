#pragma once

#include <memory>
#include <string>

#include "quillgate/platform/Log.h"
#include "quillgate/ui/CollectionView.h"
#include "quillgate/ui/IndexPath.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/View.h"

namespace quillgate::ui {
class NavigationController;
class ViewController;
class Window;
}  // namespace quillgate::ui

// Finding screens in the application's view tree, loading views from nibs named after their
// class, registering and dequeuing cells by their class, and two small view helpers. The
// look-ups read the shared application: main thread only.
namespace quillgate {

// ---- Screens of the application

// Of the connected scenes' windows, the first that is key; none if there is none.
std::shared_ptr<ui::Window> keyWindow();
// The key window's root controller.
std::shared_ptr<ui::ViewController> rootViewController();
// The controller on show: the visible controller of the key window's root.
std::shared_ptr<ui::ViewController> topMostViewController();
// From `controller`: a navigation controller answers with its top controller's, a tab bar
// controller with its selected controller's; otherwise a controller presenting another
// answers with the presented one's, and one presenting nothing answers itself. A container
// with no child (or a null controller) answers none.
std::shared_ptr<ui::ViewController> quillgateVisibleViewController(
    const std::shared_ptr<ui::ViewController>& controller);
// From the key window's root, the last of the chain of presented controllers; the root
// itself when nothing is presented.
std::shared_ptr<ui::ViewController> presentedViewController();
// The navigation controller on show from `controller` (the key window's root when null): a
// navigation controller answers itself, a tab bar controller looks into its selected one, a
// presenting controller into the presented one; none otherwise.
std::shared_ptr<ui::NavigationController> topNavigationController(
    std::shared_ptr<ui::ViewController> controller = nullptr);
// The height of the key window's status bar; 0 without a key window.
double statusBarHeight();

// ---- Nibs and cells

// The name a class is registered under for nibs and cell reuse: its class name.
template <class T>
const std::string& classNameOf() {
    static const std::string name = std::make_shared<T>()->className();
    return name;
}

// A view of class T from the nib named after T, for `owner`. A nib whose root isn't a T is a
// fault of the library's resources and ends the program.
template <class T>
std::shared_ptr<T> loadFromXib(ui::Responder* owner = nullptr) {
    auto view = std::dynamic_pointer_cast<T>(
        ui::NibRegistry::shared().instantiate(classNameOf<T>(), owner));
    if (!view) {
        platform::fatal("Could not load view from nib file.");
    }
    return view;
}

// Cells of class T come from the nib named after T, under the identifier T's name.
template <class T>
void registerCell(ui::TableView& table) {
    table.registerNib(classNameOf<T>(), classNameOf<T>());
}
template <class T>
void registerCell(ui::CollectionView& collection) {
    collection.registerNib(classNameOf<T>(), classNameOf<T>());
}

// A cell of class T for `indexPath`. A cell of another class ends the program.
template <class T>
std::shared_ptr<T> dequeueCell(ui::TableView& table, ui::IndexPath indexPath) {
    const std::string& identifier = classNameOf<T>();
    auto cell = std::dynamic_pointer_cast<T>(table.dequeueReusableCell(identifier, indexPath));
    if (!cell) {
        platform::fatal("Could not dequeue cell with identifier: " + identifier);
    }
    return cell;
}
template <class T>
std::shared_ptr<T> dequeueCell(ui::CollectionView& collection, ui::IndexPath indexPath) {
    const std::string& identifier = classNameOf<T>();
    auto cell = std::dynamic_pointer_cast<T>(collection.dequeueReusableCell(identifier, indexPath));
    if (!cell) {
        platform::fatal("Could not dequeue cell with identifier: " + identifier);
    }
    return cell;
}

// ---- Small helpers

// Rounds only `corners` of `view` by `radius`: a rounded-rectangle mask of its bounds now.
void roundCorners(ui::View& view, ui::CornerMask corners, double radius);
// Reloads `table` on the main queue, after the current task.
void reloadOnMainQueue(const std::shared_ptr<ui::TableView>& table);

}  // namespace quillgate

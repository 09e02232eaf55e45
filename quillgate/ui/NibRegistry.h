#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quillgate/ui/ViewController.h"

// The library's nibs and storyboards: a nib name maps to a builder that makes the view tree
// for an owner and binds its outlets; a storyboard name and a scene identifier map to a
// controller factory and the builder of the scene's root view.
//
// The registry stands for the resource bundle, so it lives for the whole program and is
// not touched by resetting the process state. Subsystems expose a registration function
// that the client calls once (registering twice replaces entries); static initialisers are
// not used because the linker drops unreferenced objects of a static library. Loading a nib
// or scene that isn't registered ends the program with the platform's message. Main thread
// only.
namespace quillgate::ui {

class View;

class NibRegistry {
  public:
    using ControllerFactory = std::function<std::shared_ptr<ViewController>()>;

    static NibRegistry& shared();

    // ---- Nibs
    void registerNib(std::string name, NibBuilder builder);
    void removeNib(const std::string& name);
    bool hasNib(const std::string& name) const;
    std::vector<std::string> nibNames() const;
    // Builds the nib for `owner` (may be null), then calls awakeFromNib on every view of the
    // tree. A name that isn't registered ends the program.
    std::shared_ptr<View> instantiate(const std::string& name, Responder* owner = nullptr) const;

    // ---- Storyboards
    void registerScene(std::string storyboard, std::string identifier, ControllerFactory factory,
                       NibBuilder scene);
    // Same, for a controller class T made with ViewController::create<T>().
    template <class T>
    void registerScene(std::string storyboard, std::string identifier, NibBuilder scene) {
        registerScene(
            std::move(storyboard), std::move(identifier),
            [] { return ViewController::create<T>(); }, std::move(scene));
    }
    void removeStoryboard(const std::string& storyboard);
    bool hasStoryboard(const std::string& storyboard) const;
    bool hasScene(const std::string& storyboard, const std::string& identifier) const;
    // A new controller of the scene; its root view is built from the scene on first access.
    // An unknown storyboard or identifier ends the program.
    std::shared_ptr<ViewController> instantiateViewController(const std::string& storyboard,
                                                              const std::string& identifier) const;

    // The texts of the faults, as the platform words them.
    static std::string missingNibMessage(const std::string& name);
    static std::string missingStoryboardMessage(const std::string& storyboard);
    static std::string missingSceneMessage(const std::string& storyboard,
                                           const std::string& identifier);

  private:
    NibRegistry() = default;

    struct Scene {
        ControllerFactory factory;
        NibBuilder builder;
    };
    std::map<std::string, NibBuilder, std::less<>> nibs_;
    std::map<std::string, std::map<std::string, Scene, std::less<>>, std::less<>> storyboards_;
};

}  // namespace quillgate::ui

#include "quillgate/ui/NibRegistry.h"

#include "quillgate/platform/Log.h"
#include "quillgate/ui/View.h"

namespace quillgate::ui {

namespace {
constexpr const char* bundleDescription = "NSBundle <Quillgate.framework> (loaded)";

void awaken(View& view) {
    view.awakeFromNib();
    auto subs = view.subviews();
    for (const auto& sub : subs) {
        awaken(*sub);
    }
}
}  // namespace

NibRegistry& NibRegistry::shared() {
    static NibRegistry registry;
    return registry;
}

std::string NibRegistry::missingNibMessage(const std::string& name) {
    return std::string("Could not load NIB in bundle: '") + bundleDescription + "' with name '" +
           name + "'";
}

std::string NibRegistry::missingStoryboardMessage(const std::string& storyboard) {
    return "Could not find a storyboard named '" + storyboard + "' in bundle " + bundleDescription;
}

std::string NibRegistry::missingSceneMessage(const std::string& storyboard,
                                             const std::string& identifier) {
    return "Storyboard (<UIStoryboard: " + storyboard +
           ">) doesn't contain a view controller with identifier '" + identifier + "'";
}

void NibRegistry::registerNib(std::string name, NibBuilder builder) {
    if (builder) {
        nibs_[std::move(name)] = std::move(builder);
    }
}

void NibRegistry::removeNib(const std::string& name) {
    nibs_.erase(name);
}

bool NibRegistry::hasNib(const std::string& name) const {
    return nibs_.find(name) != nibs_.end();
}

std::vector<std::string> NibRegistry::nibNames() const {
    std::vector<std::string> names;
    for (const auto& [name, builder] : nibs_) {
        names.push_back(name);
    }
    return names;
}

std::shared_ptr<View> NibRegistry::instantiate(const std::string& name, Responder* owner) const {
    auto it = nibs_.find(name);
    if (it == nibs_.end()) {
        platform::fatal(missingNibMessage(name));
    }
    // A builder may load other nibs (and so look the registry up again): call a copy.
    NibBuilder builder = it->second;
    auto root = builder(owner);
    if (root) {
        awaken(*root);
    }
    return root;
}

void NibRegistry::registerScene(std::string storyboard, std::string identifier,
                                ControllerFactory factory, NibBuilder scene) {
    if (!factory) {
        return;
    }
    storyboards_[std::move(storyboard)][std::move(identifier)] =
        Scene{std::move(factory), std::move(scene)};
}

void NibRegistry::removeStoryboard(const std::string& storyboard) {
    storyboards_.erase(storyboard);
}

bool NibRegistry::hasStoryboard(const std::string& storyboard) const {
    return storyboards_.find(storyboard) != storyboards_.end();
}

bool NibRegistry::hasScene(const std::string& storyboard, const std::string& identifier) const {
    auto sb = storyboards_.find(storyboard);
    return sb != storyboards_.end() && sb->second.find(identifier) != sb->second.end();
}

std::shared_ptr<ViewController> NibRegistry::instantiateViewController(
    const std::string& storyboard, const std::string& identifier) const {
    auto sb = storyboards_.find(storyboard);
    if (sb == storyboards_.end()) {
        platform::fatal(missingStoryboardMessage(storyboard));
    }
    auto it = sb->second.find(identifier);
    if (it == sb->second.end()) {
        platform::fatal(missingSceneMessage(storyboard, identifier));
    }
    Scene scene = it->second;
    auto controller = scene.factory();
    if (controller && scene.builder) {
        NibBuilder builder = scene.builder;
        controller->setSceneBuilder([builder](Responder* owner) {
            auto root = builder(owner);
            if (root) {
                awaken(*root);
            }
            return root;
        });
    }
    return controller;
}

}  // namespace quillgate::ui

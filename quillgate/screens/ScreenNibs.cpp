#include "quillgate/screens/ScreenNibs.h"

#include "quillgate/screens/WebViewController.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/View.h"

namespace quillgate {

namespace {

constexpr const char* kStoryboard = "QuillgateStoryboard";

}  // namespace

void registerScreenNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerScene<WebViewController>(
        kStoryboard, "WebVC", [](ui::Responder*) { return std::make_shared<ui::View>(); });
}

}  // namespace quillgate

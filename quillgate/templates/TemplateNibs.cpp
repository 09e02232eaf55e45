#include "quillgate/templates/TemplateNibs.h"

#include <memory>

#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/View.h"

namespace quillgate {

namespace {

// The screens' nibs, each named after its class. Their rows are built by the screens
// themselves; the nib gives the root view.
constexpr const char* kTemplateNibs[] = {
    "CTA3ViewController",  "CTA4ViewController", "CTA5ViewController",
    "CTA7ViewController",  "CTA8ViewController", "CTA13ViewController",
    "CTA15ViewController", "RGViewController",   "ZelViewController",
};

std::shared_ptr<ui::View> emptyRoot(ui::Responder*) {
    return std::make_shared<ui::View>();
}

}  // namespace

void registerTemplateNibs() {
    auto& registry = ui::NibRegistry::shared();
    for (const char* name : kTemplateNibs) {
        registry.registerNib(name, emptyRoot);
    }
}

}  // namespace quillgate

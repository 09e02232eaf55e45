#include "quillgate/screens/ScreenNibs.h"

#include <memory>

#include "quillgate/resources/CustomUIButton.h"
#include "quillgate/screens/BannerViewController.h"
#include "quillgate/screens/PopUpView.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/screens/SubscriptionViewController.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/View.h"

namespace quillgate {

namespace {

constexpr const char* kStoryboard = "QuillgateStoryboard";

}  // namespace

void registerScreenNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerScene<WebViewController>(kStoryboard, "WebVC", WebViewController::buildScene);
    registry.registerScene<QuillgateStatusVC>(kStoryboard, "QuillgateStatusVC",
                                              buildQuillgateStatusScene);
    registry.registerScene<SubscriptionViewController>(kStoryboard, "SubscriptionVC",
                                                       buildSubscriptionScene);
    registerSubscriptionNibs();
    registry.registerNib("BannerViewController", buildBannerScene);
    PopUpView::registerNibs();
    // The shared icon-and-label control that screens' nibs embed.
    CustomUIButton::registerNib();
}

}  // namespace quillgate

#pragma once

#include <optional>
#include <string>

#include "quillgate/templates/BaseViewController.h"

// The metering banner: a small sheet over the article that counts the free articles left
// and offers to subscribe, without blocking the article. The client makes it from the nib
// of the same name when the page-view meter applies, sets its delegate through SharedData
// and adds it to the host's parent view. It styles itself from the client's meter record,
// not from a paywall configuration. Main thread only.
namespace quillgate {

class BannerViewController : public BaseViewController {
  public:
    explicit BannerViewController(Token token)
        : BaseViewController(token, "BannerViewController") {}
    std::string className() const override { return "BannerViewController"; }

    // The banner tells the host about itself as a meter banner, never as a paywall, so the
    // template frame's report on appearing is not made here.
    void viewDidAppear(bool animated) override { ui::ViewController::viewDidAppear(animated); }
    // The banner's scene has no card table yet, so there is no observation to end.
    void viewWillDisappear(bool animated) override {
        ui::ViewController::viewWillDisappear(animated);
    }

    // The word that says what the subscribe button does.
    std::optional<std::string> selectedSlot;
};

}  // namespace quillgate

#pragma once

#include <memory>

#include "quillgate/Export.h"
#include "quillgate/records/PaywallRecords.h"

// What the client may ask of a template screen or of the meter banner: two properties it
// sets before the screen's view is added (the delegate first, then the configuration), and
// one refresh for a screen that stands on show when the flow runs again. Main thread only.
namespace quillgate {

class quillgateVCDelegate;

class QUILLGATE_EXPORT SharedData {
  public:
    virtual ~SharedData() = default;

    // The paywall configuration the screen shows (empty for the banner).
    virtual SharedCustomizePayWallModel customizePayWallModel() const = 0;
    virtual void setCustomizePayWallModel(SharedCustomizePayWallModel model) = 0;

    // The client. Held weakly: the client owns the screen.
    virtual std::weak_ptr<quillgateVCDelegate> delegate() const = 0;
    virtual void setDelegate(std::weak_ptr<quillgateVCDelegate> delegate) = 0;

    // Shows the screen again with what the client holds now.
    virtual void refreshData() = 0;
};

// The two stored properties of SharedData, for screens that keep them as plain fields: the
// configuration as a shared, never-changed record, and the client weakly (the client owns the
// screen).
class QUILLGATE_EXPORT SharedDataFields : public SharedData {
  public:
    SharedCustomizePayWallModel customizePayWallModel() const override { return model_; }
    void setCustomizePayWallModel(SharedCustomizePayWallModel model) override {
        model_ = std::move(model);
    }
    std::weak_ptr<quillgateVCDelegate> delegate() const override { return delegate_; }
    void setDelegate(std::weak_ptr<quillgateVCDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }

  private:
    SharedCustomizePayWallModel model_;
    std::weak_ptr<quillgateVCDelegate> delegate_;
};

}  // namespace quillgate

#pragma once

#include <string>

#include "quillgate/ui/Control.h"

// The pull-to-refresh control of a scroll view. A reader's pull (`pullToRefresh`) starts
// refreshing and sends valueChanged; the screen ends it with `endRefreshing`. Main thread
// only.
namespace quillgate::ui {

class RefreshControl : public Control {
  public:
    std::string className() const override { return "RefreshControl"; }

    bool isRefreshing() const { return refreshing_; }
    void beginRefreshing() { refreshing_ = true; }
    void endRefreshing() { refreshing_ = false; }

    // Acts as the reader pulling the content down. Returns false when already refreshing or
    // disabled.
    bool pullToRefresh();

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    bool refreshing_ = false;
};

}  // namespace quillgate::ui

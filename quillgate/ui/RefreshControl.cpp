#include "quillgate/ui/RefreshControl.h"

namespace quillgate::ui {

bool RefreshControl::pullToRefresh() {
    if (refreshing_ || !isEnabled()) {
        return false;
    }
    auto self = weak_from_this().lock();
    refreshing_ = true;
    sendActions(ControlEvent::valueChanged);
    return true;
}

void RefreshControl::describeAttributes(std::vector<std::string>& out) const {
    if (refreshing_) {
        out.push_back("refreshing");
    }
    Control::describeAttributes(out);
}

}  // namespace quillgate::ui

#include "quillgate/ui/ScrollView.h"

#include "quillgate/ui/RefreshControl.h"
#include "quillgate/ui/TreeDescription.h"

namespace quillgate::ui {

ScrollView::~ScrollView() = default;

void ScrollView::setContentSize(Size size) {
    const Size old = contentSize_;
    contentSize_ = size;
    notifyObservers("contentSize", size, old);
}

void ScrollView::setContentOffset(Point offset, bool animated) {
    (void)animated;
    const Point old = contentOffset_;
    contentOffset_ = offset;
    notifyObservers("contentOffset", offset, old);
}

void ScrollView::setRefreshControl(std::shared_ptr<RefreshControl> control) {
    if (refreshControl_ == control) {
        return;
    }
    if (refreshControl_) {
        refreshControl_->removeFromSuperview();
    }
    refreshControl_ = std::move(control);
    if (refreshControl_) {
        insertSubview(refreshControl_, 0);
    }
}

bool ScrollView::scrollTo(Point offset) {
    if (!scrollEnabled_ || !canReceiveTouches()) {
        return false;
    }
    setContentOffset(offset, false);
    return true;
}

void ScrollView::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("contentSize=" + describeSize(contentSize_));
}

}  // namespace quillgate::ui

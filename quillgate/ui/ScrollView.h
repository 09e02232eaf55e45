#pragma once

#include <memory>
#include <string>

#include "quillgate/ui/View.h"

// A view whose content may be larger than itself: content size, content offset (the origin
// of its bounds), insets, bouncing and an optional refresh control. Setting the content size
// notifies observers of "contentSize" (new and old value as ui::Size), every time, also when
// the value is the same (screens resize on it); the content offset likewise notifies
// "contentOffset" (ui::Point). A scroll view keeps the touches it gets and doesn't pass them
// along the responder chain. Main thread only.
namespace quillgate::ui {

class RefreshControl;

class ScrollView : public View {
  public:
    ScrollView() = default;
    explicit ScrollView(Rect frame) : View(frame) {}
    ~ScrollView() override;

    std::string className() const override { return "ScrollView"; }

    Size contentSize() const { return contentSize_; }
    void setContentSize(Size size);
    Point contentOffset() const { return contentOffset_; }
    void setContentOffset(Point offset, bool animated = false);
    EdgeInsets contentInset() const { return contentInset_; }
    void setContentInset(EdgeInsets insets) { contentInset_ = insets; }
    Rect bounds() const override { return Rect(contentOffset_, frame().size); }
    // Its frame's size: the content scrolls inside it (read contentSize for the content's).
    Size sizeThatFits(Size fitting) const override {
        (void)fitting;
        return frame().size;
    }

    bool bounces() const { return bounces_; }
    void setBounces(bool on) { bounces_ = on; }
    bool alwaysBounceVertical() const { return alwaysBounceVertical_; }
    void setAlwaysBounceVertical(bool on) { alwaysBounceVertical_ = on; }
    bool isScrollEnabled() const { return scrollEnabled_; }
    void setScrollEnabled(bool on) { scrollEnabled_ = on; }
    bool showsVerticalScrollIndicator() const { return showsVertical_; }
    void setShowsVerticalScrollIndicator(bool on) { showsVertical_ = on; }
    bool showsHorizontalScrollIndicator() const { return showsHorizontal_; }
    void setShowsHorizontalScrollIndicator(bool on) { showsHorizontal_ = on; }

    // The refresh control, kept as a subview.
    const std::shared_ptr<RefreshControl>& refreshControl() const { return refreshControl_; }
    void setRefreshControl(std::shared_ptr<RefreshControl> control);

    // Acts as the reader scrolling to `offset` (when scrolling is enabled and the view can
    // receive touches).
    bool scrollTo(Point offset);

    void touchesBegan() override {}
    void touchesEnded() override {}
    void touchesCancelled() override {}

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    Size contentSize_;
    Point contentOffset_;
    EdgeInsets contentInset_;
    bool bounces_ = true;
    bool alwaysBounceVertical_ = false;
    bool scrollEnabled_ = true;
    bool showsVertical_ = true;
    bool showsHorizontal_ = true;
    std::shared_ptr<RefreshControl> refreshControl_;
};

}  // namespace quillgate::ui

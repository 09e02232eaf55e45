#pragma once

#include <string>

#include "quillgate/ui/View.h"

// The spinning "busy" indicator. With `hidesWhenStopped` (the default) it hides itself when
// it stops and shows itself when it starts. Main thread only.
namespace quillgate::ui {

class ActivityIndicatorView : public View {
  public:
    ActivityIndicatorView() { setHidden(true); }
    explicit ActivityIndicatorView(Rect frame) : View(frame) { setHidden(true); }

    std::string className() const override { return "ActivityIndicatorView"; }

    bool isAnimating() const { return animating_; }
    void startAnimating() {
        animating_ = true;
        if (hidesWhenStopped_) {
            setHidden(false);
        }
    }
    void stopAnimating() {
        animating_ = false;
        if (hidesWhenStopped_) {
            setHidden(true);
        }
    }
    bool hidesWhenStopped() const { return hidesWhenStopped_; }
    void setHidesWhenStopped(bool on) {
        hidesWhenStopped_ = on;
        if (on && !animating_) {
            setHidden(true);
        }
    }

    void describeAttributes(std::vector<std::string>& out) const override {
        if (animating_) {
            out.push_back("animating");
        }
    }

  private:
    bool animating_ = false;
    bool hidesWhenStopped_ = true;
};

}  // namespace quillgate::ui

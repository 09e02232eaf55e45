#include "quillgate/ui/Layout.h"

#include <algorithm>
#include <vector>

#include "quillgate/platform/Platform.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/Window.h"

namespace quillgate::ui {

namespace {

// The windows to lay out after the task in progress. Registers itself with the main queue
// when first used; a shared instance, so resetting the process state unhooks it.
class LayoutScheduler {
  public:
    LayoutScheduler() : loop_(platform::current().runLoop) {
        if (loop_) {
            loop_->setTaskObserver([this] { run(); });
        }
    }
    ~LayoutScheduler() {
        if (loop_) {
            loop_->setTaskObserver(nullptr);
        }
    }
    LayoutScheduler(const LayoutScheduler&) = delete;
    LayoutScheduler& operator=(const LayoutScheduler&) = delete;

    void add(const std::shared_ptr<Window>& window) {
        for (const auto& w : windows_) {
            if (w.lock() == window) {
                return;
            }
        }
        windows_.push_back(window);
    }

    void run() {
        if (running_) {
            return;  // a layoutSubviews that drives the loop: the pass in progress goes on
        }
        running_ = true;
        // Views marked while a pass runs (a child that tells its parent its size changed)
        // get a few more passes; a layout that keeps marking itself stops there.
        for (int pass = 0; pass < 4 && !windows_.empty(); ++pass) {
            auto windows = std::move(windows_);
            windows_.clear();
            for (const auto& weak : windows) {
                if (auto window = weak.lock()) {
                    window->layoutIfNeeded();
                }
            }
        }
        windows_.clear();
        running_ = false;
    }

  private:
    std::shared_ptr<platform::RunLoop> loop_;
    std::vector<std::weak_ptr<Window>> windows_;
    bool running_ = false;
};

LayoutScheduler& scheduler() {
    return platform::sharedInstance<LayoutScheduler>();
}

}  // namespace

Size fittingSize(const View& view, double width) {
    if (view.isHidden()) {
        return {};
    }
    return view.sizeThatFits(Size{std::max(width, 0.0), 0});
}

void layoutMarkedWindows() {
    scheduler().run();
}

namespace detail {
void windowNeedsLayout(const std::shared_ptr<Window>& window) {
    if (window) {
        scheduler().add(window);
    }
}
}  // namespace detail

}  // namespace quillgate::ui

#include "quillgate/service/Toast.h"

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/ui/Animation.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/Window.h"

namespace quillgate {

namespace {
constexpr double kEdgeMargin = 20;
constexpr double kLabelInset = 10;  // the label is 20 points narrower than the box
constexpr double kBoxAlpha = 0.8;
}  // namespace

Toast& Toast::shared() {
    return platform::sharedInstance<Toast>();
}

void Toast::show(const std::string& message, double duration, double cornerRadius, double height) {
    show(message, ui::Color::black(), ui::Color::white(), ui::Font::system(14), center, duration,
         cornerRadius, height);
}

void Toast::show(const std::string& message, ui::Color backgroundColor, ui::Color textColor,
                 ui::Font font, int position, double duration, double cornerRadius, double height) {
    if (!QuillgateClient::shared().debugMode) {
        return;
    }
    if (toastView) {
        toastView->removeFromSuperview();
        toastView.reset();
    }

    auto box = std::make_shared<ui::View>();
    box->setBackgroundColor(backgroundColor);
    box->setAlpha(kBoxAlpha);
    box->layer().cornerRadius = cornerRadius;
    box->setClipsToBounds(true);

    auto label = std::make_shared<ui::Label>(message);
    label->setTextColor(textColor);
    label->setFont(std::move(font));
    label->setTextAlignment(ui::TextAlignment::center);
    label->setNumberOfLines(0);
    label->setFrame(ui::Rect(kLabelInset, 0, width - 2 * kLabelInset, height));
    box->addSubview(label);

    const auto& scenes = ui::Application::shared().connectedScenes();
    if (scenes.empty() || scenes.front()->windows().empty()) {
        return;
    }
    const auto window = scenes.front()->windows().back();
    window->addSubview(box);
    window->bringSubviewToFront(box);
    toastView = box;

    const ui::Rect bounds = window->bounds();
    double y = bounds.height() - kEdgeMargin - height;
    if (position == top) {
        y = kEdgeMargin;
    } else if (position == center) {
        y = (bounds.height() - height) / 2;
    }
    box->setFrame(ui::Rect((bounds.width() - width) / 2, y, width, height));
    if (didShow) {
        didShow(message);
    }

    std::weak_ptr<ui::View> weakBox = box;
    ui::animateAlpha(box, 0, {fadeSeconds, duration, ui::AnimationCurve::easeOut},
                     [weakBox](bool finished) {
                         auto gone = weakBox.lock();
                         if (!finished || !gone) {
                             return;
                         }
                         gone->removeFromSuperview();
                         auto& toast = Toast::shared();
                         if (toast.toastView == gone) {
                             toast.toastView.reset();
                         }
                     });
}

}  // namespace quillgate

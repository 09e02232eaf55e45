#include "quillgate/screens/PopUpView.h"

#include <vector>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/HttpSession.h"
#include "quillgate/platform/Image.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/RunLoop.h"
#include "quillgate/platform/Url.h"
#include "quillgate/resources/ViewLookups.h"
#include "quillgate/screens/CardLayout.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NavigationController.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/SafariViewController.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "quillgate/ui/WindowScene.h"

namespace quillgate {

namespace {

constexpr const char* kNibName = "PopUpView";
constexpr const char* kImageNibName = "CustomUIImageView";
constexpr const char* kCouldNotLoad = "Could not load view from nib file.";
constexpr const char* kInvalidUrl = "Invalid URL";
constexpr const char* kCloseAction = "POPUP_CLOSE";
constexpr const char* kRedirectAction = "POPUP_REDIRECT";

// The popup's own look: rounded, on a white ground, with a round close button in its top
// right corner.
constexpr double kCornerRadius = 12;
constexpr double kCloseSide = 32;
constexpr double kCloseInset = 8;

// Height to width of each shape of popup.
constexpr double kBannerRatio = 0.26666666666666666;
constexpr double kSquareRatio = 1.3333333333333333;
constexpr double kWideRatio = 0.7051282051282052;
constexpr double kTallRatio = 1.7027027027027026;

constexpr double kWideInset = 30;
constexpr double kNarrowInset = 15;
constexpr double kBottomInset = 30;
// Lifts the tall popups of "4" and "5" so that their lower part stays over the article.
constexpr double kTallLift = 55;
constexpr double kTopOffsetWithoutNavigation = 100;
constexpr double kTopOffsetBelowNavigation = 5;
// The headless navigation controller draws no bar of its own: its standard height stands in.
constexpr double kNavigationBarHeight = 44;

using ui::LayoutAttribute;
using ui::LayoutConstraint;
using ui::LayoutRelation;

}  // namespace

std::shared_ptr<PopUpView> PopUpView::loadFromNib() {
    auto& registry = ui::NibRegistry::shared();
    if (!registry.hasNib(kNibName)) {
        platform::fatal(kCouldNotLoad);
    }
    auto popup = std::dynamic_pointer_cast<PopUpView>(registry.instantiate(kNibName));
    if (!popup) {
        platform::fatal(kCouldNotLoad);
    }
    return popup;
}

double PopUpView::topOffset(const std::shared_ptr<ui::View>& parent) {
    const ui::ViewController* controller = nullptr;
    for (const ui::Responder* r = parent.get(); r && !controller; r = r->nextResponder()) {
        controller = dynamic_cast<const ui::ViewController*>(r);
    }
    if (!controller) {
        return kTopOffsetWithoutNavigation;
    }
    for (auto up = controller->parent(); up; up = up->parent()) {
        if (std::dynamic_pointer_cast<ui::NavigationController>(up)) {
            return statusBarHeight() + kNavigationBarHeight + kTopOffsetBelowNavigation;
        }
    }
    return kTopOffsetWithoutNavigation;
}

void PopUpView::place(const std::shared_ptr<ui::View>& parent, const std::string& position) {
    if (!parent) {
        return;
    }
    const bool wide = position == "1" || position == "2" || position == "3" || position == "8";
    const bool tall = position == "4" || position == "5" || position == "6" || position == "7";
    if (!wide && !tall) {
        return;
    }
    auto self = std::static_pointer_cast<ui::View>(shared_from_this());
    const ui::Rect bounds = parent->bounds();
    const double parentWidth = bounds.size.width;
    const double parentHeight = bounds.size.height;

    std::vector<std::shared_ptr<LayoutConstraint>> constraints;
    double ratio = 0;
    ui::Rect frame;
    if (wide) {
        ratio = position == "1" || position == "3" ? kBannerRatio
                : position == "2"                  ? kSquareRatio
                                                   : kWideRatio;
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::leading, parent, kWideInset));
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::trailing, parent, -kWideInset));
        frame.origin.x = kWideInset;
        frame.size.width = parentWidth - 2 * kWideInset;
    } else {
        ratio = kTallRatio;
        constraints.push_back(LayoutConstraint::make(self, LayoutAttribute::width,
                                                     LayoutRelation::equal, parent,
                                                     LayoutAttribute::width, 0.5));
        frame.size.width = 0.5 * parentWidth;
        if (position == "4" || position == "6") {
            constraints.push_back(
                LayoutConstraint::equal(self, LayoutAttribute::leading, parent, kNarrowInset));
            frame.origin.x = kNarrowInset;
        } else {
            constraints.push_back(
                LayoutConstraint::equal(self, LayoutAttribute::trailing, parent, -kNarrowInset));
            frame.origin.x = parentWidth - kNarrowInset - frame.size.width;
        }
    }
    constraints.push_back(LayoutConstraint::make(
        self, LayoutAttribute::height, LayoutRelation::equal, self, LayoutAttribute::width, ratio));
    frame.size.height = frame.size.width * ratio;

    if (position == "1") {
        const double top = topOffset(parent);
        constraints.push_back(LayoutConstraint::equal(self, LayoutAttribute::top, parent, top));
        frame.origin.y = top;
    } else if (position == "2") {
        constraints.push_back(LayoutConstraint::equal(self, LayoutAttribute::centerY, parent));
        frame.origin.y = (parentHeight - frame.size.height) / 2;
    } else if (position == "4" || position == "5") {
        const double lift = ratio * 0.5 * parent->frame().size.width - kTallLift;
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::bottom, parent, -lift));
        frame.origin.y = parentHeight - lift - frame.size.height;
    } else {
        constraints.push_back(
            LayoutConstraint::equal(self, LayoutAttribute::bottom, parent, -kBottomInset));
        frame.origin.y = parentHeight - kBottomInset - frame.size.height;
    }

    for (const auto& constraint : constraints) {
        constraint->setActive(true);
    }
    setFrame(frame);
}

// ---- The image control ---------------------------------------------------------------------

std::shared_ptr<CustomUIImageView> CustomUIImageView::make(ui::Rect frame) {
    auto control = std::make_shared<CustomUIImageView>(frame);
    control->loadContent();
    return control;
}

void CustomUIImageView::awakeFromNib() {
    Control::awakeFromNib();
    if (!view) {
        loadContent();
    }
}

void CustomUIImageView::loadContent() {
    view = ui::NibRegistry::shared().instantiate(kImageNibName, this);
    view->setBackgroundColor(ui::Color::clear());
    view->setFrame(bounds());
    // The content only shows: a tap goes through it to this control.
    view->setUserInteractionEnabled(false);
    addSubview(view);
    imageView->setContentMode(ui::ContentMode::scaleAspectFill);
}

void CustomUIImageView::layoutSubviews() {
    Control::layoutSubviews();
    if (view) {
        view->setFrame(bounds());
    }
}

// ---- The popup ---------------------------------------------------------------------------------

namespace {

template <class Owner>
void bindAction(ui::Control& control, const std::weak_ptr<Owner>& owner, const char* name,
                void (Owner::*action)()) {
    control.addTarget(
        owner.lock().get(), name,
        [owner, action](ui::Control&) {
            // Held for the call: closing lets the client drop the popup.
            if (auto o = owner.lock()) {
                ((*o).*action)();
            }
        },
        ui::ControlEvent::touchUpInside);
}

std::shared_ptr<ui::View> buildImageNib(ui::Responder* owner) {
    auto root = std::make_shared<FillingView>();
    auto image = std::make_shared<ui::ImageView>();
    root->addSubview(image);
    if (auto* control = dynamic_cast<CustomUIImageView*>(owner)) {
        control->imageView = image;
    }
    return root;
}

std::shared_ptr<ui::View> buildPopUpNib(ui::Responder*) {
    auto popup = std::make_shared<PopUpView>();
    popup->setFrame(ui::Rect(0, 0, 300, 400));
    popup->setBackgroundColor(ui::Color::white());
    popup->layer().cornerRadius = kCornerRadius;
    popup->layer().shadowColor = ui::Color::black();
    popup->layer().shadowOffset = ui::Size{0, 4};
    popup->layer().shadowRadius = 12;
    popup->layer().shadowOpacity = 0.3;

    auto image = CustomUIImageView::make(popup->bounds());
    image->setAccessibilityIdentifier("popup image");
    image->layer().cornerRadius = kCornerRadius;
    image->setClipsToBounds(true);
    auto close = std::make_shared<ui::Button>(ui::Rect(0, 0, kCloseSide, kCloseSide),
                                              ui::ButtonType::custom);
    close->setTitle("\u2715");
    close->setTitleColor(ui::Color::white());
    close->titleLabel()->setFont(ui::Font::system(15, ui::FontWeight::bold));
    close->setBackgroundColor(ui::Color::black().withAlpha(0.55));
    close->layer().cornerRadius = kCloseSide / 2;
    close->setAccessibilityIdentifier("close");
    popup->addSubview(image);
    popup->addSubview(close);
    popup->customView = image;
    popup->btnClose = close;

    std::weak_ptr<PopUpView> weakPopup = popup;
    bindAction(*image, weakPopup, "btnImageAction:", &PopUpView::btnImageAction);
    bindAction(*close, weakPopup, "btnCloseAction:", &PopUpView::btnCloseAction);
    return popup;
}

}  // namespace

void PopUpView::registerNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerNib(kImageNibName, buildImageNib);
    registry.registerNib(kNibName, buildPopUpNib);
}

void PopUpView::awakeFromNib() {
    View::awakeFromNib();
    loadImage();
}

void PopUpView::layoutSubviews() {
    View::layoutSubviews();
    const ui::Rect b = bounds();
    if (auto image = customView.optional()) {
        image->setFrame(b);
    }
    if (auto close = btnClose.optional()) {
        close->setFrame(
            ui::Rect(b.width() - kCloseInset - kCloseSide, kCloseInset, kCloseSide, kCloseSide));
    }
}

void PopUpView::loadImage() {
    btnClose->setHidden(true);
    const auto& model = QuillgateClient::shared().popUpModel;
    if (!model || !model->imageURL) {
        return;
    }
    if (!platform::url::parse(*model->imageURL)) {
        btnClose->setHidden(false);
        return;
    }
    platform::HttpRequest request;
    request.url = *model->imageURL;
    request.timeoutSeconds = imageTimeoutSeconds;
    std::weak_ptr<PopUpView> weakSelf = std::static_pointer_cast<PopUpView>(shared_from_this());
    // The answer comes on the session's thread; only weak references travel with it, and the
    // popup is touched on the main queue alone.
    std::weak_ptr<platform::RunLoop> mainQueue = platform::current().runLoop;
    platform::current().http->dataTask(
        std::move(request), [weakSelf, mainQueue](platform::HttpResult result) {
            if (auto queue = mainQueue.lock()) {
                queue->post([weakSelf, body = std::move(result.body)] {
                    if (auto self = weakSelf.lock()) {
                        self->imageArrived(body);
                    }
                });
            }
        });
}

void PopUpView::imageArrived(const std::optional<std::string>& bytes) {
    if (bytes) {
        if (const auto size = platform::imageSize(*bytes)) {
            customView->imageView->setImage(ui::Image::fromData(
                *bytes,
                ui::Size{static_cast<double>(size->width), static_cast<double>(size->height)}));
        }
    }
    btnClose->setHidden(false);
}

void PopUpView::btnCloseAction() {
    EventManager::shared().logEventCLICK(kCloseAction, EventLocation::POPUP);
    auto& client = QuillgateClient::shared();
    if (client.popUpView) {
        client.popUpView->removeFromSuperview();
    }
    client.popUpView.reset();
}

void PopUpView::btnImageAction() {
    const auto& model = QuillgateClient::shared().popUpModel;
    if (!model || !model->link || !platform::url::parse(*model->link)) {
        platform::log(kInvalidUrl);
        return;
    }
    auto browser = ui::ViewController::create<ui::SafariViewController>(*model->link);
    EventManager::shared().logEventCLICK(kRedirectAction, EventLocation::POPUP);
    if (auto top = topMostViewController()) {
        top->present(browser, true);
    }
}

}  // namespace quillgate

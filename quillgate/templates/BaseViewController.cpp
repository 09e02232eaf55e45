#include "quillgate/templates/BaseViewController.h"

#include <algorithm>
#include <any>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/analytics/PingManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Text.h"
#include "quillgate/resources/ViewLookups.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/templates/TemplateParts.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/GestureRecognizer.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/Window.h"

namespace quillgate {

namespace {

constexpr const char* kContentSize = "contentSize";

// The backdrop of full-page and popup walls.
constexpr ui::Color kDimmedBackdrop =
    ui::Color::rgba(112.0 / 255.0, 112.0 / 255.0, 112.0 / 255.0, 0.7);

// The bottom safe-area inset of the application's key window; zero without one.
double keyWindowBottomInset() {
    if (auto window = keyWindow()) {
        return window->safeAreaInsets().bottom;
    }
    return 0;
}

}  // namespace

void BaseViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    EventManager::shared().logEventVIEW(EventLocation::PAYWALL);
    PingManager::shared().startTimer();
    ui::NotificationCenter::defaultCenter().addObserver(
        this, ui::ApplicationWillResignActiveNotification,
        [this](const ui::Notification&) { appMovedToBackground(); });
}

void BaseViewController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    auto& client = QuillgateClient::shared();
    if (auto host = client.completionHandlerDelegate.lock()) {
        host->onPaywallVisible(client.paywallType, std::string(rawValue(client.paywallDisplayType)),
                               client.paywallHeight, client.paywallId);
    }
}

void BaseViewController::viewWillDisappear(bool animated) {
    if (tblView->hasObservers()) {
        tblView->removeObserver(this, kContentSize);
    }
    ViewController::viewWillDisappear(animated);
}

void BaseViewController::deinit() {
    platform::log("deinit::BaseViewController");
    if (auto* center = ui::NotificationCenter::existingDefaultCenter()) {
        center->removeObserver(this, ui::ApplicationWillResignActiveNotification);
    }
    PingManager::shared().stopTimer();
    ViewController::deinit();
}

void BaseViewController::touchesBegan() {
    resetUserActiveStatus();
}

void BaseViewController::resetUserActiveStatus() {
    platform::log("resetUserActiveStatus()");
    Constants::active() = 1;
}

void BaseViewController::appMovedToBackground() {
    platform::log("App moved to background!");
    EventManager::shared().logEventEXIT(EventLocation::PAGE);
}

void BaseViewController::observeValue(const ui::KeyValueChange& change) {
    if (change.keyPath != kContentSize) {
        return;
    }
    const auto* size = std::any_cast<ui::Size>(&change.newValue);
    if (!size) {
        return;
    }
    const double height = cardHeight(size->height);
    QuillgateClient::shared().paywallHeight = height;
    setCardHeight(height);
}

double BaseViewController::cardHeight(double contentHeight) {
    double height = contentHeight;
    const double limit = ui::Application::shared().mainScreen().bounds.height() * 3 * 0.25;
    if (QuillgateClient::shared().paywallDisplayType != PAYWALLTYPE::POPUP) {
        height += keyWindowBottomInset();
    }
    return std::min(height, limit);
}

void BaseViewController::setCardHeight(double height) {
    tblViewHeight->setConstant(height);
    if (auto root = viewIfLoaded()) {
        root->setNeedsLayout();
        root->layoutIfNeeded();
    }
}

int BaseViewController::numberOfRows(ui::TableView&, int) {
    return 0;
}

std::shared_ptr<ui::TableViewCell> BaseViewController::cellForRow(ui::TableView& table,
                                                                  ui::IndexPath) {
    return dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
}

void BaseViewController::loginAction() {
    contentFlow(ContentType::onlyLogin);
}

void BaseViewController::clickHereAction() {
    contentFlow(ContentType::readNow);
}

void BaseViewController::wireFooter(CommonFooterTableViewCell& footer) {
    auto login = weakAction(&BaseViewController::loginAction);
    auto clickHere = weakAction(&BaseViewController::clickHereAction);
    auto submit = weakAction(&BaseViewController::btnSubmitAction);
    footer.lblLogin->addGestureRecognizer(std::make_shared<ui::TapGestureRecognizer>(
        [login](ui::GestureRecognizer&) { login(); }, "loginAction:"));
    footer.lblLogin->setUserInteractionEnabled(true);
    footer.lblClickHere->addGestureRecognizer(std::make_shared<ui::TapGestureRecognizer>(
        [clickHere](ui::GestureRecognizer&) { clickHere(); }, "clickHereAction:"));
    footer.lblClickHere->setUserInteractionEnabled(true);
    footer.btnSubscribe->addTarget(
        this, "btnSubmitAction:", [submit](ui::Control&) { submit(); },
        ui::ControlEvent::touchUpInside);
}

void BaseViewController::setUpTable(std::initializer_list<const char*> cellNibs) {
    auto table = tblView.get();
    for (const char* nib : cellNibs) {
        table->registerNib(nib, nib);
    }
    auto self = shared_from_this();
    table->setDataSource(std::shared_ptr<ui::TableViewDataSource>(self, this));
    table->setDelegate(std::shared_ptr<ui::TableViewDelegate>(self, this));
    table->setSeparatorStyle(ui::SeparatorStyle::none);
    table->setRowHeight(ui::automaticDimension);
    table->setEstimatedRowHeight(ui::automaticDimension);
    table->addObserver(this, kContentSize,
                       [this](const ui::KeyValueChange& change) { observeValue(change); });
}

void BaseViewController::applyDisplayType() {
    const auto type = QuillgateClient::shared().paywallDisplayType;
    const bool popup = type == PAYWALLTYPE::POPUP;
    view()->setBackgroundColor(type == PAYWALLTYPE::INARTICLE ? ui::Color::clear()
                                                              : kDimmedBackdrop);
    centerYConstraint->setActive(popup);
    bottomConstraint->setActive(!popup);
}

void BaseViewController::applyCardBackground() {
    const Borders* frames = borders();
    if (!frames || !frames->mainDiv || !isNotBlank(frames->mainDiv->backgroundColor)) {
        return;
    }
    if (auto color = colorFromHex(*frames->mainDiv->backgroundColor)) {
        tblView->setBackgroundColor(*color);
    }
}

void BaseViewController::reloadSoon(std::function<void(BaseViewController&)> after) {
    std::weak_ptr<ui::ViewController> weak = weak_from_this();
    platform::mainQueue().async([weak] {
        if (auto self = std::static_pointer_cast<BaseViewController>(weak.lock())) {
            self->tblView->reloadData();
        }
    });
    if (after) {
        platform::mainQueue().async([weak, after = std::move(after)] {
            if (auto self = std::static_pointer_cast<BaseViewController>(weak.lock())) {
                after(*self);
            }
        });
    }
}

const JSONs* BaseViewController::styleDocument() const {
    return styleDocumentOf(customizePayWallModel());
}

const typography* BaseViewController::textStyles() const {
    return textStylesOf(customizePayWallModel());
}

const Borders* BaseViewController::borders() const {
    return bordersOf(customizePayWallModel());
}

const SlotInfo* BaseViewController::slots() const {
    return slotInfoOf(customizePayWallModel());
}

int BaseViewController::variantNumber(const std::string& numOfCta, int count) {
    for (int n = 2; n <= count; ++n) {
        if (numOfCta == std::to_string(n)) {
            return n;
        }
    }
    return 1;
}

void BaseViewController::contentFlow(ContentType contentType) {
    platform::log("content");
    resetUserActiveStatus();
    auto d = delegate().lock();
    if (!d) {
        return;
    }
    d->startWebFlow(QuillgateClient::shared().contentID, contentType, "");
    EventManager::shared().logEventCLICK("CONTENT", EventLocation::PAYWALL);
}

bool BaseViewController::actOnOfferWord(const std::string& word) {
    auto d = delegate().lock();
    const std::string& contentID = QuillgateClient::shared().contentID;
    if (word == "content") {
        platform::log("content");
        if (d) {
            d->startWebFlow(contentID, ContentType::readNow, "");
            EventManager::shared().logEventCLICK("CONTENT", EventLocation::PAYWALL);
        }
        return true;
    }
    if (word == "pass") {
        platform::log("pass");
        if (d) {
            d->startWebFlow(contentID, ContentType::buyPass, "");
            EventManager::shared().logEventCLICK("PASS", EventLocation::PAYWALL);
        }
        return true;
    }
    if (word == "subscription") {
        platform::log("subscription");
        if (d) {
            d->subscribeTap(true);
        }
        return true;
    }
    return false;
}

void BaseViewController::submitValueWord(const std::optional<std::string>& value) {
    platform::log("Selected Slot: " + description::optional(value));
    if (value) {
        actOnOfferWord(platform::text::lowercased(*value));
    }
}

}  // namespace quillgate

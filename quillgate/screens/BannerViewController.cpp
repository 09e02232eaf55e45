#include "quillgate/screens/BannerViewController.h"

#include <algorithm>
#include <any>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/analytics/PingManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/resources/CustomTableView.h"
#include "quillgate/resources/ViewLookups.h"
#include "quillgate/service/Description.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/ui/LayoutConstraint.h"

namespace quillgate {

namespace {

constexpr const char* kHeading =
    "Stay up-to-date with current events and subjects by staying informed.";
constexpr const char* kSubHeading =
    "Get all news, insights, products, offers and exclusive benefits from the brand by joining "
    "our subscription today";
constexpr const char* kButtonTitle = "Subscribe Now";
// The sentence's spelling is the service's, kept as publishers know it.
constexpr const char* kStepSentence = "Your are left with {steps} Free article this month";
constexpr const char* kStepPlaceholder = "{steps}";
constexpr const char* kEmptyStepText = "Don't miss out on the full story";

constexpr double kRoundRadius = 20;
constexpr double kStepTextSize = 14;
constexpr double kCardCornerRadius = 10;

// The scene's measures: the close button and the strip above the card.
constexpr double kCrossSide = 40;
constexpr double kStripHeight = 40;
constexpr double kStripGap = 5;
constexpr double kSideMargin = 16;

// The step number of the journey's metering action, as the service wrote it.
std::optional<std::string> stepCount() {
    const auto& journey = QuillgateClient::shared().userJourneyModel;
    if (journey && journey->meteringAction && journey->meteringAction->data &&
        journey->meteringAction->data->variables) {
        return journey->meteringAction->data->variables->stepCount;
    }
    return std::nullopt;
}

// A round backdrop's border: a configured width above 0, else none; the configured colour,
// else black; the configured background when it parses.
void styleRound(ui::View& view, const std::optional<borderData>& record) {
    auto& layer = view.layer();
    layer.borderWidth = record && record->borderWidthValue && *record->borderWidthValue > 0
                            ? static_cast<double>(*record->borderWidthValue)
                            : 0.0;
    const std::string colour =
        record && record->borderColor ? *record->borderColor : std::string("#000000");
    layer.borderColor = colorFromHex(colour);
    if (record && isNotBlank(record->backgroundColor)) {
        if (auto background = colorFromHex(*record->backgroundColor)) {
            view.setBackgroundColor(*background);
        }
    }
    view.setNeedsDisplay();
}

// The banner's root: the card at the bottom (lifted by the bottom constraint's constant) or
// in the middle, whichever position constraint is active, as tall as its height constraint;
// the step strip just above the card and the close button above the strip's right end.
class BannerSceneView : public ui::View {
  public:
    std::string className() const override { return "View"; }

    void setFrame(ui::Rect frame) override {
        View::setFrame(frame);
        layoutSubviews();
    }

    void layoutSubviews() override {
        auto card = card_.lock();
        auto height = height_.lock();
        auto strip = strip_.lock();
        auto cross = cross_.lock();
        if (!card || !height || !strip || !cross) {
            return;
        }
        const ui::Rect box = bounds();
        const double h = height->constant();
        const double band = BannerViewController::headerHeight;
        double y = box.height() - h;
        if (auto centre = centreY_.lock(); centre && centre->isActive()) {
            y = (box.height() - h + band) / 2 + centre->constant();
        } else if (auto bottom = bottom_.lock(); bottom && bottom->isActive()) {
            y = box.height() - h - bottom->constant();
        }
        card->setFrame(ui::Rect(0, y, box.width(), h));
        strip->setFrame(ui::Rect(kSideMargin, y - kStripGap - kStripHeight,
                                 box.width() - 2 * kSideMargin, kStripHeight));
        cross->setFrame(
            ui::Rect(box.width() - kSideMargin - kCrossSide, y - band, kCrossSide, kCrossSide));
    }

    std::weak_ptr<ui::View> card_;
    std::weak_ptr<ui::View> strip_;
    std::weak_ptr<ui::View> cross_;
    std::weak_ptr<ui::LayoutConstraint> height_;
    std::weak_ptr<ui::LayoutConstraint> centreY_;
    std::weak_ptr<ui::LayoutConstraint> bottom_;
};

// The strip's label fills it, less a little padding.
class StepStripView : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override {
        for (const auto& child : subviews()) {
            child->setFrame(
                ui::Rect(12, 0, std::max(0.0, bounds().width() - 24), bounds().height()));
        }
    }
};

// The close button fills its round backdrop.
class CrossView : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override {
        for (const auto& child : subviews()) {
            child->setFrame(bounds());
        }
    }
};

}  // namespace

// ---- Scene -----------------------------------------------------------------------------------

std::shared_ptr<ui::View> buildBannerScene(ui::Responder* owner) {
    using ui::LayoutAttribute;
    auto root = std::make_shared<BannerSceneView>();
    root->setFrame(ui::Rect(0, 0, 390, 844));
    root->setBackgroundColor(ui::Color::clear());

    auto table = std::make_shared<CustomTableView>(ui::Rect(0, 644, 390, 200));
    table->setBackgroundColor(ui::Color::white());
    root->addSubview(table);

    auto strip = std::make_shared<StepStripView>();
    strip->setBackgroundColor(ui::Color::rgb255(0xFF, 0xF4, 0xD6));
    strip->layer().cornerRadius = kRoundRadius;
    root->addSubview(strip);
    auto step = std::make_shared<ui::Label>();
    step->setFont(ui::Font::system(kStepTextSize, ui::FontWeight::medium));
    step->setTextColor(ui::Color::rgb255(28, 28, 30));
    step->setTextAlignment(ui::TextAlignment::center);
    step->setNumberOfLines(2);
    strip->addSubview(step);

    auto cross = std::make_shared<CrossView>();
    cross->setBackgroundColor(ui::Color::white());
    cross->layer().cornerRadius = kRoundRadius;
    root->addSubview(cross);
    auto close = std::make_shared<ui::Button>(ui::Rect(0, 0, kCrossSide, kCrossSide),
                                              ui::ButtonType::custom);
    close->setTitle("×");
    close->setTitleColor(ui::Color::rgb255(28, 28, 30));
    close->titleLabel()->setFont(ui::Font::system(24));
    cross->addSubview(close);

    auto height = ui::LayoutConstraint::constantSize(table, LayoutAttribute::height, 200);
    height->setIdentifier("tblViewHeight");
    table->addConstraint(height);
    auto centreY = ui::LayoutConstraint::equal(table, LayoutAttribute::centerY, root);
    centreY->setIdentifier("centerYConstraint");
    root->addConstraint(centreY);
    centreY->setActive(false);
    auto bottom = ui::LayoutConstraint::equal(root, LayoutAttribute::bottom, table);
    bottom->setIdentifier("bottomConstraint");
    root->addConstraint(bottom);

    root->card_ = table;
    root->strip_ = strip;
    root->cross_ = cross;
    root->height_ = height;
    root->centreY_ = centreY;
    root->bottom_ = bottom;
    if (auto* screen = dynamic_cast<BannerViewController*>(owner)) {
        screen->tblView = table;
        screen->tblViewHeight = height;
        screen->centerYConstraint = centreY;
        screen->bottomConstraint = bottom;
        screen->crossView = cross;
        screen->stepView = strip;
        screen->lblStep = step;
        std::weak_ptr<ui::ViewController> weak = screen->weak_from_this();
        close->addTarget(
            screen, "btnCloseScreen:",
            [weak](ui::Control&) {
                if (auto self = std::dynamic_pointer_cast<BannerViewController>(weak.lock())) {
                    self->btnCloseScreen();
                }
            },
            ui::ControlEvent::touchUpInside);
    }
    return root;
}

// ---- Screen ----------------------------------------------------------------------------------

const JSONs* BannerViewController::meterStyle() {
    const auto& meter = QuillgateClient::shared().meterModel;
    if (meter && meter->data && meter->data->configuration &&
        meter->data->configuration->configurationJSON) {
        return &*meter->data->configuration->configurationJSON;
    }
    return nullptr;
}

std::string BannerViewController::stepText(const std::optional<std::string>& configured,
                                           const std::optional<std::string>& count) {
    std::string text = configured ? *configured : std::string(kStepSentence);
    const std::string placeholder = kStepPlaceholder;
    const std::string number = count.value_or("");
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + number.size())) {
        text.replace(at, placeholder.size(), number);
    }
    // Only the empty text falls back; a text of blanks stays as it is.
    return text.empty() ? std::string(kEmptyStepText) : text;
}

void BannerViewController::viewDidLoad() {
    // The banner reports itself as a meter banner: the template frame's paywall VIEW and
    // resign-active observation are not made.
    ui::ViewController::viewDidLoad();
    EventManager::shared().logMeterEventVIEW(EventLocation::PAYWALL);
    layOut();
    PingManager::shared().startTimer();
}

void BannerViewController::refreshData() {
    EventManager::shared().logMeterEventVIEW(EventLocation::PAYWALL);
    // A second registration for "contentSize" is harmless: it only sets the same height.
    layOut();
}

void BannerViewController::layOut() {
    setUpTable({"CommonHeaderCenterTableViewCell", "CommonFooterTableViewCell"});
    applyDisplayType();
    const JSONs* style = meterStyle();
    const Borders* frames = style && style->styleForBackground && style->styleForBackground->border
                                ? &*style->styleForBackground->border
                                : nullptr;
    if (frames && frames->contentDiv && isNotBlank(frames->contentDiv->backgroundColor)) {
        if (auto colour = colorFromHex(*frames->contentDiv->backgroundColor)) {
            tblView->setBackgroundColor(*colour);
        }
    }
    if (style && style->slotData && style->slotData->slot && style->slotData->slot->contentDivBtn &&
        style->slotData->slot->contentDivBtn->value) {
        selectedSlot = style->slotData->slot->contentDivBtn->value;
    }
    reloadSoon();
    styleCrossView();
    styleStepView();
    styleStepText();
}

void BannerViewController::styleCrossView() {
    const JSONs* style = meterStyle();
    std::optional<borderData> record;
    if (style && style->styleForBackground && style->styleForBackground->border) {
        record = style->styleForBackground->border->crossBtn;
    }
    crossView->layer().cornerRadius = kRoundRadius;
    styleRound(*crossView, record);
}

void BannerViewController::styleStepView() {
    const JSONs* style = meterStyle();
    std::optional<borderData> record;
    if (style && style->styleForBackground && style->styleForBackground->border) {
        record = style->styleForBackground->border->label;
    }
    double radius = kRoundRadius;
    if (record && record->radius && *record->radius >= 1) {
        radius = std::min(static_cast<double>(*record->radius), kRoundRadius);
    }
    stepView->layer().cornerRadius = radius;
    styleRound(*stepView, record);
}

void BannerViewController::styleStepText() {
    const JSONs* style = meterStyle();
    std::optional<typographyData> record;
    if (style && style->styleForText && style->styleForText->typography) {
        record = style->styleForText->typography->label;
    }
    const std::string text = stepText(record ? record->text : std::nullopt, stepCount());
    styleLabel(*lblStep, record, text, kStepTextSize);
}

void BannerViewController::viewDidAppear(bool animated) {
    ui::ViewController::viewDidAppear(animated);
    auto& client = QuillgateClient::shared();
    if (auto host = client.completionHandlerDelegate.lock()) {
        std::string id = "--";
        if (client.meterModel && client.meterModel->data && client.meterModel->data->id) {
            id = *client.meterModel->data->id;
        }
        host->onMeterBannerVisible("METER_BANNER", id, client.paywallHeight);
    }
}

void BannerViewController::viewDidLayoutSubviews() {
    ui::ViewController::viewDidLayoutSubviews();
    roundCorners(*tblView, ui::minXMinYCorner | ui::maxXMinYCorner, kCardCornerRadius);
}

void BannerViewController::deinit() {
    platform::log("deinit::BannerViewController");
    PingManager::shared().stopTimer();
    BaseViewController::deinit();
}

void BannerViewController::observeValue(const ui::KeyValueChange& change) {
    if (change.keyPath != "contentSize") {
        return;
    }
    const auto* size = std::any_cast<ui::Size>(&change.newValue);
    if (!size) {
        return;
    }
    const double height = cardHeight(size->height);
    setCardHeight(height);
    QuillgateClient::shared().paywallHeight = height + headerHeight;
}

int BannerViewController::numberOfRows(ui::TableView&, int) {
    const JSONs* style = meterStyle();
    const bool subHeading = style && style->styleForText && style->styleForText->typography &&
                            style->styleForText->typography->subHeading &&
                            style->styleForText->typography->subHeading->text;
    return subHeading ? 3 : 2;
}

std::shared_ptr<ui::TableViewCell> BannerViewController::cellForRow(ui::TableView& table,
                                                                    ui::IndexPath indexPath) {
    const JSONs* style = meterStyle();
    const typography* texts = style && style->styleForText && style->styleForText->typography
                                  ? &*style->styleForText->typography
                                  : nullptr;
    const int rows = numberOfRows(table, indexPath.section);
    if (indexPath.row == 0) {
        auto cell =
            dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
        cell->configure(kHeading, texts ? texts->heading : std::nullopt, 22.0);
        return cell;
    }
    if (indexPath.row == 1 && rows == 3) {
        auto cell =
            dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
        cell->configure(kSubHeading, texts ? texts->subHeading : std::nullopt, 15.0);
        return cell;
    }
    auto footer = dequeue<CommonFooterTableViewCell>(table, "CommonFooterTableViewCell");
    footer->configureBanner(style, kButtonTitle);
    auto submit = weakAction(&BaseViewController::btnSubmitAction);
    footer->btnSubscribe->addTarget(
        this, "btnSubmitAction:", [submit](ui::Control&) { submit(); },
        ui::ControlEvent::touchUpInside);
    return footer;
}

void BannerViewController::btnSubmitAction() {
    EventManager::shared().logMeterEventCLICK("SUBS", EventLocation::PAYWALL);
    platform::log("Selected Slot: " + description::optional(selectedSlot));
    if (!selectedSlot) {
        return;
    }
    auto& client = QuillgateClient::shared();
    auto d = delegate().lock();
    const std::string word = platform::text::lowercased(*selectedSlot);
    if (word == "custom url") {
        platform::log("custom url");
        const JSONs* style = meterStyle();
        const bool linked = style && style->slotData && style->slotData->slot &&
                            style->slotData->slot->contentDivBtn &&
                            style->slotData->slot->contentDivBtn->redirectUrl;
        if (!linked) {
            platform::log("Invalid URL");
            return;
        }
        if (auto host = client.completionHandlerDelegate.lock()) {
            host->onCustomLinkSlot(style->slotData->slot->contentDivBtn->redirectUrl,
                                   client.contentID);
        }
    } else if (word == "pass") {
        platform::log("pass");
        if (d) {
            d->startWebFlow(client.contentID, ContentType::buyPass, "");
        }
    } else if (word == "subscription") {
        platform::log("subscription");
        if (d) {
            // The meter click is already logged.
            d->subscribeTap(false);
        }
    }
}

void BannerViewController::btnCloseScreen() {
    EventManager::shared().logMeterEventCLICK("METERING_BANNER_CROSSBTN", EventLocation::PAYWALL);
    if (auto d = delegate().lock()) {
        d->closeScreens();
    }
}

}  // namespace quillgate

#include "quillgate/templates/RGViewController.h"

#include <algorithm>

#include "quillgate/analytics/EventManager.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Text.h"
#include "quillgate/service/Toast.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/ui/Animation.h"
#include "quillgate/ui/NibRegistry.h"

namespace quillgate {

namespace {

constexpr const char* kHeading = "Don't miss out on the full story";
constexpr const char* kSubHeading = "Continue reading this article by giving your email address";
constexpr const char* kPlaceholder = "Email Id";
constexpr const char* kSubmitTitle = "Unlock article";
constexpr const char* kGoogleTitle = "Sign in with Google";
constexpr const char* kInvalidInput = "Enter valid email or phone number";

constexpr const char* kEmailPattern = "[A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\\.[A-Za-z]{2,4}";
constexpr const char* kMobilePattern = "^[6-9]\\d{9}$";
constexpr const char* kNamePattern = "^[a-zA-Z]{4,}$";

constexpr double kKeyboardHideSeconds = 0.2;

// The row measures.
constexpr double kInputTop = 12;
constexpr double kInputHeight = 48;
constexpr double kInputBottom = 8;
constexpr double kFieldInset = 14;
constexpr double kFooterTop = 10;
constexpr double kFooterGap = 12;
constexpr double kDividerHeight = 20;
constexpr double kFooterBottom = 22;
constexpr double kLineThickness = 1;

const ui::Color kInk = ui::Color::rgb255(28, 28, 30);
const ui::Color kHairline = ui::Color::rgb255(199, 199, 204);

bool containsAt(const std::string& text) {
    return text.find('@') != std::string::npos;
}

// The key of the submitted value for an input kind (the "@" test for either).
std::optional<std::string> keyFor(const std::optional<std::string>& kind, const std::string& text) {
    if (!kind) {
        return std::nullopt;
    }
    if (*kind == "emailLogin") {
        return "email";
    }
    if (*kind == "mobileLogin") {
        return "phoneNumber";
    }
    if (*kind == "nameInput") {
        return "name";
    }
    if (*kind == "emailMobileLogin") {
        return containsAt(text) ? "email" : "phoneNumber";
    }
    return std::nullopt;
}

// The rows of the action row that show, top to bottom.
std::vector<std::pair<ui::View*, double>> footerItems(const RGFooterTableViewCell& cell) {
    std::vector<std::pair<ui::View*, double>> items;
    for (auto [view, height] :
         {std::pair<ui::View*, double>{cell.btnSubscribe.get().get(),
                                       RGFooterTableViewCell::buttonHeight},
          {cell.vwOR.get().get(), kDividerHeight},
          {cell.btnGoogle.get().get(), RGFooterTableViewCell::buttonHeight}}) {
        if (!view->isHidden()) {
            items.emplace_back(view, height);
        }
    }
    return items;
}

// ---- Nibs ------------------------------------------------------------------------------------

std::shared_ptr<ui::View> inputCellNib(ui::Responder*) {
    auto cell = std::make_shared<RGInputViewTableViewCell>();
    cell->setFrame(ui::Rect(0, 0, 390, kInputTop + kInputHeight + kInputBottom));
    cell->setBackgroundColor(ui::Color::clear());
    auto box = std::make_shared<ui::View>();
    box->setBackgroundColor(ui::Color::white());
    box->layer().cornerRadius = 8;
    box->layer().borderWidth = 1;
    box->layer().borderColor = kHairline;
    cell->contentView()->addSubview(box);
    auto field = std::make_shared<ui::TextField>(ui::Rect(0, 0, 300, kInputHeight));
    field->setFont(ui::Font::system(16));
    field->setTextColor(kInk);
    box->addSubview(field);
    cell->containerView = box;
    cell->textField = field;
    return cell;
}

std::shared_ptr<ui::View> footerCellNib(ui::Responder*) {
    auto cell = std::make_shared<RGFooterTableViewCell>();
    cell->setFrame(ui::Rect(0, 0, 390, 180));
    cell->setBackgroundColor(ui::Color::clear());
    auto content = cell->contentView();

    auto submit = std::make_shared<CustomButton>(ui::ButtonType::custom);
    submit->setBackgroundColor(ui::Color::black());
    submit->setTitleColor(ui::Color::white());
    submit->layer().cornerRadius = 5;
    // Nothing typed yet: nothing to submit.
    submit->setEnabled(false);
    content->addSubview(submit);

    auto divider = std::make_shared<ui::View>();
    auto left = std::make_shared<ui::Label>();
    auto right = std::make_shared<ui::Label>();
    for (const auto& line : {left, right}) {
        line->setBackgroundColor(kHairline);
        divider->addSubview(line);
    }
    auto word = std::make_shared<ui::Label>("OR");
    word->setFont(ui::Font::system(13, ui::FontWeight::medium));
    word->setTextColor(ui::Color::rgb255(99, 99, 102));
    word->setTextAlignment(ui::TextAlignment::center);
    divider->addSubview(word);
    content->addSubview(divider);

    auto google = CustomUIButton::make(ui::Rect(0, 0, 350, RGFooterTableViewCell::buttonHeight));
    google->setBackgroundColor(ui::Color::white());
    google->layer().cornerRadius = 5;
    google->layer().borderWidth = 1;
    google->layer().borderColor = kHairline;
    google->label->setText(kGoogleTitle);
    google->label->setTextColor(kInk);
    content->addSubview(google);

    cell->btnSubscribe = submit;
    cell->vwOR = divider;
    cell->lblLeft = left;
    cell->orLbl = word;
    cell->lblRight = right;
    cell->btnGoogle = google;
    return cell;
}

}  // namespace

// ---- Cells -----------------------------------------------------------------------------------

ui::Size RGInputViewTableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, kInputTop + kInputHeight + kInputBottom};
}

void RGInputViewTableViewCell::layoutSubviews() {
    const double width = bounds().width() - 2 * card::margin;
    containerView->setFrame(ui::Rect(card::margin, kInputTop, width, kInputHeight));
    textField->setFrame(
        ui::Rect(kFieldInset, 0, std::max(0.0, width - 2 * kFieldInset), kInputHeight));
}

ui::Size RGFooterTableViewCell::sizeThatFits(ui::Size fitting) const {
    double height = kFooterTop;
    const auto items = footerItems(*this);
    for (std::size_t i = 0; i < items.size(); ++i) {
        height += items[i].second + (i > 0 ? kFooterGap : 0);
    }
    return ui::Size{fitting.width, height + kFooterBottom};
}

void RGFooterTableViewCell::layoutSubviews() {
    const double width = bounds().width() - 2 * card::margin;
    double y = kFooterTop;
    for (const auto& [view, height] : footerItems(*this)) {
        view->setFrame(ui::Rect(card::margin, y, width, height));
        y += height + kFooterGap;
    }
    const double wordWidth = card::fittingWidth(*orLbl, width) + 24;
    const double lineWidth = std::max(0.0, (width - wordWidth) / 2);
    const double middle = (kDividerHeight - kLineThickness) / 2;
    lblLeft->setFrame(ui::Rect(0, middle, lineWidth, kLineThickness));
    orLbl->setFrame(ui::Rect(lineWidth, 0, wordWidth, kDividerHeight));
    lblRight->setFrame(ui::Rect(lineWidth + wordWidth, middle, lineWidth, kLineThickness));
}

// ---- Screen ----------------------------------------------------------------------------------

void RGViewController::registerNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerNib("RGInputViewTableViewCell", inputCellNib);
    registry.registerNib("RGFooterTableViewCell", footerCellNib);
}

std::optional<RGType> RGViewController::typeFor(const std::string& paywallName) {
    if (paywallName == "RG4") {
        return RGType::RG4;
    }
    if (paywallName == "RG5") {
        return RGType::RG5;
    }
    if (paywallName == "RG6") {
        return RGType::RG6;
    }
    return std::nullopt;
}

void RGViewController::viewDidLoad() {
    BaseViewController::viewDidLoad();
    auto& center = ui::NotificationCenter::defaultCenter();
    center.addObserver(this, ui::KeyboardWillShowNotification,
                       [this](const ui::Notification& n) { keyboardWillShow(n); });
    center.addObserver(this, ui::KeyboardWillHideNotification,
                       [this](const ui::Notification& n) { keyboardWillHide(n); });
    setUpTable(
        {"CommonHeaderCenterTableViewCell", "RGFooterTableViewCell", "RGInputViewTableViewCell"});
    applyDisplayType();
    type = typeFor(QuillgateClient::shared().paywallName);
    applyCardBackground();
    reloadSoon();
}

void RGViewController::viewWillDisappear(bool animated) {
    if (auto* center = ui::NotificationCenter::existingDefaultCenter()) {
        center->removeObserver(this, ui::KeyboardWillShowNotification);
        center->removeObserver(this, ui::KeyboardWillHideNotification);
    }
    BaseViewController::viewWillDisappear(animated);
}

int RGViewController::numberOfRows(ui::TableView&, int) {
    return type == RGType::RG4 ? 3 : 4;
}

std::shared_ptr<ui::TableViewCell> RGViewController::cellForRow(ui::TableView& table,
                                                                ui::IndexPath indexPath) {
    const typography* texts = textStyles();
    if (indexPath.row == 0 || indexPath.row == 1) {
        auto heading =
            dequeue<CommonHeaderCenterTableViewCell>(table, "CommonHeaderCenterTableViewCell");
        if (indexPath.row == 0) {
            heading->configure(kHeading, texts ? texts->heading : std::nullopt, 22.0);
        } else {
            heading->configure(kSubHeading, texts ? texts->subHeading : std::nullopt, 15.0);
        }
        return heading;
    }
    if (indexPath.row == 2 && type != RGType::RG4) {
        auto input = dequeue<RGInputViewTableViewCell>(table, "RGInputViewTableViewCell");
        input->textField->setPlaceholder(kPlaceholder);
        const auto kind = inputKind();
        if (kind == "emailLogin") {
            input->textField->setKeyboardType(ui::KeyboardType::emailAddress);
        } else if (kind == "mobileLogin") {
            input->textField->setKeyboardType(ui::KeyboardType::phonePad);
        }
        input->textField->setDelegate(
            std::shared_ptr<ui::TextFieldDelegate>(shared_from_this(), this));
        cell = input;
        return input;
    }
    auto footer = dequeue<RGFooterTableViewCell>(table, "RGFooterTableViewCell");
    footerCell = footer;
    styleSubmit();
    footer->btnGoogle->label->setText(kGoogleTitle);
    if (type) {
        const bool rg4 = type == RGType::RG4;
        footer->btnSubscribe->setHidden(rg4);
        footer->vwOR->setHidden(type != RGType::RG6);
        footer->btnGoogle->setHidden(type == RGType::RG5);
    }
    if (!footer->btnSubscribe->isHidden()) {
        auto submit = weakAction(&BaseViewController::btnSubmitAction);
        footer->btnSubscribe->addTarget(
            this, "btnSubmitAction:", [submit](ui::Control&) { submit(); },
            ui::ControlEvent::touchUpInside);
    }
    if (!footer->btnGoogle->isHidden()) {
        auto google = weakAction(&RGViewController::btnGoogleAction);
        footer->btnGoogle->addTarget(
            this, "btnGoogleAction:", [google](ui::Control&) { google(); },
            ui::ControlEvent::touchUpInside);
    }
    if (type == RGType::RG6 && texts && texts->orText && isNotBlank(texts->orText->color)) {
        if (auto colour = colorFromHex(*texts->orText->color)) {
            footer->lblLeft->setBackgroundColor(*colour);
            footer->lblRight->setBackgroundColor(*colour);
        }
    }
    footer->setNeedsLayout();
    return footer;
}

std::optional<std::string> RGViewController::inputKind() const {
    const SlotInfo* slot = slots();
    if (slot && slot->contentDivBtn) {
        return slot->contentDivBtn->value;
    }
    return std::nullopt;
}

bool RGViewController::validate(const std::string& text) {
    const auto kind = inputKind();
    if (kind == "emailLogin") {
        regex = kEmailPattern;
    } else if (kind == "mobileLogin") {
        regex = kMobilePattern;
    } else if (kind == "nameInput") {
        regex = kNamePattern;
    } else if (kind == "emailMobileLogin") {
        // The field's content decides, not the text being checked.
        const std::string current = cell ? cell->textField->text() : std::string();
        regex = containsAt(current) ? kEmailPattern : kMobilePattern;
    }
    return platform::text::matchesWhole(regex, text);
}

void RGViewController::styleSubmit() {
    if (!footerCell) {
        return;
    }
    const typography* texts = textStyles();
    const Borders* frames = borders();
    auto& button = *footerCell->btnSubscribe;
    styleButton(button, button, texts ? texts->mainSubmitBtn : std::nullopt,
                frames ? frames->mainSubmitBtn : std::nullopt, kSubmitTitle);
    // A disabled button shows faded.
    button.setAlpha(button.isEnabled() ? 1.0 : 0.5);
}

void RGViewController::setSubmitEnabled(bool enabled) {
    if (!footerCell) {
        return;
    }
    footerCell->btnSubscribe->setEnabled(enabled);
    styleSubmit();
}

bool RGViewController::shouldChangeCharacters(ui::TextField& field, ui::TextRange range,
                                              const std::string& replacement) {
    std::string next = field.text();
    const std::size_t from = std::min(range.location, next.size());
    next.replace(from, std::min(range.length, next.size() - from), replacement);
    setSubmitEnabled(validate(next));
    return true;
}

void RGViewController::btnSubmitAction() {
    const std::string text = cell ? cell->textField->text() : std::string();
    if (!validate(text)) {
        Toast::shared().show(kInvalidInput, ui::Color::black(), ui::Color::white(),
                             ui::Font::system(14), Toast::center, 2, 10, 60);
        return;
    }
    const auto kind = inputKind();
    platform::log("Slot " + kind.value_or(""));
    std::string body;
    if (const auto key = keyFor(kind, text); key && platform::text::isNotBlank(text)) {
        // Joined as it stands: a quote in the text is not escaped.
        body = "{\"" + *key + "\":\"" + text + "\"}";
    }
    platform::log("userDetails::" + body);
    if (auto d = delegate().lock()) {
        d->contactLogin(body);
    }
}

void RGViewController::btnGoogleAction() {
    platform::log("GOOGLE");
    resetUserActiveStatus();
    if (auto google = QuillgateClient::shared().googleLogInDelegate.lock()) {
        google->startGoogleLogin();
    }
    EventManager::shared().logEventCLICK("GOOGLE", EventLocation::PAYWALL);
}

void RGViewController::keyboardWillShow(const ui::Notification& notification) {
    const auto frame = ui::keyboardFrameEnd(notification);
    if (!frame || QuillgateClient::shared().paywallDisplayType == PAYWALLTYPE::POPUP) {
        return;
    }
    bottomConstraint->setConstant(frame->height());
}

void RGViewController::keyboardWillHide(const ui::Notification&) {
    if (QuillgateClient::shared().paywallDisplayType == PAYWALLTYPE::POPUP) {
        return;
    }
    std::weak_ptr<ui::LayoutConstraint> weak = bottomConstraint.get();
    const double from = bottomConstraint->constant();
    ui::Animation::start({.duration = kKeyboardHideSeconds, .delay = 0},
                         [weak, from](double progress) {
                             if (auto constraint = weak.lock()) {
                                 constraint->setConstant(from * (1 - progress));
                             }
                         });
}

void RGViewController::textFieldDidBeginEditing(ui::TextField& field) {
    ui::NotificationCenter::defaultCenter().post(ui::KeyboardDidShowNotification, &field);
}

void RGViewController::textFieldDidEndEditing(ui::TextField& field) {
    ui::NotificationCenter::defaultCenter().post(ui::KeyboardDidHideNotification, &field);
}

bool RGViewController::textFieldShouldReturn(ui::TextField& field) {
    field.resignFirstResponder();
    return true;
}

}  // namespace quillgate

#include "quillgate/screens/SubscriptionViewController.h"

#include <algorithm>
#include <cstdio>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/screens/CardLayout.h"
#include "quillgate/service/Description.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Layout.h"

namespace quillgate {

namespace {

constexpr const char* kIndexOutOfRange = "Fatal error: Index out of range";
constexpr const char* kBenefitsTitle = "Benefits: You will get";
constexpr const char* kCheckedImage = "checkmark.square.fill";
constexpr const char* kUncheckedImage = "square";

// The offer's red: reductions, the selected tier, the bullets, "Free".
const ui::Color kOfferRed =
    ui::Color::rgba(0.7686274509803922, 0.12549019607843137, 0.00392156862745098, 1);
const ui::Color kCheckboxTint =
    ui::Color::rgba(0.3215686274509804, 0.6941176470588235, 0.7725490196078432, 1);

constexpr double kCardCornerRadius = 10;
constexpr double kPlansRowHeight = 280;
constexpr double kHeaderFontSize = 18;
constexpr double kTierCornerRadius = 12;
constexpr double kTierBorder = 0.5;
constexpr double kSelectedTierBorder = 2;
constexpr double kTierHeight = 86;
// With one tier, the list sits this far down its row.
constexpr double kSingleTierTop = 100;

// The text cut at every comma, nothing trimmed: "A, B,C" gives "A", " B", "C".
std::vector<std::string> splitAtCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const auto comma = text.find(',', start);
        parts.push_back(text.substr(start, comma - start));
        if (comma == std::string::npos) {
            return parts;
        }
        start = comma + 1;
    }
}

template <class Cell>
std::shared_ptr<Cell> dequeue(ui::TableView& table, const std::string& identifier,
                              ui::IndexPath indexPath) {
    auto cell = std::dynamic_pointer_cast<Cell>(table.dequeueReusableCell(identifier, indexPath));
    if (!cell) {
        platform::fatal("Could not dequeue cell with identifier: " + identifier);
    }
    return cell;
}

// A section header: its label fills it.
std::shared_ptr<ui::View> headerView(const std::string& title) {
    auto header = std::make_shared<FillingView>();
    auto label = std::make_shared<ui::Label>(title);
    label->setTextColor(ui::Color::black());
    label->setFont(ui::Font::boldSystem(kHeaderFontSize));
    header->addSubview(label);
    return header;
}

}  // namespace

// ---- The table that reloads when laid out --------------------------------------------------

void PlansTableView::setNeedsReload() {
    pendingReload_ = true;
    setNeedsLayout();
}

void PlansTableView::layoutSubviews() {
    if (pendingReload_) {
        pendingReload_ = false;
        reloadData();
        return;
    }
    TableView::layoutSubviews();
}

// ---- Lifecycle --------------------------------------------------------------------------------

void SubscriptionViewController::viewDidLoad() {
    ViewController::viewDidLoad();

    // The look.
    auto& card = containerView->layer();
    card.cornerRadius = kCardCornerRadius;
    card.shadowColor = ui::Color::gray();
    card.shadowOffset = ui::Size{0, 0};
    card.shadowRadius = 10;
    card.shadowOpacity = 0.5;
    secondContainerView->layer().cornerRadius = kCardCornerRadius;
    secondContainerView->setClipsToBounds(true);
    contView->layer().cornerRadius = kCardCornerRadius;
    contView->setClipsToBounds(true);
    btnSubscribeAcation->layer().cornerRadius = btnSubscribeAcation->frame().height() / 2;
    if (!toShowLogInWithOrvelant) {
        contView->setHidden(true);
    }
    btnLeft->setHidden(true);
    btnCross->setHidden(!crossBtnHS.value_or(true));
    if (embededSubModel && embededSubModel->subscriptions.size() == 1) {
        btnRight->setHidden(true);
    }

    // The table.
    auto self = shared_from_this();
    tblView->setDataSource(std::shared_ptr<ui::TableViewDataSource>(self, this));
    tblView->setDelegate(std::shared_ptr<ui::TableViewDelegate>(self, this));
    tblView->setSeparatorStyle(ui::SeparatorStyle::none);
    tblView->setRowHeight(ui::automaticDimension);
    tblView->setEstimatedRowHeight(ui::automaticDimension);
    tblView->registerNib("BenefitsTableViewCell", benefitsCellReuseIdentifier);
    tblView->registerNib("PlansTableViewCell", plansCellReuseIdentifier);
    tblView->registerNib("FootertableTableViewCell", footertableTableViewCell);
    refresh();

    // The title.
    lblTitle->setText(embededSubModel ? embededSubModel->title : "");
    if (!embededSubModel || embededSubModel->subscriptions.empty()) {
        btnRight->setHidden(true);
    }

    platform::log(description::optional(crossBtnHS) + " " + description::optional(tierId) + " " +
                  description::boolean(btnCross->isHidden()));

    ui::NotificationCenter::defaultCenter().addObserver(
        this, kSelectedPlanNotification,
        [this](const ui::Notification& notification) { selectedPlanAction(notification); });
}

// ---- The subscription on show -------------------------------------------------------------------

int SubscriptionViewController::subscriptionCount() const {
    return embededSubModel ? static_cast<int>(embededSubModel->subscriptions.size()) : 0;
}

const Subscriptions& SubscriptionViewController::subscriptionAt(int position) const {
    if (!embededSubModel || position < 0 || position >= subscriptionCount()) {
        platform::fatal(kIndexOutOfRange);
    }
    return embededSubModel->subscriptions[static_cast<std::size_t>(position)];
}

void SubscriptionViewController::refresh() {
    const Subscriptions* current = embededSubModel ? &subscriptionAt(indexPath - 1) : nullptr;

    if (current && current->freeTrial.enabled) {
        viewFreeTrail->setHidden(false);
        btnCheckbox->setTintColor(kCheckboxTint);
        btnCheckbox->setSelected(true);
        lblFreeTrial->setAttributedText(freeTrialText(current->freeTrial.duration.value_or(0)));
    } else {
        viewFreeTrail->setHidden(true);
    }

    if (current) {
        singleSubCur = SingleSubscriptionCurrency{splitAtCommas(current->benefits)};
        tires = current->tiers;
    } else {
        singleSubCur.reset();
        tires.reset();
    }
    tblView->setNeedsReload();
}

ui::AttributedString SubscriptionViewController::freeTrialText(int64_t days) {
    ui::AttributedString text("Start your " + std::to_string(days) + (days > 1 ? "-days" : "-day") +
                              " Free Trial");
    if (const auto free = text.find("Free")) {
        ui::TextAttributes red;
        red.foregroundColor = kOfferRed;
        text.addAttributes(red, *free);
    }
    return text;
}

// ---- Actions -------------------------------------------------------------------------------

void SubscriptionViewController::btnRightAction() {
    const int count = subscriptionCount();
    if (indexPath < count) {
        ++indexPath;
        btnLeft->setHidden(false);
        if (indexPath == count) {
            btnRight->setHidden(true);
        }
        refresh();
    } else {
        btnRight->setHidden(true);
    }
}

void SubscriptionViewController::btnLeftAction() {
    if (indexPath > 1) {
        --indexPath;
        btnRight->setHidden(false);
        if (indexPath == 1) {
            btnLeft->setHidden(true);
        }
        refresh();
    } else {
        btnLeft->setHidden(true);
    }
}

void SubscriptionViewController::btnCheckboxAction() {
    // What the box shows depends on its selected-state image too; only the state counts.
    if (btnCheckbox->isSelected()) {
        btnCheckbox->setImage(ui::Image::systemNamed(kCheckedImage), ui::ControlState::normal);
        btnCheckbox->setSelected(false);
    } else {
        btnCheckbox->setImage(ui::Image::systemNamed(kUncheckedImage), ui::ControlState::normal);
        btnCheckbox->setSelected(true);
    }
}

void SubscriptionViewController::btnSubscribeAction() {
    auto client = delegate.lock();
    if (!client) {
        return;
    }
    auto& shared = QuillgateClient::shared();
    shared.availFreeTrialVar = btnCheckbox->isSelected();
    client->startWebFlow(shared.contentID, ContentType::subPass, tierId.value_or(""));
}

void SubscriptionViewController::btnCloseScreen() {
    if (auto client = delegate.lock()) {
        // The client takes walls away, not this screen: it closes itself.
        client->closeScreens();
    }
    if (auto root = viewIfLoaded()) {
        root->removeFromSuperview();
    }
}

void SubscriptionViewController::selectedPlanAction(const ui::Notification& notification) {
    const auto& info = notification.userInfo;
    if (!info.is_object()) {
        return;
    }
    const auto id = info.find("id");
    if (id == info.end() || !id->is_string()) {
        return;
    }
    tierId = id->get<std::string>();
    platform::log(*tierId);
}

// ---- The table ---------------------------------------------------------------------------------

int SubscriptionViewController::numberOfSections(ui::TableView&) {
    return 2;
}

int SubscriptionViewController::numberOfRows(ui::TableView&, int section) {
    if (section == 0) {
        return 1;
    }
    return singleSubCur ? static_cast<int>(singleSubCur->benefits.size()) : 0;
}

std::optional<std::string> SubscriptionViewController::titleForHeader(ui::TableView&, int section) {
    return section == 0 ? "" : kBenefitsTitle;
}

std::shared_ptr<ui::View> SubscriptionViewController::viewForHeader(ui::TableView& table,
                                                                    int section) {
    return headerView(titleForHeader(table, section).value_or(""));
}

std::optional<double> SubscriptionViewController::heightForRow(ui::TableView&,
                                                               ui::IndexPath indexPath_) {
    return indexPath_.section == 0 ? kPlansRowHeight : ui::automaticDimension;
}

std::shared_ptr<ui::TableViewCell> SubscriptionViewController::cellForRow(
    ui::TableView& table, ui::IndexPath indexPath_) {
    if (indexPath_.section == 1) {
        auto cell = dequeue<BenefitsTableViewCell>(table, benefitsCellReuseIdentifier, indexPath_);
        cell->setSelectionStyle(ui::CellSelectionStyle::none);
        if (singleSubCur && indexPath_.row < static_cast<int>(singleSubCur->benefits.size())) {
            cell->lblBenefit->setText(
                singleSubCur->benefits[static_cast<std::size_t>(indexPath_.row)]);
        }
        return cell;
    }

    auto cell = dequeue<PlansTableViewCell>(table, plansCellReuseIdentifier, indexPath_);
    cell->collectionView->setBackgroundColor(ui::Color::white());
    if (embededSubModel) {
        // The position comes from the table's row, not from `indexPath`: the section's one
        // row is row 0, so this reads the subscription before the first.
        const int position = indexPath_.row - 1;
        if (position < subscriptionCount()) {
            const Subscriptions& entry = subscriptionAt(position);
            if (entry.currencySymbol) {
                cell->tiers = entry.tiers;
                cell->currencySymbol = entry.currencySymbol;
                cell->collectionView->reloadData();
            }
        }
    }
    return cell;
}

// ---- The tier list ------------------------------------------------------------------------------

void PlansTableViewCell::awakeFromNib() {
    TableViewCell::awakeFromNib();
    auto list = collectionView.get();
    list->registerNib("PlansCollectionViewCell", plansCellReuseIdentifier);
    auto self = shared_from_this();
    list->setDataSource(std::shared_ptr<ui::CollectionViewDataSource>(self, this));
    list->setDelegate(std::shared_ptr<ui::CollectionViewDelegate>(self, this));
}

int PlansTableViewCell::numberOfItems(ui::CollectionView&, int) {
    return tiers ? static_cast<int>(tiers->size()) : 0;
}

std::optional<ui::Size> PlansTableViewCell::sizeForItem(ui::CollectionView& view, ui::IndexPath) {
    return ui::Size{view.bounds().width() * 0.5 - 6, kTierHeight};
}

std::optional<ui::EdgeInsets> PlansTableViewCell::insetForSection(ui::CollectionView& view,
                                                                  int section) {
    const int n = numberOfItems(view, section);
    const double w = view.bounds().width() * 0.5 - 6;
    const ui::EdgeInsets content = view.contentInset();
    const double gap =
        (view.frame().width() - content.left - content.right - w * n - margin * (n - 1)) * 0.5;
    if (n > 1 && gap > 0) {
        return ui::EdgeInsets{0, gap, 0, gap};
    }
    if (gap > 0) {
        return ui::EdgeInsets{kSingleTierTop, gap, 0, gap};
    }
    return ui::EdgeInsets{0, 0, 0, 0};
}

std::shared_ptr<ui::CollectionViewCell> PlansTableViewCell::cellForItem(ui::CollectionView& view,
                                                                        ui::IndexPath indexPath) {
    auto cell = std::dynamic_pointer_cast<PlansCollectionViewCell>(
        view.dequeueReusableCell(plansCellReuseIdentifier, indexPath));
    if (!cell) {
        platform::fatal("Could not dequeue cell with identifier: " + plansCellReuseIdentifier);
    }
    if (tiers && indexPath.row < static_cast<int>(tiers->size())) {
        cell->fill((*tiers)[static_cast<std::size_t>(indexPath.row)],
                   currencySymbol.value_or("\u20B9"));
    }
    if (indexPath.row == 0) {
        view.selectItem(indexPath, true, ui::ScrollPosition::left);
        cell->setSelected(true);
    }
    return cell;
}

void PlansTableViewCell::didSelectItem(ui::CollectionView&, ui::IndexPath) {
    // The tier cell's own selection state does the work.
}

void PlansCollectionViewCell::awakeFromNib() {
    CollectionViewCell::awakeFromNib();
    layer().cornerRadius = kTierCornerRadius;
    layer().borderWidth = kTierBorder;
    layer().borderColor = ui::Color::darkGray();
    lblOff->setTextColor(kOfferRed);
}

void PlansCollectionViewCell::fill(const Tier& tier, const std::string& symbol) {
    tiers = tier;
    if (tier.basePrice && *tier.basePrice == 0) {
        lblDiscount->setHidden(true);
        lblOff->setHidden(true);
    } else {
        lblDiscount->setHidden(false);
        lblOff->setHidden(false);
        if (tier.basePrice) {
            char percent[64];
            std::snprintf(percent, sizeof percent, "%.0f",
                          (*tier.basePrice - tier.price) * 100 / *tier.basePrice);
            lblOff->setText(std::string(percent) + "% off");
        }
    }
    ui::AttributedString old(description::number(tier.basePrice.value_or(0.0)));
    ui::TextAttributes struck;
    struck.strikethroughStyle = ui::LineStyle::single;
    old.addAttributes(struck, old.fullRange());
    lblDiscount->setAttributedText(old);
    lblAmount->setText(symbol + description::number(tier.price));
    lblDuration->setText(std::to_string(tier.duration) + " month");
}

void PlansCollectionViewCell::setSelected(bool selected) {
    CollectionViewCell::setSelected(selected);
    if (selected) {
        layer().borderColor = kOfferRed;
        layer().borderWidth = kSelectedTierBorder;
        if (tiers && tiers->_id) {
            ui::NotificationCenter::defaultCenter().post(kSelectedPlanNotification,
                                                         std::string(kSelectedPlanObject),
                                                         nlohmann::json{{"id", *tiers->_id}});
        }
    } else {
        layer().borderColor = ui::Color::darkGray();
        layer().borderWidth = kTierBorder;
    }
}

// ---- Benefits and the unused footer
// --------------------------------------------------------------

void BenefitsTableViewCell::awakeFromNib() {
    TableViewCell::awakeFromNib();
    auto bullet = pointView.get();
    bullet->setBackgroundColor(ui::Color::white());
    bullet->layer().borderWidth = 1;
    bullet->layer().borderColor = kOfferRed;
    bullet->layer().cornerRadius = bullet->frame().height() / 2;
}

void FootertableTableViewCell::awakeFromNib() {
    TableViewCell::awakeFromNib();
    btnSubscribeAcation->layer().cornerRadius = btnSubscribeAcation->frame().height() / 2;
}

void FootertableTableViewCell::btnSubscribeAction() {
    auto client = delegate.lock();
    if (!client) {
        return;
    }
    auto& shared = QuillgateClient::shared();
    shared.availFreeTrialVar = btnCheckbox->isSelected();
    client->startWebFlow(shared.contentID, ContentType::subPass, tierId.value_or(""));
}

void FootertableTableViewCell::btnCheckboxAction() {
    if (btnCheckbox->isSelected()) {
        btnCheckbox->setImage(ui::Image::systemNamed(kCheckedImage), ui::ControlState::normal);
        btnCheckbox->setSelected(false);
    } else {
        btnCheckbox->setImage(ui::Image::systemNamed(kUncheckedImage), ui::ControlState::normal);
        btnCheckbox->setSelected(true);
    }
}

}  // namespace quillgate

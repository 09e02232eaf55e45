// The scene "SubscriptionVC" and the nibs of its cells.
//
//   root                                  (the article's page, light grey, under the card)
//     containerView                       (the card: rounded, shadowed; 16 points in)
//       secondContainerView               (clips to the rounded corners)
//         btnCross                        top right
//         btnLeft  lblTitle  btnRight     the offer's title between the two arrows
//         tblView                         plans row, "Benefits" header, one row per benefit
//         viewFreeTrail                   btnCheckbox and lblFreeTrial, centred
//         btnSubscribeAcation
//         contView                        the log-in note
//
// The table takes the room the rows around it leave; a hidden row below it takes none.

#include <algorithm>

#include "quillgate/screens/CardLayout.h"
#include "quillgate/screens/SubscriptionViewController.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Layout.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/Window.h"

namespace quillgate {

namespace {

using ui::Color;
using ui::Font;
using ui::FontWeight;
using ui::Rect;

const Color kInk = Color::rgb255(28, 28, 30);
const Color kMutedInk = Color::rgb255(99, 99, 102);
const Color kPage = Color::rgb255(242, 242, 247);
const Color kButton = Color::rgb255(196, 32, 1);

constexpr double kMargin = 16;
constexpr double kCrossRow = 40;
constexpr double kTitleRow = 48;
constexpr double kArrowWidth = 44;
constexpr double kFreeTrialRow = 40;
constexpr double kSubscribeHeight = 48;
constexpr double kNoteRow = 40;
constexpr double kCheckboxSize = 28;
constexpr double kBulletSize = 10;
constexpr double kBulletLeft = 20;
constexpr double kBenefitLeft = 40;
// The tier list: one line of tiers (two tiers one above the other would need 182 points),
// inset from the card's sides.
constexpr double kTierListTop = 20;
constexpr double kTierListHeight = 181;
constexpr double kTierListSide = 12;

std::shared_ptr<ui::Label> label(const std::string& text, Font font, Color color,
                                 ui::TextAlignment alignment = ui::TextAlignment::center,
                                 int lines = 1) {
    auto l = std::make_shared<ui::Label>(Rect(0, 0, 200, 20));
    l->setText(text);
    l->setFont(font);
    l->setTextColor(color);
    l->setTextAlignment(alignment);
    l->setNumberOfLines(lines);
    return l;
}

std::shared_ptr<ui::Button> button(const std::string& title, Font font, Color color, double width,
                                   double height) {
    auto b = std::make_shared<ui::Button>(Rect(0, 0, width, height), ui::ButtonType::custom);
    b->setTitle(title);
    b->setTitleColor(color);
    b->titleLabel()->setFont(font);
    return b;
}

// The root: the card 16 points inside the safe area.
class SubscriptionSceneView final : public ui::View {
  public:
    std::string className() const override { return "View"; }
    std::weak_ptr<ui::View> card;

    void setFrame(Rect frame) override {
        View::setFrame(frame);
        setNeedsLayout();
    }
    void didMoveToWindow() override { setNeedsLayout(); }

    void layoutSubviews() override {
        ui::EdgeInsets safe;
        if (auto w = window()) {
            safe = w->safeAreaInsets();
        }
        const Rect b = bounds();
        if (auto c = card.lock()) {
            c->setFrame(Rect(safe.left + kMargin, safe.top + kMargin,
                             std::max(0.0, b.width() - safe.left - safe.right - 2 * kMargin),
                             std::max(0.0, b.height() - safe.top - safe.bottom - 2 * kMargin)));
        }
    }
};

// The inside of the card, top to bottom; the table takes what the other rows leave.
class SubscriptionCardView final : public ui::View {
  public:
    std::string className() const override { return "View"; }
    std::weak_ptr<ui::View> cross, left, title, right, table, freeTrial, subscribe, note;

    void layoutSubviews() override {
        const Rect b = bounds();
        const double w = b.width();
        if (auto v = cross.lock()) {
            v->setFrame(Rect(w - kArrowWidth, 0, kArrowWidth, kCrossRow));
        }
        const double titleTop = kCrossRow;
        if (auto v = left.lock()) {
            v->setFrame(Rect(4, titleTop, kArrowWidth, kTitleRow));
        }
        if (auto v = right.lock()) {
            v->setFrame(Rect(w - 4 - kArrowWidth, titleTop, kArrowWidth, kTitleRow));
        }
        if (auto v = title.lock()) {
            v->setFrame(Rect(kArrowWidth + 8, titleTop, std::max(0.0, w - 2 * kArrowWidth - 16),
                             kTitleRow));
        }

        // From the bottom up.
        double y = b.height() - 12;
        if (auto v = note.lock(); v && !v->isHidden()) {
            y -= kNoteRow;
            v->setFrame(Rect(kMargin, y, w - 2 * kMargin, kNoteRow));
        }
        if (auto v = subscribe.lock()) {
            y -= kSubscribeHeight + 8;
            v->setFrame(Rect(kMargin, y, w - 2 * kMargin, kSubscribeHeight));
        }
        if (auto v = freeTrial.lock(); v && !v->isHidden()) {
            y -= kFreeTrialRow + 4;
            v->setFrame(Rect(kMargin, y, w - 2 * kMargin, kFreeTrialRow));
        }
        const double tableTop = titleTop + kTitleRow + 4;
        if (auto v = table.lock()) {
            v->setFrame(Rect(0, tableTop, w, std::max(0.0, y - 4 - tableTop)));
        }
    }
};

// The row of the opt-in: the box and its words side by side, centred.
class FreeTrialRow final : public ui::View {
  public:
    std::string className() const override { return "View"; }
    std::weak_ptr<ui::View> box;
    std::weak_ptr<ui::Label> words;

    void layoutSubviews() override {
        const Rect b = bounds();
        auto l = words.lock();
        const double textWidth =
            l ? std::min(fittingSize(*l, 0).width, b.width() - kCheckboxSize - 8) : 0;
        double x = (b.width() - kCheckboxSize - 8 - textWidth) / 2;
        if (auto v = box.lock()) {
            v->setFrame(Rect(x, (b.height() - kCheckboxSize) / 2, kCheckboxSize, kCheckboxSize));
        }
        x += kCheckboxSize + 8;
        if (l) {
            l->setFrame(Rect(x, 0, textWidth, b.height()));
        }
    }
};

std::shared_ptr<ui::Button> checkbox() {
    auto box = std::make_shared<ui::Button>(Rect(0, 0, kCheckboxSize, kCheckboxSize),
                                            ui::ButtonType::system);
    box->setImage(ui::Image::systemNamed("square"), ui::ControlState::normal);
    box->setImage(ui::Image::systemNamed("checkmark.square.fill"), ui::ControlState::selected);
    // The box's outline, drawn whatever its symbol image.
    box->layer().cornerRadius = 5;
    box->layer().borderWidth = 2;
    box->layer().borderColor = Color::rgb255(82, 177, 197);
    return box;
}

template <class Owner>
void bindAction(ui::Button& b, const std::weak_ptr<Owner>& owner, const char* name,
                void (Owner::*action)()) {
    b.addTarget(
        owner.lock().get(), name,
        [owner, action](ui::Control&) {
            if (auto o = owner.lock()) {
                ((*o).*action)();
            }
        },
        ui::ControlEvent::touchUpInside);
}

// ---- The cells' nibs

std::shared_ptr<ui::View> plansCell(ui::Responder*) {
    auto cell = std::make_shared<PlansTableViewCell>();
    cell->setFrame(Rect(0, 0, 358, 280));
    ui::CollectionViewFlowLayout layout;
    layout.scrollDirection = ui::ScrollDirection::horizontal;
    auto list = std::make_shared<ui::CollectionView>(
        Rect(kTierListSide, kTierListTop, 358 - 2 * kTierListSide, kTierListHeight), layout);
    list->setShowsHorizontalScrollIndicator(false);
    cell->contentView()->addSubview(list);
    cell->collectionView = list;
    return cell;
}

std::shared_ptr<ui::View> tierCell(ui::Responder*) {
    auto cell = std::make_shared<PlansCollectionViewCell>();
    cell->setFrame(Rect(0, 0, 173, 86));
    cell->setBackgroundColor(Color::white());
    const auto& content = cell->contentView();
    auto discount = label("", Font::system(12), kMutedInk, ui::TextAlignment::left);
    auto off = label("0% off", Font::system(12, FontWeight::bold), kInk, ui::TextAlignment::right);
    auto amount = label("", Font::system(20, FontWeight::bold), kInk);
    auto duration = label("", Font::system(13), kMutedInk);
    for (const auto& l : {discount, off, amount, duration}) {
        content->addSubview(l);
    }
    cell->lblDiscount = discount;
    cell->lblOff = off;
    cell->lblAmount = amount;
    cell->lblDuration = duration;
    return cell;
}

std::shared_ptr<ui::View> benefitCell(ui::Responder*) {
    auto cell = std::make_shared<BenefitsTableViewCell>();
    cell->setFrame(Rect(0, 0, 358, 36));
    const auto& content = cell->contentView();
    auto bullet = std::make_shared<ui::View>(Rect(kBulletLeft, 13, kBulletSize, kBulletSize));
    auto text = label("", Font::system(15), kInk, ui::TextAlignment::left, 0);
    content->addSubview(bullet);
    content->addSubview(text);
    cell->pointView = bullet;
    cell->lblBenefit = text;
    return cell;
}

std::shared_ptr<ui::View> footerCell(ui::Responder*) {
    auto cell = std::make_shared<FootertableTableViewCell>();
    cell->setFrame(Rect(0, 0, 358, 100));
    const auto& content = cell->contentView();
    auto row = std::make_shared<FreeTrialRow>();
    row->setFrame(Rect(0, 0, 358, kFreeTrialRow));
    auto box = checkbox();
    auto words = label("", Font::system(15), kInk);
    row->addSubview(box);
    row->addSubview(words);
    row->box = box;
    row->words = words;
    auto subscribe = button("Subscribe", Font::system(17, FontWeight::semibold), Color::white(),
                            326, kSubscribeHeight);
    subscribe->setFrame(Rect(kMargin, kFreeTrialRow + 4, 326, kSubscribeHeight));
    subscribe->setBackgroundColor(kButton);
    content->addSubview(row);
    content->addSubview(subscribe);
    cell->viewFreeTrail = row;
    cell->btnCheckbox = box;
    cell->lblFreeTrial = words;
    cell->btnSubscribeAcation = subscribe;
    FootertableTableViewCell* self = cell.get();
    subscribe->addTarget(
        self, "btnSubscribeAction:", [self](ui::Control&) { self->btnSubscribeAction(); },
        ui::ControlEvent::touchUpInside);
    box->addTarget(
        self, "btnCheckboxAction:", [self](ui::Control&) { self->btnCheckboxAction(); },
        ui::ControlEvent::touchUpInside);
    return cell;
}

}  // namespace

// ---- Cell layouts ------------------------------------------------------------------------------

void PlansTableViewCell::layoutSubviews() {
    TableViewCell::layoutSubviews();
    if (auto list = collectionView.optional()) {
        const Rect target(kTierListSide, kTierListTop,
                          std::max(0.0, bounds().width() - 2 * kTierListSide), kTierListHeight);
        if (list->frame() != target) {
            list->setFrame(target);
            // The tiers' sizes and insets follow the list's width.
            if (tiers) {
                list->reloadData();
            }
        }
    }
}

void PlansCollectionViewCell::layoutSubviews() {
    CollectionViewCell::layoutSubviews();
    const Rect b = bounds();
    const double inner = std::max(0.0, b.width() - 20);
    if (auto l = lblDiscount.optional()) {
        l->setFrame(Rect(10, 8, inner / 2, 16));
    }
    if (auto l = lblOff.optional()) {
        l->setFrame(Rect(10 + inner / 2, 8, inner / 2, 16));
    }
    if (auto l = lblAmount.optional()) {
        l->setFrame(Rect(10, 28, inner, 28));
    }
    if (auto l = lblDuration.optional()) {
        l->setFrame(Rect(10, 58, inner, 18));
    }
}

ui::Size BenefitsTableViewCell::sizeThatFits(ui::Size fitting) const {
    const double width = fitting.width > 0 ? fitting.width : frame().width();
    double text = 0;
    if (auto l = lblBenefit.optional()) {
        text = fittingSize(*l, std::max(0.0, width - kBenefitLeft - kMargin)).height;
    }
    return ui::Size{width, std::max(36.0, text + 16)};
}

void BenefitsTableViewCell::layoutSubviews() {
    TableViewCell::layoutSubviews();
    const Rect b = bounds();
    if (auto l = lblBenefit.optional()) {
        l->setFrame(Rect(kBenefitLeft, 8, std::max(0.0, b.width() - kBenefitLeft - kMargin),
                         std::max(0.0, b.height() - 16)));
    }
    if (auto p = pointView.optional()) {
        p->setFrame(Rect(kBulletLeft, 13, kBulletSize, kBulletSize));
    }
}

// ---- The scene ---------------------------------------------------------------------------------

std::shared_ptr<ui::View> buildSubscriptionScene(ui::Responder* owner) {
    auto* screen = dynamic_cast<SubscriptionViewController*>(owner);
    std::weak_ptr<SubscriptionViewController> weakScreen;
    if (screen) {
        weakScreen =
            std::static_pointer_cast<SubscriptionViewController>(screen->shared_from_this());
    }

    auto root = std::make_shared<SubscriptionSceneView>();
    root->setFrame(ui::Application::shared().mainScreen().bounds);
    root->setBackgroundColor(kPage);
    auto container = std::make_shared<FillingView>();
    container->setBackgroundColor(Color::white());
    root->addSubview(container);
    root->card = container;
    auto second = std::make_shared<SubscriptionCardView>();
    second->setBackgroundColor(Color::white());
    container->addSubview(second);

    auto cross = button("\u2715", Font::system(17), kMutedInk, kArrowWidth, kCrossRow);
    cross->setAccessibilityIdentifier("close");
    auto left = button("\u2039", Font::system(30), kInk, kArrowWidth, kTitleRow);
    left->setAccessibilityIdentifier("previous plan");
    auto right = button("\u203A", Font::system(30), kInk, kArrowWidth, kTitleRow);
    right->setAccessibilityIdentifier("next plan");
    auto title = label("", Font::system(20, FontWeight::bold), kInk, ui::TextAlignment::center, 2);
    auto table = std::make_shared<PlansTableView>(Rect(0, 92, 358, 500));
    table->setBackgroundColor(Color::white());

    auto freeTrial = std::make_shared<FreeTrialRow>();
    freeTrial->setFrame(Rect(0, 0, 326, kFreeTrialRow));
    auto box = checkbox();
    box->setTintColor(Color::rgb255(82, 177, 197));
    auto words = label("", Font::system(15), kInk);
    freeTrial->addSubview(box);
    freeTrial->addSubview(words);
    freeTrial->box = box;
    freeTrial->words = words;

    auto subscribe = button("Subscribe", Font::system(17, FontWeight::semibold), Color::white(),
                            326, kSubscribeHeight);
    subscribe->setBackgroundColor(kButton);
    auto note = std::make_shared<FillingView>();
    note->setFrame(Rect(0, 0, 326, kNoteRow));
    note->setBackgroundColor(kPage);
    note->addSubview(
        label("Already a subscriber? Log in on the next page.", Font::system(13), kMutedInk));

    for (const std::shared_ptr<ui::View>& v : std::initializer_list<std::shared_ptr<ui::View>>{
             cross, left, title, right, table, freeTrial, subscribe, note}) {
        second->addSubview(v);
    }
    second->cross = cross;
    second->left = left;
    second->title = title;
    second->right = right;
    second->table = table;
    second->freeTrial = freeTrial;
    second->subscribe = subscribe;
    second->note = note;

    container->setFrame(Rect(kMargin, kMargin, 358, 812));
    second->setFrame(Rect(0, 0, 358, 812));

    if (screen) {
        screen->containerView = container;
        screen->secondContainerView = second;
        screen->contView = note;
        screen->viewFreeTrail = freeTrial;
        screen->lblTitle = title;
        screen->tblView = table;
        screen->btnLeft = left;
        screen->btnRight = right;
        screen->btnSubscribeAcation = subscribe;
        screen->btnCheckbox = box;
        screen->lblFreeTrial = words;
        screen->btnCross = cross;

        bindAction(*left, weakScreen, "btnLeftAction:", &SubscriptionViewController::btnLeftAction);
        bindAction(*right, weakScreen,
                   "btnRightAction:", &SubscriptionViewController::btnRightAction);
        bindAction(*box, weakScreen,
                   "btnCheckboxAction:", &SubscriptionViewController::btnCheckboxAction);
        bindAction(*subscribe, weakScreen,
                   "btnSubscribeAction:", &SubscriptionViewController::btnSubscribeAction);
        bindAction(*cross, weakScreen,
                   "btnCloseScreen:", &SubscriptionViewController::btnCloseScreen);
    }
    return root;
}

void registerSubscriptionNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerNib("PlansTableViewCell", plansCell);
    registry.registerNib("PlansCollectionViewCell", tierCell);
    registry.registerNib("BenefitsTableViewCell", benefitCell);
    registry.registerNib("FootertableTableViewCell", footerCell);
}

}  // namespace quillgate

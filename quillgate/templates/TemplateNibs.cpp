#include "quillgate/templates/TemplateNibs.h"

#include <memory>

#include "quillgate/resources/CustomButton.h"
#include "quillgate/resources/CustomTableView.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/templates/CTA3ViewController.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/templates/NibParts.h"
#include "quillgate/templates/RGViewController.h"
#include "quillgate/templates/TemplateParts.h"
#include "quillgate/templates/ZelViewController.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/View.h"

namespace quillgate {

namespace {

using ui::LayoutAttribute;

// The template screens on the card scene.
constexpr const char* kCardScreens[] = {
    "CTA3ViewController", "CTA4ViewController",  "CTA5ViewController",  "CTA7ViewController",
    "CTA8ViewController", "CTA13ViewController", "CTA15ViewController", "RGViewController",
};

// The root of a template screen: the card (the row table) across the whole width, as tall as
// its height constraint, at the bottom or in the middle, whichever of the two position
// constraints is active.
class CardSceneView : public ui::View {
  public:
    std::string className() const override { return "View"; }

    void setFrame(ui::Rect frame) override {
        View::setFrame(frame);
        layoutSubviews();
    }

    void layoutSubviews() override {
        auto card = card_.lock();
        auto height = height_.lock();
        if (!card || !height) {
            return;
        }
        const ui::Rect box = bounds();
        const double h = height->constant();
        double y = box.height() - h;
        if (auto centre = centreY_.lock(); centre && centre->isActive()) {
            y = (box.height() - h) / 2 + centre->constant();
        } else if (auto bottom = bottom_.lock(); bottom && bottom->isActive()) {
            // "root.bottom == card.bottom + constant": a constant lifts the card (over the
            // keyboard, say).
            y = box.height() - h - bottom->constant();
        }
        card->setFrame(ui::Rect(0, y, box.width(), h));
    }

    std::weak_ptr<ui::View> card_;
    std::weak_ptr<ui::LayoutConstraint> height_;
    std::weak_ptr<ui::LayoutConstraint> centreY_;
    std::weak_ptr<ui::LayoutConstraint> bottom_;
};

std::shared_ptr<ui::View> cardScene(ui::Responder* owner) {
    auto root = std::make_shared<CardSceneView>();
    root->setFrame(ui::Rect(0, 0, 390, 844));
    auto table = std::make_shared<CustomTableView>(ui::Rect(0, 544, 390, 300));
    table->setBackgroundColor(ui::Color::white());
    table->layer().cornerRadius = 16;
    table->layer().maskedCorners = ui::minXMinYCorner | ui::maxXMinYCorner;
    table->setClipsToBounds(true);
    root->addSubview(table);

    auto height = ui::LayoutConstraint::constantSize(table, LayoutAttribute::height, 300);
    height->setIdentifier("tblViewHeight");
    table->addConstraint(height);
    auto centreY = ui::LayoutConstraint::equal(table, LayoutAttribute::centerY, root);
    centreY->setIdentifier("centerYConstraint");
    root->addConstraint(centreY);
    centreY->setActive(false);
    auto bottom = ui::LayoutConstraint::equal(root, LayoutAttribute::bottom, table);
    bottom->setIdentifier("bottomConstraint");
    root->addConstraint(bottom);
    for (auto attribute : {LayoutAttribute::leading, LayoutAttribute::trailing}) {
        root->addConstraint(ui::LayoutConstraint::equal(table, attribute, root));
    }

    root->card_ = table;
    root->height_ = height;
    root->centreY_ = centreY;
    root->bottom_ = bottom;
    if (auto* screen = dynamic_cast<BaseViewController*>(owner)) {
        screen->tblView = table;
        screen->tblViewHeight = height;
        screen->centerYConstraint = centreY;
        screen->bottomConstraint = bottom;
    }
    return root;
}

using nib::box;
using nib::label;
using nib::makeCell;
using nib::overlayButton;

std::shared_ptr<ui::View> headerCenterCell(ui::Responder*) {
    auto cell = makeCell<CommonHeaderCenterTableViewCell>(44);
    auto content = cell->contentView();
    auto boxView = box(content);
    cell->boxView = boxView;
    auto name = label(content, 17, ui::TextAlignment::center);
    name->setFont(ui::Font::system(17, ui::FontWeight::semibold));
    cell->lblName = name;
    return cell;
}

std::shared_ptr<ui::View> headerCell(ui::Responder*) {
    auto cell = makeCell<CommonHeaderTableViewCell>(60);
    auto content = cell->contentView();
    cell->boxView = box(content);
    auto title = label(content, 36, ui::TextAlignment::left);
    cell->lblTitle = title;
    return cell;
}

std::shared_ptr<ui::View> footerCell(ui::Responder*) {
    auto cell = makeCell<CommonFooterTableViewCell>(136);
    auto content = cell->contentView();
    cell->boxView = box(content);

    auto container = box(content);
    container->setBackgroundColor(ui::Color::black());
    container->layer().cornerRadius = 5;
    cell->btnContainerView = container;
    auto button = std::make_shared<CustomButton>(ui::ButtonType::custom);
    button->setTitleColor(ui::Color::white());
    container->addSubview(button);
    cell->btnSubscribe = button;

    auto login = box(content);
    cell->loginView = login;
    auto already = label(login, 14, ui::TextAlignment::right, 1);
    already->setText("Already a subscriber?");
    already->setTextColor(ui::Color::darkGray());
    cell->lblAlreadyPurchase = already;
    auto logIn = label(login, 14, ui::TextAlignment::left, 1);
    logIn->setText("Log in");
    logIn->setTextColor(ui::Color::systemBlue());
    cell->lblLogin = logIn;

    auto coupon = box(content);
    cell->couponView = coupon;
    auto haveCoupon = label(coupon, 14, ui::TextAlignment::right, 1);
    haveCoupon->setText("Have a coupon?");
    haveCoupon->setTextColor(ui::Color::darkGray());
    cell->lblHaveCoupon = haveCoupon;
    auto clickHere = label(coupon, 14, ui::TextAlignment::left, 1);
    clickHere->setText("Click here");
    clickHere->setTextColor(ui::Color::systemBlue());
    cell->lblClickHere = clickHere;

    auto stack = ui::LayoutConstraint::constantSize(login, LayoutAttribute::height, 50);
    stack->setIdentifier("stackHeight");
    content->addConstraint(stack);
    cell->stackHeight = stack;
    return cell;
}

// One price box of the CTA3 rows: a frame with a title over a price, and a button over all.
struct PriceBox {
    std::shared_ptr<ui::View> frame;
    std::shared_ptr<ui::Label> title;
    std::shared_ptr<ui::Label> price;
    std::shared_ptr<CustomButton> button;
};

PriceBox priceBox(const std::shared_ptr<ui::View>& row) {
    PriceBox b;
    auto frame = nib::overlaidBox(row);
    b.frame = frame;
    b.frame->layer().cornerRadius = 8;
    b.frame->layer().borderWidth = 2;
    b.frame->layer().borderColor = ui::Color::rgb255(0x70, 0x70, 0x70);
    b.title = label(b.frame, 14, ui::TextAlignment::center);
    b.title->setFrame(ui::Rect(0, 0, 100, 40));
    b.price = label(b.frame, 14, ui::TextAlignment::center);
    b.button = overlayButton(b.frame);
    frame->button = b.button;
    return b;
}

std::shared_ptr<ui::View> cta3A1Cell(ui::Responder*) {
    auto cell = makeCell<CTA3A1TableViewCell>(100);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto y = priceBox(row);
    cell->viewYearly = y.frame;
    cell->lblYTitle = y.title;
    cell->lblYPrice = y.price;
    cell->btnY = y.button;
    return cell;
}

// Binds the first two boxes of a CTA3 row and the cell's own actions on their buttons.
template <class Cell>
void bindFirstTwo(Cell& cell, const PriceBox& d, const PriceBox& w) {
    cell.viewDaily = d.frame;
    cell.lblDTitle = d.title;
    cell.lblDPrice = d.price;
    cell.btnD = d.button;
    cell.viewWeekly = w.frame;
    cell.lblWTitle = w.title;
    cell.lblWPrice = w.price;
    cell.btnW = w.button;
    Cell* self = &cell;
    wireTouchUp(*d.button, self, "btnDailyPassAction:", [self] { self->btnDailyPassAction(); });
    wireTouchUp(*w.button, self, "btnWeeklyPassAction:", [self] { self->btnWeeklyPassAction(); });
}

std::shared_ptr<ui::View> cta3A2Cell(ui::Responder*) {
    auto cell = makeCell<CTA3A2TableViewCell>(100);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto d = priceBox(row);
    auto w = priceBox(row);
    bindFirstTwo(*cell, d, w);
    return cell;
}

std::shared_ptr<ui::View> cta3A3Cell(ui::Responder*) {
    auto cell = makeCell<CTA3A3TableViewCell>(100);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto d = priceBox(row);
    auto w = priceBox(row);
    auto y = priceBox(row);
    bindFirstTwo(*cell, d, w);
    cell->viewYearly = y.frame;
    cell->lblYTitle = y.title;
    cell->lblYPrice = y.price;
    cell->btnY = y.button;
    CTA3A3TableViewCell* self = cell.get();
    wireTouchUp(*y.button, self, "btnYearlyAction:", [self] { self->btnYearlyAction(); });
    return cell;
}

}  // namespace

void registerTemplateNibs() {
    auto& registry = ui::NibRegistry::shared();
    for (const char* name : kCardScreens) {
        registry.registerNib(name, cardScene);
    }
    registry.registerNib("CommonHeaderCenterTableViewCell", headerCenterCell);
    registry.registerNib("CommonHeaderTableViewCell", headerCell);
    registry.registerNib("CommonFooterTableViewCell", footerCell);
    registry.registerNib("CTA3A1TableViewCell", cta3A1Cell);
    registry.registerNib("CTA3A2TableViewCell", cta3A2Cell);
    registry.registerNib("CTA3A3TableViewCell", cta3A3Cell);
    RGViewController::registerNibs();
    ZelViewController::registerNibs();
    nib::registerOfferNibs();
}

}  // namespace quillgate

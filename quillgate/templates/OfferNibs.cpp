#include <algorithm>
#include <memory>

#include "quillgate/screens/CardLayout.h"
#include "quillgate/templates/CTA13ViewController.h"
#include "quillgate/templates/CTA15ViewController.h"
#include "quillgate/templates/CTA4ViewController.h"
#include "quillgate/templates/CTA5ViewController.h"
#include "quillgate/templates/CTA8ViewController.h"
#include "quillgate/templates/NibParts.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NibRegistry.h"

// The nibs of the offer rows: the CTA5 and CTA13 cards, the CTA8 line with its radio, the
// countdown, the CTA15 prices and the fixed CTA4 rows.
namespace quillgate::nib {

namespace {

constexpr ui::Color kInk = ui::Color::rgb255(0x1B, 0x1B, 0x3A);
constexpr ui::Color kMuted = ui::Color::rgb255(0x6B, 0x6B, 0x6B);
constexpr ui::Color kTabColor = ui::Color::rgb255(0xC4, 0x20, 0x01);
constexpr ui::Color kLine = ui::Color::rgb255(0xE2, 0xE2, 0xE2);
constexpr ui::Color kOfferGreen = ui::Color::rgb255(0x2D, 0x6A, 0x4F);

// ---- Offer cards

OfferCardViews offerCard(const std::shared_ptr<ui::View>& row) {
    OfferCardViews c;
    auto main = overlaidBox(row);
    c.main = main;
    // A first frame of the narrowest card, so that a configured radius has a width to fit.
    c.main->setFrame(ui::Rect(0, 0, 110, 100));
    c.main->layer().cornerRadius = 8;
    c.main->layer().borderWidth = 2;
    c.main->layer().borderColor = ui::Color::rgb255(0x70, 0x70, 0x70);
    c.main->setBackgroundColor(ui::Color::white());
    // The tab sits on the card's top edge, its pointer just under it.
    auto tab = overlaidBox(row);
    c.tab = tab;
    c.tab->setBackgroundColor(kTabColor);
    c.tab->layer().cornerRadius = 4;
    c.title = label(c.tab, 14, ui::TextAlignment::center, 1);
    c.title->setTextColor(ui::Color::white());
    c.pointer = box(row);
    c.pointer->setBackgroundColor(kTabColor);
    c.pointer->layer().cornerRadius = 6;
    c.pointer->layer().maskedCorners = ui::minXMaxYCorner | ui::maxXMaxYCorner;
    c.price = label(c.main, 14, ui::TextAlignment::center);
    c.price->setTextColor(kInk);
    c.originalPrice = label(c.main, 10, ui::TextAlignment::right, 1);
    c.originalPrice->setTextColor(kMuted);
    c.discount = label(c.main, 10, ui::TextAlignment::left, 1);
    c.discount->setTextColor(kOfferGreen);
    c.description = label(c.main, 10, ui::TextAlignment::center);
    c.description->setTextColor(kMuted);
    c.button = overlayButton(c.main);
    main->button = c.button;
    tab->button = c.button;
    return c;
}

// Binds a card's views to the outlets of one prefix of a CTA5 or CTA13 cell.
#define QUILLGATE_BIND_CARD(cell, P, card)                   \
    do {                                                     \
        (cell).view##P##main = (card).main;                  \
        (cell).view##P##lable = (card).tab;                  \
        (cell).lbl##P##Title = (card).title;                 \
        (cell).lbl##P##Price = (card).price;                 \
        (cell).lbl##P##Discount = (card).discount;           \
        (cell).lbl##P##OriginalPrice = (card).originalPrice; \
        (cell).lbl##P##Discription = (card).description;     \
    } while (false)

std::shared_ptr<ui::View> cta5A1Cell(ui::Responder*) {
    auto cell = makeCell<CTA5A1TableViewCell>(120);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto y = offerCard(row);
    QUILLGATE_BIND_CARD(*cell, Y, y);
    cell->triangleView = y.pointer;
    cell->btnY = y.button;
    return cell;
}

template <class Cell>
void bindFirstTwoCards(Cell& cell, const OfferCardViews& d, const OfferCardViews& w) {
    QUILLGATE_BIND_CARD(cell, D, d);
    QUILLGATE_BIND_CARD(cell, W, w);
    cell.triangleView1 = d.pointer;
    cell.triangleView2 = w.pointer;
    cell.btnD = d.button;
    cell.btnW = w.button;
    Cell* self = &cell;
    wireTouchUp(*d.button, self, "btnDailyPassAction:", [self] { self->btnDailyPassAction(); });
    wireTouchUp(*w.button, self, "btnWeeklyPassAction:", [self] { self->btnWeeklyPassAction(); });
}

std::shared_ptr<ui::View> cta5A2Cell(ui::Responder*) {
    auto cell = makeCell<CTA5A2TableViewCell>(120);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto d = offerCard(row);
    auto w = offerCard(row);
    bindFirstTwoCards(*cell, d, w);
    return cell;
}

std::shared_ptr<ui::View> cta5A3Cell(ui::Responder*) {
    auto cell = makeCell<CTA5A3TableViewCell>(120);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto d = offerCard(row);
    auto w = offerCard(row);
    auto y = offerCard(row);
    bindFirstTwoCards(*cell, d, w);
    QUILLGATE_BIND_CARD(*cell, Y, y);
    cell->triangleView3 = y.pointer;
    cell->btnY = y.button;
    CTA5A3TableViewCell* self = cell.get();
    wireTouchUp(*y.button, self, "btnYearlyAction:", [self] { self->btnYearlyAction(); });
    return cell;
}

std::shared_ptr<ui::View> cta13Cell(ui::Responder*) {
    auto cell = makeCell<CTA13TableViewCell>(120);
    auto row = box(cell->contentView());
    cell->boxView = row;
    auto y = offerCard(row);
    QUILLGATE_BIND_CARD(*cell, Y, y);
    cell->triangleView = y.pointer;
    cell->btnY = y.button;
    return cell;
}

#undef QUILLGATE_BIND_CARD

// ---- The CTA8 line

// A round radio mark: a ring, with a dot inside while selected. It takes no touches of its
// own, so that a tap on it selects its row.
class RadioMark : public CustomButton {
  public:
    RadioMark() : CustomButton(ui::ButtonType::custom) {
        setUserInteractionEnabled(false);
        layer().borderWidth = 2;
        layer().borderColor = kMuted;
        dot_ = std::make_shared<ui::View>();
        dot_->setBackgroundColor(kSelectionColor);
        dot_->setHidden(true);
        dot_->setUserInteractionEnabled(false);
        addSubview(dot_);
    }

    void setSelected(bool selected) override {
        CustomButton::setSelected(selected);
        dot_->setHidden(!selected);
        layer().borderColor = selected ? kSelectionColor : kMuted;
    }

    void layoutSubviews() override {
        const ui::Rect b = bounds();
        layer().cornerRadius = b.width() / 2;
        const double inset = 5;
        const double side = std::max(0.0, b.width() - 2 * inset);
        dot_->setFrame(ui::Rect(inset, inset, side, side));
        dot_->layer().cornerRadius = side / 2;
    }

  private:
    std::shared_ptr<ui::View> dot_;
};

std::shared_ptr<ui::View> cta8Cell(ui::Responder*) {
    auto cell = makeCell<CTA8TableViewCell>(80);
    auto content = cell->contentView();
    auto line = box(content);
    line->layer().cornerRadius = 8;
    line->layer().borderWidth = 1;
    line->layer().borderColor = kLine;
    cell->boxView = line;
    auto radio = box(line);
    cell->radioView = radio;
    auto mark = std::make_shared<RadioMark>();
    radio->addSubview(mark);
    cell->btnRadio = mark;
    auto title = label(line, 16, ui::TextAlignment::left);
    title->setTextColor(kInk);
    cell->lblTitle = title;
    auto price = label(line, 20, ui::TextAlignment::right, 1);
    price->setTextColor(kInk);
    cell->lblPrice = price;
    auto discount = label(line, 12, ui::TextAlignment::right, 1);
    discount->setTextColor(kMuted);
    cell->lblDiscount = discount;
    auto width = ui::LayoutConstraint::constantSize(radio, ui::LayoutAttribute::width, 28);
    width->setIdentifier("radioViewWidth");
    radio->addConstraint(width);
    cell->radioViewWidth = width;
    return cell;
}

// ---- The countdown

std::shared_ptr<ui::View> cta13TimerCell(ui::Responder*) {
    auto cell = makeCell<CTA13TimerTableViewCell>(100);
    auto timer = box(cell->contentView());
    timer->setFrame(ui::Rect(20, 8, rowWidth - 40, 84));
    timer->setBackgroundColor(kInk);
    timer->layer().cornerRadius = 10;
    cell->viewTimer = timer;
    auto countdown = label(timer, 30, ui::TextAlignment::center, 1);
    countdown->setTextColor(ui::Color::white());
    cell->lblCountdown = countdown;
    const char* words[] = {"Days", "Hours", "Minutes", "Seconds"};
    std::shared_ptr<ui::Label> captions[4];
    for (int i = 0; i < 4; ++i) {
        captions[i] = label(timer, 10, ui::TextAlignment::center, 1);
        captions[i]->setText(words[i]);
        captions[i]->setTextColor(ui::Color::white());
    }
    cell->lblDays = captions[0];
    cell->lblHours = captions[1];
    cell->lblMinutes = captions[2];
    cell->lblSeconds = captions[3];
    return cell;
}

// ---- The CTA15 prices

std::shared_ptr<ui::View> cta15Cell(ui::Responder*) {
    auto cell = makeCell<CTA15TableViewCell>(110);
    auto content = cell->contentView();
    auto price = label(content, 50, ui::TextAlignment::center);
    price->setTextColor(kInk);
    cell->lblPrice = price;
    auto discounted = label(content, 20, ui::TextAlignment::center, 1);
    discounted->setTextColor(kInk);
    cell->lblDiscountedPrice = discounted;
    auto at = label(content, 20, ui::TextAlignment::center, 1);
    at->setTextColor(kMuted);
    cell->lblAtTheRate = at;
    auto original = label(content, 20, ui::TextAlignment::center, 1);
    original->setTextColor(kMuted);
    cell->lblOriginalPrice = original;
    auto strike = box(content);
    strike->setBackgroundColor(kMuted);
    cell->strikeView = strike;
    return cell;
}

// ---- The CTA4 rows

std::shared_ptr<ui::View> cta4Cell(ui::Responder*) {
    auto cell = makeCell<CTA4TableViewCell>(56);
    auto row = std::make_shared<CardColumn>(ui::EdgeInsets{12, 16, 12, 16});
    row->setBackgroundColor(ui::Color::rgb255(0xFA, 0xFA, 0xFA));
    row->layer().cornerRadius = 8;
    row->layer().borderWidth = 1;
    row->layer().borderColor = kLine;
    cell->contentView()->addSubview(row);
    auto text = std::make_shared<ui::Label>();
    text->setFont(ui::Font::system(15));
    text->setTextColor(kInk);
    text->setNumberOfLines(0);
    text->setText("\u2713  Every story, on every device");
    row->add(text);
    return cell;
}

}  // namespace

void registerOfferNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerNib("CTA5A1TableViewCell", cta5A1Cell);
    registry.registerNib("CTA5A2TableViewCell", cta5A2Cell);
    registry.registerNib("CTA5A3TableViewCell", cta5A3Cell);
    registry.registerNib("CTA8TableViewCell", cta8Cell);
    registry.registerNib("CTA13TimerTableViewCell", cta13TimerCell);
    registry.registerNib("CTA13TableViewCell", cta13Cell);
    registry.registerNib("CTA15TableViewCell", cta15Cell);
    registry.registerNib("CTA4TableViewCell", cta4Cell);
}

}  // namespace quillgate::nib

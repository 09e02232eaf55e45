#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/templates/TemplateParts.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"

// The CTA5 family: one, two or three offer cards under a heading and a sub-heading, and the
// "Buy Now" footer. A card has a coloured tab with its title and a pointer, a price, a
// discount, an original price and a description; the first card stands for the slot
// `contentDivBtn`, the second for `passDivBtn`, the third for `subDivBtn`. The client's
// numOfCta chooses the variant. The discount and the original price are shown as configured:
// nothing is computed.
//
// The screen keeps only the selected slot's value word, so this family has no custom links:
// the footer's button knows "content", "pass" and "subscription" (any case) and ignores the
// rest. As in CTA3, a tap on a card moves the selection (the screen's action) and repaints
// the cards (the cell's action) independently.
//
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

// The outlets of one card ("Y", "D" or "W").
#define QUILLGATE_CTA5_CARD(P)                   \
    ui::Outlet<ui::Label> lbl##P##Title;         \
    ui::Outlet<ui::Label> lbl##P##Price;         \
    ui::Outlet<ui::Label> lbl##P##Discription;   \
    ui::Outlet<ui::Label> lbl##P##OriginalPrice; \
    ui::Outlet<ui::Label> lbl##P##Discount;      \
    ui::Outlet<ui::View> view##P##main;          \
    ui::Outlet<ui::View> view##P##lable;

// Row 2 of CTA5A1: one card, the first slot, on the "Y" outlets. Its button is not wired.
class CTA5A1TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    QUILLGATE_CTA5_CARD(Y)
    ui::Outlet<ui::View> triangleView;
    ui::Outlet<CustomButton> btnY;

    std::string className() const override { return "CTA5A1TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

  private:
    std::vector<OfferCardViews> cards() const;
};

// Row 2 of CTA5A2: the first ("D") and second ("W") cards.
class CTA5A2TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    QUILLGATE_CTA5_CARD(D)
    QUILLGATE_CTA5_CARD(W)
    ui::Outlet<CustomButton> btnD;
    ui::Outlet<CustomButton> btnW;
    ui::Outlet<ui::View> triangleView1;
    ui::Outlet<ui::View> triangleView2;
    // The configuration the cards are repainted from.
    SharedCustomizePayWallModel customizePayWallModel;

    std::string className() const override { return "CTA5A2TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

    // Bound by the nib to btnD and btnW: the tapped card shows selected.
    void btnDailyPassAction();
    void btnWeeklyPassAction();

  private:
    std::vector<OfferCardViews> cards() const;
};

// Row 2 of CTA5A3: the first ("D"), second ("W") and third ("Y") cards.
class CTA5A3TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    QUILLGATE_CTA5_CARD(D)
    QUILLGATE_CTA5_CARD(W)
    QUILLGATE_CTA5_CARD(Y)
    ui::Outlet<CustomButton> btnD;
    ui::Outlet<CustomButton> btnW;
    ui::Outlet<CustomButton> btnY;
    ui::Outlet<ui::View> triangleView1;
    ui::Outlet<ui::View> triangleView2;
    ui::Outlet<ui::View> triangleView3;
    SharedCustomizePayWallModel customizePayWallModel;

    std::string className() const override { return "CTA5A3TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

    void btnDailyPassAction();
    void btnWeeklyPassAction();
    void btnYearlyAction();

  private:
    std::vector<OfferCardViews> cards() const;
    void select(int card);
};

#undef QUILLGATE_CTA5_CARD

class CTA5ViewController : public BaseViewController {
  public:
    explicit CTA5ViewController(Token token) : BaseViewController(token, "CTA5ViewController") {}
    std::string className() const override { return "CTA5ViewController"; }

    CTA5Type type = CTA5Type::CTA5A1;
    // The value word of the slot the footer's button acts on.
    std::optional<std::string> selectedSlot;

    void viewDidLoad() override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;

    // The screen's side of a card tap: the card's slot becomes the selected one.
    void btnDailyPassTap();
    void btnWeeklyPassTap();
    void btnYearlyTap();
    void btnSubmitAction() override;

    // "2" and "3" are CTA5A2 and CTA5A3; anything else CTA5A1.
    static CTA5Type typeFor(const std::string& numOfCta);

  private:
    void preselect();
};

}  // namespace quillgate

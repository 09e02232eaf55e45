#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"

// The CTA3 family: one, two or three plain price boxes under a heading and a sub-heading,
// and the footer's button. Each box stands for one slot of the configuration
// (`contentDivBtn`, `passDivBtn`, `subDivBtn`, in box order); the reader picks a box and
// presses the button, and the slot's `value` word ("content", "pass", "subscription",
// "custom url", any case) decides what happens. The client's numOfCta chooses the variant.
//
// A tap on a box does two independent things: the screen's action moves `selectedSlot` to
// the box's slot, and the cell's own action repaints the boxes (the tapped one in the
// selection colour). The boxes' look lives in the cell only: a row dequeued anew shows no
// selection while `selectedSlot` keeps its value.
//
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

// Row 2 of CTA3A1: a single box, the first slot, on the "Y" outlets. Its button is not wired.
class CTA3A1TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::View> viewYearly;
    ui::Outlet<ui::Label> lblYTitle;
    ui::Outlet<ui::Label> lblYPrice;
    ui::Outlet<CustomButton> btnY;

    std::string className() const override { return "CTA3A1TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// Row 2 of CTA3A2: the first ("D") and second ("W") boxes.
class CTA3A2TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::View> viewDaily;
    ui::Outlet<ui::View> viewWeekly;
    ui::Outlet<ui::Label> lblDTitle;
    ui::Outlet<ui::Label> lblDPrice;
    ui::Outlet<ui::Label> lblWTitle;
    ui::Outlet<ui::Label> lblWPrice;
    ui::Outlet<CustomButton> btnD;
    ui::Outlet<CustomButton> btnW;
    // The configuration the boxes are repainted from.
    SharedCustomizePayWallModel customizePayWallModel;

    std::string className() const override { return "CTA3A2TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

    // Bound by the nib to btnD and btnW: the tapped box shows selected.
    void btnDailyPassAction();
    void btnWeeklyPassAction();
};

// Row 2 of CTA3A3: the first ("D"), second ("W") and third ("Y") boxes.
class CTA3A3TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::View> viewDaily;
    ui::Outlet<ui::View> viewWeekly;
    ui::Outlet<ui::View> viewYearly;
    ui::Outlet<ui::Label> lblDTitle;
    ui::Outlet<ui::Label> lblDPrice;
    ui::Outlet<ui::Label> lblWTitle;
    ui::Outlet<ui::Label> lblWPrice;
    ui::Outlet<ui::Label> lblYTitle;
    ui::Outlet<ui::Label> lblYPrice;
    ui::Outlet<CustomButton> btnD;
    ui::Outlet<CustomButton> btnW;
    ui::Outlet<CustomButton> btnY;
    SharedCustomizePayWallModel customizePayWallModel;

    std::string className() const override { return "CTA3A3TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

    void btnDailyPassAction();
    void btnWeeklyPassAction();
    void btnYearlyAction();

  private:
    void select(int box);
};

class CTA3ViewController : public BaseViewController {
  public:
    explicit CTA3ViewController(Token token) : BaseViewController(token, "CTA3ViewController") {}
    std::string className() const override { return "CTA3ViewController"; }

    CTA3Type type = CTA3Type::CTA3A1;
    // The slot the footer's button acts on.
    std::optional<SlotDetails> selectedSlot;

    void viewDidLoad() override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;

    // The screen's side of a box tap: the box's slot becomes the selected one.
    void btnDailyPassTap();
    void btnWeeklyPassTap();
    void btnYearlyTap();
    // The footer's button: acts on the selected slot.
    void btnSubmitAction() override;

    // The variant of a numOfCta text: "2" and "3" are CTA3A2 and CTA3A3, anything else
    // CTA3A1.
    static CTA3Type typeFor(const std::string& numOfCta);

  private:
    // After the first reload: the first box of a two- or three-box variant shows selected.
    void preselect();
};

}  // namespace quillgate

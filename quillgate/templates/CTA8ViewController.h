#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"

// The CTA8 family: a plain list. A large heading, then one offer line (CTA8A1) or two offer
// lines with a radio column (CTA8A2), then the footer. The client's numOfCta chooses the
// variant ("2" is CTA8A2, anything else CTA8A1).
//
// CTA8A1's line sells the slot `contentDivBtn` and can't be selected; its radio column takes
// no width. CTA8A2's lines sell `RadioBtnOne` and `RadioBtnTwo`: a tap on a line makes it the
// selected one and reloads the table so that the radio buttons follow. The footer's button
// acts on the selected slot's value word ("content", "pass", "subscription").
//
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

// One offer line: the radio column, a title, a price and a discount.
class CTA8TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::View> radioView;
    ui::Outlet<CustomButton> btnRadio;
    ui::Outlet<ui::Label> lblTitle;
    ui::Outlet<ui::Label> lblPrice;
    ui::Outlet<ui::Label> lblDiscount;
    // The radio column's width; the nib may leave it out.
    std::shared_ptr<ui::LayoutConstraint> radioViewWidth;

    std::string className() const override { return "CTA8TableViewCell"; }

    // Row `row` (1 or 2) of the variant `type`; in CTA8A2 the radio shows selected when the
    // row is `selectedIndex`.
    void configure(const SharedCustomizePayWallModel& model, CTA8Type type, int row,
                   int selectedIndex);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

class CTA8ViewController : public BaseViewController {
  public:
    explicit CTA8ViewController(Token token) : BaseViewController(token, "CTA8ViewController") {}
    std::string className() const override { return "CTA8ViewController"; }

    CTA8Type type = CTA8Type::CTA8A1;
    // The value word of the slot the footer's button acts on.
    std::optional<std::string> selectedSlot;
    // The selected line's row: the first line, which holds the first slot, until a tap.
    int selectedIndex = 1;

    void viewDidLoad() override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;
    void didSelectRow(ui::TableView& table, ui::IndexPath indexPath) override;
    void btnSubmitAction() override;

    // "2" is CTA8A2; anything else CTA8A1.
    static CTA8Type typeFor(const std::string& numOfCta);
};

}  // namespace quillgate

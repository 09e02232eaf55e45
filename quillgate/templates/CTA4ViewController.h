#pragma once

#include <memory>
#include <string>

#include "quillgate/templates/BaseViewController.h"
#include "quillgate/ui/TableViewCell.h"

// The CTA4 template: a fixed layout. A plain heading (its words are fixed, the configuration
// doesn't style it), three rows exactly as their nib has them, and the "Buy Now" footer,
// styled from the `contentDivBtn` members but wired to nothing: its button, its login and
// coupon texts do nothing when tapped. No display type, card background or slot is read.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

// Rows 1 to 3 of CTA4: what they show is the nib's. The cell only gives the nib's content
// the row's width, less the card's margins, and takes the height it needs.
class CTA4TableViewCell : public ui::TableViewCell {
  public:
    std::string className() const override { return "CTA4TableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

class CTA4ViewController : public BaseViewController {
  public:
    explicit CTA4ViewController(Token token) : BaseViewController(token, "CTA4ViewController") {}
    std::string className() const override { return "CTA4ViewController"; }

    void viewDidLoad() override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;
};

}  // namespace quillgate

#pragma once

#include <memory>
#include <string>

#include "quillgate/templates/CTA13ViewController.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"

// The CTA15 template: the CTA13 countdown over a big-price row instead of the offer card.
// The same slot rule, countdown and footer as CTA13; the client shows it only while its
// deadline lies ahead.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

// Row 3 of CTA15: the price in large type, and under it the discounted price, an "@" and the
// original price struck through by `strikeView`.
class CTA15TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> strikeView;
    ui::Outlet<ui::Label> lblPrice;
    ui::Outlet<ui::Label> lblDiscountedPrice;
    ui::Outlet<ui::Label> lblAtTheRate;
    ui::Outlet<ui::Label> lblOriginalPrice;

    std::string className() const override { return "CTA15TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

class CTA15ViewController : public CountdownViewController {
  public:
    explicit CTA15ViewController(Token token)
        : CountdownViewController(token, "CTA15ViewController") {}
    std::string className() const override { return "CTA15ViewController"; }

  protected:
    const char* offerCellName() const override { return "CTA15TableViewCell"; }
    std::shared_ptr<ui::TableViewCell> offerCell(ui::TableView& table) override;
};

}  // namespace quillgate

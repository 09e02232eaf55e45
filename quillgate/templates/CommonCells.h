#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"

// The rows several templates share: the centred heading (and sub-heading), the large heading
// of CTA8, and the footer with the main button and the login and coupon texts under it.
// Each is built from the nib of its class name, which binds the outlets to the cell itself.
// Cells keep nothing of the configuration they were given: a dequeued cell is configured
// again in full. Main thread only.
namespace quillgate {

// A centred heading or sub-heading row.
class CommonHeaderCenterTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::Label> lblName;

    std::string className() const override { return "CommonHeaderCenterTableViewCell"; }

    // `lblName` shows the style's text (else `defaultText`) styled by `style` at `size`.
    void configure(const std::string& defaultText, const std::optional<typographyData>& style,
                   double size);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// The large heading row: member `heading` at 36 points, with the cell's own default text.
class CommonHeaderTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::Label> lblTitle;

    static constexpr const char* defaultTitle = "Don't miss out on the full story";

    std::string className() const override { return "CommonHeaderTableViewCell"; }

    void configure(const SharedCustomizePayWallModel& model);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// The last row of a template: the main button, then "already a member? log in" and "have a
// coupon? click here". The two text rows are 25 points each and come and go: the login row
// only for a reader without a stored session, the coupon row only when the offer has a
// coupon code, which then replaces the words of `lblClickHere`. The standing words of the
// four labels are the nib's.
class CommonFooterTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::View> couponView;
    ui::Outlet<ui::View> loginView;
    ui::Outlet<ui::View> btnContainerView;
    ui::Outlet<ui::LayoutConstraint> stackHeight;
    ui::Outlet<CustomButton> btnSubscribe;
    ui::Outlet<ui::Label> lblHaveCoupon;
    ui::Outlet<ui::Label> lblAlreadyPurchase;
    ui::Outlet<ui::Label> lblClickHere;
    ui::Outlet<ui::Label> lblLogin;

    // The height of one text row.
    static constexpr double textRowHeight = 25;

    std::string className() const override { return "CommonFooterTableViewCell"; }

    // `useMainButton` styles the button from the `mainSubmitBtn` members, else from the
    // `contentDivBtn` ones; `defaultTitle` is its title when the style has none.
    void configure(bool useMainButton, const std::string& defaultTitle,
                   const SharedCustomizePayWallModel& model);
    // The meter banner's form: the button alone, styled from the `mainSubmitBtn` members of
    // `style` (null: no configuration); both text rows hidden and the stack at 0.
    void configureBanner(const JSONs* style, const std::string& defaultTitle);

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

    // Height of the main button.
    static constexpr double buttonHeight = 50;
};

}  // namespace quillgate

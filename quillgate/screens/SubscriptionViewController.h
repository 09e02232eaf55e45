#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/client/quillgateVCDelegate.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/ui/AttributedString.h"
#include "quillgate/ui/CollectionView.h"
#include "quillgate/ui/CollectionViewCell.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/TableViewCell.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate::ui {
class Button;
class Label;
class View;
}  // namespace quillgate::ui

// The publisher's subscription plans inside the app, one subscription at a time with its
// tiers and benefits. The client makes it from the storyboard scene "SubscriptionVC" with
// the plans of the embedded-subscription call and adds it to the host's parent view; the
// subscribe button opens the web flow through `delegate`. It makes no service call of its
// own and closes itself. Main thread only.
//
// The tier cells tell the screen which tier is chosen through the notification
// "selectedPlan" (object "myObject", user info {"id": tier id}): a selected tier cell posts
// it, the screen keeps the id as `tierId`.
//
// The plans row reads the subscription one before the table row it is asked for, and that
// row is row 0: with a model, that read is out of range and ends the program, as it always
// has. Like the platform's table, ours asks for its rows when it is next laid out, not when
// the reload is asked for: the screen's own set-up and the client's presentation run (and
// print) first.
namespace quillgate {

// The notification from a tier cell to the screen.
inline constexpr const char* kSelectedPlanNotification = "selectedPlan";
inline constexpr const char* kSelectedPlanObject = "myObject";

// The plans table: a reload asked for is carried out when the table is next laid out (as it
// joins a window, or at the layout pass after the main-queue task), as the platform's table
// does, so that several reloads in one task ask for the rows once.
class PlansTableView : public ui::TableView {
  public:
    using ui::TableView::TableView;
    std::string className() const override { return "TableView"; }

    void setNeedsReload();
    bool hasPendingReload() const { return pendingReload_; }
    void layoutSubviews() override;

  private:
    bool pendingReload_ = false;
};

// One price tier in the horizontal list: the old price struck through, the reduction, the
// price and the length. Selected, its border turns red and it names its tier to the screen.
class PlansCollectionViewCell : public ui::CollectionViewCell {
  public:
    std::string className() const override { return "PlansCollectionViewCell"; }

    ui::Outlet<ui::Label> lblDiscount;
    ui::Outlet<ui::Label> lblOff;
    ui::Outlet<ui::Label> lblAmount;
    ui::Outlet<ui::Label> lblDuration;
    // The one tier this cell shows, in spite of the plural.
    std::optional<Tier> tiers;

    void awakeFromNib() override;
    // Shows `tier` with the currency `symbol`.
    void fill(const Tier& tier, const std::string& symbol);
    void setSelected(bool selected) override;
    void layoutSubviews() override;
};

// The row of the plans: a horizontal list of the current subscription's tiers, the first
// one selected as it is shown.
class PlansTableViewCell : public ui::TableViewCell,
                           public ui::CollectionViewDataSource,
                           public ui::CollectionViewDelegate {
  public:
    std::string className() const override { return "PlansTableViewCell"; }

    ui::Outlet<ui::CollectionView> collectionView;
    const std::string plansCellReuseIdentifier = "PlansCollectionCell";
    const double margin = 10;
    std::optional<std::vector<Tier>> tiers;
    std::optional<std::string> currencySymbol;

    // Registers the tier cell and makes this cell the list's data source and delegate.
    void awakeFromNib() override;
    void layoutSubviews() override;

    // ---- The list
    int numberOfItems(ui::CollectionView& view, int section) override;
    std::shared_ptr<ui::CollectionViewCell> cellForItem(ui::CollectionView& view,
                                                        ui::IndexPath indexPath) override;
    std::optional<ui::Size> sizeForItem(ui::CollectionView& view, ui::IndexPath indexPath) override;
    std::optional<ui::EdgeInsets> insetForSection(ui::CollectionView& view, int section) override;
    void didSelectItem(ui::CollectionView& view, ui::IndexPath indexPath) override;
};

// One benefit: a round bullet and its text.
class BenefitsTableViewCell : public ui::TableViewCell {
  public:
    std::string className() const override { return "BenefitsTableViewCell"; }

    ui::Outlet<ui::View> pointView;
    ui::Outlet<ui::Label> lblBenefit;

    void awakeFromNib() override;
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// A footer row with its own subscribe and free-trial controls. The table registers it, but
// no row uses it: the screen holds those controls itself.
class FootertableTableViewCell : public ui::TableViewCell {
  public:
    std::string className() const override { return "FootertableTableViewCell"; }

    ui::Outlet<ui::Button> btnSubscribeAcation;
    ui::Outlet<ui::Button> btnCheckbox;
    ui::Outlet<ui::Label> lblFreeTrial;
    ui::Outlet<ui::View> viewFreeTrail;
    std::weak_ptr<quillgateVCDelegate> delegate;
    std::optional<SingleSubscriptionCurrency> singleSubCur;
    std::optional<std::vector<Tier>> tires;
    std::optional<std::string> tierId;
    std::optional<EmbededSubscription> embededSubModel;

    void awakeFromNib() override;
    void btnSubscribeAction();
    void btnCheckboxAction();
};

class SubscriptionViewController : public ui::ViewController,
                                   public ui::TableViewDataSource,
                                   public ui::TableViewDelegate {
  public:
    explicit SubscriptionViewController(Token token) : ViewController(token) {}
    std::string className() const override { return "SubscriptionViewController"; }

    // ---- Outlets, bound by the scene
    ui::Outlet<ui::View> containerView;
    ui::Outlet<ui::View> secondContainerView;
    // The row that offers logging in; hidden for a reader with a session.
    ui::Outlet<ui::View> contView;
    ui::Outlet<ui::View> viewFreeTrail;
    ui::Outlet<ui::Label> lblTitle;
    ui::Outlet<PlansTableView> tblView;
    ui::Outlet<ui::Button> btnLeft;
    ui::Outlet<ui::Button> btnRight;
    ui::Outlet<ui::Button> btnSubscribeAcation;
    ui::Outlet<ui::Button> btnCheckbox;
    ui::Outlet<ui::Label> lblFreeTrial;
    ui::Outlet<ui::Button> btnCross;

    std::optional<std::string> clientId;
    std::optional<std::string> contentId;
    // The tier the reader chose.
    std::optional<std::string> tierId;
    // Offer logging into the service (no session is stored).
    bool toShowLogInWithOrvelant = true;
    // Show the close button.
    std::optional<bool> crossBtnHS;
    // The client, held weakly: it owns this screen.
    std::weak_ptr<quillgateVCDelegate> delegate;
    // All subscriptions of the publisher.
    std::optional<EmbededSubscription> embededSubModel;
    // Benefits and tiers of the subscription on show.
    std::optional<SingleSubscriptionCurrency> singleSubCur;
    std::optional<std::vector<Tier>> tires;
    // Declared; stays absent here: the web flow belongs to the client.
    std::shared_ptr<ui::ViewController> webVC;
    // Position of the subscription on show, counted from 1.
    int indexPath = 1;

    const std::string benefitsCellReuseIdentifier = "BenefitsTableCell";
    const std::string plansCellReuseIdentifier = "PlansTableCell";
    const std::string footertableTableViewCell = "FootertableTableViewCell";

    // ---- Lifecycle
    void viewDidLoad() override;

    // ---- Actions, bound by the scene
    void btnLeftAction();
    void btnRightAction();
    void btnCheckboxAction();
    void btnSubscribeAction();
    void btnCloseScreen();
    // A tier cell named its tier.
    void selectedPlanAction(const ui::Notification& notification);

    // ---- The table
    int numberOfSections(ui::TableView& table) override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;
    std::optional<std::string> titleForHeader(ui::TableView& table, int section) override;
    std::shared_ptr<ui::View> viewForHeader(ui::TableView& table, int section) override;
    std::optional<double> heightForRow(ui::TableView& table, ui::IndexPath indexPath) override;

    // The opt-in's words for a trial of `days`: "Start your 7-days Free Trial", with "Free"
    // in red.
    static ui::AttributedString freeTrialText(int64_t days);

  private:
    // Shows the subscription at `indexPath`: its free trial, benefits and tiers.
    void refresh();
    // The subscription at `position` (from 0); a position outside the list ends the program.
    const Subscriptions& subscriptionAt(int position) const;
    int subscriptionCount() const;
};

// Builds the scene "SubscriptionVC" of "QuillgateStoryboard" for `owner` (a
// SubscriptionViewController, whose outlets and actions it binds) and returns its root view.
std::shared_ptr<ui::View> buildSubscriptionScene(ui::Responder* owner);

// Registers the nibs of the screen's cells.
void registerSubscriptionNibs();

}  // namespace quillgate

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quillgate/client/SharedData.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/resources/CustomTableView.h"
#include "quillgate/resources/GradientView.h"
#include "quillgate/ui/KeyValueObservable.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/TableViewCell.h"
#include "quillgate/ui/ViewController.h"

// The benefits screen made for one publisher brand: built-in texts, one button whose target
// comes from the configuration. The client routes the wall named "DONT_EDIT_THIS_WALL_APP"
// here and makes it from the nib of the same name. Unlike the templates it is not a
// BaseViewController (it has no ping and no card of configured rows), so it takes the
// SharedData fields directly: the configuration as a shared record, the client weakly.
//
// The screen is a scroll view holding a soft radial gradient and, over it, the rows: the
// brand's header, a sub-header, one row per benefit and a footer with the "view all plans"
// button, the white block from the sub-header down rounded at its top and bottom. The rows
// are as many as `arrText` has entries. The screen, the gradient and the table are as high
// as the rows plus `bottomMargin`, and so is the client's paywallHeight. Main thread only.
namespace quillgate {

// The brand's title row.
class HeaderTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::Label> lblZel;

    std::string className() const override { return "HeaderTableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// The line above the benefits.
class SubHeaderTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::Label> lblSubTitle;

    std::string className() const override { return "SubHeaderTableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// One benefit: its title over its description. The class name is the service's.
class BenifitTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::Label> lblTitle;
    ui::Outlet<ui::Label> lblDesc;

    std::string className() const override { return "BenifitTableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// The last row: the "view all plans" button.
class FooterTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<CustomButton> btnViewAllPlan;

    std::string className() const override { return "FooterTableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

class ZelViewController : public ui::ViewController,
                          public SharedDataFields,
                          public ui::TableViewDataSource,
                          public ui::TableViewDelegate {
  public:
    explicit ZelViewController(Token token) : ViewController(token, "ZelViewController") {}
    std::string className() const override { return "ZelViewController"; }

    // Added to the rows' height for the screen and the client's paywallHeight.
    static constexpr double bottomMargin = 40;

    ui::Outlet<ui::ScrollView> scrollView;
    ui::Outlet<CustomTableView> tblView;
    ui::Outlet<ui::View> gradientContainerView;
    std::shared_ptr<GradientView> gradientView;

    // Row titles and descriptions, by row; the first two rows and the last are the header,
    // the sub-header and the footer, whose entries are empty.
    std::vector<std::string> arrText{"",
                                     "",
                                     "Premium Content Access",
                                     "Clutter-Free Zone",
                                     "Soothing UI",
                                     "Newsletters",
                                     "Premium Video Sneak Peek",
                                     ""};
    std::vector<std::string> arrDescText{
        "",
        "",
        "Insight-based analysis, in-depth pieces by subject matter experts, columns by renowned "
        "authors, and persona-centric discourses.",
        "An ad-lite reading experience with minimal interruptions and a seamless reading "
        "journey.",
        "An enhanced interface with a pleasing tone and fonts that make reading more enjoyable.",
        "Offering the latest updates and insights delivered directly to your inbox.",
        "Preview of ZELLIVE Premium YouTube* that contains special reports, coverages, "
        "exclusives, and gems from the past.",
        ""};

    // Its texts are built in: nothing to redo.
    void refreshData() override {}

    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;

    // A new "contentSize" of the table: the client's paywallHeight becomes its height plus
    // `bottomMargin` at once; the scroll view's content, the gradient and the table take that
    // height on the main queue, while the screen lives. Anything else is ignored.
    void observeValue(const ui::KeyValueChange& change);

    // The footer's button: the configured link of the first slot (absent when any level is
    // missing) goes to the host's onCustomLinkSlot with the article.
    void btnViewAllPlanTap();

    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;
    std::optional<double> heightForRow(ui::TableView& table, ui::IndexPath indexPath) override;
    // Rounds the white block: the sub-header's top corners and the footer's bottom ones.
    void willDisplayCell(ui::TableView& table, ui::TableViewCell& cell,
                         ui::IndexPath indexPath) override;

    // Registers the screen's scene and the nibs of its four cells.
    static void registerNibs();
};

}  // namespace quillgate

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Outlet.h"

// The metering banner: a small sheet over the article that counts the free articles left
// and offers to subscribe, without blocking the article. The client makes it from the nib
// of the same name when the page-view meter applies, sets its delegate through SharedData
// and adds it to the host's parent view. It styles itself from the client's meter record
// (`meterModel`), not from a paywall configuration, and takes the step number from the
// journey's metering action.
//
// Its scene, top to bottom: a round close button (`crossView`), the step strip (`stepView`
// with `lblStep`), then the card (`tblView`): a heading, a sub-heading when the record has
// one, and the subscribe button. The card follows its rows up to three quarters of the
// screen; the strip and the close button above it take `headerHeight` more, and that sum
// is the height the host hears.
//
// It reports itself as a meter banner: the meter VIEW when it loads (and on each refresh),
// meter CLICKs for its two buttons, `onMeterBannerVisible` to the host when it appears. It
// runs the shared ping from loading to its release, as the templates do. Main thread only.
namespace quillgate {

class BannerViewController : public BaseViewController {
  public:
    explicit BannerViewController(Token token)
        : BaseViewController(token, "BannerViewController") {}
    std::string className() const override { return "BannerViewController"; }

    // Room the close button and the step strip take above the card.
    static constexpr double headerHeight = 85;

    ui::Outlet<ui::View> crossView;
    ui::Outlet<ui::View> stepView;
    ui::Outlet<ui::Label> lblStep;

    // The word that says what the subscribe button does ("subscription", "pass",
    // "custom url", any case).
    std::optional<std::string> selectedSlot;

    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;
    void viewDidLayoutSubviews() override;
    void deinit() override;

    // Logs the meter VIEW again and lays the banner out anew from what the client holds.
    void refreshData() override;

    // Only "contentSize" with a new ui::Size counts: the card takes the content height (plus
    // the key window's bottom safe-area inset unless the wall is a popup), capped at three
    // quarters of the screen, and the client's paywallHeight is that plus `headerHeight`.
    void observeValue(const ui::KeyValueChange& change) override;

    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;

    // The footer's button: acts on `selectedSlot` after logging the meter click "SUBS".
    void btnSubmitAction() override;
    // The close button: logs the meter click "METERING_BANNER_CROSSBTN" and, with a
    // delegate, asks the client to take the wall away.
    void btnCloseScreen();

    // The step text for a configured label text (absent: the built-in sentence) and a step
    // number (absent: none): every "{steps}" replaced by the number, and an empty result
    // replaced by the heading default.
    static std::string stepText(const std::optional<std::string>& configured,
                                const std::optional<std::string>& stepCount);

  private:
    // The client's meter style document, or null when a level is missing.
    static const JSONs* meterStyle();
    // Table set-up, placement, the close button, the step strip and its text.
    void layOut();
    void styleCrossView();
    void styleStepView();
    void styleStepText();
};

// Builds the banner's scene for `owner` and binds its outlets (nib "BannerViewController").
std::shared_ptr<ui::View> buildBannerScene(ui::Responder* owner);

}  // namespace quillgate

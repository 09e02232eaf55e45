#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/client/quillgateVCDelegate.h"
#include "quillgate/platform/Clock.h"
#include "quillgate/platform/RunLoop.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/templates/TemplateParts.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"

// The CTA13 template: one offer under a deadline. Row 2 is a live countdown to the moment
// in the configuration's `timerValue.time`; row 3 is one offer card on the slot
// `contentDivBtn`. The client shows this template only while the deadline lies ahead.
//
// When the countdown reaches zero it ends the paywall: the client takes the wall down and
// runs the access flow again half a second later, which now finds the deadline passed and
// shows the default paywall. The countdown ticks once a second on the main run loop for as
// long as its cell lives; a row configured again starts a second tick beside the first (both
// update the same cell, and the first to reach zero ends the wall).
//
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

// The countdown row, shared by CTA13 and CTA15: a box with the running time ("DD : HH : MM :
// SS") over four captions whose words are the nib's.
class CTA13TimerTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> viewTimer;
    ui::Outlet<ui::Label> lblCountdown;
    ui::Outlet<ui::Label> lblDays;
    ui::Outlet<ui::Label> lblHours;
    ui::Outlet<ui::Label> lblMinutes;
    ui::Outlet<ui::Label> lblSeconds;
    // The client, given by the screen; told to close the wall at zero.
    std::weak_ptr<quillgateVCDelegate> delegate;
    // The latest one-second tick started, until it reaches zero.
    std::shared_ptr<platform::Timer> countdownTimer;
    // The moment of zero.
    std::optional<platform::TimePoint> targetDate;
    // Member `timerDiv` of the configuration: the style of the running time and the captions.
    std::optional<typographyData> timerData;

    // The form of the deadline, e.g. "Fri Dec 31 2027 23:59:59 GMT+0530".
    static constexpr const char* datePattern = "EEE MMM d yyyy HH:mm:ss 'GMT'Z";
    // What the running time shows at zero and before the first tick.
    static constexpr const char* zeroText = "00 : 00 : 00 : 00";

    std::string className() const override { return "CTA13TimerTableViewCell"; }

    // Styles the box and the texts from `model`, then, when the configuration has a deadline,
    // shows the time left at once and starts the tick. A deadline that doesn't parse leaves
    // the tick running with nothing to show. Done on every dequeue.
    void configure(const SharedCustomizePayWallModel& model,
                   std::weak_ptr<quillgateVCDelegate> client);
    // One tick: the time left, or, at zero or past it, the end of the wall.
    void updateCountdown();

    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// Row 3 of CTA13: one offer card on the "Y" outlets, its small texts at 12 points and its box
// from `contentDiv`.
class CTA13TableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> boxView;
    ui::Outlet<ui::Label> lblYTitle;
    ui::Outlet<ui::Label> lblYPrice;
    ui::Outlet<ui::Label> lblYDiscription;
    ui::Outlet<ui::Label> lblYOriginalPrice;
    ui::Outlet<ui::Label> lblYDiscount;
    ui::Outlet<ui::View> viewYmain;
    ui::Outlet<ui::View> viewYlable;
    ui::Outlet<ui::View> triangleView;
    ui::Outlet<CustomButton> btnY;

    std::string className() const override { return "CTA13TableViewCell"; }
    void configure(const SharedCustomizePayWallModel& model);
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;

  private:
    std::vector<OfferCardViews> cards() const;
};

// What CTA13 and CTA15 share: the heading, the sub-heading, the countdown row, the screen's
// own offer row and the "Buy Now" footer, which acts on the first slot's value word.
class CountdownViewController : public BaseViewController {
  public:
    // The value word of the first slot; the screen has no other offer.
    std::optional<std::string> selectedSlot;

    void viewDidLoad() override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;
    void btnSubmitAction() override;

  protected:
    CountdownViewController(Token token, std::string nibName)
        : BaseViewController(token, std::move(nibName)) {}
    // The cell class of row 3.
    virtual const char* offerCellName() const = 0;
    // Dequeues and configures row 3.
    virtual std::shared_ptr<ui::TableViewCell> offerCell(ui::TableView& table) = 0;
};

class CTA13ViewController : public CountdownViewController {
  public:
    explicit CTA13ViewController(Token token)
        : CountdownViewController(token, "CTA13ViewController") {}
    std::string className() const override { return "CTA13ViewController"; }

  protected:
    const char* offerCellName() const override { return "CTA13TableViewCell"; }
    std::shared_ptr<ui::TableViewCell> offerCell(ui::TableView& table) override;
};

}  // namespace quillgate

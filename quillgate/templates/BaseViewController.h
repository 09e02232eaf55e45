#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/client/SharedData.h"
#include "quillgate/platform/Log.h"
#include "quillgate/resources/CustomTableView.h"
#include "quillgate/templates/CommonCells.h"
#include "quillgate/ui/KeyValueObservable.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableView.h"
#include "quillgate/ui/ViewController.h"

// The common base of the template paywalls: the screen side of SharedData, the card (a
// table of rows that grows to fit them, up to three quarters of the screen), the report of
// the screen's life to the analytics and the host, and the reader-active signal.
//
// The client makes a screen from the nib named after its class, sets the delegate and then
// the configuration, and adds the root view to the host's parent view; when a wall already
// stands there on a later pass, the client asks it to refresh instead. Each derived screen
// fills the table with its fixed plan of rows (numberOfRows / cellForRow).
//
// Life of a screen: viewDidLoad logs the paywall VIEW, starts the shared 15-second ping and
// listens for the application resigning active; viewDidAppear tells the host's completion
// delegate `onPaywallVisible`; viewWillDisappear stops observing the table's "contentSize";
// deinit leaves the notification centre and stops the ping. A screen that has disappeared
// but is still held keeps pinging.
//
// The screen holds its configuration as a shared, never-changed record, and the client
// weakly: the client owns the screen through its `customPayWallVC` field. The outlets are
// weak and read without a test: a nib that doesn't bind one ends the program at first use.
// Main thread only.
namespace quillgate {

class BaseViewController : public ui::ViewController,
                           public SharedDataFields,
                           public ui::TableViewDataSource,
                           public ui::TableViewDelegate {
  public:
    // The card and its three layout constraints.
    ui::Outlet<CustomTableView> tblView;
    ui::Outlet<ui::LayoutConstraint> tblViewHeight;
    ui::Outlet<ui::LayoutConstraint> centerYConstraint;
    ui::Outlet<ui::LayoutConstraint> bottomConstraint;

    std::string className() const override { return "BaseViewController"; }

    // Shows the screen again with what the client holds now. The base has nothing to redo.
    void refreshData() override {}

    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void deinit() override;

    // A touch on the screen marks the reader active; it is not passed on.
    void touchesBegan() override;

    // Prints "resetUserActiveStatus()" and sets the reader-active flag of the ping.
    void resetUserActiveStatus();
    // The application resigns active: prints "App moved to background!" and logs the page
    // EXIT. The ping goes on.
    void appMovedToBackground();

    // A change the screen observes. Only "contentSize" with a new ui::Size counts: the card
    // takes the content height (plus the key window's bottom safe-area inset unless the wall
    // is a popup), capped at three quarters of the screen, and the client's paywallHeight
    // follows. Anything else is ignored. A screen with another height rule overrides it.
    virtual void observeValue(const ui::KeyValueChange& change);

    // The footer's two texts: the sign-in web flow (`loginAction`) and the read-now one
    // (`clickHereAction`). Both print "content", mark the reader active and, with a
    // delegate, start the flow and log the click "CONTENT".
    virtual void loginAction();
    virtual void clickHereAction();
    // The footer's button; each template acts on its own selected slot.
    virtual void btnSubmitAction() {}

    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;

  protected:
    // `nibName` is the nib the root view is built from: the class's own name.
    BaseViewController(Token token, std::string nibName)
        : ViewController(token, std::move(nibName)) {}

    // ---- Steps the derived screens' viewDidLoad run, in this order -----------------------

    // Registers the nib of each cell class under its own name, makes the screen the table's
    // data source and delegate, turns separators off, asks for automatic row heights and
    // observes the table's "contentSize".
    void setUpTable(std::initializer_list<const char*> cellNibs);
    // Backdrop and card position by the client's paywallDisplayType: an in-article wall
    // sits at the bottom over a clear backdrop, a full-page one at the bottom over 70% grey,
    // a popup in the middle over 70% grey.
    void applyDisplayType();
    // The configured main box colour becomes the card's background; otherwise the nib's stays.
    void applyCardBackground();
    // Reloads the table on the main queue, then runs `after` (if any) on the main queue.
    void reloadSoon(std::function<void(BaseViewController&)> after = {});

    // The configuration's pieces, or null when a level is missing.
    const JSONs* styleDocument() const;
    // The client's numOfCta as a variant number: "1" to `count`; anything else is 1.
    static int variantNumber(const std::string& numOfCta, int count);
    const typography* textStyles() const;
    const Borders* borders() const;
    const SlotInfo* slots() const;

    // Dequeues a cell of class T registered under `identifier` with no selection style.
    template <class T>
    std::shared_ptr<T> dequeue(ui::TableView& table, const std::string& identifier) {
        auto cell = std::dynamic_pointer_cast<T>(table.dequeueReusableCell(identifier));
        if (!cell) {
            platform::fatal("Could not dequeue a cell of class " + identifier);
        }
        cell->setSelectionStyle(ui::CellSelectionStyle::none);
        return cell;
    }

    // Wires a configured footer to the screen: a new tap recogniser on `lblLogin` and on
    // `lblClickHere`, and the button's target. Done on every dequeue, so that a reused
    // cell collects more of them; each fires the same action.
    void wireFooter(CommonFooterTableViewCell& footer);

    // Runs `action` on this screen while it is alive (for targets the views keep).
    template <class T>
    std::function<void()> weakAction(void (T::*action)()) {
        std::weak_ptr<ui::ViewController> weak = weak_from_this();
        return [weak, action] {
            if (auto self = std::dynamic_pointer_cast<T>(weak.lock())) {
                ((*self).*action)();
            }
        };
    }

    // What the footer's texts do: "content", reader active, then with a delegate the web
    // flow of `contentType` and the CONTENT click.
    void contentFlow(ContentType contentType);

    // The card's height for a content height: plus the key window's bottom safe-area inset
    // unless the wall is a popup, at most three quarters of the screen.
    static double cardHeight(double contentHeight);

    // The footer's button on an offer's value word, already in lower case: "content" prints
    // "content" and, with a delegate, opens the read-now web flow and logs the CONTENT click;
    // "pass" the same with the pass flow and the PASS click; "subscription" prints and asks
    // the delegate's subscribe start to log its own click. False for any other word, which
    // does nothing here.
    bool actOnOfferWord(const std::string& word);
    // The footer's button of the families that keep only a slot's value word: prints
    // "Selected Slot: " and the word's description, then acts on it in lower case.
    void submitValueWord(const std::optional<std::string>& value);
    // Sets the card's height constraint and lays the scene out again.
    void setCardHeight(double height);
};

}  // namespace quillgate

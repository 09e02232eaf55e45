#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/quillgateVCDelegate.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate::ui {
class Button;
class ImageView;
class Label;
class LayoutConstraint;
class ScrollView;
class StackView;
class View;
}  // namespace quillgate::ui

// The default paywall: the fixed card the client shows when no template applies, with the
// single article, a time pass and a subscription as its offers, stacked top to bottom with
// "OR" dividers between them. The client makes it from the storyboard scene
// "QuillgateStatusVC", sets the fields below before the view appears and adds it to the host's
// parent view; every action goes back through `delegate`, which is the client.
//
// Which block shows, what each element says and how it is coloured is decided anew in each
// viewWillAppear from the content details; a block once hidden stays hidden. The scene lays
// the card out top to bottom, hidden blocks taking no room, so the card's height (reported to
// the host when the view appears) is what it shows. The screen keeps its own copy of the
// content details. Main thread only.
namespace quillgate {

class CUILine;

class QuillgateStatusVC : public ui::ViewController {
  public:
    explicit QuillgateStatusVC(Token token) : ViewController(token) {}
    std::string className() const override { return "QuillgateStatusVC"; }

    // Declared text that no element shows.
    const std::string payText = "This content is just for ";
    // The reader's wallet balance as text.
    std::string userBalance = "0";
    // Prefix of the balance line.
    std::string balanceString = "OrveLant balance: ";
    std::optional<std::string> clientID;
    std::optional<std::string> contentID;
    // Offer the subscribe block at all (the host has a subscribe delegate).
    bool toShowSubscriberView = true;
    // Show the publisher's sign-in row (the host has a sign-in delegate).
    bool toShowLogInBtn = true;
    // Set from the client's accent colour; the screen never paints with it.
    ui::Color accentColor = ui::Color::rgb255(60, 70, 92);
    // The colour the screen really paints with. Nothing assigns it, so every default paywall
    // has this one colour whatever the host configured: kept so on purpose.
    ui::Color newAccentColor = ui::Color::rgb255(60, 70, 92);
    ui::Color topBarBGViewColor = ui::Color::rgb255(244, 244, 244);
    // Offer logging into the service (no session is stored).
    bool toShowLogInWithOrvelant = true;
    std::optional<ContentDetails> contentDetails;
    // The client, held weakly: it owns this screen.
    std::weak_ptr<quillgateVCDelegate> delegate;

    // ---- Outlets, bound by the scene
    ui::Outlet<ui::Label> lblPassMsg;
    ui::Outlet<ui::Label> subscriptionTitleLbl;
    ui::Outlet<ui::Label> subscriptionMessageLbl;
    ui::Outlet<CUILine> dashline1;
    ui::Outlet<CUILine> dashline2;
    ui::Outlet<ui::View> contView;
    ui::Outlet<ui::Label> storyDurationLbl;
    ui::Outlet<ui::StackView> firstOR;
    ui::Outlet<ui::View> secondOR;
    ui::Outlet<ui::View> topView;
    ui::Outlet<ui::View> mainBottomView;
    ui::Outlet<ui::View> containerBottonView;
    ui::Outlet<ui::View> middleView;
    ui::Outlet<ui::View> bottomView;
    ui::Outlet<ui::Label> contentPriceLbl;
    ui::Outlet<ui::Button> readNowBtn;
    ui::Outlet<ui::Button> passBtn;
    ui::Outlet<ui::Button> subscribeBtn;
    ui::Outlet<ui::Button> signInBtn;
    ui::Outlet<ui::Label> topBar;
    ui::Outlet<ui::Button> logIntoOrvelantBtn;
    ui::Outlet<ui::Label> userBalanceLbl;
    ui::Outlet<ui::StackView> logIntoOrvelantStackView;
    ui::Outlet<ui::ImageView> poweredByOrvelantImageView;
    ui::Outlet<ui::ImageView> imgViewPlayWithOrvelan;
    ui::Outlet<ui::View> containerView;
    ui::Outlet<ui::StackView> signInStackView;
    ui::Outlet<ui::ScrollView> scrollView;
    ui::Outlet<ui::LayoutConstraint> mainBottomViewHeight;
    ui::Outlet<ui::LayoutConstraint> containerBottomViewHeight;
    ui::Outlet<ui::LayoutConstraint> secondORViewHeight;
    ui::Outlet<ui::LayoutConstraint> middleViewHeight;
    ui::Outlet<ui::LayoutConstraint> bottomViewHeight;
    // Declared; stays absent here: the web flow belongs to the client.
    std::shared_ptr<ui::ViewController> webVC;

    // ---- Lifecycle
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;
    void viewWillLayoutSubviews() override;
    void viewWillTransitionToSize(ui::Size size) override;
    // The trait change of a rotation: the dividers follow the device's orientation.
    void willTransitionToTraitCollection() override;

    // ---- Actions, bound by the scene
    void readNowTap();
    void passBtnTap();
    void subscribeBtnTap();
    void logIntoOrvelantTap();
    void signInBtnTap();
    void btnCloseScreen();

    // The scene's constant scroll height.
    static constexpr double kScrollContentHeight = 453;

  private:
    // What the card says, from the content details.
    void showContent();
    // Which blocks show and how they are coloured.
    void showColours();
    // startWebFlow for the client's article, then the click event.
    void openWebFlow(ContentType type, const std::string& clickAction);
};

// Builds the scene "QuillgateStatusVC" of "QuillgateStoryboard" for `owner` (a
// QuillgateStatusVC, whose outlets and actions it binds) and returns its root view.
std::shared_ptr<ui::View> buildQuillgateStatusScene(ui::Responder* owner);

}  // namespace quillgate

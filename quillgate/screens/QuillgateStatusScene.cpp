// The scene "QuillgateStatusVC": the default paywall's card, top to bottom.
//
//   scrollView
//     mainBottomView                      (column, 16-point margins)
//       containerView                     (the card: rounded, shadowed)
//         contView                        (clips to the rounded corners)
//           topBar                        strip with the card's caption; close button on it
//           topView                       "Pay ... to read now", read-now button, note
//           firstOR                       dashed line with "OR"
//           middleView                    pass text, pass button
//           secondOR                      dashed line with "OR"
//           bottomView                    subscription title, text, subscribe button
//           containerBottonView           balance, sign-in row, log-in row, "Powered by"
//
// Each block is a column measured at the card's width, so a hidden block takes no room and
// the card is as high as what it shows. The two blocks the screen may drop also carry a
// "height <= constant" constraint that the screen sets to 0.

#include <limits>

#include "quillgate/resources/CUILine.h"
#include "quillgate/screens/CardLayout.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/ImageView.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/LayoutConstraint.h"

namespace quillgate {

namespace {

using ui::Color;
using ui::Font;
using ui::FontWeight;

const Color kInk = Color::rgb255(28, 28, 30);
const Color kMutedInk = Color::rgb255(99, 99, 102);
const Color kHairline = Color::rgb255(199, 199, 204);

constexpr double kSide = 20;  // inner margin of the blocks
constexpr double kButtonHeight = 44;
constexpr double kDividerHeight = 24;
constexpr double kOpenHeight = std::numeric_limits<double>::max();

std::shared_ptr<ui::Label> label(const std::string& text, Font font, Color color,
                                 ui::TextAlignment alignment = ui::TextAlignment::center,
                                 int lines = 0, double height = 20) {
    auto l = std::make_shared<ui::Label>(ui::Rect(0, 0, 300, height));
    l->setText(text);
    l->setFont(font);
    l->setTextColor(color);
    l->setTextAlignment(alignment);
    l->setNumberOfLines(lines);
    return l;
}

std::shared_ptr<ui::Button> button(const std::string& title, Font font, double width = 300,
                                   double height = kButtonHeight) {
    auto b = std::make_shared<ui::Button>(ui::Rect(0, 0, width, height), ui::ButtonType::custom);
    b->setTitle(title);
    b->titleLabel()->setFont(font);
    return b;
}

// Binds `action` of the screen that owns the scene to the button's touch-up.
void bindAction(ui::Button& b, const std::weak_ptr<QuillgateStatusVC>& screen,
                const char* actionName, void (QuillgateStatusVC::*action)()) {
    b.addTarget(
        screen.lock().get(), actionName,
        [screen, action](ui::Control&) {
            if (auto s = screen.lock()) {
                ((*s).*action)();
            }
        },
        ui::ControlEvent::touchUpInside);
}

// A dashed divider with the word "OR" over its middle.
std::shared_ptr<OrDivider> divider(const std::shared_ptr<CUILine>& line) {
    line->isDash = true;
    line->dashPointWidth = 4;
    line->dashSpace = 3;
    line->lineWidth = 2;
    line->lineColor = kHairline;
    line->setFrame(ui::Rect(0, 0, 300, kDividerHeight));
    auto word = label("OR", Font::system(13, FontWeight::semibold), kMutedInk,
                      ui::TextAlignment::center, 1, kDividerHeight);
    word->setFrame(ui::Rect(0, 0, 28, kDividerHeight));
    word->setBackgroundColor(Color::white());
    auto d = std::make_shared<OrDivider>(line, word);
    d->setFrame(ui::Rect(0, 0, 300, kDividerHeight));
    return d;
}

// A "height <= constant" constraint on a block, active, open at first.
std::shared_ptr<ui::LayoutConstraint> heightCap(const std::shared_ptr<ui::View>& block,
                                                const char* identifier) {
    auto c = ui::LayoutConstraint::make(block, ui::LayoutAttribute::height,
                                        ui::LayoutRelation::lessThanOrEqual, nullptr,
                                        ui::LayoutAttribute::notAnAttribute, 1, kOpenHeight);
    c->setIdentifier(identifier);
    block->addConstraint(c);
    return c;
}

}  // namespace

std::shared_ptr<ui::View> buildQuillgateStatusScene(ui::Responder* owner) {
    auto* screen = dynamic_cast<QuillgateStatusVC*>(owner);
    std::weak_ptr<QuillgateStatusVC> weakScreen;
    if (screen) {
        weakScreen = std::static_pointer_cast<QuillgateStatusVC>(screen->shared_from_this());
    }

    auto root = std::make_shared<FillingView>();
    root->setFrame(ui::Application::shared().mainScreen().bounds);
    auto scroll = std::make_shared<CardScrollView>();
    scroll->setShowsHorizontalScrollIndicator(false);
    root->addSubview(scroll);

    auto mainBottom = std::make_shared<CardColumn>(ui::EdgeInsets{16, 16, 24, 16});
    scroll->addSubview(mainBottom);
    auto container = std::make_shared<CardFrame>();
    container->setBackgroundColor(Color::white());
    mainBottom->add(container);
    auto cont = std::make_shared<CardColumn>(ui::EdgeInsets{0, 0, 20, 0});
    cont->setBackgroundColor(Color::white());
    container->addSubview(cont);

    // The caption strip, with the close button at its right end.
    auto strip = std::make_shared<StripView>();
    auto top = label("PREMIUM STORY", Font::system(12, FontWeight::semibold), kMutedInk,
                     ui::TextAlignment::center, 1, 40);
    auto close = button("\u2715", Font::system(15), 40, 40);
    close->setTitleColor(kMutedInk);
    close->setAccessibilityIdentifier("close");
    strip->addSubview(top);
    strip->addSubview(close);
    cont->add(strip, 40);

    // Pay per article.
    auto topBlock = std::make_shared<CardColumn>(ui::EdgeInsets{20, kSide, 4, kSide});
    auto price =
        label("", Font::system(16, FontWeight::bold), kInk, ui::TextAlignment::center, 0, 22);
    auto readNow = button("Read now", Font::system(17, FontWeight::semibold));
    readNow->setTitleColor(Color::white());
    auto duration = label("One payment, and the story is yours to read any time.", Font::system(12),
                          kMutedInk, ui::TextAlignment::center, 0, 32);
    topBlock->add(price);
    topBlock->add(readNow, kButtonHeight, 14);
    topBlock->add(duration, 0, 8);
    cont->add(topBlock);

    auto line1 = std::make_shared<CUILine>();
    auto first = divider(line1);
    cont->add(first, kDividerHeight, 14, kSide);

    // The pass.
    auto middle = std::make_shared<CardColumn>(ui::EdgeInsets{4, kSide, 4, kSide});
    auto passMessage = label("", Font::system(15), kInk);
    auto pass = button("", Font::system(16, FontWeight::semibold));
    middle->add(passMessage);
    middle->add(pass, kButtonHeight, 12);
    cont->add(middle, 0, 14);
    auto middleHeight = heightCap(middle, "middleViewHeight");

    auto line2 = std::make_shared<CUILine>();
    auto second = divider(line2);
    cont->add(second, kDividerHeight, 14, kSide);
    auto secondHeight =
        ui::LayoutConstraint::constantSize(second, ui::LayoutAttribute::height, kDividerHeight);
    second->addConstraint(secondHeight);

    // The subscription.
    auto bottom = std::make_shared<CardColumn>(ui::EdgeInsets{4, kSide, 4, kSide});
    auto subTitle = label("", Font::system(17, FontWeight::bold), kInk);
    auto subMessage = label("", Font::system(14), kMutedInk, ui::TextAlignment::center, 0, 40);
    auto subscribe = button("Subscribe", Font::system(17, FontWeight::semibold));
    bottom->add(subTitle);
    bottom->add(subMessage, 0, 6);
    bottom->add(subscribe, kButtonHeight, 14);
    cont->add(bottom, 0, 14);
    auto bottomHeight = heightCap(bottom, "bottomViewHeight");

    // The rows under the offers.
    auto footer = std::make_shared<CardColumn>(ui::EdgeInsets{0, kSide, 0, kSide});
    auto balance = label("", Font::system(13, FontWeight::medium), kInk);
    auto signInRow = std::make_shared<CentredRow>(4);
    signInRow->setFrame(ui::Rect(0, 0, 300, 22));
    auto signInText = label("Already a subscriber?", Font::system(14), kMutedInk,
                            ui::TextAlignment::right, 1, 22);
    signInText->setFrame(ui::Rect(0, 0, 162, 22));
    signInRow->addArrangedSubview(signInText);
    auto signIn = button("Sign in", Font::system(14, FontWeight::semibold), 56, 22);
    signInRow->addArrangedSubview(signIn);
    auto logInRow = std::make_shared<CentredRow>(6);
    logInRow->setFrame(ui::Rect(0, 0, 300, 24));
    auto playLogo = std::make_shared<ui::ImageView>(ui::Rect(0, 0, 58, 12));
    playLogo->setContentMode(ui::ContentMode::scaleAspectFit);
    auto logIn = button("Log in with", Font::system(14, FontWeight::semibold), 92, 24);
    logInRow->addArrangedSubview(logIn);
    logInRow->addArrangedSubview(playLogo);
    auto poweredRow = std::make_shared<CentredRow>(6);
    poweredRow->setFrame(ui::Rect(0, 0, 300, 16));
    auto poweredText =
        label("Powered by", Font::system(11), kMutedInk, ui::TextAlignment::right, 1, 16);
    poweredText->setFrame(ui::Rect(0, 0, 66, 16));
    poweredRow->addArrangedSubview(poweredText);
    auto poweredLogo = std::make_shared<ui::ImageView>(ui::Rect(0, 0, 58, 12));
    poweredLogo->setContentMode(ui::ContentMode::scaleAspectFit);
    poweredRow->addArrangedSubview(poweredLogo);
    footer->add(balance);
    footer->add(signInRow, 0, 10);
    footer->add(logInRow, 0, 8);
    footer->add(poweredRow, 0, 14);
    cont->add(footer, 0, 18);
    auto footerHeight = ui::LayoutConstraint::make(
        footer, ui::LayoutAttribute::height, ui::LayoutRelation::lessThanOrEqual, nullptr,
        ui::LayoutAttribute::notAnAttribute, 1, kOpenHeight);
    footer->addConstraint(footerHeight);
    auto mainHeight = ui::LayoutConstraint::make(
        mainBottom, ui::LayoutAttribute::height, ui::LayoutRelation::lessThanOrEqual, nullptr,
        ui::LayoutAttribute::notAnAttribute, 1, kOpenHeight);
    mainBottom->addConstraint(mainHeight);

    if (screen) {
        screen->scrollView = scroll;
        screen->mainBottomView = mainBottom;
        screen->containerView = container;
        screen->contView = cont;
        screen->topBar = top;
        screen->topView = topBlock;
        screen->contentPriceLbl = price;
        screen->readNowBtn = readNow;
        screen->storyDurationLbl = duration;
        screen->firstOR = first;
        screen->dashline1 = line1;
        screen->middleView = middle;
        screen->lblPassMsg = passMessage;
        screen->passBtn = pass;
        screen->secondOR = second;
        screen->dashline2 = line2;
        screen->bottomView = bottom;
        screen->subscriptionTitleLbl = subTitle;
        screen->subscriptionMessageLbl = subMessage;
        screen->subscribeBtn = subscribe;
        screen->containerBottonView = footer;
        screen->userBalanceLbl = balance;
        screen->signInStackView = signInRow;
        screen->signInBtn = signIn;
        screen->logIntoOrvelantStackView = logInRow;
        screen->logIntoOrvelantBtn = logIn;
        screen->imgViewPlayWithOrvelan = playLogo;
        screen->poweredByOrvelantImageView = poweredLogo;
        screen->middleViewHeight = middleHeight;
        screen->bottomViewHeight = bottomHeight;
        screen->secondORViewHeight = secondHeight;
        screen->containerBottomViewHeight = footerHeight;
        screen->mainBottomViewHeight = mainHeight;

        bindAction(*readNow, weakScreen, "readNowTap:", &QuillgateStatusVC::readNowTap);
        bindAction(*pass, weakScreen, "passBtnTap:", &QuillgateStatusVC::passBtnTap);
        bindAction(*subscribe, weakScreen, "subscribeBtnTap:", &QuillgateStatusVC::subscribeBtnTap);
        bindAction(*logIn, weakScreen,
                   "logIntoOrvelantTap:", &QuillgateStatusVC::logIntoOrvelantTap);
        bindAction(*signIn, weakScreen, "signInBtnTap:", &QuillgateStatusVC::signInBtnTap);
        bindAction(*close, weakScreen, "btnCloseScreen:", &QuillgateStatusVC::btnCloseScreen);
    }
    return root;
}

}  // namespace quillgate

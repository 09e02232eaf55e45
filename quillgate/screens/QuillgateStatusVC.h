#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/quillgateVCDelegate.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/ui/Color.h"
#include "quillgate/ui/ViewController.h"

// The default paywall: the fixed card the client shows when no template applies, with the
// single article, a time pass and a subscription as its offers. The client makes it from the
// storyboard scene "QuillgateStatusVC", sets the fields below before the view loads and adds
// it to the host's parent view; every action goes back through `delegate`. The screen keeps
// its own copy of the content details. Main thread only.
namespace quillgate {

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
};

}  // namespace quillgate

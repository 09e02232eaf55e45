#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/client/quillgateVCDelegate.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/ui/ViewController.h"

// The publisher's subscription plans inside the app, one subscription at a time with its
// tiers and benefits. The client makes it from the storyboard scene "SubscriptionVC" with
// the plans of the embedded-subscription call and adds it to the host's parent view; the
// subscribe button opens the web flow through `delegate`. It makes no service call of its
// own and closes itself. Main thread only.
namespace quillgate {

class SubscriptionViewController : public ui::ViewController {
  public:
    explicit SubscriptionViewController(Token token) : ViewController(token) {}
    std::string className() const override { return "SubscriptionViewController"; }

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
    // Position of the subscription on show, counted from 1.
    int indexPath = 1;

    const std::string benefitsCellReuseIdentifier = "BenefitsTableCell";
    const std::string plansCellReuseIdentifier = "PlansTableCell";
    const std::string footertableTableViewCell = "FootertableTableViewCell";
};

}  // namespace quillgate

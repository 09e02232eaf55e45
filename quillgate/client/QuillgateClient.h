#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/Export.h"
#include "quillgate/client/ClientTypes.h"
#include "quillgate/client/Delegates.h"
#include "quillgate/client/SharedData.h"
#include "quillgate/client/quillgateVCDelegate.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/service/Deployment.h"
#include "quillgate/service/Mode.h"
#include "quillgate/ui/Color.h"

namespace quillgate::ui {
class View;
class ViewController;
}  // namespace quillgate::ui

// The one object the host talks to, and the owner of everything about the article on show:
// the publisher's and the article's identities, the host's view that walls go into, the
// last answers of the access service, the screens on display and the host's delegates.
//
// One article at a time: showPayWall and initSubscriptions first throw away all state of the
// previous article (resetValues), store what they were given and run the access flow.
// Answers of the service arrive on the main queue and act on whatever article is current;
// nothing cancels a request in flight.
//
// Ownership: the client owns the screens on show (their fields) and the host's parent view
// until the next reset; the host owns its delegates, which the client keeps weakly. Screens
// read the fields below directly.
//
// Main thread only, like every public operation of the library: no field has a lock.
// `shared()` lives until platform::resetProcessState.
namespace quillgate {

class QUILLGATE_EXPORT QuillgateClient : public quillgateVCDelegate,
                                         public std::enable_shared_from_this<QuillgateClient> {
  public:
    static QuillgateClient& shared();
    ~QuillgateClient() override;
    QuillgateClient(const QuillgateClient&) = delete;
    QuillgateClient& operator=(const QuillgateClient&) = delete;

    // ---- Public operations --------------------------------------------------------------

    // Stores the environment and the publisher's identity. No check, no network.
    void configure(Mode mode, const std::string& clientID);
    // Keeps the host's user identity in memory and in the user defaults.
    void setClientUserId(const std::string& clientUserId);

    // The main entry, once per article.
    void showPayWall(const std::string& contentID, std::optional<std::string> title,
                     std::optional<std::vector<std::string>> categories,
                     std::optional<std::vector<std::string>> sections,
                     std::optional<std::vector<std::string>> tags,
                     std::optional<std::string> contentUrl, std::optional<std::string> authorName,
                     std::optional<std::string> url, std::shared_ptr<ui::View> parentView,
                     std::shared_ptr<QuillgateEventParamsDelegate> eventParamsDelegate,
                     std::shared_ptr<QuillgateGoogleLogInDelegate> googleLogInDelegate,
                     std::shared_ptr<QuillgateCompletionHandlerDelegate> completiondelegate,
                     std::shared_ptr<QuillgateSubscribeBtnTapDelegate> subscriberDelegate,
                     std::shared_ptr<QuillgateSignBtnTapDelegate> signInDelegate);

    // The entry of the subscription screen. `title` and `url` are accepted and dropped.
    void initSubscriptions(const std::string& contentID, std::optional<std::string> title,
                           std::optional<std::string> url, std::shared_ptr<ui::View> parentView,
                           std::shared_ptr<QuillgateCompletionHandlerDelegate> completiondelegate,
                           std::shared_ptr<QuillgateSubscribeBtnTapDelegate> subscriberDelegate,
                           std::shared_ptr<QuillgateSignBtnTapDelegate> signInDelegate,
                           bool showCrossButton,
                           std::shared_ptr<QuillgateGoogleLogInDelegate> googleLogInDelegate);

    void autoLogIn(const std::string& contentID, const std::string& clientID,
                   const std::string& token, std::optional<std::string> email,
                   std::optional<std::string> phone, std::shared_ptr<ui::View> parentView,
                   std::shared_ptr<QuillgateAutoLogInDelegate> autoLogInDelegate);
    void getUserDetail(std::shared_ptr<QuillgateUserDetailsDelegate> completiondelegate);
    void getlogout(std::shared_ptr<Quillgatelogout> logoutBtnDelegate);
    // Stops the ping and reports the exit; no state of the client changes.
    void exitSDK();
    // The flow-ending deep link ("orvelant://home?id=..."), as its absolute text.
    void handleRelaunchApp(const std::string& url) override;
    void payBtnTap(bool event, bool isLogin) override;
    void onlyLoginFlow(const std::string& clientID, std::shared_ptr<ui::View> parentView);

    // ---- Preview ------------------------------------------------------------------------

    // The screens a publisher can look at before any reader does.
    enum class PreviewScreen { paywall, defaultPaywall, meterBanner, popUp };
    // Puts one screen into parentView through the same builders the access flow uses, from
    // the fields already set (customizePayWallModel with the journey's paywall action,
    // contentDetailsModel, meterModel, popUpModel), without asking the service anything.
    // A screen the builder hands on (the default paywall of an unknown template, the popup)
    // goes up on a later turn of the main queue. The caller provisions the fonts first.
    void presentPreview(PreviewScreen screen);

    // ---- Public properties with a change rule ---------------------------------------------

    // Pixels and percent the reader has scrolled. Every assignment (also of the same value)
    // replaces a negative value by 0, prints the new value and shows what is waiting for a
    // scroll threshold: the meter banner under a page-view meter, else the paywall at once.
    int scrollDepth() const { return scrollDepth_; }
    void setScrollDepth(int value);
    float scrollDepthPercentage() const { return scrollDepthPercentage_; }
    void setScrollDepthPercentage(float value);

    // ---- The screens' requests (quillgateVCDelegate) ------------------------------------

    void closeScreens() override;
    void startWebFlow(const std::string& contentID, ContentType contentType,
                      const std::string& text) override;
    void subscribeTap(bool logEvent) override;
    void contactLogin(const std::string& contact) override;
    void openWebFlow(const std::string& address, bool isAutoLogin) override;

    // ---- State of the current article, in the order the client keeps it -----------------

    std::shared_ptr<ui::View> parentView;
    std::string clientID;
    std::string contentID;
    std::string paywallId;
    std::string paywallType;
    double paywallHeight = 0;
    PAYWALLTYPE paywallDisplayType = PAYWALLTYPE::INARTICLE;
    std::string numOfCta;
    std::string paywallName;
    std::optional<std::string> title;
    std::optional<std::vector<std::string>> categories;
    std::optional<std::vector<std::string>> sections;
    std::optional<std::vector<std::string>> tags;
    std::optional<std::string> contentUrl;
    std::optional<std::string> authorName;
    std::optional<std::string> url;
    std::optional<std::string> tierId;  // nothing assigns it: stays absent
    std::optional<bool> availFreeTrialVar;
    int apiCallCount = 0;
    // The screens on show. Their classes arrive with the screens themselves.
    std::shared_ptr<ui::ViewController> blockerVC;       // the default paywall
    std::shared_ptr<ui::ViewController> webVC;           // the web flow screen
    std::shared_ptr<ui::ViewController> subscriptionVC;  // the subscription screen
    std::shared_ptr<SharedData> customPayWallVC;         // a template paywall or the banner
    std::shared_ptr<ui::View> popUpView;
    std::optional<ScreenType> screenType;
    std::optional<ContentDetails> contentDetailsModel;
    std::optional<UserJourneyModel> userJourneyModel;
    std::optional<PopUpModel> popUpModel;
    std::optional<MeterModel> meterModel;
    SharedCustomizePayWallModel customizePayWallModel;  // null: absent
    std::weak_ptr<QuillgateCompletionHandlerDelegate> completionHandlerDelegate;
    std::weak_ptr<QuillgateSubscribeBtnTapDelegate> subscriberBtnDelegate;
    std::weak_ptr<QuillgateSignBtnTapDelegate> signInBtnDelegate;
    std::weak_ptr<QuillgateUserDetailsDelegate> getUserDetailDelegate;
    std::weak_ptr<Quillgatelogout> logoutBtnDelegate;
    std::weak_ptr<QuillgateAutoLogInDelegate> autoLogInDelegate;
    std::weak_ptr<QuillgateGoogleLogInDelegate> googleLogInDelegate;
    std::weak_ptr<QuillgateEventParamsDelegate> eventParamsDelegate;
    Mode mode = Mode::stage;
    // Only the toast reads it: printed lines never depend on it.
    bool debugMode = false;
    std::optional<bool> crossButton;
    ui::Color accentColor = ui::Color::red();
    // Stored and read back; nothing in the library consults it.
    int pageLength = 0;
    bool isNeedToShowPopUp = true;
    bool isNeedToShowMeterBanner = true;
    bool isNeedToShowPaywall = true;
    bool isDefaultPaywall = false;

    // Where the remote parties live. The host may replace it before its first request.
    Deployment deployment = Deployment::builtIn();

    // A weak reference to the client, for completions that must not outlive it.
    std::weak_ptr<const void> weakSelf() const { return weak_from_this(); }

  private:
    friend struct QuillgateClientTestAccess;

    QuillgateClient();

    // Throws away all state of the previous article.
    void resetValues();
    // Runs the scroll change rule after an assignment of either scroll value.
    void scrollDepthDidChange();
    // Runs `task` on the main queue after `seconds`, while the client is alive.
    void scheduleAfter(double seconds, std::function<void(QuillgateClient&)> task);

    // ---- The access flow -----------------------------------------------------------------

    // Entry of the flow: checks the preconditions and starts the first request.
    void startProcess();
    // "get" /login-challenge/<stored challenge>, and what its answer sets in motion.
    void handleLoginChallenge(const std::string& contentID, const std::string& clientID);
    // "get" /journey with the sixteen keys, and the decision on its answer.
    void handleUserJourney(const std::string& contentID, const std::string& clientID);
    // A decoded journey: the access type, the page view, what the host hears, what comes next.
    void handleJourneyAnswer(UserJourneyModel journey, const std::string& contentID,
                             const std::string& clientID);
    // The four conditions under which the subscription screen may be fetched.
    bool canShowSubscriptions() const;
    // purchasedOrNot on the host's completion delegate, while it is alive.
    void tellHost(bool accessTime);
    // "get" /subscription/access for the subscription entry.
    void checkSubscriptionAccess(const std::string& contentID, const std::string& clientID,
                                 const std::optional<std::string>& title,
                                 const std::optional<std::string>& url);
    // "get" /content: the offer for a locked article.
    void loadContentDetails(const std::string& contentID, const std::string& clientID);
    // "get" /subscription/embedded-subscription, then the subscription screen.
    void loadEmbeddedSubscription();
    // "get" /client/popup/<popup action id>.
    void loadPopUpModel();
    // "get" /metering/banner/<metering action id>.
    void loadMeterBanner();
    // "get" /paywall/paywall-config/<client id> with "paywallId".
    void loadPaywallConfig(const std::string& clientID);

    // ---- Condition gates and presentations ------------------------------------------------

    // Gate of the meter banner.
    void showMeterBanner();
    // Gate of the default paywall.
    void showDefaultPaywallView();
    // Gate of a template paywall.
    void showCustomizePayWall(SharedCustomizePayWallModel model);
    // Gate of the popup.
    void popUpCheck();
    // Schedules presentMeterBanner after `delay` seconds.
    void showMeterBannerView(double delay);
    // Adds the meter banner to the parent view.
    void presentMeterBanner();
    // Adds the default paywall to the parent view.
    void presentDefaultPaywall();
    // Routes the template name to its screen and adds it to the parent view.
    void presentCustomizePayWall(SharedCustomizePayWallModel model);
    // Shows the popup after `delay` seconds.
    void showPopUp(double delay);
    // Adds the subscription screen with the plans of the embedded subscription.
    void presentSubscriptionScreen(EmbededSubscription model);
    // Refreshes the template or banner that stands on show.
    void reloadSDK();

    // ---- Sign-in -------------------------------------------------------------------------

    // Makes and stores a new login challenge.
    void generateLoginChallenge();
    // `address` + "?" + the entries of `parameters`, each key and value percent-encoded.
    std::string buildAddress(const std::string& address, const nlohmann::json& parameters);

    int scrollDepth_ = 0;
    float scrollDepthPercentage_ = 0;
};

}  // namespace quillgate

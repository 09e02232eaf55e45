#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "tools/devserver/Reply.h"
#include "tools/devserver/Scenario.h"

// The stateful heart of the devserver: what the access service knows about readers, users,
// sessions, login challenges, purchases and page-view meters, and the REST answers computed
// from it. Every answer is a record of the library, encoded with the library's encoder.
//
// The HTTP layer (DevServer) and the web pages (WebPages) call in from the HTTP servers'
// worker threads; one mutex guards all state, so every public operation is thread-safe and
// atomic. Time comes from an injected clock so that tests can move it.

namespace quillgate::devserver {

using WallClock = std::function<std::chrono::system_clock::time_point()>;

// The addresses the answers point at (subscription page, images), known once the servers
// have their ports.
struct ServiceBases {
    std::string apiBase;  // "http://127.0.0.1:<port>/api/v1"
    std::string webBase;  // "http://127.0.0.1:<port>/", with the trailing slash
};

// A right a user holds: an article (or a bundle and thereby its articles), a pass for all of
// a publisher's articles, or a subscription.
struct Right {
    RightKind kind = RightKind::content;
    std::string clientId;
    std::string clientContentId;
    std::string tierId;
    bool freeTrial = false;
    std::chrono::system_clock::time_point expires;
    std::string signature;
};

// Who signed in, as the web pages need it.
struct SignIn {
    bool ok = false;
    std::string message;
    std::string userId;
    std::string sessionId;
    std::string name;
    std::string token;
};

// How a reader identifies on a web page: a typed e-mail or phone number, or a token.
struct Identity {
    std::string email;
    std::string phone;
    std::string token;
};

enum class PurchaseKind { content, pass, subscription };

struct Purchase {
    PurchaseKind kind = PurchaseKind::content;
    std::string clientId;
    std::string clientContentId;  // content
    std::string tierId;           // subscription
    bool freeTrial = false;       // subscription
};

struct PurchaseOutcome {
    bool ok = false;
    std::string message;  // what was bought, or why not
};

// A challenge as the web pages see it.
struct ChallengeView {
    std::string id;
    std::string redirectTo;
    std::string sessionId;
    std::string userId;
};

class AccessService {
  public:
    AccessService(const Scenario& scenario, WallClock clock);

    void setBases(ServiceBases bases);
    // Back to the scenario's initial state: readers, meters, sessions, challenges, purchases
    // and users made since start are forgotten.
    void reset();

    // The REST routes. `params` are the query parameters; `body` the raw request body.
    Reply journey(const Params& params);
    Reply loginChallenge(const std::string& id);
    Reply postLoginChallenge(const std::string& body);
    Reply logout(const Params& params, const std::string& body);
    Reply paywallConfig(const std::string& clientId, const Params& params);
    Reply popup(const std::string& id);
    Reply meteringBanner(const std::string& id);
    Reply contentAccess(const Params& params, const std::string& body);
    Reply subscriptionAccess(const Params& params);
    Reply content(const Params& params);
    Reply user(const std::string& sessionId, const Params& params);
    Reply subscriptionSettings(const Params& params);
    Reply currencyConversion(const Params& params);
    Reply embeddedSubscription(const Params& params);

    // For the web pages.
    std::optional<ChallengeView> challenge(const std::string& id);
    // Finds the user (by token, else e-mail, else phone; an unknown contact registers a new
    // user), opens a session and, when `challengeId` names a known challenge, attaches the
    // session and user to it so that the next GET of the challenge answers them.
    SignIn signIn(const std::string& clientId, const Identity& identity,
                  const std::string& challengeId);
    PurchaseOutcome purchase(const std::string& userId, const Purchase& purchase);
    // The article as the service knows it (created on first sight like the journey does).
    std::optional<Article> article(const std::string& clientId, const std::string& contentId);
    // Wallet balance text of a user, for the pages.
    std::string walletText(const std::string& userId);

    // Everything the service holds now, for the control API.
    nlohmann::ordered_json stateSnapshot();

  private:
    struct User {
        std::string id;
        std::string email;
        std::string phone;
        std::vector<std::string> tokens;
        UserDetails details;
        std::vector<Right> rights;
    };
    struct Session {
        std::string id;
        std::string userId;
    };
    struct Challenge {
        std::string id;
        std::string redirectTo;
        std::string sessionId;
        std::string userId;
    };
    struct Reader {
        // Articles counted by the page-view meter, per publisher.
        std::map<std::string, std::set<std::string>> metered;
    };

    using Clock = std::chrono::system_clock;

    void resetLocked();
    User* userBySession(const std::string& sessionId);
    User* userById(const std::string& userId);
    const Article* articleLocked(const std::string& clientId, const std::string& contentId,
                                 const Params* params);
    const Right* coveringRight(const User& user, const Article& article);
    std::string absolute(const std::string& address) const;
    ContentDetails contentDetails(const Publisher& publisher, const Article& article,
                                  const User* user);
    Reply accessAnswer(const std::string& clientId, const std::string& contentId,
                       const std::string& sessionId);

    const Scenario& scenario_;
    WallClock clock_;
    std::mutex mutex_;
    ServiceBases bases_;
    std::chrono::system_clock::time_point startedAt_;
    std::map<std::string, User> users_;
    std::map<std::string, Session> sessions_;
    std::map<std::string, Challenge> challenges_;
    std::map<std::string, Reader> readers_;
    // The fixed ends of the timers counted from a paywall's first answer, by paywall id.
    std::map<std::string, std::chrono::system_clock::time_point> timerEnds_;
    // Articles first seen through a request, by (client id, content id).
    std::map<std::pair<std::string, std::string>, Article> createdArticles_;
};

}  // namespace quillgate::devserver

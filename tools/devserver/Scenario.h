#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"

// The scenario: everything the devserver knows before the first request, read from the JSON
// files of its data directory (publishers, articles, users, paywall actions, the metering
// banner, popups, fonts). Every record-shaped part is decoded with the library's own strict
// decoders while loading, so a data file that the library could not read is refused at start
// with the file, the entry and the failing key path, instead of surfacing as a puzzling
// decode failure in a client later.
//
// A loaded Scenario is immutable; the access service copies what it changes (users, rights)
// into its own state. Safe to share between threads once loaded.

namespace quillgate::devserver {

enum class ArticleKind { free, premium, metered, regwall, bundle };

// The page-view meter of a publisher: how many articles a reader may open before the wall,
// and the banner shown meanwhile.
struct MeterSettings {
    std::string bannerActionId;
    int64_t allowLimit = 0;
    ViewMeter viewMeter;
};

struct Publisher {
    std::string clientId;
    std::string name;
    std::string currency;
    std::string currencySymbol;
    // Unknown content identities of this publisher behave like this article (the service
    // creates content records on first sight).
    std::string newArticlesLike;
    // The e-mail the web pages offer when the reader hasn't typed one.
    std::string demoReader;
    int64_t articleAccessDays = 30;
    std::optional<MeterSettings> meter;
    std::optional<ValidPass> pass;  // duration in days
    std::optional<MicroPricing> microPricing;
    std::optional<CouponDetails> coupon;
    std::optional<PaywallCustomization> paywallCustomization;
    std::optional<EmbededSubscription> plans;  // tier durations in months
};

struct Article {
    std::string clientId;
    std::string clientContentId;
    ArticleKind kind = ArticleKind::premium;
    std::optional<std::string> paywall;  // paywall action id; absent: no journey applies
    std::optional<std::string> popup;    // popup action id
    // The banner the page-view meter shows on this article, when not the publisher's.
    std::optional<std::string> banner;
    Content content;
    // Merged over the content details the service answers for this article (a null member
    // removes that key): lets an article offer no price, no pass or no subscriptions.
    std::optional<nlohmann::ordered_json> contentDetails;
};

enum class RightKind { content, pass, subscription };

// A right a user holds from the start, lasting `days` from the moment the service starts.
struct RightSpec {
    std::string clientId;
    RightKind kind = RightKind::content;
    std::string clientContentId;  // content rights
    std::string tierId;           // subscriptions
    int64_t days = 30;
};

struct UserSpec {
    std::string email;
    std::string phone;
    std::vector<std::string> tokens;  // auto-login tokens
    UserDetails details;
    std::vector<RightSpec> rights;
};

// A paywall action: what a journey names under "actionId", and the configuration that
// /paywall/paywall-config answers for it (its style document merged over style.json).
struct PaywallSetup {
    std::string id;
    std::string message;
    Conditions conditions;
    // When set, the configuration's timer ends this many seconds after the answer.
    std::optional<int64_t> timerSecondsFromNow;
    // When set, the configuration's timer ends this many seconds after the first answer
    // for this paywall, and keeps that end on later answers (until the service is reset):
    // a countdown that runs out while its wall is up, and stays over when asked again.
    std::optional<int64_t> timerSecondsFromFirstRequest;
    CustomizePayWallModel config;
};

struct BannerSetup {
    std::string id;
    PurpleConditions conditions;  // its viewMeter comes from the publisher
    MeterModel config;
};

struct PopupSetup {
    std::string id;
    Conditions conditions;
    PopUpModel popup;
};

// One entry of the font download table, and the local file that stands in for it.
struct FontFile {
    std::string key;
    std::string host;  // "web-font" or "source-repository"
    std::string path;  // behind the host's base
    std::string fileName;
    std::optional<std::filesystem::path> file;  // absent when no font directory holds it
};

struct Scenario {
    std::filesystem::path dataDir;
    std::vector<Publisher> publishers;
    std::vector<Article> articles;
    std::vector<UserSpec> users;
    std::map<std::string, PaywallSetup> paywalls;
    std::map<std::string, BannerSetup> banners;
    std::map<std::string, PopupSetup> popups;
    std::vector<FontFile> fonts;

    const Publisher* publisher(const std::string& clientId) const;
    const Article* article(const std::string& clientId, const std::string& contentId) const;
    std::filesystem::path staticDir() const { return dataDir / "static"; }
};

struct ScenarioLoad {
    std::optional<Scenario> scenario;
    std::string error;  // the file, the entry and what is wrong, when loading failed
};

// Reads and checks every file of `dataDir`. Never throws.
ScenarioLoad loadScenario(const std::filesystem::path& dataDir);

std::string kindName(ArticleKind kind);

}  // namespace quillgate::devserver

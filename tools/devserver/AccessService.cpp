#include "tools/devserver/AccessService.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "quillgate/records/RecordCoding.h"
#include "tools/devserver/Encoding.h"

namespace quillgate::devserver {

namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;
constexpr auto kDay = std::chrono::hours(24);
// Access of a registered reader to a registration-walled article, renewed on every visit.
constexpr int64_t kRegisteredAccessSeconds = 24 * 60 * 60;

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// List parameters arrive in two forms: the journey prints a list as `["a", "b"]` in one
// value, other routes repeat the key. Empty entries (the client's `[""]` default) are dropped.
std::vector<std::string> listParam(const Params& params, const std::string& key) {
    std::vector<std::string> out;
    auto [begin, end] = params.equal_range(key);
    for (auto it = begin; it != end; ++it) {
        const std::string& value = it->second;
        bool parsed = false;
        if (!value.empty() && value.front() == '[') {
            const Json list = Json::parse(value, nullptr, false);
            if (list.is_array()) {
                parsed = true;
                for (const Json& item : list) {
                    if (item.is_string() && !item.get<std::string>().empty()) {
                        out.push_back(item.get<std::string>());
                    }
                }
            }
        }
        if (!parsed && !value.empty()) {
            out.push_back(value);
        }
    }
    return out;
}

// Something@something.something, with nothing more to it: enough to catch a slip of the
// finger on the sign-in page.
bool plausibleEmail(const std::string& email) {
    const auto at = email.find('@');
    if (at == std::string::npos || at == 0 || email.find('@', at + 1) != std::string::npos) {
        return false;
    }
    const auto dot = email.rfind('.');
    return dot != std::string::npos && dot > at + 1 && dot + 1 < email.size();
}

// Parameters of a POST may come in the query or as keys of a JSON body.
Params withBody(Params params, const std::string& body) {
    const Json parsed = Json::parse(body, nullptr, false);
    if (parsed.is_object()) {
        for (const auto& [key, value] : parsed.items()) {
            if (value.is_string() && !hasParam(params, key)) {
                params.emplace(key, value.get<std::string>());
            }
        }
    }
    return params;
}

double balanceOf(const UserDetails& details) {
    if (details.wallet && details.wallet->balance && details.wallet->balance->numberString) {
        return std::strtod(details.wallet->balance->numberString->c_str(), nullptr);
    }
    return 0.0;
}

void setBalance(UserDetails& details, double amount, const std::string& currency) {
    if (!details.wallet) {
        details.wallet = Wallet{};
        details.wallet->currency = currency;
    }
    details.wallet->balance = Balance{decimalText(amount)};
}

std::string rightKindName(RightKind kind) {
    switch (kind) {
        case RightKind::content:
            return "content";
        case RightKind::pass:
            return "pass";
        case RightKind::subscription:
            return "subscription";
    }
    return "content";
}

}  // namespace

AccessService::AccessService(const Scenario& scenario, WallClock clock)
    : scenario_(scenario), clock_(std::move(clock)) {
    if (!clock_) {
        clock_ = [] { return std::chrono::system_clock::now(); };
    }
    resetLocked();
}

void AccessService::setBases(ServiceBases bases) {
    std::lock_guard lock(mutex_);
    bases_ = std::move(bases);
}

void AccessService::reset() {
    std::lock_guard lock(mutex_);
    resetLocked();
}

void AccessService::resetLocked() {
    startedAt_ = clock_();
    users_.clear();
    sessions_.clear();
    challenges_.clear();
    readers_.clear();
    createdArticles_.clear();
    timerEnds_.clear();
    for (const UserSpec& spec : scenario_.users) {
        User user;
        user.id = spec.details._id.value_or(randomHex(24));
        user.email = lower(spec.email);
        user.phone = spec.phone;
        user.tokens = spec.tokens;
        user.details = spec.details;
        user.details._id = user.id;
        for (const RightSpec& r : spec.rights) {
            Right right;
            right.kind = r.kind;
            right.clientId = r.clientId;
            right.clientContentId = r.clientContentId;
            right.tierId = r.tierId;
            right.expires = startedAt_ + r.days * kDay;
            right.signature = randomHex(32);
            user.rights.push_back(std::move(right));
        }
        users_.emplace(user.id, std::move(user));
    }
}

AccessService::User* AccessService::userBySession(const std::string& sessionId) {
    if (sessionId.empty()) {
        return nullptr;
    }
    auto it = sessions_.find(sessionId);
    return it == sessions_.end() ? nullptr : userById(it->second.userId);
}

AccessService::User* AccessService::userById(const std::string& userId) {
    auto it = users_.find(userId);
    return it == users_.end() ? nullptr : &it->second;
}

const Article* AccessService::articleLocked(const std::string& clientId,
                                            const std::string& contentId, const Params* params) {
    if (const Article* known = scenario_.article(clientId, contentId)) {
        return known;
    }
    if (auto it = createdArticles_.find({clientId, contentId}); it != createdArticles_.end()) {
        return &it->second;
    }
    // Like the real service, a content identity seen for the first time becomes a content
    // record, here shaped after the publisher's model article.
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher || publisher->newArticlesLike.empty()) {
        return nullptr;
    }
    const Article* model = scenario_.article(clientId, publisher->newArticlesLike);
    if (!model) {
        return nullptr;
    }
    Article created = *model;
    created.clientContentId = contentId;
    Content& c = created.content;
    c.clientContentID = contentId;
    c.id = randomHex(24);
    c.automaticallyCreated = true;
    c.bundle = false;
    c.bundleContentIDS = std::vector<std::string>{};
    const std::string now = isoTime(clock_());
    c.createdAt = now;
    c.updatedAt = now;
    if (params) {
        if (auto title = param(*params, "title"); !title.empty())
            c.title = title;
        if (auto url = param(*params, "url"); !url.empty())
            c.url = url;
        if (auto author = param(*params, "authorName"); !author.empty())
            c.authorName = author;
        if (auto tags = listParam(*params, "tags"); !tags.empty())
            c.tags = tags;
        if (auto cats = listParam(*params, "categories"); !cats.empty())
            c.categories = cats;
        if (auto secs = listParam(*params, "sections"); !secs.empty())
            c.sections = secs;
    }
    auto [it, inserted] = createdArticles_.emplace(std::make_pair(clientId, contentId), created);
    return &it->second;
}

const Right* AccessService::coveringRight(const User& user, const Article& article) {
    const auto now = clock_();
    const Right* best = nullptr;
    auto rank = [](RightKind kind) {
        return kind == RightKind::content ? 0 : kind == RightKind::pass ? 1 : 2;
    };
    for (const Right& right : user.rights) {
        if (right.clientId != article.clientId || right.expires <= now) {
            continue;
        }
        bool covers = false;
        switch (right.kind) {
            case RightKind::content: {
                if (right.clientContentId == article.clientContentId) {
                    covers = true;
                } else if (const Article* bought =
                               articleLocked(right.clientId, right.clientContentId, nullptr)) {
                    const auto& members = bought->content.bundleContentIDS;
                    covers = bought->content.bundle.value_or(false) && members &&
                             std::find(members->begin(), members->end(), article.clientContentId) !=
                                 members->end();
                }
                break;
            }
            case RightKind::pass:
                covers = true;
                break;
            case RightKind::subscription:
                covers = !article.content.excludeFromSubscription.value_or(false);
                break;
        }
        if (covers && (!best || rank(right.kind) < rank(best->kind))) {
            best = &right;
        }
    }
    return best;
}

std::string AccessService::absolute(const std::string& address) const {
    if (address.empty() || address.find("://") != std::string::npos) {
        return address;
    }
    return bases_.webBase + address;
}

Reply AccessService::journey(const Params& params) {
    std::lock_guard lock(mutex_);
    const std::string clientId = param(params, "clientId");
    const std::string anonId = param(params, "anonId");
    const std::string contentId = param(params, "clientContentId");
    if (clientId.empty()) {
        return Reply::error(400, "clientId should not be empty");
    }
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return Reply::error(404, "Client not found");
    }
    if (anonId.empty()) {
        return Reply::error(400, "anonId should not be empty");
    }
    if (contentId.empty()) {
        return Reply::error(400, "clientContentId should not be empty");
    }
    const Article* article = articleLocked(clientId, contentId, &params);
    if (!article) {
        return Reply::error(404, "Content not found");
    }
    const User* user = userBySession(param(params, "sessionId"));
    const auto now = clock_();

    UserJourneyModel j;
    j.sessionExists = user != nullptr;
    j.unlockedWithMicropayMeter = false;
    j.unlockedWithPass = false;
    j.unlockedWithContent = false;
    j.freeAccess = false;
    j.unlockedWithSubscription = false;
    j.noJourneySatisfied = false;
    j.isAdfreePurchased = false;
    j.unlockedWithRegwall = false;
    j.unlockedWithPageViewMeter = false;
    j.isRegWall = false;
    j.isPremium = article->kind != ArticleKind::free;
    j.consumptionID = randomHex(24);
    j.downloadExists = false;
    j.content = article->content;
    if (article->popup) {
        const PopupSetup& popup = scenario_.popups.at(*article->popup);
        PopupActionData data;
        data.popupActionID = popup.id;
        data.conditions = popup.conditions;
        j.popupAction = quillgate::PopupAction{false, "Popup for this content", data};
    }

    const Right* right = user ? coveringRight(*user, *article) : nullptr;
    if (article->kind == ArticleKind::free) {
        j.freeAccess = true;
        j.message = "Free content";
    } else if (right) {
        const auto left = std::chrono::duration_cast<std::chrono::seconds>(right->expires - now);
        j.accessTimeLeft = std::max<int64_t>(1, left.count());
        j.signature = right->signature;
        switch (right->kind) {
            case RightKind::content:
                j.unlockedWithContent = true;
                j.message = "Unlocked with a purchase of this content";
                break;
            case RightKind::pass:
                j.unlockedWithPass = true;
                j.message = "Unlocked with a pass";
                break;
            case RightKind::subscription:
                j.unlockedWithSubscription = true;
                j.message = "Unlocked with a subscription";
                break;
        }
    } else if (article->kind == ArticleKind::regwall && user) {
        j.unlockedWithRegwall = true;
        j.accessTimeLeft = kRegisteredAccessSeconds;
        j.message = "Unlocked for a registered reader";
    } else {
        bool metered = false;
        if (article->kind == ArticleKind::metered && publisher->meter) {
            const MeterSettings& meter = *publisher->meter;
            auto& counted = readers_[anonId].metered[clientId];
            const bool seen = counted.count(contentId) > 0;
            if (seen || static_cast<int64_t>(counted.size()) < meter.allowLimit) {
                counted.insert(contentId);
                metered = true;
                const int64_t left = meter.allowLimit - static_cast<int64_t>(counted.size());
                const BannerSetup& banner =
                    scenario_.banners.at(article->banner.value_or(meter.bannerActionId));
                MeteringActionData data;
                data.showBanner = true;
                data.conditions = banner.conditions;
                data.conditions->viewMeter = meter.viewMeter;
                data.actionID = banner.id;
                data.variables = Variables{std::to_string(std::max<int64_t>(0, left))};
                j.meteringAction = MeteringAction{false, data};
                j.unlockedWithPageViewMeter = true;
                j.message = "Unlocked with the page view meter";
            }
        }
        if (!metered) {
            j.isRegWall = article->kind == ArticleKind::regwall;
            if (article->paywall) {
                const PaywallSetup& pw = scenario_.paywalls.at(*article->paywall);
                ActionIDData data;
                data.conditions = pw.conditions;
                data.actionID = pw.id;
                j.actionID = ActionID{pw.config.isFallback.value_or(false), pw.message, data};
                j.message = "Paywall";
            } else {
                j.noJourneySatisfied = true;
                j.message = "No journey satisfied";
            }
        }
    }
    // Remember readers even when no meter counted them, so the state lists every reader.
    readers_.try_emplace(anonId);
    return Reply::json(200, encode(j));
}

Reply AccessService::loginChallenge(const std::string& id) {
    std::lock_guard lock(mutex_);
    auto it = challenges_.find(id);
    if (it == challenges_.end()) {
        return Reply::error(404, "Login challenge not found");
    }
    LoginChallenge answer;
    answer.loginChallengeID = it->second.id;
    answer.redirectTo = it->second.redirectTo;
    if (!it->second.sessionId.empty()) {
        answer.sessionID = it->second.sessionId;
        answer.userID = it->second.userId;
    }
    return Reply::json(200, encode(answer));
}

Reply AccessService::postLoginChallenge(const std::string& body) {
    std::lock_guard lock(mutex_);
    const Json parsed = Json::parse(body, nullptr, false);
    if (!parsed.is_object()) {
        return Reply::error(400, "The body must be a JSON object");
    }
    const Json redirect = parsed.value("redirectTo", Json());
    if (!redirect.is_string() || redirect.get<std::string>().empty()) {
        return Reply::error(400, "redirectTo should not be empty");
    }
    Challenge challenge;
    const Json id = parsed.value("loginChallengeId", Json());
    challenge.id =
        id.is_string() && !id.get<std::string>().empty() ? id.get<std::string>() : randomHex(32);
    challenge.redirectTo = redirect.get<std::string>();
    challenges_[challenge.id] = challenge;
    LoginChallenge answer;
    answer.loginChallengeID = challenge.id;
    answer.redirectTo = challenge.redirectTo;
    return Reply::json(201, encode(answer));
}

Reply AccessService::logout(const Params& params, const std::string& body) {
    std::lock_guard lock(mutex_);
    const std::string sessionId = param(withBody(params, body), "sessionId");
    if (sessionId.empty()) {
        return Reply::error(400, "sessionId should not be empty");
    }
    if (sessions_.erase(sessionId) == 0) {
        return Reply::error(404, "Session not found");
    }
    LogoutModel answer;
    answer.message = "You have been logged out";
    return Reply::json(201, encode(answer));
}

Reply AccessService::paywallConfig(const std::string& clientId, const Params& params) {
    std::lock_guard lock(mutex_);
    if (!scenario_.publisher(clientId)) {
        return Reply::error(404, "Client not found");
    }
    const std::string paywallId = param(params, "paywallId");
    if (paywallId.empty()) {
        return Reply::error(400, "paywallId should not be empty");
    }
    auto it = scenario_.paywalls.find(paywallId);
    if (it == scenario_.paywalls.end()) {
        return Reply::error(404, "Paywall not found");
    }
    CustomizePayWallModel config = it->second.config;
    std::optional<std::chrono::system_clock::time_point> timerEnd;
    if (it->second.timerSecondsFromNow) {
        timerEnd = clock_() + std::chrono::seconds(*it->second.timerSecondsFromNow);
    } else if (it->second.timerSecondsFromFirstRequest) {
        timerEnd =
            timerEnds_
                .try_emplace(paywallId, clock_() + std::chrono::seconds(
                                                       *it->second.timerSecondsFromFirstRequest))
                .first->second;
    }
    if (timerEnd && config.data && config.data->configuration &&
        config.data->configuration->mobile && config.data->configuration->mobile->json) {
        auto& json = *config.data->configuration->mobile->json;
        if (!json.timerValue) {
            json.timerValue = TimerInfo{};
        }
        json.timerValue->time = timerTime(*timerEnd);
    }
    return Reply::json(200, encode(config));
}

Reply AccessService::popup(const std::string& id) {
    std::lock_guard lock(mutex_);
    auto it = scenario_.popups.find(id);
    if (it == scenario_.popups.end()) {
        return Reply::error(404, "Popup not found");
    }
    PopUpModel popup = it->second.popup;
    if (popup.imageURL && popup.imageURL->find("://") == std::string::npos) {
        std::error_code ec;
        const auto size = std::filesystem::file_size(scenario_.dataDir / *popup.imageURL, ec);
        if (!ec) {
            popup.imageFileSizeBytes = static_cast<int64_t>(size);
        }
        popup.imageURL = absolute(*popup.imageURL);
    }
    return Reply::json(200, encode(popup));
}

Reply AccessService::meteringBanner(const std::string& id) {
    std::lock_guard lock(mutex_);
    auto it = scenario_.banners.find(id);
    if (it == scenario_.banners.end()) {
        return Reply::error(404, "Metering banner not found");
    }
    return Reply::json(200, encode(it->second.config));
}

Reply AccessService::accessAnswer(const std::string& clientId, const std::string& contentId,
                                  const std::string& sessionId) {
    if (clientId.empty() || contentId.empty()) {
        return Reply::error(400, "clientId and clientContentId should not be empty");
    }
    if (!scenario_.publisher(clientId)) {
        return Reply::error(404, "Client not found");
    }
    const Article* article = articleLocked(clientId, contentId, nullptr);
    if (!article) {
        return Reply::error(404, "Content not found");
    }
    const User* user = userBySession(sessionId);
    if (!user) {
        return Reply::json(200, OrderedJson{{"error", "Session not found"}});
    }
    const Right* right = coveringRight(*user, *article);
    if (!right) {
        return Reply::json(200, OrderedJson{{"error",
                                             "No purchase or subscription covers this "
                                             "content"}});
    }
    PurchaseModel answer;
    answer.signature = right->signature;
    return Reply::json(200, encode(answer));
}

Reply AccessService::contentAccess(const Params& params, const std::string& body) {
    std::lock_guard lock(mutex_);
    const Params all = withBody(params, body);
    Reply reply = accessAnswer(param(all, "clientId"), param(all, "clientContentId"),
                               param(all, "sessionId"));
    if (reply.status == 200) {
        reply.status = 201;
    }
    return reply;
}

Reply AccessService::subscriptionAccess(const Params& params) {
    std::lock_guard lock(mutex_);
    return accessAnswer(param(params, "clientId"), param(params, "clientContentId"),
                        param(params, "sessionId"));
}

ContentDetails AccessService::contentDetails(const Publisher& publisher, const Article& article,
                                             const User* user) {
    ContentDetails details;
    details.price = static_cast<double>(article.content.price.value_or(0));
    details.currencySymbol = publisher.currencySymbol;
    // The client appends "Orvelant" and "&..." pairs to this address, so it ends with an open
    // query value on purpose.
    details.subscriptionUrl =
        bases_.webBase + "subscription?clientId=" + percentEncode(publisher.clientId) +
        "&clientContentId=" + percentEncode(article.clientContentId) + "&source=";
    details.subscriptionsExist = publisher.plans && !publisher.plans->subscriptions.empty();
    if (user && user->details.wallet) {
        details.userDetails = UserDetail{user->details.wallet};
    }
    details.paywallCustomization = publisher.paywallCustomization;
    details.validPass = publisher.pass;
    details.microPricing = publisher.microPricing;
    // A coupon for new readers only is not offered to a reader who is signed in.
    if (publisher.coupon && !(publisher.coupon->newUsersOnly.value_or(false) && user)) {
        details.couponDetails = publisher.coupon;
    }
    return details;
}

Reply AccessService::content(const Params& params) {
    std::lock_guard lock(mutex_);
    const std::string clientId = param(params, "clientId");
    const std::string contentId = param(params, "clientContentId");
    if (clientId.empty() || contentId.empty()) {
        return Reply::error(400, "clientId and clientContentId should not be empty");
    }
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return Reply::error(404, "Client not found");
    }
    const Article* article = articleLocked(clientId, contentId, &params);
    if (!article) {
        return Reply::error(404, "Content not found");
    }
    const User* user = userBySession(param(params, "sessionId"));
    auto body = encode(contentDetails(*publisher, *article, user));
    if (article->contentDetails) {
        body.merge_patch(*article->contentDetails);
    }
    return Reply::json(200, body);
}

Reply AccessService::user(const std::string& sessionId, const Params& params) {
    std::lock_guard lock(mutex_);
    const std::string clientId = param(params, "clientId");
    if (!clientId.empty() && !scenario_.publisher(clientId)) {
        return Reply::error(404, "Client not found");
    }
    if (sessionId.empty()) {
        return Reply::error(400, "sessionId should not be empty");
    }
    const User* user = userBySession(sessionId);
    if (!user) {
        return Reply::error(404, "Session not found");
    }
    UserDetails details = user->details;
    const auto now = clock_();
    for (const Right& right : user->rights) {
        if (right.kind == RightKind::subscription &&
            (clientId.empty() || right.clientId == clientId)) {
            if (right.expires > now) {
                details.existingSubscriber = true;
            } else {
                details.previousSubscriber = true;
            }
        }
    }
    return Reply::json(200, encode(details));
}

Reply AccessService::subscriptionSettings(const Params& params) {
    std::lock_guard lock(mutex_);
    const std::string clientId = param(params, "clientId");
    if (clientId.empty()) {
        return Reply::error(400, "clientId should not be empty");
    }
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return Reply::error(404, "Client not found");
    }
    const size_t plans = publisher->plans ? publisher->plans->subscriptions.size() : 0;
    return Reply::json(200, OrderedJson{{"clientId", clientId},
                                        {"subscriptionsExist", plans > 0},
                                        {"subscriptionCount", plans},
                                        {"currency", publisher->currency},
                                        {"currencySymbol", publisher->currencySymbol}});
}

Reply AccessService::currencyConversion(const Params& params) {
    // The publisher's plans are kept in one currency; "conversion" answers them as they are.
    return embeddedSubscription(params);
}

Reply AccessService::embeddedSubscription(const Params& params) {
    std::lock_guard lock(mutex_);
    const std::string clientId = param(params, "clientId");
    if (clientId.empty()) {
        return Reply::error(400, "clientId should not be empty");
    }
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return Reply::error(404, "Client not found");
    }
    if (!publisher->plans) {
        return Reply::error(404, "No subscriptions found");
    }
    EmbededSubscription plans = *publisher->plans;
    for (Subscriptions& plan : plans.subscriptions) {
        plan.iconUrl = absolute(plan.iconUrl);
    }
    return Reply::json(200, encode(plans));
}

std::optional<ChallengeView> AccessService::challenge(const std::string& id) {
    std::lock_guard lock(mutex_);
    auto it = challenges_.find(id);
    if (it == challenges_.end()) {
        return std::nullopt;
    }
    return ChallengeView{it->second.id, it->second.redirectTo, it->second.sessionId,
                         it->second.userId};
}

SignIn AccessService::signIn(const std::string& clientId, const Identity& identity,
                             const std::string& challengeId) {
    std::lock_guard lock(mutex_);
    SignIn out;
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        out.message = "Unknown publisher";
        return out;
    }
    const std::string email = lower(identity.email);
    User* user = nullptr;
    for (auto& [id, candidate] : users_) {
        const bool byToken =
            !identity.token.empty() && std::find(candidate.tokens.begin(), candidate.tokens.end(),
                                                 identity.token) != candidate.tokens.end();
        if (byToken) {
            user = &candidate;
            break;
        }
    }
    for (auto& [id, candidate] : users_) {
        if (user)
            break;
        if (!email.empty() && candidate.email == email)
            user = &candidate;
    }
    for (auto& [id, candidate] : users_) {
        if (user)
            break;
        if (!identity.phone.empty() && candidate.phone == identity.phone)
            user = &candidate;
    }
    if (!user) {
        if (email.empty() && identity.phone.empty()) {
            out.message = identity.token.empty() ? "Enter an e-mail address or a phone number"
                                                 : "Invalid token";
            return out;
        }
        if (!email.empty() && !plausibleEmail(email)) {
            out.message = "Enter a valid e-mail address";
            return out;
        }
        // A contact seen for the first time registers a new reader.
        User created;
        created.id = randomHex(24);
        created.email = email;
        created.phone = identity.phone;
        created.details._id = created.id;
        created.details.name = email.empty() ? identity.phone : email.substr(0, email.find('@'));
        if (!identity.phone.empty())
            created.details.phoneNumber = identity.phone;
        created.details.existingSubscriber = false;
        created.details.previousSubscriber = false;
        created.details.promotionalOptIn = 0;
        setBalance(created.details, 0.0, publisher->currency);
        user = &users_.emplace(created.id, std::move(created)).first->second;
    }
    auto challenge = challengeId.empty() ? challenges_.end() : challenges_.find(challengeId);
    std::string sessionId;
    if (challenge != challenges_.end() && challenge->second.userId == user->id &&
        sessions_.count(challenge->second.sessionId)) {
        // A page loaded twice for one flow keeps its one session.
        sessionId = challenge->second.sessionId;
    } else {
        sessionId = randomHex(32);
        sessions_[sessionId] = Session{sessionId, user->id};
    }
    if (challenge != challenges_.end()) {
        challenge->second.sessionId = sessionId;
        challenge->second.userId = user->id;
    }
    out.ok = true;
    out.userId = user->id;
    out.sessionId = sessionId;
    out.name = user->details.name.value_or(user->email);
    out.token = identity.token.empty() ? randomHex(32) : identity.token;
    out.message = "Signed in as " + out.name;
    return out;
}

PurchaseOutcome AccessService::purchase(const std::string& userId, const Purchase& purchase) {
    std::lock_guard lock(mutex_);
    PurchaseOutcome out;
    User* user = userById(userId);
    const Publisher* publisher = scenario_.publisher(purchase.clientId);
    if (!user || !publisher) {
        out.message = !user ? "Sign in first" : "Unknown publisher";
        return out;
    }
    const auto now = clock_();
    Right right;
    right.clientId = purchase.clientId;
    right.signature = randomHex(32);
    switch (purchase.kind) {
        case PurchaseKind::content: {
            const Article* article =
                articleLocked(purchase.clientId, purchase.clientContentId, nullptr);
            if (!article) {
                out.message = "Unknown article";
                return out;
            }
            right.kind = RightKind::content;
            right.clientContentId = article->clientContentId;
            right.expires = now + publisher->articleAccessDays * kDay;
            // The wallet pays when it can; otherwise the purchase stands for a card payment.
            const double price = static_cast<double>(article->content.price.value_or(0));
            const double balance = balanceOf(user->details);
            if (price > 0 && balance >= price) {
                setBalance(user->details, balance - price, publisher->currency);
            }
            out.message =
                "Bought \"" + article->content.title.value_or(article->clientContentId) + "\"";
            break;
        }
        case PurchaseKind::pass: {
            if (!publisher->pass) {
                out.message = "This publisher sells no pass";
                return out;
            }
            right.kind = RightKind::pass;
            right.expires = now + publisher->pass->duration.value_or(1) * kDay;
            out.message = "Bought the " + publisher->pass->title.value_or("pass");
            break;
        }
        case PurchaseKind::subscription: {
            const Subscriptions* plan = nullptr;
            const Tier* tier = nullptr;
            if (publisher->plans) {
                for (const auto& p : publisher->plans->subscriptions) {
                    for (const auto& t : p.tiers) {
                        const bool match =
                            purchase.tierId.empty() ? !tier : t._id == purchase.tierId;
                        if (match && !tier) {
                            plan = &p;
                            tier = &t;
                        }
                    }
                }
            }
            if (!tier) {
                out.message = "Unknown subscription tier";
                return out;
            }
            right.kind = RightKind::subscription;
            right.tierId = tier->_id.value_or("");
            right.freeTrial = purchase.freeTrial && plan->freeTrial.enabled;
            right.expires = now + tier->duration * 30 * kDay;
            if (right.freeTrial) {
                right.expires += plan->freeTrial.duration.value_or(0) * kDay;
            }
            user->details.existingSubscriber = true;
            out.message = "Subscribed to " + plan->title + " for " +
                          std::to_string(tier->duration) + " month" +
                          (tier->duration == 1 ? "" : "s") +
                          (right.freeTrial ? ", starting with the free trial" : "");
            break;
        }
    }
    user->details.lastPurchasedOn = isoTime(now);
    user->rights.push_back(std::move(right));
    out.ok = true;
    return out;
}

std::optional<Article> AccessService::article(const std::string& clientId,
                                              const std::string& contentId) {
    std::lock_guard lock(mutex_);
    if (const Article* a = articleLocked(clientId, contentId, nullptr)) {
        return *a;
    }
    return std::nullopt;
}

std::string AccessService::walletText(const std::string& userId) {
    std::lock_guard lock(mutex_);
    const User* user = userById(userId);
    if (!user || !user->details.wallet) {
        return "";
    }
    return user->details.wallet->currency.value_or("") + " " +
           decimalText(balanceOf(user->details));
}

nlohmann::ordered_json AccessService::stateSnapshot() {
    std::lock_guard lock(mutex_);
    const auto now = clock_();
    OrderedJson readers = OrderedJson::object();
    for (const auto& [anonId, reader] : readers_) {
        OrderedJson meters = OrderedJson::object();
        for (const auto& [clientId, counted] : reader.metered) {
            meters[clientId] = counted;
        }
        readers[anonId] = {{"metered", meters}};
    }
    OrderedJson users = OrderedJson::array();
    for (const auto& [id, user] : users_) {
        OrderedJson rights = OrderedJson::array();
        for (const Right& r : user.rights) {
            rights.push_back({{"kind", rightKindName(r.kind)},
                              {"clientId", r.clientId},
                              {"clientContentId", r.clientContentId},
                              {"tierId", r.tierId},
                              {"freeTrial", r.freeTrial},
                              {"active", r.expires > now},
                              {"expires", isoTime(r.expires)}});
        }
        users.push_back(
            {{"userId", id},
             {"email", user.email},
             {"phone", user.phone},
             {"wallet", user.details.wallet ? decimalText(balanceOf(user.details)) : ""},
             {"rights", rights}});
    }
    OrderedJson sessions = OrderedJson::array();
    for (const auto& [id, session] : sessions_) {
        sessions.push_back({{"sessionId", id}, {"userId", session.userId}});
    }
    OrderedJson challenges = OrderedJson::array();
    for (const auto& [id, c] : challenges_) {
        challenges.push_back({{"loginChallengeId", id},
                              {"redirectTo", c.redirectTo},
                              {"sessionId", c.sessionId},
                              {"userId", c.userId}});
    }
    OrderedJson created = OrderedJson::array();
    for (const auto& [key, a] : createdArticles_) {
        created.push_back({{"clientId", key.first}, {"clientContentId", key.second}});
    }
    return {{"readers", readers},
            {"users", users},
            {"sessions", sessions},
            {"loginChallenges", challenges},
            {"createdArticles", created}};
}

}  // namespace quillgate::devserver

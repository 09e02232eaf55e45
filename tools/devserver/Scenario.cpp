#include "tools/devserver/Scenario.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"

namespace quillgate::devserver {

namespace {

using Json = nlohmann::json;

// Loading stops at the first problem; the message names the file and the entry.
struct LoadFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

Json readJson(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw LoadFailure(file.filename().string() + ": cannot be read");
    }
    std::stringstream text;
    text << in.rdbuf();
    try {
        return Json::parse(text.str(), nullptr, true, /*ignore_comments=*/true);
    } catch (const Json::exception& e) {
        throw LoadFailure(file.filename().string() + ": not JSON: " + e.what());
    }
}

// Decodes `value` into the record T with the library's decoder; a failure names the place.
template <class T>
T decodeAs(const Json& value, const std::string& where) {
    auto result = decodeParsed<T>(value);
    if (!result) {
        const auto& error = result.error();
        std::string path = error.codingPathDescription();
        if (error.kind == DecodingErrorKind::keyNotFound) {
            path += (path.empty() ? "" : ".") + error.key;
        }
        throw LoadFailure(where + ": " + (path.empty() ? std::string("(root)") : path) + ": " +
                          error.debugDescription);
    }
    return std::move(result).value();
}

std::string text(const Json& object, const char* key, const std::string& where,
                 bool required = true) {
    auto it = object.find(key);
    if (it == object.end() || it->is_null()) {
        if (required) {
            throw LoadFailure(where + ": \"" + key + "\" is missing");
        }
        return {};
    }
    if (!it->is_string()) {
        throw LoadFailure(where + ": \"" + key + "\" must be a string");
    }
    return it->get<std::string>();
}

int64_t integer(const Json& object, const char* key, const std::string& where, int64_t fallback) {
    auto it = object.find(key);
    if (it == object.end() || it->is_null()) {
        return fallback;
    }
    if (!it->is_number_integer()) {
        throw LoadFailure(where + ": \"" + key + "\" must be a whole number");
    }
    return it->get<int64_t>();
}

const Json& list(const Json& root, const char* key, const std::string& file) {
    auto it = root.find(key);
    if (!root.is_object() || it == root.end() || !it->is_array()) {
        throw LoadFailure(file + ": expected an object with a list \"" + key + "\"");
    }
    return *it;
}

ArticleKind parseKind(const std::string& word, const std::string& where) {
    if (word == "free")
        return ArticleKind::free;
    if (word == "premium")
        return ArticleKind::premium;
    if (word == "metered")
        return ArticleKind::metered;
    if (word == "regwall")
        return ArticleKind::regwall;
    if (word == "bundle")
        return ArticleKind::bundle;
    throw LoadFailure(where + ": unknown kind \"" + word +
                      "\" (free, premium, metered, regwall or bundle)");
}

RightKind parseRightKind(const std::string& word, const std::string& where) {
    if (word == "content")
        return RightKind::content;
    if (word == "pass")
        return RightKind::pass;
    if (word == "subscription")
        return RightKind::subscription;
    throw LoadFailure(where + ": unknown right \"" + word + "\" (content, pass or subscription)");
}

void loadPublishers(Scenario& scenario, const std::filesystem::path& dir) {
    const Json root = readJson(dir / "publishers.json");
    for (const Json& entry : list(root, "publishers", "publishers.json")) {
        const std::string where = "publishers.json: " + text(entry, "clientId", "publishers.json");
        Publisher p;
        p.clientId = text(entry, "clientId", where);
        p.name = text(entry, "name", where);
        p.currency = text(entry, "currency", where);
        p.currencySymbol = text(entry, "currencySymbol", where);
        p.newArticlesLike = text(entry, "newArticlesLike", where, false);
        p.demoReader = text(entry, "demoReader", where, false);
        p.articleAccessDays = integer(entry, "articleAccessDays", where, 30);
        if (auto it = entry.find("meter"); it != entry.end() && !it->is_null()) {
            MeterSettings meter;
            meter.bannerActionId = text(*it, "bannerActionId", where + ": meter");
            meter.allowLimit = integer(*it, "allowLimit", where + ": meter", 3);
            Json viewMeter = *it;
            viewMeter.erase("bannerActionId");
            viewMeter["enabled"] = true;
            meter.viewMeter = decodeAs<ViewMeter>(viewMeter, where + ": meter");
            p.meter = std::move(meter);
        }
        if (auto it = entry.find("pass"); it != entry.end()) {
            p.pass = decodeAs<ValidPass>(*it, where + ": pass");
        }
        if (auto it = entry.find("microPricing"); it != entry.end()) {
            p.microPricing = decodeAs<MicroPricing>(*it, where + ": microPricing");
        }
        if (auto it = entry.find("coupon"); it != entry.end()) {
            p.coupon = decodeAs<CouponDetails>(*it, where + ": coupon");
        }
        if (auto it = entry.find("paywallCustomization"); it != entry.end()) {
            p.paywallCustomization =
                decodeAs<PaywallCustomization>(*it, where + ": paywallCustomization");
        }
        if (auto it = entry.find("plans"); it != entry.end()) {
            p.plans = decodeAs<EmbededSubscription>(*it, where + ": plans");
        }
        scenario.publishers.push_back(std::move(p));
    }
}

void loadArticles(Scenario& scenario, const std::filesystem::path& dir) {
    const Json root = readJson(dir / "articles.json");
    for (const Json& entry : list(root, "articles", "articles.json")) {
        Article a;
        a.clientContentId = text(entry, "clientContentId", "articles.json");
        const std::string where = "articles.json: " + a.clientContentId;
        a.clientId = text(entry, "clientId", where);
        if (!scenario.publisher(a.clientId)) {
            throw LoadFailure(where + ": unknown publisher \"" + a.clientId + "\"");
        }
        a.kind = parseKind(text(entry, "kind", where), where);
        if (auto pw = text(entry, "paywall", where, false); !pw.empty()) {
            a.paywall = pw;
        }
        if (auto popup = text(entry, "popup", where, false); !popup.empty()) {
            a.popup = popup;
        }
        if (auto banner = text(entry, "banner", where, false); !banner.empty()) {
            a.banner = banner;
        }
        if (auto it = entry.find("contentDetails"); it != entry.end()) {
            if (!it->is_object()) {
                throw LoadFailure(where + ": contentDetails must be an object");
            }
            a.contentDetails = nlohmann::ordered_json::parse(it->dump());
        }
        Json content = entry.value("content", Json::object());
        content["clientId"] = a.clientId;
        content["clientContentId"] = a.clientContentId;
        a.content = decodeAs<Content>(content, where + ": content");
        scenario.articles.push_back(std::move(a));
    }
}

void loadUsers(Scenario& scenario, const std::filesystem::path& dir) {
    const Json root = readJson(dir / "users.json");
    for (const Json& entry : list(root, "users", "users.json")) {
        UserSpec u;
        u.email = text(entry, "email", "users.json", false);
        u.phone = text(entry, "phone", "users.json", false);
        const std::string where = "users.json: " + (u.email.empty() ? u.phone : u.email);
        if (u.email.empty() && u.phone.empty()) {
            throw LoadFailure("users.json: a user needs an \"email\" or a \"phone\"");
        }
        for (const Json& token : entry.value("tokens", Json::array())) {
            if (!token.is_string()) {
                throw LoadFailure(where + ": tokens must be strings");
            }
            u.tokens.push_back(token.get<std::string>());
        }
        u.details = decodeAs<UserDetails>(entry.value("details", Json::object()), where);
        for (const Json& right : entry.value("rights", Json::array())) {
            RightSpec r;
            r.clientId = text(right, "clientId", where + ": rights");
            r.kind = parseRightKind(text(right, "kind", where + ": rights"), where);
            r.clientContentId = text(right, "clientContentId", where, r.kind == RightKind::content);
            r.tierId = text(right, "tierId", where, false);
            r.days = integer(right, "days", where, 30);
            u.rights.push_back(std::move(r));
        }
        scenario.users.push_back(std::move(u));
    }
}

void loadPaywalls(Scenario& scenario, const std::filesystem::path& dir, const Json& style) {
    const Json root = readJson(dir / "paywalls.json");
    for (const Json& entry : list(root, "paywalls", "paywalls.json")) {
        PaywallSetup pw;
        pw.id = text(entry, "id", "paywalls.json");
        const std::string where = "paywalls.json: " + pw.id;
        pw.message = text(entry, "message", where, false);
        pw.conditions =
            decodeAs<Conditions>(entry.value("conditions", Json::object()), where + ": conditions");
        if (entry.contains("timerSecondsFromNow")) {
            pw.timerSecondsFromNow = integer(entry, "timerSecondsFromNow", where, 0);
        }
        if (entry.contains("timerSecondsFromFirstRequest")) {
            pw.timerSecondsFromFirstRequest =
                integer(entry, "timerSecondsFromFirstRequest", where, 0);
        }
        Json config = entry.value("config", Json::object());
        // The style document is the shared one with this paywall's changes merged over it.
        Json& mobile = config["data"]["configuration"]["mobile"];
        Json merged = style;
        merged.merge_patch(mobile.value("json", Json::object()));
        mobile["json"] = std::move(merged);
        pw.config = decodeAs<CustomizePayWallModel>(config, where + ": config");
        scenario.paywalls.emplace(pw.id, std::move(pw));
    }
}

void loadBanners(Scenario& scenario, const std::filesystem::path& dir, const Json& style) {
    const Json root = readJson(dir / "banners.json");
    for (const Json& entry : list(root, "banners", "banners.json")) {
        BannerSetup banner;
        banner.id = text(entry, "id", "banners.json");
        const std::string where = "banners.json: " + banner.id;
        banner.conditions = decodeAs<PurpleConditions>(entry.value("conditions", Json::object()),
                                                       where + ": conditions");
        Json config = entry.value("config", Json::object());
        Json& configuration = config["data"]["configuration"];
        Json merged = style;
        merged.merge_patch(configuration.value("json", Json::object()));
        configuration["json"] = std::move(merged);
        banner.config = decodeAs<MeterModel>(config, where + ": config");
        scenario.banners.emplace(banner.id, std::move(banner));
    }
}

void loadPopups(Scenario& scenario, const std::filesystem::path& dir) {
    const Json root = readJson(dir / "popups.json");
    for (const Json& entry : list(root, "popups", "popups.json")) {
        PopupSetup popup;
        popup.id = text(entry, "id", "popups.json");
        const std::string where = "popups.json: " + popup.id;
        popup.conditions =
            decodeAs<Conditions>(entry.value("conditions", Json::object()), where + ": conditions");
        popup.popup = decodeAs<PopUpModel>(entry.value("popup", Json::object()), where);
        scenario.popups.emplace(popup.id, std::move(popup));
    }
}

std::optional<std::filesystem::path> findFile(const std::vector<std::filesystem::path>& dirs,
                                              const std::string& name) {
    for (const auto& dir : dirs) {
        std::error_code ec;
        if (!std::filesystem::is_directory(dir, ec)) {
            continue;
        }
        for (auto it = std::filesystem::recursive_directory_iterator(
                 dir, std::filesystem::directory_options::skip_permission_denied, ec);
             !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            if (it->path().filename() == name && it->is_regular_file(ec)) {
                return it->path();
            }
        }
    }
    return std::nullopt;
}

void loadFonts(Scenario& scenario, const std::filesystem::path& dir) {
    const Json root = readJson(dir / "fonts.json");
    std::vector<std::filesystem::path> dirs;
    for (const Json& d : root.value("directories", Json::array())) {
        if (d.is_string()) {
            dirs.emplace_back(d.get<std::string>());
        }
    }
    for (const Json& entry : list(root, "fonts", "fonts.json")) {
        FontFile font;
        font.key = text(entry, "key", "fonts.json");
        const std::string where = "fonts.json: " + font.key;
        font.host = text(entry, "host", where);
        if (font.host != "web-font" && font.host != "source-repository") {
            throw LoadFailure(where + ": host must be \"web-font\" or \"source-repository\"");
        }
        font.path = text(entry, "path", where);
        font.fileName = text(entry, "file", where);
        font.file = findFile(dirs, font.fileName);
        scenario.fonts.push_back(std::move(font));
    }
}

// Cross-references between files, checked once so that the service never meets a dangling
// identity at request time.
void checkReferences(const Scenario& scenario) {
    for (const auto& a : scenario.articles) {
        const std::string where = "articles.json: " + a.clientContentId;
        if (a.paywall && !scenario.paywalls.count(*a.paywall)) {
            throw LoadFailure(where + ": unknown paywall \"" + *a.paywall + "\"");
        }
        if (a.popup && !scenario.popups.count(*a.popup)) {
            throw LoadFailure(where + ": unknown popup \"" + *a.popup + "\"");
        }
        if (a.banner && !scenario.banners.count(*a.banner)) {
            throw LoadFailure(where + ": unknown banner \"" + *a.banner + "\"");
        }
    }
    for (const auto& p : scenario.publishers) {
        if (p.meter && !scenario.banners.count(p.meter->bannerActionId)) {
            throw LoadFailure("publishers.json: " + p.clientId + ": unknown banner \"" +
                              p.meter->bannerActionId + "\"");
        }
        if (!p.newArticlesLike.empty() && !scenario.article(p.clientId, p.newArticlesLike)) {
            throw LoadFailure("publishers.json: " + p.clientId + ": unknown article \"" +
                              p.newArticlesLike + "\"");
        }
    }
}

}  // namespace

const Publisher* Scenario::publisher(const std::string& clientId) const {
    for (const auto& p : publishers) {
        if (p.clientId == clientId) {
            return &p;
        }
    }
    return nullptr;
}

const Article* Scenario::article(const std::string& clientId, const std::string& contentId) const {
    for (const auto& a : articles) {
        if (a.clientId == clientId && a.clientContentId == contentId) {
            return &a;
        }
    }
    return nullptr;
}

ScenarioLoad loadScenario(const std::filesystem::path& dataDir) {
    ScenarioLoad load;
    try {
        std::error_code ec;
        if (!std::filesystem::is_directory(dataDir, ec)) {
            throw LoadFailure("no data directory at " + dataDir.string());
        }
        Scenario scenario;
        scenario.dataDir = dataDir;
        const Json style = readJson(dataDir / "style.json");
        decodeAs<JSONs>(style, "style.json");
        loadPublishers(scenario, dataDir);
        loadArticles(scenario, dataDir);
        loadUsers(scenario, dataDir);
        loadPaywalls(scenario, dataDir, style);
        loadBanners(scenario, dataDir, style);
        loadPopups(scenario, dataDir);
        loadFonts(scenario, dataDir);
        checkReferences(scenario);
        load.scenario = std::move(scenario);
    } catch (const LoadFailure& failure) {
        load.error = failure.what();
    } catch (const std::exception& e) {
        load.error = std::string("scenario data: ") + e.what();
    }
    return load;
}

std::string kindName(ArticleKind kind) {
    switch (kind) {
        case ArticleKind::free:
            return "free";
        case ArticleKind::premium:
            return "premium";
        case ArticleKind::metered:
            return "metered";
        case ArticleKind::regwall:
            return "regwall";
        case ArticleKind::bundle:
            return "bundle";
    }
    return "premium";
}

}  // namespace quillgate::devserver

#include "tools/devserver/WebPages.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <utility>
#include <vector>

#include "quillgate/records/RecordCoding.h"
#include "tools/devserver/Encoding.h"

namespace quillgate::devserver {

namespace {

const char* const kStyle = R"CSS(
:root { color-scheme: light; }
body { margin: 0; font: 16px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, sans-serif;
       background: #f4f1ec; color: #1b1b3a; }
main { max-width: 460px; margin: 0 auto; padding: 24px 16px 40px; }
header { font: 700 20px/1.2 Georgia, "DejaVu Serif", serif; margin-bottom: 16px; }
.card { background: #fff; border: 1px solid #e2e2e2; border-radius: 12px; padding: 18px;
        margin-bottom: 14px; box-shadow: 0 2px 8px rgba(0,0,0,.05); }
.card h2 { margin: 0 0 6px; font-size: 18px; }
.muted { color: #6b6b7b; font-size: 14px; }
.price { font-size: 26px; font-weight: 700; margin: 8px 0; }
.price s { color: #9e9e9e; font-size: 16px; font-weight: 400; margin-left: 6px; }
a.choice { display: block; text-align: center; text-decoration: none; background: #c42001;
           color: #fff; font-weight: 600; padding: 12px; border-radius: 8px; margin-top: 10px; }
a.choice.secondary { background: #fff; color: #c42001; border: 1px solid #c42001; }
a.choice.quiet { background: none; color: #6b6b7b; font-weight: 400; }
label { display: block; font-size: 14px; margin-bottom: 4px; }
input[type=email], input[type=text] { width: 100%; box-sizing: border-box; padding: 10px;
           font-size: 16px; border: 1px solid #bdbdbd; border-radius: 8px; }
.tiers { display: grid; gap: 8px; }
.trial { display: flex; gap: 8px; align-items: center; margin-top: 10px; font-size: 15px; }
.notice { background: #ffe8a3; border-radius: 8px; padding: 10px 12px; margin-bottom: 14px; }
table { border-collapse: collapse; width: 100%; font-size: 14px; }
td, th { text-align: left; padding: 4px 6px; border-bottom: 1px solid #eee; vertical-align: top; }
code { font-size: 13px; }
)CSS";

// The page script: keeps the typed e-mail and the trial box in the choice links, and in a web
// view with the app's message handlers posts log-in results to them instead of navigating.
const char* const kScript = R"JS(
(function () {
  function bridge(name) {
    return name && window.webkit && window.webkit.messageHandlers &&
      window.webkit.messageHandlers[name];
  }
  var email = document.getElementById('email');
  var trial = document.getElementById('trial');
  document.querySelectorAll('a.choice').forEach(function (link) {
    link.addEventListener('click', function (event) {
      var url = new URL(link.getAttribute('href'), location.href);
      if (email && link.dataset.identity === 'email') url.searchParams.set('email', email.value.trim());
      if (trial && link.dataset.trial) url.searchParams.set('trial', trial.checked ? 'true' : 'false');
      event.preventDefault();
      var handler = bridge(link.dataset.handler);
      if (!handler) { location.href = url.toString(); return; }
      url.searchParams.set('respond', 'json');
      fetch(url.toString()).then(function (r) { return r.text(); })
        .then(function (text) { handler.postMessage(text); });
    });
  });
  var message = document.getElementById('quillgate-message');
  if (message) {
    var handler = bridge(message.dataset.handler);
    if (handler) handler.postMessage(message.textContent);
  }
})();
)JS";

std::string queryOf(const Params& params) {
    std::string out;
    for (const auto& [key, value] : params) {
        out += out.empty() ? "" : "&";
        out += percentEncode(key) + "=" + percentEncode(value);
    }
    return out;
}

// A link to `action` carrying the page's own query, with `extra` set over it.
std::string choiceHref(const std::string& action, Params params,
                       const std::vector<std::pair<std::string, std::string>>& extra) {
    for (const auto& [key, value] : extra) {
        params.erase(key);
        params.emplace(key, value);
    }
    params.erase("respond");
    return action + "?" + queryOf(params);
}

struct Choice {
    std::string id;
    std::string label;
    std::string href;
    std::string style;  // "", "secondary" or "quiet"
    std::string handler;
    bool emailIdentity = false;
    bool trial = false;
};

std::string choiceHtml(const Choice& c) {
    std::string out = "<a class=\"choice" + (c.style.empty() ? "" : " " + c.style) +
                      "\" id=\"choice-" + htmlEscape(c.id) + "\" href=\"" + htmlEscape(c.href) +
                      "\"";
    if (!c.handler.empty()) {
        // The message the page's script posts comes from the choice's own address, answered
        // as JSON: a host without a script engine reads both here and acts them out.
        out += " data-handler=\"" + htmlEscape(c.handler) + "\" data-message-url=\"" +
               htmlEscape(c.href + "&respond=json") + "\"";
    }
    if (c.emailIdentity)
        out += " data-identity=\"email\"";
    if (c.trial)
        out += " data-trial=\"1\"";
    return out + ">" + htmlEscape(c.label) + "</a>\n";
}

std::string page(const std::string& title, const std::string& body, const std::string& message = "",
                 const std::string& handler = "") {
    std::ostringstream out;
    out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        << "<title>" << htmlEscape(title) << "</title>\n<style>" << kStyle << "</style>\n"
        << "</head>\n<body>\n<main>\n"
        << body;
    if (!message.empty()) {
        // "</" inside a script element would end it early; JSON allows "\/" for "/".
        std::string safe;
        for (size_t i = 0; i < message.size(); ++i) {
            safe += message[i];
            if (message[i] == '<' && i + 1 < message.size() && message[i + 1] == '/') {
                safe += '\\';
            }
        }
        out << "<script type=\"application/json\" id=\"quillgate-message\" data-handler=\""
            << htmlEscape(handler) << "\">" << safe << "</script>\n";
    }
    out << "</main>\n<script>" << kScript << "</script>\n</body>\n</html>\n";
    return out.str();
}

Reply htmlReply(int status, std::string html) {
    return Reply::text(status, std::move(html), "text/html; charset=utf-8");
}

std::string money(const std::string& symbol, double amount) {
    std::array<char, 32> buffer{};
    if (amount == static_cast<double>(static_cast<long long>(amount))) {
        std::snprintf(buffer.data(), buffer.size(), "%lld", static_cast<long long>(amount));
    } else {
        std::snprintf(buffer.data(), buffer.size(), "%.2f", amount);
    }
    return symbol + buffer.data();
}

std::string emailField(const std::string& value) {
    return "<div class=\"card\"><label for=\"email\">Sign in with your e-mail</label>"
           "<input type=\"email\" id=\"email\" name=\"email\" autocomplete=\"email\" value=\"" +
           htmlEscape(value) +
           "\"><div class=\"muted\">A new address registers a new reader.</div></div>\n";
}

std::string challengeOf(const Params& params) {
    const std::string challenge = param(params, "loginChallenge");
    return challenge.empty() ? param(params, "loginChallengeId") : challenge;
}

// The app writes "availFreeTrial" as its flag followed by " &siteUrl=<address>" and encodes
// only the blank, so the page usually sees "availFreeTrial=true%20&siteUrl=<address>": the
// flag with a trailing blank and the site address as a key of its own. A client that encodes
// the ampersand too sends the address inside the one value; both are read.
bool trialWanted(const Params& params) {
    if (hasParam(params, "trial")) {
        return param(params, "trial") == "true";
    }
    return param(params, "availFreeTrial").rfind("true", 0) == 0;
}

std::string siteUrl(const Params& params) {
    if (hasParam(params, "siteUrl")) {
        return param(params, "siteUrl");
    }
    const std::string value = param(params, "availFreeTrial");
    const auto at = value.find("siteUrl=");
    return at == std::string::npos ? "" : value.substr(at + 8);
}

std::string decodeBase64(const std::string& text) {
    static const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    int bits = 0;
    int buffer = 0;
    for (char c : text) {
        if (c == '=')
            break;
        const auto index = alphabet.find(c == '-' ? '+' : c == '_' ? '/' : c);
        if (index == std::string::npos)
            continue;
        buffer = (buffer << 6) | static_cast<int>(index);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<char>((buffer >> bits) & 0xFF));
        }
    }
    return out;
}

// A sign-in choice per reader of the scenario, for trying the service with any of them: a
// browser's reader picks one instead of typing an address, and so does a headless host.
std::vector<Choice> readerChoices(const std::vector<UserSpec>& users, const std::string& action,
                                  const Params& params) {
    std::vector<Choice> choices;
    for (const UserSpec& user : users) {
        if (user.email.empty()) {
            continue;
        }
        choices.push_back({"login-" + user.email, "Sign in as " + user.email,
                           choiceHref(action, params, {{"choice", "login"}, {"email", user.email}}),
                           "secondary", "loginSuccess", false, false});
    }
    return choices;
}

// The contact a registration wall sends as "userDetails": a one-member JSON text,
// {"email": ...} or {"phoneNumber": ...}. The wall joins it without escaping, so a text that
// isn't such an object is taken as it stands: an e-mail address when it holds "@", else a
// phone number.
Identity contactIdentity(const std::string& contact) {
    Identity identity;
    const auto parsed = nlohmann::json::parse(contact, nullptr, false);
    if (parsed.is_object()) {
        if (auto it = parsed.find("email"); it != parsed.end() && it->is_string()) {
            identity.email = it->get<std::string>();
        }
        if (auto it = parsed.find("phoneNumber"); it != parsed.end() && it->is_string()) {
            identity.phone = it->get<std::string>();
        }
        return identity;
    }
    (contact.find('@') != std::string::npos ? identity.email : identity.phone) = contact;
    return identity;
}

// How the page names the contact: its address or number, else the text as sent.
std::string contactName(const std::string& contact) {
    const Identity identity = contactIdentity(contact);
    if (!identity.email.empty()) {
        return identity.email;
    }
    return identity.phone.empty() ? contact : identity.phone;
}

Identity identityFrom(const Params& params) {
    Identity identity;
    const std::string typed = param(params, "email");
    if (typed.find('@') != std::string::npos || !typed.empty()) {
        // A typed text without "@" is taken as a phone number.
        (typed.find('@') != std::string::npos ? identity.email : identity.phone) = typed;
    }
    if (identity.phone.empty()) {
        identity.phone = param(params, "phone");
    }
    return identity;
}

}  // namespace

WebPages::WebPages(const Scenario& scenario, AccessService& service)
    : scenario_(scenario), service_(service) {}

Reply WebPages::failure(const Params& params, int status, const std::string& message,
                        const std::string& handler) {
    AutoLoginModel model;
    model.status = false;
    model.message = message;
    if (param(params, "respond") == "json") {
        return Reply::json(status, encode(model));
    }
    const std::string body = "<header>Something is missing</header>\n<div class=\"notice\">" +
                             htmlEscape(message) + "</div>\n";
    return htmlReply(
        status, page("Quillgate", body, handler.empty() ? "" : encodeToString(model), handler));
}

Reply WebPages::finish(const Params& params, const SignIn& signIn, const std::string& summary,
                       const std::string& handler, const std::string& fallbackAddress) {
    AutoLoginModel model;
    model.status = true;
    model.message = summary;
    model.token = signIn.token;
    model.userID = signIn.userId;
    model.sessionID = signIn.sessionId;
    if (param(params, "respond") == "json") {
        return Reply::json(200, encode(model));
    }
    const std::string challengeId = challengeOf(params);
    if (!challengeId.empty()) {
        if (auto challenge = service_.challenge(challengeId); challenge) {
            return Reply::redirect(challenge->redirectTo);
        }
    }
    if (!fallbackAddress.empty()) {
        return Reply::redirect(fallbackAddress);
    }
    const std::string body = "<header>All set</header>\n<div class=\"card\"><h2>" +
                             htmlEscape(summary) + "</h2><div class=\"muted\">" +
                             htmlEscape(signIn.message) +
                             ". You can close this page and go back to the app.</div></div>\n";
    return htmlReply(200,
                     page("Done", body, handler.empty() ? "" : encodeToString(model), handler));
}

Reply WebPages::index() {
    std::ostringstream body;
    body << "<header>Quillgate local access service</header>\n";
    for (const Publisher& p : scenario_.publishers) {
        body << "<div class=\"card\"><h2>" << htmlEscape(p.name) << "</h2><div class=\"muted\">"
             << "client id <code>" << htmlEscape(p.clientId) << "</code></div>\n<table>"
             << "<tr><th>Content id</th><th>Kind</th><th>Pages</th></tr>\n";
        for (const Article& a : scenario_.articles) {
            if (a.clientId != p.clientId)
                continue;
            const Params q{{"clientId", p.clientId}, {"clientContentId", a.clientContentId}};
            Params pass = q;
            pass.emplace("purchaseMode", "PASS");
            body << "<tr><td><code>" << htmlEscape(a.clientContentId) << "</code><br>"
                 << htmlEscape(a.content.title.value_or("")) << "</td><td>" << kindName(a.kind)
                 << (a.paywall ? " (" + htmlEscape(*a.paywall) + ")" : "")
                 << "</td><td><a href=\"/overlay?" << htmlEscape(queryOf(q))
                 << "\">read</a> · <a href=\"/overlay?" << htmlEscape(queryOf(pass))
                 << "\">pass</a></td></tr>\n";
        }
        const Params sub{{"clientId", p.clientId}};
        body << "</table>\n<p><a href=\"/subscription?" << htmlEscape(queryOf(sub))
             << "\">Subscription page</a> · <a href=\"/orvelant-login?" << htmlEscape(queryOf(sub))
             << "\">Sign-in page</a></p></div>\n";
    }
    body << "<div class=\"card\"><h2>Readers</h2><table>";
    for (const UserSpec& u : scenario_.users) {
        body << "<tr><td>" << htmlEscape(u.email) << "</td><td>" << htmlEscape(u.phone)
             << "</td><td>" << u.rights.size() << " right(s)</td></tr>";
    }
    body << "</table></div>\n";
    return htmlReply(200, page("Quillgate local access service", body.str()));
}

Reply WebPages::overlay(const Params& params) {
    const std::string clientId = param(params, "clientId");
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return failure(params, 404, "Unknown publisher \"" + clientId + "\"", "");
    }
    const std::string contact = param(params, "userDetails");
    const bool onlyLogin = param(params, "onlyLoginFlow") == "true";
    const bool pass = param(params, "purchaseMode") == "PASS";
    const std::string action = "/overlay/choose";
    std::ostringstream body;
    body << "<header>" << htmlEscape(publisher->name) << "</header>\n";
    std::vector<Choice> choices;
    bool askEmail = true;
    // Without the page script, a choice signs in the publisher's demo reader.
    const std::pair<std::string, std::string> demo{"email", publisher->demoReader};

    if (!contact.empty()) {
        askEmail = false;
        body << "<div class=\"card\"><h2>Continue as " << htmlEscape(contactName(contact))
             << "</h2><div class=\"muted\">We'll sign you in, or register you if you are new "
                "here.</div></div>\n";
        choices.push_back({"contact", "Continue",
                           choiceHref(action, params, {{"choice", "contact"}}), "", "loginSuccess",
                           false, false});
    } else if (onlyLogin) {
        body << "<div class=\"card\"><h2>Sign in</h2><div class=\"muted\">Sign in to read with "
                "what you already bought.</div></div>\n";
        choices.push_back({"login", "Sign in",
                           choiceHref(action, params, {{"choice", "login"}, demo}), "",
                           "loginSuccess", true, false});
    } else if (pass) {
        if (!publisher->pass) {
            return failure(params, 404, publisher->name + " sells no pass", "");
        }
        const ValidPass& p = *publisher->pass;
        const int64_t days = p.duration.value_or(1);
        body << "<div class=\"card\"><h2>" << htmlEscape(p.title.value_or("Pass"))
             << "</h2><div class=\"price\">"
             << htmlEscape(money(publisher->currencySymbol, p.price.value_or(0)))
             << "</div><div class=\"muted\">Every story for " << days << " day"
             << (days == 1 ? "" : "s") << ".</div></div>\n";
        choices.push_back({"pass", "Buy the pass",
                           choiceHref(action, params, {{"choice", "pass"}, demo}), "", "", true,
                           false});
        choices.push_back({"login", "I already have access: sign in",
                           choiceHref(action, params, {{"choice", "login"}, demo}), "secondary",
                           "loginSuccess", true, false});
    } else {
        const std::string contentId = param(params, "clientContentId");
        auto article = contentId.empty() ? std::nullopt : service_.article(clientId, contentId);
        if (!article) {
            return failure(params, 404, "Unknown article \"" + contentId + "\"", "");
        }
        const double price = static_cast<double>(article->content.price.value_or(0));
        body << "<div class=\"card\"><div class=\"muted\">This story</div><h2>"
             << htmlEscape(article->content.title.value_or(contentId))
             << "</h2><div class=\"price\">" << htmlEscape(money(publisher->currencySymbol, price))
             << "</div><div class=\"muted\">Yours to read for " << publisher->articleAccessDays
             << " days.";
        if (article->content.bundle.value_or(false)) {
            body << " The bundle unlocks "
                 << article->content.bundleContentIDS.value_or(std::vector<std::string>{}).size()
                 << " more stories.";
        }
        body << "</div></div>\n";
        choices.push_back({"read", "Buy this story",
                           choiceHref(action, params, {{"choice", "read"}, demo}), "", "", true,
                           false});
        choices.push_back({"login", "I already have access: sign in",
                           choiceHref(action, params, {{"choice", "login"}, demo}), "secondary",
                           "loginSuccess", true, false});
    }
    if (askEmail) {
        body << emailField(publisher->demoReader);
        for (Choice& c : readerChoices(scenario_.users, action, params)) {
            choices.push_back(std::move(c));
        }
    }
    choices.push_back({"cancel", "Not now", choiceHref(action, params, {{"choice", "cancel"}}),
                       "quiet", "", false, false});
    for (const Choice& c : choices) {
        body << choiceHtml(c);
    }
    return htmlReply(200, page(publisher->name, body.str()));
}

Reply WebPages::overlayChoose(const Params& params) {
    const std::string clientId = param(params, "clientId");
    const std::string choice = param(params, "choice");
    const std::string challengeId = challengeOf(params);
    const bool loginChoice = choice == "login" || choice == "contact";
    const std::string handler = loginChoice ? "loginSuccess" : "";
    if (!scenario_.publisher(clientId)) {
        return failure(params, 404, "Unknown publisher \"" + clientId + "\"", handler);
    }
    if (choice == "cancel") {
        if (auto challenge = service_.challenge(challengeId); challenge) {
            return Reply::redirect(challenge->redirectTo);
        }
        return htmlReply(200, page("Not now",
                                   "<header>Nothing was bought</header>\n<div "
                                   "class=\"muted\">You can close this page.</div>"));
    }
    if (choice != "read" && choice != "pass" && choice != "login" && choice != "contact") {
        return failure(params, 400, "Unknown choice \"" + choice + "\"", handler);
    }
    Identity identity = identityFrom(params);
    if (choice == "contact") {
        identity = contactIdentity(param(params, "userDetails"));
    }
    const SignIn signIn = service_.signIn(clientId, identity, challengeId);
    if (!signIn.ok) {
        return failure(params, 400, signIn.message, handler);
    }
    std::string summary = signIn.message;
    if (choice == "read" || choice == "pass") {
        Purchase purchase;
        purchase.kind = choice == "read" ? PurchaseKind::content : PurchaseKind::pass;
        purchase.clientId = clientId;
        purchase.clientContentId = param(params, "clientContentId");
        const PurchaseOutcome outcome = service_.purchase(signIn.userId, purchase);
        if (!outcome.ok) {
            return failure(params, 400, outcome.message, handler);
        }
        summary = outcome.message;
    }
    return finish(params, signIn, summary, handler);
}

Reply WebPages::subscription(const Params& params) {
    const std::string clientId = param(params, "clientId");
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return failure(params, 404, "Unknown publisher \"" + clientId + "\"", "");
    }
    if (!publisher->plans || publisher->plans->subscriptions.empty()) {
        return failure(params, 404, publisher->name + " offers no subscriptions", "");
    }
    const std::string wantedTier = param(params, "tierId");
    const bool trial = trialWanted(params);
    const std::string action = "/subscription/choose";
    std::ostringstream body;
    body << "<header>" << htmlEscape(publisher->plans->title) << "</header>\n"
         << emailField(publisher->demoReader);
    bool anyTrial = false;
    bool shown = false;
    std::ostringstream cards;
    for (const Subscriptions& plan : publisher->plans->subscriptions) {
        std::ostringstream tiers;
        for (const Tier& tier : plan.tiers) {
            const std::string tierId = tier._id.value_or("");
            if (!wantedTier.empty() && tierId != wantedTier)
                continue;
            const std::string symbol = plan.currencySymbol.value_or(publisher->currencySymbol);
            std::string label = money(symbol, tier.price) + " for " +
                                std::to_string(tier.duration) + " month" +
                                (tier.duration == 1 ? "" : "s");
            tiers << choiceHtml({"subscribe-" + tierId, label,
                                 choiceHref(action, params,
                                            {{"choice", "subscribe"},
                                             {"tierId", tierId},
                                             {"trial", trial ? "true" : "false"},
                                             {"email", publisher->demoReader}}),
                                 "", "", true, true});
        }
        const std::string tierLinks = tiers.str();
        if (tierLinks.empty())
            continue;
        shown = true;
        anyTrial = anyTrial || plan.freeTrial.enabled;
        cards << "<div class=\"card\"><h2>" << htmlEscape(plan.title)
              << "</h2><ul class=\"muted\">";
        std::stringstream benefits(plan.benefits);
        for (std::string item; std::getline(benefits, item, ',');) {
            cards << "<li>" << htmlEscape(item) << "</li>";
        }
        cards << "</ul>";
        if (plan.freeTrial.enabled) {
            cards << "<div class=\"muted\">Starts with a " << plan.freeTrial.duration.value_or(0)
                  << "-day free trial if you like.</div>";
        }
        cards << "<div class=\"tiers\">" << tierLinks << "</div></div>\n";
    }
    if (!shown) {
        return failure(params, 404, "Unknown subscription tier \"" + wantedTier + "\"", "");
    }
    if (anyTrial) {
        body << "<div class=\"card trial\"><input type=\"checkbox\" id=\"trial\""
             << (trial ? " checked" : "") << "><label for=\"trial\">Start with the free "
             << "trial</label></div>\n";
    }
    body << cards.str();
    body << choiceHtml({"cancel", "Not now", choiceHref(action, params, {{"choice", "cancel"}}),
                        "quiet", "", false, false});
    return htmlReply(200, page(publisher->plans->title, body.str()));
}

Reply WebPages::subscriptionChoose(const Params& params) {
    const std::string clientId = param(params, "clientId");
    const std::string choice = param(params, "choice");
    const std::string challengeId = challengeOf(params);
    if (!scenario_.publisher(clientId)) {
        return failure(params, 404, "Unknown publisher \"" + clientId + "\"", "");
    }
    const std::string tierId = param(params, "tierId");
    const std::string site = siteUrl(params);
    const std::string tierAddress = site.empty() ? "" : site + "/?ovl-tierId=" + tierId;
    if (choice == "cancel") {
        if (auto challenge = service_.challenge(challengeId); challenge) {
            return Reply::redirect(challenge->redirectTo);
        }
        return htmlReply(200, page("Not now", "<header>Nothing was bought</header>"));
    }
    if (choice != "subscribe") {
        return failure(params, 400, "Unknown choice \"" + choice + "\"", "");
    }
    const SignIn signIn = service_.signIn(clientId, identityFrom(params), challengeId);
    if (!signIn.ok) {
        return failure(params, 400, signIn.message, "");
    }
    Purchase purchase;
    purchase.kind = PurchaseKind::subscription;
    purchase.clientId = clientId;
    purchase.tierId = tierId;
    purchase.freeTrial = trialWanted(params);
    const PurchaseOutcome outcome = service_.purchase(signIn.userId, purchase);
    if (!outcome.ok) {
        return failure(params, 400, outcome.message, "");
    }
    return finish(params, signIn, outcome.message, "", tierAddress);
}

Reply WebPages::autoLogin(const Params& params) {
    const std::string clientId = param(params, "clientId");
    const std::string handler = "autoLoginHandler";
    Identity identity;
    identity.token = param(params, "id");
    identity.email = decodeBase64(param(params, "email"));
    identity.phone = param(params, "phone");
    const SignIn signIn = service_.signIn(clientId, identity, challengeOf(params));
    if (!signIn.ok) {
        return failure(params, 400, signIn.message, handler);
    }
    AutoLoginModel model;
    model.status = true;
    model.message = signIn.message;
    model.token = signIn.token;
    model.userID = signIn.userId;
    model.sessionID = signIn.sessionId;
    if (param(params, "respond") == "json") {
        return Reply::json(200, encode(model));
    }
    std::ostringstream body;
    body << "<header>Signing you in</header>\n<div class=\"card\"><h2>"
         << htmlEscape(signIn.message) << "</h2><div class=\"muted\">You'll be back in the app "
         << "in a moment.</div></div>\n";
    if (auto challenge = service_.challenge(challengeOf(params)); challenge) {
        body << "<a class=\"choice secondary\" id=\"choice-continue\" href=\""
             << htmlEscape(challenge->redirectTo) << "\">Continue</a>\n";
    }
    return htmlReply(200, page("Signing in", body.str(), encodeToString(model), handler));
}

Reply WebPages::onlyLogin(const Params& params) {
    const std::string clientId = param(params, "clientId");
    const Publisher* publisher = scenario_.publisher(clientId);
    if (!publisher) {
        return failure(params, 404, "Unknown publisher \"" + clientId + "\"", "loginSuccess");
    }
    std::ostringstream body;
    body << "<header>" << htmlEscape(publisher->name) << "</header>\n"
         << "<div class=\"card\"><h2>Sign in</h2><div class=\"muted\">Your purchases and "
         << "subscriptions follow you to every device.</div></div>\n"
         << emailField(publisher->demoReader);
    Choice login{"login",
                 "Sign in",
                 choiceHref("/orvelant-login/choose", params,
                            {{"choice", "login"}, {"email", publisher->demoReader}}),
                 "",
                 "loginSuccess",
                 true,
                 false};
    body << choiceHtml(login);
    for (const Choice& c : readerChoices(scenario_.users, "/orvelant-login/choose", params)) {
        body << choiceHtml(c);
    }
    return htmlReply(200, page("Sign in", body.str()));
}

Reply WebPages::onlyLoginChoose(const Params& params) {
    const std::string clientId = param(params, "clientId");
    if (!scenario_.publisher(clientId)) {
        return failure(params, 404, "Unknown publisher \"" + clientId + "\"", "loginSuccess");
    }
    const SignIn signIn = service_.signIn(clientId, identityFrom(params), challengeOf(params));
    if (!signIn.ok) {
        return failure(params, 400, signIn.message, "loginSuccess");
    }
    return finish(params, signIn, signIn.message, "loginSuccess");
}

}  // namespace quillgate::devserver

#pragma once

#include <string>

#include "tools/devserver/AccessService.h"
#include "tools/devserver/Reply.h"
#include "tools/devserver/Scenario.h"

// The service's web pages under the web base: the overlay (read an article, buy a pass, log
// in only, log in with a contact), the subscription page (tier and free trial), the
// auto-login page and the only-login page. They are small HTML pages that work in a real
// browser and for a headless host alike:
//
// - Every choice is a plain link (`<a class="choice" id="choice-...">`) to "<page>/choose"
//   carrying the page's query. Following it signs the reader in, makes the purchase, and
//   answers with a redirect to the login challenge's "redirectTo" address, which is how the
//   web flow screen learns that the flow is over.
// - Log-in choices (and the auto-login page itself) also speak to the app's script message
//   handlers ("loginSuccess", "autoLoginHandler") with the JSON of an AutoLoginModel: in a
//   web view the page's script posts it, and the same JSON sits in the page as
//   `<script type="application/json" id="quillgate-message" data-handler="...">` for a host
//   that cannot run scripts. Adding "respond=json" to a choice link answers that JSON alone.
//
// Stateless itself; all state lives in the AccessService. Called from the web server's
// worker threads.

namespace quillgate::devserver {

class WebPages {
  public:
    WebPages(const Scenario& scenario, AccessService& service);

    Reply index();
    Reply overlay(const Params& params);
    Reply overlayChoose(const Params& params);
    Reply subscription(const Params& params);
    Reply subscriptionChoose(const Params& params);
    Reply autoLogin(const Params& params);
    Reply onlyLogin(const Params& params);
    Reply onlyLoginChoose(const Params& params);

  private:
    // Ends a choice: the JSON model, a redirect to the challenge's address, or a page that
    // hands the model to `handler` (empty: no handler, a plain confirmation).
    Reply finish(const Params& params, const SignIn& signIn, const std::string& summary,
                 const std::string& handler, const std::string& fallbackAddress = "");
    Reply failure(const Params& params, int status, const std::string& message,
                  const std::string& handler);

    const Scenario& scenario_;
    AccessService& service_;
};

}  // namespace quillgate::devserver

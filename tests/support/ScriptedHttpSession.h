#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/platform/HttpSession.h"
#include "quillgate/platform/RunLoop.h"

namespace quillgate::testing {

// An HTTP session that records every request and answers from a script, for unit tests.
// Answers are matched by the first rule whose method and URL substring fit; unmatched
// requests get a transport error (code 7, as a refused connection). Completions are handed
// over like the real session does, on "another thread": here, posted to the run loop
// (before the caller's own hop), or held until `deliverHeld()` when `holdAnswers` is set.
class ScriptedHttpSession final : public platform::HttpSession {
  public:
    struct Rule {
        std::string method;       // empty: any
        std::string urlContains;  // empty: any
        platform::HttpResult result;
        bool once = false;
    };

    explicit ScriptedHttpSession(platform::RunLoop& loop) : loop_(loop) {}

    // Answers with a status and body (a response with that status, the body present).
    void answer(std::string urlContains, long status, std::string body, std::string method = {},
                bool once = false);
    // Answers with a transport error and no response or body.
    void fail(std::string urlContains, int code = 7, std::string method = {});
    void addRule(Rule rule);
    void clearRules();

    void dataTask(platform::HttpRequest request,
                  std::function<void(platform::HttpResult)> completion) override;
    void downloadTask(platform::HttpRequest request,
                      std::function<void(platform::DownloadResult)> completion) override;

    std::vector<platform::HttpRequest> requests() const;
    std::size_t requestCount() const;
    // Requests whose URL contains `part`.
    std::vector<platform::HttpRequest> requestsTo(const std::string& part) const;

    void setHoldAnswers(bool hold) { hold_ = hold; }
    // Hands over every held answer, in order. Returns how many.
    std::size_t deliverHeld();

  private:
    platform::HttpResult resultFor(const platform::HttpRequest& request);

    platform::RunLoop& loop_;
    mutable std::mutex mutex_;
    std::vector<Rule> rules_;
    std::vector<platform::HttpRequest> requests_;
    std::deque<std::function<void()>> held_;
    bool hold_ = false;
};

}  // namespace quillgate::testing

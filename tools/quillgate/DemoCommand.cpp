// `quillgate demo`: the library end to end on one machine. It starts the local access
// service in-process, plays an application in the `local` mode against it, and walks one
// reader through a story, chapter by chapter. Each chapter does what a reader or the
// application does, waits on the real main loop until the library has answered (or a
// chapter's time is up), shows what happened, and checks it against what the library is meant
// to do. The exit status says whether every chapter went as expected.
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Clock.h"
#include "quillgate/platform/Url.h"
#include "quillgate/screens/BannerViewController.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/screens/WebViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/templates/RGViewController.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/WebView.h"
#include "tools/devserver/DevServer.h"

#include "tools/quillgate/Commands.h"
#include "tools/quillgate/HostApp.h"
#include "tools/quillgate/HostWindow.h"
#include "tools/quillgate/ReaderActions.h"
#include "tools/quillgate/WebPageActions.h"

namespace quillgate::host {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const char* const kDemoClientId = "quillgate-demo";

namespace {

// Longest a chapter may take on the wall clock, and how long the library may stay idle
// (nothing in flight, nothing due soon) before a chapter that has not reached its end is
// given up.
constexpr std::chrono::milliseconds kChapterLimit = 15s;
constexpr std::chrono::milliseconds kQuietLimit = 1500ms;
constexpr std::chrono::milliseconds kSettleLimit = 3s;
constexpr std::chrono::milliseconds kSlice = 100ms;
// Work due within this much time counts as activity (a wall's delay of a few seconds); a timer
// that keeps firing sooner (a countdown) keeps a chapter that is not done waiting until its
// limit.
constexpr auto kSoon = 6s;

// The system clock, which the story may move forward: a reader who stays on a wall for half
// a minute costs the demo no time. Everything the library times (delays, the ping) follows it;
// the service keeps the real time.
class StoryClock final : public platform::Clock {
  public:
    platform::TimePoint now() const override {
        return std::chrono::system_clock::now() + platform::Duration(skipped_.load());
    }
    platform::MonotonicTime monotonicNow() const override {
        return std::chrono::steady_clock::now() +
               std::chrono::duration_cast<platform::MonotonicTime::duration>(
                   platform::Duration(skipped_.load()));
    }
    void skip(platform::Duration d) { skipped_ += d.count(); }

  private:
    std::atomic<platform::Duration::rep> skipped_{0};
};

// A fresh directory for the reader's user defaults and fonts, removed at the end.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::error_code ec;
        std::string pattern = (fs::temp_directory_path(ec) / "quillgate-demo-XXXXXX").string();
        if (ec) {
            pattern = "/tmp/quillgate-demo-XXXXXX";
        }
        if (::mkdtemp(pattern.data()) != nullptr) {
            path_ = pattern;
        }
    }
    ~TemporaryDirectory() {
        if (!path_.empty()) {
            std::error_code ec;
            fs::remove_all(path_, ec);
        }
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

// The reader's story and what it has seen so far.
class Story {
  public:
    Story(HostApp& app, devserver::DevServer& server, StoryClock& clock)
        : app_(app), server_(server), clock_(clock) {}

    struct Chapter {
        std::string title;
        // What the library is meant to do, in a few words.
        std::string expectation;
        std::function<void()> act;
        // The end state of the chapter has been reached.
        std::function<bool()> ready;
        // What differs from the expectation; nothing when the chapter went as expected.
        std::function<std::optional<std::string>()> check;
    };

    void run(const Chapter& chapter) {
        ++number_;
        app_.say("");
        app_.say("== Chapter " + std::to_string(number_) + ": " + chapter.title);
        markCalls_ = app_.hostCalls().size();
        markRequests_ = lastRequestSequence();
        markEvents_ = server_.collector().count();

        chapter.act();
        waitFor(chapter.ready);
        app_.drainRequests(kSettleLimit);

        app_.printScreens();
        printRequests();
        takePicture();
        if (const auto problem = chapter.check()) {
            app_.say("-- NOT AS EXPECTED: " + *problem);
            failures_.push_back("chapter " + std::to_string(number_) + " (" + chapter.title +
                                "): " + *problem);
        } else {
            app_.say("-- as expected: " + chapter.expectation);
        }
    }

    // ---- What the chapter saw

    // Delegate calls since the chapter began.
    std::vector<std::string> calls() const {
        const auto all = app_.hostCalls();
        return {all.begin() + static_cast<std::ptrdiff_t>(std::min(markCalls_, all.size())),
                all.end()};
    }
    bool heard(const std::string& call) const {
        for (const auto& c : calls()) {
            if (c == call) {
                return true;
            }
        }
        return false;
    }
    bool heardStartingWith(const std::string& prefix) const {
        for (const auto& c : calls()) {
            if (c.rfind(prefix, 0) == 0) {
                return true;
            }
        }
        return false;
    }
    std::size_t countHeard(const std::string& call) const {
        std::size_t n = 0;
        for (const auto& c : calls()) {
            n += c == call ? 1 : 0;
        }
        return n;
    }
    bool screenIs(const std::string& className) const {
        const auto screens = app_.screens();
        return screens.size() == 1 && screens.front() == className + " tag 9988";
    }
    std::string screensText() const {
        const auto screens = app_.screens();
        if (screens.empty()) {
            return "none";
        }
        std::string text;
        for (const auto& s : screens) {
            text += (text.empty() ? "" : ", ") + s;
        }
        return text;
    }
    std::vector<devserver::RecordedRequest> requestsSinceMark() const {
        std::vector<devserver::RecordedRequest> list;
        for (auto& request : server_.controls().requests()) {
            if (request.sequence > markRequests_) {
                list.push_back(std::move(request));
            }
        }
        return list;
    }
    static bool isFontDownload(const devserver::RecordedRequest& request) {
        return (request.server == "web" && request.path.rfind("/fonts/", 0) == 0) ||
               (request.server == "collect" && request.path.rfind("/repo/", 0) == 0);
    }

    // What the service was asked in this chapter: one line per request, but the font files
    // in one line, and the events and pings left to the summary at the end.
    void printRequests() const {
        std::size_t fonts = 0;
        std::set<std::string> fontFiles;
        std::map<int, std::size_t> fontStatuses;
        for (const auto& request : requestsSinceMark()) {
            if (isFontDownload(request)) {
                ++fonts;
                fontFiles.insert(request.path);
                ++fontStatuses[request.status];
            } else if (request.server != "collect") {
                app_.say("service: " + request.method + " " + request.path + " -> " +
                         std::to_string(request.status));
            }
        }
        if (fonts > 0) {
            std::string statuses;
            for (const auto& [status, count] : fontStatuses) {
                statuses += (statuses.empty() ? "" : ", ") + std::to_string(status) + " x" +
                            std::to_string(count);
            }
            app_.say("service: GET fonts: " + std::to_string(fonts) + " downloads of " +
                     std::to_string(fontFiles.size()) + " files -> " + statuses);
        }
    }

    bool requested(const std::string& pathPrefix) const {
        for (const auto& request : requestsSinceMark()) {
            if (request.path.rfind(pathPrefix, 0) == 0) {
                return true;
            }
        }
        return false;
    }
    std::size_t fontDownloads() const {
        std::size_t n = 0;
        for (const auto& request : requestsSinceMark()) {
            n += isFontDownload(request) && request.status == 200 ? 1 : 0;
        }
        return n;
    }
    // Events and pings of this type the collection service received since the chapter began.
    std::size_t collected(const std::string& eventType) const {
        const auto events = server_.collector().events();
        std::size_t n = 0;
        for (std::size_t i = markEvents_; i < events.size(); ++i) {
            n += events[i].eventType == eventType ? 1 : 0;
        }
        return n;
    }

    // ---- Acting as the reader

    // The reader stays where they are for `seconds`: the story's clock moves on, and the main
    // loop runs what fell due, one second at a time.
    void stay(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            clock_.skip(std::chrono::seconds(1));
            app_.loop().runPending();
            app_.drainRequests(kSettleLimit);
        }
    }

    // Where a picture of the window goes after each chapter; none when empty.
    void setPicturesDirectory(fs::path directory) { pictures_ = std::move(directory); }

    HostApp& app() { return app_; }
    devserver::DevServer& server() { return server_; }
    const std::vector<std::string>& failures() const { return failures_; }
    int chapters() const { return number_; }

  private:
    // Runs the main loop until `ready` and nothing is in flight, until the chapter's time is
    // up, or until the library has stayed idle for a while without getting there.
    void waitFor(const std::function<bool()>& ready) {
        const auto start = std::chrono::steady_clock::now();
        auto lastBusy = start;
        const auto done = [&] {
            const auto now = std::chrono::steady_clock::now();
            if (app_.requestsInFlight() > 0) {
                lastBusy = now;
                return false;
            }
            if (ready()) {
                return true;
            }
            if (dueSoon()) {
                lastBusy = now;
                return false;
            }
            return now - lastBusy > kQuietLimit;
        };
        // In slices, so that quiet time is noticed even when nothing wakes the loop.
        while (!app_.loop().runUntil(done, kSlice)) {
            if (std::chrono::steady_clock::now() - start > kChapterLimit) {
                return;
            }
        }
    }

    void takePicture() {
        if (pictures_.empty()) {
            return;
        }
        const fs::path file = pictures_ / ("chapter-" + std::to_string(number_) + ".png");
        if (app_.writeSnapshot(file) == HostApp::Snapshot::written) {
            app_.say("picture: " + file.string());
        } else {
            app_.say("picture: cannot write " + file.string());
        }
    }

    bool dueSoon() const {
        const auto deadline = app_.loop().nextDeadline();

        return deadline && *deadline - clock_.monotonicNow() < kSoon;
    }

    std::uint64_t lastRequestSequence() const {
        std::uint64_t last = 0;
        for (const auto& request : server_.controls().requests()) {
            last = std::max(last, request.sequence);
        }
        return last;
    }

    HostApp& app_;
    devserver::DevServer& server_;
    StoryClock& clock_;
    int number_ = 0;
    std::size_t markCalls_ = 0;
    std::uint64_t markRequests_ = 0;
    std::size_t markEvents_ = 0;
    std::vector<std::string> failures_;
    fs::path pictures_;
};

// Opens an article the way an application does: everything it knows about it, this host as
// every delegate.
void openArticle(HostApp& app, const std::string& contentId, const std::string& title,
                 const std::string& section) {
    app.say("reader: opens \"" + title + "\" (" + contentId + ")");
    app.client().showPayWall(
        contentId, title, std::vector<std::string>{"news"}, std::vector<std::string>{section},
        std::vector<std::string>{"demo"}, "https://daily.quillgate.test/" + contentId, "Demo Desk",
        "https://daily.quillgate.test/" + contentId, app.parentView(), app.eventParamsDelegate(),
        app.googleLogInDelegate(), app.completionDelegate(), app.subscribeDelegate(),
        app.signInDelegate());
}

std::optional<std::string> unless(bool ok, std::string problem) {
    return ok ? std::nullopt : std::optional<std::string>(std::move(problem));
}

// The first problem of a list of (condition, problem) checks.
std::optional<std::string> firstProblem(
    std::initializer_list<std::pair<bool, std::string>> checks) {
    for (const auto& [ok, problem] : checks) {
        if (!ok) {
            return problem;
        }
    }
    return std::nullopt;
}

// The reader acts as `read --do` does: on a wall (tap, type) or on the web flow's page
// (choose, post, back). Returns whether the action got done.
bool readerDoes(HostApp& app, const std::string& action) {
    std::string error;
    const auto parsed = parseReaderAction(action, error);
    if (!parsed) {
        app.say("reader: " + error);
        return false;
    }
    return runReaderAction(app, *parsed) == ActionOutcome::done;
}

// Waits until the web flow screen is on show and its page has loaded.
bool pageShown(HostApp& app) {
    const auto loaded = [&] {
        auto screen = webFlowOnShow(app);
        return screen && !screen->webView->isLoading() && app.settled();
    };
    return app.loop().runUntil(loaded, kChapterLimit);
}

// Opens a wall's web flow as its buttons do (`payBtnTap`), then acts on the page.
void throughTheWebFlow(HostApp& app, bool isLogin, const std::string& action) {
    app.say(std::string("reader: taps the wall's ") + (isLogin ? "sign-in" : "buy") +
            " button (payBtnTap(event: true, isLogin: " + (isLogin ? "true" : "false") + "))");
    app.client().payBtnTap(true, isLogin);
    if (!pageShown(app)) {
        app.say("reader: sees no web page open");
        return;
    }
    readerDoes(app, action);
}

// ---- The story ---------------------------------------------------------------------------------

// The lambdas keep pointers to the story and the application, which outlive the list.
std::vector<Story::Chapter> chapters(Story* story) {
    HostApp* app = &story->app();
    std::vector<Story::Chapter> list;

    list.push_back({
        "a free article (free-article)",
        "the reader is let in (purchasedOrNot(accessTime: false)) and nothing covers the article",
        [=] { openArticle(*app, "free-article", "Rain expected over the weekend", "weather"); },
        [=] { return story->heardStartingWith("purchasedOrNot("); },
        [=] {
            return firstProblem({
                {story->countHeard("purchasedOrNot(accessTime: false)") == 1 &&
                     story->calls().size() == 1,
                 "the host should hear exactly purchasedOrNot(accessTime: false)"},
                {story->screensText() == "none",
                 "nothing should cover a free article, but the screen shows " +
                     story->screensText()},
            });
        },
    });

    list.push_back({
        "a metered article (metered-1)",
        "the meter lets the reader in (purchasedOrNot(accessTime: true)) and shows its banner",
        [=] { openArticle(*app, "metered-1", "The city budget, line by line", "politics"); },
        [=] {
            return story->heard("purchasedOrNot(accessTime: true)") &&
                   story->screenIs("BannerViewController");
        },
        [=] {
            const auto calls = story->calls();
            auto banner =
                std::dynamic_pointer_cast<BannerViewController>(app->client().customPayWallVC);
            const std::string step = banner ? banner->lblStep->text() : "";
            if (banner) {
                app->say("banner: \"" + step + "\"");
            }
            return firstProblem({
                {!calls.empty() && calls.front() == "purchasedOrNot(accessTime: false)",
                 "the journey's answer should first tell the host purchasedOrNot(accessTime: "
                 "false)"},
                {story->requested("/api/v1/metering/banner/"), "the banner was never asked for"},
                {story->heard("purchasedOrNot(accessTime: true)"),
                 "the banner's answer should tell the host purchasedOrNot(accessTime: true)"},
                {story->screenIs("BannerViewController"),
                 "the meter banner should be on show, but the screen shows " +
                     story->screensText()},
                {story->heardStartingWith("onMeterBannerVisible(paywallType: METER_BANNER, "),
                 "the host should hear onMeterBannerVisible"},
                {step == "You have 2 free articles left this month",
                 "the banner's strip reads \"" + step + "\""},
                {story->collected("VIEW") >= 1, "the banner's meter view never arrived"},
            });
        },
    });

    list.push_back({
        "a locked article (premium-3a)",
        "journey, content, configuration and fonts, then the 3A template paywall",
        [=] { openArticle(*app, "premium-3a", "Inside the harbour deal", "business"); },
        [=] { return story->screenIs("CTA3ViewController"); },
        [=] {
            return firstProblem({
                {story->calls().size() >= 1 &&
                     story->calls().front() == "purchasedOrNot(accessTime: false)",
                 "the host should first hear purchasedOrNot(accessTime: false)"},
                {story->requested("/api/v1/content"), "the content was never asked for"},
                {story->requested("/api/v1/paywall/paywall-config/"),
                 "the paywall configuration was never asked for"},
                {story->fontDownloads() > 0, "no font was downloaded for the template"},
                {story->screenIs("CTA3ViewController"),
                 "the 3A template should be on show, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the reader stays on the wall for half a minute",
        "the wall stays up and pings the collection service every 15 seconds while it is open "
        "(the story's clock moves on; the demo does not wait the half minute)",
        [=] {
            app->say("reader: stays on the wall for 30 seconds");
            story->stay(30);
        },
        [=] { return story->collected("PING") >= 2; },
        [=] {
            app->say("collected: PING x" + std::to_string(story->collected("PING")));
            return firstProblem({
                {story->collected("PING") == 2,
                 "two pings should reach the collection service in half a minute, but " +
                     std::to_string(story->collected("PING")) + " did"},
                {story->screenIs("CTA3ViewController"),
                 "the 3A wall should still be up, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the reader buys the article on the service's page",
        "the reader picks the wall's article offer and taps its button: the click is reported "
        "and the web flow screen loads the service's page; the purchase redirects it to the home "
        "address, which ends the flow, and the access check lets the reader in: the wall goes",
        [=] {
            for (const char* action : {"tap This article", "tap CONTINUE"}) {
                readerDoes(*app, action);
            }
            if (!pageShown(*app)) {
                app->say("reader: sees no web page open");
                return;
            }
            readerDoes(*app, "choose Buy this story");
        },
        [=] { return story->heard("purchasedOrNot(accessTime: true)") && !webFlowOnShow(*app); },
        [=] {
            return firstProblem({
                {story->collected("CLICK") == 1,
                 "the wall's button should report one click to the collection service"},
                {story->requested("/api/v1/login-challenge"),
                 "no login challenge reached the service"},
                {story->requested("/overlay/choose"),
                 "the page's choice never reached the service"},
                {story->heard("purchasedOrNot(accessTime: true)"),
                 "after the purchase the host should hear purchasedOrNot(accessTime: true)"},
                {!webFlowOnShow(*app), "the web flow screen should be gone"},
                {story->screensText() == "none",
                 "the wall should be gone, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the reader comes back to the article they bought (premium-3a)",
        "the journey knows the purchase: the reader is let in with access time left",
        [=] { openArticle(*app, "premium-3a", "Inside the harbour deal", "business"); },
        [=] { return story->heardStartingWith("purchasedOrNot("); },
        [=] {
            return firstProblem({
                {story->calls() == std::vector<std::string>{"purchasedOrNot(accessTime: true)"},
                 "the host should hear exactly purchasedOrNot(accessTime: true)"},
                {story->screensText() == "none",
                 "nothing should cover a bought article, but the screen shows " +
                     story->screensText()},
            });
        },
    });

    list.push_back({
        "a template the library does not know (premium-unknown-template)",
        "the library falls back to its default paywall: the article, a pass and a subscription "
        "on one card, whose height the host hears",
        [=] { openArticle(*app, "premium-unknown-template", "Tides of the future", "science"); },
        [=] { return story->screenIs("QuillgateStatusVC"); },
        [=] {
            auto card = std::dynamic_pointer_cast<QuillgateStatusVC>(app->client().blockerVC);
            if (!card) {
                return std::optional<std::string>(
                    "the default paywall should be on show, but "
                    "the screen shows " +
                    story->screensText());
            }
            const std::string price = card->contentPriceLbl->text();
            const std::string heard =
                "paywallHeight: " + description::number(card->containerView->frame().height());
            const auto calls = story->calls();
            app->say("card: \"" + price + "\" / \"" + card->lblPassMsg->text() + "\" / \"" +
                     card->subscriptionTitleLbl->text() + "\"");
            return firstProblem({
                {price == "Pay Optional(\"₹\")19.0 to read now",
                 "the card's price line reads \"" + price + "\""},
                {!card->topView->isHidden() && !card->middleView->isHidden() &&
                     !card->bottomView->isHidden(),
                 "the article, the pass and the subscription should all be offered"},
                {std::any_of(calls.begin(), calls.end(),
                             [&](const std::string& call) {
                                 return call.find(heard) != std::string::npos;
                             }),
                 "the host should hear the card's height (" + heard + ")"},
            });
        },
    });

    list.push_back({
        "a locked article for a reader without a subscription (premium-4a)",
        "the journey keeps the article locked and the 4A template paywall goes up",
        [=] { openArticle(*app, "premium-4a", "The long road to the port", "business"); },
        [=] { return story->screenIs("CTA4ViewController"); },
        [=] {
            return firstProblem({
                {story->heard("purchasedOrNot(accessTime: false)"),
                 "the host should hear purchasedOrNot(accessTime: false)"},
                {story->screenIs("CTA4ViewController"),
                 "the 4A template should be on show, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the reader signs in as a subscriber on the service's page",
        "the page posts its log-in result to \"loginSuccess\": the screen stores the session, "
        "closes, and the access check lets the subscriber in",
        [=] { throughTheWebFlow(*app, true, "choose Sign in as subscriber@quillgate.test"); },
        [=] { return story->heard("purchasedOrNot(accessTime: true)") && !webFlowOnShow(*app); },
        [=] {
            const auto session = Constants::sessionID();
            return firstProblem({
                {story->requested("/overlay/choose"),
                 "the page's choice never reached the service"},
                {session.has_value(), "no session was stored"},
                {story->heard("purchasedOrNot(accessTime: true)"),
                 "after signing in the host should hear purchasedOrNot(accessTime: true)"},
                {story->screensText() == "none",
                 "the wall should be gone, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the subscriber opens the next locked article (premium-5a)",
        "the stored session makes the journey let the subscriber in at once",
        [=] { openArticle(*app, "premium-5a", "Markets after the monsoon", "business"); },
        [=] { return story->heardStartingWith("purchasedOrNot("); },
        [=] {
            return firstProblem({
                {story->calls() == std::vector<std::string>{"purchasedOrNot(accessTime: true)"},
                 "the host should hear exactly purchasedOrNot(accessTime: true)"},
                {story->screensText() == "none",
                 "nothing should cover the subscriber's article, but the screen shows " +
                     story->screensText()},
            });
        },
    });

    // The plans screen can't be shown with plans: its plans row reads the plan before the first
    // one, a fault that ends the application. A subscriber never gets the screen: the access
    // check lets them in first.
    list.push_back({
        "the subscriber opens the subscription entry (subscription-plans)",
        "the access check finds the subscription: the host hears purchasedOrNot(accessTime: "
        "true) and no plans screen is put up",
        [=] {
            app->say("reader: opens the plans (initSubscriptions, subscription-plans)");
            app->client().initSubscriptions(
                "subscription-plans", std::string("Members' edition"),
                std::string("https://daily.quillgate.test/subscription-plans"), app->parentView(),
                app->completionDelegate(), app->subscribeDelegate(), app->signInDelegate(), true,
                app->googleLogInDelegate());
        },
        [=] { return story->heardStartingWith("purchasedOrNot("); },
        [=] {
            return firstProblem({
                {story->requested("/api/v1/subscription/access"),
                 "the subscription entry should ask the access check"},
                {story->calls() == std::vector<std::string>{"purchasedOrNot(accessTime: true)"},
                 "the host should hear exactly purchasedOrNot(accessTime: true)"},
                {!story->requested("/api/v1/subscription/embedded-subscription"),
                 "a subscriber should not be offered the plans"},
                {story->screensText() == "none",
                 "no plans screen should be up, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the subscriber signs out",
        "the service ends the session and the device forgets it",
        [=] {
            app->say("reader: signs out (the host calls getlogout)");
            app->client().getlogout(app->logoutDelegate());
        },
        [=] { return !Constants::sessionID().has_value() && story->requested("/api/v1/auth/"); },
        [=] {
            return firstProblem({
                {story->requested("/api/v1/auth/logout-via-sessionid"),
                 "the logout never reached the service"},
                {!Constants::sessionID().has_value(), "the session is still stored"},
            });
        },
    });

    // The reader's typing: whether the wall's submit button was enabled before and after.
    auto submitEnabled = std::make_shared<std::pair<bool, bool>>(true, false);

    list.push_back({
        "a registration wall (regwall-rg5-email)",
        "the article asks for an e-mail address: the RG5 wall, its submit button disabled "
        "until the reader types one",
        [=] {
            openArticle(*app, "regwall-rg5-email", "How the city reads: a survey of its libraries",
                        "books");
        },
        [=] { return story->screenIs("RGViewController"); },
        [=] {
            auto wall = std::dynamic_pointer_cast<RGViewController>(app->client().customPayWallVC);
            const bool disabled =
                wall && wall->footerCell && !wall->footerCell->btnSubscribe->isEnabled();
            return firstProblem({
                {story->heard("purchasedOrNot(accessTime: false)"),
                 "the host should hear purchasedOrNot(accessTime: false)"},
                {story->heardStartingWith("onPaywallVisible(paywallType: REGWALL, "),
                 "the host should hear onPaywallVisible for the registration wall"},
                {story->screenIs("RGViewController"),
                 "the registration wall should be on show, but the screen shows " +
                     story->screensText()},
                {wall && wall->cell && wall->cell->textField->placeholder() == "Email Id",
                 "the wall should ask for an e-mail address"},
                {disabled, "the submit button should be disabled before the reader types"},
            });
        },
    });

    list.push_back({
        "the reader registers with an e-mail address",
        "typing an address enables the button; the wall opens the service's page with the "
        "address, whose log-in result ends the flow, and the registered reader is let in",
        [=] {
            auto wall = std::dynamic_pointer_cast<RGViewController>(app->client().customPayWallVC);
            auto button = [&] {
                return wall && wall->footerCell && wall->footerCell->btnSubscribe->isEnabled();
            };
            readerDoes(*app, "type reader@example");
            submitEnabled->first = button();
            readerDoes(*app, "type .com");
            submitEnabled->second = button();
            readerDoes(*app, "tap REGISTER");
            if (!pageShown(*app)) {
                app->say("reader: sees no web page open");
                return;
            }
            readerDoes(*app, "choose Continue");
        },
        [=] { return story->heard("purchasedOrNot(accessTime: true)") && !webFlowOnShow(*app); },
        [=] {
            return firstProblem({
                {!submitEnabled->first && submitEnabled->second,
                 "the submit button should be enabled only once the address is whole"},
                {story->requested("/api/v1/login-challenge"),
                 "no login challenge reached the service"},
                {story->requested("/overlay/choose"),
                 "the page's choice never reached the service"},
                {story->collected("CLICK") >= 1, "the wall's EMAIL click never arrived"},
                {Constants::sessionID().has_value(), "no session was stored"},
                {story->heard("purchasedOrNot(accessTime: true)"),
                 "the registered reader should be let in (purchasedOrNot(accessTime: true))"},
                {story->screensText() == "none",
                 "the wall should be gone, but the screen shows " + story->screensText()},
            });
        },
    });

    list.push_back({
        "the reader closes the application",
        "exitSDK reports the exit to the collection service",
        [=] {
            app->say("reader: leaves the application (the host calls exitSDK)");
            app->client().exitSDK();
        },
        [=] { return story->collected("EXIT") >= 1; },
        [=] {
            return unless(story->collected("EXIT") == 1,
                          "one EXIT event should reach the collection service");
        },
    });

    return list;
}

void printCollection(HostApp& app, devserver::DevServer& server) {
    std::map<std::string, std::size_t> byType;
    const auto events = server.collector().events();
    for (const auto& event : events) {
        std::string key = event.eventType.empty() ? "(no type)" : event.eventType;
        if (!event.eventLocation.empty()) {
            key += " " + event.eventLocation;
        }
        ++byType[key];
    }
    app.say("");
    app.say("== The collection service received " + std::to_string(events.size()) +
            " events and pings");
    for (const auto& [key, count] : byType) {
        app.say("collected: " + key + " x" + std::to_string(count));
    }
}

}  // namespace

int runDemo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
            const DemoPorts& ports) {
    fs::path pictures;
    std::string logFile;
    bool window = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            out << "usage: quillgate demo [--pictures DIR] [--log FILE] [--window]\n"
                   "\n"
                   "Starts the local access service on 127.0.0.1 (API 3001, web pages 3000,\n"
                   "collection 3002), runs the library in the local mode against it and walks a\n"
                   "reader through free, metered and locked articles. Prints what the library\n"
                   "printed, the host's delegate calls and the screen on show, chapter by\n"
                   "chapter; exits 0 when every chapter went as expected.\n"
                   "\n"
                   "  --pictures DIR   write a picture of the window after each chapter\n"
                   "                   (DIR/chapter-N.png) and print its path\n"
                   "  --log FILE       write the library's own lines to FILE, leaving standard\n"
                   "                   output to the story: chapters, reader:, host:, toast:,\n"
                   "                   screen:\n"
                   "  --window         show the story in a window on the desktop, the\n"
                   "                   service's pages in a real web engine (needs a display)\n";
            return 0;
        }
        if (arg == "--window") {
            window = true;
            continue;
        }
        if (arg == "--pictures" && i + 1 < args.size() && !args[i + 1].empty()) {
            pictures = args[++i];
            continue;
        }
        if (arg == "--pictures") {
            return usageError(err, "demo: --pictures needs a directory");
        }
        if (arg == "--log" || arg.rfind("--log=", 0) == 0) {
            if (arg == "--log" && i + 1 < args.size()) {
                logFile = args[++i];
            } else if (arg != "--log") {
                logFile = arg.substr(6);
            }
            if (logFile.empty()) {
                return usageError(err, "demo: --log needs a file");
            }
            continue;
        }
        return usageError(err, "demo: unknown argument \"" + arg + "\"");
    }
    if (window) {
        if (const auto reason = windowUnavailableReason()) {
            err << "quillgate demo: --window: " << *reason << "\n";
            return 2;
        }
    }
    std::shared_ptr<std::ostream> libraryLog;
    if (!logFile.empty()) {
        std::string error;
        libraryLog = openLibraryLog(logFile, error);
        if (!libraryLog) {
            return usageError(err, "demo: " + error);
        }
    }
    if (!pictures.empty()) {
        std::error_code ec;
        fs::create_directories(pictures, ec);
        if (ec) {
            err << "quillgate demo: cannot make the directory " << pictures.string() << ": "
                << ec.message() << "\n";
            return 1;
        }
    }

    TemporaryDirectory state;
    if (state.path().empty()) {
        err << "quillgate demo: cannot make a temporary directory for the reader's state\n";
        return 1;
    }

    devserver::DevServer::Options serverOptions;
    serverOptions.apiPort = ports.api;
    serverOptions.webPort = ports.web;
    serverOptions.collectPort = ports.collect;
    devserver::DevServer server(serverOptions);
    if (const auto started = server.start(); !started) {
        err << "quillgate demo: cannot start the local access service: " << started.error << "\n"
            << "The demo needs 127.0.0.1 ports " << ports.api << " (API), " << ports.web
            << " (web pages) and " << ports.collect
            << " (collection). Stop whatever holds them (another `quillgate serve` or demo?) "
               "and run it again.\n";
        return 1;
    }

    auto clock = std::make_shared<StoryClock>();
    HostSetup setup;
    setup.stateDirectory = state.path();
    setup.clock = clock;
    // The service is on the loopback address, which needs no route to be reachable.
    setup.alwaysReachable = true;
    setup.libraryLog = libraryLog;
    HostApp app(out, std::move(setup));
    std::unique_ptr<HostWindow> hostWindow;
    if (window) {
        std::string error;
        hostWindow = openHostWindow(app, "Quillgate demo", error);
        if (!hostWindow) {
            err << "quillgate demo: --window: " << error << "\n";
            return 2;
        }
    }

    QuillgateClient& client = app.client();
    server.pointAt(client.deployment);
    client.configure(Mode::local, kDemoClientId);

    app.say("== Quillgate demo: one reader, the publisher " + std::string(kDemoClientId) +
            ", the local access service");
    app.say("== The local access service: API " + server.apiBase() + ", web pages " +
            server.webBase() + ", collection " + server.collectUrl());

    Story story(app, server, *clock);
    story.setPicturesDirectory(pictures);
    for (const auto& chapter : chapters(&story)) {
        story.run(chapter);
    }
    app.drainRequests(kSettleLimit);
    printCollection(app, server);

    app.say("");
    if (!logFile.empty()) {
        app.say("== The library's own lines are in " + logFile);
    }
    if (story.failures().empty()) {
        app.say("== The story ran as expected (" + std::to_string(story.chapters()) + " chapters)");
        return 0;
    }
    app.say("== The story did not run as expected:");
    for (const auto& failure : story.failures()) {
        app.say("failed: " + failure);
    }
    err << "quillgate demo: " << story.failures().size() << " of " << story.chapters()
        << " chapters did not go as expected\n";
    return 1;
}

int runDemo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    return runDemo(args, out, err, DemoPorts{});
}

}  // namespace quillgate::host

#include "tools/quillgate/HostApp.h"

#include <charconv>
#include <fstream>
#include <ostream>
#include <utility>

#include "quillgate/client/Delegates.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/HttpSession.h"
#include "quillgate/platform/Reachability.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/Renderer.h"
#include "quillgate/ui/SafariViewController.h"
#include "quillgate/ui/TreeDescription.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"

namespace quillgate::host {

void Transcript::write(std::string_view line) {
    std::lock_guard lock(mutex_);
    out_ << line << '\n';
    out_.flush();
}

std::string describeFloat(double value) {
    char buffer[64];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (ec != std::errc()) {
        return "nan";
    }
    std::string text(buffer, end);
    if (text.find_first_of(".einf") == std::string::npos) {
        text += ".0";
    }
    return text;
}

namespace {
// Work due later than this leaves the library settled (a ping in fifteen seconds); work due
// sooner is part of what the library is still doing.
constexpr auto kSettledAfter = std::chrono::milliseconds(500);
constexpr auto kSettleSlice = std::chrono::milliseconds(100);
}  // namespace

// ---- Counting the transfers ------------------------------------------------------------------

// Counts the requests under way, so that the host can wait until the library has nothing in
// flight. A request counts itself done on the main queue, in a task queued after the one its
// completion handed the answer over in: once the count reaches zero every answer has run, and
// the task that drops the count is what wakes a loop waiting for it.
class CountingHttpSession final : public platform::HttpSession {
  public:
    CountingHttpSession(std::shared_ptr<platform::HttpSession> inner,
                        std::shared_ptr<platform::RunLoop> mainQueue)
        : inner_(std::move(inner)), mainQueue_(std::move(mainQueue)) {}

    void dataTask(platform::HttpRequest request,
                  std::function<void(platform::HttpResult)> completion) override {
        ++*count_;
        inner_->dataTask(std::move(request), counted(std::move(completion)));
    }

    void downloadTask(platform::HttpRequest request,
                      std::function<void(platform::DownloadResult)> completion) override {
        ++*count_;
        inner_->downloadTask(std::move(request), counted(std::move(completion)));
    }

    int inFlight() const { return count_->load(); }

  private:
    template <typename Result>
    std::function<void(Result)> counted(std::function<void(Result)> completion) const {
        return [count = count_, queue = mainQueue_,
                completion = std::move(completion)](Result result) {
            completion(std::move(result));
            if (queue) {
                queue->async([count] { --*count; });
            } else {
                --*count;
            }
        };
    }

    // Shared with the completions, which the inner session may call while it is torn down.
    std::shared_ptr<std::atomic<int>> count_ = std::make_shared<std::atomic<int>>(0);
    std::shared_ptr<platform::HttpSession> inner_;
    std::shared_ptr<platform::RunLoop> mainQueue_;
};

// ---- The delegates ---------------------------------------------------------------------------

namespace {

std::string optionalText(const std::optional<std::string>& text) {
    return text ? *text : "nil";
}

std::string boolText(bool value) {
    return value ? "true" : "false";
}

using Hear = std::function<void(std::string)>;

class CompletionHandler final : public QuillgateCompletionHandlerDelegate {
  public:
    explicit CompletionHandler(Hear hear) : hear_(std::move(hear)) {}
    void purchasedOrNot(bool accessTime) override {
        hear_("purchasedOrNot(accessTime: " + boolText(accessTime) + ")");
    }
    void onPaywallVisible(const std::string& paywallType, const std::string& paywallDisplayType,
                          double paywallHeight, const std::string& paywallId) override {
        hear_("onPaywallVisible(paywallType: " + paywallType + ", paywallDisplayType: " +
              paywallDisplayType + ", paywallHeight: " + describeFloat(paywallHeight) +
              ", paywallId: " + paywallId + ")");
    }
    void onMeterBannerVisible(const std::string& paywallType, const std::string& meterBannerId,
                              double paywallHeight) override {
        hear_("onMeterBannerVisible(paywallType: " + paywallType + ", meterBannerId: " +
              meterBannerId + ", paywallHeight: " + describeFloat(paywallHeight) + ")");
    }
    void onCustomLinkSlot(const std::optional<std::string>& link,
                          const std::string& contentId) override {
        hear_("onCustomLinkSlot(link: " + optionalText(link) + ", contentId: " + contentId + ")");
    }

  private:
    Hear hear_;
};

class SubscribeTap final : public QuillgateSubscribeBtnTapDelegate {
  public:
    explicit SubscribeTap(Hear hear) : hear_(std::move(hear)) {}
    void subscribeBtnTap() override { hear_("subscribeBtnTap()"); }

  private:
    Hear hear_;
};

class SignInTap final : public QuillgateSignBtnTapDelegate {
  public:
    explicit SignInTap(Hear hear) : hear_(std::move(hear)) {}
    void signInTap() override { hear_("signInTap()"); }

  private:
    Hear hear_;
};

class UserDetails final : public QuillgateUserDetailsDelegate {
  public:
    explicit UserDetails(Hear hear) : hear_(std::move(hear)) {}
    void success(const std::string& userDetails) override {
        hear_("success(userDetails: " + userDetails + ")");
    }
    void failure(const std::string& error) override { hear_("failure(error: " + error + ")"); }

  private:
    Hear hear_;
};

class EventParams final : public QuillgateEventParamsDelegate {
  public:
    explicit EventParams(Hear hear) : hear_(std::move(hear)) {}
    void success(const std::string& paywallId, const std::string& contentId,
                 const std::string& paywallType, const std::string& clientId,
                 const std::string& anonId) override {
        hear_("success(paywallId: " + paywallId + ", contentId: " + contentId + ", paywallType: " +
              paywallType + ", clientId: " + clientId + ", anonId: " + anonId + ")");
    }
    void failure(const std::string& error) override { hear_("failure(error: " + error + ")"); }

  private:
    Hear hear_;
};

class Logout final : public Quillgatelogout {
  public:
    explicit Logout(Hear hear) : hear_(std::move(hear)) {}
    void succes(const std::string& successData) override {
        hear_("succes(successData: " + successData + ")");
    }
    void fail(const std::string& error) override { hear_("fail(error: " + error + ")"); }

  private:
    Hear hear_;
};

class AutoLogIn final : public QuillgateAutoLogInDelegate {
  public:
    explicit AutoLogIn(Hear hear) : hear_(std::move(hear)) {}
    void autoLogInsuccess() override { hear_("autoLogInsuccess()"); }
    void autoLogInfailure() override { hear_("autoLogInfailure()"); }

  private:
    Hear hear_;
};

class GoogleLogIn final : public QuillgateGoogleLogInDelegate {
  public:
    explicit GoogleLogIn(Hear hear) : hear_(std::move(hear)) {}
    void startGoogleLogin() override { hear_("startGoogleLogin()"); }

  private:
    Hear hear_;
};

}  // namespace

class HostApp::Delegates {
  public:
    explicit Delegates(const Hear& hear)
        : completion(std::make_shared<CompletionHandler>(hear)),
          subscribe(std::make_shared<SubscribeTap>(hear)),
          signIn(std::make_shared<SignInTap>(hear)),
          userDetails(std::make_shared<UserDetails>(hear)),
          eventParams(std::make_shared<EventParams>(hear)),
          logout(std::make_shared<Logout>(hear)),
          autoLogIn(std::make_shared<AutoLogIn>(hear)),
          googleLogIn(std::make_shared<GoogleLogIn>(hear)) {}

    std::shared_ptr<QuillgateCompletionHandlerDelegate> completion;
    std::shared_ptr<QuillgateSubscribeBtnTapDelegate> subscribe;
    std::shared_ptr<QuillgateSignBtnTapDelegate> signIn;
    std::shared_ptr<QuillgateUserDetailsDelegate> userDetails;
    std::shared_ptr<QuillgateEventParamsDelegate> eventParams;
    std::shared_ptr<Quillgatelogout> logout;
    std::shared_ptr<QuillgateAutoLogInDelegate> autoLogIn;
    std::shared_ptr<QuillgateGoogleLogInDelegate> googleLogIn;
};

// ---- The application -------------------------------------------------------------------------

std::shared_ptr<std::ostream> openLibraryLog(const std::string& path, std::string& error) {
    auto file = std::make_shared<std::ofstream>(path, std::ios::out | std::ios::trunc);
    if (!*file) {
        error = "cannot write the log file \"" + path + "\"";
        return nullptr;
    }
    return file;
}

HostApp::HostApp(std::ostream& out, HostSetup setup)
    : transcript_(out), libraryLog_(std::move(setup.libraryLog)) {
    // The command owns the process's library state from here on.
    platform::resetProcessState();

    auto platform = platform::makeLinuxPlatform(setup.stateDirectory);
    if (setup.clock) {
        platform->clock = setup.clock;
        platform->runLoop = std::make_shared<platform::RunLoop>(setup.clock);
    }
    if (setup.alwaysReachable) {
        platform->reachability = std::make_shared<platform::FixedReachability>(true);
    }
    if (setup.adjust) {
        setup.adjust(*platform);
    }
    http_ = std::make_shared<CountingHttpSession>(platform->http, platform->runLoop);
    platform->http = http_;
    platform::install(platform);
    // The library's lines join the transcript, or go to their own file. The sink owns the
    // file's transcript, since a line from the HTTP thread may still be on its way when the
    // process state is reset.
    if (libraryLog_) {
        auto file = std::make_shared<Transcript>(*libraryLog_);
        libraryTranscript_ = file;
        platform::setLogSink(
            [file, log = libraryLog_](std::string_view line) { file->write(line); });
    } else {
        platform::setLogSink([this](std::string_view line) { transcript_.write(line); });
    }

    delegates_ = std::make_shared<Delegates>([this](std::string call) { heard(std::move(call)); });

    if (setup.screenSize) {
        ui::Screen screen = ui::Application::shared().mainScreen();
        screen.bounds = ui::Rect(ui::Point{}, *setup.screenSize);
        ui::Application::shared().setMainScreen(screen);
    }
    // A phone's key window (or one of the asked size); its root controller's view holds the
    // article's parent view.
    auto root = ui::ViewController::create<ui::ViewController>();
    window_ = ui::Application::shared().showWindow(root);
    // The article behind the walls is a white page.
    root->view()->setBackgroundColor(ui::Color::white());
    parentView_ = std::make_shared<ui::View>(root->view()->bounds());
    root->view()->addSubview(parentView_);
    // The article's page fills the window, turned or not.
    ui::pinToEdges(parentView_, root->view());

    Toast::shared().didShow = [this](const std::string& message) {
        toasts_.push_back(message);
        say("toast: " + message);
    };
}

HostApp::~HostApp() {
    // The platform's session must go with the platform, while the transcript still listens.
    http_.reset();
    platform::resetProcessState();
}

QuillgateClient& HostApp::client() {
    return QuillgateClient::shared();
}

platform::RunLoop& HostApp::loop() {
    return platform::mainQueue();
}

void HostApp::heard(std::string call) {
    say("host: " + call);
    calls_.push_back(std::move(call));
}

std::shared_ptr<QuillgateCompletionHandlerDelegate> HostApp::completionDelegate() const {
    return delegates_->completion;
}
std::shared_ptr<QuillgateSubscribeBtnTapDelegate> HostApp::subscribeDelegate() const {
    return delegates_->subscribe;
}
std::shared_ptr<QuillgateSignBtnTapDelegate> HostApp::signInDelegate() const {
    return delegates_->signIn;
}
std::shared_ptr<QuillgateUserDetailsDelegate> HostApp::userDetailsDelegate() const {
    return delegates_->userDetails;
}
std::shared_ptr<QuillgateEventParamsDelegate> HostApp::eventParamsDelegate() const {
    return delegates_->eventParams;
}
std::shared_ptr<Quillgatelogout> HostApp::logoutDelegate() const {
    return delegates_->logout;
}
std::shared_ptr<QuillgateAutoLogInDelegate> HostApp::autoLogInDelegate() const {
    return delegates_->autoLogIn;
}
std::shared_ptr<QuillgateGoogleLogInDelegate> HostApp::googleLogInDelegate() const {
    return delegates_->googleLogIn;
}

int HostApp::requestsInFlight() const {
    return http_ ? http_->inFlight() : 0;
}

bool HostApp::drainRequests(std::chrono::milliseconds limit) {
    // Requests count themselves done on the main queue after their answers have run there
    // (answers may start new requests, which count at once).
    return loop().runUntil([this] { return requestsInFlight() == 0; }, limit);
}

void HostApp::runFor(std::chrono::milliseconds duration, const std::function<bool()>& until) {
    loop().runUntil([&] { return until && until(); }, duration);
}

bool HostApp::settled() const {
    if (requestsInFlight() > 0) {
        return false;
    }
    const auto deadline = platform::mainQueue().nextDeadline();
    return !deadline || *deadline - platform::current().clock->monotonicNow() > kSettledAfter;
}

bool HostApp::waitUntilSettled(std::chrono::milliseconds limit) {
    // In slices: work falling due wakes the loop, but time passing until the next deadline is
    // far enough away does not.
    const auto giveUp = std::chrono::steady_clock::now() + limit;
    while (!loop().runUntil([this] { return settled(); }, kSettleSlice)) {
        if (std::chrono::steady_clock::now() >= giveUp) {
            return false;
        }
    }
    return true;
}

bool HostApp::wallIsUp() const {
    return !parentView_->subviews().empty() || window_->subviews().size() > 1;
}

HostApp::Snapshot HostApp::writeSnapshot(const std::filesystem::path& file, double scale) {
    const auto window = ui::Application::shared().keyWindow();
    if (!window) {
        return Snapshot::noWindow;
    }
    window->layoutIfNeeded();
    if (windowPicture_) {
        return windowPicture_(file) ? Snapshot::written : Snapshot::notWritten;
    }
    return ui::writePicture(*window, file, scale) ? Snapshot::written : Snapshot::notWritten;
}

std::vector<std::string> HostApp::treeLines() const {
    std::vector<std::string> lines;
    const std::string text = ui::describeTree(parentView_);
    std::size_t start = 0;
    while (start < text.size()) {
        const auto end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        start = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
}

std::vector<std::string> HostApp::screens() const {
    std::vector<std::string> lines;
    for (const auto& view : parentView_->subviews()) {
        const auto controller = view->owningViewController();
        const std::string name = controller ? controller->className() : view->className();
        lines.push_back(name + " tag " + std::to_string(view->tag()));
    }
    return lines;
}

void HostApp::printScreens() {
    const auto lines = screens();
    if (lines.empty()) {
        say("screen: none");
    }
    for (const auto& line : lines) {
        say("screen: " + line);
    }
}

void HostApp::printPresented() {
    auto root = window_->rootViewController();
    for (auto shown = root ? root->presentedViewController() : nullptr; shown;
         shown = shown->presentedViewController()) {
        std::string line = "presented: " + shown->className();
        if (const auto* browser = dynamic_cast<const ui::SafariViewController*>(shown.get())) {
            line += " " + browser->url();
        }
        say(line);
    }
}

}  // namespace quillgate::host

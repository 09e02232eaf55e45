#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/platform/Platform.h"
#include "quillgate/ui/Geometry.h"

namespace quillgate {
class QuillgateClient;
class QuillgateCompletionHandlerDelegate;
class QuillgateSubscribeBtnTapDelegate;
class QuillgateSignBtnTapDelegate;
class QuillgateUserDetailsDelegate;
class QuillgateEventParamsDelegate;
class Quillgatelogout;
class QuillgateAutoLogInDelegate;
class QuillgateGoogleLogInDelegate;
namespace ui {
class View;
class Window;
}  // namespace ui
}  // namespace quillgate

// The application that `read` and `demo` play: it owns the process's library state for the
// life of one command. It installs the Linux platform (its own clock and state directory when
// asked), puts up a key window whose root controller holds the `parentView` that walls go
// into, acts as every delegate the library answers through, and writes one transcript:
//
//   - every line the library prints, unchanged and in order (or, when the setup gives a
//     library log, none: they go there);
//   - "host: " + each delegate call, as the operation and its labelled arguments;
//   - "toast: " + the message of each toast shown in the window;
//   - on request, "screen: " + a summary of each view in parentView.
//
// The library prints from the HTTP session's thread too, so every line goes through one lock.
// Everything else belongs to the main thread: construct, drive and destroy a HostApp there.
// Its destructor starts the process state over (platform::resetProcessState), so commands
// and tests can run one after another in one process.
namespace quillgate::host {

// Lines onto one stream, whole and in order, from any thread.
class Transcript {
  public:
    explicit Transcript(std::ostream& out) : out_(out) {}
    void write(std::string_view line);

  private:
    std::mutex mutex_;
    std::ostream& out_;
};

class HostApp;

// What a command may choose of the platform it runs on.
struct HostSetup {
    // The user defaults file and the documents directory; empty: the user's data directory.
    std::filesystem::path stateDirectory;
    // Null: the system clock.
    std::shared_ptr<platform::Clock> clock;
    // Replaces the routing-table check by "always up" (a service on loopback needs no route).
    bool alwaysReachable = false;
    // A last word on the platform before it is installed (tests).
    std::function<void(platform::Platform&)> adjust;
    // Ends `read`'s run before its time once true (tests, which know what they wait for).
    std::function<bool(const HostApp&)> finishedEarly;
    // Where the library's own lines go (`--log FILE`); null: into the transcript with the
    // host's lines.
    std::shared_ptr<std::ostream> libraryLog;
    // The size of the screen, and so of the key window, in points; empty: a phone's.
    std::optional<ui::Size> screenSize;
};

// Opens (truncates) the file that `--log FILE` names; null with `error` set when it cannot.
std::shared_ptr<std::ostream> openLibraryLog(const std::string& path, std::string& error);

// The HTTP session of the platform, wrapped so that the host knows how many transfers are
// still under way (to let them finish before it leaves). Thread-safe.
class CountingHttpSession;

class HostApp {
  public:
    HostApp(std::ostream& out, HostSetup setup);
    ~HostApp();
    HostApp(const HostApp&) = delete;
    HostApp& operator=(const HostApp&) = delete;

    QuillgateClient& client();
    platform::RunLoop& loop();
    const std::shared_ptr<ui::View>& parentView() const { return parentView_; }
    const std::shared_ptr<ui::Window>& window() const { return window_; }

    // The host's own lines ("host: ...", "toast: ...", "screen: ...", and any other text).
    void say(std::string_view line) { transcript_.write(line); }

    // Every delegate call heard so far, without the "host: " prefix, in order.
    std::vector<std::string> hostCalls() const { return calls_; }
    std::size_t hostCallCount() const { return calls_.size(); }  // without copying the calls
    // Every toast message shown so far, in order.
    std::vector<std::string> toasts() const { return toasts_; }

    // The delegates to hand to the library; the HostApp owns them.
    std::shared_ptr<QuillgateCompletionHandlerDelegate> completionDelegate() const;
    std::shared_ptr<QuillgateSubscribeBtnTapDelegate> subscribeDelegate() const;
    std::shared_ptr<QuillgateSignBtnTapDelegate> signInDelegate() const;
    std::shared_ptr<QuillgateUserDetailsDelegate> userDetailsDelegate() const;
    std::shared_ptr<QuillgateEventParamsDelegate> eventParamsDelegate() const;
    std::shared_ptr<Quillgatelogout> logoutDelegate() const;
    std::shared_ptr<QuillgateAutoLogInDelegate> autoLogInDelegate() const;
    std::shared_ptr<QuillgateGoogleLogInDelegate> googleLogInDelegate() const;

    // Transfers started whose answers have not yet run on the main queue (data and download
    // tasks).
    int requestsInFlight() const;
    // Runs the main loop until no transfer is under way, or `limit` of wall time has passed.
    // Returns whether it got there.
    bool drainRequests(std::chrono::milliseconds limit);
    // Runs the main loop for `duration` of wall time, or until `until` is true.
    void runFor(std::chrono::milliseconds duration, const std::function<bool()>& until = {});

    // Settled: no transfer under way and nothing due on the main queue within half a second.
    bool settled() const;
    // Runs the main loop until it has settled, or `limit` of wall time has passed. Returns
    // whether it settled.
    bool waitUntilSettled(std::chrono::milliseconds limit);
    // Something covers the article: a view in parentView or a controller presented over the
    // window's root.
    bool wallIsUp() const;

    // A picture of the key window at `scale` pixels per point, as a PNG file.
    enum class Snapshot { written, noWindow, notWritten };
    Snapshot writeSnapshot(const std::filesystem::path& file, double scale = 2);
    // With a real window on screen (`--window`): its picture, web pages included and at the
    // toolkit's scale, replaces the renderer's picture of the tree in writeSnapshot.
    void setWindowPicture(std::function<bool(const std::filesystem::path&)> picture) {
        windowPicture_ = std::move(picture);
    }
    // The tree of parentView, one line per view (see ui::describeTree).
    std::vector<std::string> treeLines() const;

    // One line per view in parentView: its controller's class name when the view is a
    // controller's root view, else the view's, then its tag ("CTA3ViewController tag 9988").
    std::vector<std::string> screens() const;
    // Writes "screen: " + each of them, or "screen: none".
    void printScreens();
    // Writes "presented: " + the class of each controller presented over the window's root,
    // in order, with the address of an in-app browser ("presented: SafariViewController
    // https://..."); nothing when none is.
    void printPresented();

  private:
    class Delegates;
    friend class Delegates;
    void heard(std::string call);

    Transcript transcript_;
    std::shared_ptr<std::ostream> libraryLog_;
    std::shared_ptr<Transcript> libraryTranscript_;
    std::shared_ptr<CountingHttpSession> http_;
    std::shared_ptr<Delegates> delegates_;
    std::shared_ptr<ui::Window> window_;
    std::shared_ptr<ui::View> parentView_;
    std::vector<std::string> calls_;
    std::vector<std::string> toasts_;
    std::function<bool(const std::filesystem::path&)> windowPicture_;
};

// Writes a number the way the platform's float description does: the shortest text that
// reads back the same, with ".0" on whole numbers ("412.0", "0.5").
std::string describeFloat(double value);

}  // namespace quillgate::host

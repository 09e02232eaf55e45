// A minimal application embedding quillgate: it installs the Linux platform, puts up a window
// with a view for walls, opens one article against an access service and prints what the
// library tells it. The library's own lines go to standard error, the host's to standard
// output.
//
//   minimal-host --api-base http://127.0.0.1:3001/api/v1 --web-base http://127.0.0.1:3000/
//       --collect-url http://127.0.0.1:3002/collect/event --content-id premium-3a
//
// Exits 0 once the library has said whether the reader may read the article, 1 if it has not
// within ten seconds, 2 on a usage error.

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "quillgate/client/Delegates.h"
#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Reachability.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"

namespace {

// The library answers through these; every call arrives on the main thread.
class Host final : public quillgate::QuillgateCompletionHandlerDelegate {
  public:
    bool answered = false;

    void purchasedOrNot(bool accessTime) override {
        answered = true;
        std::cout << "host: purchasedOrNot(accessTime: " << (accessTime ? "true" : "false") << ")"
                  << std::endl;
    }
    void onPaywallVisible(const std::string& paywallType, const std::string& paywallDisplayType,
                          double paywallHeight, const std::string& paywallId) override {
        std::cout << "host: onPaywallVisible(" << paywallType << ", " << paywallDisplayType << ", "
                  << paywallHeight << ", " << paywallId << ")" << std::endl;
    }
    void onMeterBannerVisible(const std::string& paywallType, const std::string& meterBannerId,
                              double paywallHeight) override {
        std::cout << "host: onMeterBannerVisible(" << paywallType << ", " << meterBannerId << ", "
                  << paywallHeight << ")" << std::endl;
    }
    void onCustomLinkSlot(const std::optional<std::string>& link,
                          const std::string& contentId) override {
        std::cout << "host: onCustomLinkSlot(" << link.value_or("nil") << ", " << contentId << ")"
                  << std::endl;
    }
};

// The application's own main loop: it sleeps until the library's main queue has work due (or
// is woken because work was posted from another thread), then runs what is due.
void runMainLoop(quillgate::platform::RunLoop& queue, std::chrono::seconds limit,
                 const std::function<bool()>& done) {
    std::mutex mutex;
    std::condition_variable wake;
    bool woken = false;
    queue.setWakeUpCallback([&] {
        std::lock_guard lock(mutex);
        woken = true;
        wake.notify_one();
    });
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done() && std::chrono::steady_clock::now() < end) {
        queue.runPending();
        std::unique_lock lock(mutex);
        auto until = end;
        if (auto deadline = queue.nextDeadline(); deadline && *deadline < until) {
            until = *deadline;
        }
        wake.wait_until(lock, until, [&] { return woken; });
        woken = false;
    }
    queue.setWakeUpCallback(nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options = {
        {"--client-id", "quillgate-demo"},
        {"--content-id", "premium-3a"},
        {"--state-dir", (std::filesystem::temp_directory_path() / "quillgate-minimal-host")}};
    for (int i = 1; i + 1 < argc; i += 2) {
        options[argv[i]] = argv[i + 1];
    }
    if (argc % 2 == 0 || !options.count("--api-base") || !options.count("--web-base") ||
        !options.count("--collect-url")) {
        std::cerr << "usage: minimal-host --api-base URL --web-base URL --collect-url URL "
                     "[--client-id ID] [--content-id ID] [--state-dir DIR]\n";
        return 2;
    }

    namespace platform = quillgate::platform;
    // The Linux platform, with the library's state under a directory of our choosing. A
    // service on the loopback address needs no route to the outside, so the network counts
    // as up.
    auto linuxPlatform = platform::makeLinuxPlatform(options["--state-dir"]);
    linuxPlatform->reachability = std::make_shared<platform::FixedReachability>(true);
    platform::install(linuxPlatform);
    platform::setLogSink([](std::string_view line) {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    });

    // A window whose root controller's view holds the view that walls go into.
    auto root = quillgate::ui::ViewController::create<quillgate::ui::ViewController>();
    auto window = quillgate::ui::Application::shared().showWindow(root);
    auto parentView = std::make_shared<quillgate::ui::View>(root->view()->bounds());
    root->view()->addSubview(parentView);

    auto& client = quillgate::QuillgateClient::shared();
    auto& local = client.deployment.addresses(quillgate::Mode::local);
    local.apiBase = options["--api-base"];
    local.webBase = options["--web-base"];
    local.collectionAddress = options["--collect-url"];
    client.configure(quillgate::Mode::local, options["--client-id"]);

    auto host = std::make_shared<Host>();
    std::cout << "host: opening " << options["--content-id"] << std::endl;
    client.showPayWall(options["--content-id"], "An article", std::nullopt, std::nullopt,
                       std::nullopt, std::nullopt, std::nullopt, std::nullopt, parentView, nullptr,
                       nullptr, host, nullptr, nullptr);

    runMainLoop(platform::mainQueue(), std::chrono::seconds(10), [&] { return host->answered; });
    // A wall's screens come a moment after the answer: let the loop run a little longer.
    runMainLoop(platform::mainQueue(), std::chrono::seconds(1), [] { return false; });
    client.exitSDK();
    runMainLoop(platform::mainQueue(), std::chrono::seconds(1), [] { return false; });

    std::cout << "host: " << parentView->subviews().size() << " view(s) over the article"
              << std::endl;
    platform::resetProcessState();
    return host->answered ? 0 : 1;
}

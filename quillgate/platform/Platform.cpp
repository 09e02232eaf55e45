#include "quillgate/platform/Platform.h"

#include <mutex>
#include <vector>

namespace quillgate::platform {

namespace detail {
std::mutex& sinkMutex();
LogSink& sinkSlot();
}  // namespace detail

namespace {
std::shared_ptr<Platform>& slot() {
    static std::shared_ptr<Platform> installed;
    return installed;
}

std::vector<std::function<void()>>& resets() {
    static std::vector<std::function<void()>> list;
    return list;
}

bool sinkWasSet() {
    std::lock_guard lock(detail::sinkMutex());
    return static_cast<bool>(detail::sinkSlot());
}
}  // namespace

void install(std::shared_ptr<Platform> platform) {
    if (!platform) {
        return;
    }
    // A platform without a sink of its own keeps the one the application set.
    if (!platform->logSink && sinkWasSet()) {
        platform->logSink = currentLogSink();
    }
    const bool complete = platform->clock && platform->runLoop && platform->http &&
                          platform->defaults && platform->reachability && platform->fonts &&
                          platform->textLayout && platform->logSink && platform->makeUuid &&
                          platform->makeImageCanvas && !platform->documentsDirectory.empty();
    if (!complete) {
        auto fallback = makeLinuxPlatform(platform->stateDirectory);
        if (!platform->clock) {
            platform->clock = platform->runLoop ? platform->runLoop->clock() : fallback->clock;
        }
        if (!platform->runLoop) {
            platform->runLoop = std::make_shared<RunLoop>(platform->clock);
        }
        if (!platform->http)
            platform->http = fallback->http;
        if (!platform->defaults)
            platform->defaults = fallback->defaults;
        if (!platform->reachability)
            platform->reachability = fallback->reachability;
        if (!platform->fonts)
            platform->fonts = fallback->fonts;
        if (!platform->textLayout)
            platform->textLayout = fallback->textLayout;
        if (platform->device.model.empty())
            platform->device = fallback->device;
        if (platform->stateDirectory.empty())
            platform->stateDirectory = fallback->stateDirectory;
        if (platform->documentsDirectory.empty()) {
            platform->documentsDirectory = fallback->documentsDirectory;
        }
        if (!platform->logSink)
            platform->logSink = fallback->logSink;
        if (!platform->makeUuid)
            platform->makeUuid = fallback->makeUuid;
        if (!platform->makeImageCanvas)
            platform->makeImageCanvas = fallback->makeImageCanvas;
    }
    setLogSink(platform->logSink);
    slot() = std::move(platform);
}

Platform& current() {
    if (!slot()) {
        auto linuxPlatform = makeLinuxPlatform();
        // A sink the application set before its first call into the library stays.
        if (sinkWasSet()) {
            linuxPlatform->logSink = currentLogSink();
        }
        install(std::move(linuxPlatform));
    }
    return *slot();
}

bool isInstalled() {
    return slot() != nullptr;
}

void registerSharedInstanceReset(std::function<void()> reset) {
    resets().push_back(std::move(reset));
}

void resetProcessState() {
    // The HTTP session's thread prints and reads the platform from its completions, so the
    // session goes first, while the platform is still installed: once the shared instances
    // have dropped their references, its destructor stops and joins that thread.
    std::shared_ptr<HttpSession> http;
    if (auto& installed = slot()) {
        http = std::move(installed->http);
    }
    // Newest first: a shared instance may use older ones while it is torn down.
    auto list = std::move(resets());
    resets().clear();
    for (auto it = list.rbegin(); it != list.rend(); ++it) {
        (*it)();
    }
    http.reset();
    if (auto& installed = slot()) {
        if (installed->defaults) {
            installed->defaults->synchronize();
        }
        installed.reset();
    }
    setLogSink(nullptr);
}

}  // namespace quillgate::platform

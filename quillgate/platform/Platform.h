#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "quillgate/Export.h"
#include "quillgate/platform/Canvas.h"
#include "quillgate/platform/Clock.h"
#include "quillgate/platform/Device.h"
#include "quillgate/platform/FontSystem.h"
#include "quillgate/platform/HttpSession.h"
#include "quillgate/platform/KeyValueStore.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Reachability.h"
#include "quillgate/platform/RunLoop.h"
#include "quillgate/platform/TextLayout.h"

namespace quillgate::platform {

// Everything the system asks of the operating system, in one object. The host installs one
// before its first call into the library, or the library builds the Linux default on first
// use. Tests install their own (manual clock, temporary state directory, scripted HTTP).
// Install and reset on the main thread, while no work is in flight.
struct QUILLGATE_EXPORT Platform {
    std::shared_ptr<Clock> clock;
    std::shared_ptr<RunLoop> runLoop;  // the main queue
    std::shared_ptr<HttpSession> http;
    std::shared_ptr<KeyValueStore> defaults;  // the user defaults
    std::shared_ptr<Reachability> reachability;
    std::shared_ptr<FontSystem> fonts;
    // Measures (and, through a canvas, draws) styled text; main thread only. The Linux
    // default sets text over the font system's configuration, so registered faces show.
    std::shared_ptr<TextLayout> textLayout;
    DeviceInfo device;
    std::filesystem::path stateDirectory;
    std::filesystem::path documentsDirectory;
    LogSink logSink;  // put in place by install(); replace it later with setLogSink
    std::function<std::string()> makeUuid;  // a random UUID, upper-case text
    // Pictures of the view tree: an image canvas of a size in points and a scale.
    ImageCanvasFactory makeImageCanvas;
};

// Installs `platform` as the process's platform. Missing pieces are filled from the Linux
// default.
QUILLGATE_EXPORT void install(std::shared_ptr<Platform> platform);
// The installed platform; builds and installs the Linux default on first use.
QUILLGATE_EXPORT Platform& current();
QUILLGATE_EXPORT bool isInstalled();

// The Linux platform: system clock, curl session, file-backed defaults and documents under
// `stateDirectory` (default: $XDG_DATA_HOME/quillgate, else ~/.local/share/quillgate),
// rtnetlink reachability, fontconfig fonts, Pango text layout, libuuid, standard output,
// Cairo pictures. Defined in platform/linux.
QUILLGATE_EXPORT std::shared_ptr<Platform> makeLinuxPlatform(
    std::filesystem::path stateDirectory = {});

// Shorthands for the installed platform's pieces.
inline RunLoop& mainQueue() {
    return *current().runLoop;
}
inline KeyValueStore& userDefaults() {
    return *current().defaults;
}
inline std::string makeUuid() {
    return current().makeUuid();
}
inline TextLayout& textLayout() {
    return *current().textLayout;
}

// Starting over from a clean process state (tests, and hosts that re-create the library):
// destroys every shared instance of the system (newest first), then uninstalls the platform
// (its user defaults are synchronised first). The next use builds everything afresh.
QUILLGATE_EXPORT void resetProcessState();

// Called by each shared instance of the system when it is created, so that
// resetProcessState can destroy it.
QUILLGATE_EXPORT void registerSharedInstanceReset(std::function<void()> reset);

// The one way the system keeps a shared instance ("T::shared()"): created on first use,
// destroyed by resetProcessState. Main thread only.
template <class T>
T& sharedInstance() {
    static std::unique_ptr<T> instance;
    if (!instance) {
        instance.reset(new T());
        registerSharedInstanceReset([] { instance.reset(); });
    }
    return *instance;
}

}  // namespace quillgate::platform

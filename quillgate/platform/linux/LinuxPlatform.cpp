// The Linux platform: the real counterpart of every piece the system asks of the operating
// system, gathered in one Platform.

#include <sys/utsname.h>
#include <uuid/uuid.h>

#include <cstdlib>
#include <system_error>

#include "quillgate/platform/Platform.h"
#include "quillgate/platform/linux/CairoCanvas.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/platform/linux/FileKeyValueStore.h"
#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/platform/linux/NetlinkReachability.h"
#include "quillgate/platform/linux/PangoTextLayout.h"

namespace quillgate::platform {

namespace fs = std::filesystem;

namespace {

// $XDG_DATA_HOME/quillgate, else ~/.local/share/quillgate (a relative XDG_DATA_HOME is to be
// ignored, as the XDG base directory rules say).
fs::path defaultStateDirectory() {
    if (const char* xdg = std::getenv("XDG_DATA_HOME");
        xdg && *xdg && fs::path(xdg).is_absolute()) {
        return fs::path(xdg) / "quillgate";
    }
    if (const char* home = std::getenv("HOME"); home && *home) {
        return fs::path(home) / ".local" / "share" / "quillgate";
    }
    std::error_code ec;
    return fs::temp_directory_path(ec) / "quillgate";
}

DeviceInfo deviceInfo() {
    DeviceInfo info;
    utsname names{};
    if (::uname(&names) == 0) {
        info.model = names.machine;
        info.systemName = names.sysname;
        info.systemVersion = names.release;
    }
    return info;
}

std::string randomUuid() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37];
    uuid_unparse_upper(uuid, text);
    return text;
}

}  // namespace

std::shared_ptr<Platform> makeLinuxPlatform(fs::path stateDirectory) {
    auto platform = std::make_shared<Platform>();
    platform->stateDirectory =
        stateDirectory.empty() ? defaultStateDirectory() : std::move(stateDirectory);
    platform->documentsDirectory = platform->stateDirectory / "Documents";
    std::error_code ec;
    fs::create_directories(platform->documentsDirectory, ec);
    if (ec) {
        log("Quillgate: cannot create the documents directory " +
            platform->documentsDirectory.string() + ": " + ec.message());
    }

    platform->clock = std::make_shared<SystemClock>();
    platform->runLoop = std::make_shared<RunLoop>(platform->clock);
    platform->http = std::make_shared<CurlHttpSession>();
    platform->defaults =
        std::make_shared<FileKeyValueStore>(platform->stateDirectory / "defaults.json");
    platform->reachability = std::make_shared<NetlinkReachability>();
    auto fonts = std::make_shared<FontconfigFontSystem>();
    platform->fonts = fonts;
    // Same configuration: a face the font system registers measures with its own metrics.
    platform->textLayout = std::make_shared<PangoTextLayout>(fonts);
    platform->device = deviceInfo();
    platform->logSink = standardOutputSink();
    platform->makeUuid = randomUuid;
    platform->makeImageCanvas = [](double width, double height, double scale) {
        return std::make_unique<CairoCanvas>(width, height, scale, nullptr);
    };
    return platform;
}

}  // namespace quillgate::platform

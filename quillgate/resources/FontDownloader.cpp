#include "quillgate/resources/FontDownloader.h"

#include "quillgate/platform/Platform.h"
#include "quillgate/platform/RunLoop.h"

namespace quillgate {

FontDownloader& FontDownloader::shared() {
    return platform::sharedInstance<FontDownloader>();
}

std::vector<std::string> FontDownloader::fontFamilies(const CustomizePayWallModel&) {
    return {};
}

void FontDownloader::provision(const CustomizePayWallModel&, const Deployment&,
                               std::function<void()> completion) {
    // Placeholder until provisioning lands: nothing to fetch, the paywall goes on.
    platform::mainQueue().async(std::move(completion));
}

void FontDownloader::download(const std::string&, std::function<void(bool)> completion) {
    completion(false);
}

void FontDownloader::registerFont(const std::filesystem::path&) {}

std::string FontDownloader::downloadAddress(const std::string&) const {
    return {};
}

}  // namespace quillgate

#include "quillgate/templates/Helper.h"

#include "quillgate/platform/Image.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/resources/BundledImages.h"
#include "quillgate/ui/LayoutConstraint.h"

namespace quillgate {

void imageDownloadFinished(const std::optional<std::string>& data, bool failed,
                           std::function<void(std::optional<std::string>)> completion) {
    if (!completion) {
        return;
    }
    if (failed || !data || data->empty()) {
        completion(std::nullopt);
        return;
    }
    platform::current().runLoop->post(
        [bytes = *data, done = std::move(completion)] { done(bytes); });
}

ui::Image bundleImage(const std::string& name) {
    const auto bytes = bundledImage(name);
    if (!bytes) {
        return ui::Image();
    }
    const auto size = platform::imageSize(*bytes);
    if (!size) {
        return ui::Image();
    }
    // The files are drawn at twice the point size.
    return ui::Image::named(name, ui::Size{size->width / 2.0, size->height / 2.0},
                            std::string(*bytes));
}

bool isConnectedToNetwork() {
    auto& reachability = platform::current().reachability;
    return reachability && reachability->isReachable();
}

std::vector<std::shared_ptr<ui::LayoutConstraint>> pinToEdges(
    const std::shared_ptr<ui::View>& view, const std::shared_ptr<ui::View>& parent) {
    return ui::pinToEdges(view, parent);
}

std::string queryString(const std::string& address,
                        const std::map<std::string, std::string>& pairs) {
    std::string out = address;
    char separator = '?';
    for (const auto& [key, value] : pairs) {
        out += separator;
        out += key + "=" + value;
        separator = '&';
    }
    return out;
}

}  // namespace quillgate

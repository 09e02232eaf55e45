#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/resources/ViewLookups.h"
#include "quillgate/ui/Image.h"

namespace quillgate::ui {
class LayoutConstraint;
class View;
}  // namespace quillgate::ui

// General helpers of the screens, beside the styling procedures: the key window and the
// status bar (from the view look-ups), finishing an image download, the library's own images,
// the network check, pinning a view to its parent and building a query text. Main thread
// only unless said otherwise.
namespace quillgate {

// Ends an image download: with usable bytes (present, not empty) and no error, `completion`
// runs on the main queue with the bytes; otherwise it runs at once with nothing. May be called
// from any thread.
void imageDownloadFinished(const std::optional<std::string>& data, bool failed,
                           std::function<void(std::optional<std::string>)> completion);

// An image of the library's own resources by file name ("orvelantLogoMono.png"); the empty
// image when the library has no such file or its bytes are not an image.
ui::Image bundleImage(const std::string& name);

// True when the network is reachable (the platform's check before every request).
bool isConnectedToNetwork();

// Pins `view` to the four edges of `parent`, activating the four constraints at once.
std::vector<std::shared_ptr<ui::LayoutConstraint>> pinToEdges(
    const std::shared_ptr<ui::View>& view, const std::shared_ptr<ui::View>& parent);

// `address` followed by "?" and the pairs as "key=value" joined with "&", in key order;
// `address` alone when there are none. Values are used as they stand. Pure.
std::string queryString(const std::string& address,
                        const std::map<std::string, std::string>& pairs);

}  // namespace quillgate

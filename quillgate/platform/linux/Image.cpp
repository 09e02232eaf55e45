// Image facts on stb_image. The Debian library holds stb's implementation: this file only
// declares what it uses (no STB_IMAGE_IMPLEMENTATION here).

#include "quillgate/platform/Image.h"

#include <stb_image.h>

#include <climits>

namespace quillgate::platform {

std::optional<ImageSize> imageSize(std::string_view bytes) {
    // stb counts in int; bytes beyond that are no image we would show anyway.
    if (bytes.empty() || bytes.size() > static_cast<std::size_t>(INT_MAX)) {
        return std::nullopt;
    }
    int width = 0;
    int height = 0;
    int components = 0;
    if (stbi_info_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()),
                              static_cast<int>(bytes.size()), &width, &height, &components) == 0 ||
        width <= 0 || height <= 0) {
        return std::nullopt;
    }
    return ImageSize{width, height};
}

}  // namespace quillgate::platform

#pragma once

#include <optional>
#include <string_view>

// Facts about image bytes (a downloaded popup image, a font host's answer): whether they make
// an image at all, and its size in pixels. The header is read, the pixels are not decoded.
// Pure function, any thread. Implemented on stb (platform/linux/Image.cpp): PNG, JPEG, GIF,
// BMP, PSD, TGA, HDR, PIC and PNM are recognised.
namespace quillgate::platform {

struct ImageSize {
    int width = 0;
    int height = 0;
};

// The size of the image in `bytes`, or nothing if they are not an image stb knows.
std::optional<ImageSize> imageSize(std::string_view bytes);

}  // namespace quillgate::platform

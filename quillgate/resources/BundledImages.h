#pragma once

#include <optional>
#include <string_view>

// The library's own image files (the service's logo), carried inside the library so that a
// host needs no resource directory. The bytes live for the whole program. Pure, any thread.
namespace quillgate {

// The encoded bytes of the image file called `name` ("orvelantLogoMono.png"), if the library
// has one.
std::optional<std::string_view> bundledImage(std::string_view name);

}  // namespace quillgate

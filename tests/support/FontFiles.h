#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quillgate::testing {

// The installed font file called `fileName` ("Roboto-Regular.ttf"), found under the system's
// font directories at run time (fonts-roboto and fonts-dejavu-core provide the ones tests
// use), or an empty path if there is none. Any thread.
std::filesystem::path systemFontFile(std::string_view fileName);

// The whole content of a file, or the empty text if it can't be read.
std::string fileContent(const std::filesystem::path& file);

}  // namespace quillgate::testing

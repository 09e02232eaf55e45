#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillgate::platform {

// The process's fonts. Main thread only.
class FontSystem {
  public:
    virtual ~FontSystem() = default;
    // The PostScript name stored in a font file, or nothing if the file is not a font.
    virtual std::optional<std::string> postScriptName(const std::filesystem::path& file) = 0;
    // Makes the face in `file` usable by name for this process. False on failure.
    virtual bool registerFontFile(const std::filesystem::path& file) = 0;
    // True if a face with exactly this PostScript name is usable (case-sensitive).
    virtual bool isRegistered(const std::string& postScriptName) = 0;
};

}  // namespace quillgate::platform

#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "quillgate/Export.h"

namespace quillgate::platform {

// The weights of the system font, lightest first, as the styling engine names them.
enum class FontWeight { ultraLight, thin, light, regular, medium, semibold, bold, heavy, black };

// A face that text can be set in: what a label's font resolves to.
struct QUILLGATE_EXPORT FontFace {
    std::string postScriptName;  // e.g. "Roboto-Regular"; empty if the machine has no font
    std::string family;          // e.g. "Roboto"; "System" for the system font
    FontWeight weight = FontWeight::regular;
    bool isSystem = false;  // the system font at a weight, not a face looked up by name
};

// The process's fonts: reading a font file's PostScript name, registering a downloaded file
// for this process, and resolving the names that paywall styles give. Owned by the platform.
// Implementations are thread-safe: the font downloader reads and registers files on the HTTP
// session's thread while screens look faces up on the main thread.
class QUILLGATE_EXPORT FontSystem {
  public:
    virtual ~FontSystem() = default;
    // The PostScript name stored in a font file: nothing if the file is not a font (missing,
    // damaged, not a font at all), the empty text if it is a font that carries no such name.
    virtual std::optional<std::string> postScriptName(const std::filesystem::path& file) = 0;
    // Makes the face in `file` usable by name for this process. False on failure.
    virtual bool registerFontFile(const std::filesystem::path& file) = 0;
    // True if a face with exactly this PostScript name is usable (case-sensitive).
    virtual bool isRegistered(const std::string& postScriptName) = 0;

    // The face called `name`, or nothing (the platform's "font with name"): a face whose
    // PostScript name is exactly `name`, else the regular upright face of the family called
    // exactly `name`. The default knows PostScript names only, through isRegistered.
    virtual std::optional<FontFace> face(const std::string& name) {
        if (name.empty() || !isRegistered(name)) {
            return std::nullopt;
        }
        return FontFace{name, name, FontWeight::regular, false};
    }
    // The system font at `weight` (the platform's "system font of weight"), the fallback when
    // a name resolves to nothing. Always gives a face.
    virtual FontFace systemFace(FontWeight weight) { return FontFace{"", "System", weight, true}; }
};

}  // namespace quillgate::platform

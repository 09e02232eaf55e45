#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "quillgate/platform/FontSystem.h"
#include "quillgate/platform/linux/FontconfigUse.h"

struct _FcConfig;
struct FT_LibraryRec_;

namespace quillgate::platform {

// Fonts on fontconfig and FreeType.
//
// FreeType reads a file's PostScript name (Roboto-Regular.ttf: "Roboto-Regular"). Each
// instance holds a fontconfig configuration of its own: the machine's installed fonts (the
// default) or none at all (tests that need a name to be unknown until they register it).
// Registering a file adds it to that configuration for the life of the instance, which the
// platform keeps for the life of the process.
//
// fontconfig compares names without regard to case and its matching always proposes some
// font, so every answer here is checked against the exact name: "roboto-regular" is not
// "Roboto-Regular".
//
// Answers are kept, since screens ask for the same faces again and again: a file's name as long
// as the file is the same (device, inode, size and modification time), and the answers about
// names until the next file is registered. Each kind holds at most `kKeptAnswers`.
//
// Owned by the platform. Thread-safe: one lock guards the FreeType library handle (which is
// not thread-safe) and the configuration, so a download registering its file on the HTTP
// session's thread never races a screen looking a face up on the main thread.
class FontconfigFontSystem final : public FontSystem {
  public:
    enum class InstalledFonts { include, exclude };
    static constexpr std::size_t kKeptAnswers = 256;

    explicit FontconfigFontSystem(InstalledFonts installed = InstalledFonts::include);
    ~FontconfigFontSystem() override;
    FontconfigFontSystem(const FontconfigFontSystem&) = delete;
    FontconfigFontSystem& operator=(const FontconfigFontSystem&) = delete;

    std::optional<std::string> postScriptName(const std::filesystem::path& file) override;
    bool registerFontFile(const std::filesystem::path& file) override;
    bool isRegistered(const std::string& postScriptName) override;
    std::optional<FontFace> face(const std::string& name) override;
    // The machine's sans-serif face nearest to `weight` (fontconfig's choice); the face
    // reports the weight asked for, as a system font drawn at that weight would.
    FontFace systemFace(FontWeight weight) override;

    // For the text layout that sets text over this configuration (PangoTextLayout): the
    // configuration, to be read only while holding `lock()`, and a count that rises with each
    // registered file, so the layout knows when to look at the configuration again.
    _FcConfig* configuration() const { return config_; }
    std::unique_lock<std::mutex> lock() { return std::unique_lock(mutex_); }
    std::uint64_t generation() const { return generation_.load(); }

  private:
    // Forgets what the configuration answered; the caller holds the lock.
    void configurationChanged();
    // The look-ups behind face and systemFace; the caller holds the lock.
    std::optional<FontFace> lookUpFace(const std::string& name);
    FontFace lookUpSystemFace(FontWeight weight);

    // What a font file was when its name was read.
    struct FileIdentity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::int64_t modifiedNanoseconds = 0;
        friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
    };
    struct FileName {
        FileIdentity identity;
        std::optional<std::string> name;
    };

    FontconfigUse use_;  // first: released last
    std::mutex mutex_;
    _FcConfig* config_ = nullptr;
    std::atomic<std::uint64_t> generation_{0};
    std::set<std::filesystem::path> files_;  // registered already: adding again would duplicate
    FT_LibraryRec_* freetype_ = nullptr;
    std::map<std::filesystem::path, FileName> fileNames_;
    std::map<std::string, bool> registeredNames_;
    std::map<std::string, std::optional<FontFace>> faces_;
    std::array<std::optional<FontFace>, 9> systemFaces_;  // by weight
};

}  // namespace quillgate::platform

#include "quillgate/platform/linux/FontconfigFontSystem.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

namespace quillgate::platform {

namespace {

struct PatternDeleter {
    void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
struct ObjectSetDeleter {
    void operator()(FcObjectSet* s) const { FcObjectSetDestroy(s); }
};
struct FontSetDeleter {
    void operator()(FcFontSet* s) const { FcFontSetDestroy(s); }
};
using Pattern = std::unique_ptr<FcPattern, PatternDeleter>;
using ObjectSet = std::unique_ptr<FcObjectSet, ObjectSetDeleter>;
using FontSet = std::unique_ptr<FcFontSet, FontSetDeleter>;

const FcChar8* fc(const std::string& s) {
    return reinterpret_cast<const FcChar8*>(s.c_str());
}

std::optional<std::string> stringOf(FcPattern* font, const char* object, int index = 0) {
    FcChar8* value = nullptr;
    if (FcPatternGetString(font, object, index, &value) != FcResultMatch || value == nullptr) {
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(value));
}

int intOf(FcPattern* font, const char* object, int fallback) {
    int value = fallback;
    FcPatternGetInteger(font, object, 0, &value);
    return value;
}

// The platform's weights on fontconfig's scale. The lightest platform weight, "ultra light",
// is lighter than "thin", so it takes fontconfig's thinnest.
int fontconfigWeight(FontWeight w) {
    switch (w) {
        case FontWeight::ultraLight:
            return FC_WEIGHT_THIN;
        case FontWeight::thin:
            return FC_WEIGHT_EXTRALIGHT;
        case FontWeight::light:
            return FC_WEIGHT_LIGHT;
        case FontWeight::regular:
            return FC_WEIGHT_REGULAR;
        case FontWeight::medium:
            return FC_WEIGHT_MEDIUM;
        case FontWeight::semibold:
            return FC_WEIGHT_DEMIBOLD;
        case FontWeight::bold:
            return FC_WEIGHT_BOLD;
        case FontWeight::heavy:
            return FC_WEIGHT_EXTRABOLD;
        case FontWeight::black:
            return FC_WEIGHT_BLACK;
    }
    return FC_WEIGHT_REGULAR;
}

FontWeight platformWeight(int w) {
    if (w < (FC_WEIGHT_THIN + FC_WEIGHT_EXTRALIGHT) / 2)
        return FontWeight::ultraLight;
    if (w < (FC_WEIGHT_EXTRALIGHT + FC_WEIGHT_LIGHT) / 2)
        return FontWeight::thin;
    if (w < (FC_WEIGHT_LIGHT + FC_WEIGHT_REGULAR) / 2)
        return FontWeight::light;
    if (w < (FC_WEIGHT_REGULAR + FC_WEIGHT_MEDIUM) / 2)
        return FontWeight::regular;
    if (w < (FC_WEIGHT_MEDIUM + FC_WEIGHT_DEMIBOLD) / 2)
        return FontWeight::medium;
    if (w < (FC_WEIGHT_DEMIBOLD + FC_WEIGHT_BOLD) / 2)
        return FontWeight::semibold;
    if (w < FC_WEIGHT_EXTRABOLD)
        return FontWeight::bold;
    if (w < FC_WEIGHT_BLACK)
        return FontWeight::heavy;
    return FontWeight::black;
}

FontFace faceOf(FcPattern* font, std::string postScriptName) {
    FontFace out;
    out.postScriptName = std::move(postScriptName);
    out.family = stringOf(font, FC_FAMILY).value_or("");
    out.weight = platformWeight(intOf(font, FC_WEIGHT, FC_WEIGHT_REGULAR));
    return out;
}

// Every font of `config` whose `object` matches `name` as fontconfig compares (case-
// insensitively), with the objects needed to check and describe it.
FontSet listBy(FcConfig* config, const char* object, const std::string& name) {
    Pattern pattern(FcPatternCreate());
    ObjectSet objects(
        FcObjectSetBuild(FC_POSTSCRIPT_NAME, FC_FAMILY, FC_WEIGHT, FC_SLANT, nullptr));
    if (!pattern || !objects || !FcPatternAddString(pattern.get(), object, fc(name))) {
        return nullptr;
    }
    return FontSet(FcFontList(config, pattern.get(), objects.get()));
}

}  // namespace

FontconfigFontSystem::FontconfigFontSystem(InstalledFonts installed) {
    config_ = installed == InstalledFonts::include ? FcInitLoadConfigAndFonts() : FcConfigCreate();
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) == 0) {
        freetype_ = library;
    }
}

FontconfigFontSystem::~FontconfigFontSystem() {
    if (freetype_ != nullptr) {
        FT_Done_FreeType(freetype_);
    }
    if (config_ != nullptr) {
        FcConfigDestroy(config_);
    }
}

namespace {

// A full store of answers starts again from nothing: the answers a screen needs come back at
// once.
template <class Map>
void keepBounded(Map& map) {
    if (map.size() >= FontconfigFontSystem::kKeptAnswers) {
        map.clear();
    }
}

}  // namespace

std::optional<std::string> FontconfigFontSystem::postScriptName(const std::filesystem::path& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    const FileIdentity identity{
        static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
        static_cast<std::int64_t>(info.st_size),
        static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec};
    std::lock_guard lock(mutex_);
    if (auto it = fileNames_.find(file);
        it != fileNames_.end() && it->second.identity == identity) {
        return it->second.name;
    }
    if (freetype_ == nullptr) {
        return std::nullopt;
    }
    std::optional<std::string> name;
    FT_Face face = nullptr;
    if (FT_New_Face(freetype_, file.c_str(), 0, &face) == 0 && face != nullptr) {
        // A readable font may still carry no PostScript name: that is the empty text.
        const char* postScript = FT_Get_Postscript_Name(face);
        name = postScript != nullptr ? postScript : "";
        FT_Done_Face(face);
    }
    keepBounded(fileNames_);
    fileNames_[file] = FileName{identity, name};
    return name;
}

void FontconfigFontSystem::configurationChanged() {
    ++generation_;
    registeredNames_.clear();
    faces_.clear();
    systemFaces_ = {};
}

bool FontconfigFontSystem::registerFontFile(const std::filesystem::path& file) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(file, ec)) {
        return false;
    }
    std::lock_guard lock(mutex_);
    if (config_ == nullptr) {
        return false;
    }
    const auto canonical = std::filesystem::weakly_canonical(file, ec);
    if (!ec && files_.count(canonical) != 0) {
        return true;
    }
    // False for a file that holds no font fontconfig can read.
    if (FcConfigAppFontAddFile(config_, reinterpret_cast<const FcChar8*>(file.c_str())) != FcTrue) {
        return false;
    }
    if (!ec) {
        files_.insert(canonical);
    }
    configurationChanged();
    return true;
}

bool FontconfigFontSystem::isRegistered(const std::string& postScriptName) {
    std::lock_guard lock(mutex_);
    if (config_ == nullptr || postScriptName.empty()) {
        return false;
    }
    if (auto it = registeredNames_.find(postScriptName); it != registeredNames_.end()) {
        return it->second;
    }
    bool found = false;
    const FontSet fonts = listBy(config_, FC_POSTSCRIPT_NAME, postScriptName);
    for (int i = 0; fonts && i < fonts->nfont && !found; ++i) {
        found = stringOf(fonts->fonts[i], FC_POSTSCRIPT_NAME) == postScriptName;
    }
    keepBounded(registeredNames_);
    registeredNames_[postScriptName] = found;
    return found;
}

std::optional<FontFace> FontconfigFontSystem::face(const std::string& name) {
    std::lock_guard lock(mutex_);
    if (config_ == nullptr || name.empty()) {
        return std::nullopt;
    }
    if (auto it = faces_.find(name); it != faces_.end()) {
        return it->second;
    }
    std::optional<FontFace> found = lookUpFace(name);
    keepBounded(faces_);
    faces_[name] = found;
    return found;
}

std::optional<FontFace> FontconfigFontSystem::lookUpFace(const std::string& name) {
    if (const FontSet fonts = listBy(config_, FC_POSTSCRIPT_NAME, name)) {
        for (int i = 0; i < fonts->nfont; ++i) {
            if (stringOf(fonts->fonts[i], FC_POSTSCRIPT_NAME) == name) {
                return faceOf(fonts->fonts[i], name);
            }
        }
    }
    // A family name: of the faces whose family (in any of its languages) is exactly `name`,
    // the upright one nearest to regular weight.
    const FontSet fonts = listBy(config_, FC_FAMILY, name);
    FcPattern* best = nullptr;
    int bestScore = 0;
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        FcPattern* font = fonts->fonts[i];
        bool exact = false;
        for (int n = 0; !exact; ++n) {
            const auto family = stringOf(font, FC_FAMILY, n);
            if (!family) {
                break;
            }
            exact = *family == name;
        }
        if (!exact) {
            continue;
        }
        const int weight = intOf(font, FC_WEIGHT, FC_WEIGHT_REGULAR);
        const int score = std::abs(weight - FC_WEIGHT_REGULAR) +
                          (intOf(font, FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN ? 1000 : 0);
        if (best == nullptr || score < bestScore) {
            best = font;
            bestScore = score;
        }
    }
    if (best == nullptr) {
        return std::nullopt;
    }
    FontFace out = faceOf(best, stringOf(best, FC_POSTSCRIPT_NAME).value_or(""));
    out.family = name;
    return out;
}

FontFace FontconfigFontSystem::systemFace(FontWeight weight) {
    std::lock_guard lock(mutex_);
    const auto index = static_cast<std::size_t>(weight);
    if (index >= systemFaces_.size()) {
        return lookUpSystemFace(weight);
    }
    auto& kept = systemFaces_[index];
    if (!kept) {
        kept = lookUpSystemFace(weight);
    }
    return *kept;
}

FontFace FontconfigFontSystem::lookUpSystemFace(FontWeight weight) {
    FontFace out{"", "System", weight, true};
    if (config_ == nullptr) {
        return out;
    }
    Pattern pattern(FcPatternCreate());
    if (!pattern) {
        return out;
    }
    FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>("sans-serif"));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, fontconfigWeight(weight));
    FcPatternAddInteger(pattern.get(), FC_SLANT, FC_SLANT_ROMAN);
    FcConfigSubstitute(config_, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    const Pattern match(FcFontMatch(config_, pattern.get(), &result));
    if (match && result == FcResultMatch) {
        out.postScriptName = stringOf(match.get(), FC_POSTSCRIPT_NAME).value_or("");
    }
    return out;
}

}  // namespace quillgate::platform

#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "quillgate/platform/TextLayout.h"
#include "quillgate/platform/linux/FontconfigUse.h"

typedef struct _cairo cairo_t;
typedef struct _PangoFontMap PangoFontMap;
typedef struct _PangoContext PangoContext;
typedef struct _PangoLayout PangoLayout;
typedef struct _PangoFontDescription PangoFontDescription;

namespace quillgate::platform {

class FontconfigFontSystem;

// Text set with Pango (HarfBuzz shaping) over the fontconfig configuration of a
// FontconfigFontSystem, so that a face registered there at run time measures and draws with
// its own metrics.
//
// Sizes are absolute (one point is one layout unit), hinting is off and glyph positions are
// not rounded: a text measures the same whatever scale it is later drawn at. Contexts are made
// from the font map, so measuring needs no surface.
//
// Faces: a run's PostScript name is looked up exactly (FcFontList on the PostScript name) and
// turned into the family, weight, slant and width of that face; a name no face has, and the
// empty name, give the configuration's sans-serif face at the run's weight.
//
// Measurements are kept (the block exactly as given, and the width): a layout pass asks a
// label's size several times, and each row of a table is measured, then laid out, at the same
// width. At most `kKeptMeasurements` are kept, the least recently used going first; all of
// them go when a face is registered, so that the new face's own metrics are used.
//
// Owns one font map and context; main thread only (Pango's font maps are per thread), except
// `fontsChanged`, which any thread may call. The font system's lock is held while Pango reads
// the configuration, so a download registering a file on another thread never races a layout.
class PangoTextLayout final : public TextLayout {
  public:
    // Sets text over `fonts`' configuration; without one, over a font system of its own with
    // the machine's installed fonts.
    explicit PangoTextLayout(std::shared_ptr<FontconfigFontSystem> fonts = nullptr);
    ~PangoTextLayout() override;
    PangoTextLayout(const PangoTextLayout&) = delete;
    PangoTextLayout& operator=(const PangoTextLayout&) = delete;

    static constexpr std::size_t kKeptMeasurements = 1024;

    TextMetrics measure(const TextBlock& block, double width) override;
    // Measurements kept now (tests).
    std::size_t keptMeasurements() const { return measured_.size(); }
    // Thread-safe: the next layout on the main thread picks the new faces up.
    void fontsChanged() override;

    // Lays `block` out exactly as `measure` does at `width` and draws it on `cr` with its
    // top-left corner at (x, y): colours, backgrounds, underline and strike-through. Lines
    // beyond the block's line limit are not drawn. `cr`'s state is left as it was.
    void draw(cairo_t* cr, const TextBlock& block, double x, double y, double width);

    // The family Pango chose for the first character of `block` (tests and diagnostics).
    std::string resolvedFamily(const TextBlock& block);

  private:
    struct Prepared {
        PangoLayout* layout = nullptr;
        int lineCount = 0;     // lines drawn (after the line limit)
        bool limited = false;  // the layout has more lines than are drawn
        double width = 0;      // widest drawn line, points
        double height = 0;     // drawn lines, points
    };
    // Sets the block on the shared layout and measures it; null layout for empty text.
    Prepared prepare(const TextBlock& block, double width);
    void refreshIfFontsChanged();
    // The face of `font` without a size, cached by name and weight; owned by the cache.
    const PangoFontDescription* describe(const TextFont& font);

    struct MeasureKey {
        TextBlock block;
        double width = 0;
        friend bool operator==(const MeasureKey&, const MeasureKey&) = default;
    };
    struct MeasureKeyHash {
        std::size_t operator()(const MeasureKey& key) const;
    };
    struct Measured {
        TextMetrics metrics;
        std::uint64_t lastUse = 0;
    };
    // Drops the least recently used half of the kept measurements.
    void forgetOldMeasurements();

    struct DescriptionDeleter {
        void operator()(PangoFontDescription* d) const;
    };
    using Description = std::unique_ptr<PangoFontDescription, DescriptionDeleter>;

    FontconfigUse use_;  // first: released last
    std::shared_ptr<FontconfigFontSystem> fonts_;
    PangoFontMap* map_ = nullptr;
    PangoContext* context_ = nullptr;
    PangoLayout* layout_ = nullptr;
    std::atomic<bool> changed_{false};
    std::uint64_t seenGeneration_ = 0;
    std::map<std::pair<std::string, int>, Description> descriptions_;
    std::unordered_map<MeasureKey, Measured, MeasureKeyHash> measured_;
    std::uint64_t uses_ = 0;
};

}  // namespace quillgate::platform

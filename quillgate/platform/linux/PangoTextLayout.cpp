#include "quillgate/platform/linux/PangoTextLayout.h"

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "quillgate/platform/linux/FontconfigFontSystem.h"

namespace quillgate::platform {

namespace {

PangoWeight pangoWeight(FontWeight weight) {
    // The same steps as the font system's system faces: ultra light is the thinnest.
    switch (weight) {
        case FontWeight::ultraLight:
            return PANGO_WEIGHT_THIN;
        case FontWeight::thin:
            return PANGO_WEIGHT_ULTRALIGHT;
        case FontWeight::light:
            return PANGO_WEIGHT_LIGHT;
        case FontWeight::regular:
            return PANGO_WEIGHT_NORMAL;
        case FontWeight::medium:
            return PANGO_WEIGHT_MEDIUM;
        case FontWeight::semibold:
            return PANGO_WEIGHT_SEMIBOLD;
        case FontWeight::bold:
            return PANGO_WEIGHT_BOLD;
        case FontWeight::heavy:
            return PANGO_WEIGHT_ULTRABOLD;
        case FontWeight::black:
            return PANGO_WEIGHT_HEAVY;
    }
    return PANGO_WEIGHT_NORMAL;
}

guint16 channel(double v) {
    return static_cast<guint16>(std::clamp(v, 0.0, 1.0) * 65535.0 + 0.5);
}

PangoUnderline pangoUnderline(TextLineStyle style) {
    switch (style) {
        case TextLineStyle::none:
            return PANGO_UNDERLINE_NONE;
        case TextLineStyle::single:
        case TextLineStyle::thick:  // Pango has no thick line: the single one stands in
            return PANGO_UNDERLINE_SINGLE;
        case TextLineStyle::double_:
            return PANGO_UNDERLINE_DOUBLE;
    }
    return PANGO_UNDERLINE_NONE;
}

void insert(PangoAttrList* list, PangoAttribute* attr, guint start, guint end) {
    attr->start_index = start;
    attr->end_index = end;
    pango_attr_list_insert(list, attr);
}

void insertColor(PangoAttrList* list, const Rgba& c, guint start, guint end,
                 PangoAttribute* (*make)(guint16, guint16, guint16),
                 PangoAttribute* (*makeAlpha)(guint16)) {
    insert(list, make(channel(c.r), channel(c.g), channel(c.b)), start, end);
    if (makeAlpha != nullptr && c.a < 1) {
        insert(list, makeAlpha(std::max<guint16>(channel(c.a), 1)), start, end);
    }
}

// The start of the UTF-8 character that holds byte `pos` (runs never split a character).
std::size_t characterStart(const std::string& text, std::size_t pos) {
    pos = std::min(pos, text.size());
    while (pos > 0 && pos < text.size() && (static_cast<unsigned char>(text[pos]) & 0xC0) == 0x80) {
        --pos;
    }
    return pos;
}

void combine(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}

}  // namespace

std::size_t PangoTextLayout::MeasureKeyHash::operator()(const MeasureKey& key) const {
    // What sets the text apart in practice: the text, the width, the faces. Equality still
    // compares every attribute.
    std::size_t seed = std::hash<std::string>{}(key.block.text);
    combine(seed, std::hash<double>{}(key.width));
    combine(seed, static_cast<std::size_t>(key.block.maxLines));
    combine(seed, static_cast<std::size_t>(key.block.lineBreak));
    combine(seed, static_cast<std::size_t>(key.block.alignment));
    for (const TextRun& run : key.block.runs) {
        combine(seed, run.location);
        combine(seed, run.length);
        combine(seed, std::hash<std::string>{}(run.font.postScriptName));
        combine(seed, std::hash<double>{}(run.font.size));
        combine(seed, static_cast<std::size_t>(run.font.weight));
    }
    return seed;
}

void PangoTextLayout::DescriptionDeleter::operator()(PangoFontDescription* d) const {
    pango_font_description_free(d);
}

PangoTextLayout::PangoTextLayout(std::shared_ptr<FontconfigFontSystem> fonts)
    : fonts_(fonts ? std::move(fonts) : std::make_shared<FontconfigFontSystem>()) {
    seenGeneration_ = fonts_->generation();
    map_ = pango_cairo_font_map_new();
    {
        auto lock = fonts_->lock();
        if (fonts_->configuration() != nullptr) {
            pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(map_), fonts_->configuration());
        }
    }
    context_ = pango_font_map_create_context(map_);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    pango_cairo_context_set_font_options(context_, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context_, FALSE);
    layout_ = pango_layout_new(context_);
    // The font map sets fontconfig's default configuration up on a thread of its own; the
    // first layout waits for it, so that it is done before this object can go away.
    auto lock = fonts_->lock();
    pango_layout_set_text(layout_, "x", 1);
    pango_layout_get_extents(layout_, nullptr, nullptr);
}

PangoTextLayout::~PangoTextLayout() {
    descriptions_.clear();
    g_object_unref(layout_);
    g_object_unref(context_);
    {
        // Pango keeps a configuration it was given until told to let it go.
        auto lock = fonts_->lock();
        pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(map_), nullptr);
    }
    g_object_unref(map_);
}

void PangoTextLayout::fontsChanged() {
    changed_ = true;
}

void PangoTextLayout::refreshIfFontsChanged() {
    const auto generation = fonts_->generation();
    if (!changed_.exchange(false) && generation == seenGeneration_) {
        return;
    }
    seenGeneration_ = generation;
    descriptions_.clear();
    measured_.clear();
    auto lock = fonts_->lock();
    pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(map_));
    pango_layout_context_changed(layout_);
}

const PangoFontDescription* PangoTextLayout::describe(const TextFont& font) {
    const auto key = std::make_pair(font.postScriptName, static_cast<int>(font.weight));
    if (auto it = descriptions_.find(key); it != descriptions_.end()) {
        return it->second.get();
    }
    PangoFontDescription* description = nullptr;
    if (!font.postScriptName.empty()) {
        // fontconfig's matching is fuzzy and case-blind: list, then keep only the exact name.
        auto lock = fonts_->lock();
        FcPattern* pattern = FcPatternCreate();
        FcObjectSet* objects = FcObjectSetBuild(FC_POSTSCRIPT_NAME, FC_FAMILY, FC_STYLE, FC_WEIGHT,
                                                FC_SLANT, FC_WIDTH, nullptr);
        FcPatternAddString(pattern, FC_POSTSCRIPT_NAME,
                           reinterpret_cast<const FcChar8*>(font.postScriptName.c_str()));
        FcFontSet* set = fonts_->configuration() != nullptr
                             ? FcFontList(fonts_->configuration(), pattern, objects)
                             : nullptr;
        for (int i = 0; set != nullptr && i < set->nfont && description == nullptr; ++i) {
            FcChar8* name = nullptr;
            if (FcPatternGetString(set->fonts[i], FC_POSTSCRIPT_NAME, 0, &name) == FcResultMatch &&
                name != nullptr && font.postScriptName == reinterpret_cast<const char*>(name)) {
                description = pango_fc_font_description_from_pattern(set->fonts[i], FALSE);
            }
        }
        if (set != nullptr) {
            FcFontSetDestroy(set);
        }
        FcObjectSetDestroy(objects);
        FcPatternDestroy(pattern);
    }
    if (description == nullptr) {
        // No face has that name: the system face of the run's weight.
        description = pango_font_description_new();
        pango_font_description_set_family(description, "sans-serif");
        pango_font_description_set_weight(description, pangoWeight(font.weight));
        pango_font_description_set_style(description, PANGO_STYLE_NORMAL);
    }
    pango_font_description_unset_fields(description, PANGO_FONT_MASK_SIZE);
    return descriptions_.emplace(key, Description(description)).first->second.get();
}

PangoTextLayout::Prepared PangoTextLayout::prepare(const TextBlock& block, double width) {
    Prepared out;
    if (block.text.empty()) {
        return out;
    }
    refreshIfFontsChanged();
    const std::string* text = &block.text;
    std::string valid;
    if (!g_utf8_validate(block.text.data(), static_cast<gssize>(block.text.size()), nullptr)) {
        gchar* fixed = g_utf8_make_valid(block.text.data(), static_cast<gssize>(block.text.size()));
        valid = fixed;
        g_free(fixed);
        text = &valid;
    }

    PangoAttrList* attrs = pango_attr_list_new();
    PangoFontDescription* base = nullptr;
    for (const TextRun& run : block.runs) {
        const auto start = characterStart(*text, run.location);
        const auto end = characterStart(*text, run.location + std::min(run.length, text->size()));
        if (end <= start) {
            continue;
        }
        const auto s = static_cast<guint>(start);
        const auto e = static_cast<guint>(end);
        PangoFontDescription* description = pango_font_description_copy(describe(run.font));
        pango_font_description_set_absolute_size(description,
                                                 std::max(run.font.size, 0.0) * PANGO_SCALE);
        if (base == nullptr) {
            base = pango_font_description_copy(description);
        }
        insert(attrs, pango_attr_font_desc_new(description), s, e);
        pango_font_description_free(description);
        insertColor(attrs, run.color, s, e, pango_attr_foreground_new,
                    pango_attr_foreground_alpha_new);
        if (run.backgroundColor && run.backgroundColor->a > 0) {
            insertColor(attrs, *run.backgroundColor, s, e, pango_attr_background_new,
                        pango_attr_background_alpha_new);
        }
        if (run.underline != TextLineStyle::none) {
            insert(attrs, pango_attr_underline_new(pangoUnderline(run.underline)), s, e);
            if (run.underlineColor) {
                insertColor(attrs, *run.underlineColor, s, e, pango_attr_underline_color_new,
                            nullptr);
            }
        }
        if (run.strikethrough != TextLineStyle::none) {
            insert(attrs, pango_attr_strikethrough_new(TRUE), s, e);
            if (run.strikethroughColor) {
                insertColor(attrs, *run.strikethroughColor, s, e,
                            pango_attr_strikethrough_color_new, nullptr);
            }
        }
    }
    if (base == nullptr) {
        base = pango_font_description_copy(describe(TextFont{}));
        pango_font_description_set_absolute_size(base, TextFont{}.size * PANGO_SCALE);
    }

    auto lock = fonts_->lock();
    PangoLayout* layout = layout_;
    // The block's first font also sets the text that no run covers.
    pango_layout_set_font_description(layout, base);
    pango_font_description_free(base);
    pango_layout_set_text(layout, text->data(), static_cast<int>(text->size()));
    pango_layout_set_attributes(layout, attrs);
    pango_attr_list_unref(attrs);
    pango_layout_set_width(layout, width > 0 ? static_cast<int>(width * PANGO_SCALE) : -1);
    pango_layout_set_wrap(layout, block.lineBreak == LineBreak::byCharWrapping
                                      ? PANGO_WRAP_CHAR
                                      : PANGO_WRAP_WORD_CHAR);
    PangoEllipsizeMode ellipsize = PANGO_ELLIPSIZE_NONE;
    if (block.maxLines > 0 && width > 0) {
        switch (block.lineBreak) {
            case LineBreak::byTruncatingHead:
                ellipsize = PANGO_ELLIPSIZE_START;
                break;
            case LineBreak::byTruncatingMiddle:
                ellipsize = PANGO_ELLIPSIZE_MIDDLE;
                break;
            case LineBreak::byTruncatingTail:
                ellipsize = PANGO_ELLIPSIZE_END;
                break;
            default:
                break;
        }
    }
    pango_layout_set_ellipsize(layout, ellipsize);
    pango_layout_set_height(layout, ellipsize != PANGO_ELLIPSIZE_NONE ? -block.maxLines : -1);
    pango_layout_set_justify(layout, block.alignment == TextAlign::justified);
    switch (block.alignment) {
        case TextAlign::center:
            pango_layout_set_alignment(layout, PANGO_ALIGN_CENTER);
            break;
        case TextAlign::right:
            pango_layout_set_alignment(layout, PANGO_ALIGN_RIGHT);
            break;
        default:
            pango_layout_set_alignment(layout, PANGO_ALIGN_LEFT);
            break;
    }

    // Line by line, so that a line limit keeps the first lines (a limit counts lines of the
    // whole text, where Pango's counts them per paragraph).
    const int total = pango_layout_get_line_count(layout);
    const int shown = block.maxLines > 0 ? std::min(total, block.maxLines) : total;
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    int widest = 0;
    int bottom = 0;
    for (int i = 0; i < shown; ++i) {
        PangoRectangle logical{};
        pango_layout_iter_get_line_extents(iter, nullptr, &logical);
        widest = std::max(widest, logical.width);
        bottom = logical.y + logical.height;
        if (!pango_layout_iter_next_line(iter)) {
            break;
        }
    }
    pango_layout_iter_free(iter);
    out.layout = layout;
    out.lineCount = shown;
    out.limited = shown < total;
    out.width = static_cast<double>(widest) / PANGO_SCALE;
    out.height = static_cast<double>(bottom) / PANGO_SCALE;
    return out;
}

TextMetrics PangoTextLayout::measure(const TextBlock& block, double width) {
    if (block.text.empty()) {
        return {};
    }
    refreshIfFontsChanged();
    // Every width of 0 or less means the same: no limit.
    MeasureKey key{block, width > 0 ? width : 0};
    if (auto it = measured_.find(key); it != measured_.end()) {
        it->second.lastUse = ++uses_;
        return it->second.metrics;
    }
    const Prepared p = prepare(block, width);
    const TextMetrics metrics{p.width, p.height, p.lineCount};
    if (measured_.size() >= kKeptMeasurements) {
        forgetOldMeasurements();
    }
    measured_.emplace(std::move(key), Measured{metrics, ++uses_});
    return metrics;
}

void PangoTextLayout::forgetOldMeasurements() {
    std::vector<std::uint64_t> uses;
    uses.reserve(measured_.size());
    for (const auto& [key, entry] : measured_) {
        uses.push_back(entry.lastUse);
    }
    auto middle = uses.begin() + static_cast<std::ptrdiff_t>(uses.size() / 2);
    std::nth_element(uses.begin(), middle, uses.end());
    const std::uint64_t cut = *middle;
    std::erase_if(measured_, [cut](const auto& entry) { return entry.second.lastUse < cut; });
}

void PangoTextLayout::draw(cairo_t* cr, const TextBlock& block, double x, double y, double width) {
    if (cr == nullptr) {
        return;
    }
    const Prepared p = prepare(block, width);
    if (p.layout == nullptr) {
        return;
    }
    auto lock = fonts_->lock();
    cairo_save(cr);
    if (p.limited) {
        // Lines past the limit are laid out but not shown.
        const double slack = 1e4;
        cairo_rectangle(cr, x - slack, y - slack, 3 * slack + std::max(width, 0.0),
                        slack + p.height);
        cairo_clip(cr);
    }
    cairo_move_to(cr, x, y);
    pango_cairo_show_layout(cr, p.layout);
    cairo_restore(cr);
}

std::string PangoTextLayout::resolvedFamily(const TextBlock& block) {
    const Prepared p = prepare(block, 0);
    if (p.layout == nullptr) {
        return "";
    }
    auto lock = fonts_->lock();
    PangoLayoutLine* line = pango_layout_get_line_readonly(p.layout, 0);
    if (line == nullptr || line->runs == nullptr) {
        return "";
    }
    auto* run = static_cast<PangoGlyphItem*>(line->runs->data);
    if (run == nullptr || run->item == nullptr || run->item->analysis.font == nullptr) {
        return "";
    }
    PangoFontDescription* description = pango_font_describe(run->item->analysis.font);
    const char* family = pango_font_description_get_family(description);
    std::string out = family != nullptr ? family : "";
    pango_font_description_free(description);
    return out;
}

}  // namespace quillgate::platform

#pragma once

namespace quillgate::platform {

// One user of fontconfig's process-wide state: its default configuration (which Pango's font
// maps set up on a thread of their own), its caches, and Cairo's font caches over them. At
// exit, when no user is left, that state is released (cairo_debug_reset_static_data, FcFini),
// so that a process done with fonts leaves nothing behind for LeakSanitizer to report. Hold
// one as the first member of any object that calls fontconfig or sets text. Any thread.
class FontconfigUse {
  public:
    FontconfigUse();
    ~FontconfigUse();
    FontconfigUse(const FontconfigUse&) = delete;
    FontconfigUse& operator=(const FontconfigUse&) = delete;
};

}  // namespace quillgate::platform

#include "quillgate/platform/linux/FontconfigUse.h"

#include <cairo.h>

#include <cstdlib>
#include <mutex>

namespace quillgate::platform {

namespace {

std::mutex& useMutex() {
    static std::mutex mutex;
    return mutex;
}

int& useCount() {
    static int count = 0;
    return count;
}

// Releasing while anything still uses fonts (a host that keeps its platform in a static
// until after this runs) would pull caches from under it: then nothing is released.
// Fontconfig's own caches are left to the process's end: FcFini asserts when a cache is
// still referenced, which Pango's font maps can do at exit, and ending a host's run with an
// abort is worse than a few kilobytes the system reclaims anyway.
void releaseAtExit() {
    std::lock_guard lock(useMutex());
    if (useCount() == 0) {
        cairo_debug_reset_static_data();
    }
}

}  // namespace

FontconfigUse::FontconfigUse() {
    std::lock_guard lock(useMutex());
    static const bool registered = std::atexit(releaseAtExit) == 0;
    (void)registered;
    ++useCount();
}

FontconfigUse::~FontconfigUse() {
    std::lock_guard lock(useMutex());
    --useCount();
}

}  // namespace quillgate::platform

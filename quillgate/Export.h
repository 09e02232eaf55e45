#pragma once

// Marks what an application may call in a shared build of the library. The shared library is
// built with hidden symbols, so that its internals (the screens, the Linux pieces, the helpers
// the subsystems share) stay out of the application's namespace and can change between
// releases; everything a public header declares for applications carries this mark. In a
// static build it changes nothing.
#if defined(__GNUC__) || defined(__clang__)
#define QUILLGATE_EXPORT __attribute__((visibility("default")))
#else
#define QUILLGATE_EXPORT
#endif

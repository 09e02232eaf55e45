#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "quillgate/Export.h"

namespace quillgate::platform {

// Prints one line of the system's diagnostics: literal text, no prefix, no time stamp.
// Goes to the process's log sink (standard output by default). Any thread.
QUILLGATE_EXPORT void log(std::string_view line);

// Ends the program for the faults that the system itself declares fatal (an unbound
// outlet, a missing nib, an unparsable address). Prints the message, then aborts.
[[noreturn]] QUILLGATE_EXPORT void fatal(std::string_view message);

// Where the library's lines go: called once per line, without the newline. It may be called
// from any of the library's threads (the HTTP worker prints too), one line at a time per
// thread, so a sink that keeps state must lock it. The lines hold whole response bodies and
// addresses with the reader's identities and tokens: an application that keeps or ships them
// may filter or redact them here.
using LogSink = std::function<void(std::string_view line)>;

// Replaces the process's log sink, from the next line on; an empty sink means standard
// output. Any thread, any time, also before the platform is installed: the Linux platform
// that the library builds on first use keeps it. A Platform installed with a logSink of its
// own replaces it, and resetProcessState goes back to standard output. A line that another
// thread started before the call may still finish in the old sink, so what a sink captures
// should be owned by the sink (a shared_ptr), not borrowed.
QUILLGATE_EXPORT void setLogSink(LogSink sink);

// The process's log sink (standard output's when none was set), for a sink that wraps it.
QUILLGATE_EXPORT LogSink currentLogSink();

// Writes each line to standard output with a newline, flushed. Thread-safe.
QUILLGATE_EXPORT LogSink standardOutputSink();

}  // namespace quillgate::platform

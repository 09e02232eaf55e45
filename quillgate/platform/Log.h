#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quillgate::platform {

// Prints one line of the system's diagnostics: literal text, no prefix, no time stamp.
// Goes to the installed platform's log sink (standard output by default). Any thread.
void log(std::string_view line);

// Ends the program for the faults that the system itself declares fatal (an unbound
// outlet, a missing nib, an unparsable address). Prints the message, then aborts.
[[noreturn]] void fatal(std::string_view message);

using LogSink = std::function<void(std::string_view line)>;

// Writes each line to standard output with a newline, flushed. Thread-safe.
LogSink standardOutputSink();

}  // namespace quillgate::platform

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// The command-line host's commands, callable without a process of their own so that tests
// can run them on strings. main() hands over its arguments (without the program name) and
// the three standard streams; the result is the process's exit status:
//   0  the command did what was asked,
//   1  it ran and failed (a body that does not decode, a port already in use),
//   2  it could not run: a usage error or an unreadable file.
//
// Main thread only: `serve` blocks the termination signals and waits for one of them.

namespace quillgate::host {

int runHost(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err);

}  // namespace quillgate::host

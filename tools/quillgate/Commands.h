#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// One function per command of the host, each taking the arguments after the command's name.
// The exit statuses are runHost's (see Host.h). Usage errors are written to `err` with a
// pointer to `quillgate --help`.

namespace quillgate::host {

int runDecode(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
              std::ostream& err);
int runServe(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The names `decode --as` accepts, in the order the help lists them.
std::vector<std::string> decodableRoots();

// Writes "quillgate: <message>" and the hint to `err`, and gives the usage status.
int usageError(std::ostream& err, const std::string& message);

}  // namespace quillgate::host

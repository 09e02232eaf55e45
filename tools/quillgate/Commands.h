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
int runRead(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runDemo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runPreview(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runGallery(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The same commands on a platform the caller adjusts (tests: a network that is always up).
struct HostSetup;
int runRead(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
            const HostSetup& base);

// Where the demo puts the local access service: the `local` mode's ports unless a caller
// (a test) asks for others; 0 picks a free port.
struct DemoPorts {
    int api = 3001;
    int web = 3000;
    int collect = 3002;
};
int runDemo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
            const DemoPorts& ports);

// The options of `read`, one group per paragraph, for the usage texts.
std::string readOptionsHelp();

// The options of `preview`, for the usage texts.
std::string previewOptionsHelp();

// The names `decode --as` accepts, in the order the help lists them.
std::vector<std::string> decodableRoots();

// Writes "quillgate: <message>" and the hint to `err`, and gives the usage status.
int usageError(std::ostream& err, const std::string& message);

}  // namespace quillgate::host

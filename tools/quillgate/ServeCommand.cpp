// `quillgate serve`: the local access service in the foreground, with the same flags and
// behaviour as the quillgate-devserver binary.
#include <ostream>

#include "tools/devserver/Foreground.h"
#include "tools/quillgate/Commands.h"

namespace quillgate::host {

int runServe(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    devserver::ForegroundOptions options;
    std::string error;
    switch (devserver::parseForegroundArguments(args, options, error)) {
        case devserver::ParseOutcome::help:
            out << "usage: quillgate serve [--api-port N] [--web-port N] [--collect-port N]\n"
                   "                       [--data DIR] [--quiet]\n"
                << devserver::kForegroundFlagsHelp;
            return 0;
        case devserver::ParseOutcome::usage:
            return usageError(err, "serve: " + error);
        case devserver::ParseOutcome::run:
            break;
    }
    return devserver::runInForeground(options, "quillgate serve", out, err);
}

}  // namespace quillgate::host

// quillgate-devserver: the local access service in the foreground, on the loopback address,
// until SIGINT or SIGTERM.
#include <iostream>
#include <string>
#include <vector>

#include "tools/devserver/Foreground.h"

namespace {

constexpr const char* kUsage =
    "usage: quillgate-devserver [--api-port N] [--web-port N] [--collect-port N] [--data DIR]\n"
    "                           [--quiet]\n"
    "\n"
    "Serves the access service's API, its web pages and the collection service on 127.0.0.1\n"
    "until interrupted.\n"
    "\n";

}  // namespace

int main(int argc, char** argv) {
    using namespace quillgate::devserver;
    const std::vector<std::string> args(argv + 1, argv + argc);
    ForegroundOptions options;
    std::string error;
    switch (parseForegroundArguments(args, options, error)) {
        case ParseOutcome::help:
            std::cout << kUsage << kForegroundFlagsHelp;
            return 0;
        case ParseOutcome::usage:
            std::cerr << "quillgate-devserver: " << error << "\n\n"
                      << kUsage << kForegroundFlagsHelp;
            return 2;
        case ParseOutcome::run:
            break;
    }
    return runInForeground(options, "quillgate-devserver", std::cout, std::cerr);
}

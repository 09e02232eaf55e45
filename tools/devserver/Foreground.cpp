#include "tools/devserver/Foreground.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <ostream>

namespace quillgate::devserver {

const char* const kForegroundFlagsHelp =
    "  --api-port N       port of the REST API (default 3001)\n"
    "  --web-port N       port of the web pages (default 3000)\n"
    "  --collect-port N   port of the collection service (default 3002)\n"
    "  --data DIR         scenario data (default: the data shipped with the sources)\n"
    "  --quiet            no line per request\n"
    "Port 0 picks a free port.\n";

namespace {

bool parsePort(const std::string& text, int& port) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 0 || value > 65535) {
        return false;
    }
    port = static_cast<int>(value);
    return true;
}

}  // namespace

ParseOutcome parseForegroundArguments(const std::vector<std::string>& args,
                                      ForegroundOptions& options, std::string& error) {
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == "--help" || arg == "-h") {
            return ParseOutcome::help;
        } else if (arg == "--quiet") {
            options.quiet = true;
        } else if (arg == "--api-port" || arg == "--web-port" || arg == "--collect-port") {
            if (!hasValue) {
                error = arg + " wants a port number";
                return ParseOutcome::usage;
            }
            int& port = arg == "--api-port"   ? options.server.apiPort
                        : arg == "--web-port" ? options.server.webPort
                                              : options.server.collectPort;
            if (!parsePort(args[++i], port)) {
                error = arg + " wants a port number, not \"" + args[i] + "\"";
                return ParseOutcome::usage;
            }
        } else if (arg == "--data") {
            if (!hasValue) {
                error = "--data wants a directory";
                return ParseOutcome::usage;
            }
            options.server.dataDir = args[++i];
        } else {
            error = "unknown argument \"" + arg + "\"";
            return ParseOutcome::usage;
        }
    }
    return ParseOutcome::run;
}

int runInForeground(const ForegroundOptions& foreground, const std::string& program,
                    std::ostream& out, std::ostream& err) {
    DevServer::Options options = foreground.server;
    if (!foreground.quiet) {
        auto lock = std::make_shared<std::mutex>();
        options.log = [lock, &out](const std::string& line) {
            std::lock_guard guard(*lock);
            out << line << std::endl;
        };
    }

    // The signals are taken by sigwait below; block them before any server thread exists so
    // that every thread inherits the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &signals, &previous);

    int status = 0;
    {
        DevServer server(options);
        if (auto started = server.start(); !started) {
            err << program << ": " << started.error << std::endl;
            status = 1;
        } else {
            const std::string api = server.apiBase();
            out << "Quillgate local access service\n"
                << "  API         " << api << "\n"
                << "  web pages   " << server.webBase() << "\n"
                << "  collection  " << server.collectUrl() << "\n"
                << "  fonts       " << server.webFontHostBase() << " and "
                << server.sourceRepositoryHostBase() << "\n"
                << "  controls    " << api.substr(0, api.size() - 7)
                << "/__control (on each of the three ports)\n"
                << "Press Ctrl-C to stop." << std::endl;
            int received = 0;
            sigwait(&signals, &received);
            out << "Stopping." << std::endl;
            server.stop();
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return status;
}

}  // namespace quillgate::devserver

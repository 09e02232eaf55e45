// quillgate-devserver: the local access service in the foreground, on the loopback address,
// until SIGINT or SIGTERM.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>
#include <string_view>

#include "tools/devserver/DevServer.h"

namespace {

constexpr const char* kUsage =
    "usage: quillgate-devserver [--api-port N] [--web-port N] [--collect-port N] [--data DIR]\n"
    "                           [--quiet]\n"
    "\n"
    "Serves the access service's API, its web pages and the collection service on 127.0.0.1\n"
    "until interrupted. Defaults: API 3001, web 3000, collection 3002, the scenario data\n"
    "shipped with the sources. Port 0 picks a free port.\n";

bool parsePort(const char* text, int& port) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < 0 || value > 65535) {
        return false;
    }
    port = static_cast<int>(value);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    using quillgate::devserver::DevServer;
    DevServer::Options options;
    bool quiet = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (arg == "--quiet") {
            quiet = true;
        } else if ((arg == "--api-port" || arg == "--web-port" || arg == "--collect-port") &&
                   hasValue) {
            int& port = arg == "--api-port"   ? options.apiPort
                        : arg == "--web-port" ? options.webPort
                                              : options.collectPort;
            if (!parsePort(argv[++i], port)) {
                std::fprintf(stderr, "quillgate-devserver: %s wants a port number, not \"%s\"\n",
                             argv[i - 1], argv[i]);
                return 2;
            }
        } else if (arg == "--data" && hasValue) {
            options.dataDir = argv[++i];
        } else {
            std::fprintf(stderr, "quillgate-devserver: unknown argument \"%s\"\n\n%s", argv[i],
                         kUsage);
            return 2;
        }
    }
    if (!quiet) {
        auto out = std::make_shared<std::mutex>();
        options.log = [out](const std::string& line) {
            std::lock_guard lock(*out);
            std::cout << line << std::endl;
        };
    }

    // The signals are taken by sigwait below; block them before any server thread exists so
    // that every thread inherits the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    DevServer server(options);
    if (auto started = server.start(); !started) {
        std::fprintf(stderr, "quillgate-devserver: %s\n", started.error.c_str());
        return 1;
    }
    std::cout << "Quillgate local access service\n"
              << "  API         " << server.apiBase() << "\n"
              << "  web pages   " << server.webBase() << "\n"
              << "  collection  " << server.collectUrl() << "\n"
              << "  fonts       " << server.webFontHostBase() << " and "
              << server.sourceRepositoryHostBase() << "\n"
              << "  controls    " << server.apiBase().substr(0, server.apiBase().size() - 7)
              << "/__control (on each of the three ports)\n"
              << "Press Ctrl-C to stop." << std::endl;

    int received = 0;
    sigwait(&signals, &received);
    std::cout << "Stopping." << std::endl;
    server.stop();
    return 0;
}

#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "quillgate/service/Deployment.h"
#include "tools/devserver/AccessService.h"
#include "tools/devserver/Collector.h"
#include "tools/devserver/Controls.h"

// The local access service: three HTTP servers on the loopback address that play the access
// service's REST API (under /api/v1), its web pages, and the collection service, with font
// files at the paths of the two font hosts. Tests start it in-process on ephemeral ports,
// the host's demo on the `local` mode's ports:
//
//   DevServer server({.apiPort = 0, .webPort = 0, .collectPort = 0});
//   if (auto started = server.start(); !started) { /* started.error says why */ }
//   client.deployment().apiBase = server.apiBase();  // ...
//
// start() binds all three ports before anything is served, so the bases are valid as soon
// as it returns and no request can race the start. Each server answers from its own worker
// threads; nothing here runs on the caller's thread, and nothing is thrown at it: a port in
// use, a bad data directory or a failing server ends up in start()'s result. stop() and the
// destructor wait for the servers to finish. The accessors may be called from any thread.

namespace quillgate::devserver {

struct StartResult {
    bool ok = false;
    std::string error;
    explicit operator bool() const { return ok; }
};

class DevServer {
  public:
    struct Options {
        // 0 picks a free port.
        int apiPort = 3001;
        int webPort = 3000;
        int collectPort = 3002;
        std::filesystem::path dataDir = defaultDataDir();
        // The service's clock; the system clock when empty.
        WallClock clock;
        // When set, gets one line per request answered ("api GET /api/v1/journey?... -> 200"),
        // from the servers' worker threads.
        std::function<void(const std::string&)> log;
    };

    // The scenario data shipped with the sources.
    static std::filesystem::path defaultDataDir();

    explicit DevServer(Options options);
    ~DevServer();
    DevServer(const DevServer&) = delete;
    DevServer& operator=(const DevServer&) = delete;

    StartResult start();
    void stop();
    bool running() const;

    int apiPort() const;
    int webPort() const;
    int collectPort() const;
    // "http://127.0.0.1:<port>/api/v1", no trailing slash.
    std::string apiBase() const;
    // "http://127.0.0.1:<port>/", with the trailing slash.
    std::string webBase() const;
    // "http://127.0.0.1:<port>/collect/event".
    std::string collectUrl() const;
    // Bases of the two font hosts, each ending with "/": the web-font host's paths
    // ("s/roboto/...") and the source-repository host's ("google/fonts/raw/...") go behind.
    std::string webFontHostBase() const;
    std::string sourceRepositoryHostBase() const;
    // Points the local mode's three addresses and both font hosts of `deployment` here, so
    // that a client in the local mode talks to this server only.
    void pointAt(Deployment& deployment) const;

    // Back to the scenario's first state: service state, collected events, faults and the
    // request log.
    void reset();

    // Valid after a successful start(), until the object is destroyed.
    AccessService& service();
    Collector& collector();
    Controls& controls();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace quillgate::devserver

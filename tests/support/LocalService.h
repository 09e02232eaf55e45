#pragma once

#include <utility>

#include "tools/devserver/DevServer.h"

namespace quillgate::testing {

// The local access service's options for a test: ephemeral loopback ports, the scenario data
// shipped with the sources, and the given clock (the system clock when empty).
inline devserver::DevServer::Options ephemeralService(devserver::WallClock clock = {}) {
    devserver::DevServer::Options options;
    options.apiPort = options.webPort = options.collectPort = 0;
    options.clock = std::move(clock);
    return options;
}

}  // namespace quillgate::testing

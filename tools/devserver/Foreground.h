#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tools/devserver/DevServer.h"

// Running the local access service in the foreground, as the `quillgate-devserver` binary
// and the host's `serve` command both do: the same flags, the same banner, the same stop on
// SIGINT or SIGTERM. Kept here so that the two programs cannot drift apart.
//
// Both functions belong to the program's main thread. runInForeground() blocks SIGINT and
// SIGTERM for the whole process (the server threads inherit the mask) and waits for one of
// them with sigwait; it restores the caller's mask before returning.

namespace quillgate::devserver {

struct ForegroundOptions {
    DevServer::Options server;
    // No request lines.
    bool quiet = false;
};

enum class ParseOutcome {
    run,    // options filled in
    help,   // --help was asked for
    usage,  // a bad argument; the error says which
};

// Reads `--api-port N`, `--web-port N`, `--collect-port N`, `--data DIR`, `--quiet` and
// `--help`. On a bad argument, `error` gets a one-line reason without the program's name.
ParseOutcome parseForegroundArguments(const std::vector<std::string>& args,
                                      ForegroundOptions& options, std::string& error);

// The flags above, one per line, for a program's usage text.
extern const char* const kForegroundFlagsHelp;

// Starts the servers, prints their addresses to `out`, waits for SIGINT or SIGTERM and stops.
// Returns 0 after a signal, 1 when the servers could not start (the reason goes to `err`,
// after `program` and a colon).
int runInForeground(const ForegroundOptions& options, const std::string& program, std::ostream& out,
                    std::ostream& err);

}  // namespace quillgate::devserver

#pragma once

#include <string>

#include "quillgate/Export.h"
#include "quillgate/service/Mode.h"

// Where the library's remote parties live. One table per deployment: for each mode the
// access service's API base, the base of its web pages and the collection address, plus the
// addresses that are the same for every mode (the two marker sites the web flow watches for,
// and the two hosts fonts are downloaded from).
//
// The table is a plain value. The client holds the one in use as its public `deployment`
// property; a host that runs against its own service replaces it before the first request.
// Main thread only, like the rest of the client's state.
namespace quillgate {

struct QUILLGATE_EXPORT ServiceAddresses {
    // The access service's REST base, without a trailing "/" (paths begin with one).
    std::string apiBase;
    // The base of the service's web pages, with a trailing "/".
    std::string webBase;
    // The whole address that events and pings are posted to.
    std::string collectionAddress;

    bool operator==(const ServiceAddresses&) const = default;
};

struct QUILLGATE_EXPORT Deployment {
    ServiceAddresses stage;
    ServiceAddresses sandbox;
    ServiceAddresses production;
    ServiceAddresses local;

    // A site that doesn't exist: the web page navigates to it (plus "/?ovl-tierId=...") to
    // say that a subscription tier was bought. No trailing "/".
    std::string placeholderSiteAddress;
    // Another site that doesn't exist, used as the base of the "Page Not Found" page after a
    // failed navigation. Ends with "/".
    std::string mockSiteAddress;
    // Base of the public web-font host ("s/<family>/..." follows). Ends with "/".
    std::string webFontHost;
    // Base of the public source-repository host ("google/fonts/raw/..." follows). Ends with
    // "/".
    std::string sourceRepositoryHost;

    const ServiceAddresses& addresses(Mode mode) const;
    ServiceAddresses& addresses(Mode mode);

    // The table the library ships with. `local` is the loopback service (API on port 3001,
    // web pages on port 3000, plain HTTP); its events go to the staging collector, and
    // sandbox's to the production one. The staging, sandbox and production hosts are
    // placeholders under the reserved ".invalid" domain: a real deployment supplies its own.
    static Deployment builtIn();

    bool operator==(const Deployment&) const = default;
};

}  // namespace quillgate

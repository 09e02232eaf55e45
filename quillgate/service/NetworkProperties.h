#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "quillgate/platform/HttpSession.h"
#include "quillgate/service/Deployment.h"
#include "quillgate/service/Endpoint.h"

// Turns a route and its parameters into a request ready for the HTTP session, against the
// addresses of the client's mode in the client's deployment table. Also the two other
// request builders (the user route and the collection), the reachability test that runs
// before every request, and the user agent that requests carry.
//
// Main thread only: the builders read the client's mode and deployment, the user defaults
// and the web view's user agent.
namespace quillgate {

// A request's parameters: a JSON object from key to any value. Its keys come out in the
// object's own (sorted) order; the service gives order no meaning.
using Parameters = nlohmann::json;

class NetworkProperties {
  public:
    // Every request waits this long for its answer.
    static constexpr double timeoutSeconds = 45.0;

    // Builds the request of `endpoint` against the client's present mode and deployment.
    //
    // "get": with `isJourneyQuery` false, one query item per text entry and one per element
    // of a list of texts (repeated keys), other values left out; with it true (the journey
    // only), the query is the text key=value of every entry joined with "&", each value as
    // it prints (a list reads `["a", "b"]`), and the whole address is then percent-encoded
    // with the URL-query-allowed set.
    // "post": the parameters are the JSON body. If they can't be written as JSON, prints
    // the conversion error, and the request goes out without a body.
    // Headers: exactly "accept" and "Content-Type" (both "application/json") and
    // "User-Agent". An address that doesn't parse ends the program.
    static platform::HttpRequest getRequest(const Parameters& parameters, bool isJourneyQuery,
                                            const Endpoint& endpoint);
    // The same against explicit addresses.
    static platform::HttpRequest getRequest(const Parameters& parameters, bool isJourneyQuery,
                                            const Endpoint& endpoint,
                                            const ServiceAddresses& addresses);

    // The user route: API base + "/user/" + the stored session (or nothing) + "?clientId=" +
    // `clientID`, "get", with "accept" and "Content-Type" only (no user agent).
    static platform::HttpRequest getUserRequest(const std::string& clientID);
    static platform::HttpRequest getUserRequest(const std::string& clientID,
                                                const ServiceAddresses& addresses);

    // An event or ping: posted to the collection address of the client's mode with `body`
    // as JSON and the same three headers as getRequest.
    static platform::HttpRequest collectionRequest(
        const Parameters& body, const Endpoint& endpoint = Endpoint::collectEvent());
    static platform::HttpRequest collectionRequest(const Parameters& body, const Endpoint& endpoint,
                                                   const ServiceAddresses& addresses);

    // The query text of the journey form, before the whole address is percent-encoded.
    static std::string joinedQuery(const Parameters& parameters);

    // True when the network is up. Asked before every request is started.
    static bool isConnectedToNetwork();

    // The web view's user agent text (empty if it has none). Read once, then kept for the
    // life of the process: it never changes while the process runs.
    static std::string userAgent();

    // The addresses of the client's present mode.
    static const ServiceAddresses& currentAddresses();
};

}  // namespace quillgate

#include "quillgate/service/NetworkProperties.h"

#include <algorithm>
#include <optional>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/Url.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/JsonText.h"
#include "quillgate/ui/WebView.h"

namespace quillgate {

namespace {

constexpr const char* kErrorConvertingToData = "Error converting to data: ";
constexpr const char* kUnparsableAddress =
    "Fatal error: Unexpectedly found nil while unwrapping an Optional value: the request "
    "address does not parse: file Quillgate/NetworkProperties, address ";
constexpr const char* kJson = "application/json";

// The user agent, read from a web view once per process.
struct UserAgentCache {
    std::optional<std::string> text;
};

const Parameters& emptyParameters() {
    static const Parameters empty = Parameters::object();
    return empty;
}

const Parameters& entries(const Parameters& parameters) {
    return parameters.is_object() ? parameters : emptyParameters();
}

void requireParsable(const std::string& address) {
    if (!platform::url::parse(address)) {
        platform::fatal(kUnparsableAddress + address);
    }
}

// The repeated-key form: a text gives one item, a list of texts one item per element, any
// other value nothing.
std::string withQueryItems(const std::string& address, const Parameters& parameters) {
    const Parameters& map = entries(parameters);
    if (map.empty()) {
        return address;
    }
    platform::url::QueryItems items;
    for (const auto& [key, value] : map.items()) {
        if (value.is_string()) {
            items.emplace_back(key, value.get<std::string>());
        } else if (value.is_array() &&
                   std::all_of(value.begin(), value.end(),
                               [](const Parameters& e) { return e.is_string(); })) {
            for (const auto& element : value) {
                items.emplace_back(key, element.get<std::string>());
            }
        }
    }
    if (items.empty()) {
        // Entries were given but none could be an item: the query is set, and empty.
        return address.substr(0, address.find('?')) + "?";
    }
    return platform::url::withQueryItems(address, items);
}

void setJsonBody(platform::HttpRequest& request, const Parameters& parameters) {
    auto written = jsontext::write(parameters.is_null() ? emptyParameters() : parameters);
    if (written.text) {
        request.body = std::move(*written.text);
    } else {
        platform::log(kErrorConvertingToData + written.error);
    }
}

platform::HttpRequest makeRequest(std::string address, std::string_view method) {
    requireParsable(address);
    platform::HttpRequest request;
    request.url = std::move(address);
    request.method = std::string(method);
    request.timeoutSeconds = NetworkProperties::timeoutSeconds;
    return request;
}

void setHeaders(platform::HttpRequest& request, bool withUserAgent) {
    request.headers = {{"accept", kJson}, {"Content-Type", kJson}};
    if (withUserAgent) {
        request.headers.emplace_back("User-Agent", NetworkProperties::userAgent());
    }
}

}  // namespace

const ServiceAddresses& NetworkProperties::currentAddresses() {
    const auto& client = QuillgateClient::shared();
    return client.deployment.addresses(client.mode);
}

std::string NetworkProperties::joinedQuery(const Parameters& parameters) {
    std::string joined;
    for (const auto& [key, value] : entries(parameters).items()) {
        if (!joined.empty()) {
            joined.push_back('&');
        }
        joined += key + "=" + description::value(value);
    }
    return joined;
}

platform::HttpRequest NetworkProperties::getRequest(const Parameters& parameters,
                                                    bool isJourneyQuery, const Endpoint& endpoint) {
    return getRequest(parameters, isJourneyQuery, endpoint, currentAddresses());
}

platform::HttpRequest NetworkProperties::getRequest(const Parameters& parameters,
                                                    bool isJourneyQuery, const Endpoint& endpoint,
                                                    const ServiceAddresses& addresses) {
    const std::string base =
        endpoint.isCollection() ? addresses.collectionAddress : addresses.apiBase + endpoint.path();
    const bool isGet = endpoint.method() == "get";

    std::string address = base;
    if (isGet) {
        address =
            isJourneyQuery
                ? platform::url::percentEncodeQueryAllowed(base + "?" + joinedQuery(parameters))
                : withQueryItems(base, parameters);
    }
    platform::HttpRequest request = makeRequest(std::move(address), endpoint.method());
    if (!isGet) {
        setJsonBody(request, parameters);
    }
    setHeaders(request, true);
    return request;
}

platform::HttpRequest NetworkProperties::getUserRequest(const std::string& clientID) {
    return getUserRequest(clientID, currentAddresses());
}

platform::HttpRequest NetworkProperties::getUserRequest(const std::string& clientID,
                                                        const ServiceAddresses& addresses) {
    const Endpoint user = Endpoint::user();
    platform::HttpRequest request =
        makeRequest(addresses.apiBase + user.path() + Constants::sessionID().value_or("") +
                        "?clientId=" + clientID,
                    user.method());
    setHeaders(request, false);
    return request;
}

platform::HttpRequest NetworkProperties::collectionRequest(const Parameters& body,
                                                           const Endpoint& endpoint) {
    return collectionRequest(body, endpoint, currentAddresses());
}

platform::HttpRequest NetworkProperties::collectionRequest(const Parameters& body,
                                                           const Endpoint& endpoint,
                                                           const ServiceAddresses& addresses) {
    platform::HttpRequest request = makeRequest(addresses.collectionAddress, endpoint.method());
    setJsonBody(request, body);
    setHeaders(request, true);
    return request;
}

bool NetworkProperties::isConnectedToNetwork() {
    auto& reachability = platform::current().reachability;
    return reachability && reachability->isReachable();
}

std::string NetworkProperties::userAgent() {
    auto& cache = platform::sharedInstance<UserAgentCache>();
    if (!cache.text) {
        cache.text = ui::WebView::make()->userAgent().value_or("");
    }
    return *cache.text;
}

}  // namespace quillgate

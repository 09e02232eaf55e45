#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Addresses, on libcurl's URL parser (platform/linux/Url.cpp). Pure functions, any thread.
namespace quillgate::platform::url {

struct Url {
    std::string scheme;
    std::string host;
    std::optional<int> port;
    std::string path;
    std::optional<std::string> query;  // still percent-encoded
    std::optional<std::string> fragment;
    std::string text;  // the whole address, normalised by the parser
};

// Parses an absolute address. Nothing if the parser refuses it.
std::optional<Url> parse(std::string_view address);

// Percent-encodes every byte outside the "URL query allowed" set: ASCII letters and digits
// and !$&'()*+,-./:;=?@_~ . So "&" and "=" stay, a blank becomes "%20".
std::string percentEncodeQueryAllowed(std::string_view s);
// Decodes %XX sequences (a malformed one is kept as it is); "+" stays "+".
std::string percentDecode(std::string_view s);

using QueryItems = std::vector<std::pair<std::string, std::string>>;

// The address with these query items appended, as URL components would build it: each name
// and value percent-encoded for a query component, joined with "&" and "=". No items: the
// address unchanged.
std::string withQueryItems(std::string_view address, const QueryItems& items);
// The decoded query items of an address, in order (for tests, tools and the devserver).
QueryItems queryItems(std::string_view address);

}  // namespace quillgate::platform::url

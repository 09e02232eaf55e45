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
    std::string text;  // the whole address, as given
};

// Parses an absolute address ("scheme://..."; custom schemes such as the library's deep link
// included). Nothing if the parser refuses it: no scheme, a blank or other raw character that
// an address may not hold, a bad port. The parts come from the parser; `text` stays the text
// as given, since log lines and the web flow compare addresses as the client built them.
std::optional<Url> parse(std::string_view address);

// The address `reference` stands for on a page at `base`: an absolute reference as it stands,
// text unchanged (so that an app-scheme address compares equal to what the page wrote); a
// relative one ("/x", "x?y", "?q", "//host/x") resolved against `base` by the parser. Nothing
// when neither parses.
std::optional<std::string> resolve(std::string_view base, std::string_view reference);

// Percent-encodes every byte outside the "URL query allowed" set: ASCII letters and digits
// and !$&'()*+,-./:;=?@_~ . So "&" and "=" stay, a blank becomes "%20".
std::string percentEncodeQueryAllowed(std::string_view s);
// Decodes %XX sequences (a malformed one is kept as it is); "+" stays "+".
std::string percentDecode(std::string_view s);

using QueryItems = std::vector<std::pair<std::string, std::string>>;

// The address with its query replaced by these items, as URL components' query items setter
// builds it: name=value pairs joined with "&". Each name and value is percent-encoded with the
// query allowed set less the characters that would cut it: "&" and "=" in a name, "&" in a
// value ("=" stays: a reader splits at the first one). "+" and the other allowed characters
// ("/", "?", ":", "@", ...) stay as they are, so ids and texts arrive intact and a blank
// arrives as "%20". The rest of the address, fragment included, stays as written. No items:
// the address unchanged (no empty "?").
std::string withQueryItems(std::string_view address, const QueryItems& items);
// The decoded query items of an address, in order (for tests, tools and the devserver): the
// query split at "&", each item at its first "=", names and values percent-decoded ("+" is
// not a blank). An item without "=" has the empty value; empty items are skipped. Round trip:
// queryItems(withQueryItems(a, items)) == items.
QueryItems queryItems(std::string_view address);

}  // namespace quillgate::platform::url

// Addresses on libcurl's URL parser, and the percent-encoding that URL components use.

#include "quillgate/platform/Url.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace quillgate::platform::url {

namespace {

struct UrlHandleDeleter {
    void operator()(CURLU* h) const { curl_url_cleanup(h); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlHandleDeleter>;

std::optional<std::string> part(CURLU* h, CURLUPart which) {
    char* value = nullptr;
    if (curl_url_get(h, which, &value, 0) != CURLUE_OK || value == nullptr) {
        return std::nullopt;
    }
    std::string out(value);
    curl_free(value);
    return out;
}

bool isAsciiAlnum(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// The "URL query allowed" set: ASCII letters and digits and !$&'()*+,-./:;=?@_~
bool isQueryAllowed(unsigned char c) {
    if (isAsciiAlnum(c)) {
        return true;
    }
    switch (c) {
        case '!':
        case '$':
        case '&':
        case '\'':
        case '(':
        case ')':
        case '*':
        case '+':
        case ',':
        case '-':
        case '.':
        case '/':
        case ':':
        case ';':
        case '=':
        case '?':
        case '@':
        case '_':
        case '~':
            return true;
        default:
            return false;
    }
}

template <class Allowed>
std::string percentEncode(std::string_view s, Allowed allowed) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(s.size());
    for (char ch : s) {
        const auto c = static_cast<unsigned char>(ch);
        if (allowed(c)) {
            out.push_back(ch);
        } else {
            out.push_back('%');
            out.push_back(hex[c >> 4]);
            out.push_back(hex[c & 0x0F]);
        }
    }
    return out;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

}  // namespace

std::optional<Url> parse(std::string_view address) {
    UrlHandle h(curl_url());
    if (!h) {
        return std::nullopt;
    }
    const std::string text(address);
    // Custom schemes (the library's own deep link) are addresses too.
    if (curl_url_set(h.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
        return std::nullopt;
    }
    Url out;
    out.scheme = part(h.get(), CURLUPART_SCHEME).value_or("");
    out.host = part(h.get(), CURLUPART_HOST).value_or("");
    if (auto port = part(h.get(), CURLUPART_PORT)) {
        try {
            out.port = std::stoi(*port);
        } catch (...) {
            return std::nullopt;
        }
    }
    out.path = part(h.get(), CURLUPART_PATH).value_or("");
    out.query = part(h.get(), CURLUPART_QUERY);
    out.fragment = part(h.get(), CURLUPART_FRAGMENT);
    out.text = text;
    return out;
}

std::optional<std::string> resolve(std::string_view base, std::string_view reference) {
    const std::string ref(reference);
    // An absolute address has a scheme: letters, digits, "+", "-", "." before a ":".
    const auto colon = ref.find(':');
    if (colon != std::string::npos && colon > 0 && ref.find_first_of("/?#") > colon) {
        const bool scheme =
            std::all_of(ref.begin(), ref.begin() + static_cast<long>(colon), [](char c) {
                return isAsciiAlnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' ||
                       c == '.';
            });
        if (scheme) {
            return parse(ref) ? std::optional<std::string>(ref) : std::nullopt;
        }
    }
    UrlHandle h(curl_url());
    const std::string start(base);
    if (!h || curl_url_set(h.get(), CURLUPART_URL, start.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
                  CURLUE_OK) {
        return std::nullopt;
    }
    // Setting a relative address on a handle that holds one resolves it.
    if (curl_url_set(h.get(), CURLUPART_URL, ref.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
        return std::nullopt;
    }
    return part(h.get(), CURLUPART_URL);
}

std::string percentEncodeQueryAllowed(std::string_view s) {
    return percentEncode(s, isQueryAllowed);
}

std::string percentDecode(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '%' && i + 2 < s.size()) {
            const int hi = hexValue(s[i + 1]);
            const int lo = hexValue(s[i + 2]);
            if (hi >= 0 && lo >= 0) {
                out.push_back(static_cast<char>(hi * 16 + lo));
                i += 2;
                continue;
            }
        }
        out.push_back(s[i]);
    }
    return out;
}

std::string withQueryItems(std::string_view address, const QueryItems& items) {
    if (items.empty()) {
        return std::string(address);
    }
    std::string query;
    for (const auto& [name, value] : items) {
        if (!query.empty()) {
            query.push_back('&');
        }
        query += percentEncode(
            name, [](unsigned char c) { return isQueryAllowed(c) && c != '&' && c != '='; });
        query.push_back('=');
        query +=
            percentEncode(value, [](unsigned char c) { return isQueryAllowed(c) && c != '&'; });
    }
    // Replace the query component, keep everything else (fragment included) as written.
    const std::size_t hash = address.find('#');
    const std::string_view beforeFragment = address.substr(0, hash);
    const std::string_view fragment =
        hash == std::string_view::npos ? std::string_view{} : address.substr(hash);
    const std::string_view base = beforeFragment.substr(0, beforeFragment.find('?'));
    std::string out;
    out.reserve(address.size() + query.size() + 1);
    out.append(base);
    out.push_back('?');
    out += query;
    out.append(fragment);
    return out;
}

QueryItems queryItems(std::string_view address) {
    QueryItems items;
    std::string_view rest = address.substr(0, address.find('#'));
    const std::size_t question = rest.find('?');
    if (question == std::string_view::npos) {
        return items;
    }
    rest.remove_prefix(question + 1);
    while (!rest.empty()) {
        const std::size_t amp = rest.find('&');
        const std::string_view item = rest.substr(0, amp);
        if (!item.empty()) {
            const std::size_t eq = item.find('=');
            const std::string_view name = item.substr(0, eq);
            const std::string_view value =
                eq == std::string_view::npos ? std::string_view{} : item.substr(eq + 1);
            items.emplace_back(percentDecode(name), percentDecode(value));
        }
        if (amp == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(amp + 1);
    }
    return items;
}

}  // namespace quillgate::platform::url

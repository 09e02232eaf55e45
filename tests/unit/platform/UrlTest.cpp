// Addresses and query items, as URL components build and read them.

#include "quillgate/platform/Url.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillgate::platform::url {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(UrlParse, SplitsAnAbsoluteAddressIntoItsPartsAndRefusesTheRest) {
    const auto u = parse("http://127.0.0.1:3001/api/v1/journey?clientId=a%20b#top");
    ASSERT_TRUE(u);
    EXPECT_EQ(u->scheme, "http");
    EXPECT_EQ(u->host, "127.0.0.1");
    EXPECT_EQ(u->port, 3001);
    EXPECT_EQ(u->path, "/api/v1/journey");
    EXPECT_EQ(u->query, "clientId=a%20b");
    EXPECT_EQ(u->fragment, "top");
    EXPECT_EQ(u->text, "http://127.0.0.1:3001/api/v1/journey?clientId=a%20b#top");

    const auto plain = parse("https://example.org");
    ASSERT_TRUE(plain);
    EXPECT_FALSE(plain->port);
    EXPECT_FALSE(plain->query);
    EXPECT_EQ(plain->text, "https://example.org");

    const auto deepLink = parse("orvelant://home?id=abc");  // the library's own
    ASSERT_TRUE(deepLink);
    EXPECT_EQ(deepLink->scheme, "orvelant");
    EXPECT_EQ(deepLink->host, "home");
    EXPECT_EQ(deepLink->query, "id=abc");

    for (const char* bad : {"", "orvelant", "/api/v1", "http://a b/", "http://x/a b",
                            "http://127.0.0.1:99999/", "http://[::1/", "\xff\xfe://x"}) {
        EXPECT_FALSE(parse(bad)) << bad;
    }
}

TEST(UrlResolve, RelativeReferencesResolveAgainstThePageAbsoluteOnesStayAsWritten) {
    const std::string page = "http://127.0.0.1:3000/overlay?clientId=c";
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {"/overlay/choose?x=1", "http://127.0.0.1:3000/overlay/choose?x=1"},
        {"choose", "http://127.0.0.1:3000/choose"},
        {"?q=2", "http://127.0.0.1:3000/overlay?q=2"},
        {"//other.test/p", "http://other.test/p"},
        // The app's own address keeps its exact text, with no "/" added before the query.
        {"orvelant://home?id=A1", "orvelant://home?id=A1"},
        {"https://Site.test/?ovl-tierId=", "https://Site.test/?ovl-tierId="},
        {"http://bad host/", std::nullopt},
    };
    for (const auto& [reference, expected] : cases) {
        EXPECT_EQ(resolve(page, reference), expected) << reference;
    }
    EXPECT_EQ(resolve("not an address", "x"), std::nullopt);
}

TEST(UrlEncoding, QueryAllowedSetKeepsDelimitersAndEncodesTheRest) {
    EXPECT_EQ(percentEncodeQueryAllowed("a b&c=d+e/f?g:h@i~j"), "a%20b&c=d+e/f?g:h@i~j");
    EXPECT_EQ(percentEncodeQueryAllowed("[\"x\", \"y\"]"), "%5B%22x%22,%20%22y%22%5D");
    EXPECT_EQ(percentEncodeQueryAllowed("é#%"), "%C3%A9%23%25");
    EXPECT_EQ(percentDecode("%C3%A9%20x+y%2"), "é x+y%2");
    EXPECT_EQ(percentDecode("%zz%4"), "%zz%4");
}

TEST(UrlQueryItems, ValuesArriveEncodedOnlyWhereNeededAndReadBackWhole) {
    const std::string address = withQueryItems(
        "http://127.0.0.1:3001/api/v1/content",
        {{"clientId", "6487c2a0-1f"}, {"title", "Budget 2024: what changes"}, {"q", "a&b=c+d"}});
    EXPECT_EQ(address,
              "http://127.0.0.1:3001/api/v1/content?clientId=6487c2a0-1f"
              "&title=Budget%202024:%20what%20changes&q=a%26b=c+d");

    // Reading them back gives the values.
    const QueryItems items = {{"tags", "news"}, {"tags", "sport"},
                              {"k=y", "v&w"},   {"url", "https://x.org/a?b=1#c"},
                              {"empty", ""},    {"ünï", "日本 語"}};
    const std::string roundTrip = withQueryItems("http://h/p#frag", items);
    EXPECT_TRUE(roundTrip.ends_with("#frag"));
    EXPECT_EQ(queryItems(roundTrip), items);
    EXPECT_TRUE(parse(roundTrip));
}

TEST(UrlQueryItems, ReplacesAnExistingQueryAndLeavesEmptyListsAlone) {
    EXPECT_EQ(withQueryItems("http://h/p?old=1", {{"new", "2"}}), "http://h/p?new=2");
    EXPECT_EQ(withQueryItems("http://h/p?old=1", {}), "http://h/p?old=1");
    EXPECT_THAT(queryItems("http://h/p?a=1&&b&c=x=y"),
                ElementsAre(Pair("a", "1"), Pair("b", ""), Pair("c", "x=y")));
    EXPECT_TRUE(queryItems("http://h/p").empty());
}

}  // namespace
}  // namespace quillgate::platform::url

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quillgate/service/Description.h"
#include "quillgate/service/JsonText.h"

namespace quillgate {
namespace {

using nlohmann::json;

TEST(DescriptionTest, ValuesPrintAsTheyReadInLogsAndQueries) {
    EXPECT_EQ(description::value("plain text"), "plain text");
    EXPECT_EQ(description::value(json::array({"a", "b"})), R"(["a", "b"])");
    EXPECT_EQ(description::value(json::array({""})), R"([""])");
    EXPECT_EQ(description::value(json::array()), "[]");
    EXPECT_EQ(description::value(json::object()), "[:]");
    EXPECT_EQ(description::value(json{{"k", json::array({1, true})}}), R"(["k": [1, true]])");
    EXPECT_EQ(description::value(json::array({"say \"hi\"\n"})), R"(["say \"hi\"\n"])");
    EXPECT_EQ(description::value(2.5), "2.5");
    EXPECT_EQ(description::value(nullptr), "nil");
}

TEST(DescriptionTest, FloatingNumbersAlwaysShowAFractionAndOptionalsAreWrapped) {
    EXPECT_EQ(description::number(0.0f), "0.0");
    EXPECT_EQ(description::number(50.0f), "50.0");
    EXPECT_EQ(description::number(33.3f), "33.3");
    EXPECT_EQ(description::number(0.1), "0.1");
    EXPECT_EQ(description::number(1e20), "1e+20");

    // Optionals print wrapped, or nil.
    EXPECT_EQ(description::optional(std::optional<std::string>("a\"b")), R"(Optional("a\"b"))");
    EXPECT_EQ(description::optional(std::optional<std::string>()), "nil");
    EXPECT_EQ(description::optional(std::optional<bool>(false)), "Optional(false)");
    EXPECT_EQ(description::quoted(std::string("tab\tnul\0x", 9)), R"("tab\tnul\0x")");
    EXPECT_EQ(description::quoted("\x01"), R"("\u{1}")");
}

TEST(JsonTextTest, CompactAndPrettyForms) {
    auto written = jsontext::write(json{{"redirectTo", "orvelant://home?id=a1"},
                                        {"n", 1.0},
                                        {"x", 0.25},
                                        {"s", "é"},
                                        {"z", nullptr}});
    ASSERT_TRUE(written.text);
    EXPECT_EQ(*written.text,
              R"({"n":1,"redirectTo":"orvelant:\/\/home?id=a1","s":"é","x":0.25,"z":null})");

    // The pretty form indents by two, with spaced colons.
    written = jsontext::write(
        json{{"a", json::array({1, "x"})}, {"b", json::object()}, {"c", json::array()}}, true);
    ASSERT_TRUE(written.text);
    EXPECT_EQ(*written.text,
              "{\n"
              "  \"a\" : [\n"
              "    1,\n"
              "    \"x\"\n"
              "  ],\n"
              "  \"b\" : {\n"
              "\n"
              "  },\n"
              "  \"c\" : [\n"
              "\n"
              "  ]\n"
              "}");
}

TEST(JsonTextTest, WhatCannotBeWrittenSaysWhyAndOnlyObjectsAndListsArePretty) {
    EXPECT_FALSE(jsontext::write(json{{"k", std::string("\xff\xfe")}}).text);
    EXPECT_FALSE(jsontext::write(json{{"k", std::nan("")}}).error.empty());
    EXPECT_FALSE(jsontext::write(json("top-level text")).text);

    // Only objects and lists are given a pretty text.
    EXPECT_EQ(jsontext::prettyText(R"({"a":"b\/c"})"), "{\n  \"a\" : \"b\\/c\"\n}");
    EXPECT_EQ(jsontext::prettyText("[]"), "[\n\n]");
    EXPECT_FALSE(jsontext::prettyText(""));
    EXPECT_FALSE(jsontext::prettyText("42"));
    EXPECT_FALSE(jsontext::prettyText("<html>"));
    EXPECT_FALSE(jsontext::prettyText(R"({"a":)"));
}

// The pretty text is written from simdjson's reading of a body where simdjson reads it, and
// from nlohmann's otherwise; the text is the same either way: keys sorted, the last of a
// repeated key, numbers as nlohmann parsed them.
TEST(JsonTextTest, PrettyTextIsTheSameWhicheverParserReadTheBody) {
    std::vector<std::string> bodies = {
        R"({"b":1,"a":{"d":[],"c":{}},"B":[1,2.5,-0,-0.0,1e2,3.0,1e300,0.1]})",
        R"({"k":1,"k":{"x":2},"j":true,"k":"last"})",
        R"(["a\\b", "\\\\", "\/\"\b\f\n\r\t\u0001\u001f", "\u00e9\ud83d\ude00", "\u007f", null])",
        R"({"n":[9223372036854775807,9223372036854775808,-9223372036854775808,18446744073709551615]})",
        R"({"big":18446744073709551616,"neg":-9223372036854775809})",  // nlohmann's alone
        "\xEF\xBB\xBF{\"bom\":1}",                                     // nlohmann's alone
        R"([[[[]]],{},[{}]])",
        R"({"":0,"a":"","aa":0,"a\u0000":1})",
    };
    for (const char* name : {"customize_paywall.json", "user_journey.json", "meter_model.json",
                             "embeded_subscription.json", "popup_model.json"}) {
        std::ifstream in(std::string(QUILLGATE_TEST_DATA_DIR) + "/records/" + name);
        std::stringstream text;
        text << in.rdbuf();
        bodies.push_back(text.str());
    }
    for (const std::string& body : bodies) {
        const auto expected = jsontext::write(json::parse(body), true).text;
        ASSERT_TRUE(expected) << body;
        EXPECT_EQ(jsontext::prettyText(body), expected) << body;
    }
}

}  // namespace
}  // namespace quillgate

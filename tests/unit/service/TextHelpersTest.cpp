#include <gtest/gtest.h>

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

}  // namespace
}  // namespace quillgate

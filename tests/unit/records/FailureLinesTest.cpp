#include <gtest/gtest.h>

#include <string>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"

namespace quillgate {
namespace {

const std::string kFormat =
    "The data couldn\u2019t be read because it isn\u2019t in the correct format.";
const std::string kMissing = "The data couldn\u2019t be read because it is missing.";

template <class T>
DecodingError failureOf(std::string_view body) {
    auto result = decode<T>(body);
    EXPECT_FALSE(result.ok()) << body;
    return result ? DecodingError{} : result.error();
}

TEST(FailureLines, TypeMismatch) {
    const DecodingError error = failureOf<CustomizePayWallModel>(
        R"({"data":{"configuration":{"mobile":{"json":{"styleForBackground":{"border":{"mainDiv":{"radius":"4"}}}}}}}})");
    const std::string context =
        "Context(codingPath: \"data.configuration.mobile.json.styleForBackground.border.mainDiv."
        "radius\", debugDescription: \"Expected to decode Int but found a string instead.\")";
    EXPECT_EQ(error.key, "radius");
    EXPECT_EQ(longDecodingFailureLine(error),
              "Type mismatch error: Int, value " + context + ", and ERROR: " + kFormat);
    EXPECT_EQ(shortDecodingFailureLine(error),
              "error Int, value " + context + " and ERROR: " + kFormat);
}

TEST(FailureLines, ValueNotFound) {
    const DecodingError error = failureOf<EmbededSubscription>(R"({"title":null})");
    const std::string context =
        "Context(codingPath: \"title\", debugDescription: \"Expected String value but found null "
        "instead.\")";
    EXPECT_EQ(longDecodingFailureLine(error),
              "Value not found error: String, value " + context + ", and ERROR: " + kMissing);
    EXPECT_EQ(shortDecodingFailureLine(error),
              "error String, value " + context + " and ERROR: " + kMissing);
}

TEST(FailureLines, KeyNotFound) {
    const DecodingError error = failureOf<EmbededSubscription>(
        R"({"title":"Plans","subscriptions":[{"freeTrial":{"enabled":false},"benefits":"b",
            "physical":false,"digital":true,"enabled":true,"migrated":false,"couponsEnabled":false,
            "title":"t","tiers":[],"createdAt":"c","updatedAt":"u"}]})");
    const std::string context =
        "Context(codingPath: \"subscriptions[0]\", debugDescription: \"No value associated with "
        "key \\\"iconUrl\\\".\")";
    EXPECT_EQ(error.codingPath.back(), (CodingKey{"Index 0", 0}));
    EXPECT_EQ(longDecodingFailureLine(error),
              "Key not found error: iconUrl, value " + context + ", and ERROR: " + kMissing);
    EXPECT_EQ(shortDecodingFailureLine(error),
              "error iconUrl, value " + context + " and ERROR: " + kMissing);
}

TEST(FailureLines, DataCorrupted) {
    const DecodingError number = failureOf<ValidPass>(R"({"duration":2.5})");
    const std::string numberContext =
        "Context(codingPath: \"duration\", debugDescription: \"Parsed JSON number <2.5> does not "
        "fit in Int.\")";
    EXPECT_EQ(longDecodingFailureLine(number),
              "Data corrupted error: " + numberContext + ", and ERROR: " + kFormat);
    EXPECT_EQ(shortDecodingFailureLine(number),
              "error " + numberContext + ", and ERROR: " + kFormat);

    // A body that isn't JSON: the parser's message joins the context, kept to one line of
    // printable text whatever bytes the body held.
    const DecodingError empty = failureOf<MeterModel>("");
    EXPECT_EQ(longDecodingFailureLine(empty),
              "Data corrupted error: Context(codingPath: \"\", debugDescription: \"The given data "
              "was not valid JSON.\", underlyingError: \"" +
                  empty.underlyingError + "\"), and ERROR: " + kFormat);
    const DecodingError bytes = failureOf<MeterModel>("{\"data\":\"\n\xC3\"}");
    for (char c : bytes.underlyingError) {
        EXPECT_TRUE(c >= 0x20 && c < 0x7F) << bytes.underlyingError;
    }
    EXPECT_EQ(shortDecodingFailureLine(bytes).find('\n'), std::string::npos);
}

TEST(FailureLines, ContextQuotesItsTextsOnOneLine) {
    DecodingError error;
    error.codingPath = {CodingKey{"a\"b", std::nullopt}, CodingKey{"Index 2", 2}};
    error.debugDescription = "line\nbreak\\\x01";
    EXPECT_EQ(error.contextDescription(),
              "Context(codingPath: \"a\\\"b[2]\", debugDescription: \"line\\nbreak\\\\\\u{1}\")");
}

}  // namespace
}  // namespace quillgate

// The one strict decoding rule, and the failure lines a decode prints.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"

namespace quillgate {
namespace {

template <class T>
void expectFailure(std::string_view body, DecodingErrorKind kind, const std::string& path,
                   const std::string& typeName) {
    SCOPED_TRACE(std::string(body));
    auto result = decode<T>(body);
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().kind, kind);
    EXPECT_EQ(result.error().codingPathDescription(), path);
    EXPECT_EQ(result.error().typeName, typeName);
}

std::string paywallWithBorder(const std::string& mainDiv) {
    return R"({"data":{"configuration":{"mobile":{"json":{"styleForBackground":{"border":{"mainDiv":)" +
           mainDiv + "}}}}}}}";
}

// A wrong JSON type anywhere fails the whole root, and the failure names the full path.
TEST(StrictDecoding, WrongJsonTypeAtDepthFailsTheWholeRoot) {
    const std::string radiusPath =
        "data.configuration.mobile.json.styleForBackground.border.mainDiv.radius";
    expectFailure<CustomizePayWallModel>(paywallWithBorder(R"({"radius":"4"})"),
                                         DecodingErrorKind::typeMismatch, radiusPath, "Int");
    EXPECT_EQ(decode<CustomizePayWallModel>(paywallWithBorder(R"({"radius":4})"))
                  ->data->configuration->mobile->json->styleForBackground->border->mainDiv->radius,
              4);

    expectFailure<CustomizePayWallModel>(
        R"({"data":{"configuration":{"mobile":{"json":{"timerValue":{"time":30}}}}}})",
        DecodingErrorKind::typeMismatch, "data.configuration.mobile.json.timerValue.time",
        "String");
    EXPECT_EQ(decode<CustomizePayWallModel>(
                  R"({"data":{"configuration":{"mobile":{"json":{"timerValue":{"time":"30"}}}}}})")
                  ->data->configuration->mobile->json->timerValue->time,
              "30");

    expectFailure<UserJourneyModel>(R"({"meteringAction":{"data":{"variables":{"stepCount":3}}}})",
                                    DecodingErrorKind::typeMismatch,
                                    "meteringAction.data.variables.stepCount", "String");
    expectFailure<UserJourneyModel>(R"({"accessTimeLeft":"120"})", DecodingErrorKind::typeMismatch,
                                    "accessTimeLeft", "Int");
    expectFailure<UserDetails>(R"({"wallet":{"balance":12.5}})", DecodingErrorKind::typeMismatch,
                               "wallet.balance", "Dictionary<String, Any>");
    expectFailure<UserDetails>(R"({"wallet":{"balance":{"$numberDecimal":12.5}}})",
                               DecodingErrorKind::typeMismatch, "wallet.balance.$numberDecimal",
                               "String");
    expectFailure<UserDetails>(R"({"promotionalOptIn":true})", DecodingErrorKind::typeMismatch,
                               "promotionalOptIn", "Int");
    expectFailure<APIResponse>(R"({"message":"Bad things"})", DecodingErrorKind::typeMismatch,
                               "message", "Array<Any>");
    expectFailure<UserJourneyModel>(R"({"content":{"tags":["a",7]}})",
                                    DecodingErrorKind::typeMismatch, "content.tags[1]", "String");
    expectFailure<UserJourneyModel>(R"({"isPremium":1})", DecodingErrorKind::typeMismatch,
                                    "isPremium", "Bool");
    expectFailure<UserJourneyModel>(R"({"content":[]})", DecodingErrorKind::typeMismatch, "content",
                                    "Dictionary<String, Any>");
    expectFailure<UserJourneyModel>(
        R"({"meteringAction":{"data":{"conditions":{"micropayMeter":{"conditions":[{},{"ttlValue":"1"}]}}}}})",
        DecodingErrorKind::typeMismatch,
        "meteringAction.data.conditions.micropayMeter.conditions[1].ttlValue", "Int");
}

TEST(StrictDecoding, FrequencyIsTextInViewMeterAndNumberInCondition) {
    const char* viewMeter =
        R"({"meteringAction":{"data":{"conditions":{"viewMeter":{"frequency":%s}}}}})";
    const char* condition =
        R"({"meteringAction":{"data":{"conditions":{"micropayMeter":{"conditions":[{"frequency":%s}]}}}}})";
    auto with = [](const char* pattern, const char* value) {
        std::string out = pattern;
        out.replace(out.find("%s"), 2, value);
        return out;
    };
    EXPECT_TRUE(decode<UserJourneyModel>(with(viewMeter, "\"1\"")).ok());
    EXPECT_FALSE(decode<UserJourneyModel>(with(viewMeter, "1")).ok());
    EXPECT_TRUE(decode<UserJourneyModel>(with(condition, "1")).ok());
    EXPECT_FALSE(decode<UserJourneyModel>(with(condition, "\"1\"")).ok());
}

TEST(StrictDecoding, IntegersAcceptWholeNumbersOnly) {
    // Whole numbers in any notation are integers; anything else doesn't fit.
    EXPECT_EQ(decode<ValidPass>(R"({"duration":30})")->duration, 30);
    EXPECT_EQ(decode<ValidPass>(R"({"duration":3.0})")->duration, 3);
    EXPECT_EQ(decode<ValidPass>(R"({"duration":1e2})")->duration, 100);
    EXPECT_EQ(decode<ValidPass>(R"({"duration":-0.0})")->duration, 0);
    EXPECT_EQ(decode<ValidPass>(R"({"duration":-9223372036854775808})")->duration, INT64_MIN);
    EXPECT_EQ(decode<ValidPass>(R"({"duration":9223372036854775807})")->duration, INT64_MAX);
    for (const char* body : {R"({"duration":3.5})", R"({"duration":9223372036854775808})",
                             R"({"duration":1e19})", R"({"duration":-1e19})"}) {
        SCOPED_TRACE(body);
        auto result = decode<ValidPass>(body);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind, DecodingErrorKind::dataCorrupted);
        EXPECT_EQ(result.error().codingPathDescription(), "duration");
    }
    EXPECT_EQ(decode<ValidPass>(R"({"duration":3.5})").error().debugDescription,
              "Parsed JSON number <3.5> does not fit in Int.");
    for (const char* body : {R"({"duration":"3"})", R"({"duration":false})"}) {
        expectFailure<ValidPass>(body, DecodingErrorKind::typeMismatch, "duration", "Int");
    }
    // A fractional frame width fails the whole configuration.
    expectFailure<CustomizePayWallModel>(paywallWithBorder(R"({"borderWidthValue":1.5})"),
                                         DecodingErrorKind::dataCorrupted,
                                         "data.configuration.mobile.json.styleForBackground."
                                         "border.mainDiv.borderWidthValue",
                                         "Int");
}

TEST(StrictDecoding, DoublesAcceptAnyFiniteNumber) {
    EXPECT_EQ(decode<ValidPass>(R"({"price":10})")->price, 10.0);
    EXPECT_EQ(decode<ValidPass>(R"({"price":10.5})")->price, 10.5);
    EXPECT_EQ(decode<ValidPass>(R"({"price":18446744073709551615})")->price,
              18446744073709551615.0);
    for (const char* body : {R"({"price":"10"})", R"({"price":true})"}) {
        expectFailure<ValidPass>(body, DecodingErrorKind::typeMismatch, "price", "Double");
    }
    // The parser itself refuses numbers beyond a double's range; an infinity that reaches the
    // decoder some other way is refused there.
    expectFailure<ValidPass>(R"({"price":-1e999})", DecodingErrorKind::dataCorrupted, "", "");
    auto infinite = decodeParsed<ValidPass>(nlohmann::json{{"price", HUGE_VAL}});
    ASSERT_FALSE(infinite.ok());
    EXPECT_EQ(infinite.error().kind, DecodingErrorKind::dataCorrupted);
    EXPECT_EQ(infinite.error().codingPathDescription(), "price");
}

TEST(StrictDecoding, NullAndAbsentBothLeaveAnOptionalEmpty) {
    auto empty = decode<UserJourneyModel>("{}");
    ASSERT_TRUE(empty.ok());
    EXPECT_EQ(*empty, UserJourneyModel{});

    auto nulls = decode<UserJourneyModel>(
        R"({"actionId":null,"content":null,"sessionExists":null,"accessTimeLeft":null})");
    ASSERT_TRUE(nulls.ok());
    EXPECT_EQ(*nulls, UserJourneyModel{});

    // An empty object at any level gives a record whose members are all absent.
    auto paywall = decode<CustomizePayWallModel>(
        R"({"data":{"configuration":{"mobile":{"json":{"styleForText":{"typography":{"heading":{}}}}}}}})");
    ASSERT_TRUE(paywall.ok());
    EXPECT_EQ(paywall->data->configuration->mobile->json->styleForText->typography->heading,
              typographyData{});

    auto wallet = decode<UserDetails>(R"({"wallet":{"balance":{}}})");
    ASSERT_TRUE(wallet.ok());
    ASSERT_TRUE(wallet->wallet->balance.has_value());
    EXPECT_FALSE(wallet->wallet->balance->numberString.has_value());
    EXPECT_EQ(decode<UserDetails>(R"({"wallet":{"balance":{"$numberDecimal":"12.50"}}})")
                  ->wallet->balance->numberString,
              "12.50");

    // A null inside a list is a missing value, never a skipped element.
    expectFailure<UserJourneyModel>(R"({"content":{"tags":["a",null]}})",
                                    DecodingErrorKind::valueNotFound, "content.tags[1]", "String");
}

TEST(StrictDecoding, UnknownAndMisspelledKeysAreIgnored) {
    auto journey = decode<UserJourneyModel>(
        R"({"actionID":{"data":{"actionId":"root-actionID"}},"consumptionID":"c-1","consumptionId":"nope",
            "content":{"id":"plain-id","_id":"service-id","__v":3,"v":9},"unheardOf":[1,2,{}]})");
    ASSERT_TRUE(journey.ok());
    EXPECT_FALSE(journey->actionID.has_value());
    EXPECT_EQ(journey->consumptionID, "c-1");
    EXPECT_EQ(journey->content->id, "service-id");
    EXPECT_EQ(journey->content->v, 3);

    // Case matters: only "AlreadyLeftText" sets AlreadyLeftText.
    auto paywall = decode<CustomizePayWallModel>(
        R"({"data":{"configuration":{"mobile":{"json":{"styleForText":{"typography":{
            "alreadyLeftText":{"text":"lower"},"CutPriceText":{"text":"cut"}}}}}}}})");
    ASSERT_TRUE(paywall.ok());
    const auto& typography = *paywall->data->configuration->mobile->json->styleForText->typography;
    EXPECT_FALSE(typography.AlreadyLeftText.has_value());
    EXPECT_EQ(typography.CutPriceText->text, "cut");

    // Unknown keys are not even looked at, whatever they hold.
    EXPECT_TRUE(decode<LogoutModel>(R"({"message":"bye","extra":{"deep":[null,true,"x"]}})").ok());
}

TEST(StrictDecoding, TemplateIdIsAnObjectForThePaywallAndTextForTheBanner) {
    const std::string paywallShape =
        R"({"data":{"configuration":{"mobile":{"templateId":{"name":"3A","number_of_cta":3}}}}})";
    const std::string bannerShape = R"({"data":{"configuration":{"templateId":"BANNER1"}}})";

    auto paywall = decode<CustomizePayWallModel>(paywallShape);
    ASSERT_TRUE(paywall.ok());
    EXPECT_EQ(paywall->data->configuration->mobile->templateId->name, "3A");
    EXPECT_EQ(paywall->data->configuration->mobile->templateId->number_of_cta, 3);
    auto banner = decode<MeterModel>(bannerShape);
    ASSERT_TRUE(banner.ok());
    EXPECT_EQ(banner->data->configuration->templateID, "BANNER1");

    expectFailure<CustomizePayWallModel>(
        R"({"data":{"configuration":{"mobile":{"templateId":"3A"}}}})",
        DecodingErrorKind::typeMismatch, "data.configuration.mobile.templateId",
        "Dictionary<String, Any>");
    expectFailure<MeterModel>(R"({"data":{"configuration":{"templateId":{"name":"3A"}}}})",
                              DecodingErrorKind::typeMismatch, "data.configuration.templateId",
                              "String");
}

const char* kPlan = R"({"freeTrial":{"enabled":true},"benefits":"b","physical":false,
    "digital":true,"enabled":true,"migrated":false,"couponsEnabled":false,"title":"Digital",
    "tiers":[{"price":149,"duration":1}],"createdAt":"c","updatedAt":"u","iconUrl":"i"})";

// The plan with one key removed, or its value replaced.
std::string planWith(const std::string& key, const char* replacement) {
    nlohmann::json plan = nlohmann::json::parse(kPlan);
    if (replacement == nullptr) {
        plan.erase(key);
    } else {
        plan[key] = nlohmann::json::parse(replacement);
    }
    return R"({"title":"Plans","subscriptions":[)" + plan.dump() + "]}";
}

TEST(StrictDecoding, PlanFamilyRequiresItsRequiredMembers) {
    auto plans = decode<EmbededSubscription>(planWith("currencySymbol", nullptr));
    ASSERT_TRUE(plans.ok());
    EXPECT_FALSE(plans->subscriptions[0].currencySymbol.has_value());
    EXPECT_FALSE(plans->subscriptions[0].freeTrial.duration.has_value());
    EXPECT_EQ(plans->subscriptions[0].tiers[0].price, 149.0);

    // An absent required key is keyNotFound at its parent; a null one is valueNotFound at the key.
    for (const char* key :
         {"iconUrl", "freeTrial", "benefits", "physical", "digital", "enabled", "migrated",
          "couponsEnabled", "title", "tiers", "createdAt", "updatedAt"}) {
        SCOPED_TRACE(key);
        auto absent = decode<EmbededSubscription>(planWith(key, nullptr));
        ASSERT_FALSE(absent.ok());
        EXPECT_EQ(absent.error().kind, DecodingErrorKind::keyNotFound);
        EXPECT_EQ(absent.error().key, key);
        EXPECT_EQ(absent.error().codingPathDescription(), "subscriptions[0]");

        auto null = decode<EmbededSubscription>(planWith(key, "null"));
        ASSERT_FALSE(null.ok());
        EXPECT_EQ(null.error().kind, DecodingErrorKind::valueNotFound);
        EXPECT_EQ(null.error().codingPathDescription(), std::string("subscriptions[0].") + key);
    }
    EXPECT_EQ(decode<EmbededSubscription>(planWith("tiers", "null")).error().typeName,
              "Array<Tier>");
    EXPECT_EQ(decode<EmbededSubscription>(planWith("freeTrial", "null")).error().typeName,
              "FreeTrial");

    expectFailure<EmbededSubscription>(planWith("freeTrial", "{}"), DecodingErrorKind::keyNotFound,
                                       "subscriptions[0].freeTrial", "Bool");
    expectFailure<EmbededSubscription>(planWith("tiers", R"([{"price":1}])"),
                                       DecodingErrorKind::keyNotFound, "subscriptions[0].tiers[0]",
                                       "Int");
    expectFailure<EmbededSubscription>(planWith("tiers", R"([{"duration":1,"price":null}])"),
                                       DecodingErrorKind::valueNotFound,
                                       "subscriptions[0].tiers[0].price", "Double");
    expectFailure<EmbededSubscription>(planWith("tiers", R"([{"duration":1.5,"price":1}])"),
                                       DecodingErrorKind::dataCorrupted,
                                       "subscriptions[0].tiers[0].duration", "Int");
    expectFailure<EmbededSubscription>(R"({"subscriptions":[]})", DecodingErrorKind::keyNotFound,
                                       "", "String");
    EXPECT_TRUE(decode<EmbededSubscription>(R"({"title":"None yet","subscriptions":[]})").ok());
}

TEST(StrictDecoding, BodiesThatAreNotAJsonObject) {
    for (std::string_view body :
         {std::string_view(""), std::string_view("{"), std::string_view("{\"title\":\"\xC3\x28\"}"),
          std::string_view("{\"message\":\"bye\"} trailing"), std::string_view("\xFF\xFE{}", 4)}) {
        SCOPED_TRACE(body);
        auto result = decode<LogoutModel>(body);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind, DecodingErrorKind::dataCorrupted);
        EXPECT_TRUE(result.error().codingPath.empty());
        EXPECT_EQ(result.error().debugDescription, "The given data was not valid JSON.");
        EXPECT_FALSE(result.error().underlyingError.empty());
    }
    for (const char* body : {"[]", "null", "\"text\""}) {
        expectFailure<LogoutModel>(body, DecodingErrorKind::typeMismatch, "",
                                   "Dictionary<String, Any>");
    }
}

TEST(StrictDecodingDeathTest, ReadingTheValueOfAFailureEndsTheProgram) {
    auto failed = decode<LogoutModel>("[]");
    EXPECT_DEATH(static_cast<void>(failed.value()), "value\\(\\) read from a failed decode");
}

// The two failure line families.

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

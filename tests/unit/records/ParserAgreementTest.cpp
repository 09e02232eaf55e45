// decode<T> runs on simdjson and hands what simdjson refuses to the nlohmann decoder
// (decodeWithNlohmann), which is the reference: both must give the same record, or the same
// failure down to the printed line, for every body.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"

namespace quillgate {
namespace {

std::string readRecordFile(const std::string& name) {
    std::ifstream in(std::string(QUILLGATE_TEST_DATA_DIR) + "/records/" + name, std::ios::binary);
    EXPECT_TRUE(in.good()) << name;
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

template <class T>
void expectAgreement(std::string_view body) {
    const auto fast = decode<T>(body);
    const auto reference = decodeWithNlohmann<T>(body);
    ASSERT_EQ(fast.ok(), reference.ok()) << T::typeName << " " << body << "\n"
                                         << (fast.ok() ? longDecodingFailureLine(reference.error())
                                                       : longDecodingFailureLine(fast.error()));
    if (fast.ok()) {
        EXPECT_TRUE(*fast == *reference) << T::typeName << " " << body;
    } else {
        EXPECT_EQ(fast.error(), reference.error()) << T::typeName << " " << body;
        EXPECT_EQ(longDecodingFailureLine(fast.error()),
                  longDecodingFailureLine(reference.error()));
    }
}

// Texts that stand in for one value: every JSON type, numbers at the edges of what an Int
// takes and of what simdjson reads (2^64 and beyond it only nlohmann reads, as a double).
const std::vector<std::string> kReplacements = {"null",
                                                "true",
                                                "\"x\"",
                                                "{}",
                                                "[null]",
                                                "-0",
                                                "3.5",
                                                "1e2",
                                                "9223372036854775808",
                                                "-9223372036854775809",
                                                "18446744073709551616",
                                                "1e400"};

constexpr const char* kMarker = "\x01marker";

// Every value of a document (each member and each list element, at every depth) replaced in
// turn by each replacement text, and each member removed in turn: the bodies that reach every
// failure of every key table the document touches, and its first-failure order.
std::vector<std::string> mutationsOf(const std::string& text,
                                     const std::vector<std::string>& replacements) {
    const nlohmann::ordered_json document = nlohmann::ordered_json::parse(text);
    const std::string quotedMarker = nlohmann::ordered_json(kMarker).dump();
    std::vector<std::string> bodies;
    std::vector<nlohmann::ordered_json::json_pointer> pointers;
    const auto flat = document.flatten();  // leaves only; containers come from their parents
    for (const auto& [path, leaf] : flat.items()) {
        auto pointer = nlohmann::ordered_json::json_pointer(path);
        while (!pointer.empty()) {
            if (std::find(pointers.begin(), pointers.end(), pointer) == pointers.end()) {
                pointers.push_back(pointer);
            }
            pointer = pointer.parent_pointer();
        }
    }
    for (const auto& pointer : pointers) {
        nlohmann::ordered_json marked = document;
        marked[pointer] = kMarker;
        const std::string withMarker = marked.dump();
        const auto at = withMarker.find(quotedMarker);
        for (const std::string& replacement : replacements) {
            bodies.push_back(withMarker.substr(0, at) + replacement +
                             withMarker.substr(at + quotedMarker.size()));
        }
        nlohmann::ordered_json removed = document;
        auto& parent = removed[pointer.parent_pointer()];
        if (parent.is_object()) {
            parent.erase(pointer.back());
            bodies.push_back(removed.dump());
        }
    }
    return bodies;
}

TEST(ParserAgreement, EveryValueOfTheDataFilesReplacedOrRemoved) {
    for (const std::string& body :
         mutationsOf(readRecordFile("embeded_subscription.json"), kReplacements)) {
        expectAgreement<EmbededSubscription>(body);
    }
    for (const std::string& body : mutationsOf(readRecordFile("meter_model.json"), kReplacements)) {
        expectAgreement<MeterModel>(body);
    }
    // The largest of the three, with one replacement of each JSON type.
    for (const std::string& body :
         mutationsOf(readRecordFile("user_journey.json"), {"null", "\"x\"", "{}", "3.5"})) {
        expectAgreement<UserJourneyModel>(body);
    }
}

// Whole bodies where the two parsers part ways, or where the order of keys matters.
TEST(ParserAgreement, BodiesAtTheEdgesOfEitherParser) {
    const std::string subscription = readRecordFile("embeded_subscription.json");
    std::string deep;
    for (int i = 0; i < 2000; ++i) {
        deep += R"({"a":)";
    }
    deep += "1" + std::string(2000, '}');
    const std::vector<std::string> bodies = {
        "\xEF\xBB\xBF" + subscription,                      // a byte order mark: nlohmann skips it
        subscription + std::string(1, '\0'),                // a NUL after the document
        subscription + " x",                                // text after the document
        R"({"title":"a","title":"b","subscriptions":[]})",  // the last of a repeated key
        R"({"title":"a","subscriptions":[],"title":3})",    // ... even when it is wrong
        R"({"subscriptions":[],"title":"in another order"})",  // keys out of table order
        R"({"subscriptions":[{"tiers":[{"price":1,"duration":1.5}]}],"title":1})",
        R"({"title":"\ud83d\ude00 \u00e9 \/ \u0000"})",  // escapes, a NUL in a text
        R"({"title":"\udc00"})",                         // a lone surrogate
        "{\"title\":\"\xff\"}",                          // ill-formed UTF-8
        "{\"title\":\"a\x01\"}",                         // an unescaped control byte
        R"({"title":"a", "subscriptions":[]} )",
        "[]",
        "\"text\"",
        "null",
        "",
        " ",
        "{",
        R"({"title":})",
        R"({"title":01})",
        deep,  // deeper than simdjson goes
    };
    for (const std::string& body : bodies) {
        expectAgreement<EmbededSubscription>(body);
        expectAgreement<UserJourneyModel>(body);
        expectAgreement<CustomizePayWallModel>(body);
    }
    for (const char* name : {"customize_paywall.json", "user_journey.json", "api_response.json",
                             "popup_model.json", "user_details.json", "content_details.json"}) {
        const std::string body = readRecordFile(name);
        expectAgreement<CustomizePayWallModel>(body);
        expectAgreement<UserJourneyModel>(body);
        expectAgreement<APIResponse>(body);
        expectAgreement<PopUpModel>(body);
        expectAgreement<UserDetails>(body);
        expectAgreement<ContentDetails>(body);
    }
}

}  // namespace
}  // namespace quillgate

#pragma once

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/records/RecordCoding.h"
#include "tests/support/TestPlatform.h"

// What the analytics tests share: a configured client, a collector that answers, and ways to
// read back the events that went out.
namespace quillgate::analyticstest {

using nlohmann::json;

// Each key of a message with the JSON type it has: 's' text, 'i' integer, 'a' list.
inline std::map<std::string, char> shape(const json& message) {
    std::map<std::string, char> out;
    for (const auto& [key, value] : message.items()) {
        out[key] = value.is_string()           ? 's'
                   : value.is_number_integer() ? 'i'
                   : value.is_array()          ? 'a'
                                               : '?';
    }
    return out;
}

inline std::map<std::string, char> with(std::map<std::string, char> base,
                                        const std::map<std::string, char>& more) {
    base.insert(more.begin(), more.end());
    return base;
}

const std::map<std::string, char> kBaseShape = {
    {"_id", 's'},           {"anonId", 's'},      {"paywallId", 's'}, {"paywallType", 's'},
    {"deviceType", 's'},    {"mobileModel", 's'}, {"osName", 's'},    {"osVersion", 's'},
    {"userAgent", 's'},     {"clientId", 's'},    {"contentId", 's'}, {"userId", 's'},
    {"eventLocation", 's'}, {"eventType", 's'}};

class AnalyticsTest : public ::testing::Test {
  protected:
    AnalyticsTest() {
        QuillgateClient::shared().configure(Mode::local, "client-1");
        QuillgateClient::shared().contentID = "article-9";
        tp.http().answer("/collect/event", 200, "{}");
    }

    QuillgateClient& client() { return QuillgateClient::shared(); }

    void setJourney(const std::string& body) {
        auto journey = decode<UserJourneyModel>(body);
        ASSERT_TRUE(journey) << body;
        client().userJourneyModel = *journey;
    }

    // The bodies posted to the collector so far, parsed.
    std::vector<json> sentBodies() {
        std::vector<json> out;
        for (const auto& request : tp.http().requestsTo("/collect/event")) {
            out.push_back(json::parse(request.body.value_or("null")));
        }
        return out;
    }
    // The message of the last body posted.
    json lastMessage() {
        auto bodies = sentBodies();
        return bodies.empty() ? json() : bodies.back()["messageBody"][0];
    }

    // True if `expected` appear among the printed lines in this order (others may come
    // between).
    bool printedInOrder(const std::vector<std::string>& expected) {
        auto lines = tp.lines();
        std::size_t next = 0;
        for (const auto& line : lines) {
            if (next < expected.size() && line == expected[next]) {
                ++next;
            }
        }
        return next == expected.size();
    }

    testing::TestPlatform tp;
};

}  // namespace quillgate::analyticstest

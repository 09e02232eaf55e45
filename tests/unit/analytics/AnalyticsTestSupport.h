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

using Shape = std::map<std::string, char>;

// Each key of a message with the JSON type it has: 's' text, 'i' integer, 'a' list.
inline Shape shape(const json& message) {
    Shape out;
    for (const auto& [key, value] : message.items()) {
        out[key] = value.is_string()           ? 's'
                   : value.is_number_integer() ? 'i'
                   : value.is_array()          ? 'a'
                                               : '?';
    }
    return out;
}

// A shape whose keys all have the JSON type `type`.
inline Shape keys(char type, std::initializer_list<const char*> names) {
    Shape out;
    for (const char* name : names) {
        out[name] = type;
    }
    return out;
}

inline Shape operator+(Shape a, const Shape& b) {
    a.insert(b.begin(), b.end());
    return a;
}

const Shape kBaseShape = keys('s', {"_id", "anonId", "paywallId", "paywallType", "deviceType",
                                    "mobileModel", "osName", "osVersion", "userAgent", "clientId",
                                    "contentId", "userId", "eventLocation", "eventType"});

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

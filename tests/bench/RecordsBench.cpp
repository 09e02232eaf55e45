// Decoding cost of the records: the full paywall configuration (the largest body the client
// decodes, once per locked article) beside a plain parse of the same bytes by the fastest
// parser there is (simdjson) and by nlohmann, and the "API Response::" line, which is printed
// for every answer.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <fstream>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/service/NetworkClient.h"

namespace {

std::string readRecordFile(const char* name) {
    std::ifstream in(std::string(QUILLGATE_TEST_DATA_DIR) + "/records/" + name, std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

void BM_ParsePaywallConfiguration(benchmark::State& state) {
    const std::string body = readRecordFile("customize_paywall.json");
    for (auto _ : state) {
        auto parsed = nlohmann::json::parse(body);
        benchmark::DoNotOptimize(parsed);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_ParsePaywallConfiguration);

// The floor: simdjson's DOM parse of the same bytes with a parser kept between runs, as the
// decoder keeps one per thread.
void BM_SimdjsonParsePaywallConfiguration(benchmark::State& state) {
    const std::string body = readRecordFile("customize_paywall.json");
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element root;
        if (parser.parse(body.data(), body.size()).get(root) != simdjson::SUCCESS) {
            state.SkipWithError("simdjson refused the configuration");
            return;
        }
        benchmark::DoNotOptimize(root);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_SimdjsonParsePaywallConfiguration);

void BM_DecodePaywallConfiguration(benchmark::State& state) {
    const std::string body = readRecordFile("customize_paywall.json");
    if (!quillgate::decode<quillgate::CustomizePayWallModel>(body).ok()) {
        state.SkipWithError("the configuration doesn't decode");
        return;
    }
    for (auto _ : state) {
        auto model = quillgate::decode<quillgate::CustomizePayWallModel>(body);
        benchmark::DoNotOptimize(model);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_DecodePaywallConfiguration);

// The walk alone, on a body parsed once: what the key tables add on top of the parse.
void BM_DecodeParsedPaywallConfiguration(benchmark::State& state) {
    const auto parsed = nlohmann::json::parse(readRecordFile("customize_paywall.json"));
    for (auto _ : state) {
        auto model = quillgate::decodeParsed<quillgate::CustomizePayWallModel>(parsed);
        benchmark::DoNotOptimize(model);
    }
}
BENCHMARK(BM_DecodeParsedPaywallConfiguration);

void BM_DecodeJourney(benchmark::State& state) {
    const std::string body = readRecordFile("user_journey.json");
    for (auto _ : state) {
        auto journey = quillgate::decode<quillgate::UserJourneyModel>(body);
        benchmark::DoNotOptimize(journey);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_DecodeJourney);

void BM_EncodePaywallConfiguration(benchmark::State& state) {
    const auto model = quillgate::decode<quillgate::CustomizePayWallModel>(
                           readRecordFile("customize_paywall.json"))
                           .value();
    for (auto _ : state) {
        auto text = quillgate::encodeToString(model);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_EncodePaywallConfiguration);

// The "API Response::" line of an answer: the body's pretty text, its double backslashes
// removed, quoted.
void BM_ResponseLinePaywallConfiguration(benchmark::State& state) {
    const std::string body = readRecordFile("customize_paywall.json");
    for (auto _ : state) {
        auto line = quillgate::NetworkClient::responseDescription(body);
        benchmark::DoNotOptimize(line);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_ResponseLinePaywallConfiguration);

void BM_ResponseLineJourney(benchmark::State& state) {
    const std::string body = readRecordFile("user_journey.json");
    for (auto _ : state) {
        auto line = quillgate::NetworkClient::responseDescription(body);
        benchmark::DoNotOptimize(line);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_ResponseLineJourney);

}  // namespace

// The local access service under load: several clients at once, each on its own kept-alive
// connections, sending what a reading application sends (journeys, content, the paywall's
// configuration, events), to a service started in this process. Its resident memory after a
// warm-up must stay flat however many requests follow: the request log and the collector keep
// the most recent entries only.
//
//   quillgate_bench --benchmark_filter=ServiceSoak
//   QUILLGATE_SERVICE_SOAK_REQUESTS=N shortens the measured run (default 8,000).

#include <benchmark/benchmark.h>
#include <httplib.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tools/devserver/DevServer.h"

namespace {

using quillgate::devserver::DevServer;

std::size_t residentKilobytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

// An event as the library sends it, about a kilobyte: the log and the collector see whole
// bodies of this size.
std::string eventBody(int client, int n) {
    std::string body = R"({"topic":"demoTopic","messageBody":[{"eventType":"VIEW",)"
                       R"("eventLocation":"PAYWALL","clientId":"quillgate-demo","anonId":"soak-)" +
                       std::to_string(client) + R"(","sequence":)" + std::to_string(n) +
                       R"(,"note":")";
    body.append(800, 'x');
    body += R"("}]})";
    return body;
}

// Runs `total` requests spread over `clients` threads; returns how many failed (no answer, or
// a status other than the route's success).
int load(const DevServer& server, int clients, int total, int round) {
    std::atomic<int> failed{0};
    std::atomic<int> next{0};
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(clients));
    for (int c = 0; c < clients; ++c) {
        threads.emplace_back([&, c] {
            httplib::Client api("127.0.0.1", server.apiPort());
            httplib::Client collect("127.0.0.1", server.collectPort());
            api.set_keep_alive(true);
            collect.set_keep_alive(true);
            const std::string reader = "&anonId=soak-" + std::to_string(c);
            for (int n = next++; n < total; n = next++) {
                const int expected = n % 4 == 3 ? -1 : 200;  // an event: any 2xx
                auto res = [&] {
                    switch (n % 4) {
                        case 0:
                            return api.Get(
                                "/api/v1/journey?clientId=quillgate-demo" + reader +
                                "&clientContentId=" + (n % 8 == 0 ? "premium-3a" : "free-article"));
                        case 1:
                            return api.Get(
                                "/api/v1/content?clientId=quillgate-demo"
                                "&clientContentId=premium-3a");
                        case 2:
                            return api.Get(
                                "/api/v1/paywall/paywall-config/quillgate-demo?paywallId=pw-3a");
                        default:
                            return collect.Post("/collect/event", eventBody(c, round * total + n),
                                                "application/json");
                    }
                }();
                const bool ok =
                    res && (expected < 0 ? res->status / 100 == 2 : res->status == expected);
                if (!ok) {
                    ++failed;
                }
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    return failed.load();
}

// Counters: resident memory growth over each half of the measured requests (after a warm-up
// that fills the log and the collector), and the requests that failed.
void BM_ServiceSoak(benchmark::State& state) {
    const int clients = static_cast<int>(state.range(0));
    const char* asked = std::getenv("QUILLGATE_SERVICE_SOAK_REQUESTS");
    const int total = asked != nullptr ? std::max(8, std::atoi(asked)) : 8000;
    const int half = total / 2;
    for (auto _ : state) {
        state.PauseTiming();
        DevServer::Options options;
        options.apiPort = options.webPort = options.collectPort = 0;
        DevServer server(options);
        if (!server.start()) {
            state.SkipWithError("the local service did not start");
            return;
        }
        // Enough to fill the request log and the collector, which then only turn over.
        const int warmUp =
            static_cast<int>(std::max(quillgate::devserver::Controls::kRequestLogLimit,
                                      quillgate::devserver::Collector::kEventLimit * 4));
        int failed = load(server, clients, warmUp, 0);
        const std::size_t warm = residentKilobytes();
        state.ResumeTiming();
        failed += load(server, clients, half, 1);
        const std::size_t middle = residentKilobytes();
        failed += load(server, clients, total - half, 2);
        state.PauseTiming();
        const std::size_t end = residentKilobytes();
        state.counters["rssAfterWarmUp_MB"] = static_cast<double>(warm) / 1024.0;
        state.counters["rssGrowthFirstHalf_kB"] =
            static_cast<double>(middle) - static_cast<double>(warm);
        state.counters["rssGrowthSecondHalf_kB"] =
            static_cast<double>(end) - static_cast<double>(middle);
        state.counters["failedRequests"] = failed;
        server.stop();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * total);
}
BENCHMARK(BM_ServiceSoak)->Arg(8)->Arg(40)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

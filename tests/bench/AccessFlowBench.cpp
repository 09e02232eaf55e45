// The access flow against the local access service on loopback, through the curl session, as
// an application runs it: the time from showPayWall to the host's purchasedOrNot for a free
// article, beside one bare GET of the same journey address on the same session (their ratio
// is what the library adds to the network), and the main thread's CPU time from showPayWall
// to a template wall on screen for a locked article whose fonts are already on disk.

#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <ostream>
#include <string>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/HttpSession.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/View.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/HostApp.h"

namespace {

using quillgate::Mode;
using quillgate::QuillgateClient;
using quillgate::devserver::DevServer;
using quillgate::host::HostApp;
using quillgate::host::HostSetup;
namespace fs = std::filesystem;

constexpr auto kLimit = std::chrono::seconds(10);

DevServer& service() {
    static DevServer server = [] {
        DevServer::Options options;
        options.apiPort = options.webPort = options.collectPort = 0;
        return DevServer(options);
    }();
    static const bool started = server.start().ok;
    (void)started;
    return server;
}

// A reading application in this process with its own state folder; the library's lines go
// nowhere.
struct Reader {
    Reader() : out(nullptr) {
        HostSetup setup;
        setup.stateDirectory = state;
        setup.alwaysReachable = true;
        setup.libraryLog = std::make_shared<std::ostream>(nullptr);
        app = std::make_unique<HostApp>(out, std::move(setup));
        service().pointAt(client().deployment);
        client().configure(Mode::local, "quillgate-demo");
    }
    ~Reader() {
        app.reset();
        fs::remove_all(state);
    }

    QuillgateClient& client() { return app->client(); }

    void show(const std::string& contentID) {
        client().showPayWall(contentID, "A story", std::nullopt, std::nullopt, std::nullopt,
                             std::nullopt, std::nullopt, std::nullopt, app->parentView(),
                             app->eventParamsDelegate(), app->googleLogInDelegate(),
                             app->completionDelegate(), app->subscribeDelegate(),
                             app->signInDelegate());
    }

    fs::path state = fs::temp_directory_path() /
                     ("quillgate-bench-" +
                      std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::ostream out;
    std::unique_ptr<HostApp> app;
};

double threadCpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

void BM_FreeArticleShowPayWallToDecision(benchmark::State& state) {
    Reader reader;
    std::size_t heard = 0;
    for (auto _ : state) {
        reader.show("free-article");
        // The count, not a copy of every call heard so far, which grows with the iterations.
        reader.app->runFor(kLimit, [&] { return reader.app->hostCallCount() > heard; });
        heard = reader.app->hostCallCount();
        state.PauseTiming();
        reader.app->drainRequests(kLimit);  // the page view event, outside the measure
        state.ResumeTiming();
    }
    if (heard != static_cast<std::size_t>(state.iterations())) {
        state.SkipWithError("the host did not hear a decision for every article");
    }
}
BENCHMARK(BM_FreeArticleShowPayWallToDecision)->Unit(benchmark::kMicrosecond)->UseRealTime();

// One GET of the journey address the library sends for the free article, on the same session
// (same connection reuse, same options), answered on the session's thread.
void BM_BareJourneyGet(benchmark::State& state) {
    Reader reader;
    reader.show("free-article");
    reader.app->runFor(kLimit, [&] { return !reader.app->hostCalls().empty(); });
    reader.app->drainRequests(kLimit);
    std::string address;
    for (const auto& r : service().controls().requests()) {
        if (r.path == "/api/v1/journey") {
            address = "http://127.0.0.1:" + std::to_string(service().apiPort()) + r.target;
        }
    }
    if (address.empty()) {
        state.SkipWithError("no journey request seen");
        return;
    }
    auto& http = *quillgate::platform::current().http;
    for (auto _ : state) {
        std::promise<long> done;
        quillgate::platform::HttpRequest request;
        request.url = address;
        request.headers = {{"Content-Type", "application/json"}};
        http.dataTask(request, [&](quillgate::platform::HttpResult result) {
            done.set_value(result.response ? result.response->statusCode : 0);
        });
        benchmark::DoNotOptimize(done.get_future().get());
    }
}
BENCHMARK(BM_BareJourneyGet)->Unit(benchmark::kMicrosecond)->UseRealTime();

// A locked article to its template wall on screen: journey, content, configuration, fonts
// (on disk after the first round), gate, layout. The counter is the main thread's CPU time,
// the library's own work beside the requests.
void BM_LockedArticleToWallMainThreadCpu(benchmark::State& state) {
    Reader reader;
    reader.show("premium-3a");  // fetch the fonts once
    reader.app->runFor(kLimit, [&] { return reader.app->wallIsUp(); });
    reader.app->drainRequests(kLimit);
    double cpu = 0;
    for (auto _ : state) {
        state.PauseTiming();
        reader.client().closeScreens();
        reader.app->drainRequests(kLimit);
        state.ResumeTiming();
        const double before = threadCpuSeconds();
        reader.show("premium-3a");
        reader.app->runFor(kLimit, [&] { return reader.app->wallIsUp(); });
        cpu += threadCpuSeconds() - before;
        if (!reader.app->wallIsUp()) {
            state.SkipWithError("no wall came up");
            break;
        }
    }
    state.counters["mainThreadCpu_us"] =
        benchmark::Counter(cpu * 1e6, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_LockedArticleToWallMainThreadCpu)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

namespace {

std::size_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// A thousand articles in a row in one process, mixed as a reader meets them (free, metered,
// locked with several template walls and the default wall, one with a popup), each wall
// removed before the next article. Counters: resident memory growth after the first hundred
// articles, and what is still registered at the end (main-queue work, notification
// observers, views in the host's parent view) — none of these may grow with the articles.
void BM_SoakThousandArticles(benchmark::State& state) {
    const std::vector<std::string> articles = {
        "free-article",     "metered-1",       "premium-3a", "premium-13a",
        "premium-fallback", "free-with-popup", "premium-7a", "default-no-price"};
    // QUILLGATE_SOAK_ARTICLES shortens the run for a quick look.
    const char* asked = std::getenv("QUILLGATE_SOAK_ARTICLES");
    const int kArticles = asked != nullptr ? std::max(2, std::atoi(asked)) : 1000;
    const int kWarmUp = kArticles / 10;
    for (auto _ : state) {
        Reader reader;
        std::size_t warm = 0;
        for (int i = 0; i < kArticles; ++i) {
            if (i == kWarmUp) {
                warm = residentBytes();
            }
            const std::size_t heard = reader.app->hostCalls().size();
            reader.show(articles[static_cast<std::size_t>(i) % articles.size()]);
            reader.app->runFor(kLimit, [&] {
                return reader.app->hostCalls().size() > heard && reader.app->settled();
            });
            reader.client().closeScreens();
            reader.app->drainRequests(kLimit);
        }
        const auto& center = quillgate::ui::NotificationCenter::defaultCenter();
        state.counters["rssGrowthAfterWarmUp_kB"] =
            static_cast<double>(residentBytes() - std::min(warm, residentBytes())) / 1024.0;
        state.counters["pendingMainQueueWork"] =
            static_cast<double>(reader.app->loop().pendingCount());
        state.counters["resignActiveObservers"] = static_cast<double>(
            center.observerCount(quillgate::ui::ApplicationWillResignActiveNotification));
        state.counters["viewsInParent"] =
            static_cast<double>(reader.app->parentView()->subviews().size());
    }
}
BENCHMARK(BM_SoakThousandArticles)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

// Every route the library calls against every way the service can fail it, over the curl
// session on loopback: an error status (400, 404, 500), an empty or malformed body, an answer
// slower than the request's time-out, a dropped connection. Each cell names what the reader and
// the host get (a printed line, a toast, the flow going on, the default wall, or nothing), and
// every cell ends with the same client reading a free article, so no failure leaves it stuck.

#include <atomic>
#include <optional>
#include <ostream>

#include <nlohmann/json.hpp>

#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/service/Constants.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/ViewController.h"
#include "tests/integration/LoopbackClient.h"

namespace quillgate::testing {
namespace {

using nlohmann::json;

// The curl session with the request time-out cut to one second, so that a slow answer is a
// time-out within the test, and a count of the tasks under way, so that the test knows when
// the library has heard every answer. An ended task wakes the main loop: a transport failure
// ends on the session's thread and posts nothing by itself.
class ShortTimeoutSession : public platform::HttpSession {
  public:
    explicit ShortTimeoutSession(std::weak_ptr<platform::RunLoop> loop) : loop_(std::move(loop)) {}

    void dataTask(platform::HttpRequest request,
                  std::function<void(platform::HttpResult)> completion) override {
        request.timeoutSeconds = 1;
        ++inFlight;
        curl_->dataTask(std::move(request),
                        [this, completion = std::move(completion)](platform::HttpResult result) {
                            completion(std::move(result));
                            ended();
                        });
    }
    void downloadTask(platform::HttpRequest request,
                      std::function<void(platform::DownloadResult)> completion) override {
        request.timeoutSeconds = 1;
        ++inFlight;
        curl_->downloadTask(std::move(request), [this, completion = std::move(completion)](
                                                    platform::DownloadResult result) {
            completion(std::move(result));
            ended();
        });
    }

    std::atomic<int> inFlight{0};

  private:
    void ended() {
        --inFlight;
        if (auto loop = loop_.lock()) {
            loop->post([] {});
        }
    }

    std::weak_ptr<platform::RunLoop> loop_;
    std::shared_ptr<platform::CurlHttpSession> curl_ =
        std::make_shared<platform::CurlHttpSession>();
};

enum class Route {
    journey,
    loginChallenge,
    content,
    paywallConfig,
    meterBanner,
    popup,
    subscriptionAccess,
    embeddedSubscription,
    events,
};

enum class Failure { status400, status404, status500, empty, malformed, slow, dropped };

constexpr const char* kToastMessage = "Refused by the fault matrix";
constexpr const char* kWrongId = "wrongClientOrContentID";
constexpr const char* kSomething = "someThingWentWrong";
constexpr const char* kDecoding = "decodingError";
// What both families of decoding lines print for a body that is not the record.
constexpr const char* kDecodeLine = "and ERROR: ";

// What a cell leaves behind once every answer has been handled.
struct Outcome {
    std::optional<std::string> line;     // a printed line (exact), or a part of one for kDecodeLine
    bool toast = false;                  // the toast with the service's message
    std::optional<std::string> next;     // a request the flow goes on to
    std::optional<std::string> notSent;  // a request the flow must not reach
    std::vector<std::string> hostCalls;
    bool defaultWall = false;
};

struct Cell {
    Route route;
    Failure failure;
    Outcome outcome;
};

json faultFor(Route route, Failure failure) {
    json fault = {{"times", 0}};
    switch (route) {
        case Route::journey:
            fault["path"] = "/api/v1/journey";
            break;
        case Route::loginChallenge:
            fault["path"] = "/api/v1/login-challenge/*";
            break;
        case Route::content:
            fault["path"] = "/api/v1/content";
            break;
        case Route::paywallConfig:
            fault["path"] = "/api/v1/paywall/paywall-config/*";
            break;
        case Route::meterBanner:
            fault["path"] = "/api/v1/metering/banner/*";
            break;
        case Route::popup:
            fault["path"] = "/api/v1/client/popup/*";
            break;
        case Route::subscriptionAccess:
            fault["path"] = "/api/v1/subscription/access";
            break;
        case Route::embeddedSubscription:
            fault["path"] = "/api/v1/subscription/embedded-subscription";
            break;
        case Route::events:
            fault["server"] = "collect";
            fault["path"] = "/*";
            break;
    }
    switch (failure) {
        case Failure::status400:
            fault.update({{"fault", "status"}, {"status", 400}, {"message", kToastMessage}});
            break;
        case Failure::status404:
            fault.update({{"fault", "status"}, {"status", 404}});
            break;
        case Failure::status500:
            fault.update({{"fault", "status"}, {"status", 500}});
            break;
        case Failure::empty:
            fault["fault"] = "empty";
            break;
        case Failure::malformed:
            fault["fault"] = "malformed";
            break;
        case Failure::slow:
            fault.update({{"fault", "delay"}, {"delayMs", 2500}});
            break;
        case Failure::dropped:
            fault["fault"] = "drop";
            break;
    }
    return fault;
}

// The request of the route, as the served log names it.
std::string routePath(Route route) {
    const json fault = faultFor(route, Failure::dropped);
    if (route == Route::events) {
        return "";
    }
    std::string path = fault["path"];
    if (path.back() == '*') {
        path.pop_back();
    }
    return path;
}

std::string routeName(Route route) {
    switch (route) {
        case Route::journey:
            return "Journey";
        case Route::loginChallenge:
            return "LoginChallenge";
        case Route::content:
            return "Content";
        case Route::paywallConfig:
            return "PaywallConfig";
        case Route::meterBanner:
            return "MeterBanner";
        case Route::popup:
            return "Popup";
        case Route::subscriptionAccess:
            return "SubscriptionAccess";
        case Route::embeddedSubscription:
            return "EmbeddedSubscription";
        case Route::events:
            return "Events";
    }
    return "";
}

std::string failureName(Failure failure) {
    switch (failure) {
        case Failure::status400:
            return "Status400";
        case Failure::status404:
            return "Status404";
        case Failure::status500:
            return "Status500";
        case Failure::empty:
            return "EmptyBody";
        case Failure::malformed:
            return "MalformedBody";
        case Failure::slow:
            return "SlowerThanTimeOut";
        case Failure::dropped:
            return "DroppedConnection";
    }
    return "";
}

void PrintTo(const Cell& cell, std::ostream* os) {
    *os << routeName(cell.route) << " " << failureName(cell.failure);
}

Outcome toastShown() {
    Outcome o;
    o.toast = true;
    return o;
}
Outcome printed(std::string line) {
    Outcome o;
    o.line = std::move(line);
    return o;
}
Outcome goesOnTo(std::string request) {
    Outcome o;
    o.next = std::move(request);
    return o;
}
Outcome defaultWallShown() {
    Outcome o;
    o.defaultWall = true;
    return o;
}

// One route's outcomes: what the host hears before the route's answer, the request the flow
// must not reach after a failure, what a 500 gives when it isn't "someThingWentWrong, and
// stop", the line of a body that doesn't decode, and what the host hears after an error status.
struct RouteOutcomes {
    Route route;
    std::vector<std::string> calls;
    std::optional<std::string> notSent;
    std::optional<Outcome> on500;
    std::string decodeLine = kDecodeLine;
    std::vector<std::string> callsAfterStatus;
};

std::vector<Cell> cellsOf(const RouteOutcomes& r) {
    auto with = [&](Outcome o) {
        if (!o.next) {
            o.notSent = r.notSent;
        }
        o.hostCalls.insert(o.hostCalls.begin(), r.calls.begin(), r.calls.end());
        return o;
    };
    auto afterStatus = [&](Outcome o) {
        o.hostCalls = r.callsAfterStatus;
        return with(std::move(o));
    };
    return {
        {r.route, Failure::status400, afterStatus(toastShown())},
        {r.route, Failure::status404, afterStatus(printed(kWrongId))},
        {r.route, Failure::status500, r.on500 ? with(*r.on500) : afterStatus(printed(kSomething))},
        {r.route, Failure::empty, with(printed(r.decodeLine))},
        {r.route, Failure::malformed, with(printed(r.decodeLine))},
        {r.route, Failure::slow, with({})},
        {r.route, Failure::dropped, with({})},
    };
}

std::vector<Cell> matrix() {
    std::vector<RouteOutcomes> routes(8);
    // An unexpected status on the journey or the challenge carries the flow on to the content;
    // their own decode failure is one plain line.
    routes[0] = {Route::journey, {}, "/api/v1/content", goesOnTo("/api/v1/content"), kDecoding, {}};
    routes[1] = {Route::loginChallenge,       {kLocked}, "/api/v1/content",
                 goesOnTo("/api/v1/content"), kDecoding, {}};
    routes[2] = {Route::content, {kLocked},   "/api/v1/paywall/paywall-config/",
                 std::nullopt,   kDecodeLine, {}};
    // A configuration service that fails still leaves the default wall.
    routes[3] = {Route::paywallConfig, {kLocked},   std::nullopt,
                 defaultWallShown(),   kDecodeLine, {}};
    // The metered reader is let in whatever becomes of the banner, unless its body is bad.
    routes[4] = {Route::meterBanner, {kLocked}, std::nullopt, std::nullopt, kDecodeLine, {kLetIn}};
    routes[5] = {Route::popup, {kLocked}, std::nullopt, std::nullopt, kDecodeLine, {}};
    // The access answer is parsed as plain JSON, not decoded: its failure is the plain line.
    routes[6] = {Route::subscriptionAccess,
                 {},
                 "/api/v1/subscription/embedded-subscription",
                 std::nullopt,
                 kDecoding,
                 {}};
    routes[7] = {
        Route::embeddedSubscription, {kLocked}, std::nullopt, std::nullopt, kDecodeLine, {}};
    std::vector<Cell> cells;
    for (const auto& r : routes) {
        const auto some = cellsOf(r);
        cells.insert(cells.end(), some.begin(), some.end());
    }
    // A lost event is a printed line at most; the flow goes on to the wall.
    auto event = [&](Failure f, std::optional<std::string> line) {
        Outcome o = goesOnTo("/api/v1/paywall/paywall-config/");
        o.hostCalls = {kLocked};
        o.line = std::move(line);
        cells.push_back({Route::events, f, o});
    };
    event(Failure::status400, "Unable to Log Event");
    event(Failure::status404, "Unable to Log Event");
    event(Failure::status500, "Unable to Log Event");
    event(Failure::empty, "Log Event");
    event(Failure::malformed, "Log Event");
    event(Failure::slow, std::nullopt);
    event(Failure::dropped, std::nullopt);
    return cells;
}

class FaultMatrixTest : public LoopbackClientTest, public ::testing::WithParamInterface<Cell> {
  protected:
    FaultMatrixTest() {
        tp.useHttp(session);
        QuillgateClient::shared().debugMode = true;
        ui::Application::shared().showWindow(ui::ViewController::create<ui::ViewController>());
        Toast::shared().didShow = [this](const std::string& message) { toasts.push_back(message); };
    }
    ~FaultMatrixTest() override { Toast::shared().didShow = nullptr; }

    void start(Route route) {
        auto& client = QuillgateClient::shared();
        switch (route) {
            case Route::journey:
            case Route::content:
            case Route::paywallConfig:
            case Route::events:
                showPayWall("premium-3a");
                break;
            case Route::loginChallenge:
                Constants::setLoginChallenge("challenge-fault-matrix");
                showPayWall("premium-3a");
                break;
            case Route::meterBanner:
                showPayWall("metered-1");
                break;
            case Route::popup:
                showPayWall("free-with-popup");
                break;
            case Route::embeddedSubscription:
                // An unknown session makes the access check answer "error", and the plans follow.
                Constants::setSessionID("session-unknown");
                [[fallthrough]];
            case Route::subscriptionAccess:
                client.initSubscriptions("premium-3a", "A story", std::nullopt, parent, host, host,
                                         host, true, host);
                break;
        }
    }

    // Nothing under way and nothing due on the main queue: every answer has been handled.
    bool settled() {
        const auto next = tp.loop().nextDeadline();
        return session->inFlight == 0 && (!next || *next > tp.clock().monotonicNow());
    }

    bool hasDefaultWall() {
        return std::dynamic_pointer_cast<QuillgateStatusVC>(QuillgateClient::shared().blockerVC) !=
               nullptr;
    }

    std::shared_ptr<ShortTimeoutSession> session =
        std::make_shared<ShortTimeoutSession>(tp.platform().runLoop);
    std::vector<std::string> toasts;
};

TEST_P(FaultMatrixTest, FailureEndsAsTheFlowSaysAndTheClientReadsOn) {
    const Cell& cell = GetParam();
    const Outcome& want = cell.outcome;
    std::string error;
    auto fault = devserver::Controls::parseFault(faultFor(cell.route, cell.failure), error);
    ASSERT_TRUE(fault) << error;
    dev.controls().addFault(*fault);

    start(cell.route);
    const std::string path = routePath(cell.route);
    auto reached = [&] {
        if (cell.route == Route::events) {
            for (const auto& r : dev.controls().requests()) {
                if (r.server == "collect") {
                    return true;
                }
            }
            return false;
        }
        return !served(path).empty();
    };
    ASSERT_TRUE(waitFor(reached, 20)) << "the route was never called";
    auto shown = [&] {
        return (!want.line || (want.line == kDecodeLine ? tp.printedContaining(*want.line)
                                                        : tp.printed(*want.line))) &&
               (!want.toast || !toasts.empty()) && (!want.next || !served(*want.next).empty()) &&
               host->calls.size() >= want.hostCalls.size() &&
               (!want.defaultWall || hasDefaultWall());
    };
    ASSERT_TRUE(waitFor(shown, 20)) << "outcome never came";
    ASSERT_TRUE(waitFor([&] { return settled(); }, 20)) << "the library never settled";

    EXPECT_EQ(host->calls, want.hostCalls);
    if (want.toast) {
        EXPECT_EQ(toasts, std::vector<std::string>{kToastMessage});
    } else if (cell.route != Route::events) {
        EXPECT_TRUE(toasts.empty()) << toasts.front();
    }
    if (want.notSent) {
        EXPECT_TRUE(served(*want.notSent).empty()) << *want.notSent << " was requested";
    }
    if (!want.line && cell.route != Route::events) {
        for (const char* line : {kWrongId, kSomething, kDecoding}) {
            EXPECT_FALSE(tp.printed(line)) << line;
        }
    }
    if (cell.route != Route::events) {
        EXPECT_EQ(hasDefaultWall(), want.defaultWall);
    }

    // The client isn't stuck: with the service healthy again, a free article reads through.
    dev.controls().clearFaults();
    const std::size_t heard = host->calls.size();
    showPayWall("free-article");
    ASSERT_TRUE(waitFor([&] { return host->calls.size() > heard; }, 20));
    EXPECT_EQ(host->calls.back(), kLocked);
}

INSTANTIATE_TEST_SUITE_P(EveryRouteAndFailure, FaultMatrixTest, ::testing::ValuesIn(matrix()),
                         [](const ::testing::TestParamInfo<Cell>& info) {
                             return routeName(info.param.route) + "_" +
                                    failureName(info.param.failure);
                         });

}  // namespace
}  // namespace quillgate::testing

#include "tools/devserver/DevServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <thread>
#include <utility>

#include <httplib.h>

#include "tools/devserver/Encoding.h"
#include "tools/devserver/WebPages.h"

namespace quillgate::devserver {

namespace {

using OrderedJson = nlohmann::ordered_json;
constexpr const char* kHost = "127.0.0.1";
constexpr const char* kControlPrefix = "/__control";

// What the pre-routing step learned about the request that this worker thread is handling;
// the post-routing step of the same thread completes the request log with it.
thread_local uint64_t tRequestSequence = 0;
thread_local std::string tFaultId;
thread_local bool tDropped = false;

bool isControlPath(const std::string& path) {
    return path.rfind(kControlPrefix, 0) == 0;
}

void apply(const Reply& reply, httplib::Response& res) {
    res.status = reply.status;
    if (!reply.location.empty()) {
        res.set_header("Location", reply.location);
    }
    res.set_content(reply.body, reply.contentType.c_str());
}

// The kernel's inode of the TCP socket whose local and peer ports are these, read from the
// process's view of the connection tables.
std::optional<std::string> socketInode(int localPort, int peerPort) {
    for (const char* table : {"/proc/self/net/tcp", "/proc/self/net/tcp6"}) {
        std::ifstream in(table);
        std::string line;
        std::getline(in, line);  // column titles
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            std::string slot, local, peer, state, queues, timer, retransmits, uid, timeout, inode;
            if (!(fields >> slot >> local >> peer >> state >> queues >> timer >> retransmits >>
                  uid >> timeout >> inode)) {
                continue;
            }
            const auto portOf = [](const std::string& address) {
                const auto colon = address.rfind(':');
                return colon == std::string::npos ? -1
                                                  : static_cast<int>(std::strtol(
                                                        address.c_str() + colon + 1, nullptr, 16));
            };
            if (portOf(local) == localPort && portOf(peer) == peerPort && inode != "0") {
                return inode;
            }
        }
    }
    return std::nullopt;
}

// Closes the connection a request came in on, so that the client sees the connection end
// without any answer. The HTTP library doesn't hand out its sockets: the socket's inode is
// found by its ports, then the descriptor that links to it. Only the links are read, never
// the other descriptors themselves, which other threads of the process may be closing.
bool dropConnection(const httplib::Request& req) {
    const auto inode = socketInode(req.local_port, req.remote_port);
    if (!inode) {
        return false;
    }
    const std::string target = "socket:[" + *inode + "]";
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ec)) {
        std::error_code linkError;
        if (std::filesystem::read_symlink(entry.path(), linkError).string() != target) {
            continue;
        }
        int fd = -1;
        try {
            fd = std::stoi(entry.path().filename().string());
        } catch (...) {
            continue;
        }
        // The descriptor is this worker thread's own connection, so it stays open until the
        // handler returns.
        ::shutdown(fd, SHUT_RDWR);
        return true;
    }
    return false;
}

std::optional<std::string> readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::string contentTypeOf(const std::filesystem::path& file) {
    const std::string ext = file.extension().string();
    if (ext == ".png")
        return "image/png";
    if (ext == ".jpg" || ext == ".jpeg")
        return "image/jpeg";
    if (ext == ".gif")
        return "image/gif";
    if (ext == ".svg")
        return "image/svg+xml";
    if (ext == ".ttf")
        return "font/ttf";
    if (ext == ".otf")
        return "font/otf";
    if (ext == ".css")
        return "text/css";
    return "application/octet-stream";
}

Params paramsOf(const httplib::Request& req) {
    return Params(req.params.begin(), req.params.end());
}

}  // namespace

struct DevServer::Impl {
    Options options;
    std::optional<Scenario> scenario;
    std::unique_ptr<AccessService> service;
    std::unique_ptr<WebPages> pages;
    Collector collector;
    Controls controls;
    httplib::Server api;
    httplib::Server web;
    httplib::Server collect;
    int apiPort = 0;
    int webPort = 0;
    int collectPort = 0;
    std::thread apiThread;
    std::thread webThread;
    std::thread collectThread;
    bool started = false;
    std::atomic<bool> running{false};
    std::atomic<bool> apiEnded{false};
    std::atomic<bool> webEnded{false};
    std::atomic<bool> collectEnded{false};
    // Font paths behind each host's base, to the local file that stands in for them.
    std::map<std::string, std::filesystem::path> webFonts;
    std::map<std::string, std::filesystem::path> repositoryFonts;

    void configure(httplib::Server& server, const std::string& name);
    void addControlRoutes(httplib::Server& server, const std::string& name);
    void addFallbackRoutes(httplib::Server& server);
    void addApiRoutes();
    void addWebRoutes();
    void addCollectRoutes();
    void serveFile(const std::map<std::string, std::filesystem::path>& files,
                   const std::string& path, httplib::Response& res);
};

void DevServer::Impl::configure(httplib::Server& server, const std::string& name) {
    // A kept-alive connection holds one of these threads for as long as it stays open, so
    // the pool bounds the clients served at once: a client beyond it waits for a free thread
    // and its request times out. 64 serves the soak benchmark's 40 clients, each with its
    // own connection, and an application's six per host many times over.
    server.new_task_queue = [] { return new httplib::ThreadPool(64); };
    // The library's default also sets SO_REUSEPORT, which would let a second server bind a
    // port that is already taken; address reuse alone still refuses that.
    server.set_socket_options([](socket_t sock) {
        int yes = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(100000);
    server.set_payload_max_length(16 * 1024 * 1024);

    server.set_pre_routing_handler(
        [this, name](const httplib::Request& req, httplib::Response& res) {
            tRequestSequence = 0;
            tFaultId.clear();
            tDropped = false;
            if (isControlPath(req.path)) {
                return httplib::Server::HandlerResponse::Unhandled;
            }
            RecordedRequest record;
            record.receivedAt = std::chrono::system_clock::now();
            record.server = name;
            record.method = req.method;
            record.path = req.path;
            record.target = req.target;
            record.params = paramsOf(req);
            record.headers.assign(req.headers.begin(), req.headers.end());
            record.remotePort = req.remote_port;
            tRequestSequence = controls.record(std::move(record));

            auto fault = controls.takeFault(name, req.method, req.path);
            if (!fault) {
                return httplib::Server::HandlerResponse::Unhandled;
            }
            tFaultId = fault->id;
            switch (fault->kind) {
                case FaultKind::delay:
                    controls.waitFor(std::chrono::milliseconds(fault->delayMs));
                    return httplib::Server::HandlerResponse::Unhandled;
                case FaultKind::drop:
                    tDropped = dropConnection(req);
                    res.status = 500;
                    res.set_header("Connection", "close");
                    return httplib::Server::HandlerResponse::Handled;
                default:
                    apply(Controls::faultReply(*fault), res);
                    return httplib::Server::HandlerResponse::Handled;
            }
        });
    server.set_post_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
        if (tRequestSequence != 0 && !isControlPath(req.path)) {
            controls.setAnswer(tRequestSequence, tDropped ? 0 : res.status, tFaultId, req.body);
        }
    });
    server.set_exception_handler(
        [](const httplib::Request&, httplib::Response& res, std::exception_ptr error) {
            std::string what = "Internal error";
            try {
                if (error)
                    std::rethrow_exception(error);
            } catch (const std::exception& e) {
                what = e.what();
            } catch (...) {
            }
            apply(Reply::error(500, what), res);
        });
    if (options.log) {
        server.set_logger(
            [log = options.log, name](const httplib::Request& req, const httplib::Response& res) {
                if (!isControlPath(req.path)) {
                    log(name + " " + req.method + " " + req.target + " -> " +
                        std::to_string(res.status));
                }
            });
    }
}

void DevServer::Impl::addControlRoutes(httplib::Server& server, const std::string& name) {
    const std::string base = kControlPrefix;
    server.Get(base, [name](const httplib::Request&, httplib::Response& res) {
        const OrderedJson help{
            {"server", name},
            {"routes",
             {"GET /__control/faults", "POST /__control/faults", "DELETE /__control/faults",
              "GET /__control/requests?path=&server=", "DELETE /__control/requests",
              "GET /__control/state", "POST /__control/reset"}}};
        apply(Reply::json(200, help), res);
    });
    server.Post(base + "/faults", [this](const httplib::Request& req, httplib::Response& res) {
        const auto spec = nlohmann::json::parse(req.body, nullptr, false);
        std::string error;
        auto fault = Controls::parseFault(spec, error);
        if (!fault) {
            apply(Reply::json(400, OrderedJson{{"error", error}}), res);
            return;
        }
        fault->id = controls.addFault(*fault);
        apply(Reply::json(201, Controls::faultJson(*fault)), res);
    });
    server.Get(base + "/faults", [this](const httplib::Request&, httplib::Response& res) {
        OrderedJson list = OrderedJson::array();
        for (const Fault& f : controls.faults()) {
            list.push_back(Controls::faultJson(f));
        }
        apply(Reply::json(200, OrderedJson{{"faults", list}}), res);
    });
    server.Delete(base + "/faults", [this](const httplib::Request&, httplib::Response& res) {
        controls.clearFaults();
        apply(Reply::json(200, OrderedJson{{"cleared", true}}), res);
    });
    server.Get(base + "/requests", [this](const httplib::Request& req, httplib::Response& res) {
        apply(Reply::json(200, controls.requestsJson(req.get_param_value("path"),
                                                     req.get_param_value("server"))),
              res);
    });
    server.Delete(base + "/requests", [this](const httplib::Request&, httplib::Response& res) {
        controls.clearRequests();
        apply(Reply::json(200, OrderedJson{{"cleared", true}}), res);
    });
    server.Get(base + "/state", [this](const httplib::Request&, httplib::Response& res) {
        apply(Reply::json(200, service->stateSnapshot()), res);
    });
    server.Post(base + "/reset", [this](const httplib::Request&, httplib::Response& res) {
        service->reset();
        collector.clear();
        controls.clearFaults();
        controls.clearRequests();
        apply(Reply::json(200, OrderedJson{{"reset", true}}), res);
    });
}

void DevServer::Impl::addFallbackRoutes(httplib::Server& server) {
    auto notFound = [](const httplib::Request& req, httplib::Response& res) {
        apply(Reply::error(404, "Cannot " + req.method + " " + req.path), res);
    };
    server.Get(".*", notFound);
    server.Post(".*", notFound);
    server.Put(".*", notFound);
    server.Patch(".*", notFound);
    server.Delete(".*", notFound);
}

void DevServer::Impl::addApiRoutes() {
    AccessService& s = *service;
    const std::string v1 = "/api/v1";
    api.Get(v1 + "/journey", [&s](const httplib::Request& req, httplib::Response& res) {
        apply(s.journey(paramsOf(req)), res);
    });
    api.Get(v1 + "/login-challenge/([^/]+)",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.loginChallenge(req.matches[1]), res);
            });
    api.Post(v1 + "/login-challenge", [&s](const httplib::Request& req, httplib::Response& res) {
        apply(s.postLoginChallenge(req.body), res);
    });
    api.Post(v1 + "/auth/logout-via-sessionid",
             [&s](const httplib::Request& req, httplib::Response& res) {
                 apply(s.logout(paramsOf(req), req.body), res);
             });
    api.Get(v1 + "/paywall/paywall-config/([^/]+)",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.paywallConfig(req.matches[1], paramsOf(req)), res);
            });
    api.Get(v1 + "/client/popup/([^/]+)",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.popup(req.matches[1]), res);
            });
    api.Get(v1 + "/metering/banner/([^/]+)",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.meteringBanner(req.matches[1]), res);
            });
    api.Post(v1 + "/content/access", [&s](const httplib::Request& req, httplib::Response& res) {
        apply(s.contentAccess(paramsOf(req), req.body), res);
    });
    api.Get(v1 + "/subscription/access", [&s](const httplib::Request& req, httplib::Response& res) {
        apply(s.subscriptionAccess(paramsOf(req)), res);
    });
    api.Get(v1 + "/content", [&s](const httplib::Request& req, httplib::Response& res) {
        apply(s.content(paramsOf(req)), res);
    });
    api.Get(v1 + "/user/([^/]*)", [&s](const httplib::Request& req, httplib::Response& res) {
        apply(s.user(req.matches[1], paramsOf(req)), res);
    });
    api.Get(v1 + "/subscription/settings",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.subscriptionSettings(paramsOf(req)), res);
            });
    api.Get(v1 + "/subscription/convert-subscription-currency",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.currencyConversion(paramsOf(req)), res);
            });
    api.Get(v1 + "/subscription/embedded-subscription",
            [&s](const httplib::Request& req, httplib::Response& res) {
                apply(s.embeddedSubscription(paramsOf(req)), res);
            });
}

void DevServer::Impl::serveFile(const std::map<std::string, std::filesystem::path>& files,
                                const std::string& path, httplib::Response& res) {
    auto it = files.find(path);
    std::optional<std::string> bytes;
    if (it != files.end()) {
        bytes = readFile(it->second);
    }
    if (!bytes) {
        apply(Reply::error(404, "No file at " + path), res);
        return;
    }
    res.status = 200;
    res.set_content(*bytes, contentTypeOf(it->second).c_str());
}

void DevServer::Impl::addWebRoutes() {
    WebPages& p = *pages;
    auto page = [&p](Reply (WebPages::*handler)(const Params&)) {
        return [&p, handler](const httplib::Request& req, httplib::Response& res) {
            apply((p.*handler)(paramsOf(req)), res);
        };
    };
    web.Get("/", [&p](const httplib::Request&, httplib::Response& res) { apply(p.index(), res); });
    web.Get("/overlay", page(&WebPages::overlay));
    web.Get("/overlay/choose", page(&WebPages::overlayChoose));
    web.Get("/subscription", page(&WebPages::subscription));
    web.Get("/subscription/choose", page(&WebPages::subscriptionChoose));
    web.Get("/auto-login-user", page(&WebPages::autoLogin));
    web.Get("/orvelant-login", page(&WebPages::onlyLogin));
    web.Get("/orvelant-login/choose", page(&WebPages::onlyLoginChoose));

    std::map<std::string, std::filesystem::path> statics;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(scenario->staticDir(), ec)) {
        if (entry.is_regular_file(ec)) {
            statics.emplace(entry.path().filename().string(), entry.path());
        }
    }
    web.Get("/static/(.+)", [this, statics](const httplib::Request& req, httplib::Response& res) {
        serveFile(statics, req.matches[1], res);
    });
    web.Get("/fonts/(.+)", [this](const httplib::Request& req, httplib::Response& res) {
        serveFile(webFonts, req.matches[1], res);
    });
}

void DevServer::Impl::addCollectRoutes() {
    collect.Post("/collect/event", [this](const httplib::Request& req, httplib::Response& res) {
        collector.add(req.body, std::chrono::system_clock::now());
        apply(Reply::json(201, OrderedJson{{"message", "Event received"}}), res);
    });
    collect.Get("/collect/events", [this](const httplib::Request& req, httplib::Response& res) {
        apply(Reply::json(200, collector.toJson(req.get_param_value("eventType"))), res);
    });
    collect.Delete("/collect/events", [this](const httplib::Request&, httplib::Response& res) {
        collector.clear();
        apply(Reply::json(200, OrderedJson{{"cleared", true}}), res);
    });
    collect.Get("/repo/(.+)", [this](const httplib::Request& req, httplib::Response& res) {
        serveFile(repositoryFonts, req.matches[1], res);
    });
}

std::filesystem::path DevServer::defaultDataDir() {
    return QUILLGATE_DEVSERVER_DATA_DIR;
}

DevServer::DevServer(Options options) : impl_(std::make_unique<Impl>()) {
    impl_->options = std::move(options);
}

DevServer::~DevServer() {
    stop();
}

StartResult DevServer::start() {
    Impl& d = *impl_;
    if (d.started) {
        return {false, "the devserver was started before; make a new one"};
    }
    d.started = true;
    ScenarioLoad load = loadScenario(d.options.dataDir);
    if (!load.scenario) {
        return {false, load.error};
    }
    d.scenario = std::move(load.scenario);
    for (const FontFile& font : d.scenario->fonts) {
        if (font.file) {
            (font.host == "web-font" ? d.webFonts : d.repositoryFonts)[font.path] = *font.file;
        }
    }
    d.service = std::make_unique<AccessService>(*d.scenario, d.options.clock);
    d.pages = std::make_unique<WebPages>(*d.scenario, *d.service);

    d.configure(d.api, "api");
    d.configure(d.web, "web");
    d.configure(d.collect, "collect");
    for (auto* server : {&d.api, &d.web, &d.collect}) {
        d.addControlRoutes(*server, server == &d.api   ? "api"
                                    : server == &d.web ? "web"
                                                       : "collect");
    }
    d.addApiRoutes();
    d.addWebRoutes();
    d.addCollectRoutes();
    for (auto* server : {&d.api, &d.web, &d.collect}) {
        d.addFallbackRoutes(*server);
    }

    struct Binding {
        httplib::Server* server;
        int requested;
        int* bound;
        const char* role;
    };
    const Binding bindings[] = {{&d.api, d.options.apiPort, &d.apiPort, "API"},
                                {&d.web, d.options.webPort, &d.webPort, "web"},
                                {&d.collect, d.options.collectPort, &d.collectPort, "collection"}};
    std::string error;
    for (const Binding& b : bindings) {
        errno = 0;
        if (b.requested == 0) {
            *b.bound = b.server->bind_to_any_port(kHost);
        } else {
            *b.bound = b.server->bind_to_port(kHost, b.requested) ? b.requested : -1;
        }
        if (*b.bound <= 0) {
            const int cause = errno;
            error = std::string("cannot listen on ") + kHost + ":" + std::to_string(b.requested) +
                    " for the " + b.role + " server: " +
                    (cause == EADDRINUSE || cause == 0 ? "the port is already in use"
                                                       : std::strerror(cause));
            *b.bound = 0;
            break;
        }
    }

    // Every bound server listens (a bound socket already queues connections), then those of
    // a failed start are stopped again so their ports are released.
    if (error.empty()) {
        d.service->setBases({apiBase(), webBase()});
    }
    std::thread* threads[] = {&d.apiThread, &d.webThread, &d.collectThread};
    std::atomic<bool>* ended[] = {&d.apiEnded, &d.webEnded, &d.collectEnded};
    for (size_t i = 0; i < 3; ++i) {
        if (*bindings[i].bound > 0) {
            httplib::Server* server = bindings[i].server;
            std::atomic<bool>* end = ended[i];
            *threads[i] = std::thread([server, end] {
                server->listen_after_bind();
                *end = true;
            });
        }
    }
    // stop() only reaches a server that has begun listening; wait for that moment.
    for (size_t i = 0; i < 3; ++i) {
        if (threads[i]->joinable()) {
            while (!bindings[i].server->is_running() && !*ended[i]) {
                std::this_thread::yield();
            }
        }
    }
    d.running = true;
    if (!error.empty()) {
        stop();
        return {false, error};
    }
    return {true, ""};
}

void DevServer::stop() {
    Impl& d = *impl_;
    if (!d.running.exchange(false)) {
        return;
    }
    d.controls.interruptWaits();
    for (auto* server : {&d.api, &d.web, &d.collect}) {
        if (server->is_running()) {
            server->stop();
        }
    }
    for (auto* thread : {&d.apiThread, &d.webThread, &d.collectThread}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
}

bool DevServer::running() const {
    return impl_->running;
}

int DevServer::apiPort() const {
    return impl_->apiPort;
}

int DevServer::webPort() const {
    return impl_->webPort;
}

int DevServer::collectPort() const {
    return impl_->collectPort;
}

std::string DevServer::apiBase() const {
    return std::string("http://") + kHost + ":" + std::to_string(impl_->apiPort) + "/api/v1";
}

std::string DevServer::webBase() const {
    return std::string("http://") + kHost + ":" + std::to_string(impl_->webPort) + "/";
}

std::string DevServer::collectUrl() const {
    return std::string("http://") + kHost + ":" + std::to_string(impl_->collectPort) +
           "/collect/event";
}

std::string DevServer::webFontHostBase() const {
    return webBase() + "fonts/";
}

std::string DevServer::sourceRepositoryHostBase() const {
    return std::string("http://") + kHost + ":" + std::to_string(impl_->collectPort) + "/repo/";
}

void DevServer::pointAt(Deployment& deployment) const {
    deployment.local = {apiBase(), webBase(), collectUrl()};
    deployment.webFontHost = webFontHostBase();
    deployment.sourceRepositoryHost = sourceRepositoryHostBase();
}

void DevServer::reset() {
    Impl& d = *impl_;
    if (d.service) {
        d.service->reset();
    }
    d.collector.clear();
    d.controls.clearFaults();
    d.controls.clearRequests();
}

AccessService& DevServer::service() {
    return *impl_->service;
}

Collector& DevServer::collector() {
    return impl_->collector;
}

Controls& DevServer::controls() {
    return impl_->controls;
}

}  // namespace quillgate::devserver

// The curl session against a real server on loopback: what goes on the wire, what comes back.

#include "quillgate/platform/linux/CurlHttpSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <mutex>
#include <thread>

#include "tests/support/FontFiles.h"
#include "tests/support/LoopbackServer.h"

namespace quillgate::platform {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::LoopbackServer;
using ::testing::Not;
using ::testing::Pair;

// Completions arrive on the session's thread; the test thread waits for them with a bound
// on wall time so that a broken session fails instead of hanging.
template <class Result>
class Awaited {
  public:
    std::function<void(Result)> completion() {
        return [this](Result r) {
            threadId_ = std::this_thread::get_id();
            promise_.set_value(std::move(r));
        };
    }
    Result get() {
        if (future_.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
            ADD_FAILURE() << "no completion";
            return Result{};
        }
        return future_.get();
    }
    std::thread::id threadId() const { return threadId_; }

  private:
    std::promise<Result> promise_;
    std::future<Result> future_ = promise_.get_future();
    std::thread::id threadId_;
};

HttpResult fetch(CurlHttpSession& session, HttpRequest request) {
    Awaited<HttpResult> done;
    session.dataTask(std::move(request), done.completion());
    return done.get();
}

HttpRequest request(std::string url, std::string method = "GET") {
    HttpRequest r;
    r.url = std::move(url);
    r.method = std::move(method);
    return r;
}

class CurlHttpSessionTest : public ::testing::Test {
  protected:
    CurlHttpSessionTest() {
        using Response = httplib::Response;
        const auto text = [](int status, std::string body) {
            return [=](const httplib::Request&, Response& res) {
                res.status = status;
                res.set_content(body, "text/plain");
            };
        };
        const auto redirect = [](const char* to, int status) {
            return [=](const httplib::Request&, Response& res) { res.set_redirect(to, status); };
        };
        server.get("/hello", [](const httplib::Request&, Response& res) {
            res.set_header("X-Answer", "42");
            res.set_content("hi there", "text/plain");
        });
        server.get("/echo", text(200, "get"));
        server.post("/echo", [](const httplib::Request& req, Response& res) {
            res.set_content(req.body, "application/json");
        });
        server.get("/broken", text(500, "{\"error\":\"boom\"}"));
        server.get("/slow",
                   [this](const httplib::Request&, Response&) { server.holdUntilReleased(); });
        // Ten pieces 0.3 s apart: longer in all than a two-second time-out, never idle that
        // long.
        server.get("/trickle", [](const httplib::Request&, Response& res) {
            res.set_chunked_content_provider("text/plain", [](size_t, httplib::DataSink& sink) {
                for (int i = 0; i < 10; ++i) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(300));
                    if (!sink.write("piece ", 6)) {
                        return false;
                    }
                }
                sink.done();
                return true;
            });
        });
        server.get("/old", redirect("/hello", 302));
        server.post("/form", redirect("/echo", 303));
        server.post("/moved", redirect("/echo", 307));
        server.start();
    }

    LoopbackServer server;  // declared first: outlives the session's connections
    std::unique_ptr<CurlHttpSession> session = std::make_unique<CurlHttpSession>();
};

TEST_F(CurlHttpSessionTest, AnswerCarriesStatusHeadersBodyAndAddressOffTheCallersThread) {
    Awaited<HttpResult> done;
    session->dataTask(request(server.url("/hello")), done.completion());
    const HttpResult result = done.get();
    EXPECT_NE(done.threadId(), std::this_thread::get_id());
    ASSERT_FALSE(result.error);
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 200);
    EXPECT_EQ(result.response->url, server.url("/hello"));
    EXPECT_THAT(result.response->headers, Contains(Pair("X-Answer", "42")));
    EXPECT_EQ(result.body, "hi there");

    // A server error is an answer like any other.
    const HttpResult broken = fetch(*session, request(server.url("/broken")));
    ASSERT_FALSE(broken.error);
    ASSERT_TRUE(broken.response);
    EXPECT_EQ(broken.response->statusCode, 500);
    EXPECT_EQ(broken.body, "{\"error\":\"boom\"}");
}

TEST_F(CurlHttpSessionTest, SendsExactlyTheGivenMethodHeadersAndBody) {
    HttpRequest post = request(server.url("/echo"), "post");
    post.headers = {{"accept", "application/json"},
                    {"Content-Type", "application/json"},
                    {"User-Agent", "Quillgate-Test/1"}};
    post.body = "{\"a\":1}";
    EXPECT_EQ(fetch(*session, post).body, "{\"a\":1}");
    EXPECT_EQ(fetch(*session, request(server.url("/echo"), "get")).body, "get");
    EXPECT_EQ(fetch(*session, request(server.url("/echo"), "post")).response->statusCode, 200);

    const auto received = server.requests();
    ASSERT_EQ(received.size(), 3u);
    const auto host = Pair("Host", "127.0.0.1:" + std::to_string(server.port()));
    // Only the framing headers are added: Host, and Content-Length for a body.
    EXPECT_EQ(received[0].method, "POST");
    EXPECT_EQ(received[0].body, "{\"a\":1}");
    EXPECT_THAT(received[0].headers,
                ElementsAre(Pair("accept", "application/json"), Pair("Content-Length", "7"),
                            Pair("Content-Type", "application/json"), host,
                            Pair("User-Agent", "Quillgate-Test/1")));
    EXPECT_EQ(received[1].method, "GET");
    EXPECT_THAT(received[1].headers, ElementsAre(host));
    EXPECT_EQ(received[2].header("Content-Length"), "0");  // a post without a body
}

TEST_F(CurlHttpSessionTest, RequestsToOneHostReuseOneConnection) {
    for (int i = 0; i < 25; ++i) {
        const HttpResult result = fetch(*session, request(server.url(i % 2 ? "/hello" : "/echo")));
        ASSERT_TRUE(result.response) << i;
    }
    EXPECT_EQ(server.requestCount(), 25u);
    EXPECT_EQ(server.connectionCount(), 1u);
}

TEST_F(CurlHttpSessionTest, ManyRequestsInFlightAllComplete) {
    constexpr int kCount = 40;
    std::vector<Awaited<HttpResult>> done(kCount);
    for (auto& d : done) {
        session->dataTask(request(server.url("/hello")), d.completion());
    }
    for (auto& d : done) {
        const HttpResult result = d.get();
        ASSERT_TRUE(result.response);
        EXPECT_EQ(result.body, "hi there");
    }
    EXPECT_LE(server.connectionCount(), 6u);  // at most six connections to one host
}

TEST_F(CurlHttpSessionTest, TransportErrorsComeWithoutAnswerBodyOrFile) {
    HttpRequest slow = request(server.url("/slow"));
    slow.timeoutSeconds = 0.2;
    const HttpResult timedOut = fetch(*session, slow);
    ASSERT_TRUE(timedOut.error);
    EXPECT_EQ(timedOut.error->code, 28);
    EXPECT_FALSE(timedOut.error->message.empty());
    EXPECT_FALSE(timedOut.response);
    EXPECT_FALSE(timedOut.body);

    Awaited<DownloadResult> download;
    session->downloadTask(slow, download.completion());
    const DownloadResult failedDownload = download.get();
    ASSERT_TRUE(failedDownload.error);
    EXPECT_EQ(failedDownload.error->code, 28);
    EXPECT_FALSE(failedDownload.location);

    // The time-out is for silence, not for the whole answer: a trickle outlasts it.
    HttpRequest trickle = request(server.url("/trickle"));
    trickle.timeoutSeconds = 2;
    const HttpResult trickled = fetch(*session, trickle);
    EXPECT_FALSE(trickled.error) << trickled.error->message;
    std::string pieces;
    for (int i = 0; i < 10; ++i) {
        pieces += "piece ";
    }
    EXPECT_EQ(trickled.body, pieces);

    // A socket bound but not listening: its port is taken and refuses connections.
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const HttpResult refused = fetch(
        *session, request("http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/x"));
    ::close(fd);
    ASSERT_TRUE(refused.error);
    EXPECT_EQ(refused.error->code, 7);
    EXPECT_FALSE(refused.response);

    // Malformed addresses are errors too, not crashes, and reach no server.
    const auto before = server.requestCount();
    for (const char* bad : {"", "not an address", "ftp://127.0.0.1/x", "http://[::1"}) {
        const HttpResult result = fetch(*session, request(bad));
        EXPECT_TRUE(result.error) << bad;
        EXPECT_FALSE(result.response) << bad;
    }
    EXPECT_EQ(server.requestCount(), before);
}

TEST_F(CurlHttpSessionTest, RedirectsAreFollowedAsTheirStatusSays) {
    const HttpResult result = fetch(*session, request(server.url("/old")));
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 200);
    EXPECT_EQ(result.response->url, server.url("/hello"));
    EXPECT_EQ(result.body, "hi there");
    // The headers are those of the last answer.
    EXPECT_THAT(result.response->headers, Contains(Pair("X-Answer", "42")));
    EXPECT_THAT(result.response->headers, Not(Contains(Pair("Location", "/hello"))));

    // See Other turns a post into a get; a temporary redirect keeps it.
    HttpRequest r = request(server.url("/form"), "post");
    r.body = "payload";
    EXPECT_EQ(fetch(*session, r).body, "get");
    r.url = server.url("/moved");
    EXPECT_EQ(fetch(*session, r).body, "payload");
    const auto echoes = server.requestsTo("/echo");
    ASSERT_EQ(echoes.size(), 2u);
    EXPECT_EQ(echoes[0].method, "GET");
    EXPECT_EQ(echoes[0].body, "");
    EXPECT_EQ(echoes[1].method, "POST");
    EXPECT_EQ(echoes[1].body, "payload");

    // Asked not to follow, the session hands back the redirect itself.
    HttpRequest stay = request(server.url("/old"));
    stay.followRedirects = false;
    const HttpResult redirect = fetch(*session, stay);
    ASSERT_TRUE(redirect.response);
    EXPECT_EQ(redirect.response->statusCode, 302);
    EXPECT_EQ(redirect.response->url, server.url("/old"));
    EXPECT_THAT(redirect.response->headers, Contains(Pair("Location", "/hello")));
}

TEST_F(CurlHttpSessionTest, DownloadLandsInATemporaryFileRemovedUnlessMovedAway) {
    const auto kept = std::filesystem::temp_directory_path() /
                      ("quillgate-test-kept-" + std::to_string(::getpid()));
    std::vector<std::filesystem::path> seen;
    for (bool move : {false, true}) {
        Awaited<std::string> done;
        session->downloadTask(request(server.url("/hello")), [&, move, finish = done.completion()](
                                                                 DownloadResult result) {
            if (!result.location || result.error || result.response->statusCode != 200) {
                return finish("failed");
            }
            seen.push_back(*result.location);
            if (move) {
                std::filesystem::rename(*result.location, kept);
            }
            finish(testing::fileContent(move ? kept : *result.location));
        });
        EXPECT_EQ(done.get(), "hi there");
    }
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].parent_path(), std::filesystem::temp_directory_path());
    // The file goes once the completion has returned; the worker does that before it takes
    // up the next request, so one more round trip orders the check after it.
    fetch(*session, request(server.url("/hello")));
    EXPECT_FALSE(std::filesystem::exists(seen[0]));
    EXPECT_TRUE(std::filesystem::exists(kept));
    std::filesystem::remove(kept);
}

TEST_F(CurlHttpSessionTest, DestroyingTheSessionCompletesRequestsInFlight) {
    Awaited<HttpResult> held;
    Awaited<DownloadResult> heldDownload;
    session->dataTask(request(server.url("/slow")), held.completion());
    session->downloadTask(request(server.url("/slow")), heldDownload.completion());
    // Wait (bounded) until both requests have reached the server.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (server.heldCount() < 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    // Not an ASSERT: the session must go before the awaited completions do.
    EXPECT_EQ(server.heldCount(), 2);
    session.reset();
    const HttpResult result = held.get();
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, CurlHttpSession::kSessionClosedError);
    const DownloadResult download = heldDownload.get();
    ASSERT_TRUE(download.error);
    EXPECT_EQ(download.error->code, CurlHttpSession::kSessionClosedError);
    EXPECT_FALSE(download.location);
}

TEST_F(CurlHttpSessionTest, ThrowingCompletionDoesNotStopTheSession) {
    session->dataTask(request(server.url("/hello")),
                      [](HttpResult) { throw std::runtime_error("caller bug"); });
    EXPECT_EQ(fetch(*session, request(server.url("/hello"))).body, "hi there");
}

// https against a server on loopback whose certificate, made here, no authority signed: the
// session refuses it unless that certificate is given as the authority.
TEST(CurlHttpSessionTls, VerifiesTheCertificateAgainstTheGivenAuthority) {
    const auto dir =
        std::filesystem::temp_directory_path() / ("quillgate-tls-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const auto cert = dir / "cert.pem";
    const auto key = dir / "key.pem";
    const std::string make =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 1"
        " -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -keyout " +
        key.string() + " -out " + cert.string() + " >/dev/null 2>&1";
    ASSERT_EQ(std::system(make.c_str()), 0) << "openssl could not make a certificate";

    httplib::SSLServer server(cert.c_str(), key.c_str());
    ASSERT_TRUE(server.is_valid());
    server.Get("/hello", [](const httplib::Request&, httplib::Response& res) {
        res.set_content("hi there", "text/plain");
    });
    // Answers once a second "/hello" has been answered (bounded): a session that queued a
    // request behind this one on an HTTP/1.1 host would stall here.
    std::mutex helloMutex;
    std::condition_variable helloAnswered;
    int hellos = 0;
    server.Get("/after-hello", [&](const httplib::Request&, httplib::Response& res) {
        std::unique_lock lock(helloMutex);
        const bool overtaken =
            helloAnswered.wait_for(lock, std::chrono::seconds(10), [&] { return hellos >= 2; });
        res.set_content(overtaken ? "overtaken" : "alone", "text/plain");
    });
    server.set_post_routing_handler([&](const httplib::Request& req, httplib::Response&) {
        if (req.path == "/hello") {
            {
                std::lock_guard lock(helloMutex);
                ++hellos;
            }
            helloAnswered.notify_all();
        }
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    ASSERT_GT(port, 0);
    std::thread serving([&] { server.listen_after_bind(); });
    const std::string base = "https://127.0.0.1:" + std::to_string(port);
    const std::string url = base + "/hello";

    {
        CurlHttpSession untrusting;
        const HttpResult refused = fetch(untrusting, request(url));
        ASSERT_TRUE(refused.error);
        EXPECT_EQ(refused.error->code, 60);  // CURLE_PEER_FAILED_VERIFICATION
        EXPECT_FALSE(refused.response);
    }
    {
        CurlHttpSession::Options options;
        options.caFile = cert;
        CurlHttpSession trusting(options);
        const HttpResult answered = fetch(trusting, request(url));
        EXPECT_FALSE(answered.error) << answered.error->message;
        EXPECT_EQ(answered.body, "hi there");

        // Two requests started together on a new session: the second doesn't wait for the
        // first one's connection to an HTTP/1.1 host to be free.
        CurlHttpSession fresh(options);
        Awaited<HttpResult> slow;
        Awaited<HttpResult> quick;
        fresh.dataTask(request(base + "/after-hello"), slow.completion());
        fresh.dataTask(request(url), quick.completion());
        EXPECT_EQ(quick.get().body, "hi there");
        EXPECT_EQ(slow.get().body, "overtaken");
    }
    server.stop();
    serving.join();
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace quillgate::platform

// The curl session against a real server on loopback: what goes on the wire, what comes back.

#include "quillgate/platform/linux/CurlHttpSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

#include "tests/support/LoopbackServer.h"

namespace quillgate::platform {
namespace {

using ::testing::ElementsAre;
using testing::LoopbackServer;
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
        server.get("/hello", [](const httplib::Request&, httplib::Response& res) {
            res.set_header("X-Answer", "42");
            res.set_content("hi there", "text/plain");
        });
        server.get("/echo", [](const httplib::Request&, httplib::Response& res) {
            res.set_content("get", "text/plain");
        });
        server.post("/echo", [](const httplib::Request& req, httplib::Response& res) {
            res.set_content(req.body, "application/json");
        });
        server.get("/broken", [](const httplib::Request&, httplib::Response& res) {
            res.status = 500;
            res.set_content("{\"error\":\"boom\"}", "application/json");
        });
        server.get("/slow", [this](const httplib::Request&, httplib::Response& res) {
            server.holdUntilReleased();
            res.set_content("late", "text/plain");
        });
        server.get("/old", [](const httplib::Request&, httplib::Response& res) {
            res.set_redirect("/hello", 302);
        });
        server.post("/form", [](const httplib::Request&, httplib::Response& res) {
            res.set_redirect("/echo", 303);
        });
        server.post("/moved", [](const httplib::Request&, httplib::Response& res) {
            res.set_redirect("/echo", 307);
        });
        server.start();
    }

    LoopbackServer server;  // declared first: outlives the session's connections
    std::unique_ptr<CurlHttpSession> session = std::make_unique<CurlHttpSession>();
};

TEST_F(CurlHttpSessionTest, AnswerCarriesStatusHeadersBodyAndAddress) {
    const HttpResult result = fetch(*session, request(server.url("/hello")));
    ASSERT_FALSE(result.error);
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 200);
    EXPECT_EQ(result.response->url, server.url("/hello"));
    EXPECT_THAT(result.response->headers, ::testing::Contains(Pair("X-Answer", "42")));
    EXPECT_EQ(result.body, "hi there");
}

TEST_F(CurlHttpSessionTest, ServerErrorArrivesAsStatusAndBody) {
    const HttpResult result = fetch(*session, request(server.url("/broken")));
    ASSERT_FALSE(result.error);
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 500);
    EXPECT_EQ(result.body, "{\"error\":\"boom\"}");
}

TEST_F(CurlHttpSessionTest, SendsExactlyTheGivenHeadersAndBody) {
    HttpRequest r = request(server.url("/echo"), "post");
    r.headers = {{"accept", "application/json"},
                 {"Content-Type", "application/json"},
                 {"User-Agent", "Quillgate-Test/1"}};
    r.body = "{\"a\":1}";
    const HttpResult result = fetch(*session, r);
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.body, "{\"a\":1}");

    const auto received = server.requests();
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].method, "POST");
    EXPECT_EQ(received[0].body, "{\"a\":1}");
    // Only the framing headers are added: Host, and Content-Length for the body.
    EXPECT_THAT(received[0].headers,
                ElementsAre(Pair("accept", "application/json"), Pair("Content-Length", "7"),
                            Pair("Content-Type", "application/json"),
                            Pair("Host", "127.0.0.1:" + std::to_string(server.port())),
                            Pair("User-Agent", "Quillgate-Test/1")));
}

TEST_F(CurlHttpSessionTest, PlainGetCarriesNoHeaderButHost) {
    const HttpResult result = fetch(*session, request(server.url("/echo"), "get"));
    EXPECT_EQ(result.body, "get");
    const auto received = server.requests();
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].method, "GET");
    EXPECT_THAT(received[0].headers,
                ElementsAre(Pair("Host", "127.0.0.1:" + std::to_string(server.port()))));
}

TEST_F(CurlHttpSessionTest, PostWithoutBodySendsEmptyBody) {
    const HttpResult result = fetch(*session, request(server.url("/echo"), "post"));
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 200);
    EXPECT_EQ(server.requests().at(0).header("Content-Length"), "0");
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

TEST_F(CurlHttpSessionTest, CompletionRunsOnTheSessionThread) {
    Awaited<HttpResult> done;
    session->dataTask(request(server.url("/hello")), done.completion());
    done.get();
    EXPECT_NE(done.threadId(), std::this_thread::get_id());
}

TEST_F(CurlHttpSessionTest, TimeOutIsATransportError) {
    HttpRequest r = request(server.url("/slow"));
    r.timeoutSeconds = 0.2;
    const HttpResult result = fetch(*session, r);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, 28);
    EXPECT_FALSE(result.error->message.empty());
    EXPECT_FALSE(result.response);
    EXPECT_FALSE(result.body);
}

TEST_F(CurlHttpSessionTest, ClosedPortIsConnectionRefused) {
    // A socket bound but not listening: its port is taken and refuses connections.
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    socklen_t length = sizeof(address);
    ASSERT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const int port = ntohs(address.sin_port);

    const HttpResult result =
        fetch(*session, request("http://127.0.0.1:" + std::to_string(port) + "/x"));
    ::close(fd);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, 7);
    EXPECT_EQ(result.response.has_value() ? result.response->statusCode : 0, 0);
}

TEST_F(CurlHttpSessionTest, MalformedAddressIsATransportErrorNotACrash) {
    for (const char* address : {"", "not an address", "ftp://127.0.0.1/x", "http://[::1"}) {
        const HttpResult result = fetch(*session, request(address));
        EXPECT_TRUE(result.error) << address;
        EXPECT_FALSE(result.response) << address;
    }
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST_F(CurlHttpSessionTest, RedirectIsFollowedToTheFinalAddress) {
    const HttpResult result = fetch(*session, request(server.url("/old")));
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 200);
    EXPECT_EQ(result.response->url, server.url("/hello"));
    EXPECT_EQ(result.body, "hi there");
    // The headers are those of the last answer.
    EXPECT_THAT(result.response->headers, ::testing::Contains(Pair("X-Answer", "42")));
    EXPECT_THAT(result.response->headers,
                ::testing::Not(::testing::Contains(Pair("Location", "/hello"))));
}

TEST_F(CurlHttpSessionTest, SeeOtherTurnsPostIntoGetButTemporaryRedirectKeepsIt) {
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
}

TEST_F(CurlHttpSessionTest, DownloadLandsInATemporaryFileRemovedAfterwards) {
    Awaited<bool> done;
    std::filesystem::path seen;
    std::string content;
    session->downloadTask(
        request(server.url("/hello")), [&, finish = done.completion()](DownloadResult result) {
            if (result.location) {
                seen = *result.location;
                std::ifstream in(seen, std::ios::binary);
                std::ostringstream read;
                read << in.rdbuf();
                content = read.str();
            }
            finish(result.response && result.response->statusCode == 200 && !result.error);
        });
    EXPECT_TRUE(done.get());
    EXPECT_EQ(content, "hi there");
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.parent_path(), std::filesystem::temp_directory_path());
    // The file goes once the completion has returned; the worker does that before it takes
    // up the next request, so one more round trip orders the check after it.
    fetch(*session, request(server.url("/hello")));
    EXPECT_FALSE(std::filesystem::exists(seen));
}

TEST_F(CurlHttpSessionTest, DownloadMovedAwayByTheCompletionIsKept) {
    const auto target = std::filesystem::temp_directory_path() /
                        ("quillgate-test-kept-" + std::to_string(::getpid()));
    Awaited<bool> done;
    session->downloadTask(request(server.url("/hello")),
                          [&, finish = done.completion()](DownloadResult result) {
                              std::error_code ec;
                              std::filesystem::rename(*result.location, target, ec);
                              finish(!ec);
                          });
    EXPECT_TRUE(done.get());
    EXPECT_EQ(std::filesystem::file_size(target), 8u);
    std::filesystem::remove(target);
}

TEST_F(CurlHttpSessionTest, FailedDownloadHasNoFile) {
    Awaited<DownloadResult> done;
    HttpRequest r = request(server.url("/slow"));
    r.timeoutSeconds = 0.1;
    session->downloadTask(r, done.completion());
    const DownloadResult result = done.get();
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, 28);
    EXPECT_FALSE(result.location);
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
    ASSERT_EQ(server.heldCount(), 2);
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

}  // namespace
}  // namespace quillgate::platform

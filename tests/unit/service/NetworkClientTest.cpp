#include "quillgate/service/NetworkClient.h"

#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/records/AccountRecords.h"
#include "quillgate/service/NetworkProperties.h"
#include "quillgate/service/Toast.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Label.h"
#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::TestPlatform;

struct Heard {
    std::optional<std::string> data;
    std::optional<RequestError> error;
    long status = -1;
    std::thread::id thread;
};

class NetworkClientTest : public ::testing::Test {
  protected:
    NetworkClientTest() {
        QuillgateClient::shared().configure(Mode::local, "cl");
        QuillgateClient::shared().debugMode = true;
        ui::Application::shared().showWindow();
    }

    platform::HttpRequest contentRequest() {
        return NetworkProperties::getRequest(json{{"clientId", "cl"}}, false, Endpoint::content());
    }

    // Sends a request and keeps what its completion hears.
    std::vector<Heard> sendAndRun() {
        auto owner = std::make_shared<int>(0);
        auto heard = std::make_shared<std::vector<Heard>>();
        NetworkClient::shared().send(
            contentRequest(), owner, [heard](auto data, auto error, long status) {
                heard->push_back({data, error, status, std::this_thread::get_id()});
            });
        tp.runPending();
        return *heard;
    }

    // Runs a body through the common outline and reports whether it counted as success.
    bool outline(long status, std::string body) {
        tp.http().clearRules();
        tp.http().answer("/content", status, std::move(body));
        bool succeeded = false;
        NetworkClient::shared().send(
            contentRequest(), NetworkClient::commonOutline([&](const std::string& success) {
                succeeded = true;
                auto model = NetworkClient::decodeReporting<ContentDetails>(success);
                (void)model;
            }));
        tp.runPending();
        return succeeded;
    }

    std::optional<std::string> toastText() {
        const auto& view = Toast::shared().toastView;
        if (!view || view->subviews().empty()) {
            return std::nullopt;
        }
        return std::dynamic_pointer_cast<ui::Label>(view->subviews().front())->text();
    }

    TestPlatform tp;
};

TEST_F(NetworkClientTest, AnAnswerIsPrintedAndHandedBackOnTheMainQueue) {
    tp.http().answer("/content", 200, R"({"b":[1,"x/y"],"a":"q\"uote"})");
    auto heard = sendAndRun();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0].data, R"({"b":[1,"x/y"],"a":"q\"uote"})");
    EXPECT_FALSE(heard[0].error);
    EXPECT_EQ(heard[0].status, 200);
    EXPECT_EQ(heard[0].thread, std::this_thread::get_id());

    EXPECT_TRUE(tp.printed("API Request::http://127.0.0.1:3001/api/v1/content?clientId=cl"));
    EXPECT_TRUE(tp.printed(
        R"(API Response::Optional("{\n  \"a\" : \"q\\\"uote\",\n  \"b\" : [\n    1,\n    \"x\\/y\"\n  ]\n}"))"));

    // The printed text drops double backslashes and is nil for what is no JSON.
    EXPECT_EQ(NetworkClient::responseDescription(R"({"p":"a\\b"})"),
              R"(Optional("{\n  \"p\" : \"ab\"\n}"))");
    // Pairs go left to right: three backslashes in the text are six written, all removed; a
    // quote's escape is a single backslash, which stays (quoted again).
    EXPECT_EQ(NetworkClient::responseDescription(R"(["\\\\\\", "a\\b\"", "\\\\\"c"])"),
              R"(Optional("[\n  \"\",\n  \"ab\\\"\",\n  \"\\\"c\"\n]"))");
    EXPECT_EQ(NetworkClient::responseDescription(""), "nil");
    EXPECT_EQ(NetworkClient::responseDescription("<html>"), "nil");
}

TEST_F(NetworkClientTest, NothingIsHandedBackWithoutANetworkABodyOrAnOwner) {
    tp.reachability().set(false);
    tp.http().answer("/content", 200, "{}");
    auto heard = sendAndRun();
    EXPECT_TRUE(heard.empty());
    EXPECT_EQ(tp.http().requestCount(), 0u);
    EXPECT_TRUE(tp.printed("No internet Connection"));

    // An answer without a body is never handed back.
    tp.reachability().set(true);
    tp.http().clearRules();
    platform::HttpResult result;
    result.response = platform::HttpResponse{200, {}, {}};
    tp.http().addRule({"", "/content", result, false});
    EXPECT_TRUE(sendAndRun().empty());
    EXPECT_TRUE(tp.printed("Error: No data received"));
    EXPECT_FALSE(tp.printedContaining("API Request::"));

    // Nor is an answer for an owner that has gone.
    tp.http().answer("/content", 200, "{}");
    auto owner = std::make_shared<int>(0);
    int calls = 0;
    NetworkClient::shared().send(contentRequest(), owner, [&](auto, auto, long) { ++calls; });
    owner.reset();
    tp.runPending();
    EXPECT_EQ(calls, 0);
}

// Completes every request without an answer on a thread of its own, as the real session does
// when there is none, and lets its completion go on that thread.
class ThreadedFailingSession final : public platform::HttpSession {
  public:
    ~ThreadedFailingSession() override { join(); }
    void dataTask(platform::HttpRequest, std::function<void(platform::HttpResult)> done) override {
        workers_.emplace_back([done = std::move(done)]() mutable {
            done(platform::HttpResult{std::nullopt, std::nullopt,
                                      platform::TransportError{7, "Couldn't connect to server"}});
            done = nullptr;
        });
    }
    void downloadTask(platform::HttpRequest,
                      std::function<void(platform::DownloadResult)>) override {}
    void join() {
        for (auto& worker : workers_) {
            if (worker.joinable()) {
                worker.join();
            }
        }
    }

  private:
    std::vector<std::thread> workers_;
};

// Something a screen or the client would be: notes the thread it dies on.
struct Witness {
    explicit Witness(std::thread::id& diedOn) : diedOn(diedOn) {}
    ~Witness() { diedOn = std::this_thread::get_id(); }
    std::thread::id& diedOn;
};

// The no-answer completion runs on the session's thread while the main thread lets go of the
// request's owner and of a screen the completion holds: neither may die on the session's
// thread; both go when the main queue runs next.
TEST(NetworkClientThreads, WhatTheMainThreadLetsGoNeverDiesOnTheSessionsThread) {
    TestPlatform tp;
    auto session = std::make_shared<ThreadedFailingSession>();
    tp.useHttp(session);
    QuillgateClient::shared().configure(Mode::local, "cl");

    std::thread::id ownerDiedOn;
    std::thread::id screenDiedOn;
    auto owner = std::make_shared<Witness>(ownerDiedOn);
    auto screen = std::make_shared<Witness>(screenDiedOn);
    std::promise<void> inCompletion;
    std::promise<void> letGo;
    std::thread::id completedOn;
    NetworkClient::shared().send(
        NetworkProperties::getRequest(json{{"clientId", "cl"}}, false, Endpoint::content()),
        std::weak_ptr<const void>(owner),
        [&, screen, letGoDone = letGo.get_future().share()](auto, auto, long) {
            completedOn = std::this_thread::get_id();
            inCompletion.set_value();
            letGoDone.wait();  // the main thread drops its references meanwhile
        });
    inCompletion.get_future().wait();
    owner.reset();
    screen.reset();
    letGo.set_value();
    session->join();

    EXPECT_NE(completedOn, std::this_thread::get_id());
    EXPECT_EQ(ownerDiedOn, std::thread::id());  // both still alive: handed to the main queue
    EXPECT_EQ(screenDiedOn, std::thread::id());
    tp.runPending();
    EXPECT_EQ(ownerDiedOn, std::this_thread::get_id());
    EXPECT_EQ(screenDiedOn, std::this_thread::get_id());
}

TEST_F(NetworkClientTest, TransportErrors) {
    // No response at all: handed over at once with someThingWentWrong and status 0.
    tp.http().fail("/content");
    auto heard = sendAndRun();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_FALSE(heard[0].data);
    ASSERT_TRUE(heard[0].error && heard[0].error->custom);
    EXPECT_EQ(*heard[0].error->custom, CustomError::someThingWentWrong);
    EXPECT_EQ(heard[0].status, 0);
    EXPECT_FALSE(tp.printedContaining("API Request::"));

    // A response and a body beside an error: printed, then the error without the body.
    tp.http().clearRules();
    platform::HttpResult result;
    result.response = platform::HttpResponse{502, {}, {}};
    result.body = "partial";
    result.error = platform::TransportError{56, "connection reset"};
    tp.http().addRule({"", "/content", result, false});
    heard = sendAndRun();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_FALSE(heard[0].data);
    ASSERT_TRUE(heard[0].error && heard[0].error->transport);
    EXPECT_EQ(heard[0].error->transport->code, 56);
    EXPECT_EQ(heard[0].status, 502);
    EXPECT_TRUE(tp.printed("API Response::nil"));
}

TEST_F(NetworkClientTest, OnlyTwoHundredAndTwoHundredOneSucceed) {
    const std::vector<std::pair<long, const char*>> failures = {
        {204, "someThingWentWrong"}, {500, "someThingWentWrong"}, {404, "wrongClientOrContentID"}};
    for (const auto& [status, line] : failures) {
        tp.clearLines();
        EXPECT_FALSE(outline(status, "{}")) << status;
        EXPECT_TRUE(tp.printed(line)) << status;
    }
    EXPECT_FALSE(toastText());

    EXPECT_TRUE(outline(201, "{}"));
    EXPECT_TRUE(outline(200, ""));  // a success whose body then fails to decode
    EXPECT_TRUE(tp.lines().back().starts_with("Data corrupted error: ")) << tp.lines().back();
}

TEST_F(NetworkClientTest, BadRequestToastsTheServicesFirstMessage) {
    EXPECT_FALSE(outline(400, R"({"statusCode":400,"message":["Bad id","Other"]})"));
    EXPECT_EQ(toastText(), "Bad id");

    EXPECT_FALSE(outline(400, R"({"statusCode":400,"message":[]})"));
    EXPECT_EQ(toastText(), "Invalid Details");
    EXPECT_FALSE(outline(400, R"({"error":"Bad Request"})"));
    EXPECT_EQ(toastText(), "Invalid Details");

    tp.clearLines();
    Toast::shared().toastView.reset();
    EXPECT_FALSE(outline(400, R"({"message":"not a list"})"));
    EXPECT_TRUE(tp.printed("decodingError"));
    EXPECT_FALSE(toastText());
}

TEST_F(NetworkClientTest, DecodeFailuresPrintTheChosenFamily) {
    const std::string body = R"({"type":5})";
    EXPECT_FALSE(
        NetworkClient::decodeReporting<PopUpModel>(body, NetworkClient::FailureLines::shortFamily));
    EXPECT_TRUE(tp.lines().back().starts_with("error String, value ")) << tp.lines().back();
    EXPECT_FALSE(NetworkClient::decodeReporting<PopUpModel>(body));
    EXPECT_TRUE(tp.lines().back().starts_with("Type mismatch error: String, value "))
        << tp.lines().back();
}

}  // namespace
}  // namespace quillgate

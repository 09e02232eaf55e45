#pragma once

// A client in the local mode that talks through the curl session to the local access service
// on ephemeral loopback ports, for tests that walk an article over the wire.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/linux/CurlHttpSession.h"
#include "quillgate/ui/View.h"
#include "tests/support/LocalService.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"
#include "tools/devserver/DevServer.h"

namespace quillgate::testing {

inline const std::string kLocked = "purchasedOrNot(accessTime: false)";
inline const std::string kLetIn = "purchasedOrNot(accessTime: true)";
inline constexpr const char* kDemoClient = "quillgate-demo";

class LoopbackClientTest : public ::testing::Test {
  protected:
    explicit LoopbackClientTest(devserver::WallClock clock = {})
        : dev(ephemeralService(std::move(clock))) {
        started = dev.start();
        tp.useHttp(std::make_shared<platform::CurlHttpSession>());
        dev.pointAt(QuillgateClient::shared().deployment);
        QuillgateClient::shared().configure(Mode::local, kDemoClient);
    }

    void SetUp() override { ASSERT_TRUE(started.ok) << started.error; }

    void showPayWall(const std::string& contentID) {
        QuillgateClient::shared().showPayWall(contentID, "A story", std::nullopt, std::nullopt,
                                              std::nullopt, std::nullopt, std::nullopt,
                                              std::nullopt, parent, host, host, host, host, host);
    }

    // Sequence numbers of the service's requests whose path holds `part`, in order.
    std::vector<uint64_t> served(const std::string& part) {
        std::vector<uint64_t> found;
        for (const auto& entry : dev.controls().requests()) {
            if (entry.path.find(part) != std::string::npos) {
                found.push_back(entry.sequence);
            }
        }
        return found;
    }

    // Runs the main queue until `done` holds (answers come from the session's thread).
    bool waitFor(const std::function<bool()>& done, int seconds = 30) {
        return tp.loop().runUntil(done, std::chrono::seconds(seconds));
    }

    devserver::DevServer dev;
    TestPlatform tp;  // after the server: its HTTP session closes first
    devserver::StartResult started;
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 844));
    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
};

}  // namespace quillgate::testing

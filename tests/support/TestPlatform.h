#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/platform/Platform.h"
#include "tests/support/FixedAdvanceTextLayout.h"
#include "tests/support/ScriptedHttpSession.h"

namespace quillgate::testing {

// A font system that knows only what a test registers with it.
class FakeFontSystem final : public platform::FontSystem {
  public:
    std::optional<std::string> postScriptName(const std::filesystem::path& file) override;
    bool registerFontFile(const std::filesystem::path& file) override;
    bool isRegistered(const std::string& postScriptName) override;

    // Files whose name (without extension) is listed here are fonts with that PostScript name.
    // Downloads register from the HTTP session's thread: read it once the loop has settled.
    std::vector<std::string> registered;

  private:
    std::mutex mutex_;
};

// Starts a test from a clean process state and installs a platform made for tests: a manual
// clock, a run loop on it, a scripted HTTP session, user defaults in memory, a network that is
// up, a fake font system, a fixed-advance text layout (exact text sizes on any machine), a
// fresh temporary state directory, predictable UUIDs, and a log sink that keeps every printed
// line. Its destructor resets the process state again and removes the directory. Construct one
// per test (typically as a fixture member), on the main thread.
class TestPlatform {
  public:
    TestPlatform();
    ~TestPlatform();
    TestPlatform(const TestPlatform&) = delete;
    TestPlatform& operator=(const TestPlatform&) = delete;

    platform::Platform& platform() { return *platform_; }
    platform::ManualClock& clock() { return *clock_; }
    platform::RunLoop& loop() { return *platform_->runLoop; }
    ScriptedHttpSession& http() { return *http_; }
    platform::MemoryKeyValueStore& defaults() { return *defaults_; }
    platform::FixedReachability& reachability() { return *reachability_; }
    FakeFontSystem& fonts() { return *fonts_; }
    FixedAdvanceTextLayout& textLayout() { return *textLayout_; }
    const std::filesystem::path& stateDirectory() const { return platform_->stateDirectory; }

    // Replaces the HTTP session (e.g. with the real curl session for integration tests).
    void useHttp(std::shared_ptr<platform::HttpSession> session);

    // Every line printed so far, in order.
    std::vector<std::string> lines() const;
    // True if some printed line equals `line`.
    bool printed(std::string_view line) const;
    // True if some printed line contains `part`.
    bool printedContaining(std::string_view part) const;
    // How many printed lines equal `line`.
    std::size_t countPrinted(std::string_view line) const;
    void clearLines();

    // Runs whatever is due now; then advances the manual clock by `seconds`, running work as
    // it falls due.
    void runPending() { loop().runPending(); }
    void advance(double seconds) { loop().advance(seconds); }

  private:
    std::shared_ptr<platform::Platform> platform_;
    std::shared_ptr<platform::ManualClock> clock_;
    std::shared_ptr<ScriptedHttpSession> http_;
    std::shared_ptr<platform::MemoryKeyValueStore> defaults_;
    std::shared_ptr<platform::FixedReachability> reachability_;
    std::shared_ptr<FakeFontSystem> fonts_;
    std::shared_ptr<FixedAdvanceTextLayout> textLayout_;
    mutable std::mutex linesMutex_;
    std::vector<std::string> lines_;
    int uuidCounter_ = 0;
};

}  // namespace quillgate::testing

#include "tests/support/TestPlatform.h"

#include <algorithm>
#include <cstdio>
#include <random>

namespace quillgate::testing {

std::optional<std::string> FakeFontSystem::postScriptName(const std::filesystem::path& file) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(file, ec) || std::filesystem::file_size(file, ec) == 0) {
        return std::nullopt;
    }
    return file.stem().string();
}

bool FakeFontSystem::registerFontFile(const std::filesystem::path& file) {
    auto name = postScriptName(file);
    if (!name) {
        return false;
    }
    std::lock_guard lock(mutex_);
    registered.push_back(*name);
    return true;
}

bool FakeFontSystem::isRegistered(const std::string& postScriptName) {
    std::lock_guard lock(mutex_);
    return std::find(registered.begin(), registered.end(), postScriptName) != registered.end();
}

TestPlatform::TestPlatform() {
    platform::resetProcessState();
    platform_ = std::make_shared<platform::Platform>();
    clock_ = std::make_shared<platform::ManualClock>();
    platform_->clock = clock_;
    platform_->runLoop = std::make_shared<platform::RunLoop>(clock_);
    http_ = std::make_shared<ScriptedHttpSession>(*platform_->runLoop);
    platform_->http = http_;
    defaults_ = std::make_shared<platform::MemoryKeyValueStore>();
    platform_->defaults = defaults_;
    reachability_ = std::make_shared<platform::FixedReachability>(true);
    platform_->reachability = reachability_;
    fonts_ = std::make_shared<FakeFontSystem>();
    platform_->fonts = fonts_;
    textLayout_ = std::make_shared<FixedAdvanceTextLayout>();
    platform_->textLayout = textLayout_;
    platform_->device = platform::DeviceInfo{"x86_64", "Linux", "6.1.0"};

    std::random_device rd;
    auto dir = std::filesystem::temp_directory_path() /
               ("quillgate-test-" + std::to_string(rd()) + std::to_string(rd()));
    std::filesystem::create_directories(dir / "Documents");
    platform_->stateDirectory = dir;
    platform_->documentsDirectory = dir / "Documents";

    platform_->logSink = [this](std::string_view line) {
        std::lock_guard lock(linesMutex_);
        lines_.emplace_back(line);
    };
    platform_->makeUuid = [this] {
        char text[37];
        std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012d", ++uuidCounter_);
        return std::string(text);
    };
    platform::install(platform_);
}

TestPlatform::~TestPlatform() {
    platform::resetProcessState();
    std::error_code ec;
    std::filesystem::remove_all(platform_->stateDirectory, ec);
}

void TestPlatform::useHttp(std::shared_ptr<platform::HttpSession> session) {
    platform_->http = std::move(session);
}

std::vector<std::string> TestPlatform::lines() const {
    std::lock_guard lock(linesMutex_);
    return lines_;
}

bool TestPlatform::printed(std::string_view line) const {
    return countPrinted(line) > 0;
}

bool TestPlatform::printedContaining(std::string_view part) const {
    std::lock_guard lock(linesMutex_);
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const std::string& l) { return l.find(part) != std::string::npos; });
}

std::size_t TestPlatform::countPrinted(std::string_view line) const {
    std::lock_guard lock(linesMutex_);
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line));
}

void TestPlatform::clearLines() {
    std::lock_guard lock(linesMutex_);
    lines_.clear();
}

}  // namespace quillgate::testing

#include "tools/quillgate/FileSession.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

#include "quillgate/platform/Url.h"

namespace quillgate::host {

namespace fs = std::filesystem;

namespace {

// The rest of an address behind a base, without query or fragment, percent-decoded; nothing
// when a segment would climb out of the directory.
std::optional<fs::path> relativePart(std::string rest) {
    if (const auto cut = rest.find_first_of("?#"); cut != std::string::npos) {
        rest.erase(cut);
    }
    rest = platform::url::percentDecode(rest);
    const fs::path relative = fs::path(rest).relative_path();
    for (const auto& segment : relative) {
        if (segment == "..") {
            return std::nullopt;
        }
    }
    return relative;
}

std::optional<std::string> readFile(const fs::path& file) {
    std::error_code ec;
    if (!fs::is_regular_file(file, ec)) {
        return std::nullopt;
    }
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (!in) {
        return std::nullopt;
    }
    return std::move(bytes).str();
}

platform::HttpResponse answer(long status, const std::string& url) {
    platform::HttpResponse response;
    response.statusCode = status;
    response.url = url;
    return response;
}

// A file of its own for each download, as a network session's would be.
fs::path downloadFile() {
    static std::atomic<unsigned> counter{0};
    return fs::temp_directory_path() / ("quillgate-file-session-" + std::to_string(::getpid()) +
                                        "-" + std::to_string(counter++));
}

}  // namespace

FileSession::FileSession(std::vector<Mount> mounts, std::shared_ptr<platform::HttpSession> inner,
                         std::vector<std::string> networkBases)
    : mounts_(std::move(mounts)),
      inner_(std::move(inner)),
      networkBases_(std::move(networkBases)),
      worker_([this] { work(); }) {}

FileSession::~FileSession() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    worker_.join();
}

std::optional<fs::path> FileSession::fileFor(const std::string& address) const {
    for (const Mount& mount : mounts_) {
        std::optional<std::string> rest;
        if (mount.base.empty()) {
            if (const auto parsed = platform::url::parse(address)) {
                rest = parsed->path;
            }
        } else if (address.starts_with(mount.base)) {
            rest = address.substr(mount.base.size());
        }
        if (!rest) {
            continue;
        }
        const auto relative = relativePart(*rest);
        // An address that tries to climb out of its directory gets no file at all.
        return relative ? mount.directory / *relative : fs::path();
    }
    return std::nullopt;
}

bool FileSession::onNetwork(const std::string& address) const {
    return inner_ &&
           std::any_of(networkBases_.begin(), networkBases_.end(), [&](const std::string& base) {
               return !base.empty() && address.starts_with(base);
           });
}

void FileSession::dataTask(platform::HttpRequest request,
                           std::function<void(platform::HttpResult)> completion) {
    const auto file = fileFor(request.url);
    if (!file) {
        if (onNetwork(request.url)) {
            inner_->dataTask(std::move(request), std::move(completion));
        } else {
            enqueue([completion = std::move(completion)] {
                completion({std::nullopt, std::nullopt, platform::TransportError{7, "offline"}});
            });
        }
        return;
    }
    enqueue([file = *file, url = request.url, completion = std::move(completion)] {
        platform::HttpResult result;
        if (auto bytes = file.empty() ? std::nullopt : readFile(file)) {
            result.body = std::move(bytes);
            result.response = answer(200, url);
        } else {
            result.body = std::string();
            result.response = answer(404, url);
        }
        completion(std::move(result));
    });
}

void FileSession::downloadTask(platform::HttpRequest request,
                               std::function<void(platform::DownloadResult)> completion) {
    const auto file = fileFor(request.url);
    if (!file) {
        if (onNetwork(request.url)) {
            inner_->downloadTask(std::move(request), std::move(completion));
        } else {
            enqueue([completion = std::move(completion)] {
                completion({std::nullopt, std::nullopt, platform::TransportError{7, "offline"}});
            });
        }
        return;
    }
    enqueue([file = *file, url = request.url, completion = std::move(completion)] {
        platform::DownloadResult result;
        std::error_code ec;
        const fs::path copy = downloadFile();
        if (!file.empty() && fs::is_regular_file(file, ec) &&
            fs::copy_file(file, copy, fs::copy_options::overwrite_existing, ec)) {
            result.location = copy;
            result.response = answer(200, url);
        } else {
            result.response = answer(404, url);
        }
        completion(std::move(result));
        fs::remove(copy, ec);
    });
}

void FileSession::enqueue(std::function<void()> job) {
    {
        std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    wake_.notify_one();
}

void FileSession::work() {
    for (;;) {
        std::function<void()> job;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
            if (jobs_.empty()) {
                return;
            }
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        job();
    }
}

}  // namespace quillgate::host

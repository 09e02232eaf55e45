#include "tests/support/ScriptedHttpSession.h"

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace quillgate::testing {

void ScriptedHttpSession::answer(std::string urlContains, long status, std::string body,
                                 std::string method, bool once) {
    platform::HttpResult result;
    result.body = std::move(body);
    result.response = platform::HttpResponse{status, {}, {}};
    addRule(Rule{std::move(method), std::move(urlContains), std::move(result), once});
}

void ScriptedHttpSession::fail(std::string urlContains, int code, std::string method) {
    platform::HttpResult result;
    result.error = platform::TransportError{code, "scripted transport error"};
    addRule(Rule{std::move(method), std::move(urlContains), std::move(result), false});
}

void ScriptedHttpSession::addRule(Rule rule) {
    std::lock_guard lock(mutex_);
    rules_.push_back(std::move(rule));
}

void ScriptedHttpSession::clearRules() {
    std::lock_guard lock(mutex_);
    rules_.clear();
}

platform::HttpResult ScriptedHttpSession::resultFor(const platform::HttpRequest& request) {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    for (auto it = rules_.begin(); it != rules_.end(); ++it) {
        const bool methodFits = it->method.empty() || it->method == request.method;
        const bool urlFits =
            it->urlContains.empty() || request.url.find(it->urlContains) != std::string::npos;
        if (methodFits && urlFits) {
            auto result = it->result;
            if (result.response) {
                result.response->url = request.url;
            }
            if (it->once) {
                rules_.erase(it);
            }
            return result;
        }
    }
    platform::HttpResult refused;
    refused.error = platform::TransportError{7, "no scripted answer for " + request.url};
    return refused;
}

void ScriptedHttpSession::dataTask(platform::HttpRequest request,
                                   std::function<void(platform::HttpResult)> completion) {
    auto result = resultFor(request);
    auto deliver = [completion = std::move(completion), result = std::move(result)] {
        completion(result);
    };
    std::lock_guard lock(mutex_);
    if (hold_) {
        held_.push_back(std::move(deliver));
    } else {
        loop_.async(std::move(deliver));
    }
}

void ScriptedHttpSession::downloadTask(platform::HttpRequest request,
                                       std::function<void(platform::DownloadResult)> completion) {
    auto result = resultFor(request);
    platform::DownloadResult download;
    download.response = result.response;
    download.error = result.error;
    if (result.body) {
        static int counter = 0;
        auto path =
            std::filesystem::temp_directory_path() /
            ("quillgate-scripted-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
        std::ofstream(path, std::ios::binary) << *result.body;
        download.location = path;
    }
    auto deliver = [completion = std::move(completion), download = std::move(download)] {
        completion(download);
        if (download.location) {
            std::error_code ec;
            std::filesystem::remove(*download.location, ec);
        }
    };
    std::lock_guard lock(mutex_);
    if (hold_) {
        held_.push_back(std::move(deliver));
    } else {
        loop_.async(std::move(deliver));
    }
}

std::vector<platform::HttpRequest> ScriptedHttpSession::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::size_t ScriptedHttpSession::requestCount() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

std::vector<platform::HttpRequest> ScriptedHttpSession::requestsTo(const std::string& part) const {
    std::lock_guard lock(mutex_);
    std::vector<platform::HttpRequest> out;
    for (const auto& r : requests_) {
        if (r.url.find(part) != std::string::npos) {
            out.push_back(r);
        }
    }
    return out;
}

std::size_t ScriptedHttpSession::deliverHeld() {
    std::deque<std::function<void()>> held;
    {
        std::lock_guard lock(mutex_);
        held.swap(held_);
    }
    for (auto& d : held) {
        d();
    }
    return held.size();
}

}  // namespace quillgate::testing

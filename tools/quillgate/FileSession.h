#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "quillgate/platform/HttpSession.h"

// An HTTP session that answers from files on disk instead of the network, for pictures made
// offline (`preview --fonts DIR --files DIR`). Each mount pairs an address base with a
// directory: an address that starts with the base is the file at the rest of the address
// under that directory. A mount with an empty base takes any address by its path ("/a/b.png"
// is DIR/a/b.png). The first mount that matches answers; a matching address without a file
// answers 404. Addresses no mount takes go to the session underneath only when they start
// with one of the network bases; all others end in a transport error, as if offline. Like every
// session, completions run on the session's own thread, here one worker that the destructor joins.
// Thread-safe.
namespace quillgate::host {

class FileSession final : public platform::HttpSession {
  public:
    struct Mount {
        std::string base;
        std::filesystem::path directory;
    };

    FileSession(std::vector<Mount> mounts, std::shared_ptr<platform::HttpSession> inner,
                std::vector<std::string> networkBases);
    ~FileSession() override;
    FileSession(const FileSession&) = delete;
    FileSession& operator=(const FileSession&) = delete;

    void dataTask(platform::HttpRequest request,
                  std::function<void(platform::HttpResult)> completion) override;
    void downloadTask(platform::HttpRequest request,
                      std::function<void(platform::DownloadResult)> completion) override;

    // The file that answers `address`, or nothing when no mount takes it. Never throws.
    std::optional<std::filesystem::path> fileFor(const std::string& address) const;

  private:
    bool onNetwork(const std::string& address) const;
    void enqueue(std::function<void()> job);
    void work();

    std::vector<Mount> mounts_;
    std::shared_ptr<platform::HttpSession> inner_;
    std::vector<std::string> networkBases_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> jobs_;
    bool stopping_ = false;
    std::thread worker_;
};

}  // namespace quillgate::host

#include "quillgate/platform/linux/FileKeyValueStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

#include "quillgate/platform/Log.h"

namespace quillgate::platform {

namespace fs = std::filesystem;

namespace {

// Writes all of `data` to `fd`, retrying short writes and interruptions.
bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// Flushes a directory's entries (the rename) to disk.
bool syncDirectory(const fs::path& dir) {
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

// The first of "<file>.corrupt", "<file>.corrupt.1", ... that does not exist yet, so that an
// earlier corrupt file is not overwritten either.
fs::path asidePath(const fs::path& file) {
    fs::path candidate = file;
    candidate += ".corrupt";
    std::error_code ec;
    for (int i = 1; fs::exists(candidate, ec) && i < 1000; ++i) {
        candidate = file;
        candidate += ".corrupt." + std::to_string(i);
    }
    return candidate;
}

}  // namespace

FileKeyValueStore::FileKeyValueStore(fs::path file) : file_(std::move(file)) {
    load();
}

FileKeyValueStore::~FileKeyValueStore() {
    if (dirty_) {
        write();
    }
}

void FileKeyValueStore::load() {
    std::error_code ec;
    if (!fs::exists(file_, ec)) {
        return;  // a first start: nothing stored yet
    }
    std::ifstream in(file_, std::ios::binary);
    std::ostringstream content;
    bool readable = false;
    if (in) {
        content << in.rdbuf();
        readable = !in.bad();
    }
    if (readable) {
        nlohmann::json parsed = nlohmann::json::parse(content.str(), nullptr, false);
        if (parsed.is_object()) {
            values_ = std::move(parsed);
            return;
        }
    }
    log("Quillgate: user defaults unreadable, starting empty: " + file_.string());
    fs::rename(file_, asidePath(file_), ec);
}

std::optional<nlohmann::json> FileKeyValueStore::object(const std::string& key) const {
    const auto it = values_.find(key);
    if (it == values_.end()) {
        return std::nullopt;
    }
    return *it;
}

void FileKeyValueStore::setObject(const nlohmann::json& value, const std::string& key) {
    values_[key] = value;
    dirty_ = true;
}

void FileKeyValueStore::removeObject(const std::string& key) {
    if (values_.erase(key) > 0) {
        dirty_ = true;
    }
}

bool FileKeyValueStore::synchronize() {
    if (!dirty_) {
        return true;
    }
    if (!write()) {
        return false;
    }
    dirty_ = false;
    return true;
}

bool FileKeyValueStore::write() {
    // Invalid UTF-8 in a stored text is written with replacement characters rather than
    // failing the whole file.
    const std::string text =
        values_.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    const fs::path dir = file_.has_parent_path() ? file_.parent_path() : fs::path(".");

    auto fail = [&](const char* what, int error, const std::string& temporary) {
        if (!temporary.empty()) {
            ::unlink(temporary.c_str());
        }
        log("Quillgate: could not write user defaults (" + std::string(what) + ": " +
            std::strerror(error) + "): " + file_.string());
        return false;
    };

    std::error_code ec;
    fs::create_directories(dir, ec);
    std::string temporary = (dir / (file_.filename().string() + ".tmp-XXXXXX")).string();
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        return fail("create", errno, {});
    }
    if (!writeAll(fd, text)) {
        const int error = errno;
        ::close(fd);
        return fail("write", error, temporary);
    }
    if (::fsync(fd) != 0) {
        const int error = errno;
        ::close(fd);
        return fail("flush", error, temporary);
    }
    if (::close(fd) != 0) {
        return fail("close", errno, temporary);
    }
    if (::rename(temporary.c_str(), file_.c_str()) != 0) {
        return fail("rename", errno, temporary);
    }
    // The new file is in place; flushing the directory makes the rename itself durable. A
    // failure here is not worth a line: the data is written.
    syncDirectory(dir);
    return true;
}

}  // namespace quillgate::platform

#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "quillgate/platform/KeyValueStore.h"

namespace quillgate::platform {

// The user defaults of the Linux platform: one JSON object in one file (by default
// <state directory>/defaults.json).
//
// The file is read once, at construction; from then on the store works from memory and writes
// the whole object back on `synchronize` and from its destructor (at exit), if anything
// changed. A write goes to a temporary file in the same directory, is flushed to disk, renamed
// over the old file and the directory is flushed too: a crash leaves either the old or the new
// file, never a torn one.
//
// A file that cannot be read as a JSON object (torn by another program, corrupt, not an
// object) reads as empty, with one printed line, and is renamed aside to "<name>.corrupt" so
// that nothing stored is lost without a trace. A failed write prints one line and returns
// false; the values stay in memory and the next synchronize tries again. Nothing throws.
//
// Owned by the platform; main thread only, like every KeyValueStore.
class FileKeyValueStore final : public KeyValueStore {
  public:
    explicit FileKeyValueStore(std::filesystem::path file);
    ~FileKeyValueStore() override;
    FileKeyValueStore(const FileKeyValueStore&) = delete;
    FileKeyValueStore& operator=(const FileKeyValueStore&) = delete;

    std::optional<nlohmann::json> object(const std::string& key) const override;
    void setObject(const nlohmann::json& value, const std::string& key) override;
    void removeObject(const std::string& key) override;
    bool synchronize() override;

    const std::filesystem::path& file() const { return file_; }

  private:
    void load();
    bool write();

    std::filesystem::path file_;
    nlohmann::json values_ = nlohmann::json::object();
    bool dirty_ = false;
};

}  // namespace quillgate::platform

#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "quillgate/Export.h"

namespace quillgate::platform {

// The user defaults: a small persistent map from key to a JSON value. Main thread only.
// Writes are visible at once to readers; `synchronize` makes them durable. An implementation
// that cannot persist prints one line and keeps working from memory: a store never throws.
class QUILLGATE_EXPORT KeyValueStore {
  public:
    virtual ~KeyValueStore() = default;

    virtual std::optional<nlohmann::json> object(const std::string& key) const = 0;
    virtual void setObject(const nlohmann::json& value, const std::string& key) = 0;
    virtual void removeObject(const std::string& key) = 0;
    // Writes what is in memory to lasting storage. Returns false if that failed.
    virtual bool synchronize() = 0;

    // A stored text; any other stored value reads as absent.
    std::optional<std::string> string(const std::string& key) const;
    // setValue:forKey: semantics: a value sets the key, no value removes it.
    void setValue(const std::optional<nlohmann::json>& value, const std::string& key);
};

// A store in memory only, for tests; can be told to fail its next synchronisations.
class QUILLGATE_EXPORT MemoryKeyValueStore final : public KeyValueStore {
  public:
    std::optional<nlohmann::json> object(const std::string& key) const override;
    void setObject(const nlohmann::json& value, const std::string& key) override;
    void removeObject(const std::string& key) override;
    bool synchronize() override;

    void failSynchronize(bool fail) { failSynchronize_ = fail; }
    int synchronizeCount() const { return synchronizeCount_; }
    const nlohmann::json& contents() const { return values_; }

  private:
    nlohmann::json values_ = nlohmann::json::object();
    bool failSynchronize_ = false;
    int synchronizeCount_ = 0;
};

}  // namespace quillgate::platform

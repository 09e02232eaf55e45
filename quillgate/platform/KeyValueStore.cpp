#include "quillgate/platform/KeyValueStore.h"

namespace quillgate::platform {

std::optional<std::string> KeyValueStore::string(const std::string& key) const {
    auto value = object(key);
    if (!value || !value->is_string()) {
        return std::nullopt;
    }
    return value->get<std::string>();
}

void KeyValueStore::setValue(const std::optional<nlohmann::json>& value, const std::string& key) {
    if (value && !value->is_null()) {
        setObject(*value, key);
    } else {
        removeObject(key);
    }
}

std::optional<nlohmann::json> MemoryKeyValueStore::object(const std::string& key) const {
    auto it = values_.find(key);
    if (it == values_.end()) {
        return std::nullopt;
    }
    return *it;
}

void MemoryKeyValueStore::setObject(const nlohmann::json& value, const std::string& key) {
    values_[key] = value;
}

void MemoryKeyValueStore::removeObject(const std::string& key) {
    values_.erase(key);
}

bool MemoryKeyValueStore::synchronize() {
    ++synchronizeCount_;
    return !failSynchronize_;
}

}  // namespace quillgate::platform

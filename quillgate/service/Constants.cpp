#include "quillgate/service/Constants.h"

#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"

namespace quillgate {

namespace {

constexpr const char* kNewAnonymousID = "New Anonymous ID: ";
constexpr const char* kExistingAnonymousID = "Existing Anonymous ID: ";
constexpr const char* kNewPingID = "New PingID: ";
constexpr const char* kExistingPingID = "Existing PingID: ";
constexpr const char* kExistingClientUserId = "Existing clientUserId: ";

// The process-wide values, in one shared instance so a process reset starts them over.
struct ProcessValues {
    std::string userID;
    std::string clientUserId;
    bool isNewReader = false;
    std::string accessType;
    int unlockedStatus = 0;
    int active = 1;
    int lastActiveStatus = 1;
    int counter = 1;
};

ProcessValues& values() {
    return platform::sharedInstance<ProcessValues>();
}

// An identity that is made on first read and then kept for good.
std::string identity(const char* key, const char* newLine, const char* existingLine,
                     bool& created) {
    auto& defaults = platform::userDefaults();
    if (auto stored = defaults.string(key)) {
        platform::log(existingLine + *stored);
        created = false;
        return *stored;
    }
    std::string made = platform::makeUuid();
    defaults.setObject(made, key);
    platform::log(newLine + made);
    created = true;
    return made;
}

// The one write path of the session and the challenge: set or remove, then synchronise.
void setAndSynchronize(const std::optional<std::string>& value, const char* key) {
    auto& defaults = platform::userDefaults();
    if (value) {
        defaults.setValue(nlohmann::json(*value), key);
    } else {
        defaults.setValue(std::nullopt, key);
    }
    defaults.synchronize();
}

}  // namespace

std::string Constants::anonymousID() {
    bool created = false;
    std::string id = identity(anonymousIDKey, kNewAnonymousID, kExistingAnonymousID, created);
    if (created) {
        values().isNewReader = true;
    }
    return id;
}

std::string Constants::pingID() {
    bool created = false;
    return identity(pingIDKey, kNewPingID, kExistingPingID, created);
}

void Constants::removePingID() {
    platform::userDefaults().removeObject(pingIDKey);
}

std::string Constants::storedClientUserId() {
    auto stored = platform::userDefaults().string(clientUserIdKey);
    if (!stored) {
        return "";
    }
    platform::log(kExistingClientUserId + *stored);
    return *stored;
}

void Constants::setStoredClientUserId(const std::string& value) {
    platform::userDefaults().setObject(value, clientUserIdKey);
}

std::optional<std::string> Constants::sessionID() {
    return platform::userDefaults().string(sessionIDKey);
}

void Constants::setSessionID(const std::optional<std::string>& value) {
    setAndSynchronize(value, sessionIDKey);
}

std::optional<std::string> Constants::loginChallenge() {
    return platform::userDefaults().string(loginChallengeKey);
}

void Constants::setLoginChallenge(const std::optional<std::string>& value) {
    setAndSynchronize(value, loginChallengeKey);
}

void Constants::clearSession() {
    setSessionID(std::nullopt);
    userID().clear();
}

void Constants::clearSignIn() {
    clearSession();
    setLoginChallenge(std::nullopt);
    clientUserId().clear();
    setStoredClientUserId("");
}

std::string& Constants::userID() {
    return values().userID;
}
std::string& Constants::clientUserId() {
    return values().clientUserId;
}
bool& Constants::isNewReader() {
    return values().isNewReader;
}
std::string& Constants::accessType() {
    return values().accessType;
}
int& Constants::unlockedStatus() {
    return values().unlockedStatus;
}
int& Constants::active() {
    return values().active;
}
int& Constants::lastActiveStatus() {
    return values().lastActiveStatus;
}
int& Constants::counter() {
    return values().counter;
}

}  // namespace quillgate

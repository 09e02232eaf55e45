#pragma once

#include <optional>
#include <string>

// What the library remembers about the reader, and the few values that several parts of the
// library share for the life of the process.
//
// Stored in the user defaults (platform::userDefaults()), surviving the process:
//   "AnonymousID"   the reader's anonymous identity, made on first read, never wiped;
//   "PingID"        the identity of the present run of pings, made on first read;
//   "clientUserId"  the host's user identity (setClientUserId), emptied on logout;
//   "sessionID"     the service's session for a signed-in reader;
//   "loginChallenge" the challenge of the web flow under way.
// The first three are written as plain objects with no synchronisation; the last two go
// through one setter that writes (or, with no value, removes) and synchronises at once.
//
// In memory only (reset with the process state): the reader's userID and the copy of the
// host's clientUserId, and the values that events and pings read: isNewReader, accessType,
// unlockedStatus, active, lastActiveStatus, counter. They are kept in a shared instance so
// that platform::resetProcessState starts them over.
//
// Main thread only: the client, the events and the ping share these without a lock because
// they all run there.
namespace quillgate {

class Constants {
  public:
    static constexpr const char* anonymousIDKey = "AnonymousID";
    static constexpr const char* pingIDKey = "PingID";
    static constexpr const char* clientUserIdKey = "clientUserId";
    static constexpr const char* sessionIDKey = "sessionID";
    static constexpr const char* loginChallengeKey = "loginChallenge";

    // The anonymous identity. The first read makes a new UUID, stores it, prints
    // "New Anonymous ID: <id>" and sets isNewReader; later reads print
    // "Existing Anonymous ID: <id>".
    static std::string anonymousID();
    // The ping identity. The first read after it was removed makes a new one and prints
    // "New PingID: <id>"; otherwise "Existing PingID: <id>".
    static std::string pingID();
    // Forgets the ping identity, so that the next pingID() makes a new one.
    static void removePingID();

    // The stored host user identity; the empty text if none is stored. A read that finds a
    // value prints "Existing clientUserId: <value>".
    static std::string storedClientUserId();
    // Stores the host user identity (an empty text is stored as it is: the key stays).
    static void setStoredClientUserId(const std::string& value);

    // The stored session and login challenge; a stored value that is not a text reads as
    // absent. Setting nothing removes the key. Each write is synchronised at once.
    static std::optional<std::string> sessionID();
    static void setSessionID(const std::optional<std::string>& value);
    static std::optional<std::string> loginChallenge();
    static void setLoginChallenge(const std::optional<std::string>& value);

    // Ending a session: removes "sessionID" and empties userID.
    static void clearSession();
    // The logout wipe: the session as above, "loginChallenge" removed, clientUserId emptied
    // and the stored "clientUserId" set to the empty text. The anonymous and ping identities
    // stay.
    static void clearSignIn();

    // In-memory values, read and written in place: `Constants::userID() = "u1";`.
    static std::string& userID();        // initially empty
    static std::string& clientUserId();  // initially empty; nothing reads it
    static bool& isNewReader();          // initially false
    static std::string& accessType();    // initially empty
    static int& unlockedStatus();        // 0 or 1, initially 0
    static int& active();                // initially 1
    static int& lastActiveStatus();      // initially 1
    static int& counter();               // initially 1
};

}  // namespace quillgate

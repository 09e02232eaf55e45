#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "quillgate/platform/Log.h"

// Why a body did not decode into a record, and the two families of lines that report it.
//
// The decoder (RecordCoding.h) produces a DecodingError the way a JSONDecoder would: a kind,
// the type it expected, the key that failed, the path of keys from the root to the failing
// value, and a sentence saying what was expected and what was found. Callers print one of
// the two line families below and end the flow of that call; nothing is thrown.
//
// Plain values, no shared state: usable on any thread.

namespace quillgate {

enum class DecodingErrorKind {
    typeMismatch,   // a value of another JSON type than declared
    valueNotFound,  // null where a value is required (required member, or a list element)
    keyNotFound,    // a required key is absent
    dataCorrupted,  // not JSON at all, or a number that doesn't fit the declared type
};

// One step of the path from the root: an object key, or a list position. A list position has
// `intValue` set and the text "Index N", as the platform's decoder names it.
struct CodingKey {
    std::string stringValue;
    std::optional<int64_t> intValue;

    bool operator==(const CodingKey&) const = default;
};

struct DecodingError {
    DecodingErrorKind kind = DecodingErrorKind::dataCorrupted;
    // The type the decoder expected at the failing place: "String", "Int", "Bool", "Double",
    // "Dictionary<String, Any>" for a record, "Array<Any>" for a list; a record's own name
    // (or "Array<Tier>") when a required value is null.
    std::string typeName;
    // The key that failed: the missing key for keyNotFound, else the last step of the path.
    std::string key;
    // From the root to the failing value. For keyNotFound it ends at the object that lacks
    // the key, like the platform's decoder.
    std::vector<CodingKey> codingPath;
    // What was expected and what was found, e.g. "Expected to decode Int but found a string
    // instead."
    std::string debugDescription;
    // The JSON parser's own message, for a body that isn't JSON; empty otherwise.
    std::string underlyingError;

    // The path as dotted keys with list positions in brackets:
    // "data.configuration.mobile.json.styleForBackground.border.mainDiv.radius",
    // "subscriptions[0].tiers[1].price". Empty at the root.
    std::string codingPathDescription() const;

    // The context, worded after the platform's description of a decoding context:
    //   Context(codingPath: "data.name", debugDescription: "Expected to decode String but
    //   found a number instead.")
    // with `, underlyingError: "..."` added when the body wasn't JSON. Texts are quoted with
    // '"' and '\' escaped, so the line stays one line whatever the body held.
    std::string contextDescription() const;

    // The error's localised description, as the platform words its decoding errors:
    // keyNotFound and valueNotFound: "The data couldn’t be read because it is missing."
    // typeMismatch and dataCorrupted: "The data couldn’t be read because it isn’t in the
    // correct format." (with the typographic apostrophe).
    std::string localizedDescription() const;

    bool operator==(const DecodingError&) const = default;
};

// The long line family, printed by most calls after a failed decode:
//   "Type mismatch error: Int, value Context(...), and ERROR: The data couldn’t be read ..."
//   "Value not found error: ...", "Key not found error: <key>, value ...",
//   "Data corrupted error: Context(...), and ERROR: ..."
std::string longDecodingFailureLine(const DecodingError& error);

// The shorter family, printed after a failed decode of PopUpModel, MeterModel and
// CustomizePayWallModel:
//   "error Int, value Context(...) and ERROR: ..."  (type mismatch, value not found)
//   "error <key>, value Context(...) and ERROR: ..."  (key not found)
//   "error Context(...), and ERROR: ..."  (data corrupted)
std::string shortDecodingFailureLine(const DecodingError& error);

// Either the decoded record or why it failed. Reading the value of a failure is a
// programming fault and ends the program.
template <class T>
class DecodeResult {
  public:
    DecodeResult(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    DecodeResult(DecodingError error) : state_(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return state_.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & {
        requireValue();
        return std::get<0>(state_);
    }
    const T& value() const& {
        requireValue();
        return std::get<0>(state_);
    }
    T&& value() && {
        requireValue();
        return std::get<0>(std::move(state_));
    }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    // The failure; reading it from a success ends the program too.
    const DecodingError& error() const {
        if (ok()) {
            platform::fatal("DecodeResult: error() read from a successful decode");
        }
        return std::get<1>(state_);
    }

    // The value when decoding succeeded, else nothing (the failure is dropped).
    std::optional<T> toOptional() && {
        if (!ok()) {
            return std::nullopt;
        }
        return std::get<0>(std::move(state_));
    }

  private:
    void requireValue() const {
        if (!ok()) {
            platform::fatal("DecodeResult: value() read from a failed decode");
        }
    }

    std::variant<T, DecodingError> state_;
};

}  // namespace quillgate

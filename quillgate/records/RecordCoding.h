#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/Export.h"
#include "quillgate/records/DecodingError.h"

// Decoding and encoding of the service's records, both driven by each record's key table
// (`T::fields(f, record)`, see JourneyRecords.h).
//
//   auto journey = quillgate::decode<UserJourneyModel>(body);   // DecodeResult
//   if (!journey) platform::log(longDecodingFailureLine(journey.error()));
//   std::string text = quillgate::encodeToString(record, 2);     // devserver, host
//
// Decoding is strict about types and lenient about absence, and makes exactly one attempt
// per member against the JSON type of its declared type:
// - an absent key or a JSON null leaves a std::optional member empty; for a required (plain)
//   member, an absent key is keyNotFound and a null is valueNotFound;
// - a value of any other JSON type fails the whole body with typeMismatch; a nested record
//   fails its parent the same way;
// - an integer member takes a JSON integer, or a JSON number with no fractional part that
//   fits in 64 bits (3.0 and 1e2 are accepted, as the platform's decoder accepts them);
//   3.5, or a number out of range, fails with dataCorrupted ("Parsed JSON number <3.5> does
//   not fit in Int."), again as the platform's decoder does;
// - a double member takes any finite JSON number; booleans are never numbers;
// - unknown keys are ignored; there are no defaults and no conversions.
// A body that isn't JSON (including ill-formed UTF-8) is dataCorrupted; a root that isn't an
// object is a typeMismatch at the root. No exception leaves these functions.
//
// The encoder writes a key only where the member is present (required members always), in
// the order of the key table. The system itself never encodes; the local access service and
// the command-line host do.
//
// Stateless: any thread may decode or encode.

namespace quillgate {

namespace records_detail {

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <class T>
struct IsVector : std::false_type {};
template <class T>
struct IsVector<std::vector<T>> : std::true_type {};

template <class T>
concept Record = requires {
    T::typeName;
};

// Name of a declared type as the decoder reports it when a value is missing.
template <class T>
std::string typeNameOf() {
    if constexpr (std::is_same_v<T, bool>) {
        return "Bool";
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return "Int";
    } else if constexpr (std::is_same_v<T, double>) {
        return "Double";
    } else if constexpr (std::is_same_v<T, std::string>) {
        return "String";
    } else if constexpr (IsVector<T>::value) {
        return "Array<" + typeNameOf<typename T::value_type>() + ">";
    } else {
        static_assert(Record<T>, "a record member must be a scalar, a list or a record");
        return std::string(T::typeName);
    }
}

// Name of a declared type as the decoder reports it when the JSON type differs: a record is
// read from a dictionary, a list from an array.
template <class T>
std::string containerTypeNameOf() {
    if constexpr (IsVector<T>::value) {
        return "Array<Any>";
    } else if constexpr (Record<T>) {
        return "Dictionary<String, Any>";
    } else {
        return typeNameOf<T>();
    }
}

inline const char* foundDescription(const nlohmann::json& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::null:
            return "a null value";
        case nlohmann::json::value_t::boolean:
            return "a boolean";
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned:
        case nlohmann::json::value_t::number_float:
            return "a number";
        case nlohmann::json::value_t::string:
            return "a string";
        case nlohmann::json::value_t::array:
            return "an array";
        case nlohmann::json::value_t::object:
            return "a dictionary";
        default:
            return "an unknown value";
    }
}

// Thrown inside the decoder only, caught by decode().
struct DecodeFailure {
    DecodingError error;
};

// Walks one parsed body along the key tables. Keeps the path from the root as it descends,
// so that a failure can name where it happened. Keys are the tables' string literals.
class Decoder {
  public:
    template <class T>
    void decodeRecord(const nlohmann::json& object, T& out) {
        current_ = &object;
        T::fields(*this, out);
    }

    // One member of the record whose object is current_.
    template <class M>
    void operator()(std::string_view key, M& member) {
        const nlohmann::json& object = *current_;
        const auto found = object.find(key);
        const bool absent = found == object.end();
        if constexpr (IsOptional<M>::value) {
            if (absent || found->is_null()) {
                member.reset();
                return;
            }
            path_.push_back(Step{key, 0});
            decodeValue(*found, member.emplace());
            path_.pop_back();
        } else {
            if (absent) {
                DecodingError error =
                    makeError(DecodingErrorKind::keyNotFound, typeNameOf<M>(),
                              "No value associated with key \"" + std::string(key) + "\".");
                error.key = std::string(key);
                throw DecodeFailure{std::move(error)};
            }
            path_.push_back(Step{key, 0});
            if (found->is_null()) {
                failNull<M>();
            }
            decodeValue(*found, member);
            path_.pop_back();
        }
        current_ = &object;
    }

    [[noreturn]] void failTypeMismatch(const std::string& expected, const nlohmann::json& value) {
        throw DecodeFailure{makeError(DecodingErrorKind::typeMismatch, expected,
                                      "Expected to decode " + expected + " but found " +
                                          foundDescription(value) + " instead.")};
    }

  private:
    // A key of an object, or (with an empty key) a list position.
    struct Step {
        std::string_view key;
        size_t index;
    };

    template <class M>
    void decodeValue(const nlohmann::json& value, M& out) {
        using nlohmann::json;
        if constexpr (std::is_same_v<M, bool>) {
            if (!value.is_boolean()) {
                failTypeMismatch("Bool", value);
            }
            out = value.get<bool>();
        } else if constexpr (std::is_same_v<M, std::string>) {
            if (!value.is_string()) {
                failTypeMismatch("String", value);
            }
            out = value.get_ref<const std::string&>();
        } else if constexpr (std::is_same_v<M, int64_t>) {
            out = integerFrom(value);
        } else if constexpr (std::is_same_v<M, double>) {
            if (!value.is_number()) {
                failTypeMismatch("Double", value);
            }
            out = value.get<double>();
            if (!std::isfinite(out)) {
                failNumberRange(value, "Double");
            }
        } else if constexpr (IsVector<M>::value) {
            using Element = typename M::value_type;
            if (!value.is_array()) {
                failTypeMismatch("Array<Any>", value);
            }
            out.clear();
            out.reserve(value.size());
            size_t index = 0;
            for (const json& element : value) {
                path_.push_back(Step{std::string_view(), index});
                if (element.is_null()) {
                    failNull<Element>();
                }
                decodeValue(element, out.emplace_back());
                path_.pop_back();
                ++index;
            }
        } else {
            static_assert(Record<M>, "a record member must be a scalar, a list or a record");
            if (!value.is_object()) {
                failTypeMismatch("Dictionary<String, Any>", value);
            }
            decodeRecord(value, out);
        }
    }

    int64_t integerFrom(const nlohmann::json& value) {
        using nlohmann::json;
        switch (value.type()) {
            case json::value_t::number_integer:
                return value.get<int64_t>();
            case json::value_t::number_unsigned: {
                const auto unsignedValue = value.get<uint64_t>();
                if (unsignedValue > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
                    failNumberRange(value, "Int");
                }
                return static_cast<int64_t>(unsignedValue);
            }
            case json::value_t::number_float: {
                // Whole numbers written with a fraction or an exponent are integers too.
                // -2^63 <= x < 2^63 is exactly the range that converts without overflow.
                const double number = value.get<double>();
                constexpr double kLimit = 9223372036854775808.0;  // 2^63
                if (!std::isfinite(number) || std::trunc(number) != number || number < -kLimit ||
                    number >= kLimit) {
                    failNumberRange(value, "Int");
                }
                return static_cast<int64_t>(number);
            }
            default:
                failTypeMismatch("Int", value);
        }
    }

    template <class M>
    [[noreturn]] void failNull() {
        const std::string name = typeNameOf<M>();
        throw DecodeFailure{makeError(DecodingErrorKind::valueNotFound, name,
                                      "Expected " + name + " value but found null instead.")};
    }

    [[noreturn]] void failNumberRange(const nlohmann::json& value, const char* type) {
        throw DecodeFailure{
            makeError(DecodingErrorKind::dataCorrupted, type,
                      "Parsed JSON number <" + value.dump() + "> does not fit in " + type + ".")};
    }

    DecodingError makeError(DecodingErrorKind kind, std::string typeName,
                            std::string description) const {
        DecodingError error;
        error.kind = kind;
        error.typeName = std::move(typeName);
        error.debugDescription = std::move(description);
        error.codingPath.reserve(path_.size());
        for (const Step& step : path_) {
            if (step.key.empty()) {
                const auto index = static_cast<int64_t>(step.index);
                error.codingPath.push_back(CodingKey{"Index " + std::to_string(index), index});
            } else {
                error.codingPath.push_back(CodingKey{std::string(step.key), std::nullopt});
            }
        }
        if (!error.codingPath.empty()) {
            error.key = error.codingPath.back().stringValue;
        }
        return error;
    }

    const nlohmann::json* current_ = nullptr;
    std::vector<Step> path_;
};

// Builds JSON from a record along its key table, present members only, in table order.
class Encoder {
  public:
    explicit Encoder(nlohmann::ordered_json& object) : object_(object) {}

    template <class M>
    void operator()(std::string_view key, const M& member) {
        if constexpr (IsOptional<M>::value) {
            if (member) {
                object_[std::string(key)] = encodeValue(*member);
            }
        } else {
            object_[std::string(key)] = encodeValue(member);
        }
    }

    template <class M>
    static nlohmann::ordered_json encodeValue(const M& value) {
        if constexpr (IsVector<M>::value) {
            nlohmann::ordered_json array = nlohmann::ordered_json::array();
            for (const auto& element : value) {
                array.push_back(encodeValue(element));
            }
            return array;
        } else if constexpr (Record<M>) {
            nlohmann::ordered_json object = nlohmann::ordered_json::object();
            Encoder encoder(object);
            M::fields(encoder, value);
            return object;
        } else {
            return nlohmann::ordered_json(value);
        }
    }

  private:
    nlohmann::ordered_json& object_;
};

// Keeps a parser message on one printable line: bytes outside printable ASCII become '?'.
inline std::string printableParserMessage(const char* message) {
    std::string out(message);
    for (char& c : out) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7F) {
            c = '?';
        }
    }
    return out;
}

}  // namespace records_detail

// Decodes an already parsed body into the record T (for a caller that holds the JSON
// already, such as the local access service reading its data files).
template <class T>
DecodeResult<T> decodeParsed(const nlohmann::json& body) {
    static_assert(records_detail::Record<T>, "decode<T> needs a record with a key table");
    try {
        records_detail::Decoder decoder;
        if (!body.is_object()) {
            decoder.failTypeMismatch("Dictionary<String, Any>", body);
        }
        T record{};
        decoder.decodeRecord(body, record);
        return record;
    } catch (records_detail::DecodeFailure& failure) {
        return std::move(failure.error);
    } catch (const nlohmann::json::exception& e) {
        DecodingError error;
        error.kind = DecodingErrorKind::dataCorrupted;
        error.debugDescription = "The given data was not valid JSON.";
        error.underlyingError = records_detail::printableParserMessage(e.what());
        return error;
    }
}

// The old way of decode() below, on nlohmann's parser: the reference the faster decoder is held
// to, and where it hands a body its parser refuses (such a body may still be JSON to this one,
// and only this parser's message may be printed for one that isn't).
template <class T>
DecodeResult<T> decodeWithNlohmann(std::string_view body) {
    nlohmann::json parsed;
    try {
        parsed = nlohmann::json::parse(body.begin(), body.end());
    } catch (const nlohmann::json::exception& e) {
        DecodingError error;
        error.kind = DecodingErrorKind::dataCorrupted;
        error.debugDescription = "The given data was not valid JSON.";
        error.underlyingError = records_detail::printableParserMessage(e.what());
        return error;
    }
    return decodeParsed<T>(parsed);
}

// Decodes the bytes of a body into the record T. Bytes that aren't JSON, ill-formed UTF-8
// included, give dataCorrupted at the root. Defined in RecordDecoding.cpp for every record of
// the library, on a parser faster than the one above; the results, failures included, are
// the same.
template <class T>
QUILLGATE_EXPORT DecodeResult<T> decode(std::string_view body);

// The record as JSON: present members only, in the order of the key table.
template <class T>
nlohmann::ordered_json encode(const T& record) {
    static_assert(records_detail::Record<T>, "encode needs a record with a key table");
    return records_detail::Encoder::encodeValue(record);
}

// The record as JSON text; indent < 0 gives the compact form. Text members that hold
// ill-formed UTF-8 are written with U+FFFD in place of the bad bytes rather than failing.
template <class T>
std::string encodeToString(const T& record, int indent = -1) {
    return encode(record).dump(indent, ' ', false,
                               nlohmann::ordered_json::error_handler_t::replace);
}

// A one-line description for diagnostics: the record's name and its compact JSON,
// e.g. `MeterModel({"data":{...}})`.
template <class T>
std::string describe(const T& record) {
    return std::string(T::typeName) + "(" + encodeToString(record) + ")";
}

}  // namespace quillgate

// decode<T> on simdjson's DOM, with the key tables and the failures of the nlohmann decoder in
// RecordCoding.h (decodeParsed), which stays the reference: the same record for the same bytes,
// the same DecodingError for the same fault.
//
// simdjson is the stricter parser: every body it accepts is JSON nlohmann reads to the same
// values (integers keep their width, doubles round the same way). What it refuses (a byte order
// mark, a NUL after the document, an integer beyond 64 bits, nesting past its depth, and every
// body that isn't JSON) goes to the nlohmann decoder whole, which decides as it always did and
// words the parser message of the failure line.

#include <simdjson.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"

namespace quillgate {

namespace records_detail {
namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

// The keys of one record type in table order, gathered once from its key table.
struct KeyTable {
    std::vector<std::string_view> keys;

    // The table position of `key`, or -1 (the empty key is in no table). The service writes keys in
    // table order, so the position after the previous match is tried first.
    int find(std::string_view key, size_t hint) const {
        const size_t count = keys.size();
        for (size_t i = 0; i < count; ++i) {
            size_t at = hint + i;
            if (at >= count) {
                at -= count;
            }
            const std::string_view candidate = keys[at];
            // Most keys differ in length or first letter: no call to compare those.
            if (candidate.size() == key.size() && !key.empty() && candidate[0] == key[0] &&
                candidate == key) {
                return static_cast<int>(at);
            }
        }
        return -1;
    }
};

struct KeyCollector {
    std::vector<std::string_view>& keys;
    template <class M>
    void operator()(std::string_view key, M&) {
        keys.push_back(key);
    }
};

template <class T>
const KeyTable& keyTableOf() {
    static const KeyTable table = [] {
        KeyTable built;
        KeyCollector collector{built.keys};
        T record{};
        T::fields(collector, record);
        return built;
    }();
    return table;
}

const char* foundDescription(element value) {
    switch (value.type()) {
        case element_type::NULL_VALUE:
            return "a null value";
        case element_type::BOOL:
            return "a boolean";
        case element_type::INT64:
        case element_type::UINT64:
        case element_type::DOUBLE:
            return "a number";
        case element_type::STRING:
            return "a string";
        case element_type::ARRAY:
            return "an array";
        case element_type::OBJECT:
            return "a dictionary";
    }
    return "an unknown value";
}

// A number as nlohmann writes it, for the failure line of a number that doesn't fit.
std::string numberText(element value) {
    switch (value.type()) {
        case element_type::INT64:
            return nlohmann::json(value.get_int64().value_unsafe()).dump();
        case element_type::UINT64:
            return nlohmann::json(value.get_uint64().value_unsafe()).dump();
        default:
            return nlohmann::json(value.get_double().value_unsafe()).dump();
    }
}

// Walks a simdjson document along the key tables, as Decoder in RecordCoding.h walks an
// nlohmann one. Each object is read once: its members land in slots by table position (a
// repeated key keeps its last value, as nlohmann keeps it), then the table is walked in its
// own order, so that the first failure is the one the reference decoder reports.
class SimdDecoder {
  public:
    SimdDecoder() { slots_.reserve(256); }

    template <class T>
    void decodeRecord(simdjson::dom::object object, T& out) {
        const KeyTable& table = keyTableOf<T>();
        const size_t base = slots_.size();
        slots_.resize(base + table.keys.size());
        size_t hint = 0;
        for (const simdjson::dom::key_value_pair field : object) {
            const int at = table.find(field.key, hint);
            if (at >= 0) {
                slots_[base + static_cast<size_t>(at)] = Slot{field.value, true};
                hint = static_cast<size_t>(at) + 1;
            }
        }
        const size_t savedBase = base_;
        const size_t savedNext = next_;
        base_ = base;
        next_ = 0;
        T::fields(*this, out);
        base_ = savedBase;
        next_ = savedNext;
        slots_.resize(base);
    }

    template <class M>
    void operator()(std::string_view key, M& member) {
        const Slot slot = slots_[base_ + next_++];
        if constexpr (IsOptional<M>::value) {
            if (!slot.present || slot.value.is_null()) {
                member.reset();
                return;
            }
            const Step step{path_, key, 0};
            path_ = &step;
            if constexpr (std::is_same_v<M, std::optional<std::string>>) {
                // The commonest member: built from the text at once.
                if (slot.value.type() != element_type::STRING) {
                    failTypeMismatch("String", slot.value);
                }
                member.emplace(slot.value.get_string().value_unsafe());
            } else {
                decodeValue(slot.value, member.emplace());
            }
            path_ = step.parent;
        } else {
            if (!slot.present) {
                DecodingError error =
                    makeError(DecodingErrorKind::keyNotFound, typeNameOf<M>(),
                              "No value associated with key \"" + std::string(key) + "\".");
                error.key = std::string(key);
                throw DecodeFailure{std::move(error)};
            }
            const Step step{path_, key, 0};
            path_ = &step;
            if (slot.value.is_null()) {
                failNull<M>();
            }
            decodeValue(slot.value, member);
            path_ = step.parent;
        }
    }

    [[noreturn]] void failTypeMismatch(const std::string& expected, element value) {
        throw DecodeFailure{makeError(DecodingErrorKind::typeMismatch, expected,
                                      "Expected to decode " + expected + " but found " +
                                          foundDescription(value) + " instead.")};
    }

  private:
    struct Slot {
        element value;
        bool present = false;
    };
    // One step of the path from the root, on the stack of the call that takes it; a failure
    // reads the chain back to the root.
    struct Step {
        const Step* parent;
        std::string_view key;  // empty for a list position
        size_t index;
    };

    template <class M>
    void decodeValue(element value, M& out) {
        if constexpr (std::is_same_v<M, bool>) {
            if (value.type() != element_type::BOOL) {
                failTypeMismatch("Bool", value);
            }
            out = value.get_bool().value_unsafe();
        } else if constexpr (std::is_same_v<M, std::string>) {
            if (value.type() != element_type::STRING) {
                failTypeMismatch("String", value);
            }
            out.assign(value.get_string().value_unsafe());
        } else if constexpr (std::is_same_v<M, int64_t>) {
            out = integerFrom(value);
        } else if constexpr (std::is_same_v<M, double>) {
            switch (value.type()) {
                case element_type::INT64:
                    out = static_cast<double>(value.get_int64().value_unsafe());
                    break;
                case element_type::UINT64:
                    out = static_cast<double>(value.get_uint64().value_unsafe());
                    break;
                case element_type::DOUBLE:
                    out = value.get_double().value_unsafe();
                    break;
                default:
                    failTypeMismatch("Double", value);
            }
            if (!std::isfinite(out)) {
                failNumberRange(value, "Double");
            }
        } else if constexpr (IsVector<M>::value) {
            using Element = typename M::value_type;
            if (value.type() != element_type::ARRAY) {
                failTypeMismatch("Array<Any>", value);
            }
            const simdjson::dom::array array = value.get_array().value_unsafe();
            out.clear();
            out.reserve(array.size());
            size_t index = 0;
            for (const element item : array) {
                const Step step{path_, std::string_view(), index};
                path_ = &step;
                if (item.is_null()) {
                    failNull<Element>();
                }
                decodeValue(item, out.emplace_back());
                path_ = step.parent;
                ++index;
            }
        } else {
            static_assert(Record<M>, "a record member must be a scalar, a list or a record");
            if (value.type() != element_type::OBJECT) {
                failTypeMismatch("Dictionary<String, Any>", value);
            }
            decodeRecord(value.get_object().value_unsafe(), out);
        }
    }

    int64_t integerFrom(element value) {
        switch (value.type()) {
            case element_type::INT64:
                return value.get_int64().value_unsafe();
            case element_type::UINT64: {
                const uint64_t number = value.get_uint64().value_unsafe();
                if (number > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
                    failNumberRange(value, "Int");
                }
                return static_cast<int64_t>(number);
            }
            case element_type::DOUBLE: {
                // Whole numbers written with a fraction or an exponent are integers too.
                const double number = value.get_double().value_unsafe();
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

    [[noreturn]] void failNumberRange(element value, const char* type) {
        throw DecodeFailure{makeError(
            DecodingErrorKind::dataCorrupted, type,
            "Parsed JSON number <" + numberText(value) + "> does not fit in " + type + ".")};
    }

    DecodingError makeError(DecodingErrorKind kind, std::string typeName,
                            std::string description) const {
        DecodingError error;
        error.kind = kind;
        error.typeName = std::move(typeName);
        error.debugDescription = std::move(description);
        for (const Step* step = path_; step; step = step->parent) {
            if (step->key.empty()) {
                const auto index = static_cast<int64_t>(step->index);
                error.codingPath.push_back(CodingKey{"Index " + std::to_string(index), index});
            } else {
                error.codingPath.push_back(CodingKey{std::string(step->key), std::nullopt});
            }
        }
        std::reverse(error.codingPath.begin(), error.codingPath.end());
        if (!error.codingPath.empty()) {
            error.key = error.codingPath.back().stringValue;
        }
        return error;
    }

    std::vector<Slot> slots_;
    size_t base_ = 0;
    size_t next_ = 0;
    const Step* path_ = nullptr;
};

// Bodies up to this size are parsed by a parser kept per thread, which keeps its buffers
// between calls; a larger one gets a parser of its own, so that one huge body doesn't pin
// its memory for the life of the thread.
constexpr size_t kSharedParserLimit = 256 * 1024;

}  // namespace
}  // namespace records_detail

template <class T>
DecodeResult<T> decode(std::string_view body) {
    static_assert(records_detail::Record<T>, "decode<T> needs a record with a key table");
    thread_local simdjson::dom::parser sharedParser;
    simdjson::dom::parser ownParser;
    simdjson::dom::parser& parser =
        body.size() <= records_detail::kSharedParserLimit ? sharedParser : ownParser;
    simdjson::dom::element root;
    if (parser.parse(body.data(), body.size()).get(root) != simdjson::SUCCESS) {
        return decodeWithNlohmann<T>(body);
    }
    // Decoded where it is returned: a configuration is several kilobytes of record.
    DecodeResult<T> result{T{}};
    try {
        records_detail::SimdDecoder decoder;
        if (root.type() != simdjson::dom::element_type::OBJECT) {
            decoder.failTypeMismatch("Dictionary<String, Any>", root);
        }
        decoder.decodeRecord(root.get_object().value_unsafe(), *result);
    } catch (records_detail::DecodeFailure& failure) {
        result = DecodeResult<T>(std::move(failure.error));
    }
    return result;
}

// Every record can be decoded on its own, the nested ones included.
#define QUILLGATE_DECODE_RECORD(T) template DecodeResult<T> decode<T>(std::string_view body);
QUILLGATE_DECODE_RECORD(Balance)
QUILLGATE_DECODE_RECORD(Wallet)
QUILLGATE_DECODE_RECORD(Address)
QUILLGATE_DECODE_RECORD(UserDetails)
QUILLGATE_DECODE_RECORD(UserDetail)
QUILLGATE_DECODE_RECORD(PaywallCustomization)
QUILLGATE_DECODE_RECORD(ValidPass)
QUILLGATE_DECODE_RECORD(MicroPricing)
QUILLGATE_DECODE_RECORD(CouponDetails)
QUILLGATE_DECODE_RECORD(ContentDetails)
QUILLGATE_DECODE_RECORD(LoginChallenge)
QUILLGATE_DECODE_RECORD(AutoLoginModel)
QUILLGATE_DECODE_RECORD(APIResponse)
QUILLGATE_DECODE_RECORD(PurchaseModel)
QUILLGATE_DECODE_RECORD(LogoutModel)
QUILLGATE_DECODE_RECORD(PopUpModel)
QUILLGATE_DECODE_RECORD(FreeTrial)
QUILLGATE_DECODE_RECORD(Tier)
QUILLGATE_DECODE_RECORD(Subscriptions)
QUILLGATE_DECODE_RECORD(EmbededSubscription)
QUILLGATE_DECODE_RECORD(DesktopPageLoad)
QUILLGATE_DECODE_RECORD(Conditions)
QUILLGATE_DECODE_RECORD(ActionIDData)
QUILLGATE_DECODE_RECORD(ActionID)
QUILLGATE_DECODE_RECORD(Variables)
QUILLGATE_DECODE_RECORD(MobileAction)
QUILLGATE_DECODE_RECORD(ViewMeter)
QUILLGATE_DECODE_RECORD(Condition)
QUILLGATE_DECODE_RECORD(MicropayMeter)
QUILLGATE_DECODE_RECORD(PurpleConditions)
QUILLGATE_DECODE_RECORD(MeteringActionData)
QUILLGATE_DECODE_RECORD(MeteringAction)
QUILLGATE_DECODE_RECORD(PopupActionData)
QUILLGATE_DECODE_RECORD(PopupAction)
QUILLGATE_DECODE_RECORD(Facebook)
QUILLGATE_DECODE_RECORD(Pixels)
QUILLGATE_DECODE_RECORD(PriceOverridess)
QUILLGATE_DECODE_RECORD(Content)
QUILLGATE_DECODE_RECORD(UserJourneyModel)
QUILLGATE_DECODE_RECORD(borderData)
QUILLGATE_DECODE_RECORD(Borders)
QUILLGATE_DECODE_RECORD(StyleForBackgrounds)
QUILLGATE_DECODE_RECORD(typographyData)
QUILLGATE_DECODE_RECORD(typography)
QUILLGATE_DECODE_RECORD(StyleForTexts)
QUILLGATE_DECODE_RECORD(SlotDetails)
QUILLGATE_DECODE_RECORD(SlotInfo)
QUILLGATE_DECODE_RECORD(SlotDataInfo)
QUILLGATE_DECODE_RECORD(TimerInfo)
QUILLGATE_DECODE_RECORD(JSONs)
QUILLGATE_DECODE_RECORD(TemplateIDs)
QUILLGATE_DECODE_RECORD(ConfigurationData)
QUILLGATE_DECODE_RECORD(Configuration)
QUILLGATE_DECODE_RECORD(DataModel)
QUILLGATE_DECODE_RECORD(CustomizePayWallModel)
QUILLGATE_DECODE_RECORD(ConfigurationInfo)
QUILLGATE_DECODE_RECORD(DataClass)
QUILLGATE_DECODE_RECORD(MeterModel)
#undef QUILLGATE_DECODE_RECORD

}  // namespace quillgate

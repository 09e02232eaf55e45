#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quillgate/records/AccountRecords.h"
#include "quillgate/records/JourneyRecords.h"
#include "quillgate/records/PaywallRecords.h"
#include "quillgate/records/RecordCoding.h"

namespace quillgate {
namespace {

std::string readRecordFile(const std::string& name) {
    std::ifstream in(std::string(QUILLGATE_TEST_DATA_DIR) + "/records/" + name, std::ios::binary);
    EXPECT_TRUE(in.good()) << name;
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

// Walks a record along its key table and lists the optional members that are absent, with
// their paths. The data files set every member, so a key that a table misspells shows up here.
class AbsentMembers {
  public:
    std::vector<std::string> paths;

    template <class T>
    void visit(const T& record) {
        T::fields(*this, record);
    }

    template <class M>
    void operator()(std::string_view key, const M& member) {
        const std::string saved = prefix_;
        prefix_ += std::string(prefix_.empty() ? "" : ".") + std::string(key);
        if constexpr (requires { member.has_value(); }) {
            if (!member) {
                paths.push_back(prefix_);
            } else {
                inspect(*member);
            }
        } else {
            inspect(member);
        }
        prefix_ = saved;
    }

  private:
    template <class M>
    void inspect(const M& value) {
        if constexpr (requires { M::typeName; }) {
            visit(value);
        } else if constexpr (requires { value.front().typeName; }) {
            for (const auto& element : value) {
                visit(element);
            }
        }
    }

    std::string prefix_;
};

template <class T>
std::vector<std::string> absentMembersOf(const T& record) {
    AbsentMembers walker;
    walker.visit(record);
    return walker.paths;
}

// Decodes a data file, and checks that encoding is a fixed point: decode(encode(r)) == r, and
// encoding that again gives the same text.
template <class T>
T decodeAndRoundTrip(const std::string& name) {
    SCOPED_TRACE(name);
    auto decoded = decode<T>(readRecordFile(name));
    if (!decoded) {
        ADD_FAILURE() << longDecodingFailureLine(decoded.error());
        return T{};
    }
    const std::string encoded = encodeToString(*decoded);
    auto again = decode<T>(encoded);
    EXPECT_TRUE(again.ok());
    if (again) {
        EXPECT_EQ(*again, *decoded);
        EXPECT_EQ(encodeToString(*again), encoded);
    }
    return std::move(decoded).value();
}

template <class T>
void expectComplete(const std::string& name) {
    SCOPED_TRACE(name);
    EXPECT_EQ(absentMembersOf(decodeAndRoundTrip<T>(name)), std::vector<std::string>{});
}

TEST(RecordData, EveryDataFileDecodesCompletelyAndRoundTrips) {
    expectComplete<UserJourneyModel>("user_journey.json");
    expectComplete<CustomizePayWallModel>("customize_paywall.json");
    expectComplete<ContentDetails>("content_details.json");
    expectComplete<UserDetails>("user_details.json");
    expectComplete<PopUpModel>("popup_model.json");
    expectComplete<LoginChallenge>("login_challenge.json");
    expectComplete<AutoLoginModel>("auto_login.json");
    expectComplete<PurchaseModel>("purchase.json");
    expectComplete<LogoutModel>("logout.json");
    expectComplete<APIResponse>("api_response.json");

    // The banner names only the styles it uses; the second plan leaves out what may be left out.
    EXPECT_FALSE(absentMembersOf(decodeAndRoundTrip<MeterModel>("meter_model.json")).empty());
    EXPECT_EQ(absentMembersOf(decodeAndRoundTrip<EmbededSubscription>("embeded_subscription.json")),
              (std::vector<std::string>{"subscriptions.freeTrial.duration",
                                        "subscriptions.tiers.basePrice", "subscriptions.tiers._id",
                                        "subscriptions.currencySymbol"}));
}

TEST(RecordData, FullPaywallConfigurationHasEveryStyleFrameAndSlot) {
    const auto model = decodeAndRoundTrip<CustomizePayWallModel>("customize_paywall.json");
    ASSERT_TRUE(model.data && model.data->configuration && model.data->configuration->mobile);
    const ConfigurationData& mobile = *model.data->configuration->mobile;
    EXPECT_EQ(mobile.templateId->name, "3A");
    EXPECT_EQ(mobile.templateId->number_of_cta, 3);
    const JSONs& json = *mobile.json;

    // Every member of every style table is set in the file, so a key typo in a table (which
    // would leave its member empty) shows up here.
    int styles = 0;
    auto countStyle = [&](std::string_view key, const auto& style) {
        SCOPED_TRACE(std::string(key));
        ASSERT_TRUE(style.has_value());
        EXPECT_EQ(*style, (decode<typographyData>(encodeToString(*style)).value()));
        EXPECT_TRUE(style->text && style->textAlign && style->textDecoration &&
                    style->textTransform && style->fontFamily && style->fontWeight && style->color);
        ++styles;
    };
    typography::fields(countStyle, *json.styleForText->typography);
    EXPECT_EQ(styles, 39);

    int frames = 0;
    auto countFrame = [&](std::string_view key, const auto& frame) {
        SCOPED_TRACE(std::string(key));
        ASSERT_TRUE(frame.has_value());
        EXPECT_TRUE(frame->backgroundColor && frame->borderWidthValue && frame->radius &&
                    frame->borderColor);
        ++frames;
    };
    Borders::fields(countFrame, *json.styleForBackground->border);
    EXPECT_EQ(frames, 13);

    int slots = 0;
    auto countSlot = [&](std::string_view, const auto& slot) {
        EXPECT_TRUE(slot.has_value() && slot->value);
        ++slots;
    };
    SlotInfo::fields(countSlot, *json.slotData->slot);
    EXPECT_EQ(slots, 5);
    EXPECT_EQ(json.slotData->slot->RadioBtnOne->value, "custom url");
    EXPECT_EQ(json.timerValue->time, "Fri Dec 31 2027 23:59:59 GMT+0530");
    EXPECT_EQ(json.styleForText->typography->AlreadyLeftText->text, "Already a member?");
    EXPECT_EQ(json.styleForText->typography->orvelantBalance->fontFamily, "Merriweather");
}

// Members whose keys the service spells its own way, or whose JSON type differs by place.
TEST(RecordData, OddlyNamedAndTypedKeysReachTheirMembers) {
    const auto journey = decodeAndRoundTrip<UserJourneyModel>("user_journey.json");
    EXPECT_EQ(journey.consumptionID, "c0ffee00-1234-4a5b-9c8d-0123456789ab");
    EXPECT_EQ(journey.content->id, "66112233445566778899aabb");  // not the file's "id"
    EXPECT_EQ(journey.content->pixels->facebook->events->at(1), "Purchase");
    EXPECT_EQ(journey.popupAction->data->popupActionID, "6620aabbccddeeff00112233");
    EXPECT_EQ(journey.meteringAction->data->variables->stepCount, "3");
    EXPECT_EQ(journey.meteringAction->data->conditions->viewMeter->frequency, "1");
    EXPECT_EQ(journey.meteringAction->data->conditions->micropayMeter->conditions->at(1).frequency,
              3);
    EXPECT_EQ(journey.actionID->data->actionID, "65f1c0a2e4b0a1d2c3f4a5b6");

    const auto user = decodeAndRoundTrip<UserDetails>("user_details.json");
    EXPECT_EQ(user.promotionalOptIn, 1);
    EXPECT_EQ(user.wallet->balance->numberString, "125.50");
    const auto plans = decodeAndRoundTrip<EmbededSubscription>("embeded_subscription.json");
    ASSERT_EQ(plans.subscriptions.size(), 2u);
    EXPECT_EQ(plans.subscriptions[0].tiers[1].price, 1499.5);
    EXPECT_EQ(plans.subscriptions[0].freeTrial.duration, 7);
}

TEST(RecordEncoding, WritesPresentMembersInKeyTableOrderWithTheServiceKeys) {
    EXPECT_EQ(encodeToString(ValidPass{}), "{}");
    ValidPass pass;
    pass.price = 10.5;
    pass.duration = 3;
    EXPECT_EQ(encodeToString(pass), R"({"price":10.5,"duration":3})");
    PopUpModel popup;
    popup.v = 1;
    popup.imageURL = "https://img";
    popup.id = "p";
    EXPECT_EQ(encodeToString(popup), R"({"_id":"p","imageUrl":"https://img","__v":1})");
    UserDetails user;
    user.wallet = Wallet{.currency = "INR", .balance = Balance{.numberString = "1.00"}};
    EXPECT_EQ(encodeToString(user),
              R"({"wallet":{"currency":"INR","balance":{"$numberDecimal":"1.00"}}})");

    // Required members are always written, even at their initial values.
    EXPECT_EQ(encodeToString(Tier{}), R"({"price":0.0,"duration":0})");
    FreeTrial trial;
    trial.enabled = true;
    EXPECT_EQ(encodeToString(trial), R"({"enabled":true})");

    // Ill-formed UTF-8 put into a record by hand is replaced, not thrown.
    EXPECT_EQ(encodeToString(LogoutModel{.message = std::string("a\xFF")}),
              "{\"message\":\"a\xEF\xBF\xBD\"}");
    EXPECT_EQ(describe(PurchaseModel{.signature = "s"}), R"(PurchaseModel({"signature":"s"}))");
}

}  // namespace
}  // namespace quillgate

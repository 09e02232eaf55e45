#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "quillgate/Export.h"

// The paywall configuration records: the look and the offers of a template paywall
// (`CustomizePayWallModel`) and of the metering banner (`MeterModel`). Both carry the same
// style document, `JSONs`; they differ in how they name the template: a nested
// `TemplateIDs` object under `ConfigurationData`, a plain string under `ConfigurationInfo`.
//
// Plain values with a key table each, as described in JourneyRecords.h. Colours, fonts and
// texts stay as the service sends them; the styling engine parses them and supplies the
// defaults for whatever is absent. A configuration is never changed after decoding, so the
// client may hand one decoded `CustomizePayWallModel` to every screen and cell as a
// `SharedCustomizePayWallModel` instead of copying several kilobytes each time.

namespace quillgate {

// One frame. The numbers are integers on the wire; a fractional one fails the decoding.
struct QUILLGATE_EXPORT borderData {
    std::optional<std::string> backgroundColor;
    std::optional<int64_t> borderWidthValue;
    std::optional<int64_t> radius;
    std::optional<std::string> borderColor;

    static constexpr std::string_view typeName = "borderData";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("backgroundColor", r.backgroundColor);
        f("borderWidthValue", r.borderWidthValue);
        f("radius", r.radius);
        f("borderColor", r.borderColor);
    }
    bool operator==(const borderData&) const = default;
};

// The thirteen elements that have a frame.
struct QUILLGATE_EXPORT Borders {
    std::optional<borderData> mainDiv;
    std::optional<borderData> mainSubmitBtn;
    std::optional<borderData> contentDivBtn;
    std::optional<borderData> timerDiv;
    std::optional<borderData> contentDiv;
    std::optional<borderData> passDivBtn;
    std::optional<borderData> subDivBtn;
    std::optional<borderData> contentHeader;
    std::optional<borderData> passHeader;
    std::optional<borderData> subscriptionHeader;
    std::optional<borderData> label;
    std::optional<borderData> crossBtn;
    std::optional<borderData> verticalLine;
    static constexpr std::string_view typeName = "Borders";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("mainDiv", r.mainDiv);
        f("mainSubmitBtn", r.mainSubmitBtn);
        f("contentDivBtn", r.contentDivBtn);
        f("timerDiv", r.timerDiv);
        f("contentDiv", r.contentDiv);
        f("passDivBtn", r.passDivBtn);
        f("subDivBtn", r.subDivBtn);
        f("contentHeader", r.contentHeader);
        f("passHeader", r.passHeader);
        f("subscriptionHeader", r.subscriptionHeader);
        f("label", r.label);
        f("crossBtn", r.crossBtn);
        f("verticalLine", r.verticalLine);
    }
    bool operator==(const Borders&) const = default;
};

struct QUILLGATE_EXPORT StyleForBackgrounds {
    std::optional<Borders> border;

    static constexpr std::string_view typeName = "StyleForBackgrounds";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("border", r.border);
    }
    bool operator==(const StyleForBackgrounds&) const = default;
};

// One text style.
struct QUILLGATE_EXPORT typographyData {
    std::optional<std::string> text;
    std::optional<std::string> textAlign;
    std::optional<std::string> textDecoration;
    std::optional<std::string> textTransform;
    std::optional<std::string> fontFamily;  // the font provisioning fetches this family
    std::optional<std::string> fontWeight;
    std::optional<std::string> color;

    static constexpr std::string_view typeName = "typographyData";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("text", r.text);
        f("textAlign", r.textAlign);
        f("textDecoration", r.textDecoration);
        f("textTransform", r.textTransform);
        f("fontFamily", r.fontFamily);
        f("fontWeight", r.fontWeight);
        f("color", r.color);
    }
    bool operator==(const typographyData&) const = default;
};

// The thirty-nine text styles. "Discription", "AlreadyLeftText", "CutPriceText" and
// "orvelantBalance" are the service's keys, spelling and case included.
struct QUILLGATE_EXPORT typography {
    std::optional<typographyData> heading;
    std::optional<typographyData> subHeading;
    std::optional<typographyData> mainSubmitBtn;
    std::optional<typographyData> contentDivBtn;
    std::optional<typographyData> contentDivTitle;
    std::optional<typographyData> contentDivDiscription;
    std::optional<typographyData> contentDivPrice;
    std::optional<typographyData> contentDivCutPrice;
    std::optional<typographyData> contentDivSymbolPrice;
    std::optional<typographyData> contentDivSymbolCutPrice;
    std::optional<typographyData> passDivBtn;
    std::optional<typographyData> passDivTitle;
    std::optional<typographyData> passDivDiscription;
    std::optional<typographyData> passDivPrice;
    std::optional<typographyData> passDivCutPrice;
    std::optional<typographyData> passDivSymbolPrice;
    std::optional<typographyData> passDivSymbolCutPrice;
    std::optional<typographyData> subDivBtn;
    std::optional<typographyData> subDivTitle;
    std::optional<typographyData> subDivDiscription;
    std::optional<typographyData> subDivPrice;
    std::optional<typographyData> subscriptionDivCutPrice;
    std::optional<typographyData> subscriptionDivSymbolPrice;
    std::optional<typographyData> subscriptionDivSymbolCutPrice;
    std::optional<typographyData> couponLeftText;
    std::optional<typographyData> couponRightText;
    std::optional<typographyData> AlreadyLeftText;
    std::optional<typographyData> orvelantBalance;
    std::optional<typographyData> priceText;
    std::optional<typographyData> CutPriceText;
    std::optional<typographyData> loginText;
    std::optional<typographyData> timerDiv;
    std::optional<typographyData> showRecommended;
    std::optional<typographyData> contentHeader;
    std::optional<typographyData> passHeader;
    std::optional<typographyData> subscriptionHeader;
    std::optional<typographyData> label;
    std::optional<typographyData> crossBtn;
    std::optional<typographyData> orText;
    static constexpr std::string_view typeName = "typography";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("heading", r.heading);
        f("subHeading", r.subHeading);
        f("mainSubmitBtn", r.mainSubmitBtn);
        f("contentDivBtn", r.contentDivBtn);
        f("contentDivTitle", r.contentDivTitle);
        f("contentDivDiscription", r.contentDivDiscription);
        f("contentDivPrice", r.contentDivPrice);
        f("contentDivCutPrice", r.contentDivCutPrice);
        f("contentDivSymbolPrice", r.contentDivSymbolPrice);
        f("contentDivSymbolCutPrice", r.contentDivSymbolCutPrice);
        f("passDivBtn", r.passDivBtn);
        f("passDivTitle", r.passDivTitle);
        f("passDivDiscription", r.passDivDiscription);
        f("passDivPrice", r.passDivPrice);
        f("passDivCutPrice", r.passDivCutPrice);
        f("passDivSymbolPrice", r.passDivSymbolPrice);
        f("passDivSymbolCutPrice", r.passDivSymbolCutPrice);
        f("subDivBtn", r.subDivBtn);
        f("subDivTitle", r.subDivTitle);
        f("subDivDiscription", r.subDivDiscription);
        f("subDivPrice", r.subDivPrice);
        f("subscriptionDivCutPrice", r.subscriptionDivCutPrice);
        f("subscriptionDivSymbolPrice", r.subscriptionDivSymbolPrice);
        f("subscriptionDivSymbolCutPrice", r.subscriptionDivSymbolCutPrice);
        f("couponLeftText", r.couponLeftText);
        f("couponRightText", r.couponRightText);
        f("AlreadyLeftText", r.AlreadyLeftText);
        f("orvelantBalance", r.orvelantBalance);
        f("priceText", r.priceText);
        f("CutPriceText", r.CutPriceText);
        f("loginText", r.loginText);
        f("timerDiv", r.timerDiv);
        f("showRecommended", r.showRecommended);
        f("contentHeader", r.contentHeader);
        f("passHeader", r.passHeader);
        f("subscriptionHeader", r.subscriptionHeader);
        f("label", r.label);
        f("crossBtn", r.crossBtn);
        f("orText", r.orText);
    }
    bool operator==(const typography&) const = default;
};

struct QUILLGATE_EXPORT StyleForTexts {
    // Qualified: the member shares its name with its type.
    std::optional<quillgate::typography> typography;

    static constexpr std::string_view typeName = "StyleForTexts";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("typography", r.typography);
    }
    bool operator==(const StyleForTexts&) const = default;
};

// What one button or radio button stands for.
struct QUILLGATE_EXPORT SlotDetails {
    std::optional<std::string> value;
    std::optional<std::string> redirectUrl;
    std::optional<std::string> url;

    static constexpr std::string_view typeName = "SlotDetails";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("value", r.value);
        f("redirectUrl", r.redirectUrl);
        f("url", r.url);
    }
    bool operator==(const SlotDetails&) const = default;
};

// The five things a reader can choose.
struct QUILLGATE_EXPORT SlotInfo {
    std::optional<SlotDetails> contentDivBtn;
    std::optional<SlotDetails> passDivBtn;
    std::optional<SlotDetails> subDivBtn;
    std::optional<SlotDetails> RadioBtnOne;
    std::optional<SlotDetails> RadioBtnTwo;

    static constexpr std::string_view typeName = "SlotInfo";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("contentDivBtn", r.contentDivBtn);
        f("passDivBtn", r.passDivBtn);
        f("subDivBtn", r.subDivBtn);
        f("RadioBtnOne", r.RadioBtnOne);
        f("RadioBtnTwo", r.RadioBtnTwo);
    }
    bool operator==(const SlotInfo&) const = default;
};

struct QUILLGATE_EXPORT SlotDataInfo {
    std::optional<SlotInfo> slot;

    static constexpr std::string_view typeName = "SlotDataInfo";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("slot", r.slot);
    }
    bool operator==(const SlotDataInfo&) const = default;
};

// The timer of timer templates. Both are text on the wire, "time" too.
struct QUILLGATE_EXPORT TimerInfo {
    std::optional<std::string> type;
    std::optional<std::string> time;

    static constexpr std::string_view typeName = "TimerInfo";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("type", r.type);
        f("time", r.time);
    }
    bool operator==(const TimerInfo&) const = default;
};

// The style document shared by the paywall and the banner configurations.
struct QUILLGATE_EXPORT JSONs {
    std::optional<StyleForBackgrounds> styleForBackground;
    std::optional<StyleForTexts> styleForText;
    std::optional<SlotDataInfo> slotData;
    std::optional<TimerInfo> timerValue;

    static constexpr std::string_view typeName = "JSONs";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("styleForBackground", r.styleForBackground);
        f("styleForText", r.styleForText);
        f("slotData", r.slotData);
        f("timerValue", r.timerValue);
    }
    bool operator==(const JSONs&) const = default;
};

// Which template, as a nested object. The members are named exactly as the keys.
struct QUILLGATE_EXPORT TemplateIDs {
    std::optional<std::string> _id;
    std::optional<std::string> name;
    std::optional<std::string> paywallType;
    std::optional<std::string> displayType;
    std::optional<int64_t> number_of_cta;

    static constexpr std::string_view typeName = "TemplateIDs";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("_id", r._id);
        f("name", r.name);
        f("paywallType", r.paywallType);
        f("displayType", r.displayType);
        f("number_of_cta", r.number_of_cta);
    }
    bool operator==(const TemplateIDs&) const = default;
};

struct QUILLGATE_EXPORT ConfigurationData {
    std::optional<TemplateIDs> templateId;
    std::optional<JSONs> json;

    static constexpr std::string_view typeName = "ConfigurationData";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("templateId", r.templateId);
        f("json", r.json);
    }
    bool operator==(const ConfigurationData&) const = default;
};

// Only the phone branch is declared; other platforms' branches are ignored.
struct QUILLGATE_EXPORT Configuration {
    std::optional<ConfigurationData> mobile;

    static constexpr std::string_view typeName = "Configuration";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("mobile", r.mobile);
    }
    bool operator==(const Configuration&) const = default;
};

struct QUILLGATE_EXPORT DataModel {
    std::optional<Configuration> configuration;
    std::optional<std::string> name;

    static constexpr std::string_view typeName = "DataModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("configuration", r.configuration);
        f("name", r.name);
    }
    bool operator==(const DataModel&) const = default;
};

// The root of the paywall configuration call.
struct QUILLGATE_EXPORT CustomizePayWallModel {
    std::optional<bool> isFallback;
    std::optional<std::string> message;
    std::optional<DataModel> data;

    static constexpr std::string_view typeName = "CustomizePayWallModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("isFallback", r.isFallback);
        f("message", r.message);
        f("data", r.data);
    }
    bool operator==(const CustomizePayWallModel&) const = default;
};

// One decoded configuration shared by everything that shows it; never changed.
using SharedCustomizePayWallModel = std::shared_ptr<const CustomizePayWallModel>;

// The banner's configuration. Here "templateId" is a plain string and "json" is read into
// `configurationJSON`.
struct QUILLGATE_EXPORT ConfigurationInfo {
    std::optional<std::string> templateID;
    std::optional<JSONs> configurationJSON;
    std::optional<std::string> url;
    std::optional<std::string> key;

    static constexpr std::string_view typeName = "ConfigurationInfo";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("templateId", r.templateID);
        f("json", r.configurationJSON);
        f("url", r.url);
        f("key", r.key);
    }
    bool operator==(const ConfigurationInfo&) const = default;
};

struct QUILLGATE_EXPORT DataClass {
    std::optional<std::string> deviceType;
    std::optional<std::string> id;
    std::optional<std::string> clientID;
    std::optional<std::string> name;
    std::optional<std::string> createdAt;
    std::optional<std::string> updatedAt;
    std::optional<int64_t> v;
    std::optional<ConfigurationInfo> configuration;

    static constexpr std::string_view typeName = "DataClass";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("deviceType", r.deviceType);
        f("_id", r.id);
        f("clientId", r.clientID);
        f("name", r.name);
        f("createdAt", r.createdAt);
        f("updatedAt", r.updatedAt);
        f("__v", r.v);
        f("configuration", r.configuration);
    }
    bool operator==(const DataClass&) const = default;
};

// The root of the metering banner's configuration call.
struct QUILLGATE_EXPORT MeterModel {
    std::optional<DataClass> data;

    static constexpr std::string_view typeName = "MeterModel";
    template <class F, class Self>
    static void fields(F& f, Self& r) {
        f("data", r.data);
    }
    bool operator==(const MeterModel&) const = default;
};

}  // namespace quillgate

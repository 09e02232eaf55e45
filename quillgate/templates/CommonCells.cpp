#include "quillgate/templates/CommonCells.h"

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Text.h"
#include "quillgate/service/Constants.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/templates/Styling.h"
#include "quillgate/templates/TemplateParts.h"

namespace quillgate {

namespace {

// The offer's coupon code, when it has a non-blank one.
std::optional<std::string> couponCode() {
    const auto& details = QuillgateClient::shared().contentDetailsModel;
    if (details && details->couponDetails && details->couponDetails->code &&
        isNotBlank(details->couponDetails->code)) {
        return details->couponDetails->code;
    }
    return std::nullopt;
}

// Space above and below a heading.
constexpr double kHeadingTop = 14;
constexpr double kHeadingBottom = 2;
// Space above the footer's button, between it and the text rows, and below them.
constexpr double kFooterTop = 18;
constexpr double kFooterGap = 10;
constexpr double kFooterBottom = 18;

// Places a "words, action" pair of labels side by side, centred in `row`.
void layoutTextRow(ui::View& row, ui::Label& words, ui::Label& action) {
    const double width = row.bounds().width();
    const double height = row.bounds().height();
    const double gap = 4;
    const double left = card::fittingWidth(words, width / 2);
    const double right = card::fittingWidth(action, width / 2);
    double x = (width - left - gap - right) / 2;
    words.setFrame(ui::Rect(x, 0, left, height));
    x += left + gap;
    action.setFrame(ui::Rect(x, 0, right, height));
}

}  // namespace

ui::Size CommonHeaderCenterTableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto label = lblName.optional();
    const double text = label ? card::fittingHeight(*label, fitting.width - 2 * card::margin) : 0;
    return ui::Size{fitting.width, kHeadingTop + text + kHeadingBottom};
}

void CommonHeaderCenterTableViewCell::layoutSubviews() {
    const ui::Rect box = bounds();
    boxView->setFrame(box);
    const double width = box.width() - 2 * card::margin;
    lblName->setFrame(
        ui::Rect(card::margin, kHeadingTop, width, card::fittingHeight(*lblName, width)));
}

ui::Size CommonHeaderTableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto label = lblTitle.optional();
    const double text = label ? card::fittingHeight(*label, fitting.width - 2 * card::margin) : 0;
    return ui::Size{fitting.width, kHeadingTop + text + kHeadingBottom};
}

void CommonHeaderTableViewCell::layoutSubviews() {
    const ui::Rect box = bounds();
    boxView->setFrame(box);
    const double width = box.width() - 2 * card::margin;
    lblTitle->setFrame(
        ui::Rect(card::margin, kHeadingTop, width, card::fittingHeight(*lblTitle, width)));
}

ui::Size CommonFooterTableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto stack = stackHeight.optional();
    const double texts = stack ? stack->constant() : 0;
    return ui::Size{fitting.width, kFooterTop + buttonHeight + (texts > 0 ? kFooterGap : 0) +
                                       texts + kFooterBottom};
}

void CommonFooterTableViewCell::layoutSubviews() {
    const ui::Rect box = bounds();
    boxView->setFrame(box);
    const double width = box.width() - 2 * card::margin;
    btnContainerView->setFrame(ui::Rect(card::margin, kFooterTop, width, buttonHeight));
    btnSubscribe->setFrame(ui::Rect(0, 0, width, buttonHeight));
    double y = kFooterTop + buttonHeight + kFooterGap;
    for (const auto& row : {loginView.get(), couponView.get()}) {
        if (row->isHidden()) {
            continue;
        }
        row->setFrame(ui::Rect(card::margin, y, width, textRowHeight));
        y += textRowHeight;
    }
    layoutTextRow(*loginView, *lblAlreadyPurchase, *lblLogin);
    layoutTextRow(*couponView, *lblHaveCoupon, *lblClickHere);
}

void CommonHeaderCenterTableViewCell::configure(const std::string& defaultText,
                                                const std::optional<typographyData>& style,
                                                double size) {
    styleLabel(*lblName, style, textOrDefault(style, defaultText), size);
}

void CommonHeaderTableViewCell::configure(const SharedCustomizePayWallModel& model) {
    const typography* texts = textStylesOf(model);
    const auto style = texts ? texts->heading : std::nullopt;
    styleLabel(*lblTitle, style, textOrDefault(style, defaultTitle), 36.0);
}

void CommonFooterTableViewCell::configure(bool useMainButton, const std::string& defaultTitle,
                                          const SharedCustomizePayWallModel& model) {
    double height = 0;
    if (Constants::sessionID()) {
        loginView->setHidden(true);
    } else {
        loginView->setHidden(false);
        height = textRowHeight;
    }
    const auto code = couponCode();
    if (code) {
        couponView->setHidden(false);
        height += textRowHeight;
    } else {
        couponView->setHidden(true);
    }
    stackHeight->setConstant(height);

    const typography* texts = textStylesOf(model);
    const Borders* frames = bordersOf(model);
    std::optional<typographyData> buttonText;
    std::optional<borderData> buttonBorder;
    if (useMainButton) {
        buttonText = texts ? texts->mainSubmitBtn : std::nullopt;
        buttonBorder = frames ? frames->mainSubmitBtn : std::nullopt;
    } else {
        buttonText = texts ? texts->contentDivBtn : std::nullopt;
        buttonBorder = frames ? frames->contentDivBtn : std::nullopt;
    }
    styleButton(*btnSubscribe, *btnContainerView, buttonText, buttonBorder, defaultTitle);

    styleFooterLabel(*lblHaveCoupon, texts ? texts->couponLeftText : std::nullopt);
    styleFooterLabel(*lblAlreadyPurchase, texts ? texts->AlreadyLeftText : std::nullopt);
    if (code) {
        lblClickHere->setText(*code);
    }
    styleFooterLabel(*lblClickHere, texts ? texts->couponRightText : std::nullopt);
    styleFooterLabel(*lblLogin, texts ? texts->loginText : std::nullopt);
    setNeedsLayout();
}

void CommonFooterTableViewCell::configureBanner(const JSONs* style,
                                                const std::string& defaultTitle) {
    loginView->setHidden(true);
    couponView->setHidden(true);
    stackHeight->setConstant(0);
    const typography* texts = style && style->styleForText && style->styleForText->typography
                                  ? &*style->styleForText->typography
                                  : nullptr;
    const Borders* frames = style && style->styleForBackground && style->styleForBackground->border
                                ? &*style->styleForBackground->border
                                : nullptr;
    styleButton(*btnSubscribe, *btnContainerView, texts ? texts->mainSubmitBtn : std::nullopt,
                frames ? frames->mainSubmitBtn : std::nullopt, defaultTitle);
    setNeedsLayout();
}

}  // namespace quillgate

#include "quillgate/templates/ZelViewController.h"

#include <algorithm>
#include <any>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/templates/CardLayout.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/NibRegistry.h"

namespace quillgate {

namespace {

constexpr const char* kContentSize = "contentSize";
constexpr const char* kBrandTitle = "ZEL Premium";
constexpr const char* kSubTitle = "Everything a subscription gives you";
constexpr const char* kViewAllPlans = "View all plans";

constexpr double kBlockRadius = 12;
constexpr double kSide = 24;
constexpr double kButtonHeight = 48;

const ui::Color kInk = ui::Color::rgb255(28, 28, 30);
const ui::Color kMutedInk = ui::Color::rgb255(99, 99, 102);
const ui::Color kBrand = ui::Color::rgb255(0xB0, 0x1E, 0x48);

// The gradient's container: the gradient fills it whatever its height.
class GradientContainerView : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override {
        for (const auto& child : subviews()) {
            if (std::dynamic_pointer_cast<GradientView>(child)) {
                child->setFrame(bounds());
            }
        }
    }
};

// The screen's root: the scroll view fills it; the scroll view's content (the gradient's
// container, the table in it) keeps the frames the screen gives it.
class ZelSceneView : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override {
        if (auto scroll = scroll_.lock()) {
            scroll->setFrame(bounds());
        }
    }
    std::weak_ptr<ui::ScrollView> scroll_;
};

std::shared_ptr<ui::Label> makeLabel(double size, ui::FontWeight weight, ui::Color colour,
                                     ui::TextAlignment alignment) {
    auto label = std::make_shared<ui::Label>();
    label->setFont(ui::Font::system(size, weight));
    label->setTextColor(colour);
    label->setTextAlignment(alignment);
    label->setNumberOfLines(0);
    return label;
}

template <class Cell>
std::shared_ptr<Cell> makeCell(ui::Color background) {
    auto cell = std::make_shared<Cell>();
    cell->setFrame(ui::Rect(0, 0, 390, 60));
    cell->setBackgroundColor(background);
    return cell;
}

std::shared_ptr<ui::View> sceneNib(ui::Responder* owner) {
    auto root = std::make_shared<ZelSceneView>();
    root->setFrame(ui::Rect(0, 0, 390, 844));
    // Below the rows the gradient's outer colour goes on.
    root->setBackgroundColor(GradientView().color4);
    auto scroll = std::make_shared<ui::ScrollView>(ui::Rect(0, 0, 390, 844));
    root->addSubview(scroll);
    root->scroll_ = scroll;
    auto container = std::make_shared<GradientContainerView>();
    container->setFrame(ui::Rect(0, 0, 390, 844));
    scroll->addSubview(container);
    auto table = std::make_shared<CustomTableView>(ui::Rect(0, 0, 390, 844));
    table->setBackgroundColor(ui::Color::clear());
    container->addSubview(table);
    if (auto* screen = dynamic_cast<ZelViewController*>(owner)) {
        screen->scrollView = scroll;
        screen->gradientContainerView = container;
        screen->tblView = table;
    }
    return root;
}

std::shared_ptr<ui::View> headerNib(ui::Responder*) {
    auto cell = makeCell<HeaderTableViewCell>(ui::Color::clear());
    auto title = makeLabel(30, ui::FontWeight::bold, kBrand, ui::TextAlignment::center);
    title->setText(kBrandTitle);
    cell->contentView()->addSubview(title);
    cell->lblZel = title;
    return cell;
}

std::shared_ptr<ui::View> subHeaderNib(ui::Responder*) {
    auto cell = makeCell<SubHeaderTableViewCell>(ui::Color::white());
    auto box = std::make_shared<ui::View>();
    cell->contentView()->addSubview(box);
    auto title = makeLabel(20, ui::FontWeight::semibold, kInk, ui::TextAlignment::left);
    title->setText(kSubTitle);
    cell->contentView()->addSubview(title);
    cell->boxView = box;
    cell->lblSubTitle = title;
    return cell;
}

std::shared_ptr<ui::View> benefitNib(ui::Responder*) {
    auto cell = makeCell<BenifitTableViewCell>(ui::Color::white());
    auto title = makeLabel(16, ui::FontWeight::semibold, kInk, ui::TextAlignment::left);
    auto desc = makeLabel(14, ui::FontWeight::regular, kMutedInk, ui::TextAlignment::left);
    cell->contentView()->addSubview(title);
    cell->contentView()->addSubview(desc);
    cell->lblTitle = title;
    cell->lblDesc = desc;
    return cell;
}

std::shared_ptr<ui::View> footerNib(ui::Responder*) {
    auto cell = makeCell<FooterTableViewCell>(ui::Color::white());
    auto box = std::make_shared<ui::View>();
    cell->contentView()->addSubview(box);
    auto button = std::make_shared<CustomButton>(ui::ButtonType::custom);
    button->setTitle(kViewAllPlans);
    button->setTitleColor(ui::Color::white());
    button->titleLabel()->setFont(ui::Font::system(17, ui::FontWeight::semibold));
    button->setBackgroundColor(kBrand);
    button->layer().cornerRadius = kButtonHeight / 2;
    box->addSubview(button);
    cell->boxView = box;
    cell->btnViewAllPlan = button;
    return cell;
}

}  // namespace

// ---- Cells -----------------------------------------------------------------------------------

ui::Size HeaderTableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto label = lblZel.optional();
    const double text = label ? card::fittingHeight(*label, fitting.width - 2 * kSide) : 0;
    return ui::Size{fitting.width, 56 + text + 28};
}

void HeaderTableViewCell::layoutSubviews() {
    const double width = bounds().width() - 2 * kSide;
    lblZel->setFrame(ui::Rect(kSide, 56, width, card::fittingHeight(*lblZel, width)));
}

ui::Size SubHeaderTableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto label = lblSubTitle.optional();
    const double text = label ? card::fittingHeight(*label, fitting.width - 2 * kSide) : 0;
    return ui::Size{fitting.width, 24 + text + 8};
}

void SubHeaderTableViewCell::layoutSubviews() {
    boxView->setFrame(bounds());
    const double width = bounds().width() - 2 * kSide;
    lblSubTitle->setFrame(ui::Rect(kSide, 24, width, card::fittingHeight(*lblSubTitle, width)));
}

ui::Size BenifitTableViewCell::sizeThatFits(ui::Size fitting) const {
    const auto title = lblTitle.optional();
    const auto desc = lblDesc.optional();
    const double width = fitting.width - 2 * kSide;
    const double text = (title ? card::fittingHeight(*title, width) : 0) + 4 +
                        (desc ? card::fittingHeight(*desc, width) : 0);
    return ui::Size{fitting.width, 12 + text + 12};
}

void BenifitTableViewCell::layoutSubviews() {
    const double width = bounds().width() - 2 * kSide;
    const double titleHeight = card::fittingHeight(*lblTitle, width);
    lblTitle->setFrame(ui::Rect(kSide, 12, width, titleHeight));
    lblDesc->setFrame(
        ui::Rect(kSide, 12 + titleHeight + 4, width, card::fittingHeight(*lblDesc, width)));
}

ui::Size FooterTableViewCell::sizeThatFits(ui::Size fitting) const {
    return ui::Size{fitting.width, 20 + kButtonHeight + 28};
}

void FooterTableViewCell::layoutSubviews() {
    boxView->setFrame(bounds());
    btnViewAllPlan->setFrame(ui::Rect(kSide, 20, bounds().width() - 2 * kSide, kButtonHeight));
}

// ---- Screen ----------------------------------------------------------------------------------

void ZelViewController::registerNibs() {
    auto& registry = ui::NibRegistry::shared();
    registry.registerNib("ZelViewController", sceneNib);
    registry.registerNib("HeaderTableViewCell", headerNib);
    registry.registerNib("SubHeaderTableViewCell", subHeaderNib);
    registry.registerNib("BenifitTableViewCell", benefitNib);
    registry.registerNib("FooterTableViewCell", footerNib);
}

void ZelViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    gradientView = std::make_shared<GradientView>(gradientContainerView->bounds());
    gradientContainerView->insertSubview(gradientView, 0);
    view()->bringSubviewToFront(gradientContainerView.get());

    auto table = tblView.get();
    for (const char* nib : {"HeaderTableViewCell", "SubHeaderTableViewCell", "BenifitTableViewCell",
                            "FooterTableViewCell"}) {
        table->registerNib(nib, nib);
    }
    auto self = shared_from_this();
    table->setDataSource(std::shared_ptr<ui::TableViewDataSource>(self, this));
    table->setDelegate(std::shared_ptr<ui::TableViewDelegate>(self, this));
    table->setSeparatorStyle(ui::SeparatorStyle::none);
    table->setRowHeight(ui::automaticDimension);
    table->setEstimatedRowHeight(ui::automaticDimension);
    table->addObserver(this, kContentSize,
                       [this](const ui::KeyValueChange& change) { observeValue(change); });

    std::weak_ptr<ui::ViewController> weak = weak_from_this();
    platform::mainQueue().async([weak] {
        if (auto screen = std::static_pointer_cast<ZelViewController>(weak.lock())) {
            screen->tblView->reloadData();
        }
    });
}

void ZelViewController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    auto& client = QuillgateClient::shared();
    if (auto host = client.completionHandlerDelegate.lock()) {
        host->onPaywallVisible(client.paywallType, std::string(rawValue(client.paywallDisplayType)),
                               client.paywallHeight, client.paywallId);
    }
}

void ZelViewController::viewWillDisappear(bool animated) {
    if (tblView->hasObservers()) {
        tblView->removeObserver(this, kContentSize);
    }
    ViewController::viewWillDisappear(animated);
}

void ZelViewController::observeValue(const ui::KeyValueChange& change) {
    if (change.keyPath != kContentSize) {
        return;
    }
    const auto* size = std::any_cast<ui::Size>(&change.newValue);
    if (!size) {
        return;
    }
    const double height = size->height + bottomMargin;
    std::weak_ptr<ui::ViewController> weak = weak_from_this();
    platform::mainQueue().async([weak, content = size->height, height] {
        auto screen = std::static_pointer_cast<ZelViewController>(weak.lock());
        if (!screen) {
            return;
        }
        const double width = screen->scrollView->frame().width();
        screen->scrollView->setContentSize(ui::Size{width, content});
        for (const auto& view : {screen->gradientContainerView.get(),
                                 std::static_pointer_cast<ui::View>(screen->tblView.get())}) {
            view->setFrame(ui::Rect(view->frame().origin, ui::Size{width, height}));
        }
    });
    QuillgateClient::shared().paywallHeight = height;
}

void ZelViewController::btnViewAllPlanTap() {
    const auto model = customizePayWallModel();
    std::optional<std::string> link;
    if (model && model->data && model->data->configuration && model->data->configuration->mobile &&
        model->data->configuration->mobile->json &&
        model->data->configuration->mobile->json->slotData &&
        model->data->configuration->mobile->json->slotData->slot &&
        model->data->configuration->mobile->json->slotData->slot->contentDivBtn) {
        link = model->data->configuration->mobile->json->slotData->slot->contentDivBtn->redirectUrl;
    }
    auto& client = QuillgateClient::shared();
    if (auto host = client.completionHandlerDelegate.lock()) {
        host->onCustomLinkSlot(link, client.contentID);
    }
}

int ZelViewController::numberOfRows(ui::TableView&, int) {
    return static_cast<int>(arrText.size());
}

std::shared_ptr<ui::TableViewCell> ZelViewController::cellForRow(ui::TableView& table,
                                                                 ui::IndexPath indexPath) {
    const int row = indexPath.row;
    const int last = static_cast<int>(arrText.size()) - 1;
    std::shared_ptr<ui::TableViewCell> made;
    if (row == 0) {
        made = table.dequeueReusableCell("HeaderTableViewCell");
    } else if (row == 1) {
        made = table.dequeueReusableCell("SubHeaderTableViewCell");
    } else if (row == last) {
        auto footer = std::dynamic_pointer_cast<FooterTableViewCell>(
            table.dequeueReusableCell("FooterTableViewCell"));
        if (!footer) {
            platform::fatal("Could not dequeue cell with identifier: FooterTableViewCell");
        }
        std::weak_ptr<ui::ViewController> weak = weak_from_this();
        footer->btnViewAllPlan->addTarget(
            this, "btnViewAllPlanTap:",
            [weak](ui::Control&) {
                if (auto screen = std::static_pointer_cast<ZelViewController>(weak.lock())) {
                    screen->btnViewAllPlanTap();
                }
            },
            ui::ControlEvent::touchUpInside);
        made = footer;
    } else {
        auto benefit = std::dynamic_pointer_cast<BenifitTableViewCell>(
            table.dequeueReusableCell("BenifitTableViewCell"));
        if (!benefit) {
            platform::fatal("Could not dequeue cell with identifier: BenifitTableViewCell");
        }
        const auto at = static_cast<std::size_t>(row);
        benefit->lblTitle->setText(at < arrText.size() ? arrText[at] : "");
        benefit->lblDesc->setText(at < arrDescText.size() ? arrDescText[at] : "");
        benefit->setNeedsLayout();
        made = benefit;
    }
    made->setSelectionStyle(ui::CellSelectionStyle::none);
    return made;
}

std::optional<double> ZelViewController::heightForRow(ui::TableView&, ui::IndexPath) {
    return ui::automaticDimension;
}

void ZelViewController::willDisplayCell(ui::TableView&, ui::TableViewCell& cell,
                                        ui::IndexPath indexPath) {
    auto& layer = cell.layer();
    layer.cornerRadius = 0;
    layer.maskedCorners = 0;
    const int last = static_cast<int>(arrText.size()) - 1;
    if (indexPath.row == 1) {
        layer.cornerRadius = kBlockRadius;
        layer.maskedCorners = ui::minXMinYCorner | ui::maxXMinYCorner;
        layer.masksToBounds = true;
    }
    if (indexPath.row == last) {
        layer.cornerRadius = kBlockRadius;
        layer.maskedCorners = ui::minXMaxYCorner | ui::maxXMaxYCorner;
        layer.masksToBounds = true;
    }
}

}  // namespace quillgate

#include "quillgate/ui/TableViewCell.h"

#include "quillgate/ui/TableView.h"

namespace quillgate::ui {

const std::shared_ptr<View>& TableViewCell::contentView() {
    if (!contentView_) {
        contentView_ = std::make_shared<View>(bounds());
        insertSubview(contentView_, 0);
    }
    return contentView_;
}

void TableViewCell::setFrame(Rect frame) {
    View::setFrame(frame);
    if (contentView_) {
        contentView_->setFrame(bounds());
    }
}

void TableViewCell::setSelected(bool selected, bool animated) {
    (void)animated;
    selected_ = selected;
}

void TableViewCell::setHighlighted(bool highlighted, bool animated) {
    (void)animated;
    highlighted_ = highlighted;
}

void TableViewCell::touchesEnded() {
    auto self = weak_from_this().lock();
    for (auto v = superview(); v; v = v->superview()) {
        if (auto table = std::dynamic_pointer_cast<TableView>(v)) {
            table->touchEndedOnCell(*this);
            break;
        }
    }
    View::touchesEnded();
}

void TableViewCell::describeAttributes(std::vector<std::string>& out) const {
    if (!reuseIdentifier_.empty()) {
        out.push_back("reuse=" + reuseIdentifier_);
    }
    if (selected_) {
        out.push_back("selected");
    }
}

}  // namespace quillgate::ui

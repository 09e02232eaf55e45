#include "quillgate/ui/CollectionViewCell.h"

namespace quillgate::ui {

const std::shared_ptr<View>& CollectionViewCell::contentView() {
    if (!contentView_) {
        contentView_ = std::make_shared<View>(bounds());
        insertSubview(contentView_, 0);
    }
    return contentView_;
}

void CollectionViewCell::setFrame(Rect frame) {
    View::setFrame(frame);
    if (contentView_) {
        contentView_->setFrame(bounds());
    }
}

void CollectionViewCell::setSelected(bool selected) {
    selected_ = selected;
}

void CollectionViewCell::setHighlighted(bool highlighted) {
    highlighted_ = highlighted;
}

void CollectionViewCell::describeAttributes(std::vector<std::string>& out) const {
    if (!reuseIdentifier_.empty()) {
        out.push_back("reuse=" + reuseIdentifier_);
    }
    if (selected_) {
        out.push_back("selected");
    }
}

}  // namespace quillgate::ui

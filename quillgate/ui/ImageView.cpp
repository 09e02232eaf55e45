#include "quillgate/ui/ImageView.h"

namespace quillgate::ui {

ImageView::ImageView() {
    userInteractionEnabled_ = false;
}

ImageView::ImageView(Rect frame) : View(frame) {
    userInteractionEnabled_ = false;
}

ImageView::ImageView(std::optional<Image> image) : ImageView() {
    image_ = std::move(image);
    if (image_) {
        setFrame(Rect(Point{}, image_->size()));
    }
}

void ImageView::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("image=" + (image_ ? image_->description() : std::string("none")));
}

}  // namespace quillgate::ui

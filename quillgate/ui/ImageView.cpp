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

void ImageView::setImage(std::optional<Image> image) {
    image_ = std::move(image);
    invalidateIntrinsicContentSize();
}

Size ImageView::sizeThatFits(Size fitting) const {
    if (!image_ || image_->isEmpty() || image_->size().width <= 0 || image_->size().height <= 0) {
        return frame().size;
    }
    const Size size = image_->size();
    const bool scales = contentMode() == ContentMode::scaleAspectFit ||
                        contentMode() == ContentMode::scaleAspectFill ||
                        contentMode() == ContentMode::scaleToFill;
    if (scales && fitting.width > 0 && size.width > fitting.width) {
        return Size{fitting.width, size.height * fitting.width / size.width};
    }
    return size;
}

void ImageView::describeAttributes(std::vector<std::string>& out) const {
    out.push_back("image=" + (image_ ? image_->description() : std::string("none")));
}

}  // namespace quillgate::ui

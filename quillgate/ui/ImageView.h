#pragma once

#include <optional>
#include <string>

#include "quillgate/ui/Image.h"
#include "quillgate/ui/View.h"

// A view that shows one image. It doesn't take touches unless told to. Main thread only.
namespace quillgate::ui {

class ImageView : public View {
  public:
    ImageView();
    explicit ImageView(Rect frame);
    explicit ImageView(std::optional<Image> image);

    std::string className() const override { return "ImageView"; }

    const std::optional<Image>& image() const { return image_; }
    void setImage(std::optional<Image> image);

    // The image's size in points, scaled down to `fitting.width` (keeping its aspect) when it
    // is wider and the content mode scales; with no image (or one of unknown size) the frame's
    // size.
    Size sizeThatFits(Size fitting) const override;

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    std::optional<Image> image_;
};

}  // namespace quillgate::ui

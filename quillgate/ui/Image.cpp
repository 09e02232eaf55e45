#include "quillgate/ui/Image.h"

namespace quillgate::ui {

Image Image::named(std::string name, Size size, std::string bytes) {
    Image image;
    image.source_ = Source::named;
    image.name_ = std::move(name);
    image.data_ = std::move(bytes);
    image.size_ = size;
    return image;
}

Image Image::systemNamed(std::string name) {
    Image image;
    image.source_ = Source::system;
    image.name_ = std::move(name);
    return image;
}

Image Image::fromData(std::string bytes, Size size) {
    Image image;
    image.source_ = Source::data;
    image.data_ = std::move(bytes);
    image.size_ = size;
    return image;
}

std::string Image::description() const {
    switch (source_) {
        case Source::none:
            return "empty";
        case Source::named:
            return "named:" + name_;
        case Source::system:
            return "system:" + name_;
        case Source::data: {
            auto num = [](double v) { return std::to_string(static_cast<long long>(v)); };
            return "data:" + std::to_string(data_.size()) + " bytes " + num(size_.width) + "x" +
                   num(size_.height);
        }
    }
    return "empty";
}

}  // namespace quillgate::ui

#pragma once

#include <string>
#include <string_view>

#include "quillgate/ui/Geometry.h"

// An image as the view tree keeps it: where it came from (a resource name, a system symbol
// name, or downloaded bytes) and its size in points. Nothing is decoded: the toolkit only
// has to show which image an element holds. Plain value; any thread.
namespace quillgate::ui {

class Image {
  public:
    enum class Source { none, named, system, data };

    // The empty image (what a missing resource file gives).
    Image() = default;

    // An image resource of the library, by file name ("orvelantLogoMono.png"), with the
    // file's bytes when the library has them (what a renderer draws).
    static Image named(std::string name, Size size = {}, std::string bytes = {});
    // A symbol image of the platform ("checkmark.square.fill").
    static Image systemNamed(std::string name);
    // Image bytes, as downloaded, with the size the caller read from them.
    static Image fromData(std::string bytes, Size size);

    Source source() const { return source_; }
    bool isEmpty() const { return source_ == Source::none; }
    const std::string& name() const { return name_; }
    // The encoded bytes: downloaded ones, or a resource's file; empty when there are none.
    const std::string& data() const { return data_; }
    Size size() const { return size_; }

    // "named:<name>", "system:<name>", "data:<n> bytes <w>x<h>" or "empty"; for tree texts.
    std::string description() const;

    friend bool operator==(const Image&, const Image&) = default;

  private:
    Source source_ = Source::none;
    std::string name_;
    std::string data_;
    Size size_;
};

}  // namespace quillgate::ui

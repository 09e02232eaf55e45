#pragma once

#include <compare>

// The position of a row (tables) or item (collections): section and index. Plain value.
namespace quillgate::ui {

struct IndexPath {
    int section = 0;
    int row = 0;

    static IndexPath forRow(int row, int section = 0) { return IndexPath{section, row}; }
    static IndexPath forItem(int item, int section = 0) { return IndexPath{section, item}; }
    int item() const { return row; }

    friend auto operator<=>(const IndexPath&, const IndexPath&) = default;
};

}  // namespace quillgate::ui

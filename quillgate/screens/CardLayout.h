#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quillgate/ui/Label.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/StackView.h"
#include "quillgate/ui/View.h"

// The views a card-shaped screen lays itself out with, top to bottom, measuring before it
// places (a parent passes its width down, each child answers the height it needs, the parent
// places it). Hidden children take no room, and an active "height <= constant" constraint
// on a child caps its height: a screen that sets such a constant to 0 collapses the block.
// Main thread only.
namespace quillgate {

// A column: its children one below the other at its width less the insets, each at the
// height it needs (or a fixed one), with a gap above each child but the first shown.
class CardColumn : public ui::View {
  public:
    struct Item {
        std::weak_ptr<ui::View> view;
        double height = 0;  // 0: the height the child needs at the column's width
        double gapAbove = 0;
        double sideInset = 0;  // extra inset on both sides, beside the column's own
    };

    CardColumn() = default;
    explicit CardColumn(ui::EdgeInsets insets) : insets_(insets) {}

    std::string className() const override { return "View"; }

    // Adds `view` as a subview and as the column's next item.
    void add(const std::shared_ptr<ui::View>& view, double height = 0, double gapAbove = 0,
             double sideInset = 0);

    void layoutSubviews() override;
    // The column's width as given, and the height its shown children need.
    ui::Size sizeThatFits(ui::Size fitting) const override;

  private:
    // The height `view` takes at `width`: none when hidden, else its own or the fixed one,
    // capped by an active "height <= constant" constraint on it.
    static double heightOf(const Item& item, const ui::View& view, double width);

    ui::EdgeInsets insets_;
    std::vector<Item> items_;
};

// The card's frame: one child filling it, its height that of the child.
class CardFrame : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override;
    ui::Size sizeThatFits(ui::Size fitting) const override;
};

// A divider: a line across the whole width with a word on top of its middle.
class OrDivider : public ui::StackView {
  public:
    OrDivider(std::shared_ptr<ui::View> line, std::shared_ptr<ui::Label> word);

    std::string className() const override { return "StackView"; }
    void layoutSubviews() override;
    ui::Size sizeThatFits(ui::Size fitting) const override;

  private:
    std::weak_ptr<ui::View> line_;
    std::weak_ptr<ui::Label> word_;
};

// A row of a few views side by side, centred, each at the width it needs.
class CentredRow : public ui::StackView {
  public:
    explicit CentredRow(double spacing);

    std::string className() const override { return "StackView"; }
    void layoutSubviews() override;
    ui::Size sizeThatFits(ui::Size fitting) const override;
};

// A scroll view whose one content view is as wide as the scroll view and as high as it needs.
class CardScrollView : public ui::ScrollView {
  public:
    std::string className() const override { return "ScrollView"; }
    void layoutSubviews() override;
};

// A strip: its first subview fills it, the others keep their size at its right end, centred
// up and down (a caption with a close button).
class StripView : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override;
};

// The root of a screen: every subview fills it.
class FillingView : public ui::View {
  public:
    std::string className() const override { return "View"; }
    void layoutSubviews() override;
};

}  // namespace quillgate

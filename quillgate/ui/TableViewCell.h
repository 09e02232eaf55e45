#pragma once

#include <memory>
#include <string>

#include "quillgate/ui/View.h"

// A row of a table view. Nib builders put the row's elements into `contentView()`. The table
// keeps cells for reuse by identifier: before a cell is handed out again it hears
// `prepareForReuse()`, and it keeps whatever else it collected (targets, recognisers), so
// a cell adds those once. Selection changes go through the virtual `setSelected`; a reader's
// touch that ends on a cell (or on a view in it that takes no touches of its own) selects the
// row as a tap on the row would. Main thread only.
namespace quillgate::ui {

enum class CellSelectionStyle { none = 0, blue = 1, gray = 2, defaultStyle = 3 };

class TableViewCell : public View {
  public:
    TableViewCell() = default;
    explicit TableViewCell(std::string reuseIdentifier)
        : reuseIdentifier_(std::move(reuseIdentifier)) {}

    std::string className() const override { return "TableViewCell"; }

    const std::string& reuseIdentifier() const { return reuseIdentifier_; }
    void setReuseIdentifier(std::string id) { reuseIdentifier_ = std::move(id); }

    // The view the row's elements go in; made on first use, sized to the cell.
    const std::shared_ptr<View>& contentView();
    void setFrame(Rect frame) override;

    CellSelectionStyle selectionStyle() const { return selectionStyle_; }
    void setSelectionStyle(CellSelectionStyle style) { selectionStyle_ = style; }
    bool isSelected() const { return selected_; }
    virtual void setSelected(bool selected, bool animated = false);
    bool isHighlighted() const { return highlighted_; }
    virtual void setHighlighted(bool highlighted, bool animated = false);
    virtual void prepareForReuse() {}

    // A touch that ends on the cell selects its row in the table it is in, then goes on up
    // the responder chain.
    void touchesEnded() override;

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    std::string reuseIdentifier_;
    std::shared_ptr<View> contentView_;
    CellSelectionStyle selectionStyle_ = CellSelectionStyle::defaultStyle;
    bool selected_ = false;
    bool highlighted_ = false;
};

}  // namespace quillgate::ui

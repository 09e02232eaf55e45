#pragma once

#include <memory>
#include <string>

#include "quillgate/ui/View.h"

// An item of a collection view; like a table cell: elements go into `contentView()`, cells
// are reused by identifier (`prepareForReuse()` first), selection changes go through the
// virtual `setSelected`. Main thread only.
namespace quillgate::ui {

class CollectionViewCell : public View {
  public:
    CollectionViewCell() = default;
    explicit CollectionViewCell(std::string reuseIdentifier)
        : reuseIdentifier_(std::move(reuseIdentifier)) {}

    std::string className() const override { return "CollectionViewCell"; }

    const std::string& reuseIdentifier() const { return reuseIdentifier_; }
    void setReuseIdentifier(std::string id) { reuseIdentifier_ = std::move(id); }

    const std::shared_ptr<View>& contentView();
    void setFrame(Rect frame) override;

    bool isSelected() const { return selected_; }
    virtual void setSelected(bool selected);
    bool isHighlighted() const { return highlighted_; }
    virtual void setHighlighted(bool highlighted);
    virtual void prepareForReuse() {}

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    std::string reuseIdentifier_;
    std::shared_ptr<View> contentView_;
    bool selected_ = false;
    bool highlighted_ = false;
};

}  // namespace quillgate::ui

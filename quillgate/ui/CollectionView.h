#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/ui/CellQueue.h"
#include "quillgate/ui/CollectionViewCell.h"
#include "quillgate/ui/IndexPath.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/TableView.h"

// A collection of items in sections, placed by a flow layout: items follow each other along
// a line (left to right when scrolling vertically, top to bottom when scrolling
// horizontally) and wrap to the next line when the line is full. Sizes, insets and spacings
// come from the layout or from the delegate per item and section. Like the table view,
// `reloadData()` builds every item's cell, places it and sets the content size; cells are
// dequeued by identifier; `tapItem` acts as the reader and `selectItem` is programmatic.
// Data source and delegate are held weakly. Main thread only.
namespace quillgate::ui {

class CollectionView;

enum class ScrollDirection { vertical = 0, horizontal = 1 };

struct CollectionViewFlowLayout {
    ScrollDirection scrollDirection = ScrollDirection::vertical;
    Size itemSize{50, 50};
    double minimumLineSpacing = 10;
    double minimumInteritemSpacing = 10;
    EdgeInsets sectionInset;
    // Not zero: items the delegate gives no size take their cell's fitting size (at most the
    // line's width when scrolling vertically); this size stands in for a cell that answers
    // none.
    Size estimatedItemSize;
};

class CollectionViewDataSource {
  public:
    virtual ~CollectionViewDataSource() = default;
    virtual int numberOfSections(CollectionView& view) {
        (void)view;
        return 1;
    }
    virtual int numberOfItems(CollectionView& view, int section) = 0;
    virtual std::shared_ptr<CollectionViewCell> cellForItem(CollectionView& view,
                                                            IndexPath indexPath) = 0;
};

// Also the flow layout's delegate: each answer left empty takes the layout's value.
class CollectionViewDelegate {
  public:
    virtual ~CollectionViewDelegate() = default;
    virtual std::optional<Size> sizeForItem(CollectionView& view, IndexPath indexPath) {
        (void)view;
        (void)indexPath;
        return std::nullopt;
    }
    virtual std::optional<EdgeInsets> insetForSection(CollectionView& view, int section) {
        (void)view;
        (void)section;
        return std::nullopt;
    }
    virtual std::optional<double> minimumLineSpacing(CollectionView& view, int section) {
        (void)view;
        (void)section;
        return std::nullopt;
    }
    virtual std::optional<double> minimumInteritemSpacing(CollectionView& view, int section) {
        (void)view;
        (void)section;
        return std::nullopt;
    }
    virtual void willDisplayCell(CollectionView& view, CollectionViewCell& cell,
                                 IndexPath indexPath) {
        (void)view;
        (void)cell;
        (void)indexPath;
    }
    virtual void didSelectItem(CollectionView& view, IndexPath indexPath) {
        (void)view;
        (void)indexPath;
    }
    virtual void didDeselectItem(CollectionView& view, IndexPath indexPath) {
        (void)view;
        (void)indexPath;
    }
};

class CollectionView : public ScrollView {
  public:
    using CellFactory = CellQueue<CollectionViewCell>::Factory;

    CollectionView() = default;
    explicit CollectionView(Rect frame, CollectionViewFlowLayout layout = {})
        : ScrollView(frame), layout_(layout) {}
    ~CollectionView() override;

    std::string className() const override { return "CollectionView"; }

    std::shared_ptr<CollectionViewDataSource> dataSource() const { return dataSource_.lock(); }
    void setDataSource(std::weak_ptr<CollectionViewDataSource> d) { dataSource_ = std::move(d); }
    std::shared_ptr<CollectionViewDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<CollectionViewDelegate> d) { delegate_ = std::move(d); }

    CollectionViewFlowLayout& layout() { return layout_; }
    const CollectionViewFlowLayout& layout() const { return layout_; }

    // ---- Cells
    void registerNib(const std::string& nibName, const std::string& identifier);
    void registerClass(const std::string& identifier, CellFactory factory);
    template <class T>
    void registerClass(const std::string& identifier) {
        registerClass(identifier, [] { return std::make_shared<T>(); });
    }
    bool isRegistered(const std::string& identifier) const;
    std::shared_ptr<CollectionViewCell> dequeueReusableCell(const std::string& identifier,
                                                            IndexPath indexPath = {});

    // ---- Content
    void reloadData();
    int reloadCount() const { return reloadCount_; }
    int numberOfSections() const { return static_cast<int>(sections_.size()); }
    int numberOfItems(int section) const;
    std::shared_ptr<CollectionViewCell> cellForItem(IndexPath indexPath) const;
    std::vector<std::shared_ptr<CollectionViewCell>> visibleCells() const;
    std::optional<IndexPath> indexPathForCell(const CollectionViewCell& cell) const;

    // ---- Selection
    bool allowsSelection() const { return allowsSelection_; }
    void setAllowsSelection(bool on) { allowsSelection_ = on; }
    std::vector<IndexPath> indexPathsForSelectedItems() const;
    // Programmatic: the delegate hears nothing.
    void selectItem(IndexPath indexPath, bool animated = false,
                    ScrollPosition position = ScrollPosition::none);
    void deselectItem(IndexPath indexPath, bool animated = false);
    // The reader taps an item (see TableView::tapRow).
    bool tapItem(IndexPath indexPath);

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    std::weak_ptr<CollectionViewDataSource> dataSource_;
    std::weak_ptr<CollectionViewDelegate> delegate_;
    CollectionViewFlowLayout layout_;
    CellQueue<CollectionViewCell> cells_;
    std::vector<std::vector<std::shared_ptr<CollectionViewCell>>> sections_;
    std::optional<IndexPath> selected_;
    bool allowsSelection_ = true;
    int reloadCount_ = 0;
    bool reloading_ = false;
};

}  // namespace quillgate::ui

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillgate/ui/CellQueue.h"
#include "quillgate/ui/IndexPath.h"
#include "quillgate/ui/ScrollView.h"
#include "quillgate/ui/TableViewCell.h"

// A table of rows in sections, asked from a data source and laid out top to bottom. There
// is no scrolling window: `reloadData()` asks for every row's cell, places the section
// headers and cells one below the other with each row's height, and sets the content size
// to the total (which observers of "contentSize" hear, as ui::Size). A row whose height is
// `automaticDimension` takes its cell's fitting height at the table's width
// (`sizeThatFits({width, 0})`: a plain cell measures its content view's subviews, a cell
// class may override it); the estimated row height stands in only when a cell answers no
// height. When the table's width changes, the next layout pass measures the rows again at
// the new width, places them and sets the content size again.
//
// Cells come from `dequeueReusableCell`: a cell set aside by the last reload, or a new one
// from the nib or factory registered for the identifier; an identifier with neither ends
// the program: it is a fault of the screen, not of input. Data source and delegate are weak.
// `tapRow` acts as the reader; `selectRow` is the programmatic selection that doesn't tell
// the delegate. Main thread only.
namespace quillgate::ui {

class TableView;

inline constexpr double automaticDimension = -1;

enum class TableViewStyle { plain = 0, grouped = 1, insetGrouped = 2 };
enum class SeparatorStyle { none = 0, singleLine = 1 };
enum class ScrollPosition {
    none,
    top,
    centeredVertically,
    bottom,
    left,
    centeredHorizontally,
    right,
};

class TableViewDataSource {
  public:
    virtual ~TableViewDataSource() = default;
    virtual int numberOfSections(TableView& table) {
        (void)table;
        return 1;
    }
    virtual int numberOfRows(TableView& table, int section) = 0;
    virtual std::shared_ptr<TableViewCell> cellForRow(TableView& table, IndexPath indexPath) = 0;
    virtual std::optional<std::string> titleForHeader(TableView& table, int section) {
        (void)table;
        (void)section;
        return std::nullopt;
    }
};

class TableViewDelegate {
  public:
    virtual ~TableViewDelegate() = default;
    // Nothing: the table's rowHeight.
    virtual std::optional<double> heightForRow(TableView& table, IndexPath indexPath) {
        (void)table;
        (void)indexPath;
        return std::nullopt;
    }
    // Nothing: sectionHeaderHeight when the section has a header view or title, else 0.
    virtual std::optional<double> heightForHeader(TableView& table, int section) {
        (void)table;
        (void)section;
        return std::nullopt;
    }
    virtual std::shared_ptr<View> viewForHeader(TableView& table, int section) {
        (void)table;
        (void)section;
        return nullptr;
    }
    virtual void willDisplayCell(TableView& table, TableViewCell& cell, IndexPath indexPath) {
        (void)table;
        (void)cell;
        (void)indexPath;
    }
    virtual void didSelectRow(TableView& table, IndexPath indexPath) {
        (void)table;
        (void)indexPath;
    }
    virtual void didDeselectRow(TableView& table, IndexPath indexPath) {
        (void)table;
        (void)indexPath;
    }
};

class TableView : public ScrollView {
  public:
    using CellFactory = CellQueue<TableViewCell>::Factory;

    TableView() = default;
    explicit TableView(Rect frame, TableViewStyle style = TableViewStyle::plain)
        : ScrollView(frame), style_(style) {}
    ~TableView() override;

    std::string className() const override { return "TableView"; }
    TableViewStyle style() const { return style_; }

    std::shared_ptr<TableViewDataSource> dataSource() const { return dataSource_.lock(); }
    void setDataSource(std::weak_ptr<TableViewDataSource> d) { dataSource_ = std::move(d); }
    std::shared_ptr<TableViewDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<TableViewDelegate> d) { delegate_ = std::move(d); }

    // ---- Cells
    // Cells for `identifier` are built from the nib `nibName` (its root must be a cell).
    void registerNib(const std::string& nibName, const std::string& identifier);
    void registerClass(const std::string& identifier, CellFactory factory);
    template <class T>
    void registerClass(const std::string& identifier) {
        registerClass(identifier, [] { return std::make_shared<T>(); });
    }
    bool isRegistered(const std::string& identifier) const;
    std::shared_ptr<TableViewCell> dequeueReusableCell(const std::string& identifier);
    std::shared_ptr<TableViewCell> dequeueReusableCell(const std::string& identifier,
                                                       IndexPath indexPath);

    // ---- Content
    void reloadData();
    // How many times reloadData ran.
    int reloadCount() const { return reloadCount_; }
    int numberOfSections() const { return static_cast<int>(sections_.size()); }
    int numberOfRows(int section) const;
    std::shared_ptr<TableViewCell> cellForRow(IndexPath indexPath) const;
    std::vector<std::shared_ptr<TableViewCell>> visibleCells() const;
    std::optional<IndexPath> indexPathForCell(const TableViewCell& cell) const;
    std::shared_ptr<View> headerView(int section) const;
    // The row's frame in the table's content.
    std::optional<Rect> rectForRow(IndexPath indexPath) const;

    double rowHeight() const { return rowHeight_; }
    void setRowHeight(double h) { rowHeight_ = h; }
    double estimatedRowHeight() const { return estimatedRowHeight_; }
    void setEstimatedRowHeight(double h) { estimatedRowHeight_ = h; }
    double sectionHeaderHeight() const { return sectionHeaderHeight_; }
    void setSectionHeaderHeight(double h) { sectionHeaderHeight_ = h; }
    SeparatorStyle separatorStyle() const { return separatorStyle_; }
    void setSeparatorStyle(SeparatorStyle s) { separatorStyle_ = s; }

    // ---- Selection
    bool allowsSelection() const { return allowsSelection_; }
    void setAllowsSelection(bool on) { allowsSelection_ = on; }
    std::optional<IndexPath> indexPathForSelectedRow() const { return selected_; }
    // Programmatic: the delegate hears nothing.
    void selectRow(IndexPath indexPath, bool animated = false,
                   ScrollPosition position = ScrollPosition::none);
    void deselectRow(IndexPath indexPath, bool animated = false);
    // The reader taps a row: the touch begins on its cell and, when selection is allowed,
    // the row becomes the selected one and the delegate hears didDeselectRow for the old one
    // and didSelectRow for it. False when the table can't receive touches or the row isn't
    // there.
    bool tapRow(IndexPath indexPath);
    // A reader's touch that ended on `cell` (on the cell or on a view inside it that passed
    // the touch on): when selection is allowed, the cell's row becomes the selected one as
    // with `tapRow`. False when the cell isn't one of the table's rows.
    bool touchEndedOnCell(const TableViewCell& cell);

    // Measures and places the rows again when the width changed since they were placed.
    void layoutSubviews() override;

    void describeAttributes(std::vector<std::string>& out) const override;

  private:
    struct Row {
        std::shared_ptr<TableViewCell> cell;
        Rect frame;
        double requestedHeight = 0;  // the delegate's or rowHeight; automaticDimension: measure
    };
    struct Section {
        std::shared_ptr<View> header;
        double requestedHeaderHeight = 0;
        std::vector<Row> rows;
    };
    double headerHeight(const Section& section, double width) const;
    double rowHeightFor(const Row& row, double width) const;
    // The selection a reader's touch on a row makes, when selection is allowed.
    void selectByTouch(IndexPath indexPath);
    // Places headers and rows from the top at the current width; sets the content size.
    void placeRows();

    std::weak_ptr<TableViewDataSource> dataSource_;
    std::weak_ptr<TableViewDelegate> delegate_;
    TableViewStyle style_ = TableViewStyle::plain;
    CellQueue<TableViewCell> cells_;
    std::vector<Section> sections_;
    std::optional<IndexPath> selected_;
    double rowHeight_ = 44;
    double estimatedRowHeight_ = automaticDimension;
    double sectionHeaderHeight_ = 28;
    SeparatorStyle separatorStyle_ = SeparatorStyle::singleLine;
    bool allowsSelection_ = true;
    int reloadCount_ = 0;
    std::optional<double> placedWidth_;  // the width the rows were measured at
};

}  // namespace quillgate::ui

#pragma once

#include <string>

#include "quillgate/ui/TableView.h"

// A table that, besides scrolling, tells its screen that a touch began on it, so that the
// screen counts its reader as active. Main thread only.
namespace quillgate {

class CustomTableView : public ui::TableView {
  public:
    using TableView::TableView;

    std::string className() const override { return "CustomTableView"; }

    void touchesBegan() override;
};

}  // namespace quillgate

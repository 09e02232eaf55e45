#pragma once

#include <optional>
#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA7 template: a heading, a sub-heading and the subscribe footer. Its button acts on
// the value word of the configuration's first slot ("content", "pass" or "subscription").
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA7ViewController : public BaseViewController {
  public:
    explicit CTA7ViewController(Token token) : BaseViewController(token, "CTA7ViewController") {}
    std::string className() const override { return "CTA7ViewController"; }

    // The value word of the first slot.
    std::optional<std::string> selectedSlot;

    void viewDidLoad() override;
    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;
    void btnSubmitAction() override;
};

}  // namespace quillgate

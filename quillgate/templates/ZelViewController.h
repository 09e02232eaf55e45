#pragma once

#include <memory>
#include <string>

#include "quillgate/client/SharedData.h"
#include "quillgate/ui/ViewController.h"

// The benefits screen made for one publisher brand: built-in texts, one button whose target
// comes from the configuration. The client routes the wall named "DONT_EDIT_THIS_WALL_APP"
// here and makes it from the nib of the same name. Unlike the templates it is not a
// BaseViewController (it has no ping and no card of configured rows), so it takes the
// SharedData fields directly: the configuration as a shared record, the client weakly.
// Main thread only.
namespace quillgate {

class ZelViewController : public ui::ViewController, public SharedDataFields {
  public:
    explicit ZelViewController(Token token) : ViewController(token, "ZelViewController") {}
    std::string className() const override { return "ZelViewController"; }

    // Its texts are built in: nothing to redo.
    void refreshData() override {}
};

}  // namespace quillgate

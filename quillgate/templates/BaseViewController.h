#pragma once

#include <memory>
#include <string>

#include "quillgate/client/SharedData.h"
#include "quillgate/ui/ViewController.h"

// The common base of the template paywalls (and of the meter banner): the screen side of
// SharedData. The client makes a screen from the nib named after its class, sets the delegate
// and then the configuration, and adds the root view to the host's parent view; when a wall
// already stands there on a later pass, the client asks it to refresh instead.
//
// The screen holds its configuration as a shared, never-changed record, and the client
// weakly: the client owns the screen through its `customPayWallVC` field. Main thread only.
namespace quillgate {

class BaseViewController : public ui::ViewController, public SharedDataFields {
  public:
    std::string className() const override { return "BaseViewController"; }

    // Shows the screen again with what the client holds now. The base has nothing to redo.
    void refreshData() override {}

  protected:
    // `nibName` is the nib the root view is built from: the class's own name.
    BaseViewController(Token token, std::string nibName)
        : ViewController(token, std::move(nibName)) {}
};

}  // namespace quillgate

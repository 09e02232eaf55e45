#pragma once

#include <string>

#include "quillgate/ui/Button.h"

// A button that, besides acting as a button, tells its screen that a touch began on it, so
// that the screen counts its reader as active. Main thread only.
namespace quillgate {

class CustomButton : public ui::Button {
  public:
    using Button::Button;

    std::string className() const override { return "CustomButton"; }

    void touchesBegan() override;
};

}  // namespace quillgate

#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA4 template: three offer rows under a plain heading.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA4ViewController : public BaseViewController {
  public:
    explicit CTA4ViewController(Token token) : BaseViewController(token, "CTA4ViewController") {}
    std::string className() const override { return "CTA4ViewController"; }
};

}  // namespace quillgate

#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA8 family: a large heading over one or two options.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA8ViewController : public BaseViewController {
  public:
    explicit CTA8ViewController(Token token) : BaseViewController(token, "CTA8ViewController") {}
    std::string className() const override { return "CTA8ViewController"; }
};

}  // namespace quillgate

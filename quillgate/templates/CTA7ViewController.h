#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA7 template: a heading, a sub-heading and the subscribe footer.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA7ViewController : public BaseViewController {
  public:
    explicit CTA7ViewController(Token token) : BaseViewController(token, "CTA7ViewController") {}
    std::string className() const override { return "CTA7ViewController"; }
};

}  // namespace quillgate

#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA13 template: one offer under a live countdown. The client shows it only while its
// deadline lies ahead.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA13ViewController : public BaseViewController {
  public:
    explicit CTA13ViewController(Token token) : BaseViewController(token, "CTA13ViewController") {}
    std::string className() const override { return "CTA13ViewController"; }
};

}  // namespace quillgate

#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA15 template: the CTA13 countdown over a different offer card. Shown only while its
// deadline lies ahead.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA15ViewController : public BaseViewController {
  public:
    explicit CTA15ViewController(Token token) : BaseViewController(token, "CTA15ViewController") {}
    std::string className() const override { return "CTA15ViewController"; }
};

}  // namespace quillgate

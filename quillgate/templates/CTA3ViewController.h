#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA3 family: one to three offer boxes under a heading, chosen by the number of calls to
// action. Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA3ViewController : public BaseViewController {
  public:
    explicit CTA3ViewController(Token token) : BaseViewController(token, "CTA3ViewController") {}
    std::string className() const override { return "CTA3ViewController"; }
};

}  // namespace quillgate

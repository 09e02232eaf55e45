#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The CTA5 family: one to three offer cards with prices and discounts.
// Made by the client from the nib of the same name; see BaseViewController for what the
// client hands over. Main thread only.
namespace quillgate {

class CTA5ViewController : public BaseViewController {
  public:
    explicit CTA5ViewController(Token token) : BaseViewController(token, "CTA5ViewController") {}
    std::string className() const override { return "CTA5ViewController"; }
};

}  // namespace quillgate

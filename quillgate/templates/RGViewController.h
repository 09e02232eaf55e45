#pragma once

#include <string>

#include "quillgate/templates/BaseViewController.h"

// The registration wall: the article in exchange for the reader's identity instead of a
// payment. The client routes the templates "RG4", "RG5" and "RG6" here and makes it from the
// nib of the same name; see BaseViewController for what the client hands over. Main thread
// only.
namespace quillgate {

class RGViewController : public BaseViewController {
  public:
    explicit RGViewController(Token token) : BaseViewController(token, "RGViewController") {}
    std::string className() const override { return "RGViewController"; }
};

}  // namespace quillgate

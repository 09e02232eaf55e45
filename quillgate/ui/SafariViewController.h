#pragma once

#include <string>

#include "quillgate/ui/ViewController.h"

// The in-app browser for an outside link: a controller that holds the address it was
// opened with. Nothing is fetched; hosts and tests read the address. Main thread only.
namespace quillgate::ui {

class SafariViewController : public ViewController {
  public:
    SafariViewController(Token token, std::string url)
        : ViewController(token), url_(std::move(url)) {}

    std::string className() const override { return "SafariViewController"; }
    const std::string& url() const { return url_; }

  private:
    std::string url_;
};

}  // namespace quillgate::ui

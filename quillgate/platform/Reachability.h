#pragma once

#include "quillgate/Export.h"

namespace quillgate::platform {

// "Is the network up": asked before every request. Linux: a default route exists.
class QUILLGATE_EXPORT Reachability {
  public:
    virtual ~Reachability() = default;
    virtual bool isReachable() = 0;
};

// A switch for tests.
class QUILLGATE_EXPORT FixedReachability final : public Reachability {
  public:
    explicit FixedReachability(bool up = true) : up_(up) {}
    bool isReachable() override { return up_; }
    void set(bool up) { up_ = up; }

  private:
    bool up_;
};

}  // namespace quillgate::platform

#pragma once

#include "quillgate/platform/Reachability.h"

namespace quillgate::platform {

// "Is the network up" on Linux: true when the kernel's routing tables hold a default route
// (IPv4 0.0.0.0/0 or IPv6 ::/0 of unicast type): whether a packet to an arbitrary address
// would have somewhere to go.
//
// The answer comes from one rtnetlink dump of all routing tables (every table, both address
// families): unlike /proc/net/route, which lists the main IPv4 table only, it sees VPN and
// policy-routing setups that keep their default route in a table of their own. Talking to
// the kernel over netlink sends no packet anywhere: asking must never cause traffic.
//
// Stateless; each call opens and closes its own netlink socket, so any thread may call it.
class NetlinkReachability final : public Reachability {
  public:
    bool isReachable() override;
};

}  // namespace quillgate::platform

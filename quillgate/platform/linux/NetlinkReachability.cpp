#include "quillgate/platform/linux/NetlinkReachability.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quillgate::platform {

namespace {

class Socket {
  public:
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }

  private:
    int fd_;
};

bool isDefaultRoute(const nlmsghdr* header) {
    if (header->nlmsg_type != RTM_NEWROUTE || header->nlmsg_len < NLMSG_LENGTH(sizeof(rtmsg))) {
        return false;
    }
    const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(header));
    // A prefix of length 0 is the default; unreachable, blackhole and prohibit entries of
    // that prefix say the opposite, so only a unicast route counts.
    return (route->rtm_family == AF_INET || route->rtm_family == AF_INET6) &&
           route->rtm_dst_len == 0 && route->rtm_type == RTN_UNICAST;
}

}  // namespace

bool NetlinkReachability::isReachable() {
    Socket sock(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (sock.fd() < 0) {
        return false;
    }
    // The kernel answers at once; the time-out only keeps a broken setup from blocking the
    // caller (this runs before every request).
    timeval timeout{};
    timeout.tv_sec = 1;
    ::setsockopt(sock.fd(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));

    struct {
        nlmsghdr header;
        rtmsg route;
    } request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(rtmsg));
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.header.nlmsg_seq = 1;
    request.route.rtm_family = AF_UNSPEC;  // IPv4 and IPv6, every table

    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;  // pid 0: the kernel
    if (::sendto(sock.fd(), &request, request.header.nlmsg_len, 0,
                 reinterpret_cast<const sockaddr*>(&kernel), sizeof(kernel)) < 0) {
        return false;
    }

    // Read the whole dump even after a hit, so that the socket is left in order; it is small.
    alignas(nlmsghdr) char buffer[16384];
    bool found = false;
    for (;;) {
        const ssize_t received = ::recv(sock.fd(), buffer, sizeof(buffer), 0);
        if (received < 0) {
            if (errno == EINTR) {
                continue;
            }
            return found;
        }
        if (received == 0) {
            return found;
        }
        auto length = static_cast<unsigned int>(received);
        for (auto* header = reinterpret_cast<nlmsghdr*>(buffer); NLMSG_OK(header, length);
             header = NLMSG_NEXT(header, length)) {
            if (header->nlmsg_seq != request.header.nlmsg_seq) {
                continue;
            }
            if (header->nlmsg_type == NLMSG_DONE || header->nlmsg_type == NLMSG_ERROR) {
                return found;
            }
            found = found || isDefaultRoute(header);
        }
    }
}

}  // namespace quillgate::platform

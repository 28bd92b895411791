#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

#include "softplatform/input/FileDescriptor.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

// Sends datagrams to an address of this machine, or to a group. Datagrams to a group do not leave
// the machine.
class Sender {
  public:
    // `interface` is the name of the interface for groups.
    explicit Sender(uint16_t port, const std::string& host = "127.0.0.1",
                    const std::string& interface = "lo") {
        const bool isIpv6 = host.find(':') != std::string::npos;
        socket_ = tvservice::FileDescriptor(
            ::socket(isIpv6 ? AF_INET6 : AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const unsigned index = ::if_nametoindex(interface.c_str());
        const int hops = 0;
        if (isIpv6) {
            auto& to = reinterpret_cast<sockaddr_in6&>(to_);
            to.sin6_family = AF_INET6;
            to.sin6_port = htons(port);
            to.sin6_scope_id = index;
            EXPECT_EQ(::inet_pton(AF_INET6, host.c_str(), &to.sin6_addr), 1);
            size_ = sizeof to;
            ::setsockopt(socket_.get(), IPPROTO_IPV6, IPV6_MULTICAST_IF, &index, sizeof index);
            ::setsockopt(socket_.get(), IPPROTO_IPV6, IPV6_MULTICAST_HOPS, &hops, sizeof hops);
        } else {
            auto& to = reinterpret_cast<sockaddr_in&>(to_);
            to.sin_family = AF_INET;
            to.sin_port = htons(port);
            EXPECT_EQ(::inet_pton(AF_INET, host.c_str(), &to.sin_addr), 1);
            size_ = sizeof to;
            ip_mreqn through{};
            through.imr_ifindex = static_cast<int>(index);
            ::setsockopt(socket_.get(), IPPROTO_IP, IP_MULTICAST_IF, &through, sizeof through);
            ::setsockopt(socket_.get(), IPPROTO_IP, IP_MULTICAST_TTL, &hops, sizeof hops);
        }
    }

    void Send(const Bytes& datagram) const {
        EXPECT_EQ(::sendto(socket_.get(), datagram.data(), datagram.size(), 0,
                           reinterpret_cast<const sockaddr*>(&to_), size_),
                  static_cast<ssize_t>(datagram.size()));
    }

  private:
    tvservice::FileDescriptor socket_;
    sockaddr_storage to_{};
    socklen_t size_ = 0;
};

}  // namespace testsupport

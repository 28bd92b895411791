#include "softplatform/input/UdpSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string>

#include "tests/unit/input/FakeTimer.h"
#include "tests/unit/input/Sender.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Counting;
using testsupport::IsReadable;
using testsupport::Sender;

std::unique_ptr<UdpSocket> Open(const std::string& uri, Counters& counters) {
    UdpAddress address;
    std::string error;
    EXPECT_TRUE(ParseUdpUri(uri, address, error)) << error;
    int reason = 0;
    std::unique_ptr<UdpSocket> socket = UdpSocket::Open(address, counters, reason);
    EXPECT_TRUE(socket) << uri << ": " << std::generic_category().message(reason);
    return socket;
}

// Waits for the next datagram, which must come.
Bytes Receive(UdpSocket& socket) {
    pollfd ready{socket.descriptor(), POLLIN, 0};
    UdpSocket::Received received = socket.Receive();
    if (received.status == UdpSocket::Received::kNothing && ::poll(&ready, 1, 20000) == 1) {
        received = socket.Receive();
    }
    EXPECT_EQ(received.status, UdpSocket::Received::kDatagram);
    return Bytes(received.datagram.begin(), received.datagram.end());
}

TEST(UdpSocket, ReceivesDatagramsWholeUpToTheLargest) {
    Counters counters;
    const auto socket = Open("udp://127.0.0.1:0", counters);
    const Sender sender(socket->port());
    sender.Send(Counting(65507));
    sender.Send({});
    sender.Send(Counting(1));
    EXPECT_EQ(Receive(*socket), Counting(65507));
    EXPECT_EQ(Receive(*socket), Bytes());
    EXPECT_EQ(Receive(*socket), Counting(1));
    EXPECT_EQ(socket->Receive().status, UdpSocket::Received::kNothing);
}

TEST(UdpSocket, AsksForALargeReceiveBuffer) {
    Counters counters;
    const auto socket = Open("udp://127.0.0.1:0", counters);
    int size = 0;
    socklen_t length = sizeof size;
    ASSERT_EQ(::getsockopt(socket->descriptor(), SOL_SOCKET, SO_RCVBUF, &size, &length), 0);
    // The size that the system grants to every user; root gets all that it asks for. The kernel
    // doubles the value (socket(7)).
    int granted = 0;
    if (!(std::ifstream("/proc/sys/net/core/rmem_max") >> granted)) {
        GTEST_SKIP() << "this machine does not say how large a buffer may be";
    }
    EXPECT_GE(size, 2 * std::min(granted, 8 * 1024 * 1024));
}

TEST(UdpSocket, CountsExactlyWhatTheKernelDropped) {
    Counters counters;
    const auto socket = Open("udp://127.0.0.1:0", counters);
    const int small = 16 * 1024;
    ASSERT_EQ(::setsockopt(socket->descriptor(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small), 0);
    const Sender sender(socket->port());
    constexpr uint64_t kSent = 1000;
    uint64_t received = 0;
    for (int flood = 0; flood < 2; ++flood) {
        for (uint64_t n = 0; n < kSent; ++n) {
            sender.Send(Counting(1316));
        }
        while (socket->Receive().status == UdpSocket::Received::kDatagram) {
            ++received;
        }
        sender.Send({1});  // reports the loss before it
        EXPECT_EQ(Receive(*socket), Bytes{1});
    }
    EXPECT_GT(received, 0u);
    EXPECT_LT(received, 2 * kSent);
    EXPECT_EQ(counters.Get(Counter::kKernelDrops), 2 * kSent - received);
}

TEST(UdpSocket, SaysAFailureAgain) {
    Counters counters;
    const auto socket = Open("udp://127.0.0.1:0", counters);
    const FileDescriptor directory(::open("/", O_RDONLY | O_CLOEXEC));
    ASSERT_GE(::dup2(directory.get(), socket->descriptor()), 0);
    for (int i = 0; i < 2; ++i) {
        const UdpSocket::Received received = socket->Receive();
        EXPECT_EQ(received.status, UdpSocket::Received::kFailed);
        EXPECT_EQ(received.error, ENOTSOCK);
    }
}

TEST(UdpSocket, ReceivesIpv6) {
    Counters counters;
    const auto socket = Open("udp://[::1]:0", counters);
    Sender(socket->port(), "::1").Send(Counting(1316));
    EXPECT_EQ(Receive(*socket), Counting(1316));
}

TEST(UdpSocket, ReceivesBothFamiliesOnEveryAddress) {
    Counters counters;
    const auto socket = Open("udp://[::]:0", counters);
    Sender(socket->port(), "::1").Send({6});
    EXPECT_EQ(Receive(*socket), Bytes{6});
    Sender(socket->port(), "127.0.0.1").Send({4});
    EXPECT_EQ(Receive(*socket), Bytes{4});
}

TEST(UdpSocket, ReceivesOnEveryIpv4AddressWithoutAHost) {
    Counters counters;
    for (const char* uri : {"udp://:0", "udp://@:0", "udp://:0?iface=lo"}) {
        const auto socket = Open(uri, counters);
        Sender(socket->port(), "127.0.0.1").Send({4});
        EXPECT_EQ(Receive(*socket), Bytes{4});
    }
}

// Returns an interface other than loopback that carries IPv6 multicast; empty when there is none.
std::string Ipv6MulticastInterface() {
    ifaddrs* interfaces = nullptr;
    EXPECT_EQ(::getifaddrs(&interfaces), 0);
    std::string name;
    for (const ifaddrs* interface = interfaces; interface != nullptr;
         interface = interface->ifa_next) {
        constexpr unsigned kWanted = IFF_UP | IFF_RUNNING | IFF_MULTICAST;
        if (interface->ifa_addr != nullptr && interface->ifa_addr->sa_family == AF_INET6 &&
            (interface->ifa_flags & kWanted) == kWanted) {
            name = interface->ifa_name;
        }
    }
    ::freeifaddrs(interfaces);
    return name;
}

// Returns another interface that is up; empty when there is none.
std::string Another(const std::string& name) {
    ifaddrs* interfaces = nullptr;
    EXPECT_EQ(::getifaddrs(&interfaces), 0);
    std::string another;
    for (const ifaddrs* interface = interfaces; interface != nullptr;
         interface = interface->ifa_next) {
        if (interface->ifa_name != name && (interface->ifa_flags & IFF_UP) != 0) {
            another = interface->ifa_name;
        }
    }
    ::freeifaddrs(interfaces);
    return another;
}

struct Groups {
    std::string host;  // of the URI
    std::string group;
    std::string other;  // another group
    std::string (*interface)();
};

class UdpMulticast : public testing::TestWithParam<Groups> {
  protected:
    void SetUp() override {
        if (interface_.empty()) {
            GTEST_SKIP() << "no interface of this machine carries this multicast";
        }
    }
    std::string Uri(uint16_t port, const std::string& interface) const {
        return "udp://@" + GetParam().host + ":" + std::to_string(port) + "?iface=" + interface;
    }
    void Send(uint16_t port, const std::string& group, const Bytes& datagram) const {
        Sender(port, group, interface_).Send(datagram);
    }

    const std::string interface_ = GetParam().interface();
    Counters counters_;
};

TEST_P(UdpMulticast, ReceivesItsGroupAndNoOther) {
    const auto socket = Open(Uri(0, interface_), counters_);
    Send(socket->port(), GetParam().other, {2});
    Send(socket->port(), GetParam().group, {1});
    EXPECT_EQ(Receive(*socket), Bytes{1});
}

TEST_P(UdpMulticast, LetsSeveralReceiversShareAGroup) {
    const auto first = Open(Uri(0, interface_), counters_);
    const auto second = Open(Uri(first->port(), interface_), counters_);
    Send(first->port(), GetParam().group, {1});
    EXPECT_EQ(Receive(*first), Bytes{1});
    EXPECT_EQ(Receive(*second), Bytes{1});
}

TEST_P(UdpMulticast, DoesNotReceiveWhatComesInOnAnotherInterface) {
    const std::string elsewhere = Another(interface_);
    if (elsewhere.empty()) {
        GTEST_SKIP() << "this machine has only one interface";
    }
    const auto here = Open(Uri(0, interface_), counters_);
    const auto there = Open(Uri(here->port(), elsewhere), counters_);
    Send(here->port(), GetParam().group, {1});
    EXPECT_EQ(Receive(*here), Bytes{1});
    EXPECT_FALSE(IsReadable(there->descriptor()));
}

INSTANTIATE_TEST_SUITE_P(Of, UdpMulticast,
                         testing::Values(Groups{"239.255.77.1", "239.255.77.1", "239.255.77.2",
                                                [] { return std::string("lo"); }},
                                         Groups{"[ff15::77:1]", "ff15::77:1", "ff15::77:2",
                                                &Ipv6MulticastInterface}),
                         [](const auto& tested) { return tested.index == 0 ? "IPv4" : "IPv6"; });

TEST(UdpSocket, TellsWhyItCannotBeOpened) {
    Counters counters;
    UdpAddress address;
    std::string error;
    ASSERT_TRUE(ParseUdpUri("udp://192.0.2.77:0", address, error));
    int reason = 0;
    EXPECT_EQ(UdpSocket::Open(address, counters, reason), nullptr);
    EXPECT_EQ(reason, EADDRNOTAVAIL);
}

}  // namespace
}  // namespace tvservice

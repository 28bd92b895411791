#include "softplatform/input/UdpAddress.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>

#include <array>
#include <string>
#include <utility>

namespace tvservice {
namespace {

using testing::HasSubstr;

// Parses an address that must be valid and returns it as text.
std::string Host(const std::string& uri) {
    UdpAddress address;
    std::string error = "untouched";
    EXPECT_TRUE(ParseUdpUri(uri, address, error)) << error;
    EXPECT_EQ(error, "untouched");
    const void* bytes =
        address.address.ss_family == AF_INET6
            ? static_cast<const void*>(&reinterpret_cast<sockaddr_in6&>(address.address).sin6_addr)
            : &reinterpret_cast<sockaddr_in&>(address.address).sin_addr;
    std::array<char, INET6_ADDRSTRLEN> text{};
    ::inet_ntop(address.address.ss_family, bytes, text.data(), text.size());
    return text.data();
}

std::string Error(const std::string& uri) {
    UdpAddress address;
    std::string error;
    EXPECT_FALSE(ParseUdpUri(uri, address, error)) << uri;
    return error;
}

TEST(UdpAddress, ReadsHostsOfBothFamilies) {
    EXPECT_EQ(Host("udp://192.0.2.1:5004"), "192.0.2.1");
    EXPECT_EQ(Host("udp://@239.1.1.1:5004"), "239.1.1.1");
    EXPECT_EQ(Host("rtp://[2001:db8::1]:5004"), "2001:db8::1");
    EXPECT_EQ(Host("udp://@[ff15::1]:5004"), "ff15::1");
    EXPECT_EQ(Host("udp://:5004"), "0.0.0.0");
    EXPECT_EQ(Host("udp://@:5004"), "0.0.0.0");
    EXPECT_EQ(Host("udp://[::]:5004"), "::");
}

TEST(UdpAddress, KnowsGroupsByTheirAddress) {
    const std::pair<const char*, bool> kHosts[] = {
        {"224.0.0.0", true},  {"239.255.255.255", true}, {"223.255.255.255", false},
        {"240.0.0.0", false}, {"[ff00::]", true},        {"[ff15::1]", true},
        {"[fe80::1]", false}};
    for (const auto& [host, isMulticast] : kHosts) {
        UdpAddress address;
        std::string error;
        ASSERT_TRUE(ParseUdpUri("udp://" + std::string(host) + ":1", address, error)) << error;
        EXPECT_EQ(address.isMulticast, isMulticast) << host;
    }
}

TEST(UdpAddress, PutsTheInterfaceIntoTheScopeOfIpv6) {
    UdpAddress address;
    std::string error;
    ASSERT_TRUE(ParseUdpUri("udp://[ff02::1]:5004?iface=lo", address, error)) << error;
    EXPECT_EQ(address.interfaceIndex, ::if_nametoindex("lo"));
    EXPECT_EQ(reinterpret_cast<sockaddr_in6&>(address.address).sin6_scope_id,
              ::if_nametoindex("lo"));
}

TEST(UdpAddress, ForgetsWhatItHeldBefore) {
    UdpAddress address;
    std::string error;
    ASSERT_TRUE(ParseUdpUri("udp://@[ff02::1]:5004?iface=lo", address, error)) << error;
    ASSERT_TRUE(ParseUdpUri("udp://:5004", address, error)) << error;
    EXPECT_FALSE(address.isMulticast);
    EXPECT_EQ(address.interfaceIndex, 0u);
    EXPECT_EQ(reinterpret_cast<sockaddr_in&>(address.address).sin_addr.s_addr, 0u);
}

TEST(UdpAddress, RefusesWhatIsNoNumericHost) {
    for (const char* host :
         {"localhost", "1", "127.1", "0x7f.0.0.1", "1.2.3.4.5", "256.0.0.1", "[127.0.0.1]", "[]",
          "[::1", "::1]", "[zz]", "[fe80::1%lo]", "a@b", "10.0.0.1@232.1.1.1", " 127.0.0.1"}) {
        EXPECT_THAT(Error("udp://" + std::string(host) + ":5004"),
                    testing::AnyOf(HasSubstr("numeric address"), HasSubstr("in brackets")))
            << host;
    }
}

TEST(UdpAddress, RefusesWhatIsNoPort) {
    EXPECT_THAT(Error("udp://"), HasSubstr("the port is missing"));
    EXPECT_THAT(Error("udp://127.0.0.1"), HasSubstr("the port is missing"));
    EXPECT_THAT(Error("rtp://[::1]"), HasSubstr("the port is missing (rtp://HOST:PORT)"));
    for (const char* port : {"", "x", "-1", "+1", "65536", "99999", "000080", " 1", "1 ", "1/x"}) {
        EXPECT_THAT(Error("udp://127.0.0.1:" + std::string(port)), HasSubstr("the port must be"))
            << port;
    }
}

TEST(UdpAddress, RefusesOptionsThatItDoesNotKnow) {
    for (const char* option : {"", "x=1", "Iface=lo", "iface"}) {
        EXPECT_THAT(Error("udp://:1?" + std::string(option)), HasSubstr("?iface=NAME")) << option;
    }
    EXPECT_THAT(Error("udp://:1?iface="), HasSubstr("there is no network interface"));
    EXPECT_THAT(Error("udp://:1?iface=lo&x=1"), HasSubstr("there is no network interface lo&x=1"));
}

TEST(UdpAddress, ShowsControlBytesAsNumbers) {
    EXPECT_EQ(Error("udp://\x1B[2J\n:\x7F"),
              "cannot open udp://\\x1B[2J\\x0A:\\x7F: the port must be a number from 0 to 65535");
}

}  // namespace
}  // namespace tvservice

#pragma once

#include <sys/socket.h>

#include <string>

namespace tvservice {

// The content of a URI "udp://[@]HOST:PORT[?iface=NAME]". HOST is a numeric IPv4 address, a numeric
// IPv6 address in brackets, or empty for every IPv4 address of this machine.
struct UdpAddress {
    sockaddr_storage address{};
    socklen_t size = 0;
    bool isMulticast = false;
    unsigned interfaceIndex = 0;  // 0: the system chooses
};

// Parses a URI that begins with "udp://" or "rtp://"; the rest has the same form for both. With
// port 0 the system chooses the port. Returns false when the rest is malformed or the network
// interface does not exist; `error` then receives a line with the URI and the reason. May be called
// on any thread.
bool ParseUdpUri(const std::string& uri, UdpAddress& address, std::string& error);

}  // namespace tvservice

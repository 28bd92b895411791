#pragma once

#include <sys/socket.h>

#include <string>

namespace tvservice {

// What a URI "udp://[@]HOST:PORT[?iface=NAME]" says. HOST is a numeric IPv4 address, an IPv6
// address in brackets, or nothing: every IPv4 address of this machine.
struct UdpAddress {
    sockaddr_storage address{};
    socklen_t size = 0;
    bool isMulticast = false;
    unsigned interfaceIndex = 0;  // 0: the system's choice
};

// Reads `uri`, which has a scheme; what follows the scheme has the same form for "udp://" and
// "rtp://". With port 0 the system chooses the port. False when `uri` is malformed or its network
// interface does not exist; `error` then receives a line that names it and what is wrong. Any
// thread.
bool ParseUdpUri(const std::string& uri, UdpAddress& address, std::string& error);

}  // namespace tvservice

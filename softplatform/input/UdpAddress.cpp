#include "softplatform/input/UdpAddress.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

namespace {

constexpr char kSchemeEnd[] = "://";
constexpr char kInterface[] = "iface=";
constexpr unsigned long kHighestPort = 65535;

bool Refuse(const std::string& uri, const std::string& why, std::string& error) {
    error = "cannot open " + Visible(uri) + ": " + why;
    return false;
}

bool ParsePort(const std::string& text, in_port_t& port) {
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(text) > kHighestPort) {
        return false;
    }
    port = htons(static_cast<uint16_t>(std::stoul(text)));
    return true;
}

bool ParseIpv4(const std::string& host, in_port_t port, UdpAddress& address) {
    auto& v4 = reinterpret_cast<sockaddr_in&>(address.address);
    if (!host.empty() && ::inet_pton(AF_INET, host.c_str(), &v4.sin_addr) != 1) {
        return false;
    }
    v4.sin_family = AF_INET;
    v4.sin_port = port;
    address.size = sizeof v4;
    address.isMulticast = IN_MULTICAST(ntohl(v4.sin_addr.s_addr));
    return true;
}

bool ParseIpv6(const std::string& host, in_port_t port, UdpAddress& address) {
    auto& v6 = reinterpret_cast<sockaddr_in6&>(address.address);
    if (::inet_pton(AF_INET6, host.c_str(), &v6.sin6_addr) != 1) {
        return false;
    }
    v6.sin6_family = AF_INET6;
    v6.sin6_port = port;
    v6.sin6_scope_id = address.interfaceIndex;
    address.size = sizeof v6;
    address.isMulticast = IN6_IS_ADDR_MULTICAST(&v6.sin6_addr);
    return true;
}

}  // namespace

bool ParseUdpUri(const std::string& uri, UdpAddress& address, std::string& error) {
    address = {};
    const size_t scheme = uri.find(kSchemeEnd) + sizeof kSchemeEnd - 1;
    std::string rest = uri.substr(scheme);
    if (const size_t query = rest.find('?'); query != std::string::npos) {
        const std::string option = rest.substr(query + 1);
        rest.resize(query);
        if (option.rfind(kInterface, 0) != 0) {
            return Refuse(uri, "the only option is ?iface=NAME", error);
        }
        const std::string name = option.substr(sizeof kInterface - 1);
        address.interfaceIndex = ::if_nametoindex(name.c_str());
        if (address.interfaceIndex == 0) {
            return Refuse(uri, "there is no network interface " + Visible(name), error);
        }
    }
    const bool isMarkedAsGroup = !rest.empty() && rest[0] == '@';
    if (isMarkedAsGroup) {
        rest.erase(0, 1);
    }
    const size_t colon = rest.rfind(':');
    if (colon == std::string::npos || rest.find(']', colon) != std::string::npos) {
        return Refuse(uri, "the port is missing (" + uri.substr(0, scheme) + "HOST:PORT)", error);
    }
    in_port_t port = 0;
    if (!ParsePort(rest.substr(colon + 1), port)) {
        return Refuse(uri, "the port must be a number from 0 to 65535", error);
    }
    const std::string host = rest.substr(0, colon);
    const bool isInBrackets = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    if (!isInBrackets && host.find(':') != std::string::npos) {
        return Refuse(uri, "an IPv6 address must be in brackets", error);
    }
    // Names are not looked up: that may wait for long.
    if (isInBrackets ? !ParseIpv6(host.substr(1, host.size() - 2), port, address)
                     : !ParseIpv4(host, port, address)) {
        return Refuse(uri, "the host must be a numeric address", error);
    }
    if (isMarkedAsGroup && !host.empty() && !address.isMulticast) {
        return Refuse(uri, "the address after @ must be a multicast group", error);
    }
    return true;
}

}  // namespace tvservice

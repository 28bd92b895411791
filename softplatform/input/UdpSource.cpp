#include "softplatform/input/UdpSource.h"

#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/input/ErrorText.h"

namespace tvservice {

namespace {

constexpr char kScheme[] = "udp://";
constexpr char kInterface[] = "iface=";
constexpr int kReceiveBuffer = 8 * 1024 * 1024;
constexpr unsigned long kHighestPort = 65535;

bool Refuse(const std::string& uri, const std::string& why, std::string& error) {
    error = "cannot open " + Visible(uri) + ": " + why;
    return false;
}

bool IsMulticast(const sockaddr_storage& address) {
    if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        return IN6_IS_ADDR_MULTICAST(&v6.sin6_addr);
    }
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    return IN_MULTICAST(ntohl(v4.sin_addr.s_addr));
}

bool Join(int socket, const UdpAddress& address) {
    if (address.address.ss_family == AF_INET6) {
        ipv6_mreq request{};
        request.ipv6mr_multiaddr = reinterpret_cast<const sockaddr_in6&>(address.address).sin6_addr;
        request.ipv6mr_interface = address.interfaceIndex;
        return ::setsockopt(socket, IPPROTO_IPV6, IPV6_JOIN_GROUP, &request, sizeof request) == 0;
    }
    ip_mreqn request{};
    request.imr_multiaddr = reinterpret_cast<const sockaddr_in&>(address.address).sin_addr;
    request.imr_ifindex = static_cast<int>(address.interfaceIndex);
    return ::setsockopt(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) == 0;
}

}  // namespace

bool ParseUdpUri(const std::string& uri, UdpAddress& address, std::string& error) {
    std::string rest = uri.substr(sizeof kScheme - 1);
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
    const bool wantsGroup = !rest.empty() && rest[0] == '@';
    if (wantsGroup) {
        rest.erase(0, 1);
    }
    const size_t colon = rest.rfind(':');
    if (colon == std::string::npos) {
        return Refuse(uri, "the port is missing (udp://HOST:PORT)", error);
    }
    const std::string port = rest.substr(colon + 1);
    const bool isNumber = !port.empty() && port.size() <= 5 &&
                          port.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || std::stoul(port) > kHighestPort) {
        return Refuse(uri, "the port is no number from 0 to 65535", error);
    }
    std::string host = rest.substr(0, colon);
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    } else if (host.find(':') != std::string::npos) {
        return Refuse(uri, "an IPv6 address stands in brackets", error);
    }
    if (host.empty()) {
        host = "0.0.0.0";
    }
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;  // names would have to be looked up
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0) {
        return Refuse(uri, "the host is no numeric address", error);
    }
    std::memcpy(&address.address, found->ai_addr, found->ai_addrlen);
    address.size = found->ai_addrlen;
    ::freeaddrinfo(found);
    address.isMulticast = IsMulticast(address.address);
    if (wantsGroup && !address.isMulticast) {
        return Refuse(uri, "the address behind @ is no multicast group", error);
    }
    return true;
}

std::shared_ptr<UdpSource> UdpSource::Open(const std::string& uri, std::string& error) {
    UdpAddress address;
    if (!ParseUdpUri(uri, address, error)) {
        return nullptr;
    }
    Descriptor socket(
        ::socket(address.address.ss_family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        error = OpenErrorText(uri, errno);
        return nullptr;
    }
    const int yes = 1;
    // Best effort all three: the system's limit may be lower, and old kernels count no drops.
    if (::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer,
                     sizeof kReceiveBuffer) != 0) {
        ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    }
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RXQ_OVFL, &yes, sizeof yes);
    if (address.isMulticast) {
        ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address.address), address.size) !=
            0 ||
        (address.isMulticast && !Join(socket.get(), address))) {
        error = OpenErrorText(uri, errno);
        return nullptr;
    }
    return std::shared_ptr<UdpSource>(new UdpSource(uri, std::move(socket)));
}

UdpSource::UdpSource(std::string uri, Descriptor socket)
    : Source(std::move(uri)), socket_(std::move(socket)), bytes_(kBatch * kDatagramSize) {}

uint16_t UdpSource::port() const {
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&bound), &size);
    return ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6&>(bound).sin6_port
                                             : reinterpret_cast<sockaddr_in&>(bound).sin_port);
}

ReadResult UdpSource::Read(uint8_t* buffer, size_t size) {
    size_t filled = 0;
    while (filled < size) {
        if (next_ == received_) {
            ReadResult result{ReadResult::kBytes, filled};
            if (filled != 0 || !Receive(result)) {
                return result;
            }
        }
        const size_t count = std::min(size - filled, sizes_[next_] - taken_);
        std::memcpy(buffer + filled, bytes_.data() + next_ * kDatagramSize + taken_, count);
        filled += count;
        taken_ += count;
        if (taken_ == sizes_[next_]) {
            ++next_;
            taken_ = 0;
        }
    }
    return {ReadResult::kBytes, filled};
}

bool UdpSource::Receive(ReadResult& result) {
    std::array<mmsghdr, kBatch> messages{};
    std::array<iovec, kBatch> pieces{};
    std::array<std::array<char, CMSG_SPACE(sizeof(uint32_t))>, kBatch> controls{};
    for (size_t i = 0; i < kBatch; ++i) {
        pieces[i] = {bytes_.data() + i * kDatagramSize, kDatagramSize};
        messages[i].msg_hdr.msg_iov = &pieces[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_control = controls[i].data();
        messages[i].msg_hdr.msg_controllen = controls[i].size();
    }
    int count = 0;
    do {
        count = ::recvmmsg(socket_.get(), messages.data(), kBatch, MSG_DONTWAIT, nullptr);
    } while (count < 0 && errno == EINTR);
    received_ = next_ = taken_ = 0;
    if (count < 0) {
        result = errno == EAGAIN
                     ? ReadResult{ReadResult::kWouldBlock}
                     : ReadResult{ReadResult::kFailed, 0, ReadErrorText(name(), offset_, errno)};
        return false;
    }
    received_ = static_cast<size_t>(count);
    bool hasBytes = false;
    for (size_t i = 0; i < received_; ++i) {
        sizes_[i] = messages[i].msg_len;
        offset_ += sizes_[i];
        hasBytes |= sizes_[i] != 0;
        CountDrops(messages[i].msg_hdr);
    }
    if (!hasBytes) {
        received_ = 0;
        result = {ReadResult::kWouldBlock};
    }
    return hasBytes;
}

void UdpSource::CountDrops(msghdr& header) {
    for (cmsghdr* control = CMSG_FIRSTHDR(&header); control != nullptr;
         control = CMSG_NXTHDR(&header, control)) {
        if (control->cmsg_level == SOL_SOCKET && control->cmsg_type == SO_RXQ_OVFL) {
            uint32_t drops = 0;
            std::memcpy(&drops, CMSG_DATA(control), sizeof drops);
            ReceiverCounters().AddShared(Counter::kKernelDrops, drops - drops_);
            drops_ = drops;
        }
    }
}

}  // namespace tvservice

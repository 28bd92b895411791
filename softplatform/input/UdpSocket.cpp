#include "softplatform/input/UdpSocket.h"

#include <net/if.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace tvservice {

namespace {

constexpr int kReceiveBuffer = 8 * 1024 * 1024;

template <typename Value>
bool SetOption(int socket, int level, int option, const Value& value) {
    return ::setsockopt(socket, level, option, &value, sizeof value) == 0;
}

// Failures are ignored: the system may limit the buffer, and old kernels do not count drops.
void Prepare(int socket) {
    if (!SetOption(socket, SOL_SOCKET, SO_RCVBUFFORCE, kReceiveBuffer)) {
        SetOption(socket, SOL_SOCKET, SO_RCVBUF, kReceiveBuffer);
    }
    SetOption(socket, SOL_SOCKET, SO_RXQ_OVFL, 1);
}

bool BindToInterface(int socket, unsigned index) {
    char name[IF_NAMESIZE] = {};
    return ::if_indextoname(index, name) != nullptr &&
           ::setsockopt(socket, SOL_SOCKET, SO_BINDTODEVICE, name,
                        static_cast<socklen_t>(std::strlen(name))) == 0;
}

// Joins the group on the interface. Without the ..._MULTICAST_ALL options the kernel would also
// give this socket datagrams of the group from interfaces on which only other sockets joined it.
bool Join(int socket, const UdpAddress& address) {
    if (address.address.ss_family == AF_INET6) {
        ipv6_mreq request{};
        request.ipv6mr_multiaddr = reinterpret_cast<const sockaddr_in6&>(address.address).sin6_addr;
        request.ipv6mr_interface = address.interfaceIndex;
#ifdef IPV6_MULTICAST_ALL
        SetOption(socket, IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0);
#endif
        return SetOption(socket, IPPROTO_IPV6, IPV6_JOIN_GROUP, request);
    }
    ip_mreqn request{};
    request.imr_multiaddr = reinterpret_cast<const sockaddr_in&>(address.address).sin_addr;
    request.imr_ifindex = static_cast<int>(address.interfaceIndex);
    SetOption(socket, IPPROTO_IP, IP_MULTICAST_ALL, 0);
    return SetOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, request);
}

bool Bind(int socket, const UdpAddress& address) {
    if (address.isMulticast) {
        SetOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    }
    // Kernels before 5.7 let only privileged processes bind to an interface. For a group that
    // failure does not matter: Join names the interface too.
    if (address.interfaceIndex != 0 && !BindToInterface(socket, address.interfaceIndex) &&
        !address.isMulticast) {
        return false;
    }
    if (address.address.ss_family == AF_INET6) {
        SetOption(socket, IPPROTO_IPV6, IPV6_V6ONLY, 0);  // [::] receives IPv4 too
    }
    return ::bind(socket, reinterpret_cast<const sockaddr*>(&address.address), address.size) == 0;
}

}  // namespace

std::unique_ptr<UdpSocket> UdpSocket::Open(const UdpAddress& address, Counters& counters,
                                           int& error) {
    FileDescriptor socket(
        ::socket(address.address.ss_family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (socket.get() >= 0) {
        Prepare(socket.get());
    }
    if (socket.get() < 0 || !Bind(socket.get(), address) ||
        (address.isMulticast && !Join(socket.get(), address))) {
        error = errno;
        return nullptr;
    }
    return std::unique_ptr<UdpSocket>(new UdpSocket(std::move(socket), counters));
}

UdpSocket::UdpSocket(FileDescriptor socket, Counters& counters)
    : socket_(std::move(socket)),
      counters_(counters),
      bytes_(std::make_unique_for_overwrite<uint8_t[]>(kBatch * kDatagramSize)) {}

uint16_t UdpSocket::port() const {
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&bound), &size);
    return ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6&>(bound).sin6_port
                                             : reinterpret_cast<sockaddr_in&>(bound).sin_port);
}

UdpSocket::Received UdpSocket::Receive() {
    if (next_ == received_ && !ReceiveBatch()) {
        return failure_ == 0 ? Received{Received::kNothing}
                             : Received{Received::kFailed, {}, failure_};
    }
    const size_t datagram = next_++;
    return {Received::kDatagram, {bytes_.get() + datagram * kDatagramSize, sizes_[datagram]}};
}

bool UdpSocket::ReceiveBatch() {
    if (failure_ != 0) {
        return false;
    }
    std::array<mmsghdr, kBatch> messages{};
    std::array<iovec, kBatch> pieces{};
    struct alignas(cmsghdr) Control {
        std::array<char, CMSG_SPACE(sizeof(uint32_t))> bytes;
    };
    std::array<Control, kBatch> controls{};
    for (size_t i = 0; i < kBatch; ++i) {
        pieces[i] = {bytes_.get() + i * kDatagramSize, kDatagramSize};
        messages[i].msg_hdr.msg_iov = &pieces[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_control = controls[i].bytes.data();
        messages[i].msg_hdr.msg_controllen = controls[i].bytes.size();
    }
    int count = 0;
    do {
        count = ::recvmmsg(socket_.get(), messages.data(), kBatch, MSG_DONTWAIT, nullptr);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        failure_ = errno == EAGAIN ? 0 : errno;
        return false;
    }
    received_ = static_cast<size_t>(count);
    next_ = 0;
    for (size_t i = 0; i < received_; ++i) {
        sizes_[i] = messages[i].msg_len;
        CountDrops(messages[i].msg_hdr);
    }
    return received_ != 0;
}

void UdpSocket::CountDrops(msghdr& header) {
    for (cmsghdr* control = CMSG_FIRSTHDR(&header); control != nullptr;
         control = CMSG_NXTHDR(&header, control)) {
        if (control->cmsg_level == SOL_SOCKET && control->cmsg_type == SO_RXQ_OVFL) {
            uint32_t drops = 0;
            std::memcpy(&drops, CMSG_DATA(control), sizeof drops);
            counters_.AddShared(Counter::kKernelDrops, drops - drops_);
            drops_ = drops;
        }
    }
}

}  // namespace tvservice

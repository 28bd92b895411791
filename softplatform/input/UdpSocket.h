#pragma once

#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/UdpAddress.h"

namespace tvservice {

// Receives the datagrams of one address, in batches of one system call. Used by one thread at a
// time.
class UdpSocket {
  public:
    struct Received {
        enum Status { kDatagram, kNothing, kFailed };
        Status status;
        ByteView datagram{};  // whole; may be empty. Borrowed until the next Receive.
        int error = 0;        // errno value of kFailed
    };

    // Binds the address and, when it is a multicast group, joins it; several sockets can do that
    // for one group, but not for a unicast address. Asks for a receive buffer of 8 MiB; the system
    // may give less. Null on failure; `error` then receives the errno value.
    //
    // Datagrams that the kernel had no room for are added to kKernelDrops of `counters`, which is
    // borrowed, when a later datagram is received.
    static std::unique_ptr<UdpSocket> Open(const UdpAddress& address, Counters& counters,
                                           int& error);

    // The next datagram, in the order in which they came. Never waits. After a failure it returns
    // the same failure again.
    Received Receive();

    // Whether the next datagram was already received, so that Receive makes no system call. A loop
    // that skips datagrams must end when this is false: in a flood of such datagrams it would not
    // end otherwise.
    bool HasNext() const { return next_ != received_; }

    // What poll(2) waits on after kNothing.
    int descriptor() const { return socket_.get(); }

    // The port that is bound, also when the address left it to the system (port 0).
    uint16_t port() const;

  private:
    UdpSocket(FileDescriptor socket, Counters& counters);

    bool ReceiveBatch();
    void CountDrops(msghdr& header);

    static constexpr size_t kBatch = 64;
    static constexpr size_t kDatagramSize = 65536;  // no datagram is longer

    const FileDescriptor socket_;
    Counters& counters_;
    // kBatch datagrams. Left uninitialised: a page that no datagram reaches costs no memory.
    const std::unique_ptr<uint8_t[]> bytes_;
    std::array<size_t, kBatch> sizes_{};
    size_t received_ = 0;  // datagrams of this batch
    size_t next_ = 0;      // the one to hand over
    int failure_ = 0;      // errno value
    uint32_t drops_ = 0;   // as the kernel counts them: since the socket was opened, wrapping
};

}  // namespace tvservice

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

// Receives the datagrams of one address, up to 64 with one system call. Used by one thread at a
// time.
class UdpSocket {
  public:
    struct Received {
        enum Status { kDatagram, kNothing, kFailed };
        Status status;
        ByteView datagram{};  // whole; may be empty. Borrowed until the next Receive.
        int error = 0;        // with kFailed: an errno value
    };

    // Binds the address, and joins it when it is a multicast group. Several sockets can use one
    // group; a unicast address can be bound only once. Asks for a receive buffer of 8 MiB; the
    // system may give less. Returns null on failure; `error` then receives the errno value.
    //
    // Datagrams that the kernel dropped because the buffer was full are added to kKernelDrops of
    // `counters` when the next datagram is received. `counters` is borrowed.
    static std::unique_ptr<UdpSocket> Open(const UdpAddress& address, Counters& counters,
                                           int& error);

    // The next datagram, in the order of arrival. Never waits. After a failure every call returns
    // that failure.
    Received Receive();

    // Whether the next datagram was already received, so that Receive makes no system call. A loop
    // that skips datagrams must end when this is false: otherwise a flood of such datagrams would
    // keep it running forever.
    bool HasNext() const { return next_ != received_; }

    // What poll(2) waits on after kNothing.
    int descriptor() const { return socket_.get(); }

    // The bound port; when the address has port 0, the one that the system chose.
    uint16_t port() const;

  private:
    UdpSocket(FileDescriptor socket, Counters& counters);

    bool ReceiveBatch();
    void CountDrops(msghdr& header);

    static constexpr size_t kBatch = 64;
    static constexpr size_t kDatagramSize = 65536;  // more than any datagram has

    const FileDescriptor socket_;
    Counters& counters_;
    // Room for kBatch datagrams. Not initialised, so pages that are never used cost no memory.
    const std::unique_ptr<uint8_t[]> bytes_;
    std::array<size_t, kBatch> sizes_{};
    size_t received_ = 0;  // datagrams of this batch
    size_t next_ = 0;      // the index of the next one to hand over
    int failure_ = 0;      // errno value; 0: none
    uint32_t drops_ = 0;   // the kernel's count at the last datagram; wraps
};

}  // namespace tvservice

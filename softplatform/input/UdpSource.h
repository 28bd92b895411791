#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/input/ByteSource.h"
#include "softplatform/input/UdpAddress.h"
#include "softplatform/input/UdpSocket.h"

namespace tvservice {

// A live transport stream in UDP datagrams, unicast or multicast. Empty datagrams are counted
// (kMalformedDatagrams) and dropped. Datagrams that the kernel dropped are counted too
// (kKernelDrops).
class UdpSource : public ByteSource {
  public:
    // Binds the address of `uri` ("udp://...", see ParseUdpUri); joins it when it is a multicast
    // group. Returns null on failure; `error` then receives a line with `uri` and the reason.
    // `counters` is borrowed.
    static std::shared_ptr<UdpSource> Open(const std::string& uri, std::string& error,
                                           Counters& counters = ReceiverCounters());

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool live() const override { return true; }
    bool Rewind() override { return true; }  // nothing to do: a live stream has no start
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return socket_->descriptor(); }

    // The bound port; when the URI has port 0, the one that the system chose.
    uint16_t port() const { return socket_->port(); }

  protected:
    // Opens the socket for `uri`; null on failure, as with Open.
    static std::unique_ptr<UdpSocket> OpenSocket(const std::string& uri, std::string& error,
                                                 Counters& counters);

    UdpSource(std::string uri, std::unique_ptr<UdpSocket> socket, Counters& counters);

    // The next piece of the stream, in this class a datagram: not empty, borrowed until the next
    // call. Also returns kNothing when all datagrams of one system call were dropped.
    virtual UdpSocket::Received Next();

    UdpSocket& socket() { return *socket_; }
    Counters& counters() { return counters_; }

  private:
    const std::unique_ptr<UdpSocket> socket_;
    Counters& counters_;
    ByteView left_;        // the rest of a piece that did not fit into the buffer of one Read
    uint64_t offset_ = 0;  // bytes that Read returned in all
};

}  // namespace tvservice

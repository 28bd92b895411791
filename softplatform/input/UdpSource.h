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

// A transport stream in UDP datagrams, unicast or multicast: live, without an end. Empty datagrams
// are counted (kMalformedDatagrams), and so are those that the kernel had no room for
// (kKernelDrops).
class UdpSource : public ByteSource {
  public:
    // Binds the address of `uri` ("udp://...", see ParseUdpUri) and joins its group. Null on
    // failure; `error` then receives a line that names `uri` and the reason. `counters` is
    // borrowed.
    static std::shared_ptr<UdpSource> Open(const std::string& uri, std::string& error,
                                           Counters& counters = ReceiverCounters());

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool live() const override { return true; }
    bool Rewind() override { return true; }  // there is no start to go back to
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return socket_->descriptor(); }

    // The port that is bound, also when the URI left it to the system (port 0).
    uint16_t port() const { return socket_->port(); }

  protected:
    // The socket that `uri` asks for; null on failure, as Open.
    static std::unique_ptr<UdpSocket> OpenSocket(const std::string& uri, std::string& error,
                                                 Counters& counters);

    UdpSource(std::string uri, std::unique_ptr<UdpSocket> socket, Counters& counters);

    // The next piece of the stream, here a datagram: not empty, borrowed until the next call.
    // kNothing also when every datagram of one system call was left out.
    virtual UdpSocket::Received Next();

    UdpSocket& socket() { return *socket_; }
    Counters& counters() { return counters_; }

  private:
    const std::unique_ptr<UdpSocket> socket_;
    Counters& counters_;
    ByteView left_;        // of the piece that did not fit into a read
    uint64_t offset_ = 0;  // bytes handed over
};

}  // namespace tvservice

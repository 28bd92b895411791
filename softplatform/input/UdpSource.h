#pragma once

#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "softplatform/input/Descriptor.h"
#include "softplatform/input/Source.h"

namespace tvservice {

// What a URI "udp://[@]HOST:PORT[?iface=NAME]" says. HOST is a numeric IPv4 address, an IPv6
// address in brackets, or nothing.
struct UdpAddress {
    sockaddr_storage address{};
    socklen_t size = 0;
    bool isMulticast = false;
    unsigned interfaceIndex = 0;  // 0: the system's choice
};

// Reads `uri`, which begins with "udp://". False when it is malformed; `error` then receives a line
// that names it and what is wrong.
bool ParseUdpUri(const std::string& uri, UdpAddress& address, std::string& error);

// A transport stream in UDP datagrams, unicast or multicast: live, without an end. Datagrams are
// read in batches; those that the kernel had no room for are counted (Counter::kKernelDrops), and
// those longer than any that carries packets are cut.
class UdpSource final : public Source {
  public:
    // Binds the address and joins its group. Null on failure; `error` then receives a line that
    // names `uri` and the reason.
    static std::shared_ptr<UdpSource> Open(const std::string& uri, std::string& error);

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool live() const override { return true; }
    bool Rewind() override { return true; }  // there is no start to go back to
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return socket_.get(); }

    // The port that is bound, also when the URI left it to the system (port 0).
    uint16_t port() const;

  private:
    UdpSource(std::string uri, Descriptor socket);

    // Fetches the next batch; false when there is none, `result` then says why.
    bool Receive(ReadResult& result);
    void CountDrops(msghdr& header);

    static constexpr size_t kBatch = 64;
    static constexpr size_t kDatagramSize = 9216;  // a jumbo frame

    const Descriptor socket_;
    std::vector<uint8_t> bytes_;  // kBatch datagrams
    std::array<size_t, kBatch> sizes_{};
    size_t received_ = 0;  // datagrams of this batch
    size_t next_ = 0;      // the one to hand over
    size_t taken_ = 0;     // bytes of it that were handed over
    uint64_t offset_ = 0;
    uint32_t drops_ = 0;  // as the kernel counts them
};

}  // namespace tvservice

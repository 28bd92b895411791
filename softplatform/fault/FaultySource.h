#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "softplatform/fault/FaultPlan.h"
#include "softplatform/input/ByteSource.h"
#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// A source whose packets are dropped, sent twice, sent in another order and corrupted, as the plan
// says.
//
// A packet is 188 bytes that begin with a sync byte; what lies before one is passed on as it is. So
// the stream has to be one of 188-byte packets: in others the cuts fall where a 0x47 happens to be.
// Every fault looks at the packets as they came in. On one packet `drop` goes before all else; then
// it is corrupted, sent twice, and both copies held back, if so planned. What is held back at the
// end comes out there. Without planned packet faults the bytes are those of the source.
//
// After Rewind the same faults happen again. `count` of the plan goes on.
class FaultySource final : public ByteSource {
  public:
    // `source` becomes this one's alone. Throws std::system_error when the process has no
    // descriptor left.
    FaultySource(std::shared_ptr<ByteSource> source, std::shared_ptr<FaultPlan> plan);

    // 0 where packets are dropped or sent twice.
    uint64_t size() const override;
    bool rewindable() const override { return source_->rewindable(); }
    bool live() const override { return source_->live(); }
    bool Rewind() override;

    // One read of the wrapped source at most: where nothing of it comes out, or not yet, the answer
    // is kWouldBlock, and the descriptor is readable at once.
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override {
        return mayGoOn_ ? alwaysReady_.get() : source_->descriptor();
    }

  private:
    static constexpr size_t kPacketSize = 188;
    using Packet = std::array<uint8_t, kPacketSize>;

    // Packets on their way to another place in the stream.
    struct Held {
        size_t trigger;  // of triggers_
        uint64_t due;    // comes out when its fault has seen so many packets
        unsigned copies;
        Packet packet;
    };

    void Start();
    void TakeIn(ByteView bytes);
    void OnPacket(Packet packet);
    void End(ReadResult result);
    void Put(const Packet& packet, unsigned copies);

    const std::shared_ptr<ByteSource> source_;
    const std::shared_ptr<FaultPlan> plan_;
    const FileDescriptor alwaysReady_;
    std::vector<uint8_t> chunk_;

    std::vector<FaultTrigger> triggers_;
    std::vector<uint8_t> open_;  // the start of a packet
    std::deque<Held> held_;
    std::vector<uint8_t> out_;
    size_t outAt_ = 0;                 // bytes of out_ that were read
    bool mayGoOn_ = false;             // the last kWouldBlock was our own
    std::optional<ReadResult> ended_;  // what the wrapped source ended with
};

}  // namespace tvservice

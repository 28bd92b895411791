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

// Wraps a source and injects the packet faults of the plan: packets are dropped, sent twice, sent
// in another order, or corrupted.
//
// A packet is 188 bytes that begin with a sync byte. Bytes between packets are passed on unchanged.
// The stream must consist of 188-byte packets: with other packet sizes any byte 0x47 is taken for
// the start of a packet.
//
// Every fault looks at the packets in the order in which they arrive. A dropped packet has no other
// faults. Otherwise the packet is corrupted first, then doubled, and then held back together with
// its copy. Packets that are still held back at the end of the source are sent there. Without
// planned packet faults the bytes are those of the wrapped source.
//
// After Rewind the same faults happen again. The counts of the plan go on and are not reset.
class FaultySource final : public ByteSource {
  public:
    // Only this object may use `source` from then on. Throws std::system_error when the process has
    // no file descriptor left.
    FaultySource(std::shared_ptr<ByteSource> source, std::shared_ptr<FaultPlan> plan);

    // 0, for unknown, when the plan drops packets or sends them twice.
    uint64_t size() const override;
    bool rewindable() const override { return source_->rewindable(); }
    bool live() const override { return source_->live(); }
    bool Rewind() override;

    // Reads the wrapped source at most once. When that gives bytes but none can be passed on yet,
    // the answer is kWouldBlock, and descriptor() is readable at once.
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override {
        return mayGoOn_ ? alwaysReady_.get() : source_->descriptor();
    }

  private:
    static constexpr size_t kPacketSize = 188;
    using Packet = std::array<uint8_t, kPacketSize>;

    // A packet that is held back, with its copies.
    struct Held {
        size_t trigger;  // index in triggers_
        uint64_t due;    // sent when the trigger has taken this many packets
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
    std::vector<uint8_t> open_;  // the start of a packet that is not complete yet
    std::deque<Held> held_;
    std::vector<uint8_t> out_;
    size_t outAt_ = 0;      // how many bytes of out_ were read
    bool mayGoOn_ = false;  // the last kWouldBlock came from this class, not from source_
    std::optional<ReadResult> ended_;  // how the wrapped source ended
};

}  // namespace tvservice

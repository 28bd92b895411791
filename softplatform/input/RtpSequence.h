#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/input/RtpPacket.h"

namespace tvservice {

// Puts RTP packets in the order of their sequence numbers and counts the missing ones (RFC 3550
// 5.1, A.1). When a packet is missing, the packets after it are kept. It counts as lost
// (kRtpLosses) as soon as a packet comes whose number is kWindow or more above it. A packet that
// comes before that but after one with a higher number is counted too (kRtpReordered). A packet
// that comes twice or too late is dropped.
//
// When the sender restarts (another SSRC, or a sequence number far back), the kept packets are
// handed over, and the order begins anew with the new packet. The gap between the old numbers and
// the new ones does not count as lost.
//
// Used by one thread at a time. Push a packet, then Pop until there is nothing more.
class RtpSequence {
  public:
    static constexpr size_t kWindow = 8;

    // `counters` is borrowed.
    explicit RtpSequence(Counters& counters) : counters_(counters) {}

    // Gives the next packet that came. Its bytes are borrowed until Pop returns none.
    void Push(const RtpPacket& packet);

    // The next payload in order, which may be empty; borrowed until the next Push or Pop. None when
    // all were handed over, or when the next packet is missing.
    std::optional<ByteView> Pop();

  private:
    struct Slot {
        bool isHeld = false;
        std::vector<uint8_t> payload;
    };

    // How many numbers `number` is after the expected one, modulo 2^16: below 0 when its turn has
    // passed.
    int Ahead(uint16_t number) const {
        return static_cast<int16_t>(static_cast<uint16_t>(number - expected_));
    }
    Slot& SlotOf(uint16_t number) { return slots_[number % kWindow]; }
    void Lose();

    Counters& counters_;
    std::array<Slot, kWindow> slots_;  // of expected_ and the numbers after it
    size_t held_ = 0;                  // slots in use
    std::optional<uint32_t> SSRC_;
    uint16_t expected_ = 0;  // the number to hand over next
    uint16_t highest_ = 0;   // the highest number that came
    // The packet that was pushed, until it is handed over or put into a slot.
    std::optional<ByteView> incoming_;
    uint16_t incomingNumber_ = 0;
    bool startsAnew_ = false;  // incoming_ is the first packet after a restart of the sender
};

}  // namespace tvservice

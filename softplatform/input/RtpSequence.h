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

// Puts RTP packets in the order of their sequence numbers and counts those that are missing (RFC
// 3550 5.1, A.1). It waits for a missing packet until kWindow packets after it have come; then the
// packet is counted as lost (kRtpLosses). A packet that comes late but in time is counted as well
// (kRtpReordered). A packet that comes twice or too late is left out.
//
// When the sender starts again, with another SSRC or a sequence number far back, the order starts
// again too: no packet between the old sequence and the new one counts as lost.
//
// Used by one thread at a time. Push a packet, then Pop until there is nothing more.
class RtpSequence {
  public:
    static constexpr size_t kWindow = 8;

    // `counters` is borrowed.
    explicit RtpSequence(Counters& counters) : counters_(counters) {}

    // Takes in a packet; its bytes are borrowed until Pop has said that there is nothing more.
    void Push(const RtpPacket& packet);

    // The next payload in order, which may be empty, borrowed until the next call of either
    // function; none while a packet is missing before all that came.
    std::optional<ByteView> Pop();

  private:
    struct Slot {
        bool isHeld = false;
        std::vector<uint8_t> payload;
    };

    // How far `number` lies behind the expected one, modulo 2^16: below 0 when it has passed.
    int Ahead(uint16_t number) const {
        return static_cast<int16_t>(static_cast<uint16_t>(number - expected_));
    }
    Slot& SlotOf(uint16_t number) { return slots_[number % kWindow]; }
    void Lose();

    Counters& counters_;
    std::array<Slot, kWindow> slots_;  // of expected_ and the numbers behind it
    size_t held_ = 0;
    std::optional<uint32_t> SSRC_;
    uint16_t expected_ = 0;  // the number to hand over next
    uint16_t highest_ = 0;   // of those that came
    // The packet that was pushed, until it is handed over or put into a slot.
    std::optional<ByteView> incoming_;
    uint16_t incomingNumber_ = 0;
    bool startsAnew_ = false;
};

}  // namespace tvservice

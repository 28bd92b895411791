#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "softplatform/ts/PacketView.h"

namespace tvservice {

// How one packet follows the one before it on its PID.
enum class ContinuityVerdict {
    kFirst,          // the first packet: there is none to compare it with
    kNext,           // continuity_counter one higher, modulo 16
    kDuplicate,      // a repetition of the packet before; to be ignored
    kGap,            // packets are missing
    kAnnouncedJump,  // the counter jumps and discontinuity_indicator announces it
    kNoPayload,      // adaptation field only: the counter does not advance
};

// Follows continuity_counter on one PID (ISO/IEC 13818-1 2.4.3.3). Keeps a copy of the last
// payload, because a packet is a duplicate only if its payload is the same. Used by one thread.
class Continuity {
  public:
    // Judges `packet`, which is well-formed and of this checker's PID, and remembers it.
    //
    // A duplicate has the counter and the payload of the packet before. Adaptation fields are not
    // compared, because the PCR may differ. A packet may be sent twice only: a third one with the
    // same counter is a gap, and so is one with the same counter and another payload. The counter
    // of a packet without payload is ignored, unless discontinuity_indicator is set: then counting
    // continues from its value.
    ContinuityVerdict Check(PacketView packet) {
        // A shortcut for nearly every packet: no adaptation field, and the counter is one higher.
        // CheckAny would return the same.
        if (started_ && packet.adaptation_field_control() == 1 &&
            packet.continuity_counter() == ((counter_ + 1) & 0xF)) {
            std::memcpy(payload_.data(), packet.data() + kHeaderSize, payload_.size());
            payloadSize_ = payload_.size();
            counter_ = packet.continuity_counter();
            repeated_ = false;
            return ContinuityVerdict::kNext;
        }
        return CheckAny(packet);
    }

    // As Check, without the shortcut for the usual packet.
    ContinuityVerdict CheckAny(PacketView packet);

    // Forgets everything: the next packet is the first.
    void Reset();

  private:
    static constexpr size_t kHeaderSize = 4;

    void Remember(ByteView payload, uint8_t counter);

    std::array<uint8_t, kPacketSize - kHeaderSize> payload_{};
    size_t payloadSize_ = 0;
    uint8_t counter_ = 0;
    bool started_ = false;
    bool repeated_ = false;  // the last packet has already had its duplicate
};

}  // namespace tvservice

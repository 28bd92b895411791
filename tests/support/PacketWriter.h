#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "tests/support/TsBytes.h"

namespace testsupport {

// A stream, packet by packet; keeps the continuity_counter of every PID.
class PacketWriter {
  public:
    // A packet with the counter that is due.
    PacketWriter& Packet(PacketBytes fields, const Bytes& payload) {
        fields.continuity_counter = counters_[fields.PID]++ & 0xF;
        return Raw(fields.Build(payload));
    }

    // A section in packets of its own, stuffed to the end of the last.
    PacketWriter& Section(uint16_t pid, const Bytes& section) {
        Bytes bytes = Join({{0x00}, section});  // pointer_field
        for (size_t at = 0; at < bytes.size(); at += 184) {
            Packet({.PID = pid, .payload_unit_start_indicator = at == 0},
                   Stuffed(Slice(bytes, at, 184)));
        }
        return *this;
    }

    // The last packet once more.
    PacketWriter& RepeatLast() { return Raw(Slice(bytes_, bytes_.size() - 188)); }

    // The next packet of that PID will not be there.
    PacketWriter& Lose(uint16_t pid) {
        ++counters_[pid];
        return *this;
    }

    // The packet that was written last is not there, but was counted.
    PacketWriter& DropPacket() {
        bytes_.resize(bytes_.size() - 188);
        return *this;
    }

    // Inverts one bit of the last packet.
    PacketWriter& FlipBit(size_t byte, unsigned bit) {
        uint8_t& changed = bytes_[bytes_.size() - 188 + byte];
        changed = static_cast<uint8_t>(changed ^ 1u << bit);
        return *this;
    }

    PacketWriter& Raw(const Bytes& packet) {
        bytes_.insert(bytes_.end(), packet.begin(), packet.end());
        return *this;
    }

    // What was written since the last call.
    Bytes Take() { return std::exchange(bytes_, {}); }

  private:
    Bytes bytes_;
    std::array<uint8_t, 0x2000> counters_{};
};

}  // namespace testsupport

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "tests/support/TsBytes.h"

namespace testsupport {

// Writes a stream packet by packet and sets the continuity_counter of every PID.
class PacketWriter {
  public:
    // Writes a packet with the next continuity_counter of its PID.
    PacketWriter& Packet(PacketBytes fields, const Bytes& payload) {
        fields.continuity_counter = counters_[fields.PID]++ & 0xF;
        return Raw(fields.Build(payload));
    }

    // Writes a section in packets of its own. Stuffing fills the last packet.
    PacketWriter& Section(uint16_t pid, const Bytes& section) {
        Bytes bytes = Join({{0x00}, section});  // pointer_field
        for (size_t at = 0; at < bytes.size(); at += 184) {
            Packet({.PID = pid, .payload_unit_start_indicator = at == 0},
                   Stuffed(Slice(bytes, at, 184)));
        }
        return *this;
    }

    // Repeats the last packet.
    PacketWriter& RepeatLast() { return Raw(Slice(bytes_, bytes_.size() - 188)); }

    // Leaves out the next packet of this PID.
    PacketWriter& Lose(uint16_t pid) {
        ++counters_[pid];
        return *this;
    }

    // Removes the last packet; its continuity_counter stays used.
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

    // Returns what was written since the last call.
    Bytes Take() { return std::exchange(bytes_, {}); }

  private:
    Bytes bytes_;
    std::array<uint8_t, 0x2000> counters_{};
};

}  // namespace testsupport

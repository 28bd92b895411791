// Writes packets in order and sets the continuity_counter of every PID.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/SectionPacker.h"
#include "generator/Tables.h"

namespace generator {

// One thread at a time may use an object.
class TsWriter {
  public:
    // Appends a packet with the continuity_counter that is due: one more than the last of its PID
    // when the packet has a payload, the same when it has none (ISO/IEC 13818-1 2.4.3.3). Null
    // packets keep the counter that they have.
    void Write(Packet packet);
    void Write(const PacketList& packets);

    // Writes sections on a PID; see SectionPacker.h.
    void WriteSection(std::uint16_t pid, const Bytes& section, const Packing& packing = {});
    void WriteSections(std::uint16_t pid, const Sections& sections, const Packing& packing = {});

    // Writes a packet without payload that carries a clock reference (27 MHz).
    void WritePcr(std::uint16_t pid, std::uint64_t program_clock_reference);
    void WriteNull(std::size_t count = 1);

    // Repeats the last packet with the same counter: a duplicate packet. Throws std::logic_error
    // when nothing was written before.
    void RepeatLast();

    // Advances the counter of a PID by `count` (1 to 15), as if that many packets had been lost.
    // With Packing::discontinuity_indicator in the next packet the loss is an announced
    // discontinuity.
    void SkipContinuity(std::uint16_t pid, unsigned count);

    // Returns what was written so far.
    const PacketList& packets() const { return packets_; }

  private:
    PacketList packets_;
    std::array<std::uint8_t, 0x2000> nextCounter_{};  // by PID
};

}  // namespace generator

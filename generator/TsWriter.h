// Writes packets one after the other and keeps the continuity counter of every PID.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/SectionPacker.h"
#include "generator/Tables.h"

namespace generator {

// Not for several threads at once.
class TsWriter {
  public:
    // Appends a packet with the continuity_counter that is due: one more than the last of its PID
    // when it has a payload, the same when it has none (ISO/IEC 13818-1 2.4.3.3). Null packets are
    // not counted.
    void Write(Packet packet);
    void Write(const PacketList& packets);

    // Sections on a PID; see SectionPacker.h.
    void WriteSection(std::uint16_t pid, const Bytes& section, const Packing& packing = {});
    void WriteSections(std::uint16_t pid, const Sections& sections, const Packing& packing = {});

    // A packet of adaptation field alone, with a clock reference (27 MHz).
    void WritePcr(std::uint16_t pid, std::uint64_t program_clock_reference);
    void WriteNull(std::size_t count = 1);

    // The last packet once more, counter included: a duplicate packet. Throws std::logic_error when
    // nothing was written yet.
    void RepeatLast();

    // Moves the counter of a PID on by `count` (1 to 15), as if so many packets had been lost. With
    // Packing::discontinuity_indicator in the next packet this is an announced discontinuity.
    void SkipContinuity(std::uint16_t pid, unsigned count);

    // What was written so far.
    const PacketList& packets() const { return packets_; }

  private:
    PacketList packets_;
    std::array<std::uint8_t, 0x2000> nextCounter_{};  // by PID
};

}  // namespace generator

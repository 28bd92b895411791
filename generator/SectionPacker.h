// Sections into the payloads of packets, in every way that ISO/IEC 13818-1 2.4.4.1 allows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/Tables.h"

namespace generator {

struct Packing {
    // false: each section begins a packet of its own, behind pointer_field 0, and the last packet
    // of each is filled up with 0xFF. true: each section begins behind the last byte of the one
    // before, wherever that is; the last packet is filled up.
    bool back_to_back = false;
    // Bytes of payload in every packet, pointer_field included (2 to 184); the rest is stuffing in
    // the adaptation field. Small payloads split section headers over packets.
    std::size_t payload_size = kPayloadSize;
    // Bytes between the first pointer_field and the first section: the end of a section whose
    // beginning was never sent. At most payload_size - 2 bytes.
    Bytes before_first = {};
    // Sets discontinuity_indicator in the first packet, whose payload is then at most 182 bytes.
    bool discontinuity_indicator = false;
    std::uint8_t transport_scrambling_control = 0;
};

// The packets of the sections, all with continuity_counter 0 (TsWriter counts). Packing values
// outside their range throw std::logic_error.
PacketList PackSections(std::uint16_t pid, const Sections& sections, const Packing& packing = {});

// Only the first `size` bytes of a section, from pointer_field 0 on, and not one byte of stuffing
// behind them: the section goes on in whatever packet comes next, or is cut off by it.
PacketList PackSectionHead(std::uint16_t pid, const Bytes& section, std::size_t size);

}  // namespace generator

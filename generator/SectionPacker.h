// Puts sections into the payloads of packets, in all ways that ISO/IEC 13818-1 2.4.4.1 allows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"
#include "generator/Packet.h"
#include "generator/Tables.h"

namespace generator {

struct Packing {
    // false: each section begins in a new packet, behind pointer_field 0, and 0xFF fills its last
    // packet. true: each section follows the last byte of the one before; 0xFF fills only the last
    // packet of all.
    bool back_to_back = false;
    // How many bytes of payload every packet has, pointer_field included (2 to 184). Stuffing in
    // the adaptation field fills the rest. With small payloads the headers of sections are split
    // over packets.
    std::size_t payload_size = kPayloadSize;
    // The bytes between the first pointer_field and the first section. They stand for the end of a
    // section whose beginning was never sent. At most payload_size - 2 bytes.
    Bytes before_first = {};
    // Sets discontinuity_indicator in the first packet. Its payload is then at most 182 bytes.
    bool discontinuity_indicator = false;
    std::uint8_t transport_scrambling_control = 0;
};

// Returns the packets of the sections, all with continuity_counter 0 (TsWriter sets it). Throws
// std::logic_error when a value of Packing is outside its range.
PacketList PackSections(std::uint16_t pid, const Sections& sections, const Packing& packing = {});

// Returns packets with the first `size` bytes of a section only, behind pointer_field 0 and without
// stuffing. The next packet of the PID continues the section or cuts it off.
PacketList PackSectionHead(std::uint16_t pid, const Bytes& section, std::size_t size);

}  // namespace generator

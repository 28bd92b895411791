#include "generator/Packet.h"

#include <algorithm>
#include <stdexcept>

#include "generator/FieldWriter.h"

namespace generator {
namespace {

// Returns the adaptation field, which takes exactly `size` bytes between header and payload.
Bytes CodeAdaptationField(const AdaptationField& field, std::size_t size) {
    if (size == 1) {
        return {0};  // adaptation_field_length 0: one byte of stuffing
    }
    ByteWriter content;
    // ISO/IEC 13818-1 2.4.3.4: the flags, then the clock reference
    content.Bits(1, field.discontinuity_indicator ? 1 : 0)
        .Bits(1, field.random_access_indicator ? 1 : 0)
        .Bits(1, 0)  // elementary_stream_priority_indicator
        .Bits(1, field.program_clock_reference ? 1 : 0)
        .Bits(4, 0);  // OPCR_flag, splicing_point_flag, private data flag, extension flag
    if (field.program_clock_reference) {
        content.Bits(33, *field.program_clock_reference / 300)
            .Reserved(6)
            .Bits(9, *field.program_clock_reference % 300);
    }
    Bytes bytes = content.Build();
    bytes.resize(size - 1, 0xFF);
    return ByteWriter().Length8(bytes).Build();
}

}  // namespace

Packet MakePacket(const PacketFields& fields, const Bytes& payload) {
    std::size_t needed = 0;  // bytes that the adaptation field needs for what the caller asked for
    if (fields.adaptation_field) {
        needed = fields.adaptation_field->program_clock_reference ? 8 : 2;
    }
    if (needed + payload.size() > kPayloadSize) {
        throw std::logic_error("the payload does not fit into the packet");
    }
    const std::size_t adaptationSize = kPayloadSize - payload.size();

    // ISO/IEC 13818-1 2.4.3.2
    ByteWriter writer;
    writer.U8(0x47)
        .Bits(1, fields.transport_error_indicator ? 1 : 0)
        .Bits(1, fields.payload_unit_start_indicator ? 1 : 0)
        .Bits(1, fields.transport_priority ? 1 : 0)
        .Bits(13, fields.pid)
        .Bits(2, fields.transport_scrambling_control)
        .Bits(1, adaptationSize > 0 ? 1 : 0)
        .Bits(1, payload.empty() ? 0 : 1)
        .Bits(4, fields.continuity_counter);
    if (adaptationSize > 0) {
        writer.Raw(CodeAdaptationField(fields.adaptation_field.value_or(AdaptationField{}),
                                       adaptationSize));
    }
    const Bytes bytes = writer.Raw(payload).Build();
    Packet packet{};
    std::copy(bytes.begin(), bytes.end(), packet.begin());
    return packet;
}

std::uint16_t PidOf(const Packet& packet) {
    return static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

Bytes Serialise(const PacketList& packets, PacketFormat format, std::uint32_t packetsPerSecond) {
    Bytes stream;
    stream.reserve(packets.size() * 204);
    std::uint64_t index = 0;
    for (const Packet& packet : packets) {
        if (format == PacketFormat::k192) {
            const std::uint64_t arrival = index * kClockRate / packetsPerSecond;
            const Bytes stamp = ByteWriter().Bits(2, 0).Bits(30, arrival & 0x3FFFFFFF).Build();
            stream.insert(stream.end(), stamp.begin(), stamp.end());
        }
        stream.insert(stream.end(), packet.begin(), packet.end());
        if (format == PacketFormat::k204) {
            stream.insert(stream.end(), 16, 0);
        }
        ++index;
    }
    return stream;
}

}  // namespace generator

#include <algorithm>
#include <string>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/Packet.h"
#include "generator/Random.h"
#include "generator/SectionBuilder.h"
#include "generator/Tables.h"
#include "generator/TsWriter.h"
#include "generator/scenarios/Streams.h"

namespace generator {
namespace {

constexpr std::uint16_t kTransportStream = 0x0800;
constexpr std::uint16_t kOriginalNetwork = 0xFF10;
constexpr std::uint16_t kMapPid = 0x0100;
constexpr std::uint16_t kVideoPid = 0x0101;
constexpr std::uint16_t kEventPid = 0x0012;
constexpr std::uint16_t kServicePid = 0x0011;

// Six services in six sections of different sizes.
Sections Services() {
    Sdt sdt{kTransportStream, kOriginalNetwork};
    for (std::uint16_t i = 1; i <= 6; ++i) {
        sdt.services.push_back(
            {.service_id = i,
             .descriptors = {ServiceDescriptor(0x01, "Packers", std::string(i * 17u, 'p'))}});
    }
    return MakeSdt(Scope::kActual, sdt, {.version_number = 1, .entries_per_section = 1});
}

// Makes an event section of exactly `size` bytes, header and CRC_32 included. `number` makes
// sections of the same size differ.
Bytes EventSection(std::uint8_t number, std::size_t size) {
    ByteWriter descriptors;
    std::size_t left = size - 8 - 6 - 12 - 4;
    while (left > 0) {
        std::size_t whole = std::min<std::size_t>(left, 2 + 255);
        if (left - whole == 1) {
            --whole;  // the rest must hold a descriptor's tag and length
        }
        descriptors.Raw(Descriptor(0x80, Bytes(whole - 2, number)));
        left -= whole;
    }
    return SectionBuilder(0x50)
        .TableIdExtension(1)
        .Number(number, 0xFF)
        .U16(kTransportStream)
        .U16(kOriginalNetwork)
        .U8(number | 0x07u)
        .U8(0x50)
        .U16(number)
        .U40(0xF0A0000000)
        .U24(0x010000)
        .Bits(3, 0)
        .Bits(1, 0)
        .Length12(descriptors.Build())
        .Build();
}

// Every payload size that splits a section header at a new place: behind its first byte, its
// second, and so on.
void WriteChopped(TsWriter& writer) {
    for (std::size_t payload_size = 2; payload_size <= kPayloadSize;
         payload_size += payload_size < 16 ? 1 : 24) {
        writer.WriteSections(kServicePid, Services(),
                             {.back_to_back = true, .payload_size = payload_size});
        writer.WriteSections(kServicePid, Services(), {.payload_size = payload_size});
    }
}

// Sections whose last byte is the last of a packet, and sections that are one byte shorter and
// longer.
void WriteFullPackets(TsWriter& writer) {
    std::uint8_t number = 0;
    for (const std::size_t size : {182u, 183u, 184u, 366u, 367u, 368u}) {
        writer.WriteSections(kEventPid, {EventSection(number, size)}, {.back_to_back = true});
        ++number;
    }
    // No stuffing behind the section: the adaptation field fills the last packet.
    const Bytes exact = EventSection(number, 200);
    writer.Write(PackSectionHead(kEventPid, exact, exact.size()));
}

// Payloads that begin with the end of a section whose beginning was never sent.
void WriteStrangeEnds(TsWriter& writer) {
    for (const std::size_t size : {1u, 90u, 182u}) {
        writer.WriteSections(kServicePid, Services(),
                             {.back_to_back = true, .before_first = Bytes(size, 0x5A)});
    }
}

// Sections that the start of the next one cuts off, behind each byte of the header and later.
void WriteCutOff(TsWriter& writer) {
    const Bytes cut = EventSection(0x10, 900);
    for (const std::size_t size : {1u, 2u, 3u, 4u, 8u, 183u, 184u, 600u, 899u}) {
        writer.Write(PackSectionHead(kEventPid, cut, size));
        writer.WriteSection(kEventPid, EventSection(0x11, 120));
    }
}

// The longest sections that the standards allow: section_length 1021 and 4093.
void WriteLongest(TsWriter& writer) {
    std::vector<Bytes> descriptors;
    for (const std::size_t body : {250u, 250u, 250u, 250u}) {
        descriptors.push_back(Descriptor(0x80, Bytes(body, 0x77)));
    }
    writer.WriteSections(kMapPid, MakePmt({1, kVideoPid, descriptors}, {.version_number = 1}));
    writer.WriteSections(kEventPid, {EventSection(0x18, 4096), EventSection(0x19, 4096)},
                         {.back_to_back = true});
}

// Packets that a section layer must handle without losing a section: duplicates, packets without
// payload, scrambled packets, packets with transport_error_indicator, and announced discontinuities
// inside a table.
void WriteAround(TsWriter& writer, Random& random) {
    const PacketList packets = PackSections(kServicePid, Services(), {.back_to_back = true});
    for (const Packet& packet : packets) {
        writer.Write(packet);
        writer.RepeatLast();
        writer.Write(MakePacket({.pid = kServicePid}, {}));
        writer.WritePcr(kVideoPid, random.Below(27'000'000));
        writer.Write(MakePacket({.pid = kVideoPid, .transport_scrambling_control = 3},
                                random.Fill(kPayloadSize)));
        writer.Write(MakePacket({.pid = kNullPid, .transport_error_indicator = true},
                                random.Fill(kPayloadSize)));
        writer.WriteNull();
    }
    writer.SkipContinuity(kServicePid, 5);
    writer.WriteSections(kServicePid, Services(),
                         {.back_to_back = true, .discontinuity_indicator = true});
}

}  // namespace

PacketList MakePacketisation(std::uint64_t seed) {
    Random random(seed);
    TsWriter writer;
    writer.WriteSections(0x0000, MakePat(kTransportStream, {{0, 0x0010}, {1, kMapPid}}));
    writer.WriteSections(kMapPid, MakePmt({1, kVideoPid, {}, {{0x02, kVideoPid}}}));
    writer.WriteSections(kServicePid, Services());
    writer.WriteSections(kServicePid, Services(), {.back_to_back = true});
    WriteChopped(writer);
    WriteFullPackets(writer);
    WriteStrangeEnds(writer);
    WriteCutOff(writer);
    WriteLongest(writer);
    WriteAround(writer, random);
    return writer.packets();
}

}  // namespace generator

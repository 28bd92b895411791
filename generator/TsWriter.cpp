#include "generator/TsWriter.h"

#include <stdexcept>

namespace generator {

void TsWriter::Write(Packet packet) {
    const std::uint16_t pid = PidOf(packet);
    if (pid != kNullPid) {
        const bool hasPayload = (packet[3] & 0x10) != 0;
        // ISO/IEC 13818-1 2.4.3.3: a packet without payload repeats the counter of the one before.
        const unsigned counter = nextCounter_[pid] + (hasPayload ? 0u : 15u);
        packet[3] = static_cast<std::uint8_t>((packet[3] & 0xF0) | (counter & 0x0F));
        if (hasPayload) {
            SkipContinuity(pid, 1);
        }
    }
    packets_.push_back(packet);
}

void TsWriter::Write(const PacketList& packets) {
    for (const Packet& packet : packets) {
        Write(packet);
    }
}

void TsWriter::WriteSection(std::uint16_t pid, const Bytes& section, const Packing& packing) {
    WriteSections(pid, {section}, packing);
}

void TsWriter::WriteSections(std::uint16_t pid, const Sections& sections, const Packing& packing) {
    Write(PackSections(pid, sections, packing));
}

void TsWriter::WritePcr(std::uint16_t pid, std::uint64_t program_clock_reference) {
    Write(MakePacket(
        {.pid = pid,
         .adaptation_field = AdaptationField{.program_clock_reference = program_clock_reference}},
        {}));
}

void TsWriter::WriteNull(std::size_t count) {
    const Packet null = MakePacket({.pid = kNullPid}, Bytes(kPayloadSize, 0xFF));
    packets_.insert(packets_.end(), count, null);
}

void TsWriter::RepeatLast() {
    if (packets_.empty()) {
        throw std::logic_error("there is no packet to repeat");
    }
    const Packet last = packets_.back();
    packets_.push_back(last);
}

void TsWriter::SkipContinuity(std::uint16_t pid, unsigned count) {
    nextCounter_.at(pid) = static_cast<std::uint8_t>((nextCounter_.at(pid) + count) & 0x0F);
}

}  // namespace generator

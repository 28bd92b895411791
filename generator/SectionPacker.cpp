#include "generator/SectionPacker.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "generator/FieldWriter.h"

namespace generator {
namespace {

Bytes Part(const Bytes& bytes, std::size_t position, std::size_t size) {
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(position);
    return Bytes(from, from + static_cast<std::ptrdiff_t>(size));
}

// Cuts a run of bytes into packets. Sections begin at known offsets of it.
class Cutter {
  public:
    Cutter(std::uint16_t pid, const Packing& packing) : pid_(pid), packing_(packing) {}

    // Cuts `bytes` into packets. Sections begin at the ascending offsets `starts`. 0xFF fills the
    // last packet.
    void Cut(const Bytes& bytes, const std::vector<std::size_t>& starts) {
        auto next = starts.begin();
        std::size_t position = 0;
        while (position < bytes.size()) {
            const std::size_t toStart =
                next == starts.end() ? bytes.size() - position : *next - position;
            const bool begins = next != starts.end() && toStart + 1 < packing_.payload_size;
            // The pointer_field takes one byte. A section that would begin in that byte waits for
            // the next packet, and this packet ends before the section.
            const std::size_t room =
                begins ? packing_.payload_size - 1 : std::min(packing_.payload_size, toStart);
            const std::size_t size = std::min(room, bytes.size() - position);
            ByteWriter writer;
            if (begins) {
                writer.U8(toStart);  // pointer_field
            }
            Bytes payload = writer.Raw(Part(bytes, position, size)).Build();
            position += size;
            if (position == bytes.size()) {
                payload.resize(packing_.payload_size, 0xFF);
            }
            while (next != starts.end() && *next < position) {
                ++next;
            }
            Append(begins, payload);
        }
    }

    PacketList Take() { return std::move(packets_); }

  private:
    void Append(bool begins, const Bytes& payload) {
        PacketFields fields{.pid = pid_};
        fields.payload_unit_start_indicator = begins;
        fields.transport_scrambling_control = packing_.transport_scrambling_control;
        if (packing_.discontinuity_indicator && packets_.empty()) {
            fields.adaptation_field = AdaptationField{.discontinuity_indicator = true};
        }
        packets_.push_back(MakePacket(fields, payload));
    }

    std::uint16_t pid_;
    Packing packing_;
    PacketList packets_;
};

}  // namespace

PacketList PackSections(std::uint16_t pid, const Sections& sections, const Packing& packing) {
    Packing chosen = packing;
    if (packing.discontinuity_indicator) {
        chosen.payload_size = std::min(packing.payload_size, kPayloadSize - 2);
    }
    if (packing.payload_size < 2 || packing.payload_size > kPayloadSize ||
        packing.before_first.size() > chosen.payload_size - 2) {
        throw std::logic_error("no such packing");
    }
    Cutter cutter(pid, chosen);
    Bytes run = packing.before_first;
    std::vector<std::size_t> starts;
    for (const Bytes& section : sections) {
        starts.push_back(run.size());
        run.insert(run.end(), section.begin(), section.end());
        if (!packing.back_to_back) {
            cutter.Cut(run, starts);
            run.clear();
            starts.clear();
        }
    }
    cutter.Cut(run, starts);
    return cutter.Take();
}

PacketList PackSectionHead(std::uint16_t pid, const Bytes& section, std::size_t size) {
    PacketList packets;
    const std::size_t end = std::min(size, section.size());
    std::size_t position = 0;
    while (position < end) {
        ByteWriter payload;
        if (position == 0) {
            payload.U8(0);  // pointer_field
        }
        const std::size_t room = position == 0 ? kPayloadSize - 1 : kPayloadSize;
        const std::size_t taken = std::min(room, end - position);
        packets.push_back(MakePacket({.pid = pid, .payload_unit_start_indicator = position == 0},
                                     payload.Raw(Part(section, position, taken)).Build()));
        position += taken;
    }
    return packets;
}

}  // namespace generator

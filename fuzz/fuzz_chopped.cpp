// A stream gives the same packets, sections and counters whole and in pieces. Input: one byte that
// chooses the sizes of the pieces, then the stream.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/section/SectionAssembler.h"
#include "softplatform/ts/Continuity.h"
#include "softplatform/ts/PacketSync.h"

namespace {

using namespace tvservice;

struct Result {
    std::vector<std::uint8_t> packets;
    std::vector<std::uint8_t> sections;
    std::vector<std::uint64_t> counters;
    bool operator==(const Result&) const = default;
};

Result Feed(const std::uint8_t* data, std::size_t size, std::size_t piece) {
    Counters counters;
    PacketSync sync(counters);
    std::map<std::uint16_t, std::unique_ptr<SectionAssembler>> assemblers;
    Result result;
    const auto onPacket = [&](const std::uint8_t* packet) {
        result.packets.insert(result.packets.end(), packet, packet + kPacketSize);
        const PacketView view(packet);
        auto& assembler = assemblers[view.PID()];
        if (!assembler) {
            assembler = std::make_unique<SectionAssembler>(counters);
        }
        assembler->Feed(
            view.payload(), view.payload_unit_start_indicator(), [&](SectionView section) {
                const ByteView bytes = section.bytes();
                result.sections.insert(result.sections.end(), bytes.begin(), bytes.end());
            });
        return true;
    };
    for (std::size_t at = 0; at < size; at += piece) {
        // The memory is exactly as large as the piece, so AddressSanitizer finds a read beyond it.
        const std::vector<std::uint8_t> bytes(data + at, data + std::min(size, at + piece));
        sync.Feed(bytes.data(), bytes.size(), onPacket);
    }
    sync.Finish(onPacket);
    for (const CounterInfo& info : kCounterTable) {
        result.counters.push_back(counters.Get(info.counter));
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const std::size_t piece = 1 + data[0];
    if (!(Feed(data + 1, size - 1, piece) == Feed(data + 1, size - 1, size - 1))) {
        std::abort();
    }
    return 0;
}

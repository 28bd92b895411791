#include "generator/Multiplexer.h"

#include <algorithm>
#include <utility>

#include "generator/FieldWriter.h"

namespace generator {
namespace {

// Writes the clock reference into a packet that has room for one (ISO/IEC 13818-1 2.4.3.4 and
// 2.4.3.5).
void StampClock(Packet& packet, std::uint64_t clock) {
    const bool hasClock = (packet[3] & 0x20) != 0 && packet[4] > 0 && (packet[5] & 0x10) != 0;
    if (hasClock) {
        const Bytes field =
            ByteWriter().Bits(33, clock / 300).Reserved(6).Bits(9, clock % 300).Build();
        std::copy(field.begin(), field.end(), packet.begin() + 6);
    }
}

}  // namespace

void Multiplexer::AddSource(std::uint16_t pid, std::uint32_t period, std::uint32_t phase,
                            Source source) {
    sources_.push_back({pid, period, phase, std::move(source)});
}

void Multiplexer::AddSections(std::uint16_t pid, std::uint32_t period, std::uint32_t phase,
                              const Sections& sections, const Packing& packing) {
    AddSource(pid, period, phase,
              [packets = PackSections(pid, sections, packing)](std::uint32_t) { return packets; });
}

PacketList Multiplexer::Run(std::uint32_t duration) {
    const std::uint64_t count = std::uint64_t{duration} * packetsPerSecond_ / 1000;
    for (std::uint64_t slot = 0; slot < count; ++slot) {
        CollectDue(static_cast<std::uint32_t>(slot * 1000 / packetsPerSecond_));
        if (!WriteNext(slot * kClockRate / packetsPerSecond_)) {
            writer_.WriteNull();
        }
    }
    return writer_.packets();
}

void Multiplexer::CollectDue(std::uint32_t now) {
    for (Timed& timed : sources_) {
        while (timed.due <= now) {
            const PacketList packets = timed.source(now);
            std::deque<Packet>& queue = waiting_[timed.pid];
            queue.insert(queue.end(), packets.begin(), packets.end());
            timed.due += timed.period;
        }
    }
}

// Writes one packet. PIDs take turns: the search begins behind the PID of the last packet. Returns
// false when no packet waits.
bool Multiplexer::WriteNext(std::uint64_t clock) {
    auto next = waiting_.upper_bound(lastPid_);
    for (std::size_t tried = 0; tried < waiting_.size(); ++tried) {
        if (next == waiting_.end()) {
            next = waiting_.begin();
        }
        if (!next->second.empty()) {
            Packet packet = next->second.front();
            next->second.pop_front();
            StampClock(packet, clock);
            writer_.Write(packet);
            lastPid_ = next->first;
            return true;
        }
        ++next;
    }
    return false;
}

}  // namespace generator

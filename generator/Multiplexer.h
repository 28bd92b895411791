// A multiplex of constant rate: whatever is due goes out in turn, PID by PID, clock references tell
// the time of the very packet that carries them, and null packets keep the pace.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <vector>

#include "generator/Packet.h"
#include "generator/SectionPacker.h"
#include "generator/Tables.h"
#include "generator/TsWriter.h"

namespace generator {

// Not for several threads at once.
class Multiplexer {
  public:
    // What a source sends when it is due; `milliseconds` is the time since the start of the stream.
    // All packets are of the source's PID; counters and clock references are filled in later (a
    // packet that shall carry a clock reference has any value in it).
    using Source = std::function<PacketList(std::uint32_t milliseconds)>;

    // `packetsPerSecond` is 1 or more.
    explicit Multiplexer(std::uint32_t packetsPerSecond) : packetsPerSecond_(packetsPerSecond) {}

    // Asks `source` every `period` milliseconds (1 or more), first at `phase`. Packets of one PID
    // leave in the order in which its sources gave them, never mixed.
    void AddSource(std::uint16_t pid, std::uint32_t period, std::uint32_t phase, Source source);
    // The same sections every time.
    void AddSections(std::uint16_t pid, std::uint32_t period, std::uint32_t phase,
                     const Sections& sections, const Packing& packing = {});

    // Moves the counter with which a PID begins; see TsWriter.
    void SkipContinuity(std::uint16_t pid, unsigned count) { writer_.SkipContinuity(pid, count); }

    // Runs for `duration` milliseconds from the start, once, and returns the stream.
    PacketList Run(std::uint32_t duration);

  private:
    struct Timed {
        std::uint16_t pid;
        std::uint32_t period;
        std::uint32_t due;
        Source source;
    };

    void CollectDue(std::uint32_t now);
    bool WriteNext(std::uint64_t clock);

    std::uint32_t packetsPerSecond_;
    std::vector<Timed> sources_;
    std::map<std::uint16_t, std::deque<Packet>> waiting_;  // by PID
    std::uint16_t lastPid_ = 0;
    TsWriter writer_;
};

}  // namespace generator

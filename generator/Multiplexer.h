// Builds a multiplex of constant rate. The PIDs that have packets due take turns. Each clock
// reference gives the time of the packet that carries it. Null packets fill the gaps.
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

// One thread at a time may use an object.
class Multiplexer {
  public:
    // Returns the packets that a source sends when it is due; `milliseconds` is the time since the
    // start of the stream. All packets have the PID of the source. The multiplexer sets their
    // counters and clock references later; a packet that shall carry a clock reference needs one of
    // any value.
    using Source = std::function<PacketList(std::uint32_t milliseconds)>;

    // `packetsPerSecond` is at least 1.
    explicit Multiplexer(std::uint32_t packetsPerSecond) : packetsPerSecond_(packetsPerSecond) {}

    // Calls `source` every `period` milliseconds (at least 1), first at `phase`. The packets of one
    // PID keep the order in which its sources returned them: one call's packets are never mixed
    // with another's.
    void AddSource(std::uint16_t pid, std::uint32_t period, std::uint32_t phase, Source source);
    // Sends the same sections every time.
    void AddSections(std::uint16_t pid, std::uint32_t period, std::uint32_t phase,
                     const Sections& sections, const Packing& packing = {});

    // Moves the first continuity_counter of a PID; see TsWriter.
    void SkipContinuity(std::uint16_t pid, unsigned count) { writer_.SkipContinuity(pid, count); }

    // Runs from the start for `duration` milliseconds and returns the stream. Call it once.
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

// The life of a multiplex that changes: period after period, in each of which some tables are sent.
#pragma once

#include <cstdint>
#include <vector>

#include "generator/Packet.h"
#include "generator/Random.h"
#include "generator/SectionPacker.h"
#include "generator/Tables.h"
#include "generator/TsWriter.h"

namespace generator {

// Sections, and how they are sent.
struct SentTable {
    std::uint16_t pid;
    Sections sections;
    Packing packing = {};
};

// Sections of several sub-tables in turn, one of each until all are used up.
Sections Interleave(const std::vector<Sections>& tables);

// Not for several threads at once.
class Life {
  public:
    // Clock references go out on `pcrPid`; the seed chooses how many null packets lie between.
    Life(std::uint64_t seed, std::uint16_t pcrPid) : random_(seed), pcrPid_(pcrPid) {}

    // All tables three times, in order, with clock references and null packets between.
    void Period(const std::vector<SentTable>& tables);

    const PacketList& packets() const { return writer_.packets(); }

  private:
    Random random_;
    TsWriter writer_;
    std::uint16_t pcrPid_;
    std::uint64_t clock_ = 0;  // 27 MHz
};

}  // namespace generator

// A multiplex that changes. It has periods; in each of them some tables are sent.
#pragma once

#include <cstdint>
#include <vector>

#include "generator/Packet.h"
#include "generator/Random.h"
#include "generator/SectionPacker.h"
#include "generator/Tables.h"
#include "generator/TsWriter.h"

namespace generator {

// Sections and how they are sent.
struct SentTable {
    std::uint16_t pid;
    Sections sections;
    Packing packing = {};
};

// Alternates the sections of several sub-tables: one of each in turn, until all are used up.
Sections Interleave(const std::vector<Sections>& tables);

// One thread at a time may use an object.
class Life {
  public:
    // `pcrPid` carries the clock references; the seed chooses how many null packets are between the
    // tables.
    Life(std::uint64_t seed, std::uint16_t pcrPid) : random_(seed), pcrPid_(pcrPid) {}

    // Sends all tables three times, in order, with clock references and null packets between them.
    void Period(const std::vector<SentTable>& tables);

    const PacketList& packets() const { return writer_.packets(); }

  private:
    Random random_;
    TsWriter writer_;
    std::uint16_t pcrPid_;
    std::uint64_t clock_ = 0;  // 27 MHz
};

}  // namespace generator

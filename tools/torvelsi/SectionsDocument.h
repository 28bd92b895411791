#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/Multiplex.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Format.h"

namespace tool {

/// One section as an observer receives it. `data` is borrowed, `length` bytes: fewer than the
/// section has when a fault cut it.
struct ReceivedSection {
    unsigned int subscription;
    unsigned short pid;
    const unsigned char* data;
    unsigned short length;
};

/// For people: a line with the fields of its header, then its bytes.
std::string SectionText(const ReceivedSection& section);

/// The document "torvelsi-sections/1" is written piece by piece: its begin, sections, its end.

/// @param subscription  the id; 0 where none was made
std::string SectionsBegin(unsigned int subscription);

/// One section, with what separates it from those before.
/// @param index  0 for the first one
std::string SectionsEntry(const ReceivedSection& section, std::uint64_t index);

struct SectionsSummary {
    std::uint64_t sections;
    bool timedOut;
    client::InputFacts input;
    std::vector<tvservice::CounterValue> counters;
    std::vector<tvservice::CounterValue> faults;
};
std::string SectionsEnd(const SectionsSummary& summary);

/// The same for people.
std::string SummaryText(const SectionsSummary& summary);

}  // namespace tool

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/Multiplex.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Format.h"

namespace tool {

/// One section as an observer receives it. It borrows `data`, which has `length` bytes. These are
/// fewer than section_length says when an injected fault cut the section.
struct ReceivedSection {
    unsigned int subscription;
    unsigned short pid;
    const unsigned char* data;
    unsigned short length;
};

/// The section as text: a line with the fields of its header, then its bytes.
std::string SectionText(const ReceivedSection& section);

/// The document "torvelsi-sections/1" is made of three kinds of pieces: its begin, its sections,
/// its end. This is the begin.

/// @param subscription  the id; 0 when no subscription was made
std::string SectionsBegin(unsigned int subscription);

/// One section, with the comma that separates it from the one before.
/// @param index  the number of sections before it
std::string SectionsEntry(const ReceivedSection& section, std::uint64_t index);

struct SectionsSummary {
    std::uint64_t sections;
    bool timedOut;
    client::InputFacts input;
    std::vector<tvservice::CounterValue> counters;
    std::vector<tvservice::CounterValue> faults;
};
std::string SectionsEnd(const SectionsSummary& summary);

/// The summary as text.
std::string SummaryText(const SectionsSummary& summary);

}  // namespace tool

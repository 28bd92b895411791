// The tables and streams that are measured. The generator makes them; they are the same for the
// same seed on every machine.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "generator/Tables.h"

namespace bench {

/// One section of each kind of table, in all 32 versions, so that a parser gets no repeats.
struct SampleTable {
    std::string kind;
    bool hasSiParser;
    unsigned short pid;
    generator::Sections versions;
};
/// PAT of 20 programs, PMT of 8 streams, SDT of 20 services, NIT of 40 transport streams, EIT
/// present/following and EIT schedule.
std::vector<SampleTable> SampleTables();

enum class Content {
    kMixed,    ///< 5 % of the packets are service information, in new versions
    kSi,       ///< only service information, with a new version each time
    kRepeats,  ///< only service information, always in the same version
};
/// Finds the content that "mixed", "si" or "repeats" names. Returns false for another name.
bool ContentOf(std::string_view name, Content& content);

/// Makes a stream of about `bytes` bytes and hands it out in pieces of whole packets (188 bytes).
void MakeStream(Content content, std::uint64_t bytes, std::uint64_t seed,
                const std::function<void(const std::vector<std::uint8_t>&)>& take);

}  // namespace bench

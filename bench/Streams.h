// What is measured: tables and streams of the generator, the same for the same seed everywhere.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "generator/Tables.h"

namespace bench {

/// One section of each kind of table, in all 32 versions, so that a parser never sees a repeat.
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
    kMixed,    ///< 5 % of the packets are service information, new versions
    kSi,       ///< nothing but service information, a new version each time
    kRepeats,  ///< the same, but always the same version
};
/// "mixed", "si" or "repeats"; false for another name.
bool ContentOf(std::string_view name, Content& content);

/// Hands out a stream of about so many bytes in pieces of whole packets (188 bytes).
void MakeStream(Content content, std::uint64_t bytes, std::uint64_t seed,
                const std::function<void(const std::vector<std::uint8_t>&)>& take);

}  // namespace bench

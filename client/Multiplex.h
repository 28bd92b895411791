#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "softplatform/service/SoftwarePlatform.h"

namespace client {

/// One entry of the program loop (ISO/IEC 13818-1 2.4.4.5).
struct PatProgram {
    int programNumber;  ///< 1 to 65535
    int pmtPid;         ///< 13 bits
};

/// The last complete current PAT.
struct Pat {
    unsigned int transportStreamId;
    unsigned int version;              ///< 0 to 31
    std::vector<PatProgram> programs;  ///< ascending by number, without program 0
};

/// What was played.
struct InputFacts {
    std::string uri;
    unsigned int packetSize;  ///< 188, 192 or 204; 0 when no packet was found
    std::uint64_t packets;
    std::uint64_t bytes;
};

/// What a scan found: plain values, no connection to the scanner.
struct Multiplex {
    bool complete = false;             ///< nothing is missing
    std::vector<std::string> missing;  ///< what was not begun or is not whole, e.g. "pat"
    InputFacts input = {};
    std::vector<tvservice::CounterValue> counters;
    std::optional<Pat> pat;
};

}  // namespace client

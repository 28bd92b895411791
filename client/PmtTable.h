#pragma once

#include <optional>
#include <utility>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads PMTs.
struct PmtTable {
    using Key = std::pair<unsigned int, unsigned int>;  // PID, program_number
    using Snapshot = Program;

    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

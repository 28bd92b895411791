#pragma once

#include <optional>
#include <vector>

#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads the CAT: its CA_system_IDs, ascending.
struct CatTable {
    using Key = int;  // always 0: a multiplex has one CAT
    using Snapshot = std::vector<unsigned int>;

    static Key KeyOf(unsigned short, const unsigned char*, unsigned short) { return 0; }
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

#pragma once

#include <optional>
#include <vector>

#include "client/SectionSet.h"

namespace client {

/// The CAT, for `SubTableReader`: its CA_system_IDs, ascending.
struct CatTable {
    using Key = int;  // there is one
    using Snapshot = std::vector<unsigned int>;

    static Key KeyOf(unsigned short, const unsigned char*, unsigned short) { return 0; }
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

#pragma once

#include <optional>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads the PAT.
struct PatTable {
    using Key = int;  // always 0: a multiplex has one PAT
    using Snapshot = Pat;

    static Key KeyOf(unsigned short, const unsigned char*, unsigned short) { return 0; }
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

#pragma once

#include <optional>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// The PAT, for `SubTableReader`.
struct PatTable {
    using Key = int;  // there is one
    using Snapshot = Pat;

    static Key KeyOf(unsigned short, const unsigned char*, unsigned short) { return 0; }
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

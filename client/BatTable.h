#pragma once

#include <optional>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads BATs.
struct BatTable {
    using Key = unsigned int;  // bouquet_id
    using Snapshot = Bouquet;

    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

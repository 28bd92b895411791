#pragma once

#include <optional>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads NITs: those of the actual network, or those of other networks.
template <bool isActual>
struct NitTable {
    using Key = unsigned int;  // network_id
    using Snapshot = Network;

    static Key KeyOf(unsigned short, const unsigned char* data, unsigned short) {
        return SectionHeader(data).tableIdExtension;
    }
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

using NitActualTable = NitTable<true>;
using NitOtherTable = NitTable<false>;

}  // namespace client

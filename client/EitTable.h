#pragma once

#include <optional>
#include <tuple>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads EITs present/following of the actual transport stream.
struct EitTable {
    // original_network_id, transport_stream_id, service_id
    using Key = std::tuple<unsigned int, unsigned int, unsigned int>;
    using Snapshot = EventTable;

    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);

    /// Reads one or more sections of a sub-table. It does not need all of them, because each
    /// section describes its own events in full.
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

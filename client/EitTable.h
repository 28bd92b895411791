#pragma once

#include <optional>
#include <tuple>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// EITs present/following of the actual transport stream, for `SubTableReader`.
struct EitTable {
    // original_network_id, transport_stream_id, service_id
    using Key = std::tuple<unsigned int, unsigned int, unsigned int>;
    using Snapshot = EventTable;

    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);

    /// Reads any sections of one sub-table: each says all about the events in it.
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

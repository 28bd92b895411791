#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "client/Multiplex.h"
#include "client/SectionSet.h"

namespace client {

/// How `SubTableReader` reads SDTs of the actual transport stream: their services, ascending by
/// service_id.
struct SdtTable {
    using Key = std::pair<unsigned int, unsigned int>;  // original_network_id, transport_stream_id
    using Snapshot = std::vector<Service>;

    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    static std::optional<Snapshot> Read(unsigned short pid, Sections& sections);
};

}  // namespace client

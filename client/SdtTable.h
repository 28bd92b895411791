#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "SI/Include/ISDTParser.h"
#include "client/Multiplex.h"
#include "platform/TCDVBSDTParser.h"

namespace client {

/// SDTs of the actual transport stream, for `SubTableReader`.
class SdtTable {
  public:
    using Key = std::pair<unsigned int, unsigned int>;  // original_network_id, transport_stream_id
    using Snapshot = std::vector<Service>;

    SdtTable();
    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    bool Take(unsigned short pid, unsigned char* data, Snapshot& services);

  private:
    std::unique_ptr<TORVEL_MW::ISDTParser> parser_;
    TCDVBSDTParser platformParser_;
};

}  // namespace client

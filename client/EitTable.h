#pragma once

#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "SI/Include/IEITParser.h"
#include "client/Multiplex.h"
#include "platform/TCDVBEITParser.h"

namespace client {

/// EITs present/following of the actual transport stream, for `SubTableReader`.
class EitTable {
  public:
    // original_network_id, transport_stream_id, service_id
    using Key = std::tuple<unsigned int, unsigned int, unsigned int>;
    using Snapshot = std::vector<Event>;

    EitTable();
    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    bool Take(unsigned short pid, unsigned char* data, Snapshot& events);

  private:
    std::unique_ptr<TORVEL_MW::IEITParser> parser_;
    TCDVBEITParser platformParser_;
    std::map<unsigned int, std::vector<Event>> events_;  // by section_number
};

}  // namespace client

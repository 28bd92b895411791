#pragma once

#include <memory>
#include <utility>

#include "SI/Include/IPMTParser.h"
#include "client/Multiplex.h"
#include "platform/TCPMTParser.h"

namespace client {

/// PMTs, for `SubTableReader`.
class PmtTable {
  public:
    using Key = std::pair<unsigned int, unsigned int>;  // PID, program_number
    using Snapshot = Program;

    PmtTable();
    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    bool Take(unsigned short pid, unsigned char* data, Snapshot& program);

  private:
    std::unique_ptr<TORVEL_MW::IPMTParser> parser_;
    TCPMTParser platformParser_;
};

}  // namespace client

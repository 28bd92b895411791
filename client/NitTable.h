#pragma once

#include <memory>

#include "SI/Include/INITParser.h"
#include "client/Multiplex.h"
#include "platform/TCDVBNITParser.h"

namespace client {

/// NITs, for `SubTableReader`; of the actual network and of others by two classes.
class NitTable {
  public:
    using Key = unsigned int;  // network_id
    using Snapshot = Network;

    explicit NitTable(bool isActual);
    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    bool Take(unsigned short pid, unsigned char* data, Snapshot& network);

  private:
    bool isActual_;
    std::unique_ptr<TORVEL_MW::INITParser> parser_;
    TCDVBNITParser platformParser_;
};

class NitActualTable : public NitTable {
  public:
    NitActualTable() : NitTable(true) {}
};

class NitOtherTable : public NitTable {
  public:
    NitOtherTable() : NitTable(false) {}
};

}  // namespace client

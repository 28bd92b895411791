#pragma once

#include <memory>

#include "SI/Include/IBATParser.h"
#include "client/Multiplex.h"
#include "platform/TCDVBBATParser.h"

namespace client {

/// BATs, for `SubTableReader`.
class BatTable {
  public:
    using Key = unsigned int;  // bouquet_id
    using Snapshot = Bouquet;

    BatTable();
    static Key KeyOf(unsigned short pid, const unsigned char* data, unsigned short length);
    bool Take(unsigned short pid, unsigned char* data, Snapshot& bouquet);

  private:
    std::unique_ptr<TORVEL_MW::IBATParser> parser_;
    TCDVBBATParser platformParser_;
};

}  // namespace client

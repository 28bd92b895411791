#pragma once

#include <memory>

#include "SI/Include/IPATParser.h"
#include "client/Multiplex.h"
#include "platform/TCPATParser.h"

namespace client {

/// The PAT, for `SubTableReader`.
class PatTable {
  public:
    using Key = int;  // there is one
    using Snapshot = Pat;

    PatTable();
    static Key KeyOf(unsigned short, const unsigned char*, unsigned short) { return 0; }
    bool Take(unsigned short pid, unsigned char* data, Snapshot& pat);

  private:
    // The SI layer's parser answers what its interface offers; the platform's, fed the same
    // sections, the rest. So in the other tables.
    std::unique_ptr<TORVEL_MW::IPATParser> parser_;
    TCPATParser platformParser_;
};

}  // namespace client

#pragma once

#include <memory>
#include <vector>

#include "SI/Include/ICATParser.h"

namespace client {

/// The CAT, for `SubTableReader`: its CA_system_IDs, ascending.
class CatTable {
  public:
    using Key = int;  // there is one
    using Snapshot = std::vector<unsigned int>;

    CatTable();
    static Key KeyOf(unsigned short, const unsigned char*, unsigned short) { return 0; }
    bool Take(unsigned short pid, unsigned char* data, Snapshot& caSystemIds);

  private:
    std::unique_ptr<TORVEL_MW::ICATParser> parser_;
};

}  // namespace client

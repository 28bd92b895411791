#pragma once

#include <functional>

#include "client/BatTable.h"
#include "client/CatTable.h"
#include "client/EitTable.h"
#include "client/Multiplex.h"
#include "client/NitTable.h"
#include "client/PatTable.h"
#include "client/PmtTable.h"
#include "client/SdtTable.h"
#include "client/SubTableReader.h"

namespace fuzzing {

// The client's readers of all tables. One thread at a time feeds them.
class TableReaders {
  public:
    // `onPat` is called with each PAT that is complete; it may be empty.
    explicit TableReaders(std::function<void(const client::Pat&)> onPat = {});

    // Gives a section to the reader of its table_id, if there is one.
    void Take(unsigned short pid, unsigned char* section, unsigned short length);

    // Gives a section to every reader, whatever its table_id.
    void TakeForAll(unsigned short pid, unsigned char* section, unsigned short length);

    // Returns what all readers found.
    client::Multiplex Found() const;

  private:
    client::SubTableReader<client::PatTable> pat_;
    client::SubTableReader<client::CatTable> cat_;
    client::SubTableReader<client::PmtTable> pmt_;
    client::SubTableReader<client::SdtTable> sdt_;
    client::SubTableReader<client::EitTable> eit_;
    client::SubTableReader<client::NitActualTable> nitActual_;
    client::SubTableReader<client::NitOtherTable> nitOther_;
    client::SubTableReader<client::BatTable> bat_;
};

// Makes everything that the tool prints of a scan. Throws when a text is not UTF-8.
void Print(const client::Multiplex& multiplex);

}  // namespace fuzzing

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

// The client's reader of each table. Fed by one thread at a time.
class TableReaders {
  public:
    // `onPat` is called with each PAT that has become whole; may be empty.
    explicit TableReaders(std::function<void(const client::Pat&)> onPat = {});

    // Hands a section to the reader of its table_id, if there is one.
    void Take(unsigned short pid, unsigned char* section, unsigned short length);

    // Hands it to every reader, whatever its table_id.
    void TakeForAll(unsigned short pid, unsigned char* section, unsigned short length);

    // What all of them have found.
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

// Makes all that the tool prints of a scan, and throws where a text is no UTF-8.
void Print(const client::Multiplex& multiplex);

}  // namespace fuzzing

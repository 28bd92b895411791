#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseSection.h"
#include "TCSectionParser.h"

struct TVSHandle;

/// Program association table (ISO/IEC 13818-1 2.4.4.3), all its sections as one program loop in
/// section_number order. `IsValid` tells whether the table is complete.
class TVSERVICE_API TCPATParser : public TCSectionParser, public TCBaseSection {
  public:
    explicit TCPATParser(TVSHandle const& handle);
    ~TCPATParser() override;

    bool Parse(short pid, unsigned char* section) override;
    void Reset() override;

    /// Entries of the program loop, the network entry (program_number 0) included.
    int NumOfProgramList();

    /// program_number of the entry at `index`; 0 past the end.
    unsigned short ProgramNumber(unsigned int index);

    /// PID (13 bits) of the first entry with that program_number; 0 when there is none.
    unsigned short ProgramPID(unsigned short programNumber);

    /// transport_stream_id of the last section taken, 0 before the first one.
    unsigned short TransportStreamId() const;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

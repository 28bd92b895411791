#pragma once

#include <map>
#include <memory>

#include "ISectionParser.h"

namespace TORVEL_MW {

/// Program association table (ISO/IEC 13818-1 2.4.4.3).
class TORVELSI_API IPATParser : public ISectionParser {
  public:
    /// True when all sections of the table have been parsed.
    virtual bool IsComplete() = 0;

    /// Stores the PMT PID of every program under its program_number. The entry of program_number 0
    /// (the network PID) and programs without a PID are left out. `programs` is not emptied first.
    virtual void GetProgramList(std::map<int, int>& programs) = 0;

    /// Entries of the program loop, program_number 0 included.
    virtual int NumOfProgramList() = 0;

    /// program_number of the entry at `index`; 0 past the end.
    virtual int ProgramNumber(int index) = 0;

    /// PID listed for a program_number (its low 16 bits); 0 when there is none.
    virtual int ProgramPID(int programNumber) = 0;

    /// transport_stream_id of the PAT parsed last; 0 before the first one.
    virtual unsigned int TransportStreamId() = 0;

    /// A new parser, owned by the caller; never null.
    static std::unique_ptr<IPATParser> CreatePATParser();
};

}  // namespace TORVEL_MW

#pragma once

#include "Export.h"

namespace TORVEL_MW {

/// The base of all table parsers. The static factory of each table's interface makes a parser and
/// the caller owns it. One thread at a time may use it. No parser calls the section manager: the
/// client hands it the sections that it received.
///
/// Life cycle: the factory (which calls `Create`), `Initialize` before each new acquisition,
/// `Parse` for each section, then the queries of the table.
class TORVELSI_API ISectionParser {
  public:
    virtual ~ISectionParser() = default;

    /// Makes the platform's parser. The factories call it; it always returns true.
    virtual bool Create() = 0;

    /// Takes one section.
    ///
    /// @param pid   the PID that it came from
    /// @param data  the whole section, table_id first: 3 + section_length bytes are read, whatever
    ///              is really there. An observer, which is told the length of what it received,
    ///              must compare the two before it calls this
    /// @return true when the platform's parser accepted it
    virtual bool Parse(unsigned short pid, unsigned char* data) = 0;

    /// Resets the platform's parser and forgets what earlier sections left in this one.
    ///
    /// One thing stays: the SSU offers of the PMT parser (`IPMTParser::GetSSUInfo`) are kept until
    /// that parser is destroyed.
    virtual void Initialize() = 0;
};

}  // namespace TORVEL_MW

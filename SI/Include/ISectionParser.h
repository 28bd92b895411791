#pragma once

#include "Export.h"

namespace TORVEL_MW {

/// What all table parsers share. Made by the factory of each table's interface, owned by the
/// caller, used by one thread at a time; no parser calls the section manager.
///
/// Life cycle: factory (which calls `Create`), `Initialize` before each new acquisition, `Parse`
/// for each section, then the queries of the table.
class TORVELSI_API ISectionParser {
  public:
    virtual ~ISectionParser() = default;

    /// Makes the platform's parser. Called by the factories; always true.
    virtual bool Create() = 0;

    /// Takes one section.
    ///
    /// @param pid   the PID that it came from
    /// @param data  the whole section, table_id first: 3 + section_length bytes are read. An
    ///              observer, who is told the length, compares the two before
    /// @return true when the platform's parser accepted it
    virtual bool Parse(unsigned short pid, unsigned char* data) = 0;

    /// Forgets what was parsed.
    virtual void Initialize() = 0;
};

}  // namespace TORVEL_MW

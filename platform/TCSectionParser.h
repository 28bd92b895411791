#pragma once

#include <memory>

#include "Export.h"

/// Base of the table parsers: takes sections one by one and collects them into sub-tables.
///
/// Not thread-safe: one parser is used by one thread at a time. What its operations hand out
/// (instances, items, descriptors) belongs to the parser and lives until the next `Parse` that
/// returns true, `Reset` or the parser's destruction, whichever comes first.
class TVSERVICE_API TCSectionParser {
  public:
    virtual ~TCSectionParser();

    /// Takes one section.
    ///
    /// @param pid      the PID that it came from; the platform may ignore it
    /// @param section  the whole section, table_id first, never null, borrowed for the call. Its
    ///                 length is that of its section_length field: 3 + section_length bytes are
    ///                 readable
    /// @return true when the section is well-formed, of this parser's table_id and currently
    ///         applicable (a repeat too); when false, nothing has changed
    virtual bool Parse(short pid, unsigned char* section);

    /// Forgets everything that was parsed.
    virtual void Reset();

    /// table_id_extension of the last section taken, 0 before the first one.
    unsigned short TableIdExt();

    TCSectionParser(const TCSectionParser&) = delete;
    TCSectionParser& operator=(const TCSectionParser&) = delete;

  protected:
    TCSectionParser();

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

#pragma once

#include <memory>

#include "Export.h"

/// The base class of the table parsers, which take sections one by one and collect them into
/// sub-tables.
///
/// Not thread-safe: one thread at a time may use a parser. The parser owns the instances, items and
/// descriptors that its operations return. They live until the next `Parse` that returns true,
/// until `Reset` or until the parser's destruction, whichever comes first.
class TVSERVICE_API TCSectionParser {
  public:
    virtual ~TCSectionParser();

    /// Takes one section.
    ///
    /// @param pid      the PID that it came from; the platform may ignore it
    /// @param section  the whole section, table_id first, never null, borrowed for the call. There
    ///                 is no length parameter: 3 + section_length bytes must be readable
    /// @return true when the section is well-formed, has this parser's table_id and is currently
    ///         applicable, even if it is a repeat; when false, nothing has changed
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

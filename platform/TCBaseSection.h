#pragma once

#include <memory>

#include "Export.h"

/// The common base of parsed tables and sub-tables.
///
/// The parser owns it. Like the parser, it may be used by one thread at a time.
class TVSERVICE_API TCBaseSection {
  public:
    /// True when all sections from 0 to last_section_number of one version have been parsed. In an
    /// EIT schedule (table_id 0x50 to 0x6F) the sections of a segment after its
    /// segment_last_section_number are not needed.
    bool IsValid();

    /// version_number of the parsed sections (0 to 31), 0 before the first one.
    unsigned char VersionNumber() const;

    TCBaseSection(const TCBaseSection&) = delete;
    TCBaseSection& operator=(const TCBaseSection&) = delete;

  protected:
    TCBaseSection();
    ~TCBaseSection();

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

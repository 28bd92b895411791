#pragma once

#include <memory>

#include "Export.h"

/// What all parsed tables and sub-tables know of their sections.
///
/// Owned by the parser that it belongs to; not thread-safe, as the parser.
class TVSERVICE_API TCBaseSection {
  public:
    /// True when sections 0 to last_section_number of one version are all held. Of an EIT schedule
    /// (table_id 0x50 to 0x6F) the sections behind segment_last_section_number are not needed.
    bool IsValid();

    /// version_number of the sections held (0 to 31), 0 before the first one.
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

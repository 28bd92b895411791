#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <vector>

#include "client/TableIds.h"

namespace client {

/// The header of a section with section_syntax_indicator (ISO/IEC 13818-1 2.4.4.11).
struct SectionHeader {
    static constexpr int kSize = 8;

    unsigned char tableId;
    unsigned short tableIdExtension;  // 0 in a CAT, where it is reserved (2.4.4.6)
    unsigned char version;
    bool currentNext;
    unsigned char sectionNumber, lastSectionNumber;

    /// @param data  at least kSize bytes, table_id first; not kept
    explicit SectionHeader(const unsigned char* data)
        : tableId(data[0]),
          tableIdExtension(
              data[0] == kCatTableId ? 0 : static_cast<unsigned short>(data[3] << 8 | data[4])),
          version(static_cast<unsigned char>(data[5] >> 1 & 0x1F)),
          currentNext((data[5] & 1) != 0),
          sectionNumber(data[6]),
          lastSectionNumber(data[7]) {}

    /// Whether both headers belong to the same version of the same sub-table. Ids behind the header
    /// are not compared.
    bool IsOfVersionOf(const SectionHeader& other) const {
        return tableId == other.tableId && tableIdExtension == other.tableIdExtension &&
               version == other.version && lastSectionNumber == other.lastSectionNumber;
    }
};

/// Sections by section_number, as broadcast.
using Sections = std::map<unsigned char, std::vector<unsigned char>>;

/// The sections of one version of a sub-table that have come so far.
class SectionSet {
  public:
    /// @param first  the header of any of its sections
    explicit SectionSet(const SectionHeader& first) : header_(first) {}

    /// The header that was given to the constructor.
    const SectionHeader& Header() const { return header_; }

    /// Keeps a copy of a section, in place of an earlier one with its number. The section must be
    /// of this version, and its number must not be above last_section_number.
    void Add(const unsigned char* data, std::size_t length);

    /// Whether the section with that number is held and has exactly these bytes.
    bool Holds(unsigned char number, const unsigned char* data, std::size_t length) const;

    const Sections& Held() const { return sections_; }

    /// The numbers of the sections that are still needed for a complete sub-table, ascending.
    ///
    /// In most tables the sections 0 to last_section_number are needed. An EIT schedule (table_id
    /// 0x50 to 0x6F) has segments of eight section_numbers, and in each segment only the numbers up
    /// to segment_last_section_number are used (ETSI EN 300 468 5.2.4). The newest section of the
    /// segment says that number; a number outside of the segment counts as the segment's end. Of a
    /// segment of which nothing came, only the first section is listed.
    std::vector<unsigned char> Missing() const;

  private:
    SectionHeader header_;
    Sections sections_;
    // For each segment the segment_last_section_number of its newest section.
    std::array<unsigned char, 32> segmentLast_{};
};

}  // namespace client

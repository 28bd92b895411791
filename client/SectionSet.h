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

    /// Of at least kSize bytes.
    explicit SectionHeader(const unsigned char* data)
        : tableId(data[0]),
          tableIdExtension(
              data[0] == kCatTableId ? 0 : static_cast<unsigned short>(data[3] << 8 | data[4])),
          version(static_cast<unsigned char>(data[5] >> 1 & 0x1F)),
          currentNext((data[5] & 1) != 0),
          sectionNumber(data[6]),
          lastSectionNumber(data[7]) {}

    /// Whether both are of one version of one sub-table.
    bool IsOfVersionOf(const SectionHeader& other) const {
        return tableId == other.tableId && tableIdExtension == other.tableIdExtension &&
               version == other.version && lastSectionNumber == other.lastSectionNumber;
    }
};

/// Sections by section_number, as broadcast.
using Sections = std::map<unsigned char, std::vector<unsigned char>>;

/// The sections that have come of one version of a sub-table.
class SectionSet {
  public:
    /// @param first  the header of any of its sections
    explicit SectionSet(const SectionHeader& first) : header_(first) {}

    /// Of the section that was given to the constructor.
    const SectionHeader& Header() const { return header_; }

    /// Holds a section of this version, whose number is not above last_section_number.
    void Add(const unsigned char* data, std::size_t length);

    /// Whether the section with that number is held and has exactly these bytes.
    bool Holds(unsigned char number, const unsigned char* data, std::size_t length) const;

    const Sections& Held() const { return sections_; }

    /// The numbers of the sections that have to come before the sub-table is complete, ascending.
    ///
    /// All from 0 to last_section_number are needed. An EIT schedule (table_id 0x50 to 0x6F) comes
    /// in segments of eight numbers, and those behind segment_last_section_number are not used
    /// (ETSI EN 300 468 5.2.4): of each segment all up to the one that its newest section names. A
    /// segment of which nothing came lacks at least its first section.
    std::vector<unsigned char> Missing() const;

  private:
    SectionHeader header_;
    Sections sections_;
    // By segment, the segment_last_section_number of the newest section of it.
    std::array<unsigned char, 32> segmentLast_{};
};

}  // namespace client

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// The section at `bytes` (3 + section_length bytes long) if a table parser may take it. None when
// `bytes` is null or the section
//
// - has a table_id outside `firstTableId` to `lastTableId`,
// - has a section_length that SectionView::From refuses,
// - has section_syntax_indicator 0 or current_next_indicator 0,
// - has a section_number above last_section_number, or a body shorter than `fixedSize`; these are
//   counted (Counter::kMalformedTables).
//
// Does not check the CRC: the filters pass only sections with a correct CRC.
std::optional<SectionView> ApplicableSection(const uint8_t* bytes, uint8_t firstTableId,
                                             uint8_t lastTableId, size_t fixedSize = 0);

// Copies of the sections of one version of one sub-table. Each copy lies in an arena of its own,
// with room for what a parser decodes from it. Used by one thread at a time.
//
// When a new section differs from the held ones in table_id, sub_table_extension, version_number or
// last_section_number, the held ones are dropped and the sub-table starts afresh.
//
// A parser asks Judge, stores the section unless it is a repeat, and decodes what Store returned:
//
//     switch (table.Judge(section)) { case Change::kRepeat: return true; ... }
class SubTable {
  public:
    enum class Change {
        kRepeat,   // the same bytes are held already: nothing would change
        kSection,  // the section is added, or replaces the held one with its section_number
        kAfresh    // the held sections would be dropped
    };

    // What Store would do with `section`, which came from ApplicableSection. Compares the bytes of
    // at most one held section.
    Change Judge(SectionView section) const;

    // A held section and the arena that its bytes are in.
    struct Held {
        SectionView section;
        DescriptorArena& arena;
    };

    // Copies the section into an arena that has room for `room` bytes more. The copy lives until a
    // section with the same number is stored, the sub-table starts afresh, or Clear is called.
    // Arenas are taken from `pool`, and those of dropped sections are given back to it. Throws
    // std::bad_alloc when there is no memory; nothing has changed then.
    Held Store(SectionView section, ArenaPool& pool, size_t room = 0);

    // Drops everything that is held.
    void Clear();

    // The bytes of the held sections and of the table of them.
    size_t bytes() const { return bytes_; }
    // The most that `section` can add to bytes().
    static size_t BytesFor(SectionView section) {
        return BytesOfSlots(section) + section.bytes().size();
    }

    // Whether all sections from 0 to last_section_number are held.
    //
    // An EIT schedule (table_id 0x50 to 0x6F) has segments of 8 section numbers, and the last
    // numbers of a segment may be unused (ETSI EN 300 468 5.2.4). Of each segment only the sections
    // up to segment_last_section_number are needed; the section of the segment that came last gives
    // it.
    bool complete() const;

    // 0 when nothing is held.
    uint8_t version_number() const { return version_; }
    uint8_t last_section_number() const {
        return sections_.empty() ? uint8_t{0} : static_cast<uint8_t>(sections_.size() - 1);
    }

    // The section with that number; none when it is not held.
    std::optional<SectionView> section(size_t number) const;

  private:
    // The sections with the same section_number / 8. Only EIT schedules are sent in segments; other
    // tables are counted in them too, all of whose sections are needed.
    struct Segment {
        uint8_t held = 0;  // bit n: section 8 * segment + n is held
        uint8_t last = 0;  // the last section needed, modulo 8
    };

    static uint8_t LastOfSegment(SectionView section);

    bool IsOfThisState(SectionView section) const;
    bool IsHeld(size_t number) const {
        return number < sections_.size() && (segments_[number / 8].held >> (number % 8) & 1) != 0;
    }

    struct Slot {
        ByteView bytes;  // empty when the section is not held
        std::unique_ptr<DescriptorArena> arena;
    };

    static size_t BytesOfSlots(SectionView section) {
        return (size_t{section.last_section_number()} + 1) * sizeof(Slot);
    }

    uint8_t tableId_ = 0;
    uint16_t extension_ = 0;
    uint8_t version_ = 0;
    size_t bytes_ = 0;
    std::array<Segment, 32> segments_{};  // by section_number / 8
    std::vector<Slot> sections_;          // last_section_number + 1
};

}  // namespace tvservice

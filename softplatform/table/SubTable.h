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

// The section at `bytes`, whose length is that of its section_length field, if a table parser may
// take it: whole, with section_syntax_indicator, table_id from `firstTableId` to `lastTableId`,
// currently applicable, with `fixedSize` bytes of a body at least, and section_number not beyond
// last_section_number (these two are counted, Counter::kMalformedTables). None otherwise and for
// null. The CRC is not looked at: what comes from a filter has a good one.
std::optional<SectionView> ApplicableSection(const uint8_t* bytes, uint8_t firstTableId,
                                             uint8_t lastTableId, size_t fixedSize = 0);

// The sections of one sub-table and one version, as copies, each in an arena of its own, which has
// room for what a parser decodes from it. Owned and used by one thread at a time.
//
// A section with another table_id, sub_table_extension, version_number or last_section_number than
// those held belongs to another state of the table: it starts the sub-table afresh.
//
// A parser asks Judge, stores what is not a repeat, and decodes what Store returned:
//
//     switch (table.Judge(section)) { case Change::kRepeat: return true; ... }
class SubTable {
  public:
    enum class Change {
        kRepeat,   // held already, byte for byte: nothing would change
        kSection,  // adds to what is held, or takes the place of the section with that number
        kAfresh    // what is held would be dropped
    };

    // What Store would do. `section` came from ApplicableSection; costs one comparison.
    Change Judge(SectionView section) const;

    // A section that is held, and the arena in which its bytes stand.
    struct Held {
        SectionView section;
        DescriptorArena& arena;
    };

    // Takes a copy of the section, with `room` bytes behind it in its arena. It stays where it is
    // until a section with the same number is stored, the table starts afresh, or it is cleared.
    // Arenas come from `pool`, and those of sections that are dropped go there. When there is no
    // memory (std::bad_alloc), nothing has changed.
    Held Store(SectionView section, ArenaPool& pool, size_t room = 0);

    void Clear();

    // What is held, with its bookkeeping; and the most by which a section adds to it.
    size_t bytes() const { return bytes_; }
    static size_t BytesFor(SectionView section) {
        return BytesOfSlots(section) + section.bytes().size();
    }

    // Whether sections 0 to last_section_number are all held. An EIT schedule (table_id 0x50 to
    // 0x6F) is sent in segments of 8 section numbers of which the last ones may be unused (ETSI EN
    // 300 468 5.2.4): of each segment only the sections up to segment_last_section_number are
    // needed, as the newest section of the segment gives it.
    bool complete() const;

    // 0 when nothing is held.
    uint8_t version_number() const { return version_; }
    uint8_t last_section_number() const {
        return sections_.empty() ? uint8_t{0} : static_cast<uint8_t>(sections_.size() - 1);
    }

    // The section with that number; none when it is not held.
    std::optional<SectionView> section(size_t number) const;

  private:
    // The sections of which section_number / 8 is the same: all tables are counted in segments, but
    // only EIT schedules have them.
    struct Segment {
        uint8_t held = 0;  // a bit for each section_number, modulo 8
        uint8_t last = 0;  // the last section_number needed, modulo 8; of the newest section
    };

    static uint8_t LastOfSegment(SectionView section);

    bool IsOfThisState(SectionView section) const;
    bool IsHeld(size_t number) const {
        return number < sections_.size() && (segments_[number / 8].held >> (number % 8) & 1) != 0;
    }

    struct Slot {
        ByteView bytes;  // none when the section is not held
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

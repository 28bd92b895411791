#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "softplatform/section/SectionView.h"

namespace tvservice {

// Keeps the sections of the last version of each sub-table (ETSI EN 300 468 5.1.1), for filters
// that do not want to wait until the broadcast repeats them.
//
// Only sections with section_syntax_indicator and current_next_indicator 1 are kept: the others
// have no version that says how long they are valid, or are not valid yet. DSM-CC and MPE-FEC
// sections are not kept either: they use the field of the version, or the fields that tell
// sub-tables apart, for something else.
//
// Bounded in bytes: when there is no more room, the sub-table that has been silent for the longest
// time is removed. Every section counts as its bytes and kSectionCost, every sub-table as
// kSubTableCost. Up to kSpareBytes more are held in spare buffers for the next sections. Used by
// one thread at a time.
class SectionCache {
  public:
    static constexpr size_t kSectionCost = 64;
    static constexpr size_t kSubTableCost = 192;
    static constexpr size_t kSpareBytes = 64 * 1024;

    // `limit` is the room in bytes; with 0 nothing is kept.
    explicit SectionCache(size_t limit = 0) : limit_(limit) {}
    SectionCache(const SectionCache&) = delete;
    SectionCache& operator=(const SectionCache&) = delete;

    size_t limit() const { return limit_; }
    // Removes at once what is beyond the new limit, the oldest first.
    void SetLimit(size_t limit);

    // A section that came on `pid`, its CRC not checked yet. Returns true when the same bytes are
    // kept: then the CRC_32 is good, because it was good when they were put, and Put need not be
    // called. Otherwise returns false and changes nothing.
    bool Renew(uint16_t pid, SectionView section);

    // A section that came on `pid`, its CRC good. Its bytes are copied unless they are kept
    // already. Throws std::bad_alloc without memory for the copy: the section is then not kept, and
    // what is kept besides it stays whole.
    void Put(uint16_t pid, SectionView section);

    // Calls visit(SectionView) for each section of that PID and table_id, in the order of their
    // sub-tables and section_numbers. `visit` must not change the cache.
    template <class Visit>
    void VisitTable(uint16_t pid, uint8_t table_id, Visit visit) const {
        for (const size_t place : PlacesOf(pid, table_id)) {
            for (const Section& section : subTables_[place].sections) {
                visit(*SectionView::From(section.bytes.data(), section.bytes.size()));
            }
        }
    }

    // Forgets what came on that PID.
    void Forget(uint16_t pid);

    // Forgets everything.
    void Clear();

    // What is kept, as the limit counts it.
    size_t bytes() const { return bytes_; }

  private:
    // Tells sub-tables apart: PID, table_id and table_id_extension in one number, and the other
    // fields that the table has for that purpose.
    struct Key {
        uint64_t table;
        uint32_t more;
        friend bool operator==(const Key& a, const Key& b) {
            return a.table == b.table && a.more == b.more;
        }
        friend bool operator<(const Key& a, const Key& b) {
            return a.table != b.table ? a.table < b.table : a.more < b.more;
        }
    };

    struct Section {
        uint8_t number;
        std::vector<uint8_t> bytes;
    };

    static constexpr size_t kNone = SIZE_MAX;

    struct SubTable {
        Key key{};
        bool isUsed = false;
        uint8_t version = 0;
        uint8_t last_section_number = 0;
        size_t following = 0;    // where in `sections` the next one is expected
        size_t younger = kNone;  // the neighbours in the order in which they were renewed
        size_t older = kNone;
        std::vector<Section> sections;  // by number
    };

    static bool HasVersions(SectionView section);
    static Key KeyOf(uint16_t pid, SectionView section);
    static size_t Hash(const Key& key);

    size_t Find(const Key& key) const;
    size_t AddSubTable(const Key& key);
    void RemoveSubTable(size_t place);
    void Enter(size_t place);
    void GrowSlots();
    void Unlink(size_t place);
    void MakeYoungest(size_t place);
    std::vector<size_t> PlacesOf(uint16_t pid, uint8_t table_id) const;

    static size_t FindSection(const SubTable& subTable, uint8_t number);
    static bool AreEqual(const std::vector<uint8_t>& bytes, SectionView section);
    void Store(SubTable& subTable, SectionView section);
    std::vector<uint8_t> Copy(SectionView section);
    void PutAside(std::vector<uint8_t>& bytes) noexcept;
    void DropSections(SubTable& subTable);
    void MakeRoom();

    size_t limit_;
    size_t bytes_ = 0;
    std::vector<SubTable> subTables_;  // a sub-table is named by its index here, its place
    std::vector<size_t> freePlaces_;
    std::vector<size_t> slots_;  // places by hash, kNone where there is none; half full at most
    size_t youngest_ = kNone;
    size_t oldest_ = kNone;

    // Buffers that are not in use, by capacity: a multiple of kBufferStep.
    static constexpr size_t kBufferStep = 128;
    std::array<std::vector<std::vector<uint8_t>>, kMaxSectionSize / kBufferStep> spares_;
    size_t spareBytes_ = 0;
};

}  // namespace tvservice

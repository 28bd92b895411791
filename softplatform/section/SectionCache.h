#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <tuple>
#include <vector>

#include "softplatform/section/SectionView.h"

namespace tvservice {

// Keeps what a broadcast says now, for filters that do not want to wait until it is said again: of
// each sub-table (ETSI EN 300 468 5.1.1) the sections of the last version that came.
//
// Only sections with section_syntax_indicator and current_next_indicator 1 are kept: others have no
// version, so that nobody knows how long they hold, or do not hold yet. The same is true of DSM-CC
// sections and MPE-FEC, which put something else in the place of the version or of what tells
// sub-tables apart.
//
// Bounded in bytes: when there is no more room, the sub-table of which nothing has come for the
// longest time goes. Every section counts its bytes and kSectionCost, every sub-table
// kSubTableCost. Used by one thread at a time.
class SectionCache {
  public:
    static constexpr size_t kSectionCost = 64;
    static constexpr size_t kSubTableCost = 192;

    // With room for so many bytes; 0 keeps nothing.
    explicit SectionCache(size_t limit = 0) : limit_(limit) {}
    SectionCache(const SectionCache&) = delete;
    SectionCache& operator=(const SectionCache&) = delete;

    size_t limit() const { return limit_; }
    // What is kept beyond the new limit goes at once, the oldest first.
    void SetLimit(size_t limit);

    // A section that came on `pid`, its CRC good. Its bytes are copied unless it is there already.
    void Put(uint16_t pid, SectionView section);

    // Calls visit(SectionView) for each section of that PID and table_id, in the order of their
    // sub-tables and section_numbers. `visit` must not change the cache.
    template <class Visit>
    void VisitTable(uint16_t pid, uint8_t table_id, Visit visit) const {
        for (auto entry = byKey_.lower_bound(Key(pid, table_id, 0, 0));
             entry != byKey_.end() && std::get<0>(entry->first) == pid &&
             std::get<1>(entry->first) == table_id;
             ++entry) {
            for (const auto& [number, bytes] : entry->second->sections) {
                visit(*SectionView::From(bytes.data(), bytes.size()));
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
    // PID, table_id, table_id_extension, and what else tells sub-tables of this table apart.
    using Key = std::tuple<uint16_t, uint8_t, uint16_t, uint32_t>;

    struct SubTable {
        Key key;
        uint8_t version;
        uint8_t last_section_number;
        std::map<uint8_t, std::vector<uint8_t>> sections;  // by section_number
    };
    using SubTables = std::list<SubTable>;

    static bool HasVersions(SectionView section);
    static Key KeyOf(uint16_t pid, SectionView section);
    void DropSections(SubTable& subTable);
    void MakeRoom();

    size_t limit_;
    size_t bytes_ = 0;
    SubTables subTables_;  // that of which a section came last first
    std::map<Key, SubTables::iterator> byKey_;
};

}  // namespace tvservice

#include "softplatform/section/SectionCache.h"

#include <algorithm>
#include <utility>

namespace tvservice {

void SectionCache::SetLimit(size_t limit) {
    limit_ = limit;
    MakeRoom();
}

void SectionCache::Put(uint16_t pid, SectionView section) {
    if (limit_ == 0 || !HasVersions(section) || !section.current_next_indicator()) {
        return;
    }
    const Key key = KeyOf(pid, section);
    const auto [entry, isNew] = byKey_.try_emplace(key);
    if (isNew) {
        subTables_.push_front({key, 0, 0, {}});
        bytes_ += kSubTableCost;
        entry->second = subTables_.begin();
    } else {
        subTables_.splice(subTables_.begin(), subTables_, entry->second);
    }
    SubTable& subTable = subTables_.front();
    if (subTable.version != section.version_number() ||
        subTable.last_section_number != section.last_section_number()) {
        DropSections(subTable);
        subTable.version = section.version_number();
        subTable.last_section_number = section.last_section_number();
    }
    std::vector<uint8_t>& bytes = subTable.sections[section.section_number()];
    // A repetition has the same CRC_32, and comparing all of it costs less than a copy.
    if (std::equal(bytes.begin(), bytes.end(), section.data(), section.data() + section.size())) {
        return;
    }
    bytes_ -= bytes.empty() ? 0 : bytes.size() + kSectionCost;
    bytes.assign(section.data(), section.data() + section.size());
    bytes_ += bytes.size() + kSectionCost;
    MakeRoom();
}

void SectionCache::Forget(uint16_t pid) {
    auto entry = byKey_.lower_bound(Key(pid, 0, 0, 0));
    while (entry != byKey_.end() && std::get<0>(entry->first) == pid) {
        DropSections(*entry->second);
        bytes_ -= kSubTableCost;
        subTables_.erase(entry->second);
        entry = byKey_.erase(entry);
    }
}

void SectionCache::Clear() {
    byKey_.clear();
    subTables_.clear();
    bytes_ = 0;
}

bool SectionCache::HasVersions(SectionView section) {
    const uint8_t table_id = section.table_id();
    const bool is_dsm_cc = table_id >= 0x3A && table_id <= 0x3F;   // ISO/IEC 13818-6 clause 9
    const bool is_mpe_fec = table_id == 0x78 || table_id == 0x7A;  // ETSI EN 301 192, TS 102 772
    return section.section_syntax_indicator() && !is_dsm_cc && !is_mpe_fec;
}

SectionCache::Key SectionCache::KeyOf(uint16_t pid, SectionView section) {
    const uint8_t table_id = section.table_id();
    uint32_t more = 0;
    if (table_id == 0x42 || table_id == 0x46) {  // EN 300 468 5.2.3: original_network_id
        more = section.body().U16(0);
    } else if ((table_id >= 0x4E && table_id <= 0x6F) || table_id == 0x4B || table_id == 0x4C) {
        // 5.2.4: and transport_stream_id. UNT of ETSI TS 102 006, INT of EN 301 192: OUI or
        // platform_id, and processing_order
        more = section.body().U32(0);
    }
    return {pid, table_id, section.sub_table_extension(), more};
}

void SectionCache::DropSections(SubTable& subTable) {
    for (const auto& [number, bytes] : subTable.sections) {
        bytes_ -= bytes.size() + kSectionCost;
    }
    subTable.sections.clear();
}

void SectionCache::MakeRoom() {
    while (bytes_ > limit_) {
        SubTable& oldest = subTables_.back();
        DropSections(oldest);
        bytes_ -= kSubTableCost;
        byKey_.erase(oldest.key);
        subTables_.pop_back();
    }
}

}  // namespace tvservice

#include "softplatform/section/SectionCache.h"

#include <cstring>
#include <iterator>
#include <new>
#include <utility>

namespace tvservice {

void SectionCache::SetLimit(size_t limit) {
    limit_ = limit;
    MakeRoom();
}

bool SectionCache::Renew(uint16_t pid, SectionView section) {
    const size_t place = Find(KeyOf(pid, section));
    if (place == kNone) {
        return false;
    }
    SubTable& subTable = subTables_[place];
    const size_t at = FindSection(subTable, section.section_number());
    if (at == kNone || !AreEqual(subTable.sections[at].bytes, section)) {
        return false;
    }
    subTable.following = at + 1;
    MakeYoungest(place);
    return true;
}

void SectionCache::Put(uint16_t pid, SectionView section) {
    if (limit_ == 0 || !HasVersions(section) || !section.current_next_indicator()) {
        return;
    }
    const Key key = KeyOf(pid, section);
    size_t place = Find(key);
    if (place == kNone) {
        place = AddSubTable(key);
    } else {
        MakeYoungest(place);
    }
    SubTable& subTable = subTables_[place];
    if (subTable.version != section.version_number() ||
        subTable.last_section_number != section.last_section_number()) {
        DropSections(subTable);
        subTable.version = section.version_number();
        subTable.last_section_number = section.last_section_number();
    }
    Store(subTable, section);
    MakeRoom();
}

void SectionCache::Forget(uint16_t pid) {
    for (size_t place = 0; place < subTables_.size(); ++place) {
        if (subTables_[place].isUsed && subTables_[place].key.table >> 24 == pid) {
            RemoveSubTable(place);
        }
    }
}

void SectionCache::Clear() {
    while (oldest_ != kNone) {
        RemoveSubTable(oldest_);
    }
}

bool SectionCache::HasVersions(SectionView section) {
    const uint8_t table_id = section.table_id();
    const bool is_dsm_cc = table_id >= 0x3A && table_id <= 0x3F;   // ISO/IEC 13818-6 clause 9
    const bool is_mpe_fec = table_id == 0x78 || table_id == 0x7A;  // ETSI EN 301 192, TS 102 772
    return section.section_syntax_indicator() && !is_dsm_cc && !is_mpe_fec;
}

SectionCache::Key SectionCache::KeyOf(uint16_t pid, SectionView section) {
    const uint8_t table_id = section.table_id();
    const uint64_t table =
        uint64_t{pid} << 24 | uint64_t{table_id} << 16 | section.sub_table_extension();
    if (table_id == 0x42 || table_id == 0x46) {
        // ETSI EN 300 468 5.2.3 (SDT): original_network_id
        return {table, section.body().U16(0)};
    }
    if ((table_id >= 0x4E && table_id <= 0x6F) || table_id == 0x4B || table_id == 0x4C ||
        table_id == 0x77) {
        // 5.2.4 (EIT) and TS 102 323 (CIT): transport_stream_id and original_network_id. TS 102 006
        // (UNT) and EN 301 192 (INT): OUI or platform_id, and processing_order
        return {table, section.body().U32(0)};
    }
    return {table, 0};
}

// --- The sub-tables

size_t SectionCache::Hash(const Key& key) {
    uint64_t mixed = (key.table ^ uint64_t{key.more} << 32) * 0x9E3779B97F4A7C15u;
    mixed = (mixed ^ mixed >> 32 ^ key.more) * 0x94D049BB133111EBu;
    return static_cast<size_t>(mixed ^ mixed >> 32);
}

size_t SectionCache::Find(const Key& key) const {
    if (slots_.empty()) {
        return kNone;
    }
    const size_t mask = slots_.size() - 1;
    size_t slot = Hash(key) & mask;
    while (slots_[slot] != kNone && !(subTables_[slots_[slot]].key == key)) {
        slot = (slot + 1) & mask;
    }
    return slots_[slot];
}

size_t SectionCache::AddSubTable(const Key& key) {
    const size_t used = subTables_.size() - freePlaces_.size();
    if (2 * (used + 1) > slots_.size()) {
        GrowSlots();
    }
    if (freePlaces_.empty()) {
        freePlaces_.reserve(subTables_.size() + 1);  // so that RemoveSubTable allocates nothing
        subTables_.emplace_back();
        freePlaces_.push_back(subTables_.size() - 1);
    }
    const size_t place = freePlaces_.back();
    freePlaces_.pop_back();
    SubTable& subTable = subTables_[place];
    subTable.key = key;
    subTable.isUsed = true;
    subTable.following = 0;
    bytes_ += kSubTableCost;
    Enter(place);
    MakeYoungest(place);
    return place;
}

void SectionCache::RemoveSubTable(size_t place) {
    SubTable& subTable = subTables_[place];
    DropSections(subTable);
    bytes_ -= kSubTableCost;
    Unlink(place);

    // Closes the gap: an entry behind it, with no other gap between, moves there if its home slot
    // is not behind the gap.
    const size_t mask = slots_.size() - 1;
    size_t gap = Hash(subTable.key) & mask;
    while (slots_[gap] != place) {
        gap = (gap + 1) & mask;
    }
    for (size_t slot = (gap + 1) & mask; slots_[slot] != kNone; slot = (slot + 1) & mask) {
        const size_t home = Hash(subTables_[slots_[slot]].key) & mask;
        if (((slot - home) & mask) >= ((slot - gap) & mask)) {
            slots_[gap] = slots_[slot];
            gap = slot;
        }
    }
    slots_[gap] = kNone;
    subTable.isUsed = false;
    freePlaces_.push_back(place);
}

void SectionCache::Enter(size_t place) {
    const size_t mask = slots_.size() - 1;
    size_t slot = Hash(subTables_[place].key) & mask;
    while (slots_[slot] != kNone) {
        slot = (slot + 1) & mask;
    }
    slots_[slot] = place;
}

void SectionCache::GrowSlots() {
    slots_ = std::vector<size_t>(std::max<size_t>(2 * slots_.size(), 64), kNone);
    for (size_t place = 0; place < subTables_.size(); ++place) {
        if (subTables_[place].isUsed) {
            Enter(place);
        }
    }
}

void SectionCache::Unlink(size_t place) {
    SubTable& subTable = subTables_[place];
    (subTable.younger == kNone ? youngest_ : subTables_[subTable.younger].older) = subTable.older;
    (subTable.older == kNone ? oldest_ : subTables_[subTable.older].younger) = subTable.younger;
    subTable.younger = subTable.older = kNone;
}

void SectionCache::MakeYoungest(size_t place) {
    if (place == youngest_) {
        return;
    }
    SubTable& subTable = subTables_[place];
    if (subTable.younger != kNone) {
        Unlink(place);
    }
    subTable.older = youngest_;
    (youngest_ == kNone ? oldest_ : subTables_[youngest_].younger) = place;
    youngest_ = place;
}

std::vector<size_t> SectionCache::PlacesOf(uint16_t pid, uint8_t table_id) const {
    const uint64_t table = uint64_t{pid} << 8 | table_id;
    std::vector<size_t> places;
    for (size_t place = 0; place < subTables_.size(); ++place) {
        if (subTables_[place].isUsed && subTables_[place].key.table >> 16 == table) {
            places.push_back(place);
        }
    }
    std::sort(places.begin(), places.end(),
              [this](size_t a, size_t b) { return subTables_[a].key < subTables_[b].key; });
    return places;
}

// --- The sections of one sub-table

size_t SectionCache::FindSection(const SubTable& subTable, uint8_t number) {
    const std::vector<Section>& sections = subTable.sections;
    if (sections.empty()) {
        return kNone;
    }
    // Sections usually come in the order of their numbers, again and again: so look at the next one
    // first.
    const size_t following = subTable.following < sections.size() ? subTable.following : 0;
    if (sections[following].number == number) {
        return following;
    }
    const auto found =
        std::lower_bound(sections.begin(), sections.end(), number,
                         [](const Section& held, uint8_t wanted) { return held.number < wanted; });
    return found != sections.end() && found->number == number
               ? static_cast<size_t>(std::distance(sections.begin(), found))
               : kNone;
}

bool SectionCache::AreEqual(const std::vector<uint8_t>& bytes, SectionView section) {
    return bytes.size() == section.size() &&
           std::memcmp(bytes.data(), section.data(), bytes.size()) == 0;
}

// The copy comes first: without memory for it, the sub-table stays as it is.
void SectionCache::Store(SubTable& subTable, SectionView section) {
    const uint8_t number = section.section_number();
    size_t at = FindSection(subTable, number);
    if (at == kNone) {
        const auto next = std::lower_bound(
            subTable.sections.begin(), subTable.sections.end(), number,
            [](const Section& held, uint8_t wanted) { return held.number < wanted; });
        at = static_cast<size_t>(std::distance(subTable.sections.begin(), next));
        subTable.sections.insert(next, Section{number, Copy(section)});
        bytes_ += kSectionCost + section.size();
    } else if (std::vector<uint8_t>& held = subTable.sections[at].bytes; !AreEqual(held, section)) {
        std::vector<uint8_t> replaced = std::exchange(held, Copy(section));
        bytes_ += section.size();
        bytes_ -= replaced.size();
        PutAside(replaced);
    }
    subTable.following = at + 1;
}

// A copy in a spare buffer, or in a new one when there is none of that capacity.
std::vector<uint8_t> SectionCache::Copy(SectionView section) {
    const size_t step = (section.size() - 1) / kBufferStep;
    std::vector<uint8_t> bytes;
    if (std::vector<std::vector<uint8_t>>& spares = spares_[step]; !spares.empty()) {
        bytes = std::move(spares.back());
        spares.pop_back();
        spareBytes_ -= bytes.capacity();
    } else {
        bytes.reserve((step + 1) * kBufferStep);
    }
    bytes.assign(section.data(), section.data() + section.size());
    return bytes;
}

void SectionCache::PutAside(std::vector<uint8_t>& bytes) noexcept {
    const size_t capacity = bytes.capacity();
    if (capacity >= kBufferStep && capacity <= kMaxSectionSize && capacity % kBufferStep == 0 &&
        spareBytes_ + capacity <= kSpareBytes) {
        try {
            spares_[capacity / kBufferStep - 1].push_back(std::move(bytes));
            spareBytes_ += capacity;
        } catch (const std::bad_alloc&) {
            // The buffer is freed below instead of kept.
        }
    }
    bytes = {};
}

void SectionCache::DropSections(SubTable& subTable) {
    for (Section& section : subTable.sections) {
        bytes_ -= section.bytes.size() + kSectionCost;
        PutAside(section.bytes);
    }
    subTable.sections.clear();
    subTable.following = 0;
}

void SectionCache::MakeRoom() {
    while (bytes_ > limit_) {
        RemoveSubTable(oldest_);
    }
}

}  // namespace tvservice

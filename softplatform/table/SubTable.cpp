#include "softplatform/table/SubTable.h"

#include <algorithm>
#include <utility>

#include "softplatform/base/Counters.h"

namespace tvservice {

std::optional<SectionView> ApplicableSection(const uint8_t* bytes, uint8_t firstTableId,
                                             uint8_t lastTableId, size_t fixedSize) {
    // table_id is checked before section_length is read: stuffing may be a single byte long.
    if (bytes == nullptr || bytes[0] < firstTableId || bytes[0] > lastTableId) {
        return std::nullopt;
    }
    const size_t sectionLength = size_t{bytes[1] & 0x0Fu} << 8 | bytes[2];
    const auto section = SectionView::From(bytes, kSectionHeaderSize + sectionLength);
    if (!section || !section->section_syntax_indicator() || !section->current_next_indicator()) {
        return std::nullopt;
    }
    if (section->section_number() > section->last_section_number() ||
        section->body().size() < fixedSize) {
        ReceiverCounters().AddShared(Counter::kMalformedTables);
        return std::nullopt;
    }
    return section;
}

bool SubTable::IsOfThisState(SectionView section) const {
    return !sections_.empty() && section.table_id() == tableId_ &&
           section.sub_table_extension() == extension_ && section.version_number() == version_ &&
           section.last_section_number() == last_section_number();
}

bool SubTable::complete() const {
    if (sections_.empty()) {
        return false;
    }
    const size_t count = last_section_number() / 8 + size_t{1};
    return std::all_of(segments_.begin(), segments_.begin() + count, [](const Segment& segment) {
        const unsigned needed = (2u << segment.last) - 1;
        return (segment.held & needed) == needed;
    });
}

// The last section needed of the section's segment, modulo 8. The standard does not allow a
// segment_last_section_number outside its segment; it is taken for the end of the segment.
uint8_t SubTable::LastOfSegment(SectionView section) {
    constexpr uint8_t kFirstScheduleTableId = 0x50;
    constexpr uint8_t kLastScheduleTableId = 0x6F;
    constexpr size_t kSegmentLastAt = 4;  // after transport_stream_id and original_network_id
    const int first = section.section_number() & ~7;
    const int end = std::min<int>(first + 7, section.last_section_number());
    int last = end;
    if (section.table_id() >= kFirstScheduleTableId && section.table_id() <= kLastScheduleTableId) {
        const int told = section.body().U8(kSegmentLastAt);
        last = told >= first && told <= end ? told : end;
    }
    return static_cast<uint8_t>(last - first);
}

SubTable::Change SubTable::Judge(SectionView section) const {
    if (!IsOfThisState(section)) {
        return Change::kAfresh;
    }
    const ByteView held = sections_[section.section_number()].bytes;
    const bool isRepeat =
        std::equal(held.begin(), held.end(), section.bytes().begin(), section.bytes().end());
    return isRepeat ? Change::kRepeat : Change::kSection;
}

SubTable::Held SubTable::Store(SectionView section, ArenaPool& pool, size_t room) {
    const bool isAfresh = !IsOfThisState(section);
    const size_t count = size_t{section.last_section_number()} + 1;
    std::unique_ptr<DescriptorArena> arena = pool.Take();
    arena->Begin(DescriptorArena::Rounded(section.size()) + room);
    sections_.reserve(count);
    // From here on nothing can throw.
    auto* const copy = static_cast<uint8_t*>(arena->Take(section.size()));
    std::copy(section.bytes().begin(), section.bytes().end(), copy);
    if (isAfresh) {
        for (Slot& slot : sections_) {
            pool.Give(std::move(slot.arena));
        }
        sections_.clear();
        sections_.resize(count);
        segments_ = {};
        tableId_ = section.table_id();
        extension_ = section.sub_table_extension();
        version_ = section.version_number();
        bytes_ = BytesOfSlots(section);
    }
    const uint8_t number = section.section_number();
    Slot& slot = sections_[number];
    pool.Give(std::move(slot.arena));
    bytes_ += section.size() - slot.bytes.size();
    slot.bytes = ByteView(copy, section.size());
    slot.arena = std::move(arena);
    Segment& segment = segments_[number / 8];
    segment.held = static_cast<uint8_t>(segment.held | 1 << number % 8);
    segment.last = LastOfSegment(section);
    return {*SectionView::From(slot.bytes), *slot.arena};
}

void SubTable::Clear() {
    *this = SubTable();
}

std::optional<SectionView> SubTable::section(size_t number) const {
    if (!IsHeld(number)) {
        return std::nullopt;
    }
    return SectionView::From(sections_[number].bytes);
}

}  // namespace tvservice

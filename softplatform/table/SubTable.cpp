#include "softplatform/table/SubTable.h"

#include <algorithm>
#include <utility>

#include "softplatform/base/Counters.h"

namespace tvservice {

std::optional<SectionView> ApplicableSection(const uint8_t* bytes, uint8_t firstTableId,
                                             uint8_t lastTableId, size_t fixedSize) {
    // The table_id first: stuffing may be a single byte long.
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

SubTable::Change SubTable::Judge(SectionView section) const {
    if (!IsOfThisState(section)) {
        return Change::kAfresh;
    }
    const std::vector<uint8_t>& held = sections_[section.section_number()];
    const bool isRepeat =
        std::equal(held.begin(), held.end(), section.bytes().begin(), section.bytes().end());
    return isRepeat ? Change::kRepeat : Change::kSection;
}

SectionView SubTable::Store(SectionView section) {
    std::vector<uint8_t> copy(section.bytes().begin(), section.bytes().end());
    if (!IsOfThisState(section)) {
        held_.reset();
        sections_.clear();
        sections_.resize(size_t{section.last_section_number()} + 1);
        tableId_ = section.table_id();
        extension_ = section.sub_table_extension();
        version_ = section.version_number();
        bytes_ = BytesOfSlots(section);
    }
    const uint8_t number = section.section_number();
    bytes_ -= sections_[number].size();
    bytes_ += copy.size();
    sections_[number] = std::move(copy);
    held_.set(number);
    return *SectionView::From(sections_[number].data(), sections_[number].size());
}

void SubTable::Clear() {
    *this = SubTable();
}

std::optional<SectionView> SubTable::section(size_t number) const {
    if (number >= sections_.size() || !held_.test(number)) {
        return std::nullopt;
    }
    return SectionView::From(sections_[number].data(), sections_[number].size());
}

}  // namespace tvservice

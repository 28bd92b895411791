#include "softplatform/table/SubTable.h"

#include <algorithm>
#include <utility>

namespace tvservice {

std::optional<SectionView> ApplicableSection(const uint8_t* bytes, uint8_t firstTableId,
                                             uint8_t lastTableId) {
    // The table_id first: stuffing may be a single byte long.
    if (bytes == nullptr || bytes[0] < firstTableId || bytes[0] > lastTableId) {
        return std::nullopt;
    }
    const size_t sectionLength = size_t{bytes[1] & 0x0Fu} << 8 | bytes[2];
    const auto section = SectionView::From(bytes, kSectionHeaderSize + sectionLength);
    if (!section || !section->section_syntax_indicator() || !section->current_next_indicator() ||
        section->section_number() > section->last_section_number()) {
        return std::nullopt;
    }
    return section;
}

bool SubTable::IsOfThisState(SectionView section) const {
    return !sections_.empty() && section.table_id() == tableId_ &&
           section.table_id_extension() == tableIdExtension_ &&
           section.version_number() == version_ &&
           section.last_section_number() == lastSectionNumber_;
}

SubTable::Change SubTable::Judge(SectionView section) const {
    if (!IsOfThisState(section)) {
        return Change::kAfresh;
    }
    const auto held = sections_.find(section.section_number());
    const bool isRepeat =
        held != sections_.end() && std::equal(held->second.begin(), held->second.end(),
                                              section.bytes().begin(), section.bytes().end());
    return isRepeat ? Change::kRepeat : Change::kSection;
}

void SubTable::Store(SectionView section) {
    std::vector<uint8_t> copy(section.bytes().begin(), section.bytes().end());
    if (!IsOfThisState(section)) {
        sections_.clear();
        tableId_ = section.table_id();
        tableIdExtension_ = section.table_id_extension();
        version_ = section.version_number();
        lastSectionNumber_ = section.last_section_number();
    }
    sections_[section.section_number()] = std::move(copy);
}

void SubTable::Clear() {
    *this = SubTable();
}

}  // namespace tvservice

#include "softplatform/section/SectionView.h"

#include "softplatform/base/Crc32.h"

namespace tvservice {

std::optional<SectionView> SectionView::From(ByteView bytes) {
    if (!bytes.Has(0, kSectionHeaderSize)) {
        return std::nullopt;
    }
    const size_t length = bytes.U16(1) & 0x0FFF;
    if (length > kMaxSectionLength || !bytes.Has(kSectionHeaderSize, length)) {
        return std::nullopt;
    }
    const SectionView section(bytes.Subview(0, kSectionHeaderSize + length));
    if (section.section_syntax_indicator() && length < kMinSyntaxSectionLength) {
        return std::nullopt;
    }
    return section;
}

bool CrcIsGood(SectionView section) {
    return !section.section_syntax_indicator() || Crc32(section.data(), section.size()) == 0;
}

}  // namespace tvservice

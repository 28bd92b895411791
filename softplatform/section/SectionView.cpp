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
    if (IsTooShort(bytes)) {
        return std::nullopt;
    }
    return SectionView(bytes.Subview(0, kSectionHeaderSize + length));
}

bool IsTooShort(ByteView bytes) {
    const bool section_syntax_indicator = (bytes.U8(1) & 0x80) != 0;
    const size_t section_length = bytes.U16(1) & 0x0FFF;
    return bytes.Has(0, kSectionHeaderSize) && section_syntax_indicator &&
           section_length < kMinSyntaxSectionLength;
}

bool CrcIsGood(SectionView section) {
    return !HasCrc(section) || Crc32(section.data(), section.size()) == 0;
}

}  // namespace tvservice

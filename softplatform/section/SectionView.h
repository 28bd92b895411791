#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "softplatform/base/ByteView.h"

namespace tvservice {

constexpr size_t kSectionHeaderSize = 3;  // up to and including section_length
constexpr size_t kMaxSectionLength = 4093;
constexpr size_t kMaxSectionSize = kSectionHeaderSize + kMaxSectionLength;
constexpr size_t kMinSyntaxSectionLength = 9;  // five more header bytes and CRC_32
constexpr uint8_t kStuffingTableId = 0xFF;     // ISO/IEC 13818-1 2.4.4: stuffing, not a section

// One whole section: borrowed bytes, which outlive the view. Fields as ISO/IEC 13818-1 2.4.4.11
// (private_section) names them. The lengths have been checked; the CRC has not (CrcIsGood).
class SectionView {
  public:
    // The section at the start of `bytes`, without the bytes that follow it. Nothing when it is not
    // whole, when section_length is above 4093, or when it is below 9 although
    // section_syntax_indicator is 1.
    static std::optional<SectionView> From(ByteView bytes);
    static std::optional<SectionView> From(const uint8_t* bytes, size_t size) {
        return From(ByteView(bytes, size));
    }

    ByteView bytes() const { return bytes_; }
    const uint8_t* data() const { return bytes_.data(); }
    size_t size() const { return bytes_.size(); }  // 3 + section_length

    uint8_t table_id() const { return bytes_.data()[0]; }
    bool section_syntax_indicator() const { return (bytes_.data()[1] & 0x80) != 0; }
    uint16_t section_length() const { return static_cast<uint16_t>(size() - kSectionHeaderSize); }

    // These are valid only when section_syntax_indicator() is true. Otherwise they return whatever
    // bytes are in their place, and 0 past the end.
    uint16_t table_id_extension() const { return bytes_.U16(3); }
    uint8_t version_number() const { return (bytes_.U8(5) >> 1) & 0x1F; }
    bool current_next_indicator() const { return (bytes_.U8(5) & 0x01) != 0; }
    uint8_t section_number() const { return bytes_.U8(6); }
    uint8_t last_section_number() const { return bytes_.U8(7); }
    // The header field that tells sub-tables of one table_id apart: table_id_extension, or 0 in
    // tables that have none (2.4.4.6: reserved in a CAT; 2.4.4.12: in a TSDT).
    uint16_t sub_table_extension() const {
        return table_id() == 0x01 || table_id() == 0x03 ? uint16_t{0} : table_id_extension();
    }
    uint32_t CRC_32() const { return bytes_.U32(size() - 4); }

    // The bytes between the 8-byte header and CRC_32. With section_syntax_indicator 0: all bytes
    // after section_length. May be empty.
    ByteView body() const {
        return section_syntax_indicator() ? bytes_.Subview(8, size() - 12) : bytes_.Subview(3);
    }

  private:
    explicit SectionView(ByteView bytes) : bytes_(bytes) {}

    ByteView bytes_;
};

// Whether the section_length of a section is too small for its header and CRC_32: below 9 although
// section_syntax_indicator is 1. False when `bytes` has fewer than three bytes.
bool IsTooShort(ByteView bytes);

// Whether a section ends in a CRC_32: with section_syntax_indicator 1, and in a TOT, which has one
// although that indicator is 0 (ETSI EN 300 468 5.2.6).
inline bool HasCrc(SectionView section) {
    constexpr uint8_t kTimeOffsetTableId = 0x73;
    return section.section_syntax_indicator() || section.table_id() == kTimeOffsetTableId;
}

// Whether CRC_32 is right; true also for a section that has none.
bool CrcIsGood(SectionView section);

}  // namespace tvservice

// Builds one section of a PSI, SI or private table field by field and closes it: section_length and
// CRC_32 are filled in by Build().
//
//     SectionBuilder(0x00)                     // table_id: program association section
//         .TableIdExtension(1)                 // transport_stream_id
//         .Version(3)
//         .U16(7).Reserved(3).Bits(13, 0x100)  // program_number, program_map_PID
//         .Build();
//
// Broken sections are made on purpose only: BreakCrc() and SectionLength().
#pragma once

#include <cstdint>
#include <optional>

#include "generator/Bytes.h"
#include "generator/FieldWriter.h"

namespace generator {

// The field calls of FieldWriter write the body, from behind last_section_number (long form) or
// from behind section_length (short form); the calls below may come in any order among them.
class SectionBuilder : public FieldWriter<SectionBuilder> {
  public:
    // A section of the long form (section_syntax_indicator 1, ISO/IEC 13818-1 2.4.4.11) with
    // table_id_extension 0, version_number 0, current_next_indicator 1, section 0 of 0. The bit
    // behind section_syntax_indicator is 0 for the tables of ISO/IEC 13818-1 (table_id below 0x40)
    // and 1 for all others.
    explicit SectionBuilder(std::uint8_t table_id);

    SectionBuilder& TableIdExtension(std::uint16_t table_id_extension);
    // `version_number` is below 32.
    SectionBuilder& Version(std::uint8_t version_number);
    SectionBuilder& Current(bool current_next_indicator);
    SectionBuilder& Number(std::uint8_t section_number, std::uint8_t last_section_number);
    SectionBuilder& PrivateIndicator(bool private_indicator);

    // The short form: section_syntax_indicator 0, nothing between section_length and body, no
    // CRC_32.
    SectionBuilder& WithoutSyntax();
    // A CRC_32 at the end of a section of the short form (time offset section).
    SectionBuilder& WithCrc();

    // One bit of the CRC_32 wrong; without effect on a section that has none.
    SectionBuilder& BreakCrc();
    // Writes this section_length (below 4096) instead of the true one. The CRC_32 covers the bytes
    // that are there.
    SectionBuilder& SectionLength(std::uint16_t section_length);

    // The section, leaving the builder's body empty. Throws std::logic_error when the body is too
    // long for the 12 bits of section_length (and none was forced), or as BitBuffer does.
    Bytes Build();

  private:
    std::uint8_t tableId_;
    std::uint16_t tableIdExtension_ = 0;
    std::uint8_t version_ = 0;
    bool current_ = true;
    std::uint8_t number_ = 0;
    std::uint8_t lastNumber_ = 0;
    bool privateIndicator_;
    bool syntax_ = true;
    bool crc_ = true;
    bool breakCrc_ = false;
    std::optional<std::uint16_t> forcedLength_;
};

}  // namespace generator

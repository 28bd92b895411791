// Builds one section of a PSI, SI or private table field by field. Build() fills in section_length
// and CRC_32.
//
//     SectionBuilder(0x00)                     // table_id: program association section
//         .TableIdExtension(1)                 // transport_stream_id
//         .Version(3)
//         .U16(7).Reserved(3).Bits(13, 0x100)  // program_number, program_map_PID
//         .Build();
//
// A section is broken only on purpose: by BreakCrc() and SectionLength().
#pragma once

#include <cstdint>
#include <optional>

#include "generator/Bytes.h"
#include "generator/FieldWriter.h"

namespace generator {

// The field calls of FieldWriter write the body. It begins behind last_section_number (long form)
// or behind section_length (short form). The calls below may come in any order among them.
class SectionBuilder : public FieldWriter<SectionBuilder> {
  public:
    // Begins a section of the long form (section_syntax_indicator 1, ISO/IEC 13818-1 2.4.4.11) with
    // table_id_extension 0, version_number 0, current_next_indicator 1 and section 0 of 0. The bit
    // behind section_syntax_indicator is 0 for the tables of ISO/IEC 13818-1 (table_id below 0x40)
    // and 1 for all others.
    explicit SectionBuilder(std::uint8_t table_id);

    SectionBuilder& TableIdExtension(std::uint16_t table_id_extension);
    // `version_number` is below 32.
    SectionBuilder& Version(std::uint8_t version_number);
    SectionBuilder& Current(bool current_next_indicator);
    SectionBuilder& Number(std::uint8_t section_number, std::uint8_t last_section_number);
    SectionBuilder& PrivateIndicator(bool private_indicator);

    // Changes to the short form: section_syntax_indicator is 0, the body follows section_length,
    // and there is no CRC_32.
    SectionBuilder& WithoutSyntax();
    // Adds a CRC_32 to a section of the short form, as the time offset section has it.
    SectionBuilder& WithCrc();

    // Inverts one bit of the CRC_32. It has no effect on a section without a CRC_32.
    SectionBuilder& BreakCrc();
    // Writes this section_length (below 4096) instead of the true one. The CRC_32 still covers the
    // bytes that the section has.
    SectionBuilder& SectionLength(std::uint16_t section_length);

    // Returns the section and empties the builder's body. Throws std::logic_error when the body is
    // too long for the 12 bits of section_length (unless SectionLength() set one), and as BitBuffer
    // does.
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

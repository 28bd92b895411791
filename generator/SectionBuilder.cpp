#include "generator/SectionBuilder.h"

#include "softplatform/base/Crc32.h"

namespace generator {

SectionBuilder::SectionBuilder(std::uint8_t table_id)
    : tableId_(table_id), privateIndicator_(table_id >= 0x40) {}

SectionBuilder& SectionBuilder::TableIdExtension(std::uint16_t table_id_extension) {
    tableIdExtension_ = table_id_extension;
    return *this;
}

SectionBuilder& SectionBuilder::Version(std::uint8_t version_number) {
    version_ = version_number;
    return *this;
}

SectionBuilder& SectionBuilder::Current(bool current_next_indicator) {
    current_ = current_next_indicator;
    return *this;
}

SectionBuilder& SectionBuilder::Number(std::uint8_t section_number,
                                       std::uint8_t last_section_number) {
    number_ = section_number;
    lastNumber_ = last_section_number;
    return *this;
}

SectionBuilder& SectionBuilder::PrivateIndicator(bool private_indicator) {
    privateIndicator_ = private_indicator;
    return *this;
}

SectionBuilder& SectionBuilder::WithoutSyntax() {
    syntax_ = false;
    crc_ = false;
    return *this;
}

SectionBuilder& SectionBuilder::WithCrc() {
    crc_ = true;
    return *this;
}

SectionBuilder& SectionBuilder::BreakCrc() {
    breakCrc_ = true;
    return *this;
}

SectionBuilder& SectionBuilder::SectionLength(std::uint16_t section_length) {
    forcedLength_ = section_length;
    return *this;
}

Bytes SectionBuilder::Build() {
    const Bytes body = TakeFields();
    const std::size_t trueLength = (syntax_ ? 5u : 0u) + body.size() + (crc_ ? 4u : 0u);

    // ISO/IEC 13818-1 2.4.4.11: private_section()
    ByteWriter section;
    section.U8(tableId_)
        .Bits(1, syntax_ ? 1 : 0)
        .Bits(1, privateIndicator_ ? 1 : 0)
        .Reserved(2)
        .Bits(12, forcedLength_ ? *forcedLength_ : trueLength);
    if (syntax_) {
        section.U16(tableIdExtension_)
            .Reserved(2)
            .Bits(5, version_)
            .Bits(1, current_ ? 1 : 0)
            .U8(number_)
            .U8(lastNumber_);
    }
    Bytes bytes = section.Raw(body).Build();
    if (crc_) {
        const std::uint32_t crc = tvservice::Crc32(bytes.data(), bytes.size());
        const Bytes coded = ByteWriter().U32(breakCrc_ ? crc ^ 1u : crc).Build();
        bytes.insert(bytes.end(), coded.begin(), coded.end());
    }
    return bytes;
}

}  // namespace generator

// The tables of ISO/IEC 13818-1, and sections that nobody declared.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

// private_section (ISO/IEC 13818-1 2.4.4.10), with the bytes behind its header as `bytes`.
constexpr auto PrivateSection(std::string_view bytes) {
    return Sequence(Flag("section_syntax_indicator"), Flag("private_indicator"), Ones(2),
                    SectionLength(SectionEnd::kCrcIfSyntaxIndicator),
                    If(Set("section_syntax_indicator"), U16("table_id_extension"), Ones(2),
                       U(5, "version_number"), Flag("current_next_indicator"), U8("section_number"),
                       U8("last_section_number")),
                    Bytes(bytes));
}

constexpr auto kTables =
    Declare(Table(0x00, 0x00, "program_association_section", "ISO/IEC 13818-1 2.4.4.3",
                  LongHeader(0, U16("transport_stream_id")),
                  Loop("programs", U16("program_number"), Ones(3),
                       If(Is("program_number", 0), U(13, "network_PID")),
                       If(Not(Is("program_number", 0)), U(13, "program_map_PID")))),

            Table(0x01, 0x01, "conditional_access_section", "ISO/IEC 13818-1 2.4.4.6",
                  LongHeader(0, Ones(16)), Descriptors("descriptors")),

            Table(0x02, 0x02, "TS_program_map_section", "ISO/IEC 13818-1 2.4.4.8",
                  LongHeader(0, U16("program_number")), Ones(3), U(13, "PCR_PID"),
                  DescriptorsL12("program_info"),
                  Loop("elementary_streams", U8("stream_type", kStreamTypes), Ones(3),
                       U(13, "elementary_PID"), DescriptorsL12("descriptors"))),

            Table(0x03, 0x03, "TS_description_section", "ISO/IEC 13818-1 2.4.4.12",
                  LongHeader(0, Ones(16)), Descriptors("descriptors")),

            Table(0x72, 0x72, "stuffing_section", "EN 300 468 5.2.8", PrivateSection("data_byte")),

            Table(0x00, 0xFF, "private_section", "ISO/IEC 13818-1 2.4.4.10",
                  PrivateSection("private_data_byte")));

}  // namespace

GroupView MpegTables() {
    return kTables;
}

}  // namespace syntax

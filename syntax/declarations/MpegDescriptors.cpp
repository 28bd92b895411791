// Descriptors 0x02 to 0x3F: ISO/IEC 13818-1 and ISO/IEC 13818-6.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Value kAudioTypes[] = {
    {0x00, "undefined"},
    {0x01, "clean effects"},
    {0x02, "hearing impaired"},
    {0x03, "visual impaired commentary"},
    {0x04, 0x7F, "user private"},
    {0x80, "primary"},
    {0x81, "native"},
    {0x82, "emergency"},
    {0x83, "primary commentary"},
    {0x84, "alternate commentary"},
};

constexpr auto kDescriptors = Declare(
    Descriptor(0x05, "registration_descriptor", "ISO/IEC 13818-1 2.6.8",
               Latin(32, "format_identifier"), Bytes("additional_identification_info")),

    Descriptor(0x09, "CA_descriptor", "ISO/IEC 13818-1 2.6.16", U16("CA_system_ID"), Ones(3),
               U(13, "CA_PID"), Bytes("private_data_byte")),

    Descriptor(0x0A, "ISO_639_language_descriptor", "ISO/IEC 13818-1 2.6.18",
               Loop("languages", Language("ISO_639_language_code"), U8("audio_type", kAudioTypes))),

    Descriptor(0x0E, "maximum_bitrate_descriptor", "ISO/IEC 13818-1 2.6.26", Ones(2),
               U(22, "maximum_bitrate")));

}  // namespace

GroupView MpegDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

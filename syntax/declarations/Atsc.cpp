// The common descriptors of ATSC (A/65, A/52), which count under that standard, and in program maps
// whose registration_descriptor says GA94. Strings of several languages stay hexadecimal.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Scope kAtsc{Space::kMain, 0, 0, kAtscOnly};

constexpr Value kSampleRates[] = {{0, "48 kHz"},
                                  {1, "44.1 kHz"},
                                  {2, "32 kHz"},
                                  {4, "48 or 44.1 kHz"},
                                  {5, "48 or 32 kHz"},
                                  {6, "44.1 or 32 kHz"},
                                  {7, "48, 44.1 or 32 kHz"}};
constexpr Value kSurroundModes[] = {
    {0, "not indicated"}, {1, "not Dolby surround"}, {2, "Dolby surround"}};
constexpr Value kServices[] = {{0, "complete main"},     {1, "music and effects"},
                               {2, "visually impaired"}, {3, "hearing impaired"},
                               {4, "dialogue"},          {5, "commentary"},
                               {6, "emergency"},         {7, "voice-over or karaoke"}};
constexpr Value kChannels[] = {
    {0, "1+1"},        {1, "1/0"},        {2, "2/0"},        {3, "3/0"},       {4, "2/1"},
    {5, "3/1"},        {6, "2/2"},        {7, "3/2"},        {8, "1"},         {9, "at most 2"},
    {10, "at most 3"}, {11, "at most 4"}, {12, "at most 5"}, {13, "at most 6"}};
constexpr Value kEac3Channels[] = {{0, "mono"},
                                   {1, "1+1"},
                                   {2, "stereo"},
                                   {3, "stereo, Dolby surround"},
                                   {4, "multichannel, up to 3/2 + LFE"},
                                   {5, "multichannel, more than 3/2 + LFE"}};

constexpr auto kDescriptors = Declare(
    kAtsc,

    Descriptor(
        0x81, "AC-3_audio_stream_descriptor", "A/52 A.3.4", U(3, "sample_rate_code", kSampleRates),
        U(5, "bsid"), U(6, "bit_rate_code"), U(2, "surround_mode", kSurroundModes),
        U(3, "bsmod", kServices), U(4, "num_channels", kChannels), Flag("full_svc"),
        Optional(
            U8("langcod"),
            Optional(If(Is("num_channels", 0), U8("langcod2")),
                     If(In("bsmod", 0, 1), Optional(U(3, "mainid"), U(2, "priority"), Ones(3))),
                     If(In("bsmod", 2, 7), Optional(U8("asvcflags"))),
                     Optional(Length(7, "text_byte"), U(1, "text_code"), BytesBy("text_byte"),
                              Optional(Guard("language_flag"), Guard("language_flag_2"), Ones(6),
                                       If(Set("language_flag"), Language("language")),
                                       If(Set("language_flag_2"), Language("language_2")),
                                       Bytes("additional_info_byte")))))),

    Descriptor(0x86, "caption_service_descriptor", "A/65 6.9.2", Ones(3), Count(5, "services"),
               LoopBy("services", Language("language"), Flag("digital_cc"), Ones(1),
                      If(Set("digital_cc"), U(6, "caption_service_number")),
                      If(Clear("digital_cc"), Ones(5), U(1, "line21_field")), Flag("easy_reader"),
                      Flag("wide_aspect_ratio"), Ones(14))),

    Descriptor(
        0x87, "content_advisory_descriptor", "A/65 6.9.3", Ones(2), Count(6, "regions"),
        LoopBy("regions", U8("rating_region"),
               LoopN(8, "dimensions", U8("rating_dimension_j"), Ones(4), U(4, "rating_value")),
               BytesL(8, "rating_description_text"))),

    Descriptor(0xA0, "extended_channel_name_descriptor", "A/65 6.9.4",
               Bytes("long_channel_name_text")),

    Descriptor(0xA1, "service_location_descriptor", "A/65 6.9.5", Ones(3), U(13, "PCR_PID"),
               LoopN(8, "elements", U8("stream_type", kStreamTypes), Ones(3),
                     U(13, "elementary_PID"), Language("ISO_639_language_code"))),

    Descriptor(0xA2, "time_shifted_service_descriptor", "A/65 6.9.6", Ones(3), Count(5, "services"),
               LoopBy("services", Ones(6), U(10, "time_shift"), Ones(4),
                      U(10, "major_channel_number"), U(10, "minor_channel_number"))),

    Descriptor(0xA3, "component_name_descriptor", "A/65 6.9.7", Bytes("component_name_string")),

    Descriptor(0xAA, "redistribution_control_descriptor", "A/65 6.9.12", Bytes("rc_information")),

    Descriptor(0xAB, "genre_descriptor", "A/65 6.9.13", Ones(3), Count(5, "attributes"),
               LoopBy("attributes", U8("attribute"))),

    Descriptor(0xAD, "ATSC_private_information_descriptor", "A/65 6.9.14",
               Latin(32, "format_identifier"), Bytes("private_data_byte")),

    Descriptor(
        0xCC, "E-AC-3_audio_stream_descriptor", "A/52 G.3.4", Ones(1), Flag("bsid_flag"),
        Guard("mainid_flag"), Guard("asvc_flag"), Flag("mixinfoexists"), Guard("substream1_flag"),
        Guard("substream2_flag"), Guard("substream3_flag"), Ones(1), Flag("full_service_flag"),
        U(3, "audio_service_type", kServices), U(3, "number_of_channels", kEac3Channels),
        Optional(Guard("language_flag"), Guard("language_flag_2"), Ones(1), U(5, "bsid"),
                 If(Set("mainid_flag"), Ones(3), U(2, "priority"), U(3, "mainid")),
                 If(Set("asvc_flag"), U8("asvc")), If(Set("substream1_flag"), U8("substream1")),
                 If(Set("substream2_flag"), U8("substream2")),
                 If(Set("substream3_flag"), U8("substream3")),
                 If(Set("language_flag"), Language("language")),
                 If(Set("language_flag_2"), Language("language_2")),
                 If(Set("substream1_flag"), Language("substream1_lang")),
                 If(Set("substream2_flag"), Language("substream2_lang")),
                 If(Set("substream3_flag"), Language("substream3_lang")),
                 Bytes("additional_info_byte"))));

}  // namespace

GroupView AtscDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

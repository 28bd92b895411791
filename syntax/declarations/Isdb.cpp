// The common descriptors of ISDB (ARIB STD-B10 part 2), which count under that standard only. Their
// texts are coded as ARIB STD-B24 says and stay hexadecimal.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Scope kIsdb{Space::kMain, 0, 0, kIsdbOnly};

constexpr Value kRecordingControls[] = {{0, "copy without restriction"},
                                        {1, "defined by the provider"},
                                        {2, "copy one generation"},
                                        {3, "copy forbidden"}};
constexpr Value kAudioTypes[] = {{0x01, "1/0"},
                                 {0x02, "1/0 + 1/0, dual mono"},
                                 {0x03, "2/0"},
                                 {0x04, "2/1"},
                                 {0x05, "3/0"},
                                 {0x06, "2/2"},
                                 {0x07, "3/1"},
                                 {0x08, "3/2"},
                                 {0x09, "3/2 + LFE"},
                                 {0x40, "for the visually impaired"},
                                 {0x41, "for the hard of hearing"}};
constexpr Value kSamplingRates[] = {{1, "16 kHz"}, {2, "22.05 kHz"}, {3, "24 kHz"},
                                    {5, "32 kHz"}, {6, "44.1 kHz"},  {7, "48 kHz"}};
constexpr Value kVideoFormats[] = {{0, "1080p"}, {1, "1080i"}, {2, "720p"}, {3, "480p"},
                                   {4, "480i"},  {5, "240p"},  {6, "120p"}};
constexpr Value kLogoTypes[] = {
    {1, "CDT with download_data_id"}, {2, "CDT with logo_id only"}, {3, "simple logo"}};
constexpr Value kGroupTypes[] = {{1, "event common"},
                                 {2, "event relay"},
                                 {3, "event movement"},
                                 {4, "event relay to another network"},
                                 {5, "event movement from another network"}};
constexpr Value kGuards[] = {{0, "1/32"}, {1, "1/16"}, {2, "1/8"}, {3, "1/4"}};
constexpr Value kModes[] = {{0, "mode 1 (2K)"}, {1, "mode 2 (4K)"}, {2, "mode 3 (8K)"}};
constexpr Value kComponents[] = {
    {0x0007, "ARIB XML multimedia"},   {0x0008, "ARIB caption and superimpose"},
    {0x0009, "data download"},         {0x000A, "G-Guide"},
    {0x000B, "BML for 110 CS"},        {0x000C, "multimedia, terrestrial, A profile"},
    {0x000D, "multimedia, C profile"}, {0x000E, "multimedia, P profile"},
    {0x000F, "multimedia, E profile"}, {0x0012, "caption, C profile"}};
constexpr Value kBroadcasting[] = {{0, "broadcasting"}, {1, 2, "not broadcasting"}};
constexpr Value kBroadcasters[] = {{1, "satellite 27 MHz, 12.2 to 12.75 GHz"},
                                   {2, "satellite 34.5 MHz, 11.7 to 12.2 GHz"},
                                   {3, "terrestrial television"},
                                   {4, "satellite 34.5 MHz, 12.2 to 12.75 GHz"},
                                   {5, "terrestrial sound"},
                                   {6, "2.6 GHz band"},
                                   {7, "advanced narrow-band satellite"}};
constexpr Value kExtendedBroadcasters[] = {{1, "terrestrial television"}, {2, "terrestrial sound"}};
constexpr Value kPatterns[] = {{0, "irregular"},       {1, "regular"},
                               {2, "about weekly"},    {3, "about monthly"},
                               {4, "several a day"},   {5, "a long programme, divided"},
                               {6, "for accumulation"}};

constexpr auto kDescriptors = Declare(
    kIsdb,

    Descriptor(0xC0, "hierarchical_transmission_descriptor", "ARIB STD-B10-2 6.2.22", Ones(7),
               U(1, "quality_level"), Ones(3), U(13, "reference_PID")),

    Descriptor(0xC1, "digital_copy_control_descriptor", "ARIB STD-B10-2 6.2.23",
               U(2, "digital_recording_control_data", kRecordingControls),
               Guard("maximum_bit_rate_flag"), Guard("component_control_flag"),
               U(4, "user_defined"), If(Set("maximum_bit_rate_flag"), U8("maximum_bit_rate")),
               If(Set("component_control_flag"),
                  LoopL(8, "components", U8("component_tag"),
                        U(2, "digital_recording_control_data", kRecordingControls),
                        Guard("maximum_bit_rate_flag"), Ones(1), U(4, "user_defined"),
                        If(Set("maximum_bit_rate_flag"), U8("maximum_bit_rate"))))),

    Descriptor(0xC4, "audio_component_descriptor", "ARIB STD-B10-2 6.2.26", Ones(4),
               U(4, "stream_content"), U8("component_type", kAudioTypes), U8("component_tag"),
               U8("stream_type", kStreamTypes), U8("simulcast_group_tag"),
               Guard("ES_multi_lingual_flag"), Flag("main_component_flag"),
               U(2, "quality_indicator"), U(3, "sampling_rate", kSamplingRates), Ones(1),
               Language("ISO_639_language_code"),
               If(Set("ES_multi_lingual_flag"), Language("ISO_639_language_code_2")), Text("text")),

    Descriptor(0xC7, "data_content_descriptor", "ARIB STD-B10-2 6.2.28",
               U16("data_component_id", kComponents), U8("entry_component"),
               BytesL(8, "selector_byte"), LoopN(8, "component_refs", U8("component_ref")),
               Language("ISO_639_language_code"), TextL(8, "text")),

    Descriptor(0xC8, "video_decode_control_descriptor", "ARIB STD-B10-2 6.2.30",
               Flag("still_picture_flag"), Flag("sequence_end_code_flag"),
               U(4, "video_encode_format", kVideoFormats), Ones(2)),

    Descriptor(0xCB, "CA_contract_info_descriptor", "ARIB STD-B25", U16("CA_system_id"),
               U(4, "CA_unit_id"), Count(4, "components"),
               LoopBy("components", U8("component_tag")), BytesL(8, "contract_verification_info"),
               TextL(8, "fee_name")),

    Descriptor(0xCD, "TS_information_descriptor", "ARIB STD-B10-2 6.2.42",
               U8("remote_control_key_id"), Length(6, "ts_name"), Count(2, "transmission_types"),
               TextBy("ts_name"),
               LoopBy("transmission_types", U8("transmission_type_info"),
                      LoopN(8, "services", U16("service_id"))),
               Bytes("reserved_future_use")),

    Descriptor(0xCE, "extended_broadcaster_descriptor", "ARIB STD-B10-2 6.2.43",
               U(4, "broadcaster_type", kExtendedBroadcasters), Ones(4),
               If(Is("broadcaster_type", 1), U16("terrestrial_broadcaster_id")),
               If(Is("broadcaster_type", 2), U16("terrestrial_sound_broadcaster_id")),
               If(In("broadcaster_type", 1, 2), Count(4, "affiliations"), Count(4, "broadcasters"),
                  LoopBy("affiliations", U8("affiliation_id")),
                  LoopBy("broadcasters", U16("original_network_id"), U8("broadcaster_id"))),
               Bytes("private_data_byte")),

    Descriptor(0xCF, "logo_transmission_descriptor", "ARIB STD-B10-2 6.2.44",
               U8("logo_transmission_type", kLogoTypes),
               If(In("logo_transmission_type", 1, 2), Ones(7), U(9, "logo_id")),
               If(Is("logo_transmission_type", 1), Ones(4), U(12, "logo_version"),
                  U16("download_data_id")),
               If(Is("logo_transmission_type", 3), Text("logo_char")),
               Bytes("reserved_future_use")),

    Descriptor(0xD5, "series_descriptor", "ARIB STD-B10-2 6.2.33", U16("series_id"),
               U(4, "repeat_label"), U(3, "program_pattern", kPatterns),
               Flag("expire_date_valid_flag"), Date("expire_date"), U(12, "episode_number"),
               U(12, "last_episode_number"), Text("series_name")),

    Descriptor(0xD6, "event_group_descriptor", "ARIB STD-B10-2 6.2.34",
               U(4, "group_type", kGroupTypes), Count(4, "events"),
               LoopBy("events", U16("service_id"), U16("event_id")),
               If(In("group_type", 4, 5),
                  Loop("other_network_events", U16("original_network_id"),
                       U16("transport_stream_id"), U16("service_id"), U16("event_id"))),
               Bytes("private_data_byte")),

    Descriptor(0xD9, "component_group_descriptor", "ARIB STD-B10-2 6.2.37",
               U(3, "component_group_type"), Guard("total_bit_rate_flag"), Count(4, "groups"),
               LoopBy("groups", U(4, "component_group_id"), Count(4, "CA_units"),
                      LoopBy("CA_units", U(4, "CA_unit_id"), Count(4, "components"),
                             LoopBy("components", U8("component_tag"))),
                      If(Set("total_bit_rate_flag"), U8("total_bit_rate")), TextL(8, "text"))),

    Descriptor(0xDE, "content_availability_descriptor", "ARIB STD-B10-2 6.2.45", Ones(1),
               Flag("copy_restriction_mode"), Flag("image_constraint_token"),
               Flag("retention_mode"), U(3, "retention_state"), Flag("encryption_mode"),
               Bytes("reserved_future_use")),

    Descriptor(0xF6, "access_control_descriptor", "ARIB STD-B25", U16("CA_system_id"),
               U(3, "transmission_type"), U(13, "PID"), Bytes("private_data_byte")),

    Descriptor(0xFA, "terrestrial_delivery_system_descriptor", "ARIB STD-B10-2 6.2.31",
               U(12, "area_code"), U(2, "guard_interval", kGuards),
               U(2, "transmission_mode", kModes), Loop("frequencies", U16("frequency"))),

    Descriptor(0xFB, "partial_reception_descriptor", "ARIB STD-B10-2 6.2.32",
               Loop("services", U16("service_id"))),

    Descriptor(0xFC, "emergency_information_descriptor", "ARIB STD-B10-2 6.2.24",
               Loop("services", U16("service_id"), Flag("start_end_flag"), U(1, "signal_level"),
                    Ones(6), LoopL(8, "areas", U(12, "area_code"), Ones(4)))),

    Descriptor(0xFD, "data_component_descriptor", "ARIB STD-B10-2 6.2.20",
               U16("data_component_id", kComponents), Bytes("additional_data_component_info")),

    Descriptor(
        0xFE, "system_management_descriptor", "ARIB STD-B10-2 6.2.21",
        U(2, "broadcasting_flag", kBroadcasting), U(6, "broadcasting_identifier", kBroadcasters),
        U8("additional_broadcasting_identification"), Bytes("additional_identification_info")));

}  // namespace

GroupView IsdbDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

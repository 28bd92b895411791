// Descriptors of tag 0x7F, by descriptor_tag_extension: EN 300 468 6.4 and its annexes.

#include "syntax/declarations/ContentValues.h"
#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Value kIconTransports[] = {{0, "icon_data"}, {1, "URL"}};
constexpr Value kIconCoordinates[] = {
    {0, "720x576"}, {1, "1280x720"}, {2, "1920x1080"}, {7, "user private"}};
constexpr Value kCopyControls[] = {{0, "copying not asserted"},
                                   {1, "copy once"},
                                   {2, "copy no more"},
                                   {3, "copy never, zero retention not asserted"},
                                   {4, "copy never, zero retention asserted"}};
constexpr Value kMoveAndCopy[] = {{0, "MLAD"}, {1, "MGAD"}, {2, "MAD"}, {3, "MCPCM"}};
constexpr Value kViewPropagation[] = {{0, "VLAD"}, {1, "VGAD"}, {2, "VAD"}, {3, "VCPCM"}};
constexpr Value kCpSystems[] = {{0x0000, "DVB CPCM content licence"},
                                {0x0001, "DVB CPCM auxiliary data"},
                                {0x0002, "DVB CPCM revocation list"},
                                {0x0100, "DTCP renewability messages"},
                                {0x0101, "HDCP renewability messages"}};

constexpr Value kAntennas[] = {{0, "SISO"}, {1, "MISO"}};
constexpr Value kT2Bandwidths[] = {{0, "8 MHz"}, {1, "7 MHz"},  {2, "6 MHz"},
                                   {3, "5 MHz"}, {4, "10 MHz"}, {5, "1.712 MHz"}};
constexpr Value kT2Guards[] = {{0, "1/32"},  {1, "1/16"},   {2, "1/8"},   {3, "1/4"},
                               {4, "1/128"}, {5, "19/128"}, {6, "19/256"}};
constexpr Value kT2Modes[] = {{0, "2k"}, {1, "8k"}, {2, "4k"}, {3, "1k"}, {4, "16k"}, {5, "32k"}};

constexpr Value kShModulations[] = {{0, "TDM"}, {1, "OFDM"}};
constexpr Value kPolarizations[] = {
    {0, "linear horizontal"}, {1, "linear vertical"}, {2, "circular left"}, {3, "circular right"}};
constexpr Value kShRollOffs[] = {{0, "0.35"}, {1, "0.25"}, {2, "0.15"}};
constexpr Value kShModes[] = {{0, "QPSK"}, {1, "8PSK"}, {2, "16APSK"}};
constexpr Value kShRates[] = {{0, "1/5"},  {1, "2/9"},
                              {2, "1/4"},  {3, "2/7"},
                              {4, "1/3"},  {5, "1/3 complementary"},
                              {6, "2/5"},  {7, "2/5 complementary"},
                              {8, "1/2"},  {9, "1/2 complementary"},
                              {10, "2/3"}, {11, "2/3 complementary"}};
constexpr Value kShBandwidths[] = {
    {0, "8 MHz"}, {1, "7 MHz"}, {2, "6 MHz"}, {3, "5 MHz"}, {4, "1.7 MHz"}};
constexpr Value kGuards[] = {{0, "1/32"}, {1, "1/16"}, {2, "1/8"}, {3, "1/4"}};
constexpr Value kShTransmissions[] = {{0, "1k"}, {1, "2k"}, {2, "4k"}, {3, "8k"}};

constexpr Value kMixTypes[] = {{0, "supplementary stream"}, {1, "complete and independent stream"}};
constexpr Value kEditorials[] = {{0x00, "main audio"},
                                 {0x01, "audio description for the visually impaired"},
                                 {0x02, "clean audio for the hearing impaired"},
                                 {0x03, "spoken subtitles for the visually impaired"},
                                 {0x04, "dependent parametric data stream"},
                                 {0x17, "unspecific supplementary audio for the general audience"},
                                 {0x18, 0x1F, "user defined"}};
constexpr Value kChangeTypes[] = {{0, "message only"},
                                  {1, "minor, default"},
                                  {2, "minor, multiplex removed"},
                                  {3, "minor, service changed"},
                                  {8, "major, default"},
                                  {9, "major, multiplex frequency changed"},
                                  {10, "major, multiplex coverage changed"},
                                  {11, "major, multiplex added"}};
constexpr Value kReceiverCategories[] = {{0, "all receivers"}, {1, "DVB-T2 or DVB-C2 receivers"}};

constexpr Value kC2FrequencyTypes[] = {
    {0, "data slice tuning frequency"},
    {1, "C2 system centre frequency"},
    {2, "initial tuning position for a dependent static data slice"}};
constexpr Value kC2Durations[] = {{0, "448 us"}, {1, "597.33 us"}};
constexpr Value kC2Guards[] = {{0, "1/128"}, {1, "1/64"}};

constexpr Value kDtsSamplings[] = {
    {0, "8 kHz"},     {1, "16 kHz"},    {2, "32 kHz"},   {3, "64 kHz"},
    {4, "128 kHz"},   {5, "22.05 kHz"}, {6, "44.1 kHz"}, {7, "88.2 kHz"},
    {8, "176.4 kHz"}, {9, "352.8 kHz"}, {10, "12 kHz"},  {11, "24 kHz"},
    {12, "48 kHz"},   {13, "96 kHz"},   {14, "192 kHz"}, {15, "384 kHz"}};
constexpr Value kDepthRanges[] = {{0, "production disparity hint"},
                                  {1, "multi-region disparity SEI present"}};
constexpr Value kUriTypes[] = {{0x00, "online SDT for CI Plus"},
                               {0x01, "DVB-IPTV service discovery"},
                               {0x02, "material resolution server"},
                               {0x03, "DVB-I"},
                               {0x80, 0xFF, "user defined"}};
constexpr Value kEndPoints[] = {{0, "not used"},
                                {1, "service list"},
                                {2, "service list registry query"},
                                {3, "service list with names"}};
constexpr Value kAc4Modes[] = {{0, "mono"}, {1, "stereo"}, {2, "multichannel"}};
constexpr Value kOrbit[] = {{0, "west"}, {1, "east"}};
constexpr Value kS2xModes[] = {
    {1, "S2X"}, {2, "S2X with time slicing"}, {3, "S2X with channel bonding"}};
constexpr Value kS2xTsGs[] = {{0, "generic packetized"},
                              {1, "GSE"},
                              {2, "GSE high efficiency mode"},
                              {3, "transport stream"}};
constexpr Value kS2xRollOffs[] = {{0, "0.35"}, {1, "0.25"}, {2, "0.20"},
                                  {4, "0.15"}, {5, "0.10"}, {6, "0.05"}};
constexpr Value kRenderings[] = {{0, "no preference"},
                                 {1, "stereo"},
                                 {2, "two-dimensional"},
                                 {3, "three-dimensional"},
                                 {4, "pre-rendered for headphones"}};
constexpr Value kTtmlPurposes[] = {{0x00, "same language dialogue"},
                                   {0x01, "other language dialogue"},
                                   {0x02, "all dialogue"},
                                   {0x10, "hard of hearing"},
                                   {0x11, "other language dialogue with hard of hearing"},
                                   {0x12, "all dialogue with hard of hearing"},
                                   {0x30, "audio description"},
                                   {0x31, "content related commentary"}};
constexpr Value kTtsSuitability[] = {{0, "unknown"}, {1, "suitable"}, {2, "not suitable"}};
constexpr Value kUhdFrames[] = {{0, "512"}, {1, "1024"}, {2, "2048"}, {3, "4096"}};
constexpr Value kS2xv2Modes[] = {{1, "S2X"},
                                 {2, "S2X with time slicing"},
                                 {4, "superframes"},
                                 {5, "superframes with time slicing"}};
constexpr Value kBonds[] = {{0, "not bonded"}, {1, "master"}, {2, "secondary"}};
constexpr Value kNcrVersions[] = {{0, "NCR"}, {1, "NCR_v2"}};

// The depth says how many of the codes there are.
constexpr auto RegionCodes(std::string_view depth) {
    return Sequence(If(In(depth, 1, 3), U8("primary_region_code")),
                    If(In(depth, 2, 3), U8("secondary_region_code")),
                    If(Is(depth, 3), U16("tertiary_region_code")));
}

constexpr auto C2Tuning() {
    return Sequence(U8("plp_id"), U8("data_slice_id"), U32("C2_System_tuning_frequency_hz"),
                    U(2, "C2_System_tuning_frequency_type", kC2FrequencyTypes),
                    U(3, "active_OFDM_symbol_duration", kC2Durations),
                    U(3, "guard_interval", kC2Guards));
}

constexpr auto DtsSubstream() {
    return ObjectL(8, "substream", Count(3, "assets", 1), U(5, "channel_count"), Flag("LFE_flag"),
                   U(4, "sampling_frequency", kDtsSamplings), Flag("sample_resolution"), Ones(2),
                   LoopBy("assets", U(5, "asset_construction"), Flag("vbr_flag"),
                          Flag("post_encode_br_scaling_flag"), Guard("component_type_flag"),
                          Guard("language_code_flag"), U(13, "bit_rate"), Ones(2),
                          If(Set("component_type_flag"), U8("component_type")),
                          If(Set("language_code_flag"), Language("ISO_639_language_code"))));
}
constexpr auto DtsSubstream(std::string_view name) {
    auto result = DtsSubstream();
    result.ops[0].name = name;
    return result;
}

constexpr auto S2xChannel() {
    return Sequence(BcdUnits("frequency_hz", 32, 10'000), BcdFraction("orbital_position", 16, 10),
                    U(1, "west_east_flag", kOrbit), U(2, "polarization", kPolarizations),
                    Guard("multiple_input_stream_flag"), Zeros(1), U(3, "roll_off", kS2xRollOffs),
                    Zeros(4), BcdUnits("symbol_rate_sym_s", 28, 100),
                    If(Set("multiple_input_stream_flag"), U8("input_stream_identifier")));
}

constexpr auto kDescriptors = Declare(
    In(Space::kDvbExtension),

    Descriptor(0x00, "image_icon_descriptor", "EN 300 468 6.4.7", U(4, "descriptor_number"),
               U(4, "last_descriptor_number"), Ones(5), U(3, "icon_id"),
               If(Is("descriptor_number", 0), U(2, "icon_transport_mode", kIconTransports),
                  Guard("position_flag"),
                  If(Set("position_flag"), U(3, "coordinate_system", kIconCoordinates), Ones(2),
                     U(12, "icon_horizontal_origin"), U(12, "icon_vertical_origin")),
                  If(Clear("position_flag"), Ones(5)), Utf8L(8, "icon_type"),
                  If(Is("icon_transport_mode", 0), BytesL(8, "icon_data_byte")),
                  If(Is("icon_transport_mode", 1), Utf8L(8, "url"))),
               If(Not(Is("descriptor_number", 0)), BytesL(8, "icon_data_byte"))),

    Descriptor(
        0x01, "cpcm_delivery_signalling_descriptor", "TS 102 825-9 4.1.5", U8("cpcm_version"),
        If(Is("cpcm_version", 1), U(3, "copy_control", kCopyControls), Flag("do_not_cpcm_scramble"),
           Flag("viewable"), Guard("view_window_activated"), Guard("view_period_activated"),
           Guard("simultaneous_view_count_activated"), Flag("move_local"), Flag("view_local"),
           U(2, "move_and_copy_propagation_information", kMoveAndCopy),
           U(2, "view_propagation_information", kViewPropagation),
           Guard("remote_access_delay_flag"), Guard("remote_access_date_flag"),
           Flag("remote_access_record_flag"), Guard("export_controlled_cps"),
           Flag("export_beyond_trust"), Flag("disable_analogue_sd_export"),
           Flag("disable_analogue_sd_consumption"), Flag("disable_analogue_hd_export"),
           Flag("disable_analogue_hd_consumption"), Flag("image_constraint"),
           If(Set("view_window_activated"), Time("view_window_start"), Time("view_window_end")),
           If(Set("view_period_activated"), U16("view_period_from_first_playback")),
           If(Set("simultaneous_view_count_activated"), U8("simultaneous_view_count")),
           If(Set("remote_access_delay_flag"), U16("remote_access_delay")),
           If(Set("remote_access_date_flag"), Time("remote_access_date")),
           If(Set("export_controlled_cps"),
              LoopN(8, "cps", U8("C_and_R_regime_mask"), BytesL(16, "cps_byte")))),
        Bytes("selector_byte")),

    Descriptor(0x02, "CP_descriptor", "EN 300 468 6.4.2", U16("CP_system_id", kCpSystems), Ones(3),
               U(13, "CP_PID"), Bytes("private_data_byte")),

    Descriptor(0x03, "CP_identifier_descriptor", "EN 300 468 6.4.3",
               Loop("CP_systems", U16("CP_system_id", kCpSystems))),

    Descriptor(0x04, "T2_delivery_system_descriptor", "EN 300 468 6.4.6.3", U8("plp_id"),
               U16("T2_system_id"),
               Optional(U(2, "SISO/MISO", kAntennas), U(4, "bandwidth", kT2Bandwidths), Ones(2),
                        U(3, "guard_interval", kT2Guards), U(3, "transmission_mode", kT2Modes),
                        Flag("other_frequency_flag"), Flag("tfs_flag"),
                        Loop("cells", U16("cell_id"),
                             If(Set("tfs_flag"), LoopL(8, "centre_frequencies",
                                                       Units(32, "centre_frequency_hz", 10))),
                             If(Clear("tfs_flag"), Units(32, "centre_frequency_hz", 10)),
                             LoopL(8, "subcells", U8("cell_id_extension"),
                                   Units(32, "transposer_frequency_hz", 10))))),

    Descriptor(0x05, "SH_delivery_system_descriptor", "EN 300 468 6.4.6.2", U(4, "diversity_mode"),
               Ones(4),
               Loop("modulations", U(1, "modulation_type", kShModulations),
                    Flag("interleaver_presence"), Flag("interleaver_type"), Ones(5),
                    If(Is("modulation_type", 0), U(2, "polarization", kPolarizations),
                       U(2, "roll_off", kShRollOffs), U(2, "modulation_mode", kShModes),
                       U(4, "code_rate", kShRates), U(5, "symbol_rate"), Ones(1)),
                    If(Is("modulation_type", 1), U(3, "bandwidth", kShBandwidths), U(1, "priority"),
                       U(3, "constellation_and_hierarchy"), U(4, "code_rate", kShRates),
                       U(2, "guard_interval", kGuards), U(2, "transmission_mode", kShTransmissions),
                       Flag("common_frequency")),
                    If(Set("interleaver_presence"), U(6, "common_multiplier"),
                       If(Clear("interleaver_type"), U(6, "nof_late_taps"), U(6, "nof_slices"),
                          U8("slice_distance"), U(6, "non_late_increments")),
                       If(Set("interleaver_type"), Ones(2))))),

    Descriptor(0x06, "supplementary_audio_descriptor", "EN 300 468 6.4.11",
               U(1, "mix_type", kMixTypes), U(5, "editorial_classification", kEditorials), Ones(1),
               Guard("language_code_present"),
               If(Set("language_code_present"), Language("ISO_639_language_code")),
               Bytes("private_data_byte")),

    Descriptor(
        0x07, "network_change_notify_descriptor", "EN 300 468 6.4.9",
        Loop("cells", U16("cell_id"),
             LoopL(8, "changes", U8("network_change_id"), U8("network_change_version"),
                   Time("start_time_of_change"), Duration("change_duration"),
                   U(3, "receiver_category", kReceiverCategories), Guard("invariant_ts_present"),
                   U(4, "change_type", kChangeTypes), U8("message_id"),
                   If(Set("invariant_ts_present"), U16("invariant_ts_tsid"),
                      U16("invariant_ts_onid"))))),

    Descriptor(0x08, "message_descriptor", "EN 300 468 6.4.7", U8("message_id"),
               Language("ISO_639_language_code"), Text("text")),

    Descriptor(
        0x09, "target_region_descriptor", "EN 300 468 6.4.12", Country("country_code"),
        Loop("regions", Ones(5), Guard("country_code_flag"), U(2, "region_depth"),
             If(Set("country_code_flag"), Country("country_code")), RegionCodes("region_depth"))),

    Descriptor(
        0x0A, "target_region_name_descriptor", "EN 300 468 6.4.13", Country("country_code"),
        Language("ISO_639_language_code"),
        Loop("regions", U(2, "region_depth"), TextL(6, "region_name"), U8("primary_region_code"),
             If(In("region_depth", 2, 3), U8("secondary_region_code")),
             If(Is("region_depth", 3), U16("tertiary_region_code")))),

    Descriptor(0x0B, "service_relocated_descriptor", "EN 300 468 6.4.10",
               U16("old_original_network_id"), U16("old_transport_stream_id"),
               U16("old_service_id")),

    Descriptor(0x0C, "XAIT_PID_descriptor", "TS 102 727 10.17.3", U16("xait_PID")),

    Descriptor(0x0D, "C2_delivery_system_descriptor", "EN 300 468 6.4.6.1", C2Tuning()),

    Descriptor(0x0E, "DTS-HD_descriptor", "EN 300 468 G.3", Guard("substream_core_flag"),
               Guard("substream_0_flag"), Guard("substream_1_flag"), Guard("substream_2_flag"),
               Guard("substream_3_flag"), Ones(3),
               If(Set("substream_core_flag"), DtsSubstream("substream_core")),
               If(Set("substream_0_flag"), DtsSubstream("substream_0")),
               If(Set("substream_1_flag"), DtsSubstream("substream_1")),
               If(Set("substream_2_flag"), DtsSubstream("substream_2")),
               If(Set("substream_3_flag"), DtsSubstream("substream_3")),
               Bytes("additional_info_byte")),

    Descriptor(0x0F, "DTS_Neural_descriptor", "EN 300 468 annex L", U8("config_id"),
               Bytes("additional_info_byte")),

    Descriptor(0x10, "video_depth_range_descriptor", "EN 300 468 6.4.16",
               Loop("ranges", U8("range_type", kDepthRanges),
                    Window(8,
                           If(Is("range_type", 0), S(12, "video_max_disparity_hint"),
                              S(12, "video_min_disparity_hint")),
                           Bytes("range_selector_byte")))),

    Descriptor(0x11, "T2MI_descriptor", "EN 300 468 6.4.14", Zeros(5), U(3, "t2mi_stream_id"),
               Zeros(5), U(3, "num_t2mi_streams_minus_one"), Zeros(7),
               Flag("pcr_iscr_common_clock_flag"), Bytes("reserved_zero_future_use")),

    Descriptor(0x13, "URI_linkage_descriptor", "EN 300 468 6.4.15",
               U8("uri_linkage_type", kUriTypes), Utf8L(8, "uri_char"),
               If(In("uri_linkage_type", 0, 1), U16("min_polling_interval")),
               // TS 103 770
               If(Is("uri_linkage_type", 3),
                  Try(Optional(U8("end_point_type", kEndPoints), TextL(8, "service_list_name"),
                               TextL(8, "service_list_provider_name")))),
               Bytes("private_data_byte")),

    Descriptor(0x14, "CI_ancillary_data_descriptor", "TS 103 205", Bytes("ancillary_data_byte")),

    Descriptor(0x15, "AC-4_descriptor", "EN 300 468 D.7", Guard("ac4_config_flag"),
               Guard("ac4_toc_flag"), Zeros(6),
               If(Set("ac4_config_flag"), Flag("ac4_dialog_enhancement_enabled"),
                  U(2, "ac4_channel_mode", kAc4Modes), Zeros(5)),
               If(Set("ac4_toc_flag"), BytesL(8, "ac4_dsi_byte")), Bytes("additional_info_byte")),

    Descriptor(0x16, "C2_bundle_delivery_system_descriptor", "EN 300 468 6.4.6.4",
               Loop("bundles", C2Tuning(), Flag("master_channel"), Zeros(7))),

    Descriptor(
        0x17, "S2X_satellite_delivery_system_descriptor", "EN 300 468 6.4.6.5",
        U(5, "receiver_profiles"), Zeros(3), U(2, "S2X_mode", kS2xModes),
        Guard("scrambling_sequence_selector"), Zeros(3), U(2, "TS_GS_S2X_mode", kS2xTsGs),
        If(Set("scrambling_sequence_selector"), Zeros(6), U(18, "scrambling_sequence_index")),
        Object("master_channel", S2xChannel()), If(Is("S2X_mode", 2), U8("timeslice_number")),
        If(Is("S2X_mode", 3), Zeros(7), Count(1, "bonded_channels", 1),
           LoopBy("bonded_channels", S2xChannel())),
        Bytes("reserved_future_use")),

    Descriptor(0x18, "protection_message_descriptor", "TS 102 809 9.3.3", Ones(4),
               Count(4, "components"), LoopBy("components", U8("component_tag"))),

    Descriptor(0x19, "audio_preselection_descriptor", "EN 300 468 6.4.1", Count(5, "preselections"),
               Zeros(3),
               LoopBy("preselections", U(5, "preselection_id"),
                      U(3, "audio_rendering_indication", kRenderings), Flag("audio_description"),
                      Flag("spoken_subtitles"), Flag("dialogue_enhancement"),
                      Flag("interactivity_enabled"), Guard("language_code_present"),
                      Guard("text_label_present"), Guard("multi_stream_info_present"),
                      Guard("future_extension"),
                      If(Set("language_code_present"), Language("ISO_639_language_code")),
                      If(Set("text_label_present"), U8("message_id")),
                      If(Set("multi_stream_info_present"), Count(3, "aux_components"), Zeros(5),
                         LoopBy("aux_components", U8("component_tag"))),
                      If(Set("future_extension"), Zeros(3), Length(5, "future_extension_byte"),
                         BytesBy("future_extension_byte")))),

    Descriptor(0x20, "TTML_subtitling_descriptor", "EN 303 560 5.2.1",
               Language("ISO_639_language_code"), U(6, "subtitle_purpose", kTtmlPurposes),
               U(2, "TTS_suitability", kTtsSuitability), Guard("essential_font_usage_flag"),
               Guard("qualifier_present_flag"), Zeros(2), Count(4, "dvb_ttml_profiles"),
               LoopBy("dvb_ttml_profiles", U8("dvb_ttml_profile")),
               If(Set("qualifier_present_flag"), U32("qualifier")),
               If(Set("essential_font_usage_flag"),
                  LoopN(8, "essential_fonts", Zeros(1), U(7, "essential_font_id"))),
               TextL(8, "service_name"), Bytes("reserved_zero_future_use")),

    Descriptor(0x21, "DTS-UHD_descriptor", "EN 300 468 G.4", U(6, "DecoderProfileCode"),
               U(2, "FrameDurationCode", kUhdFrames), U(3, "MaxPayloadCode"), Zeros(2),
               U(3, "StreamIndex"), Bytes("codec_selector_byte")),

    Descriptor(
        0x22, "service_prominence_descriptor", "EN 300 468 6.4.18",
        LoopL(8, "SOGI_list", Flag("SOGI_flag"), Guard("target_region_flag"), Guard("service_flag"),
              Ones(1), U(12, "SOGI_priority"), If(Set("service_flag"), U16("service_id")),
              If(Set("target_region_flag"),
                 LoopL(8, "regions", Ones(5), Guard("country_code_flag"),
                       U(2, "target_region_depth"),
                       If(Set("country_code_flag"), Country("country_code")),
                       RegionCodes("target_region_depth")))),
        Bytes("private_data_byte")),

    Descriptor(0x23, "vvc_subpictures_descriptor", "EN 300 468 6.4.17",
               Flag("default_service_mode"), Guard("service_description_present"),
               Count(6, "vvc_subpictures"),
               LoopBy("vvc_subpictures", U8("component_tag"), U8("vvc_subpicture_id")), Zeros(5),
               U(3, "processing_mode"),
               If(Set("service_description_present"), TextL(8, "service_description"))),

    Descriptor(
        0x24, "S2Xv2_satellite_delivery_system_descriptor", "EN 300 468 6.4.6.5.3",
        U32("delivery_system_id"), U(4, "S2Xv2_mode", kS2xv2Modes),
        Guard("multiple_input_stream_flag"), U(3, "roll_off", kS2xRollOffs), Zeros(2),
        Flag("NCR_reference"), U(1, "NCR_version", kNcrVersions), U(2, "channel_bond", kBonds),
        U(2, "polarization", kPolarizations), Flag("scrambling_sequence_selector"),
        U(2, "TS_GS_S2X_mode", kS2xTsGs), U(5, "receiver_profiles"), U24("satellite_id"),
        BcdUnits("frequency_hz", 32, 10'000), BcdUnits("symbol_rate_sym_s", 32, 100),
        If(Set("multiple_input_stream_flag"), U8("input_stream_identifier")),
        If(In("S2Xv2_mode", 1, 2),
           If(Set("scrambling_sequence_selector"), Zeros(6), U(18, "scrambling_sequence_index"))),
        If(Among("S2Xv2_mode", {2, 5}), U8("timeslice_number")),
        If(Is("channel_bond", 1), Zeros(7), Count(1, "channel_bonds", 1),
           LoopBy("channel_bonds", U32("secondary_delivery_system_id"))),
        If(In("S2Xv2_mode", 4, 5), U8("SOSF_WH_sequence_number"), Flag("SFFI_selector"),
           Guard("beamhopping_time_plan_selector"), Zeros(2), U(20, "reference_scrambling_index"),
           U(4, "SFFI"), U(20, "payload_scrambling_index"),
           If(Set("beamhopping_time_plan_selector"), U32("beamhopping_time_plan_id")),
           U(5, "superframe_pilots_WH_sequence_number"), U(3, "postamble_PLI")),
        Bytes("reserved_future_use")));

}  // namespace

GroupView DvbExtensionDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

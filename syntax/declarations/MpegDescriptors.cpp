// Descriptors 0x02 to 0x3F: ISO/IEC 13818-1 and ISO/IEC 13818-6, and those of extension_descriptor.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Value kFrameRates[] = {{1, "23.976"}, {2, "24"}, {3, "25"},    {4, "29.97"},
                                 {5, "30"},     {6, "50"}, {7, "59.94"}, {8, "60"}};
constexpr Value kChromaFormats[] = {{1, "4:2:0"}, {2, "4:2:2"}, {3, "4:4:4"}};
constexpr Value kAudioIds[] = {{0, "ISO/IEC 13818-3, low rates"}, {1, "ISO/IEC 11172-3"}};
constexpr Value kLayers[] = {{1, "layer III"}, {2, "layer II"}, {3, "layer I"}};
constexpr Value kHierarchyTypes[] = {{1, "spatial scalability"},
                                     {2, "SNR scalability"},
                                     {3, "temporal scalability"},
                                     {4, "data partitioning"},
                                     {5, "extension bitstream"},
                                     {6, "private stream"},
                                     {7, "multi-view profile"},
                                     {8, "combined scalability or MV-HEVC sub-partition"},
                                     {9, "MVC or MVCD video sub-bitstream"},
                                     {10, "auxiliary picture layer"},
                                     {15, "base layer"}};
constexpr Value kAspectRatios[] = {{1, "1:1"}, {2, "4:3"}, {3, "16:9"}, {4, "2.21:1"}};

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

constexpr Value kAssociationUses[] = {{0x0000, "DSI of an object carousel"},
                                      {0x0100, 0x1FFF, "DVB reserved"},
                                      {0x2000, 0xFFFF, "user private"}};
constexpr Value kStreamModes[] = {{0, "open"},
                                  {1, "pause"},
                                  {2, "transport"},
                                  {3, "transport pause"},
                                  {4, "search transport"},
                                  {5, "search transport pause"},
                                  {6, "pause search transport"},
                                  {7, "end of stream"},
                                  {8, "pre search transport"},
                                  {9, "pre search transport pause"}};
constexpr Value kIodScopes[] = {{0x10, "within the program"},
                                {0x11, "within the transport stream"}};
constexpr Value kMetadataCarriage[] = {{0, "same transport stream"},
                                       {1, "other transport stream"},
                                       {2, "program stream"},
                                       {3, "none of these"}};
constexpr Value kAvcProfiles[] = {{44, "CAVLC 4:4:4 Intra"},
                                  {66, "Baseline"},
                                  {77, "Main"},
                                  {83, "Scalable Baseline"},
                                  {86, "Scalable High"},
                                  {88, "Extended"},
                                  {100, "High"},
                                  {110, "High 10"},
                                  {118, "Multiview High"},
                                  {122, "High 4:2:2"},
                                  {128, "Stereo High"},
                                  {244, "High 4:4:4 Predictive"}};
constexpr Value kAvcLevels[] = {{9, "1b"},   {10, "1"},   {11, "1.1"}, {12, "1.2"}, {13, "1.3"},
                                {20, "2"},   {21, "2.1"}, {22, "2.2"}, {30, "3"},   {31, "3.1"},
                                {32, "3.2"}, {40, "4"},   {41, "4.1"}, {42, "4.2"}, {50, "5"},
                                {51, "5.1"}, {52, "5.2"}, {60, "6"},   {61, "6.1"}, {62, "6.2"}};
constexpr Value kHevcProfiles[] = {
    {1, "Main"}, {2, "Main 10"}, {3, "Main Still Picture"}, {4, "range extensions"}};
constexpr Value kHevcLevels[] = {{30, "1"},  {60, "2"},    {63, "2.1"}, {90, "3"},    {93, "3.1"},
                                 {120, "4"}, {123, "4.1"}, {150, "5"},  {153, "5.1"}, {156, "5.2"},
                                 {180, "6"}, {183, "6.1"}, {186, "6.2"}};
constexpr Value kFrameRateDenominators[] = {{1, "1"}, {2, "1.001"}};
constexpr Value kHdr[] = {{0, "SDR"}, {1, "WCG only"}, {2, "HDR and WCG"}, {3, "no indication"}};
constexpr Value kAacProfiles[] = {{0, "Main"}, {1, "LC"}, {2, "SSR"}};
constexpr Value kAacInformation[] = {{0, "none"}, {1, "bandwidth extension data"}};
constexpr Value kStereoServices[] = {
    {0, "unspecified"}, {1, "2D only"}, {2, "frame-compatible 3D"}, {3, "service-compatible 3D"}};

// The first of two metadata formats: 0xFFFF says that an identifier follows.
constexpr auto MetadataApplicationFormat() {
    return Sequence(U16("metadata_application_format"),
                    If(Is("metadata_application_format", 0xFFFF),
                       U32("metadata_application_format_identifier")));
}
constexpr auto MetadataFormat() {
    return Sequence(U8("metadata_format"),
                    If(Is("metadata_format", 0xFF), U32("metadata_format_identifier")));
}

constexpr auto TimingAndHrd() {
    return Sequence(Flag("90kHz_flag"), Ones(7), If(Clear("90kHz_flag"), U32("N"), U32("K")),
                    U32("num_units_in_tick"));
}

// What J2K and JPEG XS streams say of their colours, and of the display that they were made on:
// chromaticities and luminances as they are coded.
constexpr auto Colours() {
    return Sequence(U8("colour_primaries"), U8("transfer_characteristics"),
                    U8("matrix_coefficients"), Flag("video_full_range_flag"), Ones(7));
}
constexpr auto MasteringDisplay() {
    return If(Set("mdm_flag"), BytesOf(24, "mastering_display_metadata"));
}
constexpr auto StillOrInterlaced() {
    return Sequence(Flag("still_mode"), Flag("interlaced_video"), Ones(6));
}

constexpr auto ConstraintSets() {
    return Sequence(Flag("constraint_set0_flag"), Flag("constraint_set1_flag"),
                    Flag("constraint_set2_flag"), Flag("constraint_set3_flag"),
                    Flag("constraint_set4_flag"), Flag("constraint_set5_flag"),
                    U(2, "AVC_compatible_flags"));
}

constexpr auto SourceFlags() {
    return Sequence(Flag("progressive_source_flag"), Flag("interlaced_source_flag"),
                    Flag("non_packed_constraint_flag"), Flag("frame_only_constraint_flag"));
}

constexpr auto kDescriptors = Declare(
    Descriptor(
        0x02, "video_stream_descriptor", "ISO/IEC 13818-1 2.6.2", Flag("multiple_frame_rate_flag"),
        U(4, "frame_rate_code", kFrameRates), Flag("MPEG_1_only_flag"),
        Flag("constrained_parameter_flag"), Flag("still_picture_flag"),
        If(Clear("MPEG_1_only_flag"), U8("profile_and_level_indication"),
           U(2, "chroma_format", kChromaFormats), Flag("frame_rate_extension_flag"), Ones(5))),

    Descriptor(0x03, "audio_stream_descriptor", "ISO/IEC 13818-1 2.6.4", Flag("free_format_flag"),
               U(1, "ID", kAudioIds), U(2, "layer", kLayers), Flag("variable_rate_audio_indicator"),
               Ones(3)),

    Descriptor(0x04, "hierarchy_descriptor", "ISO/IEC 13818-1 2.6.6",
               Flag("no_view_scalability_flag"), Flag("no_temporal_scalability_flag"),
               Flag("no_spatial_scalability_flag"), Flag("no_quality_scalability_flag"),
               U(4, "hierarchy_type", kHierarchyTypes), Ones(2), U(6, "hierarchy_layer_index"),
               Flag("tref_present_flag"), Ones(1), U(6, "hierarchy_embedded_layer_index"), Ones(2),
               U(6, "hierarchy_channel")),

    Descriptor(0x05, "registration_descriptor", "ISO/IEC 13818-1 2.6.8",
               Latin(32, "format_identifier"), Bytes("additional_identification_info")),

    Descriptor(0x06, "data_stream_alignment_descriptor", "ISO/IEC 13818-1 2.6.10",
               U8("alignment_type")),

    Descriptor(0x07, "target_background_grid_descriptor", "ISO/IEC 13818-1 2.6.12",
               U(14, "horizontal_size"), U(14, "vertical_size"),
               U(4, "aspect_ratio_information", kAspectRatios)),

    Descriptor(0x08, "video_window_descriptor", "ISO/IEC 13818-1 2.6.14",
               U(14, "horizontal_offset"), U(14, "vertical_offset"), U(4, "window_priority")),

    Descriptor(0x09, "CA_descriptor", "ISO/IEC 13818-1 2.6.16", U16("CA_system_ID"), Ones(3),
               U(13, "CA_PID"), Bytes("private_data_byte")),

    Descriptor(0x0A, "ISO_639_language_descriptor", "ISO/IEC 13818-1 2.6.18",
               Loop("languages", Language("ISO_639_language_code"), U8("audio_type", kAudioTypes))),

    Descriptor(0x0B, "system_clock_descriptor", "ISO/IEC 13818-1 2.6.20",
               Flag("external_clock_reference_indicator"), Ones(1), U(6, "clock_accuracy_integer"),
               U(3, "clock_accuracy_exponent"), Ones(5)),

    Descriptor(0x0C, "multiplex_buffer_utilization_descriptor", "ISO/IEC 13818-1 2.6.22",
               Flag("bound_valid_flag"), U(15, "LTW_offset_lower_bound"), Ones(1),
               U(15, "LTW_offset_upper_bound")),

    Descriptor(0x0D, "copyright_descriptor", "ISO/IEC 13818-1 2.6.24", U32("copyright_identifier"),
               Bytes("additional_copyright_info")),

    Descriptor(0x0E, "maximum_bitrate_descriptor", "ISO/IEC 13818-1 2.6.26", Ones(2),
               U(22, "maximum_bitrate")),

    Descriptor(0x0F, "private_data_indicator_descriptor", "ISO/IEC 13818-1 2.6.28",
               U32("private_data_indicator")),

    Descriptor(0x10, "smoothing_buffer_descriptor", "ISO/IEC 13818-1 2.6.30", Ones(2),
               U(22, "sb_leak_rate"), Ones(2), U(22, "sb_size")),

    Descriptor(0x11, "STD_descriptor", "ISO/IEC 13818-1 2.6.32", Ones(7), Flag("leak_valid_flag")),

    Descriptor(0x12, "IBP_descriptor", "ISO/IEC 13818-1 2.6.34", Flag("closed_gop_flag"),
               Flag("identical_gop_flag"), U(14, "max_gop_length")),

    // ISO/IEC 13818-6; its private bytes as TR 101 202 4.7.7.1 has them.
    Descriptor(0x13, "carousel_identifier_descriptor", "TR 101 202 4.7.7.1", U32("carousel_id"),
               Optional(U8("FormatID"),
                        If(Is("FormatID", 1),
                           Try(U8("ModuleVersion"), U16("ModuleId"), U16("BlockSize"),
                               U32("ModuleSize"), U8("CompressionMethod"), U32("OriginalSize"),
                               U8("TimeOut"), BytesL(8, "ObjectKeyData")))),
               Bytes("private_data_byte")),

    Descriptor(0x14, "association_tag_descriptor", "TR 101 202 4.7.7.2", U16("association_tag"),
               U16("use", kAssociationUses),
               Window(8, If(Is("use", 0), Try(U32("transaction_id"), U32("timeout"))),
                      Bytes("selector_byte")),
               Bytes("private_data_byte")),

    Descriptor(0x15, "deferred_association_tags_descriptor", "TR 101 202 4.7.7.3",
               LoopL(8, "association_tags", U16("association_tag")), U16("transport_stream_id"),
               U16("program_number"), Bytes("private_data_byte")),

    Descriptor(0x17, "NPT_reference_descriptor", "ISO/IEC 13818-6 8.1",
               Flag("postDiscontinuityIndicator"), U(7, "contentId"), Ones(7),
               U(33, "STC_Reference"), Ones(31), U(33, "NPT_Reference"), U16("scaleNumerator"),
               U16("scaleDenominator")),

    Descriptor(0x18, "NPT_endpoint_descriptor", "ISO/IEC 13818-6 8.2", Ones(15), U(33, "startNPT"),
               Ones(31), U(33, "stopNPT")),

    Descriptor(0x19, "stream_mode_descriptor", "ISO/IEC 13818-6 8.2",
               U8("streamMode", kStreamModes), Ones(8)),

    Descriptor(0x1A, "stream_event_descriptor", "ISO/IEC 13818-6 8.3", U16("eventId"), Ones(31),
               U(33, "eventNPT"), Bytes("privateDataByte")),

    Descriptor(0x1B, "MPEG-4_video_descriptor", "ISO/IEC 13818-1 2.6.36",
               U8("MPEG-4_visual_profile_and_level")),

    Descriptor(0x1C, "MPEG-4_audio_descriptor", "ISO/IEC 13818-1 2.6.38",
               U8("MPEG-4_audio_profile_and_level", kAudioProfiles)),

    Descriptor(0x1D, "IOD_descriptor", "ISO/IEC 13818-1 2.6.40",
               U8("Scope_of_IOD_label", kIodScopes), U8("IOD_label"),
               Bytes("InitialObjectDescriptor")),

    Descriptor(0x1E, "SL_descriptor", "ISO/IEC 13818-1 2.6.42", U16("ES_ID")),

    Descriptor(0x1F, "FMC_descriptor", "ISO/IEC 13818-1 2.6.44",
               Loop("streams", U16("ES_ID"), U8("FlexMuxChannel"))),

    Descriptor(0x20, "External_ES_ID_descriptor", "ISO/IEC 13818-1 2.6.46", U16("External_ES_ID")),

    Descriptor(0x21, "MuxCode_descriptor", "ISO/IEC 13818-1 2.6.48",
               Loop("MuxCodeTableEntries",
                    Window(8, U(4, "MuxCode"), U(4, "version"), Count(8, "substructures"),
                           LoopBy("substructures", Count(5, "slots"), U(3, "repetitionCount"),
                                  LoopBy("slots", U8("flexMuxChannel"), U8("numberOfBytes")))))),

    Descriptor(0x22, "FmxBufferSize_descriptor", "ISO/IEC 13818-1 2.6.50",
               U24("DefaultFlexMuxBuffer"),
               Loop("buffers", U8("flexMuxChannel"), U24("FB_BufferSize"))),

    Descriptor(0x23, "MultiplexBuffer_descriptor", "ISO/IEC 13818-1 2.6.52", U24("MB_buffer_size"),
               U24("TB_leak_rate")),

    Descriptor(0x24, "content_labeling_descriptor", "ISO/IEC 13818-1 2.6.56",
               MetadataApplicationFormat(), Guard("content_reference_id_record_flag"),
               U(4, "content_time_base_indicator"), Ones(3),
               If(Set("content_reference_id_record_flag"), BytesL(8, "content_reference_id_byte")),
               If(In("content_time_base_indicator", 1, 2), Ones(7),
                  U(33, "content_time_base_value"), Ones(7), U(33, "metadata_time_base_value")),
               If(Is("content_time_base_indicator", 2), Ones(1), U(7, "contentId")),
               If(In("content_time_base_indicator", 3, 7), BytesL(8, "time_base_association_data")),
               Bytes("private_data_byte")),

    Descriptor(0x25, "metadata_pointer_descriptor", "ISO/IEC 13818-1 2.6.58",
               MetadataApplicationFormat(), MetadataFormat(), U8("metadata_service_id"),
               Guard("metadata_locator_record_flag"),
               U(2, "MPEG_carriage_flags", kMetadataCarriage), Ones(5),
               If(Set("metadata_locator_record_flag"), BytesL(8, "metadata_locator_record_byte")),
               If(In("MPEG_carriage_flags", 0, 2), U16("program_number")),
               If(Is("MPEG_carriage_flags", 1), U16("transport_stream_location"),
                  U16("transport_stream_id")),
               Bytes("private_data_byte")),

    Descriptor(
        0x26, "metadata_descriptor", "ISO/IEC 13818-1 2.6.60", MetadataApplicationFormat(),
        MetadataFormat(), U8("metadata_service_id"), U(3, "decoder_config_flags"),
        Guard("DSM-CC_flag"), Ones(4),
        If(Set("DSM-CC_flag"), BytesL(8, "service_identification_record_byte")),
        If(Is("decoder_config_flags", 1), BytesL(8, "decoder_config_byte")),
        If(Is("decoder_config_flags", 3), BytesL(8, "dec_config_identification_record_byte")),
        If(Is("decoder_config_flags", 4), U8("decoder_config_metadata_service_id")),
        If(In("decoder_config_flags", 5, 6), BytesL(8, "reserved_data_byte")),
        Bytes("private_data_byte")),

    Descriptor(0x27, "metadata_STD_descriptor", "ISO/IEC 13818-1 2.6.62", Ones(2),
               U(22, "metadata_input_leak_rate"), Ones(2), U(22, "metadata_buffer_size"), Ones(2),
               U(22, "metadata_output_leak_rate")),

    Descriptor(0x28, "AVC_video_descriptor", "ISO/IEC 13818-1 2.6.64",
               U8("profile_idc", kAvcProfiles), ConstraintSets(), U8("level_idc", kAvcLevels),
               Flag("AVC_still_present"), Flag("AVC_24_hour_picture_flag"),
               Flag("Frame_Packing_SEI_not_present_flag"), Ones(5)),

    Descriptor(0x2A, "AVC_timing_and_HRD_descriptor", "ISO/IEC 13818-1 2.6.66",
               Flag("hrd_management_valid_flag"), Ones(6), Guard("picture_and_timing_info_present"),
               If(Set("picture_and_timing_info_present"), TimingAndHrd()),
               Flag("fixed_frame_rate_flag"), Flag("temporal_poc_flag"),
               Flag("picture_to_display_conversion_flag"), Ones(5)),

    Descriptor(0x2B, "MPEG-2_AAC_audio_descriptor", "ISO/IEC 13818-1 2.6.68",
               U8("MPEG-2_AAC_profile", kAacProfiles), U8("MPEG-2_AAC_channel_configuration"),
               U8("MPEG-2_AAC_additional_information", kAacInformation)),

    Descriptor(0x2C, "FlexMuxTiming_descriptor", "ISO/IEC 13818-1 2.6.54", U16("FCR_ES_ID"),
               U32("FCRResolution"), U8("FCRLength"), U8("FmxRateLength")),

    Descriptor(0x2D, "MPEG-4_text_descriptor", "ISO/IEC 13818-1 2.6.70", Bytes("TextConfig")),

    Descriptor(0x2E, "MPEG-4_audio_extension_descriptor", "ISO/IEC 13818-1 2.6.72",
               Guard("ASC_flag"), Ones(3), Count(4, "profiles"),
               LoopBy("profiles", U8("audioProfileLevelIndication", kAudioProfiles)),
               If(Set("ASC_flag"), BytesL(8, "audioSpecificConfig"))),

    Descriptor(0x2F, "auxiliary_video_stream_descriptor", "ISO/IEC 13818-1 2.6.74",
               U8("aux_video_codedstreamtype"), Bytes("si_rbsp")),

    Descriptor(0x30, "SVC_extension_descriptor", "ISO/IEC 13818-1 2.6.76", U16("width"),
               U16("height"), U16("frame_rate"), U16("average_bitrate"), U16("maximum_bitrate"),
               U(3, "dependency_id"), Ones(5), U(4, "quality_id_start"), U(4, "quality_id_end"),
               U(3, "temporal_id_start"), U(3, "temporal_id_end"), Flag("no_sei_nal_unit_present"),
               Ones(1)),

    Descriptor(0x31, "MVC_extension_descriptor", "ISO/IEC 13818-1 2.6.78", U16("average_bitrate"),
               U16("maximum_bitrate"), Flag("view_association_not_present"),
               Flag("base_view_is_left_eyeview"), Ones(2), U(10, "view_order_index_min"),
               U(10, "view_order_index_max"), U(3, "temporal_id_start"), U(3, "temporal_id_end"),
               Flag("no_sei_nal_unit_present"), Flag("no_prefix_nal_unit_present")),

    Descriptor(
        0x32, "J2K_video_descriptor", "ISO/IEC 13818-1 2.6.80", Flag("extended_capability_flag"),
        U(15, "profile_and_level"), U32("horizontal_size"), U32("vertical_size"),
        U32("max_bit_rate"), U32("max_buffer_size"), U16("DEN_frame_rate"), U16("NUM_frame_rate"),
        If(Set("extended_capability_flag"), Guard("stripe_flag"), Guard("block_flag"),
           Guard("mdm_flag"), Zeros(5), StillOrInterlaced(), Colours(),
           If(Set("stripe_flag"), U8("strp_max_idx"), U16("strp_height")),
           If(Set("block_flag"), U32("full_horizontal_size"), U32("full_vertical_size"),
              U16("blk_width"), U16("blk_height"), U8("max_blk_idx_h"), U8("max_blk_idx_v"),
              U8("blk_idx_h"), U8("blk_idx_v")),
           MasteringDisplay()),
        If(Clear("extended_capability_flag"), U8("color_specification"), StillOrInterlaced()),
        Bytes("private_data_byte")),

    Descriptor(0x33, "MVC_operation_point_descriptor", "ISO/IEC 13818-1 2.6.82",
               U8("profile_idc", kAvcProfiles), ConstraintSets(),
               LoopN(8, "levels", U8("level_idc", kAvcLevels),
                     LoopN(8, "operation_points", Ones(5), U(3, "applicable_temporal_id"),
                           U8("num_target_output_views"),
                           LoopN(8, "ES_references", Ones(2), U(6, "ES_reference"))))),

    Descriptor(0x34, "MPEG2_stereoscopic_video_format_descriptor", "ISO/IEC 13818-1 2.6.84",
               Guard("stereo_video_arrangement_type_present"),
               If(Set("stereo_video_arrangement_type_present"), U(7, "arrangement_type")),
               If(Clear("stereo_video_arrangement_type_present"), Ones(7))),

    Descriptor(0x35, "Stereoscopic_program_info_descriptor", "ISO/IEC 13818-1 2.6.86", Ones(5),
               U(3, "stereoscopic_service_type", kStereoServices)),

    Descriptor(0x36, "Stereoscopic_video_info_descriptor", "ISO/IEC 13818-1 2.6.88", Ones(7),
               Flag("base_video_flag"), If(Set("base_video_flag"), Ones(7), Flag("leftview_flag")),
               If(Clear("base_video_flag"), Ones(7), Flag("usable_as_2D"),
                  U(4, "horizontal_upsampling_factor"), U(4, "vertical_upsampling_factor"))),

    Descriptor(0x37, "Transport_profile_descriptor", "ISO/IEC 13818-1 2.6.93",
               U8("transport_profile"), Bytes("private_data")),

    Descriptor(0x38, "HEVC_video_descriptor", "ISO/IEC 13818-1 2.6.95", U(2, "profile_space"),
               Flag("tier_flag"), U(5, "profile_idc", kHevcProfiles),
               U32("profile_compatibility_indication"), SourceFlags(), U(44, "copied_44bits"),
               U8("level_idc", kHevcLevels), Guard("temporal_layer_subset_flag"),
               Flag("HEVC_still_present_flag"), Flag("HEVC_24hr_picture_present_flag"),
               Flag("sub_pic_hrd_params_not_present_flag"), Ones(2), U(2, "HDR_WCG_idc", kHdr),
               If(Set("temporal_layer_subset_flag"), U(3, "temporal_id_min"), Ones(5),
                  U(3, "temporal_id_max"), Ones(5))),

    Descriptor(0x39, "VVC_video_descriptor", "ISO/IEC 13818-1 2.6.129", U(7, "profile_idc"),
               Flag("tier_flag"), LoopN(8, "sub_profiles", U32("sub_profile_idc")), SourceFlags(),
               Zeros(4), U8("level_idc"), Guard("temporal_layer_subset_flag"),
               Flag("VVC_still_present_flag"), Flag("VVC_24hr_picture_present_flag"), Ones(5),
               U(2, "HDR_WCG_idc", kHdr), Ones(2), U(4, "video_properties_tag"),
               If(Set("temporal_layer_subset_flag"), Ones(5), U(3, "temporal_id_min"), Ones(5),
                  U(3, "temporal_id_max"))),

    Descriptor(0x3A, "EVC_video_descriptor", "ISO/IEC 13818-1 2.6", U8("profile_idc"),
               U8("level_idc"), U32("toolset_idc_h"), U32("toolset_idc_l"), SourceFlags(), Ones(1),
               Guard("temporal_layer_subset_flag"), Flag("EVC_still_present_flag"),
               Flag("EVC_24hr_picture_present_flag"), U(2, "HDR_WCG_idc", kHdr), Ones(2),
               U(4, "video_properties_tag"),
               If(Set("temporal_layer_subset_flag"), Ones(5), U(3, "temporal_id_min"), Ones(5),
                  U(3, "temporal_id_max"))));

// extension_descriptor (ISO/IEC 13818-1 2.6.90), by extension_descriptor_tag.
constexpr auto kExtensions = Declare(
    In(Space::kMpegExtension),

    Descriptor(0x02, "ObjectDescriptorUpdate", "ISO/IEC 13818-1 2.6.92",
               Bytes("ObjectDescriptorUpdate_byte")),

    Descriptor(0x03, "HEVC_timing_and_HRD_descriptor", "ISO/IEC 13818-1 2.6.97",
               Flag("hrd_management_valid_flag"), Flag("target_schedule_idx_not_present_flag"),
               U(5, "target_schedule_idx"), Guard("picture_and_timing_info_present_flag"),
               If(Set("picture_and_timing_info_present_flag"), TimingAndHrd())),

    Descriptor(0x04, "af_extensions_descriptor", "ISO/IEC 13818-1 2.6.99"),

    Descriptor(0x06, "HEVC_hierarchy_extension_descriptor", "ISO/IEC 13818-1 2.6.102",
               U16("extension_dimension_bits"), U(6, "hierarchy_layer_index"), U(3, "temporal_id"),
               U(6, "nuh_layer_id"), Flag("tref_present_flag"), Ones(2),
               Count(6, "embedded_layers"), Ones(2), U(6, "hierarchy_channel"),
               LoopBy("embedded_layers", Ones(2), U(6, "hierarchy_ext_embedded_layer_index"))),

    Descriptor(0x08, "MPEG-H_3dAudio_descriptor", "ISO/IEC 13818-1 2.6.106",
               U8("mpegh3daProfileLevelIndication"), Flag("interactivityEnabled"),
               Guard("compatibleProfileSetsNotPresent"), Ones(8), U(6, "referenceChannelLayout"),
               If(Clear("compatibleProfileSetsNotPresent"),
                  LoopN(8, "compatible_sets", U8("CompatibleSetIndication"))),
               Bytes("reserved_byte")),

    Descriptor(0x14, "JXS_video_descriptor", "ISO/IEC 13818-1 2.6", U8("descriptor_version"),
               U16("horizontal_size"), U16("vertical_size"), U32("brat"), U(2, "interlace_mode"),
               U(6, "framerate_DEN", kFrameRateDenominators), Zeros(8), U16("framerate_NUM"),
               Flag("valid_flag"), Zeros(7), U(4, "sample_bitdepth"), U(4, "sampling_structure"),
               U16("Ppih"), U8("level"), U8("sublevel"), U32("max_buffer_size"),
               U8("buffer_model_type"), Colours(), Flag("still_mode"), Guard("mdm_flag"), Zeros(6),
               MasteringDisplay(), Bytes("private_data_byte")),

    Descriptor(0x15, "VVC_timing_and_HRD_descriptor", "ISO/IEC 13818-1 2.6",
               Flag("hrd_management_valid_flag"), Ones(6),
               Guard("picture_and_timing_info_present_flag"),
               If(Set("picture_and_timing_info_present_flag"), TimingAndHrd())),

    Descriptor(0x16, "EVC_timing_and_HRD_descriptor", "ISO/IEC 13818-1 2.6",
               Flag("hrd_management_valid_flag"), Ones(6),
               Guard("picture_and_timing_info_present_flag"),
               If(Set("picture_and_timing_info_present_flag"), TimingAndHrd())),

    Descriptor(0x17, "LCEVC_video_descriptor", "ISO/IEC 13818-1 2.6", U8("lcevc_stream_tag"),
               U(4, "profile_idc"), U(4, "level_idc"), U(2, "sublevel_idc"),
               Flag("processed_planes_type_flag"), Flag("picture_type_bit_flag"),
               Flag("field_type_bit_flag"), Ones(3), U(2, "HDR_WCG_idc", kHdr), Zeros(2),
               U(4, "video_properties_tag")),

    Descriptor(0x18, "LCEVC_linkage_descriptor", "ISO/IEC 13818-1 2.6",
               LoopN(8, "streams", U8("lcevc_stream_tag"))));

}  // namespace

GroupView MpegDescriptors() {
    return kDescriptors;
}

GroupView MpegExtensionDescriptors() {
    return kExtensions;
}

}  // namespace syntax

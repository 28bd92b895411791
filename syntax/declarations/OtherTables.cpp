// Tables of the standards around EN 300 468: applications, updates, IP services, carousels,
// splices, resolution of content references; and the descriptors that only stand in them.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Value kUpdateActions[] = {{0x01, "system software update"}, {0x80, 0xFF, "user defined"}};
constexpr Value kIpMacActions[] = {{0x01, "location of IP/MAC streams"}};
constexpr Value kDeviceTypes[] = {{0x00, "pad"},
                                  {0x01, "system hardware"},
                                  {0x02, "system software"},
                                  {0x40, 0x7F, "DVB reserved"},
                                  {0x80, 0xFF, "user defined"}};
constexpr Value kSpecifierTypes[] = {{0x01, "IEEE OUI"}};
constexpr Value kMessages[] = {{0x1001, "DownloadInfoRequest"}, {0x1002, "DownloadInfoIndication"},
                               {0x1003, "DownloadDataBlock"},   {0x1004, "DownloadDataRequest"},
                               {0x1005, "DownloadCancel"},      {0x1006, "DownloadServerInitiate"}};
constexpr Value kDsmccTypes[] = {{0x01, "U-N configuration"}, {0x02, "U-N session"},
                                 {0x03, "U-N download"},      {0x04, "SDB channel change"},
                                 {0x05, "U-N pass-thru"},     {0x80, 0xFF, "user defined"}};
constexpr Value kModulePositions[] = {{0, "first"}, {1, "intermediate"}, {2, "last"}};
constexpr Value kModuleTypes[] = {{0, "executable"}, {1, "memory mapped code"}, {2, "data"}};
constexpr Value kTransparencies[] = {{1, "transparent"}, {2, "semi-transparent"}, {3, "static"}};
constexpr Value kPeriodUnits[] = {{0, "seconds"}, {1, "minutes"}, {2, "hours"}, {3, "days"}};
constexpr Value kUpdateFlags[] = {{0, "to be started by hand"}, {1, "may be automatic"}};
constexpr Value kUpdateMethods[] = {{0, "immediate"},
                                    {1, "when the device is available"},
                                    {2, "at the next restart"},
                                    {8, 14, "private"}};
constexpr Value kAccessModes[] = {{0, "not used"}, {1, "dialup"}};
constexpr Value kModulationSystems[] = {
    {0, "DVB-S2"}, {1, "DVB-T2"}, {2, "DVB-C2"}, {3, "DVB-NGH"}};

constexpr Value kSapTypes[] = {{0, "closed GOP, no leading pictures"},
                               {1, "closed GOP, leading pictures"},
                               {2, "open GOP"},
                               {3, "not specified"}};
constexpr Value kSpliceCommands[] = {{0x00, "splice_null"},           {0x04, "splice_schedule"},
                                     {0x05, "splice_insert"},         {0x06, "time_signal"},
                                     {0x07, "bandwidth_reservation"}, {0xFF, "private_command"}};
constexpr Value kEncryptions[] = {{0, "none"},
                                  {1, "DES ECB"},
                                  {2, "DES CBC"},
                                  {3, "triple DES EDE3 ECB"},
                                  {32, 63, "user private"}};
constexpr std::uint64_t kCuei = 0x43554549;
constexpr Value kIdentifiers[] = {{kCuei, "CUEI"}};
constexpr Value kUpidTypes[] = {
    {0x00, "not used"}, {0x01, "user defined"}, {0x02, "ISCI"},
    {0x03, "Ad-ID"},    {0x04, "UMID"},         {0x05, "ISAN"},
    {0x06, "V-ISAN"},   {0x07, "TID"},          {0x08, "TI"},
    {0x09, "ADI"},      {0x0A, "EIDR"},         {0x0B, "ATSC content identifier"},
    {0x0C, "MPU"},      {0x0D, "MID"},          {0x0E, "ADS information"},
    {0x0F, "URI"},      {0x10, "UUID"},         {0x11, "SCR"}};
constexpr Value kSegmentationTypes[] = {{0x00, "not indicated"},
                                        {0x01, "content identification"},
                                        {0x10, "program start"},
                                        {0x11, "program end"},
                                        {0x12, "program early termination"},
                                        {0x13, "program breakaway"},
                                        {0x14, "program resumption"},
                                        {0x15, "program runover planned"},
                                        {0x16, "program runover unplanned"},
                                        {0x17, "program overlap start"},
                                        {0x18, "program blackout override"},
                                        {0x19, "program start in progress"},
                                        {0x20, "chapter start"},
                                        {0x21, "chapter end"},
                                        {0x22, "break start"},
                                        {0x23, "break end"},
                                        {0x24, "opening credit start"},
                                        {0x25, "opening credit end"},
                                        {0x26, "closing credit start"},
                                        {0x27, "closing credit end"},
                                        {0x30, "provider advertisement start"},
                                        {0x31, "provider advertisement end"},
                                        {0x32, "distributor advertisement start"},
                                        {0x33, "distributor advertisement end"},
                                        {0x34, "provider placement opportunity start"},
                                        {0x35, "provider placement opportunity end"},
                                        {0x36, "distributor placement opportunity start"},
                                        {0x37, "distributor placement opportunity end"},
                                        {0x38, "provider overlay placement opportunity start"},
                                        {0x39, "provider overlay placement opportunity end"},
                                        {0x3A, "distributor overlay placement opportunity start"},
                                        {0x3B, "distributor overlay placement opportunity end"},
                                        {0x3C, "provider promo start"},
                                        {0x3D, "provider promo end"},
                                        {0x3E, "distributor promo start"},
                                        {0x3F, "distributor promo end"},
                                        {0x40, "unscheduled event start"},
                                        {0x41, "unscheduled event end"},
                                        {0x42, "alternate content opportunity start"},
                                        {0x43, "alternate content opportunity end"},
                                        {0x44, "provider ad block start"},
                                        {0x45, "provider ad block end"},
                                        {0x46, "distributor ad block start"},
                                        {0x47, "distributor ad block end"},
                                        {0x50, "network start"},
                                        {0x51, "network end"}};
constexpr Value kContextTypes[] = {
    {0, "bouquet_id"}, {1, "original_network_id"}, {2, "network_id"}, {0x80, 0xFF, "user defined"}};

// ISO/IEC 13818-6 table 6-1. Its length may be 0: then nothing follows.
constexpr auto Compatibility(std::string_view name) {
    return ObjectL(16, name,
                   Optional(Count(16, "devices"),
                            LoopBy("devices", U8("descriptorType", kDeviceTypes),
                                   Window(8, U8("specifierType", kSpecifierTypes),
                                          U24("specifierData"), U16("model"), U16("version"),
                                          LoopN(8, "subDescriptors", U8("subDescriptorType"),
                                                BytesL(8, "additionalInformation"))))));
}

// EN 301 192 10.1.2
constexpr auto GroupInfoIndication() {
    return Sequence(
        Count(16, "groups"),
        LoopBy("groups", U32("GroupId"), U32("GroupSize"), Compatibility("GroupCompatibility"),
               DescriptorsL(16, "descriptors", Space::kCarousel)),
        Optional(BytesL(16, "group_private_data_byte")));
}

// TR 101 202 4.7.5.1: BIOP::ModuleInfo
constexpr auto BiopModuleInfo() {
    return Sequence(
        U32("moduleTimeOut"), U32("blockTimeOut"), U32("minBlockTime"),
        LoopN(8, "taps", U16("id"), U16("use"), U16("association_tag"), BytesL(8, "selector_byte")),
        DescriptorsL(8, "userInfo", Space::kCarousel));
}

constexpr auto SpliceTime() {
    return Object("splice_time", Guard("time_specified_flag"),
                  If(Set("time_specified_flag"), Ones(6), U(33, "pts_time")),
                  If(Clear("time_specified_flag"), Ones(7)));
}
constexpr auto BreakDuration() {
    return If(Set("duration_flag"),
              Object("break_duration", Flag("auto_return"), Ones(6), U(33, "duration")));
}
constexpr auto Avail() {
    return Sequence(U16("unique_program_id"), U8("avail_num"), U8("avails_expected"));
}

constexpr auto SpliceInsert() {
    return Sequence(
        U32("splice_event_id"), Flag("splice_event_cancel_indicator"), Ones(7),
        If(Clear("splice_event_cancel_indicator"), Flag("out_of_network_indicator"),
           Flag("program_splice_flag"), Guard("duration_flag"), Flag("splice_immediate_flag"),
           U(1, "event_id_compliance_flag"), Ones(3),
           If(Set("program_splice_flag"), If(Clear("splice_immediate_flag"), SpliceTime())),
           If(Clear("program_splice_flag"),
              LoopN(8, "components", U8("component_tag"),
                    If(Clear("splice_immediate_flag"), SpliceTime()))),
           BreakDuration(), Avail()));
}

constexpr auto SpliceSchedule() {
    return LoopN(8, "splices", U32("splice_event_id"), Flag("splice_event_cancel_indicator"),
                 Ones(7),
                 If(Clear("splice_event_cancel_indicator"), Flag("out_of_network_indicator"),
                    Flag("program_splice_flag"), Guard("duration_flag"), Ones(5),
                    If(Set("program_splice_flag"), U32("utc_splice_time")),
                    If(Clear("program_splice_flag"),
                       LoopN(8, "components", U8("component_tag"), U32("utc_splice_time"))),
                    BreakDuration(), Avail()));
}

constexpr auto TargetAndOperation(Space space) {
    return Sequence(DescriptorsL12("target_descriptors", space),
                    DescriptorsL12("operational_descriptors", space));
}

constexpr auto kTables = Declare(
    Table(
        0x74, 0x74, "application_information_section", "TS 102 809 5.3.4.6",
        LongHeader(1, Flag("test_application_flag"), U(15, "application_type", kApplicationTypes)),
        DescriptorsL12("common_descriptors", Space::kApplication), Ones(4),
        LoopL(12, "applications", U32("organisation_id"), U16("application_id"),
              U8("application_control_code", kApplicationControlCodes),
              DescriptorsL12("descriptors", Space::kApplication))),

    Table(0x4B, 0x4B, "update_notification_section", "TS 102 006 9.4",
          LongHeader(1, U8("action_type", kUpdateActions), U8("OUI_hash")), U24("OUI"),
          U8("processing_order"), DescriptorsL12("common_descriptors", Space::kUpdate),
          Loop("devices", Compatibility("compatibilityDescriptor"),
               LoopL(16, "platforms", TargetAndOperation(Space::kUpdate)))),

    Table(0x4C, 0x4C, "IP/MAC_notification_section", "EN 301 192 8.4.3",
          LongHeader(1, U8("action_type", kIpMacActions), U8("platform_id_hash")),
          U24("platform_id"), U8("processing_order"),
          DescriptorsL12("platform_descriptors", Space::kIpMac),
          Loop("targets", TargetAndOperation(Space::kIpMac))),

    // The body begins behind messageLength, which counts the adaptation header too.
    Table(0x3B, 0x3B, "DSM-CC_section", "ISO/IEC 13818-6 9.2.2",
          LongHeader(0, U16("table_id_extension")), U8("protocolDiscriminator"),
          U8("dsmccType", kDsmccTypes), U16("messageId", kMessages), U32("transactionId"), Ones(8),
          Length(8, "dsmccAdaptationHeader"),
          Window(16, BytesBy("dsmccAdaptationHeader"),
                 If(Is("messageId", 0x1006), BytesOf(20, "serverId"),
                    Compatibility("compatibilityDescriptor"),
                    Window(16, TryAll(GroupInfoIndication()), Bytes("privateDataByte"))),
                 If(Is("messageId", 0x1002), U32("downloadId"), U16("blockSize"), U8("windowSize"),
                    U8("ackPeriod"), U32("tCDownloadWindow"), U32("tCDownloadScenario"),
                    Compatibility("compatibilityDescriptor"), Count(16, "modules"),
                    LoopBy("modules", U16("moduleId"), U32("moduleSize"), U8("moduleVersion"),
                           Window(8, TryAll(BiopModuleInfo()),
                                  Optional(Descriptors("descriptors", Space::kCarousel)))),
                    BytesL(16, "privateDataByte")),
                 Bytes("messageByte"))),

    Table(0x3C, 0x3C, "DSM-CC_section", "ISO/IEC 13818-6 9.2.2",
          LongHeader(0, U16("table_id_extension")), U8("protocolDiscriminator"),
          U8("dsmccType", kDsmccTypes), U16("messageId", kMessages), U32("downloadId"), Ones(8),
          Length(8, "dsmccAdaptationHeader"),
          Window(16, BytesBy("dsmccAdaptationHeader"),
                 If(Is("messageId", 0x1003), U16("moduleId"), U8("moduleVersion"), Ones(8),
                    U16("blockNumber"), Bytes("blockDataByte")),
                 Bytes("messageByte"))),

    Table(0x3D, 0x3D, "DSM-CC_section", "ISO/IEC 13818-6 9.2.2",
          LongHeader(0, U16("table_id_extension")), Descriptors("descriptors")),

    Table(0x77, 0x77, "content_identifier_section", "TS 102 323 12.2",
          LongHeader(1, U16("service_id")), U16("transport_stream_id"), U16("original_network_id"),
          BytesL(8, "prepend_strings"),
          Loop("crids", U16("crid_ref"), U8("prepend_string_index"), Utf8L(8, "unique_string"))),

    Table(0x79, 0x79, "resolution_provider_notification_section", "TS 102 323 5.2.2",
          LongHeader(1, U16("context_id")), U8("context_id_type", kContextTypes),
          DescriptorsL12("common_descriptors", Space::kResolution),
          Loop("resolution_providers", Ones(4),
               Window(12, Utf8L(8, "resolution_provider_name"),
                      DescriptorsL12("descriptors", Space::kResolution),
                      Loop("CRID_authorities", Utf8L(8, "CRID_authority_name"), Ones(2),
                           U(2, "CRID_authority_policy"),
                           DescriptorsL(12, "descriptors", Space::kResolution))))),

    Table(
        0xFC, 0xFC, "splice_info_section", "SCTE 35 9.6", Zeros(2), U(2, "sap_type", kSapTypes),
        SectionLength(SectionEnd::kCrc), U8("protocol_version"), Flag("encrypted_packet"),
        U(6, "encryption_algorithm", kEncryptions), U(33, "pts_adjustment"), U8("cw_index"),
        U(12, "tier"), Length(12, "splice_command"),
        If(Set("encrypted_packet"), Bytes("encrypted_byte")),
        If(Clear("encrypted_packet"), U8("splice_command_type", kSpliceCommands),
           WindowBy("splice_command", If(Is("splice_command_type", 0x04), SpliceSchedule()),
                    If(Is("splice_command_type", 0x05), SpliceInsert()),
                    If(Is("splice_command_type", 0x06), SpliceTime()),
                    If(Is("splice_command_type", 0xFF), U32("identifier"), Bytes("private_byte"))),
           DescriptorsL(16, "descriptors", Space::kSplice), Bytes("alignment_stuffing"))));

// TS 102 006 9.5
constexpr auto kUpdate = Declare(
    In(Space::kUpdate),
    Descriptor(0x01, "scheduling_descriptor", "TS 102 006 9.5.2.3", Time("start_date_time"),
               Time("end_date_time"), Flag("final_availability"), Flag("periodicity_flag"),
               U(2, "period_unit", kPeriodUnits), U(2, "duration_unit", kPeriodUnits),
               U(2, "estimated_cycle_time_unit", kPeriodUnits), U8("period"), U8("duration"),
               U8("estimated_cycle_time"), Bytes("private_data_byte")),
    Descriptor(0x02, "update_descriptor", "TS 102 006 9.5.2.6", U(2, "update_flag", kUpdateFlags),
               U(4, "update_method", kUpdateMethods), U(2, "update_priority"),
               Bytes("private_data_byte")),
    Descriptor(0x03, "ssu_location_descriptor", "TS 102 006 9.5.2.7",
               U16("data_broadcast_id", kDataBroadcastIds),
               If(Is("data_broadcast_id", 0x000A), U16("association_tag")),
               Bytes("private_data_byte")),
    Descriptor(0x04, "message_descriptor", "TS 102 006 9.5.2.8", U(4, "descriptor_number"),
               U(4, "last_descriptor_number"), Language("ISO_639_language_code"), Text("text")),
    Descriptor(0x05, "ssu_event_name_descriptor", "TS 102 006 9.5.2.9",
               Language("ISO_639_language_code"), TextL(8, "event_name"), TextL(8, "text")),
    Descriptor(0x06, "target_smartcard_descriptor", "TS 102 006 9.5.2.1", U32("super_CA_system_id"),
               Bytes("private_data_byte")),
    Descriptor(0x07, "target_MAC_address_descriptor", "TS 102 006 9.5.2.1", Mac("MAC_addr_mask"),
               Loop("addresses", Mac("MAC_addr_match"))),
    Descriptor(0x08, "target_serial_number_descriptor", "TS 102 006 9.5.2.1",
               Bytes("serial_data_byte")),
    Descriptor(0x09, "target_IP_address_descriptor", "TS 102 006 9.5.2.1", Ipv4("IPv4_addr_mask"),
               Loop("addresses", Ipv4("IPv4_addr_match"))),
    Descriptor(0x0A, "target_IPv6_address_descriptor", "TS 102 006 9.5.2.1", Ipv6("IPv6_addr_mask"),
               Loop("addresses", Ipv6("IPv6_addr_match"))),
    Descriptor(0x0B, "ssu_subgroup_association_descriptor", "TS 102 006 9.5.2",
               BytesOf(5, "subgroup_tag")),
    Descriptor(0x0C, "enhanced_message_descriptor", "TS 102 006 9.5.2", U(4, "descriptor_number"),
               U(4, "last_descriptor_number"), Language("ISO_639_language_code"), Ones(3),
               U(5, "message_index"), Text("text")),
    Descriptor(0x0D, "ssu_uri_descriptor", "TS 102 006 9.5.2", U8("max_holdoff_time"),
               U8("min_polling_interval"), Utf8("uri_char")));

// EN 301 192 8.4.5
constexpr auto kIpMac = Declare(
    In(Space::kIpMac),
    Descriptor(0x06, "target_smartcard_descriptor", "EN 301 192 8.4.5", U32("super_CA_system_id"),
               Bytes("private_data_byte")),
    Descriptor(0x07, "target_MAC_address_descriptor", "EN 301 192 8.4.5", Mac("MAC_addr_mask"),
               Loop("addresses", Mac("MAC_addr_match"))),
    Descriptor(0x08, "target_serial_number_descriptor", "EN 301 192 8.4.5",
               Bytes("serial_data_byte")),
    Descriptor(0x09, "target_IP_address_descriptor", "EN 301 192 8.4.5", Ipv4("IPv4_addr_mask"),
               Loop("addresses", Ipv4("IPv4_addr_match"))),
    Descriptor(0x0A, "target_IPv6_address_descriptor", "EN 301 192 8.4.5", Ipv6("IPv6_addr_mask"),
               Loop("addresses", Ipv6("IPv6_addr_match"))),
    Descriptor(0x0C, "IP/MAC_platform_name_descriptor", "EN 301 192 8.4.5.2",
               Language("ISO_639_language_code"), Text("text")),
    Descriptor(0x0D, "IP/MAC_platform_provider_name_descriptor", "EN 301 192 8.4.5.3",
               Language("ISO_639_language_code"), Text("text")),
    Descriptor(0x0E, "target_MAC_address_range_descriptor", "EN 301 192 8.4.5.6",
               Loop("ranges", Mac("MAC_addr_low"), Mac("MAC_addr_high"))),
    Descriptor(0x0F, "target_IP_slash_descriptor", "EN 301 192 8.4.5.8",
               Loop("addresses", Ipv4("IPv4_addr"), U8("IPv4_slash_mask"))),
    Descriptor(0x10, "target_IP_source_slash_descriptor", "EN 301 192 8.4.5.9",
               Loop("addresses", Ipv4("IPv4_source_addr"), U8("IPv4_source_slash_mask"),
                    Ipv4("IPv4_dest_addr"), U8("IPv4_dest_slash_mask"))),
    Descriptor(0x11, "target_IPv6_slash_descriptor", "EN 301 192 8.4.5.11",
               Loop("addresses", Ipv6("IPv6_addr"), U8("IPv6_slash_mask"))),
    Descriptor(0x12, "target_IPv6_source_slash_descriptor", "EN 301 192 8.4.5.12",
               Loop("addresses", Ipv6("IPv6_source_addr"), U8("IPv6_source_slash_mask"),
                    Ipv6("IPv6_dest_addr"), U8("IPv6_dest_slash_mask"))),
    Descriptor(0x13, "IP/MAC_stream_location_descriptor", "EN 301 192 8.4.5.14", U16("network_id"),
               U16("original_network_id"), U16("transport_stream_id"), U16("service_id"),
               U8("component_tag")),
    Descriptor(0x14, "ISP_access_mode_descriptor", "EN 301 192 8.4.5.16",
               U8("access_mode", kAccessModes)),
    Descriptor(0x15, "IP/MAC_generic_stream_location_descriptor", "EN 301 192 8.4.5",
               U16("interactive_network_id"), U8("modulation_system_type", kModulationSystems),
               U16("modulation_system_id"), U16("PHY_stream_id"), Bytes("selector_byte")));

// EN 301 192 10.2, TS 102 006 and TS 102 812
constexpr auto kCarousel = Declare(
    In(Space::kCarousel),
    Descriptor(0x01, "type_descriptor", "EN 301 192 10.2.1", Utf8("text_char")),
    Descriptor(0x02, "name_descriptor", "EN 301 192 10.2.2", Utf8("text_char")),
    Descriptor(0x03, "info_descriptor", "EN 301 192 10.2.3", Language("ISO_639_language_code"),
               Utf8("text_char")),
    Descriptor(0x04, "module_link_descriptor", "EN 301 192 10.2.4",
               U8("position", kModulePositions), U16("module_id")),
    Descriptor(0x05, "CRC32_descriptor", "EN 301 192 10.2.5", U32("CRC_32")),
    Descriptor(0x06, "location_descriptor", "EN 301 192 10.2.6", U8("location_tag")),
    Descriptor(0x07, "est_download_time_descriptor", "EN 301 192 10.2.7", U32("est_download_time")),
    Descriptor(0x08, "group_link_descriptor", "EN 301 192 10.2.8", U8("position", kModulePositions),
               U32("group_id")),
    Descriptor(0x09, "compressed_module_descriptor", "EN 301 192 10.2.9", U8("compression_method"),
               U32("original_size")),
    Descriptor(0x0A, "ssu_module_type_descriptor", "TS 102 006",
               U8("ssu_module_type", kModuleTypes)),
    Descriptor(0x0B, "subgroup_association_descriptor", "TS 102 006", BytesOf(5, "subgroup_tag")),
    Descriptor(0x70, "label_descriptor", "TS 102 812 B.2.2.4", Utf8("label_byte")),
    Descriptor(0x71, "caching_priority_descriptor", "TS 102 812 B.2.2.4.2", U8("priority_value"),
               U8("transparency_level", kTransparencies)),
    Descriptor(0x72, "content_type_descriptor", "TS 102 812 B.2.3.4",
               Utf8("content_type_data_byte")));

// SCTE 35 10. Another identifier has private bytes.
constexpr auto Cue() {
    return U32("identifier", kIdentifiers);
}
constexpr auto kSplice = Declare(
    In(Space::kSplice),
    Descriptor(0x00, "avail_descriptor", "SCTE 35 10.3.1", Cue(),
               If(Is("identifier", kCuei), U32("provider_avail_id")), Bytes("private_byte")),
    Descriptor(0x01, "DTMF_descriptor", "SCTE 35 10.3.2", Cue(),
               If(Is("identifier", kCuei), U8("preroll"), Length(3, "DTMF_char"), Ones(5),
                  Utf8By("DTMF_char")),
               Bytes("private_byte")),
    Descriptor(
        0x02, "segmentation_descriptor", "SCTE 35 10.3.3", Cue(),
        If(Is("identifier", kCuei), U32("segmentation_event_id"),
           Flag("segmentation_event_cancel_indicator"), Ones(7),
           If(Clear("segmentation_event_cancel_indicator"), Guard("program_segmentation_flag"),
              Guard("segmentation_duration_flag"), Flag("delivery_not_restricted_flag"),
              If(Clear("delivery_not_restricted_flag"), Flag("web_delivery_allowed_flag"),
                 Flag("no_regional_blackout_flag"), Flag("archive_allowed_flag"),
                 U(2, "device_restrictions")),
              If(Set("delivery_not_restricted_flag"), Ones(5)),
              If(Clear("program_segmentation_flag"),
                 LoopN(8, "components", U8("component_tag"), Ones(7), U(33, "pts_offset"))),
              If(Set("segmentation_duration_flag"), U(40, "segmentation_duration")),
              U8("segmentation_upid_type", kUpidTypes), BytesL(8, "segmentation_upid"),
              U8("segmentation_type_id", kSegmentationTypes), U8("segment_num"),
              U8("segments_expected"),
              If(Among("segmentation_type_id", {0x30, 0x32, 0x34, 0x36, 0x38, 0x3A}),
                 Optional(U8("sub_segment_num"), U8("sub_segments_expected"))),
              If(In("segmentation_type_id", 0x44, 0x46),
                 Optional(U8("sub_segment_num"), U8("sub_segments_expected"))))),
        Bytes("private_byte")),
    Descriptor(0x03, "time_descriptor", "SCTE 35 10.3.4", Cue(),
               If(Is("identifier", kCuei), U(48, "TAI_seconds"), U32("TAI_ns"), U16("UTC_offset")),
               Bytes("private_byte")),
    Descriptor(0x04, "audio_descriptor", "SCTE 35 10.3.5", Cue(),
               If(Is("identifier", kCuei), Count(4, "components"), Ones(4),
                  LoopBy("components", U8("component_tag"), Language("ISO_code"),
                         U(3, "Bit_Stream_Mode"), U(4, "Num_Channels"), Flag("Full_Srvc_Audio"))),
               Bytes("private_byte")));

// TS 102 323 5.3
constexpr auto kResolution =
    Declare(In(Space::kResolution),
            Descriptor(0x40, "RAR_over_DVB_stream_descriptor", "TS 102 323 5.3.5.2",
                       Time("first_valid_date"), Time("last_valid_date"), U(6, "weighting"),
                       Flag("complete_flag"), Guard("scheduled_flag"), U16("transport_stream_id"),
                       U16("original_network_id"), U16("service_id"), U8("component_tag"),
                       If(Set("scheduled_flag"), Time("download_start_time"),
                          U8("download_period_duration"), U8("download_cycle_time"))),
            Descriptor(0x41, "RAR_over_IP_descriptor", "TS 102 323 5.3.5.3",
                       Time("first_valid_date"), Time("last_valid_date"), U(6, "weighting"),
                       Flag("complete_flag"), Ones(1), Utf8L(8, "url_char")),
            Descriptor(0x42, "RNT_scan_descriptor", "TS 102 323 5.3.5.4",
                       Loop("transport_streams", U16("transport_stream_id"),
                            U16("original_network_id"), U8("scan_weighting"))));

}  // namespace

GroupView OtherTables() {
    return kTables;
}

GroupView UpdateDescriptors() {
    return kUpdate;
}

GroupView IpMacDescriptors() {
    return kIpMac;
}

GroupView CarouselDescriptors() {
    return kCarousel;
}

GroupView SpliceDescriptors() {
    return kSplice;
}

GroupView ResolutionDescriptors() {
    return kResolution;
}

}  // namespace syntax

// Private descriptors that public documents describe, each under its private_data_specifier or
// under the format of a registration_descriptor.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr std::uint32_t kSes = 0x00000001;
constexpr std::uint32_t kBskyb = 0x00000002;
constexpr std::uint32_t kTps = 0x00000010;
constexpr std::uint32_t kNumericable = 0x00000020;  // to 0x00000023
constexpr std::uint32_t kEacem = 0x00000028;
constexpr std::uint32_t kNorDig = 0x00000029;
constexpr std::uint32_t kNewZealand = 0x00000037;
constexpr std::uint32_t kYouSee = 0x00000031;
constexpr std::uint32_t kCiPlus = 0x00000040;
constexpr std::uint32_t kCanalCyfrowy = 0x000000A5;
constexpr std::uint32_t kRcsRds = 0x000001A0;
constexpr std::uint32_t kEutelsat = 0x0000055F;
constexpr std::uint32_t kGreece = 0x0000212C;
constexpr std::uint32_t kUnitedKingdom = 0x0000233A;
constexpr std::uint32_t kAustralia = 0x00003200;
constexpr std::uint32_t kAustraliaAbc = 0x00003201;
constexpr std::uint32_t kNds = 0x00006001;
constexpr std::uint32_t kIrdeto = 0x00362275;
constexpr std::uint32_t kVoo = 0x00564F4F;
constexpr std::uint32_t kFreesat = 0x46534154;
constexpr std::uint32_t kCuei = 0x43554549;  // "CUEI"

// A logical channel number of ten bits (IEC 62216-1); of fourteen bits (NorDig Unified 12.2.9.2).
constexpr auto Channels10() {
    return Loop("services", U16("service_id"), Flag("visible_service_flag"), Ones(5),
                U(10, "logical_channel_number"));
}
constexpr auto Channels14() {
    return Loop("services", U16("service_id"), Flag("visible_service_flag"), Ones(1),
                U(14, "logical_channel_number"));
}
constexpr auto LogicalChannel(std::uint32_t specifier, unsigned tag) {
    return Descriptor(Under(specifier), tag, "logical_channel_descriptor", "IEC 62216-1",
                      Channels10());
}
constexpr auto OtherLogicalChannel(std::uint32_t specifier, unsigned tag) {
    return Descriptor(Under(specifier), tag, "logical_channel_descriptor", "open decoders",
                      Channels10());
}
constexpr auto YouSeeChannel(std::uint32_t specifier) {
    return Descriptor(Under(specifier), 0x83, "yousee_logical_channel_descriptor", "open decoders",
                      Channels14());
}
constexpr auto HdSimulcast(std::uint32_t specifier) {
    return Descriptor(Under(specifier), 0x88, "HD_simulcast_logical_channel_descriptor",
                      "IEC 62216-1", Channels10());
}
constexpr auto PreferredNameList(std::uint32_t specifier) {
    return Descriptor(Under(specifier), 0x84, "preferred_name_list_descriptor", "IEC 62216-1",
                      Loop("languages", Language("ISO_639_language_code"),
                           LoopN(8, "names", U8("name_id"), TextL(8, "service_name"))));
}
constexpr auto PreferredNameIdentifier(std::uint32_t specifier) {
    return Descriptor(Under(specifier), 0x85, "preferred_name_identifier_descriptor", "IEC 62216-1",
                      U8("name_id"));
}

constexpr Value kGuidanceTypes[] = {{0, "text"}, {1, "mode and text"}};
constexpr Value kCueStreams[] = {{0, "splice_insert, splice_null, splice_schedule"},
                                 {1, "all commands"},
                                 {2, "segmentation"},
                                 {3, "tiered splicing"},
                                 {4, "tiered segmentation"},
                                 {0x80, 0xFF, "user defined"}};

constexpr auto kDescriptors = Declare(
    LogicalChannel(kEacem, 0x83), HdSimulcast(kEacem), PreferredNameList(kEacem),
    PreferredNameIdentifier(kEacem),
    Descriptor(Under(kEacem), 0x86, "eacem_stream_identifier_descriptor", "IEC 62216-1",
               U8("version_byte")),

    // Some networks say TPS where they mean EACEM.
    LogicalChannel(kTps, 0x83), HdSimulcast(kTps), PreferredNameList(kTps),
    PreferredNameIdentifier(kTps),

    LogicalChannel(kUnitedKingdom, 0x83), HdSimulcast(kUnitedKingdom),
    PreferredNameList(kUnitedKingdom), PreferredNameIdentifier(kUnitedKingdom),
    Descriptor(Under(kUnitedKingdom), 0x86, "service_attribute_descriptor", "D-Book",
               Loop("services", U16("service_id"), Ones(6), Flag("numeric_selection_flag"),
                    Flag("visible_service_flag"))),
    Descriptor(Under(kUnitedKingdom), 0x87, "short_service_name_descriptor", "D-Book",
               Text("short_service_name")),
    Descriptor(Under(kUnitedKingdom), 0x89, "guidance_descriptor", "D-Book", Ones(6),
               U(2, "guidance_type", kGuidanceTypes),
               If(Is("guidance_type", 1), Ones(7), U(1, "guidance_mode")),
               If(In("guidance_type", 0, 1), Language("ISO_639_language_code"), Text("text")),
               Bytes("reserved_future_use")),

    LogicalChannel(kNewZealand, 0x83), LogicalChannel(kGreece, 0x83),
    LogicalChannel(kAustralia, 0x83), LogicalChannel(kAustraliaAbc, 0x83),

    // One open decoder each says these.
    OtherLogicalChannel(kCanalCyfrowy, 0x83), OtherLogicalChannel(kVoo, 0x83),
    OtherLogicalChannel(kNumericable, 0xB0), OtherLogicalChannel(kNumericable + 1, 0xB0),
    OtherLogicalChannel(kNumericable + 2, 0xB0), OtherLogicalChannel(kNumericable + 3, 0xB0),
    OtherLogicalChannel(kRcsRds, 0x86), OtherLogicalChannel(kIrdeto, 0x93),
    YouSeeChannel(0x00000083), YouSeeChannel(0xFCFCFCFC),
    Descriptor(Under(kYouSee), 0x82, "yousee_channel_number_descriptor", "open decoders",
               Loop("services", U16("service_id"), U16("channel_number"))),

    Descriptor(Under(kNorDig), 0x83, "nordig_logical_channel_descriptor_v1",
               "NorDig Unified 12.2.9.2", Channels14()),
    Descriptor(Under(kNorDig), 0x87, "nordig_logical_channel_descriptor_v2",
               "NorDig Unified 12.2.9.3",
               Loop("channel_lists", U8("channel_list_id"), TextL(8, "channel_list_name"),
                    Country("country_code"),
                    LoopL(8, "services", U16("service_id"), Flag("visible_service_flag"), Ones(5),
                          U(10, "logical_channel_number")))),

    Descriptor(Under(kEutelsat), 0x83, "eutelsat_channel_number_descriptor", "TSDuck",
               Loop("services", U16("original_network_id"), U16("transport_stream_id"),
                    U16("service_id"), Ones(4), U(12, "eutelsat_channel_number"))),

    Descriptor(Under(kSes), 0x88, "service_list_name_descriptor", "SES SGT",
               Language("ISO_639_language_code"), Text("service_list_name")),
    Descriptor(Under(kSes), 0x93, "bouquet_list_descriptor", "SES SGT",
               Loop("bouquets", TextL(8, "bouquet_name"))),
    Descriptor(Under(kSes), 0xD1, "virtual_service_id_descriptor", "SES SGT",
               U16("virtual_service_id"), Bytes("reserved_future_use")),

    Descriptor(Under(kBskyb), 0xB1, "logical_channel_number_by_region_descriptor", "BSkyB",
               U16("region_id"),
               Loop("services", U16("service_id"), U8("service_type", kServiceTypes),
                    U16("channel_id"), U16("logical_channel_number"), U16("sky_id"))),

    Descriptor(
        Under(kFreesat), 0xD3, "freesat_logical_channel_descriptor", "Freesat",
        Loop("services", U16("service_id"), U16("channel_id"),
             LoopL(8, "regions", Ones(4), U(12, "logical_channel_number"), U16("region_id")))),
    Descriptor(Under(kFreesat), 0xD4, "freesat_region_list_descriptor", "Freesat",
               Loop("regions", U16("region_id"), Language("ISO_639_language_code"),
                    TextL(8, "region_name"))),

    Descriptor(Under(kCiPlus), 0xCE, "ci_protection_descriptor", "CI Plus 1.3 10.1.1",
               Flag("free_ci_mode_flag"), Guard("match_brand_flag"), Ones(6),
               If(Set("match_brand_flag"), LoopN(8, "brands", U16("cicam_brand_identifier"))),
               Bytes("private_data_byte")),

    Descriptor(Under(kCiPlus), 0xCC, "ciplus_service_descriptor", "CI Plus 1.3", U16("service_id"),
               U8("service_type", kServiceTypes), Flag("visible_service_flag"),
               Flag("selectable_service_flag"), U(14, "logical_channel_number"),
               TextL(8, "service_provider_name"), TextL(8, "service_name")),
    Descriptor(Under(kCiPlus), 0xCB, "ciplus_content_label_descriptor", "CI Plus 1.3",
               U8("content_byte_min"), U8("content_byte_max"), Language("ISO_639_language_code"),
               Text("content_label")),

    Descriptor(Under(kNds), 0xE4, "service_order_list_descriptor", "NDS",
               Loop("services", U16("service_id"), U(12, "general_order"), U(12, "order_by_type"))),

    Descriptor(Registered(kCuei), 0x8A, "cue_identifier_descriptor", "SCTE 35 8.2",
               U8("cue_stream_type", kCueStreams)));

}  // namespace

GroupView PrivateDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

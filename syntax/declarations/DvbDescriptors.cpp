// Descriptors 0x40 to 0x7E: EN 300 468 and the standards that it lists.

#include "syntax/declarations/ContentValues.h"
#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

// --- Words

// TS 102 323 11.2: not the table of SDT and EIT.
constexpr Value kTvaRunningStatus[] = {{1, "not yet running"}, {2, "starts or restarts shortly"},
                                       {3, "paused"},          {4, "running"},
                                       {5, "cancelled"},       {6, "completed"}};

// TS 102 323 12.1
constexpr Value kCridTypes[] = {{0x00, "no type"},
                                {0x01, "item that the event is an instance of"},
                                {0x02, "series that the event belongs to"},
                                {0x03, "recommendation"},
                                {0x20, 0x3F, "user private"}};
constexpr Value kCridLocations[] = {{0, "in this descriptor"},
                                    {1, "in the content identifier table"}};

constexpr Value kParentalRatings[] = {{0x00, "undefined"},
                                      {0x01, "minimum age 4"},
                                      {0x02, "minimum age 5"},
                                      {0x03, "minimum age 6"},
                                      {0x04, "minimum age 7"},
                                      {0x05, "minimum age 8"},
                                      {0x06, "minimum age 9"},
                                      {0x07, "minimum age 10"},
                                      {0x08, "minimum age 11"},
                                      {0x09, "minimum age 12"},
                                      {0x0A, "minimum age 13"},
                                      {0x0B, "minimum age 14"},
                                      {0x0C, "minimum age 15"},
                                      {0x0D, "minimum age 16"},
                                      {0x0E, "minimum age 17"},
                                      {0x0F, "minimum age 18"},
                                      {0x10, 0xFF, "defined by the broadcaster"}};

constexpr Value kRemoteAccess[] = {{0, "allowed"},
                                   {1, "within a managed domain only"},
                                   {2, "within a managed domain only, after a short time"},
                                   {3, "not allowed"}};

constexpr Value kVbiServices[] = {{1, "EBU teletext"},
                                  {2, "inverted teletext"},
                                  {4, "VPS"},
                                  {5, "WSS"},
                                  {6, "closed captioning"},
                                  {7, "monochrome 4:2:2 samples"},
                                  {0xF0, 0xFF, "user defined"}};

constexpr Value kCellPresentation[] = {
    {0, "undefined"}, {1, "video"}, {2, "still picture"}, {3, "graphics/text"}};
constexpr Value kCellLinkage[] = {{0, "undefined"},
                                  {1, "bouquet related"},
                                  {2, "service related"},
                                  {3, "other mosaic related"},
                                  {4, "event related"}};

constexpr Value kTeletextTypes[] = {{1, "initial page"},
                                    {2, "subtitle page"},
                                    {3, "additional information page"},
                                    {4, "programme schedule page"},
                                    {5, "subtitle page for the hearing impaired"}};

constexpr Value kScramblingModes[] = {{0x01, "DVB-CSA1"},
                                      {0x02, "DVB-CSA2"},
                                      {0x03, "DVB-CSA3"},
                                      {0x10, "DVB-CISSA version 1"},
                                      {0x11, 0x1F, "DVB-CISSA, later version"},
                                      {0x70, 0x7F, "ATIS defined"},
                                      {0x80, 0xFE, "user defined"}};

constexpr Value kSampleRates[] = {
    {1, "8 kHz"},      {2, "16 kHz"},    {3, "32 kHz"},   {4, "64 kHz"},   {5, "128 kHz"},
    {6, "11.025 kHz"}, {7, "22.05 kHz"}, {8, "44.1 kHz"}, {9, "88.2 kHz"}, {10, "176.4 kHz"},
    {11, "12 kHz"},    {12, "24 kHz"},   {13, "48 kHz"},  {14, "96 kHz"},  {15, "192 kHz"}};
constexpr Value kSurroundModes[] = {
    {0, "1: mono"},          {2, "2: L, R"},         {3, "2: sum and difference"},
    {4, "2: LT, RT"},        {5, "3: C, L, R"},      {6, "3: L, R, S"},
    {7, "4: C, L, R, S"},    {8, "4: L, R, SL, SR"}, {9, "5: C, L, R, SL, SR"},
    {10, 63, "user defined"}};
constexpr Value kExtendedSurround[] = {{0, "none"}, {1, "matrixed"}, {2, "discrete"}};

constexpr Value kFecInner[] = {{0, "not defined"},
                               {1, "1/2"},
                               {2, "2/3"},
                               {3, "3/4"},
                               {4, "5/6"},
                               {5, "7/8"},
                               {6, "8/9"},
                               {7, "3/5"},
                               {8, "4/5"},
                               {9, "9/10"},
                               {15, "no convolutional coding"}};
constexpr Value kFecOuter[] = {{0, "not defined"}, {1, "none"}, {2, "RS(204/188)"}};
constexpr Value kOrbit[] = {{0, "west"}, {1, "east"}};
constexpr Value kPolarizations[] = {
    {0, "linear horizontal"}, {1, "linear vertical"}, {2, "circular left"}, {3, "circular right"}};
constexpr Value kRollOffs[] = {{0, "0.35"}, {1, "0.25"}, {2, "0.20"}};
constexpr Value kModulationSystems[] = {{0, "DVB-S"}, {1, "DVB-S2"}};
constexpr Value kSatelliteModulations[] = {{0, "auto"}, {1, "QPSK"}, {2, "8PSK"}, {3, "16-QAM"}};
constexpr Value kCableModulations[] = {{0, "not defined"}, {1, "16-QAM"},  {2, "32-QAM"},
                                       {3, "64-QAM"},      {4, "128-QAM"}, {5, "256-QAM"}};
constexpr Value kBandwidths[] = {{0, "8 MHz"}, {1, "7 MHz"}, {2, "6 MHz"}, {3, "5 MHz"}};
constexpr Value kPriorities[] = {{0, "low priority"}, {1, "high priority"}};
constexpr Value kUsedIsZero[] = {{0, "used"}, {1, "not used"}};
constexpr Value kConstellations[] = {{0, "QPSK"}, {1, "16-QAM"}, {2, "64-QAM"}};
constexpr Value kHierarchies[] = {{0, "none"},
                                  {1, "alpha 1"},
                                  {2, "alpha 2"},
                                  {3, "alpha 4"},
                                  {4, "none, in-depth interleaver"},
                                  {5, "alpha 1, in-depth interleaver"},
                                  {6, "alpha 2, in-depth interleaver"},
                                  {7, "alpha 4, in-depth interleaver"}};
constexpr Value kCodeRates[] = {{0, "1/2"}, {1, "2/3"}, {2, "3/4"}, {3, "5/6"}, {4, "7/8"}};
constexpr Value kGuardIntervals[] = {{0, "1/32"}, {1, "1/16"}, {2, "1/8"}, {3, "1/4"}};
constexpr Value kTransmissionModes[] = {{0, "2k"}, {1, "8k"}, {2, "4k"}};
constexpr Value kTsGsModes[] = {{0, "generic packetised"}, {1, "GSE"}, {2, "transport stream"}};
constexpr Value kFrequencyCodings[] = {
    {0, "not defined"}, {1, "satellite"}, {2, "cable"}, {3, "terrestrial"}};
constexpr Value kMpeFec[] = {{0, "not used"}, {1, "Reed-Solomon(255,191,64)"}};
constexpr Value kInterBurstCodes[] = {{0, "Reed-Solomon"}, {1, "Raptor"}};
constexpr Value kAverageRates[] = {{0, "16 kbit/s"},   {1, "32 kbit/s"},  {2, "64 kbit/s"},
                                   {3, "128 kbit/s"},  {4, "256 kbit/s"}, {5, "512 kbit/s"},
                                   {6, "1024 kbit/s"}, {7, "2048 kbit/s"}};
constexpr Value kOffsetPolarities[] = {{0, "ahead of UTC"}, {1, "behind UTC"}};
constexpr Value kAnnouncementTypes[] = {
    {0, "emergency alarm"},    {1, "road traffic flash"}, {2, "public transport flash"},
    {3, "warning message"},    {4, "news flash"},         {5, "weather flash"},
    {6, "event announcement"}, {7, "personal call"}};
constexpr Value kReferenceTypes[] = {{0, "usual audio of the service"},
                                     {1, "separate audio of the service"},
                                     {2, "other service of the transport stream"},
                                     {3, "service of another transport stream"}};
constexpr Value kXaitPolicies[] = {{0, "reload when the version changes"},
                                   {1, "ignore changes until reset"}};

constexpr Value kLinkageTypes[] = {{0x01, "information service"},
                                   {0x02, "EPG service"},
                                   {0x03, "CA replacement service"},
                                   {0x04, "TS with complete network/bouquet SI"},
                                   {0x05, "service replacement service"},
                                   {0x06, "data broadcast service"},
                                   {0x07, "RCS map"},
                                   {0x08, "mobile hand-over"},
                                   {0x09, "system software update service"},
                                   {0x0A, "TS with system software update BAT or NIT"},
                                   {0x0B, "IP/MAC notification service"},
                                   {0x0C, "TS with INT BAT or NIT"},
                                   {0x0D, "event linkage"},
                                   {0x0E, 0x1F, "extended event linkage"},
                                   {0x20, "downloadable font info"},
                                   {0x80, 0xFE, "user defined"}};
constexpr Value kHandOvers[] = {{1, "identical service in a neighbouring country"},
                                {2, "local variation of the same service"},
                                {3, "associated service"}};
constexpr Value kOrigins[] = {{0, "NIT"}, {1, "SDT"}};
constexpr Value kTableTypes[] = {{0, "not defined"}, {1, "NIT"}, {2, "BAT"}};
constexpr Value kTargetIdTypes[] = {{0, "transport_stream_id"},
                                    {1, "target_transport_stream_id"},
                                    {2, "any transport stream"},
                                    {3, "user_defined_id"}};
constexpr Value kUpdateTypes[] = {{0, "proprietary"},
                                  {1, "standard carousel without notification table"},
                                  {2, "with notification table, by broadcast"},
                                  {3, "with notification table, by return channel"}};
constexpr Value kMacRanges[] = {{1, "byte 6"},       {2, "bytes 6 and 5"}, {3, "bytes 6 to 4"},
                                {4, "bytes 6 to 3"}, {5, "bytes 6 to 2"},  {6, "bytes 6 to 1"}};
constexpr Value kCarouselTypes[] = {{1, "one layer"}, {2, "two layers"}};
constexpr Value kHigherProtocols[] = {{1, "dGNSS"}, {2, "TPEG"}};
constexpr Value kMhegTypes[] = {{0x0000, "null"}, {0x0101, "UK profile launch"}};

// --- Parts that several descriptors share

constexpr auto kServiceTriplet =
    Sequence(U16("original_network_id"), U16("transport_stream_id"), U16("service_id"));

constexpr auto TeletextPages() {
    return Loop("pages", Language("ISO_639_language_code"), U(5, "teletext_type", kTeletextTypes),
                U(3, "teletext_magazine_number"), U8("teletext_page_number"));
}

constexpr auto OuiLoop() {
    return LoopL(8, "OUIs", U24("OUI"), Ones(4), U(4, "update_type", kUpdateTypes), Ones(2),
                 Flag("update_versioning_flag"), U(5, "update_version"),
                 BytesL(8, "selector_byte"));
}

constexpr auto CarouselInfo() {
    return Sequence(U(2, "carousel_type_id", kCarouselTypes), Ones(6), U32("transaction_id"),
                    U32("time_out_value_DSI"), U32("time_out_value_DII"), Ones(2),
                    U(22, "leak_rate"));
}

// The selector of data_broadcast_descriptor and data_broadcast_id_descriptor, to the end of what
// encloses it. It may be missing whatever the id.
constexpr auto Selector(std::string_view rest) {
    return Sequence(
        // EN 301 192 7.2.1
        If(Is("data_broadcast_id", 0x0005),
           Try(U(3, "MAC_address_range", kMacRanges), Flag("MAC_IP_mapping_flag"),
               Flag("alignment_indicator"), Ones(3), U8("max_sections_per_datagram"))),
        // EN 301 192 10.3
        If(Is("data_broadcast_id", 0x0006), Try(CarouselInfo())),
        // EN 301 192 11.3.2
        If(Is("data_broadcast_id", 0x0007),
           Try(CarouselInfo(),
               Loop("objects", Language("ISO_639_language_code"), TextL(8, "object_name")))),
        // EN 301 192 12.2.1
        If(Is("data_broadcast_id", 0x0009),
           Try(U(4, "higher_protocol_id", kHigherProtocols), Ones(4))),
        // TS 102 006 7.1
        If(Is("data_broadcast_id", 0x000A), Try(OuiLoop())),
        // EN 301 192 8.3.2
        If(Is("data_broadcast_id", 0x000B),
           Try(LoopL(8, "platforms", U24("platform_id"), U8("action_type"), Ones(2),
                     Flag("INT_versioning_flag"), U(5, "INT_version")))),
        // TS 102 812: the first bit is reserved, and comes as 0
        If(In("data_broadcast_id", 0x00F0, 0x00F1),
           Try(Loop("applications", Zeros(1), U(15, "application_type", kApplicationTypes)))),
        // ES 202 184 9.3.2.1
        If(Is("data_broadcast_id", 0x0106),
           Try(Loop("applications", U16("application_type_code", kMhegTypes),
                    U8("boot_priority_hint"), BytesL(8, "application_specific_data")))),
        Bytes(rest));
}

constexpr auto kDescriptors = Declare(
    // --- Names, lists, services

    Descriptor(0x40, "network_name_descriptor", "EN 300 468 6.2.27", Text("network_name")),

    Descriptor(0x41, "service_list_descriptor", "EN 300 468 6.2.35",
               Loop("services", U16("service_id"), U8("service_type", kServiceTypes))),

    Descriptor(0x42, "stuffing_descriptor", "EN 300 468 6.2.40", Bytes("stuffing_byte")),

    Descriptor(0x47, "bouquet_name_descriptor", "EN 300 468 6.2.4", Text("bouquet_name")),

    Descriptor(0x48, "service_descriptor", "EN 300 468 6.2.33", U8("service_type", kServiceTypes),
               TextL(8, "service_provider_name"), TextL(8, "service_name")),

    Descriptor(0x49, "country_availability_descriptor", "EN 300 468 6.2.10",
               Flag("country_availability_flag"), Ones(7),
               Loop("countries", Country("country_code"))),

    Descriptor(0x4B, "NVOD_reference_descriptor", "EN 300 468 6.2.26",
               Loop("services", U16("transport_stream_id"), U16("original_network_id"),
                    U16("service_id"))),

    Descriptor(0x4C, "time_shifted_service_descriptor", "EN 300 468 6.2.45",
               U16("reference_service_id")),

    Descriptor(0x53, "CA_identifier_descriptor", "EN 300 468 6.2.5",
               Loop("ca_systems", U16("CA_system_id"))),

    Descriptor(0x5B, "multilingual_network_name_descriptor", "EN 300 468 6.2.24",
               Loop("names", Language("ISO_639_language_code"), TextL(8, "network_name"))),

    Descriptor(0x5C, "multilingual_bouquet_name_descriptor", "EN 300 468 6.2.22",
               Loop("names", Language("ISO_639_language_code"), TextL(8, "bouquet_name"))),

    Descriptor(0x5D, "multilingual_service_name_descriptor", "EN 300 468 6.2.25",
               Loop("names", Language("ISO_639_language_code"), TextL(8, "service_provider_name"),
                    TextL(8, "service_name"))),

    Descriptor(0x5F, "private_data_specifier_descriptor", "EN 300 468 6.2.31",
               U32("private_data_specifier", kSpecifiers)),

    Descriptor(0x60, "service_move_descriptor", "EN 300 468 6.2.36", U16("new_original_network_id"),
               U16("new_transport_stream_id"), U16("new_service_id")),

    Descriptor(0x71, "service_identifier_descriptor", "TS 102 809 6.2.1",
               Utf8("textual_service_identifier_bytes")),

    Descriptor(0x72, "service_availability_descriptor", "EN 300 468 6.2.34",
               Flag("availability_flag"), Ones(7), Loop("cells", U16("cell_id"))),

    Descriptor(0x73, "default_authority_descriptor", "TS 102 323 6.3.3",
               Utf8("default_authority_byte")),

    // --- Events

    Descriptor(0x4D, "short_event_descriptor", "EN 300 468 6.2.37",
               Language("ISO_639_language_code"), TextL(8, "event_name"), TextL(8, "text")),

    Descriptor(0x4E, "extended_event_descriptor", "EN 300 468 6.2.15", U(4, "descriptor_number"),
               U(4, "last_descriptor_number"), Language("ISO_639_language_code"),
               LoopL(8, "items", TextL(8, "item_description"), TextL(8, "item")), TextL(8, "text")),

    Descriptor(0x4F, "time_shifted_event_descriptor", "EN 300 468 6.2.44",
               U16("reference_service_id"), U16("reference_event_id")),

    Descriptor(0x50, "component_descriptor", "EN 300 468 6.2.8", U(4, "stream_content_ext"),
               U(4, "stream_content", kStreamContents).By("stream_content_ext"),
               U8("component_type", kComponentTypes).By("stream_content_ext", "stream_content"),
               U8("component_tag"), Language("ISO_639_language_code"), Text("text")),

    Descriptor(0x54, "content_descriptor", "EN 300 468 6.2.9",
               Loop("contents", U(4, "content_nibble_level_1", kContentLevel1),
                    U(4, "content_nibble_level_2", kContentLevel2).By("content_nibble_level_1"),
                    U8("user_byte"))),

    Descriptor(0x55, "parental_rating_descriptor", "EN 300 468 6.2.28",
               Loop("ratings", Country("country_code"), U8("rating", kParentalRatings))),

    Descriptor(0x57, "telephone_descriptor", "EN 300 468 6.2.42", Ones(2),
               Flag("foreign_availability"), U(5, "connection_type"), Ones(1),
               Length(2, "country_prefix"), Length(3, "international_area_code"),
               Length(2, "operator_code"), Ones(1), Length(3, "national_area_code"),
               Length(4, "core_number"), Utf8By("country_prefix"),
               Utf8By("international_area_code"), Utf8By("operator_code"),
               Utf8By("national_area_code"), Utf8By("core_number")),

    Descriptor(0x5E, "multilingual_component_descriptor", "EN 300 468 6.2.23", U8("component_tag"),
               Loop("texts", Language("ISO_639_language_code"), TextL(8, "text"))),

    Descriptor(0x61, "short_smoothing_buffer_descriptor", "EN 300 468 6.2.38", U(2, "sb_size"),
               U(6, "sb_leak_rate"), Bytes("DVB_reserved")),

    Descriptor(0x69, "PDC_descriptor", "EN 300 468 6.2.29", Ones(4),
               ProgrammeLabel("programme_identification_label")),

    Descriptor(0x75, "TVA_id_descriptor", "TS 102 323 11.2",
               Loop("TVA_ids", U16("TVA_id"), Ones(5), U(3, "running_status", kTvaRunningStatus))),

    Descriptor(0x76, "content_identifier_descriptor", "TS 102 323 12.1",
               Loop("crids", U(6, "crid_type", kCridTypes), U(2, "crid_location", kCridLocations),
                    If(Is("crid_location", 0), Utf8L(8, "crid")),
                    If(Is("crid_location", 1), U16("crid_ref")))),

    Descriptor(0x7E, "FTA_content_management_descriptor", "EN 300 468 6.2.18", U(1, "user_defined"),
               Ones(3), Flag("do_not_scramble"),
               U(2, "control_remote_access_over_internet", kRemoteAccess),
               Flag("do_not_apply_revocation")),

    // --- Elementary streams

    Descriptor(0x45, "VBI_data_descriptor", "EN 300 468 6.2.47",
               Loop("data_services", U8("data_service_id", kVbiServices),
                    Window(8,
                           If(Among("data_service_id", {1, 2, 4, 5, 6, 7}),
                              Loop("lines", Ones(2), Flag("field_parity"), U(5, "line_offset"))),
                           Bytes("reserved_byte")))),

    Descriptor(0x46, "VBI_teletext_descriptor", "EN 300 468 6.2.48", TeletextPages()),

    Descriptor(0x51, "mosaic_descriptor", "EN 300 468 6.2.21", Flag("mosaic_entry_point"),
               U(3, "number_of_horizontal_elementary_cells"), Ones(1),
               U(3, "number_of_vertical_elementary_cells"),
               Loop("logical_cells", U(6, "logical_cell_id"), Ones(7),
                    U(3, "logical_cell_presentation_info", kCellPresentation),
                    LoopL(8, "elementary_cells", Ones(2), U(6, "elementary_cell_id")),
                    U8("cell_linkage_info", kCellLinkage),
                    If(Is("cell_linkage_info", 1), U16("bouquet_id")),
                    If(In("cell_linkage_info", 2, 4), kServiceTriplet),
                    If(Is("cell_linkage_info", 4), U16("event_id")))),

    Descriptor(0x52, "stream_identifier_descriptor", "EN 300 468 6.2.39", U8("component_tag")),

    Descriptor(0x56, "teletext_descriptor", "EN 300 468 6.2.43", TeletextPages()),

    Descriptor(0x59, "subtitling_descriptor", "EN 300 468 6.2.41",
               Loop("subtitles", Language("ISO_639_language_code"),
                    U8("subtitling_type", kSubtitlingTypes), U16("composition_page_id"),
                    U16("ancillary_page_id"))),

    Descriptor(0x65, "scrambling_descriptor", "EN 300 468 6.2.32",
               U8("scrambling_mode", kScramblingModes)),

    Descriptor(0x6A, "AC-3_descriptor", "EN 300 468 D.3", Guard("component_type_flag"),
               Guard("bsid_flag"), Guard("mainid_flag"), Guard("asvc_flag"), Zeros(4),
               If(Set("component_type_flag"), U8("component_type", kAc3ComponentTypes)),
               If(Set("bsid_flag"), U8("bsid")), If(Set("mainid_flag"), U8("mainid")),
               If(Set("asvc_flag"), U8("asvc")), Bytes("additional_info_byte")),

    Descriptor(0x7A, "enhanced_AC-3_descriptor", "EN 300 468 D.5", Guard("component_type_flag"),
               Guard("bsid_flag"), Guard("mainid_flag"), Guard("asvc_flag"), Flag("mixinfoexists"),
               Guard("substream1_flag"), Guard("substream2_flag"), Guard("substream3_flag"),
               If(Set("component_type_flag"), U8("component_type", kAc3ComponentTypes)),
               If(Set("bsid_flag"), U8("bsid")), If(Set("mainid_flag"), U8("mainid")),
               If(Set("asvc_flag"), U8("asvc")), If(Set("substream1_flag"), U8("substream1")),
               If(Set("substream2_flag"), U8("substream2")),
               If(Set("substream3_flag"), U8("substream3")), Bytes("additional_info_byte")),

    Descriptor(0x7B, "DTS_descriptor", "EN 300 468 G.2.1", U(4, "sample_rate_code", kSampleRates),
               U(6, "bit_rate_code"), U(7, "nblks"), U(14, "fsize"),
               U(6, "surround_mode", kSurroundModes), Flag("lfe_flag"),
               U(2, "extended_surround_flag", kExtendedSurround), Bytes("additional_info_byte")),

    Descriptor(0x7C, "AAC_descriptor", "EN 300 468 H.2.1", U8("profile_and_level", kAudioProfiles),
               Optional(Guard("AAC_type_flag"), Flag("SAOC_DE_flag"), Zeros(6),
                        If(Set("AAC_type_flag"), U8("AAC_type", kAacTypes)),
                        Bytes("additional_info_byte"))),

    Descriptor(0x6B, "ancillary_data_descriptor", "EN 300 468 6.2.2",
               U8("ancillary_data_identifier")),

    Descriptor(0x70, "adaptation_field_data_descriptor", "EN 300 468 6.2.1",
               U8("adaptation_field_data_identifier")),

    // The first bit is reserved, and comes as 0 from nearly all.
    Descriptor(0x6F, "application_signalling_descriptor", "TS 102 809 5.3.5.1",
               Loop("applications", Zeros(1), U(15, "application_type", kApplicationTypes), Ones(3),
                    U(5, "AIT_version_number"))),

    Descriptor(0x74, "related_content_descriptor", "TS 102 323 10.3"),

    Descriptor(0x78, "ECM_repetition_rate_descriptor", "EN 301 192 9.7", U16("CA_system_ID"),
               U16("ECM_repetition_rate"), Bytes("private_data_byte")),

    // --- Networks and delivery

    Descriptor(0x43, "satellite_delivery_system_descriptor", "EN 300 468 6.2.13.2",
               BcdUnits("frequency_hz", 32, 10'000), BcdFraction("orbital_position", 16, 10),
               U(1, "west_east_flag", kOrbit), U(2, "polarization", kPolarizations),
               U(2, "roll_off", kRollOffs), U(1, "modulation_system", kModulationSystems),
               U(2, "modulation_type", kSatelliteModulations),
               BcdUnits("symbol_rate_sym_s", 28, 100), U(4, "FEC_inner", kFecInner)),

    Descriptor(0x44, "cable_delivery_system_descriptor", "EN 300 468 6.2.13.1",
               BcdUnits("frequency_hz", 32, 100), Ones(12), U(4, "FEC_outer", kFecOuter),
               U8("modulation", kCableModulations), BcdUnits("symbol_rate_sym_s", 28, 100),
               U(4, "FEC_inner", kFecInner)),

    Descriptor(
        0x5A, "terrestrial_delivery_system_descriptor", "EN 300 468 6.2.13.4",
        Units(32, "centre_frequency_hz", 10), U(3, "bandwidth", kBandwidths),
        U(1, "priority", kPriorities), U(1, "Time_Slicing_indicator", kUsedIsZero),
        U(1, "MPE-FEC_indicator", kUsedIsZero), Ones(2), U(2, "constellation", kConstellations),
        U(3, "hierarchy_information", kHierarchies), U(3, "code_rate-HP_stream", kCodeRates),
        U(3, "code_rate-LP_stream", kCodeRates), U(2, "guard_interval", kGuardIntervals),
        U(2, "transmission_mode", kTransmissionModes), Flag("other_frequency_flag"), Ones(32)),

    // Older streams have reserved ones in the place of not_timeslice_flag and TS_GS_mode, or zeros
    // without a timeslice_number.
    Descriptor(0x79, "S2_satellite_delivery_system_descriptor", "EN 300 468 6.2.13.3",
               Guard("scrambling_sequence_selector"), Guard("multiple_input_stream_flag"), Zeros(1),
               Flag("not_timeslice_flag"), Ones(2), U(2, "TS_GS_mode", kTsGsModes),
               If(Set("scrambling_sequence_selector"), Ones(6), U(18, "scrambling_sequence_index")),
               If(Set("multiple_input_stream_flag"), U8("input_stream_identifier")),
               If(Clear("not_timeslice_flag"), Optional(U8("timeslice_number")))),

    Descriptor(0x62, "frequency_list_descriptor", "EN 300 468 6.2.17", Ones(6),
               U(2, "coding_type", kFrequencyCodings),
               Loop("frequencies", If(Is("coding_type", 0), U32("centre_frequency")),
                    If(Is("coding_type", 1), BcdUnits("centre_frequency_hz", 32, 10'000)),
                    If(Is("coding_type", 2), BcdUnits("centre_frequency_hz", 32, 100)),
                    If(Is("coding_type", 3), Units(32, "centre_frequency_hz", 10)))),

    Descriptor(0x6C, "cell_list_descriptor", "EN 300 468 6.2.7",
               Loop("cells", U16("cell_id"), S(16, "cell_latitude"), S(16, "cell_longitude"),
                    U(12, "cell_extent_of_latitude"), U(12, "cell_extent_of_longitude"),
                    LoopL(8, "subcells", U8("cell_id_extension"), S(16, "subcell_latitude"),
                          S(16, "subcell_longitude"), U(12, "subcell_extent_of_latitude"),
                          U(12, "subcell_extent_of_longitude")))),

    Descriptor(0x6D, "cell_frequency_link_descriptor", "EN 300 468 6.2.6",
               Loop("cells", U16("cell_id"), Units(32, "frequency_hz", 10),
                    LoopL(8, "subcells", U8("cell_id_extension"),
                          Units(32, "transposer_frequency_hz", 10)))),

    Descriptor(
        0x77, "time_slice_fec_identifier_descriptor", "EN 301 192 9.5", Flag("time_slicing"),
        U(2, "mpe_fec", kMpeFec), Ones(2), U(3, "frame_size"), U8("max_burst_duration"),
        U(4, "max_average_rate", kAverageRates), U(4, "time_slice_fec_id"),
        // TS 102 772: MPE-IFEC
        If(Is("time_slice_fec_id", 1),
           TryAll(U(2, "T_code", kInterBurstCodes), U(3, "G_code"), Ones(3), U8("R"), U(13, "C"),
                  Ones(3), U8("B"), U8("S"), U8("D"), U8("EP"), U8("max_average_rate_over_B"))),
        Bytes("id_selector_byte")),

    Descriptor(0x67, "transport_stream_descriptor", "EN 300 468 6.2.46", Utf8("byte")),

    Descriptor(0x68, "DSNG_descriptor", "EN 300 468 6.2.14", Utf8("byte")),

    Descriptor(0x63, "partial_transport_stream_descriptor", "EN 300 468 7.2.1", Ones(2),
               U(22, "peak_rate"), Ones(2), U(22, "minimum_overall_smoothing_rate"), Ones(2),
               U(14, "maximum_overall_smoothing_buffer")),

    Descriptor(0x58, "local_time_offset_descriptor", "EN 300 468 6.2.20",
               Loop("offsets", Country("country_code"), U(6, "country_region_id"), Ones(1),
                    U(1, "local_time_offset_polarity", kOffsetPolarities),
                    HoursMinutes("local_time_offset"), Time("time_of_change"),
                    HoursMinutes("next_time_offset"))),

    Descriptor(0x6E, "announcement_support_descriptor", "EN 300 468 6.2.3",
               U16("announcement_support_indicator"),
               Loop("announcements", U(4, "announcement_type", kAnnouncementTypes), Ones(1),
                    U(3, "reference_type", kReferenceTypes),
                    If(In("reference_type", 1, 3), kServiceTriplet, U8("component_tag")))),

    Descriptor(0x7D, "XAIT_location_descriptor", "TS 102 727 10.17.3",
               U16("xait_original_network_id"), U16("xait_service_id"), U(5, "xait_version_number"),
               U(3, "xait_update_policy", kXaitPolicies)),

    Descriptor(0x64, "data_broadcast_descriptor", "EN 300 468 6.2.11",
               U16("data_broadcast_id", kDataBroadcastIds), U8("component_tag"),
               Window(8, Selector("selector_byte")), Language("ISO_639_language_code"),
               TextL(8, "text")),

    Descriptor(0x66, "data_broadcast_id_descriptor", "EN 300 468 6.2.12",
               U16("data_broadcast_id", kDataBroadcastIds), Selector("id_selector_byte")),

    // --- Linkage. A body that does not fit its type is private_data_byte.

    Descriptor(
        0x4A, "linkage_descriptor", "EN 300 468 6.2.19", U16("transport_stream_id"),
        U16("original_network_id"), U16("service_id"), U8("linkage_type", kLinkageTypes),
        // EN 300 468 6.2.19.2
        If(Is("linkage_type", 0x08),
           Try(U(4, "hand-over_type", kHandOvers), Ones(3), U(1, "origin_type", kOrigins),
               If(In("hand-over_type", 1, 3), U16("network_id")),
               If(Is("origin_type", 0), U16("initial_service_id")))),
        // TS 102 006 6.1
        If(Is("linkage_type", 0x09), Try(LoopL(8, "OUIs", U24("OUI"), BytesL(8, "selector_byte")))),
        If(Is("linkage_type", 0x0A), Try(U8("table_type", kTableTypes))),
        // EN 301 192 8.2.1
        If(Is("linkage_type", 0x0B),
           Try(LoopL(8, "platforms", U24("platform_id"),
                     LoopL(8, "platform_names", Language("ISO_639_language_code"),
                           TextL(8, "platform_name"))))),
        If(Is("linkage_type", 0x0C),
           Try(U8("table_type", kTableTypes), If(Is("table_type", 2), U16("bouquet_id")))),
        // EN 300 468 6.2.19.3
        If(Is("linkage_type", 0x0D),
           Try(U16("target_event_id"), Flag("target_listed"), Flag("event_simulcast"), Ones(6))),
        // EN 300 468 6.2.19.4
        If(In("linkage_type", 0x0E, 0x1F),
           Try(LoopL(8, "extended_event_linkages", U16("target_event_id"), Flag("target_listed"),
                     Flag("event_simulcast"), U(2, "link_type"),
                     U(2, "target_id_type", kTargetIdTypes), Flag("original_network_id_flag"),
                     Flag("service_id_flag"), If(Is("target_id_type", 3), U16("user_defined_id")),
                     If(Is("target_id_type", 1), U16("target_transport_stream_id")),
                     If(Not(Is("target_id_type", 3)),
                        If(Set("original_network_id_flag"), U16("target_original_network_id")),
                        If(Set("service_id_flag"), U16("target_service_id")))))),
        // EN 303 560 5.3.2.2.2
        If(Is("linkage_type", 0x20),
           Try(LoopN(8, "fonts", Flag("essential_font_download_flag"), U(7, "font_id")))),
        Bytes("private_data_byte")));

}  // namespace

GroupView DvbDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

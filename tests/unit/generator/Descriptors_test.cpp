#include "generator/Descriptors.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace generator {
namespace {

TEST(DescriptorsTest, AnyDescriptorIsTagLengthBody) {
    EXPECT_EQ(Descriptor(0x83, {1, 2}), (Bytes{0x83, 2, 1, 2}));
    EXPECT_EQ(Descriptor(0x83, {}), (Bytes{0x83, 0}));
    EXPECT_EQ(ExtensionDescriptor(0x0B, {9}), (Bytes{0x7F, 2, 0x0B, 9}));
    EXPECT_THROW(Descriptor(0x83, Bytes(256)), std::logic_error);
}

TEST(DescriptorsTest, TextOfUtf8StandsBehindItsSelector) {
    EXPECT_EQ(Utf8("ab"),
              "\x15"
              "ab");
}

TEST(DescriptorsTest, Registration) {
    EXPECT_EQ(RegistrationDescriptor(0x41424344, {1, 2}),
              (Bytes{0x05, 6, 'A', 'B', 'C', 'D', 1, 2}));
}

TEST(DescriptorsTest, ConditionalAccess) {
    EXPECT_EQ(CaDescriptor(0xFF21, 0x0123, {0xAA}), (Bytes{0x09, 5, 0xFF, 0x21, 0xE1, 0x23, 0xAA}));
}

TEST(DescriptorsTest, Language) {
    EXPECT_EQ(Iso639LanguageDescriptor("deu", 2), (Bytes{0x0A, 4, 'd', 'e', 'u', 2}));
    EXPECT_THROW(Iso639LanguageDescriptor("de", 2), std::logic_error);
}

TEST(DescriptorsTest, CarouselIdentifier) {
    EXPECT_EQ(CarouselIdentifierDescriptor(0x01020304), (Bytes{0x13, 5, 1, 2, 3, 4, 0}));
    EXPECT_EQ(CarouselIdentifierDescriptor(5, 1, {7}), (Bytes{0x13, 6, 0, 0, 0, 5, 1, 7}));
}

TEST(DescriptorsTest, Names) {
    EXPECT_EQ(NetworkNameDescriptor("net"), (Bytes{0x40, 3, 'n', 'e', 't'}));
    EXPECT_EQ(BouquetNameDescriptor(""), (Bytes{0x47, 0}));
    EXPECT_EQ(ServiceDescriptor(0x19, "pr", "one"),
              (Bytes{0x48, 8, 0x19, 2, 'p', 'r', 3, 'o', 'n', 'e'}));
}

TEST(DescriptorsTest, ServiceList) {
    EXPECT_EQ(ServiceListDescriptor({{0x0102, 3}, {0x0405, 6}}),
              (Bytes{0x41, 6, 1, 2, 3, 4, 5, 6}));
}

TEST(DescriptorsTest, PrivateDataSpecifier) {
    EXPECT_EQ(PrivateDataSpecifierDescriptor(0x01020304), (Bytes{0x5F, 4, 1, 2, 3, 4}));
}

TEST(DescriptorsTest, LinkageNamesStreamNetworkServiceInThisOrder) {
    EXPECT_EQ(LinkageDescriptor({0x0102, 0x0304, 0x0506}, 0x9D, {0xAA}),
              (Bytes{0x4A, 8, 0x01, 0x02,  // transport_stream_id
                     0x03, 0x04,           // original_network_id
                     0x05, 0x06,           // service_id
                     0x9D,                 // linkage_type
                     0xAA}));
}

TEST(DescriptorsTest, UpdateLinkageListsMakers) {
    EXPECT_EQ(SsuLinkageDescriptor({1, 2, 3}, {{0x00015A, {}}, {0x02A1B2, {7, 8}}}, {0xEE}),
              (Bytes{0x4A, 19,   0x00, 0x01, 0x00, 0x02, 0x00, 0x03,
                     0x09,                    // linkage_type
                     0x0A,                    // OUI_data_length
                     0x00, 0x01, 0x5A, 0x00,  // OUI, selector_length
                     0x02, 0xA1, 0xB2, 0x02,  // OUI, selector_length
                     7,    8,                 // selector
                     0xEE}));
}

TEST(DescriptorsTest, ScanLinkageTellsTheTable) {
    EXPECT_EQ(SsuScanLinkageDescriptor({1, 2, 0}, 2), (Bytes{0x4A, 8, 0, 1, 0, 2, 0, 0, 0x0A, 2}));
}

TEST(DescriptorsTest, DataBroadcastId) {
    EXPECT_EQ(DataBroadcastIdDescriptor(0x0123, {9}), (Bytes{0x66, 3, 0x01, 0x23, 9}));
}

TEST(DescriptorsTest, UpdateInfoListsMakersWithTypeAndVersion) {
    EXPECT_EQ(SsuDataBroadcastIdDescriptor({{.OUI = 0x02A1B2,
                                             .update_type = 2,
                                             .update_versioning_flag = true,
                                             .update_version = 9,
                                             .selector = {7}},
                                            {.OUI = 0x00015A}},
                                           {0xEE}),
              (Bytes{0x66, 17, 0x00, 0x0A,  // data_broadcast_id
                     0x0D,                  // OUI_data_length
                     0x02, 0xA1, 0xB2,      // OUI
                     0xF2,                  // reserved, update_type
                     0xE9,                  // reserved, update_versioning_flag, update_version
                     0x01, 7,               // selector
                     0x00, 0x01, 0x5A,      // OUI
                     0xF0, 0xC0, 0x00, 0xEE}));
}

TEST(DescriptorsTest, StreamIdentifier) {
    EXPECT_EQ(StreamIdentifierDescriptor(0x30), (Bytes{0x52, 1, 0x30}));
}

TEST(DescriptorsTest, ApplicationSignalling) {
    EXPECT_EQ(ApplicationSignallingDescriptor(0x0010, 2), (Bytes{0x6F, 3, 0x80, 0x10, 0xE2}));
}

TEST(DescriptorsTest, ShortEvent) {
    EXPECT_EQ(ShortEventDescriptor("eng", "ab", "c"),
              (Bytes{0x4D, 8, 'e', 'n', 'g', 2, 'a', 'b', 1, 'c'}));
}

TEST(DescriptorsTest, ExtendedEvent) {
    EXPECT_EQ(ExtendedEventDescriptor({.descriptor_number = 1,
                                       .last_descriptor_number = 2,
                                       .language_code = "eng",
                                       .items = {{"d", "it"}},
                                       .text = "x"}),
              (Bytes{0x4E, 12,
                     0x12,  // descriptor_number, last_descriptor_number
                     'e', 'n', 'g',
                     5,  // length_of_items
                     1, 'd', 2, 'i', 't', 1, 'x'}));
}

TEST(DescriptorsTest, Component) {
    EXPECT_EQ(ComponentDescriptor({.stream_content = 1,
                                   .component_type = 3,
                                   .component_tag = 7,
                                   .language_code = "eng",
                                   .text = "w"}),
              (Bytes{0x50, 7, 0xF1, 3, 7, 'e', 'n', 'g', 'w'}));
}

TEST(DescriptorsTest, Content) {
    EXPECT_EQ(ContentDescriptor({{2, 3, 0xAA}, {4, 5}}), (Bytes{0x54, 4, 0x23, 0xAA, 0x45, 0x00}));
}

TEST(DescriptorsTest, ParentalRating) {
    EXPECT_EQ(ParentalRatingDescriptor({{"DEU", 9}, {"FRA", 6}}),
              (Bytes{0x55, 8, 'D', 'E', 'U', 9, 'F', 'R', 'A', 6}));
}

TEST(DescriptorsTest, LocalTimeOffset) {
    EXPECT_EQ(LocalTimeOffsetDescriptor({.country_code = "DEU",
                                         .country_region_id = 1,
                                         .local_time_offset_polarity = true,
                                         .local_time_offset = 0x0200,
                                         .time_of_change = 0xEB12345678,
                                         .next_time_offset = 0x0100}),
              (Bytes{0x58, 13, 'D', 'E', 'U', 0x07, 0x02, 0x00, 0xEB, 0x12, 0x34, 0x56, 0x78, 0x01,
                     0x00}));
}

TEST(DescriptorsTest, SatelliteDelivery) {
    EXPECT_EQ(SatelliteDeliveryDescriptor({.frequency = 0x01172750,
                                           .orbital_position = 0x0192,
                                           .west_east_flag = true,
                                           .polarization = 1,
                                           .roll_off = 2,
                                           .modulation_system = true,
                                           .modulation_type = 2,
                                           .symbol_rate = 0x0275000,
                                           .FEC_inner = 3}),
              (Bytes{0x43, 11, 0x01, 0x17, 0x27, 0x50,  // frequency
                     0x01, 0x92,                        // orbital_position
                     0xB6,                              // 1 01 10 1 10
                     0x02, 0x75, 0x00, 0x03}));         // symbol_rate, FEC_inner
}

TEST(DescriptorsTest, CableDelivery) {
    EXPECT_EQ(CableDeliveryDescriptor({.frequency = 0x03460000,
                                       .FEC_outer = 2,
                                       .modulation = 3,
                                       .symbol_rate = 0x0069000,
                                       .FEC_inner = 15}),
              (Bytes{0x44, 11, 0x03, 0x46, 0x00, 0x00, 0xFF, 0xF2,  // reserved, FEC_outer
                     0x03, 0x00, 0x69, 0x00, 0x0F}));
}

TEST(DescriptorsTest, TerrestrialDelivery) {
    EXPECT_EQ(TerrestrialDeliveryDescriptor({.centre_frequency = 0x031C8340,
                                             .bandwidth = 1,
                                             .priority = false,
                                             .Time_Slicing_indicator = true,
                                             .MPE_FEC_indicator = false,
                                             .constellation = 2,
                                             .hierarchy_information = 5,
                                             .code_rate_HP_stream = 3,
                                             .code_rate_LP_stream = 1,
                                             .guard_interval = 2,
                                             .transmission_mode = 1,
                                             .other_frequency_flag = true}),
              (Bytes{0x5A, 11, 0x03, 0x1C, 0x83, 0x40,
                     0x2B,  // 001 0 1 0 11
                     0xAB,  // 10 101 011
                     0x33,  // 001 10 01 1
                     0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(DescriptorsTest, ShortT2Delivery) {
    EXPECT_EQ(T2DeliveryDescriptor({.plp_id = 7, .T2_system_id = 0x0102, .short_form = true}),
              (Bytes{0x7F, 4, 0x04, 7, 0x01, 0x02}));
}

TEST(DescriptorsTest, T2DeliveryWithCells) {
    EXPECT_EQ(T2DeliveryDescriptor(
                  {.plp_id = 7,
                   .T2_system_id = 0x0102,
                   .SISO_MISO = 1,
                   .bandwidth = 2,
                   .guard_interval = 4,
                   .transmission_mode = 5,
                   .other_frequency_flag = true,
                   .cells = {{0x0A0B, {0x01020304}, {{9, 0x05060708}}}, {0x0C0D, {0x11121314}}}}),
              (Bytes{0x7F, 25,   0x04, 7,    0x01, 0x02,
                     0x4B,                    // 01 0010 11
                     0x96,                    // 100 101 1 0
                     0x0A, 0x0B,              // cell_id
                     0x01, 0x02, 0x03, 0x04,  // centre_frequency
                     5,    9,    0x05, 0x06, 0x07, 0x08, 0x0C, 0x0D, 0x11, 0x12, 0x13, 0x14, 0}));
}

TEST(DescriptorsTest, T2DeliveryWithTimeFrequencySlicingCountsItsFrequencies) {
    EXPECT_EQ(
        T2DeliveryBody(
            {.plp_id = 7, .T2_system_id = 0x0102, .tfs_flag = true, .cells = {{0x0A0B, {1, 2}}}}),
        (Bytes{7, 0x01, 0x02, 0x03, 0x01, 0x0A, 0x0B, 8, 0, 0, 0, 1, 0, 0, 0, 2, 0}));
    EXPECT_THROW(T2DeliveryBody({.plp_id = 7, .T2_system_id = 1, .cells = {{1, {1, 2}}}}),
                 std::logic_error);
}

}  // namespace
}  // namespace generator

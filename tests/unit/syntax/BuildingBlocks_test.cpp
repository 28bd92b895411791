// Each building block of declarations on bytes of public standards and captures.

#include "syntax/Encoder.h"
#include "syntax/PlainText.h"
#include "tests/unit/syntax/SyntaxTest.h"

namespace {

using namespace syntax;
using namespace syntaxtest;

TEST(BuildingBlocks, ALoopToTheEndWithWordsBesideItsValues) {
    EXPECT_EQ(R"({"tag":10,"name":"ISO_639_language_descriptor","languages":[)"
              R"({"ISO_639_language_code":"ita","audio_type":0,"audio_type_name":"undefined"},)"
              R"({"ISO_639_language_code":"eng","audio_type":3,)"
              R"("audio_type_name":"visual impaired commentary"}]})",
              DescriptorJson("0a08 69746100 656e6703"));
}

TEST(BuildingBlocks, ATextSaysItsTable) {
    EXPECT_EQ(R"({"tag":72,"name":"service_descriptor","service_type":1,)"
              R"("service_type_name":"digital television","service_provider_name":"",)"
              R"("service_name":"Günaydın","service_name_text_table":"iso8859-9"})",
              DescriptorJson("480c 01 00 09 05 47fc6e617964fd6e"));
}

TEST(BuildingBlocks, OddReservedBitsKeepTheWholeBytes) {
    EXPECT_EQ(R"({"tag":14,"name":"maximum_bitrate_descriptor","maximum_bitrate":1287})",
              DescriptorJson("0e03 c00507"));
    EXPECT_EQ(
        R"({"tag":14,"name":"maximum_bitrate_descriptor","maximum_bitrate":1287,"raw":"0e03000507"})",
        DescriptorJson("0e03 000507"));
}

TEST(BuildingBlocks, FieldsWinOverRawBytesThatSaySomethingElse) {
    EXPECT_EQ("0e03c00508", EncodedDescriptor(R"({"tag":14,"name":"maximum_bitrate_descriptor",)"
                                              R"("maximum_bitrate":1288,"raw":"0e03000507"})"));
}

TEST(BuildingBlocks, WhatEndsEarlyIsMalformedAtItsField) {
    EXPECT_EQ(R"({"tag":65,"name":"service_list_descriptor","services":[{"service_id":1,)"
              R"("service_type":1,"service_type_name":"digital television"},{"service_id":2}],)"
              R"("malformed":"service_type","raw":"41050001010002"})",
              DescriptorJson("4105 000101 0002"));
}

TEST(BuildingBlocks, BytesBehindTheLastFieldAreTrailing) {
    EXPECT_EQ(
        R"({"tag":14,"name":"maximum_bitrate_descriptor","maximum_bitrate":1,"trailing":"abcd"})",
        DescriptorJson("0e05 c00001 abcd"));
}

TEST(BuildingBlocks, BitFieldsInTheOrderOfTheStandard) {
    // EN 300 468 table 26: high nibble stream_content_ext
    EXPECT_EQ(R"({"tag":80,"name":"component_descriptor","stream_content_ext":15,)"
              R"("stream_content":1,"stream_content_name":"MPEG-2 video","component_type":3,)"
              R"("component_type_name":"MPEG-2 video, 16:9 without pan vectors, 25 Hz",)"
              R"("component_tag":1,"ISO_639_language_code":"deu","text":"TV"})",
              DescriptorJson("5008 f1 03 01 646575 5456"));
}

TEST(BuildingBlocks, AGuardIsThereWhenItsFieldsAre) {
    EXPECT_EQ(R"({"tag":106,"name":"AC-3_descriptor","component_type":68,)"
              R"("component_type_name":"AC-3, complete main, multichannel"})",
              DescriptorJson("6a02 80 44"));
    EXPECT_EQ(R"({"tag":106,"name":"AC-3_descriptor","asvc":1})", DescriptorJson("6a02 10 01"));
    EXPECT_EQ(R"({"tag":106,"name":"AC-3_descriptor"})", DescriptorJson("6a01 00"));
    EXPECT_EQ("6a03204405", EncodedDescriptor(R"({"tag":106,"name":"AC-3_descriptor","mainid":68,)"
                                              R"("additional_info_byte":"05"})"));
}

TEST(BuildingBlocks, AGuardOfZeroIsThereWhenItsFieldsAre) {
    EXPECT_EQ(R"({"tag":2,"name":"video_stream_descriptor","multiple_frame_rate_flag":false,)"
              R"("frame_rate_code":3,"frame_rate_code_name":"25","MPEG_1_only_flag":false,)"
              R"("constrained_parameter_flag":true,"still_picture_flag":false,)"
              R"("profile_and_level_indication":72,"chroma_format":1,"chroma_format_name":"4:2:0",)"
              R"("frame_rate_extension_flag":false})",
              DescriptorJson("0203 1a 48 5f"));
    EXPECT_EQ(R"({"tag":52,"name":"MPEG2_stereoscopic_video_format_descriptor"})",
              DescriptorJson("3401 7f"));
}

TEST(BuildingBlocks, DecimalDigitsWithTheirUnit) {
    // EN 300 468 6.2.13.2: 11.919 GHz, 13.0 degrees east, 29.9 Msym/s
    EXPECT_EQ(R"({"tag":67,"name":"satellite_delivery_system_descriptor",)"
              R"("frequency_hz":11919000000,"orbital_position":13,"west_east_flag":1,)"
              R"("west_east_flag_name":"east","polarization":1,)"
              R"("polarization_name":"linear vertical","roll_off":0,"roll_off_name":"0.35",)"
              R"("modulation_system":0,"modulation_system_name":"DVB-S","modulation_type":1,)"
              R"("modulation_type_name":"QPSK","symbol_rate_sym_s":29900000,"FEC_inner":4,)"
              R"("FEC_inner_name":"5/6"})",
              DescriptorJson("430b 01191900 0130 a1 0299000 4"));
}

TEST(BuildingBlocks, DigitsThatAreNoneStayHexadecimal) {
    EXPECT_NE(
        std::string::npos,
        DescriptorJson("440b 0375000a fff2 03 0052740f").find(R"("frequency_hz":"0375000a")"));
}

TEST(BuildingBlocks, FieldsOfAnEarlierChoiceSaidAgain) {
    EXPECT_EQ(R"({"tag":50,"name":"J2K_video_descriptor","extended_capability_flag":false,)"
              R"("profile_and_level":256,"horizontal_size":1920,"vertical_size":1080,)"
              R"("max_bit_rate":80000000,"max_buffer_size":1000,"DEN_frame_rate":1,)"
              R"("NUM_frame_rate":25,"color_specification":3,"still_mode":false,)"
              R"("interlaced_video":true})",
              DescriptorJson("3218 0100 00000780 00000438 04c4b400 000003e8 0001 0019 03 7f"));
    const std::string extended = DescriptorJson(
        "3237 8100 00000780 00000438 04c4b400 000003e8 0001 0019 a0 3f 090e09 ff"
        "040087 000102030405060708090a0b0c0d0e0f1011121314151617");
    EXPECT_NE(std::string::npos,
              extended.find(R"("video_full_range_flag":true,"strp_max_idx":4,"strp_height":135,)"
                            R"("mastering_display_metadata":"000102030405060708090a0b0c0d0e0f)"
                            R"(1011121314151617"})"))
        << extended;
}

TEST(BuildingBlocks, ZeroBitsBetweenFields) {
    EXPECT_EQ(R"({"tag":63,"name":"JXS_video_descriptor","extension_tag":20,)"
              R"("descriptor_version":0,"horizontal_size":1920,"vertical_size":1080,"brat":500,)"
              R"("interlace_mode":1,"framerate_DEN":2,"framerate_DEN_name":"1.001",)"
              R"("framerate_NUM":30,"valid_flag":true,"sample_bitdepth":9,"sampling_structure":1,)"
              R"("Ppih":4,"level":5,"sublevel":6,"max_buffer_size":7,"buffer_model_type":2,)"
              R"("colour_primaries":1,"transfer_characteristics":1,"matrix_coefficients":1,)"
              R"("video_full_range_flag":false,"still_mode":false})",
              DescriptorJson("3f1e 14 00 0780 0438 000001f4 42 00 001e 80 91 0004 05 06 00000007"
                             "02 010101 7f 00"));
}

TEST(BuildingBlocks, FieldsThatHaveToFillTheirDescriptor) {
    // TS 102 772: nine bytes behind time_slice_fec_id 1
    EXPECT_EQ(R"({"tag":119,"name":"time_slice_fec_identifier_descriptor","time_slicing":true,)"
              R"("mpe_fec":0,"mpe_fec_name":"not used","frame_size":3,"max_burst_duration":4,)"
              R"("max_average_rate":7,"max_average_rate_name":"2048 kbit/s",)"
              R"("time_slice_fec_id":1,"T_code":1,"T_code_name":"Raptor","G_code":2,"R":3,)"
              R"("C":191,"B":8,"S":1,"D":2,"EP":4,"max_average_rate_over_B":9})",
              DescriptorJson("770c 9b 04 71 57 03 05ff 08 01 02 04 09"));
    EXPECT_NE(std::string::npos,
              DescriptorJson("7704 9b 04 71 57").find(R"("id_selector_byte":"57")"));
}

TEST(BuildingBlocks, CountsSideBySide) {
    Options isdb;
    isdb.standard = Standard::kIsdb;
    EXPECT_EQ(R"({"tag":206,"name":"extended_broadcaster_descriptor","broadcaster_type":1,)"
              R"("broadcaster_type_name":"terrestrial television",)"
              R"("terrestrial_broadcaster_id":32736,"affiliations":[{"affiliation_id":5}],)"
              R"("broadcasters":[{"original_network_id":4,"broadcaster_id":17},)"
              R"({"original_network_id":4,"broadcaster_id":18}]})",
              DescriptorJson("ce0b 1f 7fe0 12 05 0004 11 0004 12", isdb));
}

TEST(BuildingBlocks, TimesAndOffsets) {
    // EN 300 468 annex C: MJD 0xE35A is 2018-03-25
    EXPECT_EQ(R"({"tag":88,"name":"local_time_offset_descriptor","offsets":[)"
              R"({"country_code":"ITA","country_region_id":0,"local_time_offset_polarity":0,)"
              R"("local_time_offset_polarity_name":"ahead of UTC","local_time_offset":"01:00",)"
              R"("time_of_change":"2018-03-25T01:00:00Z","next_time_offset":"02:00"}]})",
              DescriptorJson("580d 495441 02 0100 e35a010000 0200"));
}

TEST(BuildingBlocks, TheDateOfTheStandardsExample) {
    // EN 300 468 5.2.5: 93/10/13 12:45:00 is coded as 0xC079124500
    EXPECT_EQ(R"({"table_id":112,"name":"time_date_section","UTC_time":"1993-10-13T12:45:00Z"})",
              SectionJson("707005 c079124500"));
    EXPECT_EQ(R"({"table_id":112,"name":"time_date_section","UTC_time":null})",
              SectionJson("707005 ffffffffff"));
    EXPECT_EQ(R"({"table_id":112,"name":"time_date_section","UTC_time":"c079994500"})",
              SectionJson("707005 c079994500"));
}

TEST(BuildingBlocks, AProgrammeLabelIsATimeOrACode) {
    EXPECT_EQ(
        R"({"tag":105,"name":"PDC_descriptor","programme_identification_label":"01-19T20:00"})",
        DescriptorJson("6903 f98d00"));
    EXPECT_EQ(R"({"tag":105,"name":"PDC_descriptor","programme_identification_label":32767})",
              DescriptorJson("6903 f07fff"));
}

TEST(BuildingBlocks, SignedNumbers) {
    EXPECT_EQ(R"({"tag":108,"name":"cell_list_descriptor","cells":[{"cell_id":1,)"
              R"("cell_latitude":-2,"cell_longitude":1214,"cell_extent_of_latitude":364,)"
              R"("cell_extent_of_longitude":303,"subcells":[]}]})",
              DescriptorJson("6c0a 0001 fffe 04be 16c12f 00"));
}

TEST(BuildingBlocks, NumbersOf33Bits) {
    EXPECT_EQ(R"({"tag":26,"name":"stream_event_descriptor","eventId":7,"eventNPT":4294967297,)"
              R"("privateDataByte":"aa"})",
              DescriptorJson("1a0b 0007 ffffffff00000001 aa"));
}

TEST(BuildingBlocks, LengthsThatStandApart) {
    EXPECT_EQ(R"({"tag":87,"name":"telephone_descriptor","foreign_availability":true,)"
              R"("connection_type":1,"country_prefix":"44","international_area_code":"",)"
              R"("operator_code":"","national_area_code":"171","core_number":"5551"})",
              DescriptorJson("570c e1 c0 b4 3434 313731 35353531"));
}

TEST(BuildingBlocks, CountsAndCountsLessOne) {
    EXPECT_EQ(R"({"tag":127,"name":"protection_message_descriptor","extension_tag":24,)"
              R"("components":[{"component_tag":1},{"component_tag":2}]})",
              DescriptorJson("7f04 18 f2 01 02"));
    EXPECT_NE(
        std::string::npos,
        EncodedDescriptor(R"({"tag":127,"extension_tag":14,"name":"DTS-HD_descriptor",)"
                          R"("substream_core":{"channel_count":2,"LFE_flag":false,)"
                          R"("sampling_frequency":12,"sample_resolution":false,"assets":[]}})")
            .find("substream_core.assets: expected at least one entry"));
}

TEST(BuildingBlocks, TailsThatAreThereWhileBytesRemain) {
    EXPECT_EQ(R"({"tag":124,"name":"AAC_descriptor","profile_and_level":81,)"
              R"("profile_and_level_name":"AAC, level 2"})",
              DescriptorJson("7c01 51"));
    EXPECT_EQ(R"({"tag":124,"name":"AAC_descriptor","profile_and_level":81,)"
              R"("profile_and_level_name":"AAC, level 2","SAOC_DE_flag":false})",
              DescriptorJson("7c02 51 00"));
}

TEST(BuildingBlocks, ABodyByItsLinkageType) {
    EXPECT_EQ(R"({"tag":74,"name":"linkage_descriptor","transport_stream_id":1,)"
              R"("original_network_id":8442,"service_id":511,"linkage_type":9,)"
              R"("linkage_type_name":"system software update service",)"
              R"("OUIs":[{"OUI":346,"selector_byte":""}]})",
              DescriptorJson("4a0c 0001 20fa 01ff 09 04 00015a 00"));
}

TEST(BuildingBlocks, ABodyThatDoesNotFitItsLinkageTypeIsPrivateBytes) {
    EXPECT_EQ(R"({"tag":74,"name":"linkage_descriptor","transport_stream_id":1,)"
              R"("original_network_id":2,"service_id":3,"linkage_type":9,)"
              R"("linkage_type_name":"system software update service","private_data_byte":"ff01"})",
              DescriptorJson("4a09 0001 0002 0003 09 ff01"));
}

TEST(BuildingBlocks, UnitsByAnotherField) {
    EXPECT_EQ(R"({"tag":98,"name":"frequency_list_descriptor","coding_type":3,)"
              R"("coding_type_name":"terrestrial","frequencies":[)"
              R"({"centre_frequency_hz":474000000}]})",
              DescriptorJson("6205 ff 02d34440"));
    EXPECT_EQ(R"({"tag":98,"name":"frequency_list_descriptor","coding_type":2,)"
              R"("coding_type_name":"cable","frequencies":[{"centre_frequency_hz":375000000}]})",
              DescriptorJson("6205 fe 03750000"));
}

TEST(BuildingBlocks, Addresses) {
    EXPECT_EQ(R"({"tag":15,"name":"target_IP_slash_descriptor","addresses":[)"
              R"({"IPv4_addr":"224.0.0.1","IPv4_slash_mask":32}]})",
              DescriptorJson("0f05 e0000001 20", {}, Space::kIpMac));
    EXPECT_EQ(R"({"tag":7,"name":"target_MAC_address_descriptor",)"
              R"("MAC_addr_mask":"ff:ff:ff:ff:ff:ff","addresses":[)"
              R"({"MAC_addr_match":"00:11:22:33:44:55"}]})",
              DescriptorJson("070c ffffffffffff 001122334455", {}, Space::kUpdate));
    EXPECT_EQ(R"({"tag":17,"name":"target_IPv6_slash_descriptor","addresses":[)"
              R"({"IPv6_addr":"ff02::1","IPv6_slash_mask":128}]})",
              DescriptorJson("1111 ff020000000000000000000000000001 80", {}, Space::kIpMac));
}

TEST(BuildingBlocks, UnknownDescriptorsAreTheirWholeBytes) {
    EXPECT_EQ(R"({"tag":254,"data":"fe0101","hint":"system_management_descriptor in ISDB"})",
              DescriptorJson("fe01 01"));
}

TEST(BuildingBlocks, PrivateTagsNeedTheirSpecifier) {
    Options eacem;
    eacem.specifier = 0x28;
    EXPECT_EQ(R"({"tag":131,"name":"logical_channel_descriptor","private_data_specifier":40,)"
              R"("services":[{"service_id":515,"visible_service_flag":true,)"
              R"("logical_channel_number":13}]})",
              DescriptorJson("8304 0203 fc0d", eacem));
    Options nordig;
    nordig.specifier = 0x29;
    EXPECT_EQ(R"({"tag":131,"name":"nordig_logical_channel_descriptor_v1",)"
              R"("private_data_specifier":41,"services":[{"service_id":3,)"
              R"("visible_service_flag":true,"logical_channel_number":16383}]})",
              DescriptorJson("8304 0003 ffff", nordig));
    EXPECT_NE(std::string::npos,
              DescriptorJson("8304 0203 fc0d").find("logical_channel_descriptor under 0x00000028"));
    const auto under = [](std::uint32_t specifier, std::string_view hex) {
        Options options;
        options.specifier = specifier;
        return DescriptorJson(hex, options);
    };
    const auto channel = [](const std::string& json, const char* field) {
        return json.find("\"" + std::string(field) + "\":13") != std::string::npos;
    };
    for (const std::uint32_t specifier : {0xA5u, 0x564F4Fu}) {
        EXPECT_TRUE(channel(under(specifier, "8304 0203 fc0d"), "logical_channel_number"));
    }
    for (const std::uint32_t specifier : {0x20u, 0x21u, 0x22u, 0x23u}) {
        EXPECT_TRUE(channel(under(specifier, "b004 0203 fc0d"), "logical_channel_number"));
    }
    EXPECT_TRUE(channel(under(0x1A0, "8604 0203 fc0d"), "logical_channel_number"));
    EXPECT_TRUE(channel(under(0x362275, "9304 0203 fc0d"), "logical_channel_number"));
    for (const std::uint32_t specifier : {0x83u, 0xFCFCFCFCu}) {
        EXPECT_TRUE(channel(under(specifier, "8304 0203 c00d"), "logical_channel_number"));
    }
    EXPECT_TRUE(channel(under(0x31, "8204 0203 000d"), "channel_number"));
}

TEST(BuildingBlocks, ASpecifierCountsToTheNextOneOrTheEndOfItsLoop) {
    const std::string section =
        LongSection(0x40, true,
                    "0001 c1 00 00 f000"
                    "f02a 0001 0002 f018 5f0400000028 8304 0203fc0d 5f0400000000 8304 0203fc0d"
                    "0002 0002 f006 8304 0203fc0d");
    const std::string json = SectionJson(section);
    EXPECT_EQ(json.find("logical_channel_number"), json.rfind("logical_channel_number")) << json;
    EXPECT_NE(std::string::npos, json.find(R"("data":"83040203fc0d")")) << json;
}

TEST(BuildingBlocks, ARegistrationOfTheProgramCountsForItsStreams) {
    const std::string with =
        LongSection(0x02, false, "0001 c1 00 00 e100 f006 0504 43554549 86 e101 f003 8a01 02");
    EXPECT_NE(std::string::npos, SectionJson(with).find("cue_identifier_descriptor"));
    const std::string without =
        LongSection(0x02, false, "0001 c1 00 00 e100 f000 86 e101 f003 8a01 02");
    EXPECT_EQ(std::string::npos, SectionJson(without).find("\"cue_stream_type\""));
}

TEST(BuildingBlocks, ALoopOfDescriptorsThatEndsEarlySaysSo) {
    EXPECT_NE(std::string::npos,
              SectionJson(LongSection(0x01, false, "ffff c1 00 00 0904 0648 e6e8 0910 00"))
                  .find(R"({"malformed":"descriptor_length","raw":"091000"})"));
}

TEST(BuildingBlocks, AWrongCrcKeepsTheWholeSection) {
    std::string section = LongSection(0x00, false, "0001 c1 00 00 0001 e100");
    section.back() = section.back() == '0' ? '1' : '0';
    EXPECT_NE(std::string::npos, SectionJson(section).find(R"("malformed":"CRC_32")"));
}

TEST(BuildingBlocks, AnyOtherSectionIsHeaderAndBytes) {
    EXPECT_EQ(R"({"table_id":144,"name":"private_section","section_syntax_indicator":false,)"
              R"("private_indicator":true,"private_data_byte":"0102"})",
              SectionJson("907002 0102"));
}

TEST(BuildingBlocks, ErrorsNameThePathAndWhatWasExpected) {
    EXPECT_EQ("frequency_hz: expected at most 8 BCD digits of 100",
              EncodedDescriptor(R"({"tag":68,"name":"cable_delivery_system_descriptor",)"
                                R"("frequency_hz":11700000000})"));
    EXPECT_EQ("services[1].service_type: is missing",
              EncodedDescriptor(R"({"tag":65,"name":"service_list_descriptor","services":[)"
                                R"({"service_id":1,"service_type":1},{"service_id":2}]})"));
    EXPECT_EQ("services[0].service_tipe: is no field here",
              EncodedDescriptor(R"({"tag":65,"name":"service_list_descriptor","services":[)"
                                R"({"service_id":1,"service_type":1,"service_tipe":1}]})"));
}

TEST(BuildingBlocks, PeopleReadALineWhereItFits) {
    const std::vector<std::uint8_t> bytes = FromHex("410c 000101 000202 000302 000402");
    const ByteView view(bytes.data(), bytes.size());
    Arena arena;
    const Node* tree = Decoder({}).Descriptor(view, arena);
    std::string text;
    PlainTextStyle style;
    WritePlainText(*tree, view, {}, style, text);
    EXPECT_EQ(0u, text.find("0x41 service_list\n  services:\n    - service_id 1, service_type 1 "
                            "(digital television)\n"))
        << text;
    style.hex = true;
    style.width = 300;
    text.clear();
    WritePlainText(*tree, view, {}, style, text);
    EXPECT_NE(std::string::npos, text.find("digital radio sound)]\n  410c000101")) << text;
}

TEST(BuildingBlocks, EverySelectorOfATextBothWays) {
    // EN 300 468 annex A.2: each table with a letter of its own.
    for (const char* text :
         {"01b0",   "02c7",   "03e1",   "04e0",     "05fd",       "06be",     "07a1",
          "09f8",   "0aaf",   "0ba4",   "100001e4", "100002b1",   "10000fa4", "1104d1",
          "12b0a1", "13b0a1", "1404d1", "15c3a9",   "c261c861a4", "1f01abcd", "0841"}) {
        const std::string hex = "400" + std::to_string(std::string(text).size() / 2) + text;
        EXPECT_EQ(std::string::npos, DescriptorJson(hex).find("\"raw\"")) << text;
    }
}

TEST(BuildingBlocks, EmphasisAndLineBreaksStayInATextAsControls) {
    EXPECT_EQ(R"({"tag":64,"name":"network_name_descriptor","network_name":"\u0086A\u0087\nB"})",
              DescriptorJson("4005 8641878a42"));
}

TEST(BuildingBlocks, ATextWithoutATableOfItsOwnUsesTheDefault) {
    Options options;
    options.text.defaultTable = "iso8859-9";
    EXPECT_EQ(R"({"tag":64,"name":"network_name_descriptor","network_name":"ı"})",
              DescriptorJson("4001 fd", options));
}

}  // namespace

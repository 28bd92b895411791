// Each building block of declarations on bytes of public standards and captures.

#include "syntax/Encoder.h"
#include "syntax/Json.h"
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

}  // namespace

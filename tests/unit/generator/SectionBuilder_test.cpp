#include "generator/SectionBuilder.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/TsBytes.h"

namespace generator {
namespace {

using testsupport::Crc32Bitwise;
using testsupport::Slice;

uint32_t CrcOver(const Bytes& section) {
    return Crc32Bitwise(section.data(), section.size());
}

TEST(SectionBuilderTest, AProgramAssociationSectionHasEveryByteOfItsSyntaxTable) {
    const Bytes section = SectionBuilder(0x00)
                              .TableIdExtension(0x0421)
                              .Version(3)
                              .U16(7)
                              .Reserved(3)
                              .Bits(13, 0x0100)
                              .Build();
    const Bytes expected{
        0x00,        // table_id
        0xB0, 0x0D,  // section_syntax_indicator, '0', reserved, section_length
        0x04, 0x21,  // transport_stream_id
        0xC7,        // reserved, version_number, current_next_indicator
        0x00,        // section_number
        0x00,        // last_section_number
        0x00, 0x07,  // program_number
        0xE1, 0x00,  // reserved, program_map_PID
    };
    EXPECT_EQ(Slice(section, 0, expected.size()), expected);
    EXPECT_EQ(section.size(), expected.size() + 4);
    EXPECT_EQ(CrcOver(section), 0u);
}

TEST(SectionBuilderTest, HeaderFieldsLandInTheirBits) {
    const Bytes section = SectionBuilder(0x42)
                              .TableIdExtension(0xFFFE)
                              .Version(31)
                              .Current(false)
                              .Number(2, 9)
                              .Build();
    EXPECT_EQ(Slice(section, 0, 8), (Bytes{0x42, 0xF0, 0x09, 0xFF, 0xFE, 0xFE, 2, 9}));
    EXPECT_EQ(CrcOver(section), 0u);
}

TEST(SectionBuilderTest, TheBitBehindTheSyntaxIndicatorFollowsTheTableUnlessChosen) {
    EXPECT_EQ(SectionBuilder(0x3F).Build()[1] & 0x40, 0);
    EXPECT_EQ(SectionBuilder(0x40).Build()[1] & 0x40, 0x40);
    EXPECT_EQ(SectionBuilder(0x40).PrivateIndicator(false).Build()[1] & 0x40, 0);
}

TEST(SectionBuilderTest, AShortSectionIsHeaderAndBodyAlone) {
    EXPECT_EQ(SectionBuilder(0x70).WithoutSyntax().U40(0xEB12345678).Build(),
              (Bytes{0x70, 0x70, 0x05, 0xEB, 0x12, 0x34, 0x56, 0x78}));
}

TEST(SectionBuilderTest, AShortSectionMayEndInACrc) {
    const Bytes section = SectionBuilder(0x73).WithoutSyntax().WithCrc().U8(0xAB).Build();
    EXPECT_EQ(Slice(section, 0, 4), (Bytes{0x73, 0x70, 0x05, 0xAB}));
    EXPECT_EQ(section.size(), 8u);
    EXPECT_EQ(CrcOver(section), 0u);
}

TEST(SectionBuilderTest, ABrokenCrcDiffersInOneBit) {
    const Bytes good = SectionBuilder(0x42).U8(1).Build();
    Bytes broken = SectionBuilder(0x42).U8(1).BreakCrc().Build();
    EXPECT_NE(CrcOver(broken), 0u);
    broken.back() ^= 1;
    EXPECT_EQ(broken, good);
}

TEST(SectionBuilderTest, AForcedLengthIsWrittenOverTheSameBytes) {
    const Bytes section = SectionBuilder(0x42).U8(1).SectionLength(0xFFF).Build();
    EXPECT_EQ(section.size(), 13u);
    EXPECT_EQ(Slice(section, 0, 3), (Bytes{0x42, 0xFF, 0xFF}));
    EXPECT_EQ(CrcOver(section), 0u);
}

TEST(SectionBuilderTest, ABodyBeyondTwelveBitsOfLengthIsRefused) {
    EXPECT_EQ(SectionBuilder(0x42).Raw(Bytes(4095 - 9)).Build().size(), 3u + 4095);
    EXPECT_THROW(SectionBuilder(0x42).Raw(Bytes(4096 - 9)).Build(), std::logic_error);
}

}  // namespace
}  // namespace generator

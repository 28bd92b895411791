#include "generator/FieldWriter.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace generator {
namespace {

TEST(FieldWriterTest, BitsFillBytesFromTheMostSignificantBitOn) {
    EXPECT_EQ(ByteWriter().Bits(1, 1).Bits(2, 0).Bits(13, 0x1ABC).Build(), (Bytes{0x9A, 0xBC}));
}

TEST(FieldWriterTest, WholeNumbersAreBigEndian) {
    EXPECT_EQ(ByteWriter().U8(1).U16(0x0203).U24(0x040506).U32(0x0708090A).Build(),
              (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(ByteWriter().U40(0x0102030405).Build(), (Bytes{1, 2, 3, 4, 5}));
    EXPECT_EQ(ByteWriter().Bits(64, 0x0102030405060708).Build(), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(FieldWriterTest, ReservedBitsAreOne) {
    EXPECT_EQ(ByteWriter().Reserved(3).Bits(5, 0).Build(), (Bytes{0xE0}));
    EXPECT_EQ(ByteWriter().Reserved(0).Reserved(64).Build(), Bytes(8, 0xFF));
}

TEST(FieldWriterTest, ALengthCountsTheContentThatFollows) {
    EXPECT_EQ(ByteWriter().Length8({7, 8}).Build(), (Bytes{2, 7, 8}));
    EXPECT_EQ(ByteWriter().Reserved(4).Length12({7, 8, 9}).Build(), (Bytes{0xF0, 3, 7, 8, 9}));
    EXPECT_EQ(ByteWriter().Length16({7}).Build(), (Bytes{0, 1, 7}));
    EXPECT_EQ(ByteWriter().Text8("ab").Text("c").Build(), (Bytes{2, 'a', 'b', 'c'}));
    EXPECT_EQ(ByteWriter().Loop12({{1}, {2, 3}}).Build(), (Bytes{0xF0, 3, 1, 2, 3}));
    EXPECT_EQ(ByteWriter().Loop12({}).Build(), (Bytes{0xF0, 0}));
}

TEST(FieldWriterTest, ContentThatIsLongerThanItsLengthCanTellIsRefused) {
    EXPECT_EQ(ByteWriter().Length8(Bytes(255)).Build().size(), 256u);
    EXPECT_THROW(ByteWriter().Length8(Bytes(256)), std::logic_error);
    EXPECT_THROW(ByteWriter().Reserved(4).Length12(Bytes(4096)), std::logic_error);
}

TEST(FieldWriterTest, AValueWiderThanItsFieldIsRefused) {
    EXPECT_EQ(ByteWriter().Bits(5, 31).Bits(3, 0).Build(), (Bytes{0xF8}));
    EXPECT_THROW(ByteWriter().Bits(5, 32), std::logic_error);
    EXPECT_THROW(ByteWriter().U16(0x10000), std::logic_error);
    EXPECT_THROW(ByteWriter().Bits(65, 0), std::logic_error);
}

TEST(FieldWriterTest, BytesInsideAnUnfinishedByteAreRefused) {
    EXPECT_THROW(ByteWriter().Bits(4, 0).Raw({1}), std::logic_error);
    EXPECT_THROW(ByteWriter().Bits(4, 0).Build(), std::logic_error);
}

TEST(FieldWriterTest, BuildLeavesTheWriterEmpty) {
    ByteWriter writer;
    writer.U8(1);
    EXPECT_EQ(writer.Build(), (Bytes{1}));
    EXPECT_EQ(writer.U8(2).Build(), (Bytes{2}));
}

}  // namespace
}  // namespace generator

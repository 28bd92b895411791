#include "softplatform/base/ByteView.h"

#include <gtest/gtest.h>

#include <vector>

namespace tvservice {
namespace {

const std::vector<uint8_t> kBytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x10};

ByteView View() {
    return {kBytes.data(), kBytes.size()};
}

TEST(ByteView, ReadsBigEndianAtAnyOffset) {
    EXPECT_EQ(View().U8(8), 0x10);
    EXPECT_EQ(View().U16(1), 0x2345);
    EXPECT_EQ(View().U24(1), 0x234567u);
    EXPECT_EQ(View().U32(3), 0x6789ABCDu);
    EXPECT_EQ(View().U64(1), 0x23456789ABCDEF10u);
}

TEST(ByteView, AReadPastTheEndIsZeroEvenWhenItBeginsInside) {
    EXPECT_EQ(View().U8(9), 0);
    EXPECT_EQ(View().U16(8), 0);
    EXPECT_EQ(View().U24(7), 0u);
    EXPECT_EQ(View().U32(6), 0u);
    EXPECT_EQ(View().U64(2), 0u);
    EXPECT_EQ(View().U32(SIZE_MAX), 0u);
    EXPECT_EQ(ByteView().U8(0), 0);
}

TEST(ByteView, HasDoesNotOverflow) {
    EXPECT_TRUE(View().Has(0, 9));
    EXPECT_TRUE(View().Has(9, 0));
    EXPECT_FALSE(View().Has(9, 1));
    EXPECT_FALSE(View().Has(10, 0));
    EXPECT_FALSE(View().Has(2, SIZE_MAX));
    EXPECT_FALSE(View().Has(SIZE_MAX, 2));
    EXPECT_TRUE(ByteView().Has(0, 0));
}

TEST(ByteView, ASubviewIsClampedToItsParent) {
    const ByteView middle = View().Subview(2, 3);
    EXPECT_EQ(std::vector<uint8_t>(middle.begin(), middle.end()),
              (std::vector<uint8_t>{0x45, 0x67, 0x89}));
    EXPECT_EQ(View().Subview(7).size(), 2u);
    EXPECT_EQ(View().Subview(7, 100).size(), 2u);
    EXPECT_EQ(View().Subview(0).data(), kBytes.data());
    EXPECT_TRUE(View().Subview(9).empty());
    EXPECT_TRUE(View().Subview(SIZE_MAX, SIZE_MAX).empty());
    EXPECT_TRUE(ByteView().Subview(0).empty());
}

}  // namespace
}  // namespace tvservice

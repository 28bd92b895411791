#include "softplatform/section/SectionView.h"

#include <gtest/gtest.h>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::PlainSection;
using testsupport::SectionBytes;
using testsupport::SectionOfSize;

std::optional<SectionView> View(const Bytes& bytes) {
    return SectionView::From(bytes.data(), bytes.size());
}

TEST(SectionView, ReadsTheHeaderFieldByField) {
    const Bytes bytes = SectionBytes{
        .table_id = 0x4E,
        .table_id_extension = 0x1234,
        .version_number = 21,
        .current_next_indicator = false,
        .section_number = 3,
        .last_section_number = 7,
        .body = {1, 2, 3, 4,
                 5}}.Build();
    const std::optional<SectionView> section = View(bytes);
    ASSERT_TRUE(section);
    EXPECT_EQ(section->table_id(), 0x4E);
    EXPECT_TRUE(section->section_syntax_indicator());
    EXPECT_EQ(section->section_length(), 14);
    EXPECT_EQ(section->size(), 17u);
    EXPECT_EQ(section->table_id_extension(), 0x1234);
    EXPECT_EQ(section->version_number(), 21);
    EXPECT_FALSE(section->current_next_indicator());
    EXPECT_EQ(section->section_number(), 3);
    EXPECT_EQ(section->last_section_number(), 7);
    EXPECT_EQ(section->CRC_32(), testsupport::Crc32Bitwise(bytes.data(), 13));
    const ByteView body = section->body();
    EXPECT_EQ(Bytes(body.begin(), body.end()), (Bytes{1, 2, 3, 4, 5}));
}

TEST(SectionView, CurrentAndVersionAreKeptApart) {
    const Bytes bytes = SectionBytes{.version_number = 0, .current_next_indicator = true}.Build();
    EXPECT_EQ(View(bytes)->version_number(), 0);
    EXPECT_TRUE(View(bytes)->current_next_indicator());
}

TEST(SectionView, WithoutSyntaxTheBodyIsAllBehindTheLength) {
    const Bytes bytes = PlainSection(0x70, {0xC0, 0x79, 0x12, 0x45, 0x00});
    const std::optional<SectionView> section = View(bytes);
    ASSERT_TRUE(section);
    EXPECT_FALSE(section->section_syntax_indicator());
    EXPECT_EQ(section->body().size(), 5u);
    EXPECT_EQ(section->body().U16(0), 0xC079);
}

TEST(SectionView, TheBodyMayBeEmpty) {
    const Bytes withSyntax = SectionOfSize(12);
    EXPECT_TRUE(View(withSyntax)->body().empty());
    const Bytes plain = PlainSection(0x72, {});
    EXPECT_TRUE(View(plain)->body().empty());
}

TEST(SectionView, WhatFollowsTheSectionIsLeftOut) {
    Bytes bytes = SectionOfSize(40);
    bytes.resize(60, 0xFF);
    EXPECT_EQ(View(bytes)->size(), 40u);
}

TEST(SectionView, ThereIsNoneOfASectionThatIsNotWhole) {
    const Bytes bytes = SectionOfSize(40);
    for (size_t size = 0; size < 40; ++size) {
        EXPECT_FALSE(SectionView::From(bytes.data(), size)) << size;
    }
    EXPECT_TRUE(SectionView::From(bytes.data(), 40));
}

TEST(SectionView, ThereIsNoneOfAShortSection) {
    EXPECT_FALSE(View({0x42, 0xB0, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(View({0x42, 0x30, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(SectionView, TheGreatestSectionLengthIs4093) {
    const Bytes greatest = SectionOfSize(4096);
    EXPECT_EQ(View(greatest)->section_length(), 4093);

    Bytes oversize(4098, 0);
    oversize[1] = 0xBF;
    oversize[2] = 0xFE;
    EXPECT_FALSE(View(oversize));
}

TEST(CrcIsGood, IsFalseWhenAnyByteIsWrong) {
    Bytes bytes = SectionOfSize(40);
    EXPECT_TRUE(CrcIsGood(*View(bytes)));
    for (size_t i = 3; i < bytes.size(); ++i) {
        bytes[i] ^= 0x10;
        EXPECT_FALSE(CrcIsGood(*View(bytes))) << i;
        bytes[i] ^= 0x10;
    }
}

TEST(SectionView, TellsWhatIsTooShortFromWhatIsNotWhole) {
    const auto isTooShort = [](const Bytes& bytes) {
        return IsTooShort(ByteView(bytes.data(), bytes.size()));
    };
    EXPECT_TRUE(isTooShort({0x42, 0xB0, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_FALSE(isTooShort({0x42, 0x30, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_FALSE(isTooShort({0x42, 0xB0, 0x09, 1, 2}));
    EXPECT_FALSE(isTooShort({0x42, 0xB0}));
    EXPECT_FALSE(isTooShort({}));
}

// ETSI EN 300 468 5.2.6
TEST(CrcIsGood, LooksAtTheCrcOfATotAlthoughItHasNoSyntax) {
    Bytes tot = PlainSection(0x73, {0xC0, 0x79, 0x12, 0x45, 0x00, 0xF0, 0x00, 0, 0, 0, 0});
    EXPECT_FALSE(CrcIsGood(*View(tot)));
    const uint32_t CRC_32 = testsupport::Crc32Bitwise(tot.data(), tot.size() - 4);
    for (size_t i = 0; i < 4; ++i) {
        tot[tot.size() - 4 + i] = static_cast<uint8_t>(CRC_32 >> (24 - 8 * i));
    }
    EXPECT_TRUE(CrcIsGood(*View(tot)));
    tot[5] ^= 0x01;
    EXPECT_FALSE(CrcIsGood(*View(tot)));
    EXPECT_FALSE(CrcIsGood(*View(PlainSection(0x73, {})))) << "no room for it";
}

TEST(CrcIsGood, IsTrueOfEverySectionWithoutSyntax) {
    const Bytes bytes = PlainSection(0x70, {0xC0, 0x79, 0x12, 0x45, 0x00});
    EXPECT_TRUE(CrcIsGood(*View(bytes)));
}

}  // namespace
}  // namespace tvservice

#include "softplatform/section/SectionFilter.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::RandomBytes;

SectionFilter Compiled(const Bytes& pattern, const Bytes& mask, const Bytes& mode = {}) {
    std::optional<SectionFilter> filter = SectionFilter::Compile(pattern, mask, mode);
    EXPECT_TRUE(filter);
    return *filter;
}

bool Matches(const SectionFilter& filter, const Bytes& section) {
    // A heap buffer of exactly the section's size, so that AddressSanitizer sees a read past it.
    const auto copy = std::make_unique<uint8_t[]>(section.size());
    std::copy(section.begin(), section.end(), copy.get());
    return filter.Matches(copy.get(), section.size());
}

// The meaning of a filter, bit by bit.
bool MatchesBitwise(const Bytes& pattern, const Bytes& mask, const Bytes& mode,
                    const Bytes& section) {
    bool asksDifference = false;
    bool anyDiffers = false;
    for (size_t bit = 0; bit < pattern.size() * 8; ++bit) {
        const auto at = [bit](const Bytes& bytes) {
            return (bytes[bit / 8] >> (7 - bit % 8) & 1) != 0;
        };
        if (!at(mask)) {
            continue;
        }
        if (bit / 8 >= section.size()) {
            return false;
        }
        const bool differs = at(section) != at(pattern);
        if (!mode.empty() && at(mode)) {
            asksDifference = true;
            anyDiffers |= differs;
        } else if (differs) {
            return false;
        }
    }
    return anyDiffers || !asksDifference;
}

TEST(SectionFilter, PositionsAreSectionBytesTheLengthIncluded) {
    const SectionFilter filter = Compiled({0x42, 0xB0, 0x20}, {0xFF, 0x0F, 0xFF});
    EXPECT_TRUE(Matches(filter, {0x42, 0xF0, 0x20, 0x00}));
    EXPECT_FALSE(Matches(filter, {0x42, 0xF1, 0x20, 0x00}));
    EXPECT_FALSE(Matches(filter, {0x42, 0xF0, 0x21, 0x00}));
    EXPECT_FALSE(Matches(filter, {0x43, 0xF0, 0x20, 0x00}));
}

TEST(SectionFilter, AnAllZeroMaskLetsEverythingPass) {
    const SectionFilter filter = Compiled({0x42, 0x42}, {0x00, 0x00}, {0xFF, 0xFF});
    EXPECT_TRUE(Matches(filter, {0x42, 0x42, 0x42}));
    EXPECT_TRUE(Matches(filter, {0x00}));
    EXPECT_TRUE(Matches(filter, {}));
}

TEST(SectionFilter, OfTheNegativeBitsOneMustDiffer) {
    // "Another version than 5": the five bits of version_number in byte 5.
    const SectionFilter filter =
        Compiled({0x42, 0, 0, 0, 0, 5 << 1}, {0xFF, 0, 0, 0, 0, 0x3E}, {0, 0, 0, 0, 0, 0x3E});
    EXPECT_FALSE(Matches(filter, {0x42, 0, 0, 0, 0, 0xC1 | 5 << 1}));
    EXPECT_TRUE(Matches(filter, {0x42, 0, 0, 0, 0, 0xC1 | 4 << 1}));
    EXPECT_TRUE(Matches(filter, {0x42, 0, 0, 0, 0, 0xC1 | 26 << 1}));
    EXPECT_FALSE(Matches(filter, {0x43, 0, 0, 0, 0, 0xC1 | 4 << 1}));
}

TEST(SectionFilter, NegativeBitsOfAllPositionsAreOneQuestion) {
    const SectionFilter filter =
        Compiled({0x11, 0x22, 0, 0, 0, 0, 0, 0, 0, 0x33}, {0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF},
                 {0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF});
    EXPECT_FALSE(Matches(filter, {0x11, 0x22, 9, 9, 9, 9, 9, 9, 9, 0x33}));
    EXPECT_TRUE(Matches(filter, {0x11, 0x22, 9, 9, 9, 9, 9, 9, 9, 0x32}));
    EXPECT_TRUE(Matches(filter, {0x10, 0x22, 9, 9, 9, 9, 9, 9, 9, 0x33}));
    EXPECT_TRUE(Matches(filter, {0x00, 0x00, 9, 9, 9, 9, 9, 9, 9, 0x00}));
}

TEST(SectionFilter, ModeBitsOutsideTheMaskAskNothing) {
    const SectionFilter filter = Compiled({0x42, 0x00}, {0xFF, 0x00}, {0x00, 0xFF});
    EXPECT_TRUE(Matches(filter, {0x42, 0x00}));
    EXPECT_TRUE(Matches(filter, {0x42, 0x55}));
}

TEST(SectionFilter, AnEmptyModeMeansEqual) {
    EXPECT_TRUE(Matches(Compiled({0x42}, {0xFF}, {}), {0x42}));
    EXPECT_FALSE(Matches(Compiled({0x42}, {0xFF}, {}), {0x43}));
}

TEST(SectionFilter, ASectionThatEndsBeforeTheLastAskedPositionNeverMatches) {
    const SectionFilter equal = Compiled({1, 2, 3, 0, 9}, {0xFF, 0xFF, 0xFF, 0x01, 0x00});
    EXPECT_FALSE(Matches(equal, {1, 2, 3}));
    EXPECT_TRUE(Matches(equal, {1, 2, 3, 4}));

    const SectionFilter differ = Compiled({1, 2, 3}, {0xFF, 0xFF, 0xFF}, {0xFF, 0xFF, 0xFF});
    EXPECT_FALSE(Matches(differ, {7, 7}));
}

TEST(SectionFilter, LongPatternsAreMatchedToTheirLastByte) {
    for (const size_t size : {32u, 33u, 40u, 100u, 4096u}) {
        Bytes section = testsupport::Counting(size);
        const SectionFilter filter = Compiled(section, Bytes(size, 0xFF));
        EXPECT_TRUE(Matches(filter, section)) << size;
        section.back() ^= 0x01;
        EXPECT_FALSE(Matches(filter, section)) << size;
    }
}

TEST(SectionFilter, ACopyMatchesOnItsOwn) {
    for (const size_t size : {3u, 40u}) {
        const Bytes section = testsupport::Counting(size);
        auto original = std::make_unique<SectionFilter>(Compiled(section, Bytes(size, 0xFF)));
        const SectionFilter copy = *original;
        original.reset();
        EXPECT_TRUE(Matches(copy, section)) << size;
        EXPECT_FALSE(Matches(copy, Bytes(size, 0x00))) << size;
    }
}

TEST(SectionFilter, RefusesWhatDoesNotFitTogether) {
    EXPECT_FALSE(SectionFilter::Compile({}, {}, {}));
    EXPECT_FALSE(SectionFilter::Compile({1, 2}, {0xFF}, {}));
    EXPECT_FALSE(SectionFilter::Compile({1, 2}, {0xFF, 0xFF, 0xFF}, {}));
    EXPECT_FALSE(SectionFilter::Compile({1, 2}, {}, {}));
    EXPECT_FALSE(SectionFilter::Compile({1, 2}, {0xFF, 0xFF}, {0x00}));
    EXPECT_FALSE(SectionFilter::Compile({1, 2}, {0xFF, 0xFF}, {0, 0, 0}));
    EXPECT_TRUE(SectionFilter::Compile({1, 2}, {0xFF, 0xFF}, {0, 0}));
}

TEST(SectionFilter, EqualCriteriaAreEqualFilters) {
    const SectionFilter filter = Compiled({1, 2}, {0xFF, 0x0F}, {0, 0});
    EXPECT_EQ(filter, Compiled({1, 2}, {0xFF, 0x0F}));
    EXPECT_FALSE(filter == Compiled({1, 3}, {0xFF, 0x0F}));
    EXPECT_FALSE(filter == Compiled({1, 0x12}, {0xFF, 0x0F}));  // differs only outside of the mask
    EXPECT_FALSE(filter == Compiled({1, 2}, {0xFF, 0x1F}));
    EXPECT_FALSE(filter == Compiled({1, 2}, {0xFF, 0x0F}, {0, 1}));
    EXPECT_FALSE(filter == Compiled({1, 2, 0}, {0xFF, 0x0F, 0}));
    EXPECT_EQ(filter.pattern(), (Bytes{1, 2}));
    EXPECT_EQ(filter.mask(), (Bytes{0xFF, 0x0F}));
    EXPECT_EQ(filter.mode(), (Bytes{0, 0}));
}

TEST(SectionFilter, AnswersAsTheBitwiseTwinDoes) {
    std::mt19937 random(3);
    int matched = 0;
    for (int round = 0; round < 200000; ++round) {
        const size_t size = 1 + random() % 40;
        Bytes pattern = RandomBytes(random, size);
        // Sparse masks and sections near the pattern, so that both answers are frequent.
        Bytes mask(size);
        Bytes mode(random() % 4 == 0 ? 0 : size);
        for (size_t i = 0; i < size; ++i) {
            if (random() % 2 == 0) {
                mask[i] = static_cast<uint8_t>(random());
                mask[i] &= static_cast<uint8_t>(random());
            }
            if (!mode.empty() && random() % 3 == 0) {
                mode[i] = static_cast<uint8_t>(random());
            }
        }
        Bytes section = pattern;
        section.resize(random() % 8 == 0 ? random() % 41 : size + random() % 8);
        for (int flips = static_cast<int>(random() % 3); flips > 0 && !section.empty(); --flips) {
            section[random() % section.size()] ^= static_cast<uint8_t>(1u << random() % 8);
        }
        const bool expected = MatchesBitwise(pattern, mask, mode, section);
        ASSERT_EQ(Matches(Compiled(pattern, mask, mode), section), expected) << "round " << round;
        matched += expected ? 1 : 0;
    }
    EXPECT_GT(matched, 20000);
    EXPECT_LT(matched, 180000);
}

}  // namespace
}  // namespace tvservice

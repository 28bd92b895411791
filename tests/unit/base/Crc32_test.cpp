#include "softplatform/base/Crc32.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Crc32Bitwise;

struct Variant {
    const char* name;
    uint32_t (*function)(const uint8_t*, size_t, uint32_t);
};

class Crc32Test : public testing::TestWithParam<Variant> {
  protected:
    void SetUp() override {
        if (GetParam().function == &Crc32CarrylessMultiply && !Crc32HasCarrylessMultiply()) {
            GTEST_SKIP() << "this processor has no carry-less multiplication";
        }
    }

    static uint32_t Crc(const uint8_t* data, size_t size, uint32_t crc = kCrc32Initial) {
        return GetParam().function(data, size, crc);
    }

    std::mt19937 random_{32};
};

TEST_P(Crc32Test, HasTheCatalogueCheckValue) {
    const Bytes digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Crc(digits.data(), digits.size()), 0x0376E6E7u);
}

TEST_P(Crc32Test, IsZeroOverASectionWithItsOwnCrc) {
    for (const size_t size : {12u, 16u, 100u, 1024u, 4096u}) {
        const Bytes section = testsupport::SectionOfSize(size);
        EXPECT_EQ(Crc(section.data(), section.size()), 0u) << size;
    }
}

TEST_P(Crc32Test, OfNothingIsTheSumSoFar) {
    EXPECT_EQ(Crc(nullptr, 0), 0xFFFFFFFFu);
    EXPECT_EQ(Crc(nullptr, 0, 0x12345678), 0x12345678u);
}

TEST_P(Crc32Test, EqualsTheBitwiseTwinAtEveryLength) {
    const Bytes bytes = testsupport::RandomBytes(random_, 4096);
    for (size_t size = 0; size <= 300; ++size) {
        ASSERT_EQ(Crc(bytes.data(), size), Crc32Bitwise(bytes.data(), size)) << size;
    }
    for (const size_t size : {511u, 512u, 513u, 1024u, 1789u, 2047u, 4093u, 4095u, 4096u}) {
        ASSERT_EQ(Crc(bytes.data(), size), Crc32Bitwise(bytes.data(), size)) << size;
    }
}

TEST_P(Crc32Test, EqualsTheBitwiseTwinFromEveryAlignment) {
    const Bytes bytes = testsupport::RandomBytes(random_, 700);
    for (size_t start = 0; start < 64; ++start) {
        for (const size_t size : {1u, 15u, 64u, 65u, 188u, 600u}) {
            ASSERT_EQ(Crc(bytes.data() + start, size), Crc32Bitwise(bytes.data() + start, size))
                << "from " << start << ", " << size << " bytes";
        }
    }
}

TEST_P(Crc32Test, EqualsTheBitwiseTwinFromEveryStartingValue) {
    const Bytes bytes = testsupport::RandomBytes(random_, 256);
    for (int round = 0; round < 1000; ++round) {
        const uint32_t initial = static_cast<uint32_t>(random_());
        const size_t size = random_() % 257;
        ASSERT_EQ(Crc(bytes.data(), size, initial), Crc32Bitwise(bytes.data(), size, initial));
    }
}

TEST_P(Crc32Test, CanBeMadePieceByPiece) {
    const Bytes bytes = testsupport::RandomBytes(random_, 400);
    const uint32_t whole = Crc(bytes.data(), bytes.size());
    for (size_t cut = 0; cut <= bytes.size(); ++cut) {
        ASSERT_EQ(Crc(bytes.data() + cut, bytes.size() - cut, Crc(bytes.data(), cut)), whole)
            << cut;
    }
}

TEST_P(Crc32Test, FindsEverySingleBitError) {
    Bytes section = testsupport::SectionOfSize(90);
    for (size_t bit = 0; bit < section.size() * 8; ++bit) {
        section[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
        ASSERT_NE(Crc(section.data(), section.size()), 0u) << bit;
        section[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, Crc32Test,
                         testing::Values(Variant{"Chosen", &Crc32},
                                         Variant{"Slicing", &Crc32Slicing},
                                         Variant{"CarrylessMultiply", &Crc32CarrylessMultiply}),
                         [](const auto& variant) { return variant.param.name; });

}  // namespace
}  // namespace tvservice

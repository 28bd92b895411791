#include "SI/SectionFilter/Korvo/Src/SectionData.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>

namespace {

using TORVEL_MW::SectionData;

TEST(SectionDataTest, RecordOfLength0OwnsNoBufferAndNeverReadsItsPointer) {
    const SectionData none(7, nullptr, 0);
    EXPECT_EQ(none.m_id, 7);
    EXPECT_TRUE(none.m_data.empty());
    EXPECT_EQ(none.m_data.capacity(), 0u);

    const SectionData wild(-1, reinterpret_cast<unsigned char*>(std::uintptr_t{1}), 0);
    EXPECT_EQ(wild.m_id, -1);
    EXPECT_EQ(wild.m_data.capacity(), 0u);
}

TEST(SectionDataTest, RecordIsACopyOfExactlyThoseBytes) {
    std::vector<unsigned char> bytes(4096);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(3));
    const std::vector<unsigned char> before = bytes;
    const SectionData record(65535, bytes.data(), 4096);
    EXPECT_EQ(record.m_data, before);
    EXPECT_EQ(record.m_data.capacity(), 4096u);
    bytes.assign(bytes.size(), 0xEE);
    EXPECT_EQ(record.m_data, before);
}

TEST(SectionDataTest, LongestLengthFits) {
    std::vector<unsigned char> bytes(65535, 0x42);
    EXPECT_EQ(SectionData(1, bytes.data(), 65535).m_data, bytes);
}

}  // namespace

#include "generator/TsWriter.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace generator {
namespace {

class TsWriterTest : public testing::Test {
  protected:
    std::vector<int> Counters(std::uint16_t pid) const {
        std::vector<int> counters;
        for (const Packet& packet : writer_.packets()) {
            if (PidOf(packet) == pid) {
                counters.push_back(packet[3] & 0x0F);
            }
        }
        return counters;
    }

    void WritePayload(std::uint16_t pid) { writer_.Write(MakePacket({.pid = pid}, Bytes(184))); }

    TsWriter writer_;
};

TEST_F(TsWriterTest, EachPidCountsForItself) {
    WritePayload(1);
    WritePayload(2);
    WritePayload(1);
    EXPECT_EQ(Counters(1), (std::vector<int>{0, 1}));
    EXPECT_EQ(Counters(2), (std::vector<int>{0}));
}

TEST_F(TsWriterTest, TheCounterGoesFromFifteenToZero) {
    for (int i = 0; i < 18; ++i) {
        WritePayload(1);
    }
    EXPECT_EQ(Counters(1)[15], 15);
    EXPECT_EQ(Counters(1)[16], 0);
}

TEST_F(TsWriterTest, APacketWithoutPayloadRepeatsTheCounter) {
    WritePayload(1);
    writer_.WritePcr(1, 27'000'000);
    WritePayload(1);
    EXPECT_EQ(Counters(1), (std::vector<int>{0, 0, 1}));
    EXPECT_EQ(writer_.packets()[1][3] & 0x30, 0x20);
    EXPECT_EQ(writer_.packets()[1][5], 0x10);
}

TEST_F(TsWriterTest, NullPacketsAreNotCounted) {
    writer_.WriteNull(3);
    EXPECT_EQ(Counters(0x1FFF), (std::vector<int>{0, 0, 0}));
}

TEST_F(TsWriterTest, ARepeatedPacketIsTheSameToTheLastBit) {
    WritePayload(1);
    writer_.RepeatLast();
    WritePayload(1);
    EXPECT_EQ(writer_.packets()[0], writer_.packets()[1]);
    EXPECT_EQ(Counters(1), (std::vector<int>{0, 0, 1}));
    EXPECT_THROW(TsWriter().RepeatLast(), std::logic_error);
}

TEST_F(TsWriterTest, ASkippedCounterLooksLikeLoss) {
    WritePayload(1);
    writer_.SkipContinuity(1, 5);
    WritePayload(1);
    EXPECT_EQ(Counters(1), (std::vector<int>{0, 6}));
}

TEST_F(TsWriterTest, SectionsGoOutAsThePackerPacksThem) {
    const Sections sections{Bytes(300, 1), Bytes(40, 2)};
    writer_.WriteSections(0x0011, sections, {.back_to_back = true});
    PacketList expected = PackSections(0x0011, sections, {.back_to_back = true});
    ASSERT_EQ(expected.size(), 2u);
    expected[1][3] |= 1;
    EXPECT_EQ(writer_.packets(), expected);
}

}  // namespace
}  // namespace generator

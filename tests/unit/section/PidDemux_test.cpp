#include "softplatform/section/PidDemux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/support/PacketWriter.h"
#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Join;
using testsupport::PacketBytes;
using testsupport::PacketWriter;
using testsupport::SectionOfSize;
using testsupport::Slice;
using testsupport::Stuffed;

constexpr uint16_t kPid = 0x0100;

class PidDemuxTest : public testing::Test {
  protected:
    // The first and the second packet of a section that fills two packets.
    PacketWriter& WriteFirstHalf() {
        return writer_.Packet({.PID = kPid, .payload_unit_start_indicator = true},
                              Join({{0x00}, Slice(long_, 0, 183)}));
    }
    PacketWriter& WriteSecondHalf() {
        return writer_.Packet({.PID = kPid}, Stuffed(Slice(long_, 183)));
    }

    // Feeds the packets of the writer, and returns the sections.
    std::vector<Bytes> Feed() {
        const Bytes bytes = writer_.Take();
        for (size_t at = 0; at < bytes.size(); at += 188) {
            demux_.Feed(
                PacketView(bytes.data() + at), [&] { ++payloads_; },
                [&](SectionView section) {
                    sections_.emplace_back(section.bytes().begin(), section.bytes().end());
                });
        }
        return std::exchange(sections_, {});
    }

    uint64_t Count(Counter counter) const { return counters_.Get(counter); }

    Counters counters_;
    PidDemux demux_{counters_};
    PacketWriter writer_;
    int payloads_ = 0;
    std::vector<Bytes> sections_;
    const Bytes short_ = SectionOfSize(50);
    const Bytes long_ = SectionOfSize(300);
};

TEST_F(PidDemuxTest, JoinsTheSectionsOfItsPackets) {
    writer_.Section(kPid, short_).Section(kPid, long_);
    EXPECT_THAT(Feed(), ElementsAre(short_, long_));
    EXPECT_EQ(payloads_, 3);
}

TEST_F(PidDemuxTest, CountsDuplicatesAndLeavesThemOut) {
    WriteFirstHalf();
    WriteSecondHalf().RepeatLast();
    EXPECT_THAT(Feed(), ElementsAre(long_));
    EXPECT_EQ(Count(Counter::kDuplicatePackets), 1u);
    EXPECT_EQ(payloads_, 2);
}

TEST_F(PidDemuxTest, EndsTheOpenSectionAtAGapAndGoesOnInThatPacket) {
    WriteFirstHalf().Lose(kPid).Section(kPid, short_);
    EXPECT_THAT(Feed(), ElementsAre(short_));
    EXPECT_EQ(Count(Counter::kContinuityGaps), 1u);
    EXPECT_EQ(Count(Counter::kTruncatedSections), 1u);
}

TEST_F(PidDemuxTest, EndsTheOpenSectionAtAnAnnouncedJump) {
    WriteFirstHalf().Lose(kPid).Packet(
        {.PID = kPid, .payload_unit_start_indicator = true, .adaptation_field = {0x80}},
        Join({{0x00}, short_}));
    EXPECT_THAT(Feed(), ElementsAre(short_));
    EXPECT_EQ(Count(Counter::kAnnouncedDiscontinuities), 1u);
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
}

TEST_F(PidDemuxTest, FindsNoPayloadInAnAnnouncedJumpWithoutOne) {
    WriteFirstHalf().Raw(
        PacketBytes{.PID = kPid, .continuity_counter = 9, .adaptation_field = {0x80}}.Build({}));
    EXPECT_THAT(Feed(), IsEmpty());
    EXPECT_EQ(Count(Counter::kAnnouncedDiscontinuities), 1u);
    EXPECT_EQ(Count(Counter::kTruncatedSections), 1u);
    EXPECT_EQ(payloads_, 1);
}

TEST_F(PidDemuxTest, EndsTheOpenSectionAtAScrambledPayload) {
    WriteFirstHalf().Packet({.PID = kPid, .transport_scrambling_control = 2}, Bytes(184, 0x55));
    WriteSecondHalf();
    EXPECT_THAT(Feed(), IsEmpty());
    EXPECT_EQ(Count(Counter::kTruncatedSections), 1u);
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
    EXPECT_EQ(payloads_, 3);
}

TEST_F(PidDemuxTest, CountsMalformedPacketsAndGoesOn) {
    WriteFirstHalf();
    Bytes malformed = PacketBytes{.PID = kPid, .continuity_counter = 1}.Build(Bytes(100));
    malformed[4] = 183;  // adaptation_field_length leaves no room for the payload
    writer_.Raw(malformed);
    WriteSecondHalf();
    EXPECT_THAT(Feed(), ElementsAre(long_));
    EXPECT_EQ(Count(Counter::kMalformedPackets), 1u);
    EXPECT_EQ(payloads_, 2);
}

}  // namespace
}  // namespace tvservice

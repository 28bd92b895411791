#include "softplatform/ts/Continuity.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Counting;
using testsupport::PacketBytes;

const Bytes kDiscontinuity{0x80};

class ContinuityTest : public testing::Test {
  protected:
    // A packet whose payload differs for each `content`.
    ContinuityVerdict Feed(int counter, uint8_t content, const Bytes& adaptation = {}) {
        return Check(PacketBytes{.continuity_counter = static_cast<uint8_t>(counter),
                                 .adaptation_field = adaptation}
                         .Build(Counting(100, content)));
    }

    ContinuityVerdict FeedAdaptationOnly(int counter, const Bytes& adaptation = {}) {
        return Check(PacketBytes{.continuity_counter = static_cast<uint8_t>(counter),
                                 .adaptation_field = adaptation}
                         .Build({}));
    }

    ContinuityVerdict Check(const Bytes& packet) {
        return continuity_.Check(PacketView(packet.data()));
    }

    Continuity continuity_;
};

TEST_F(ContinuityTest, TheFirstPacketIsAcceptedAtAnyCounter) {
    EXPECT_EQ(Feed(9, 1), ContinuityVerdict::kFirst);
}

TEST_F(ContinuityTest, TheCounterGoesRoundAfterFifteen) {
    Feed(0, 0);
    for (int i = 1; i < 40; ++i) {
        EXPECT_EQ(Feed(i % 16, static_cast<uint8_t>(i)), ContinuityVerdict::kNext) << i;
    }
}

TEST_F(ContinuityTest, AMissingPacketIsAGapAndCountingGoesOnBehindIt) {
    Feed(3, 1);
    EXPECT_EQ(Feed(5, 2), ContinuityVerdict::kGap);
    EXPECT_EQ(Feed(6, 3), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, TheSameCounterAndPayloadIsADuplicate) {
    Feed(3, 1);
    EXPECT_EQ(Feed(3, 1), ContinuityVerdict::kDuplicate);
    EXPECT_EQ(Feed(4, 2), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, AThirdTimeIsAGap) {
    Feed(3, 1);
    Feed(3, 1);
    EXPECT_EQ(Feed(3, 1), ContinuityVerdict::kGap);
}

TEST_F(ContinuityTest, EachPacketMayHaveItsDuplicate) {
    Feed(3, 1);
    EXPECT_EQ(Feed(3, 1), ContinuityVerdict::kDuplicate);
    EXPECT_EQ(Feed(4, 1), ContinuityVerdict::kNext);
    EXPECT_EQ(Feed(4, 1), ContinuityVerdict::kDuplicate);
}

TEST_F(ContinuityTest, TheSameCounterWithAnotherPayloadIsAGap) {
    Feed(3, 1);
    EXPECT_EQ(Feed(3, 2), ContinuityVerdict::kGap);
}

TEST_F(ContinuityTest, TheSameCounterWithAShorterPayloadIsAGap) {
    Feed(3, 1);
    EXPECT_EQ(Check(PacketBytes{.continuity_counter = 3}.Build(Counting(99, 1))),
              ContinuityVerdict::kGap);
}

TEST_F(ContinuityTest, ADuplicateMayCarryAnotherPcr) {
    const Bytes pcr{0x10, 0x00, 0x00, 0x00, 0x01, 0x7E, 0x00};
    const Bytes laterPcr{0x10, 0x00, 0x00, 0x00, 0x02, 0x7E, 0x00};
    Feed(3, 1, pcr);
    EXPECT_EQ(Feed(3, 1, laterPcr), ContinuityVerdict::kDuplicate);
}

TEST_F(ContinuityTest, AJumpUnderDiscontinuityIndicatorIsAnnounced) {
    Feed(3, 1);
    EXPECT_EQ(Feed(9, 2, kDiscontinuity), ContinuityVerdict::kAnnouncedJump);
    EXPECT_EQ(Feed(10, 3), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, TheIndicatorWithoutAJumpChangesNothing) {
    Feed(3, 1);
    EXPECT_EQ(Feed(4, 2, kDiscontinuity), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, APacketWithoutPayloadDoesNotAdvance) {
    Feed(3, 1);
    EXPECT_EQ(FeedAdaptationOnly(3), ContinuityVerdict::kNoPayload);
    EXPECT_EQ(FeedAdaptationOnly(3), ContinuityVerdict::kNoPayload);
    EXPECT_EQ(Feed(4, 2), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, APacketWithoutPayloadIsNoFirstPacket) {
    EXPECT_EQ(FeedAdaptationOnly(7), ContinuityVerdict::kNoPayload);
    EXPECT_EQ(Feed(1, 1), ContinuityVerdict::kFirst);
}

TEST_F(ContinuityTest, AWrongCounterWithoutPayloadCostsNothing) {
    Feed(3, 1);
    EXPECT_EQ(FeedAdaptationOnly(12), ContinuityVerdict::kNoPayload);
    EXPECT_EQ(Feed(4, 2), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, APacketWithoutPayloadCanAnnounceTheJump) {
    Feed(3, 1);
    EXPECT_EQ(FeedAdaptationOnly(12, kDiscontinuity), ContinuityVerdict::kAnnouncedJump);
    EXPECT_EQ(Feed(13, 2), ContinuityVerdict::kNext);
}

TEST_F(ContinuityTest, AfterResetTheNextPacketIsTheFirst) {
    Feed(3, 1);
    continuity_.Reset();
    EXPECT_EQ(Feed(3, 1), ContinuityVerdict::kFirst);
    EXPECT_EQ(Feed(3, 1), ContinuityVerdict::kDuplicate);
}

// Compares the fast path for ordinary packets with the path for all packets.
TEST(ContinuityShortWay, SaysWhatTheLongWaySays) {
    std::mt19937 random(8);
    Continuity fast;
    Continuity plain;
    std::map<ContinuityVerdict, int> verdicts;
    Bytes packet;
    uint8_t counter = 0;
    for (int i = 0; i < 100'000; ++i) {
        const auto choice = random() % 20;
        if (i == 0 || choice > 1) {
            counter = static_cast<uint8_t>((counter + (choice == 2 ? random() % 16 : 1)) & 0xF);
            PacketBytes fields{.PID = 0x0100, .continuity_counter = counter};
            if (choice == 3) {
                fields.adaptation_field = {static_cast<uint8_t>(random() % 2 == 0 ? 0x80 : 0)};
            }
            // Few different payloads, so that there are duplicates and packets that only look like
            // them.
            packet = fields.Build(choice == 4 ? Bytes()
                                              : Bytes(choice == 3 || choice == 5 ? 100 : 184,
                                                      static_cast<uint8_t>(random() % 2)));
        } else if (choice == 1) {
            packet[20] ^= 0x01;
        }
        if (random() % 1000 == 0) {
            fast.Reset();
            plain.Reset();
        }
        const ContinuityVerdict verdict = fast.Check(PacketView(packet.data()));
        ASSERT_EQ(verdict, plain.CheckAny(PacketView(packet.data()))) << i;
        ++verdicts[verdict];
    }
    EXPECT_EQ(verdicts.size(), 6u) << "every verdict";
}

}  // namespace
}  // namespace tvservice

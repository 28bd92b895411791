#include "softplatform/input/RtpSequence.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/input/RtpBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::RtpBytes;

// Feeds packets with these sequence numbers and returns those of the packets that come out. Each
// payload holds the number of its packet.
class RtpSequenceTest : public testing::Test {
  protected:
    std::vector<int> Feed(std::vector<int> numbers, uint32_t SSRC = 1) {
        std::vector<int> out;
        for (const int number : numbers) {
            const auto sequence_number = static_cast<uint16_t>(number);
            const Bytes bytes = RtpBytes{.sequence_number = sequence_number, .SSRC = SSRC}.Build(
                {static_cast<uint8_t>(sequence_number >> 8),
                 static_cast<uint8_t>(sequence_number)});
            sequence_.Push(*RtpPacket::From(ByteView(bytes.data(), bytes.size())));
            while (const std::optional<ByteView> payload = sequence_.Pop()) {
                out.push_back(payload->U16(0));
            }
        }
        return out;
    }
    uint64_t losses() const { return counters_.Get(Counter::kRtpLosses); }
    uint64_t reordered() const { return counters_.Get(Counter::kRtpReordered); }

    Counters counters_;
    RtpSequence sequence_{counters_};
};

TEST_F(RtpSequenceTest, HandsOverAtOnceWhatComesInOrder) {
    EXPECT_THAT(Feed({7}), ElementsAre(7));
    EXPECT_THAT(Feed({8}), ElementsAre(8));
    EXPECT_THAT(Feed({9}), ElementsAre(9));
    EXPECT_EQ(losses() + reordered(), 0u);
}

TEST_F(RtpSequenceTest, CountsOnBeyondTheLargestNumber) {
    EXPECT_THAT(Feed({65534, 65535, 0, 1}), ElementsAre(65534, 65535, 0, 1));
    EXPECT_EQ(losses() + reordered(), 0u);
}

TEST_F(RtpSequenceTest, RestoresTheOrderOfNeighbours) {
    EXPECT_THAT(Feed({1, 3}), ElementsAre(1));
    EXPECT_THAT(Feed({2}), ElementsAre(2, 3));
    EXPECT_EQ(reordered(), 1u);
    EXPECT_EQ(losses(), 0u);
}

TEST_F(RtpSequenceTest, RestoresTheOrderAcrossTheLargestNumber) {
    EXPECT_THAT(Feed({65534, 1, 0, 65535, 2}), ElementsAre(65534, 65535, 0, 1, 2));
    EXPECT_EQ(reordered(), 2u);
    EXPECT_EQ(losses(), 0u);
}

TEST_F(RtpSequenceTest, WaitsForAMissingPacketAsLongAsTheWindowIs) {
    EXPECT_THAT(Feed({0, 2, 3, 4, 5, 6, 7, 8}), ElementsAre(0));
    EXPECT_THAT(Feed({1}), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(reordered(), 1u);
    EXPECT_EQ(losses(), 0u);
}

TEST_F(RtpSequenceTest, GivesAMissingPacketUpWhenTheWindowIsFull) {
    EXPECT_THAT(Feed({0, 2, 3, 4, 5, 6, 7, 8}), ElementsAre(0));
    EXPECT_THAT(Feed({9}), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(losses(), 1u);
    EXPECT_THAT(Feed({1}), IsEmpty()) << "too late";
    EXPECT_EQ(losses(), 1u);
    EXPECT_EQ(reordered(), 0u);
    EXPECT_THAT(Feed({10}), ElementsAre(10));
}

TEST_F(RtpSequenceTest, CountsEveryPacketOfALongGap) {
    EXPECT_THAT(Feed({0, 1000}), ElementsAre(0));
    EXPECT_THAT(Feed({1001, 1002, 1003, 1004, 1005, 1006, 1007}),
                ElementsAre(1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007));
    EXPECT_EQ(losses(), 999u);
}

TEST_F(RtpSequenceTest, CountsGapsApart) {
    EXPECT_THAT(Feed({0, 2, 4, 5, 6, 7, 8, 9}), ElementsAre(0, 2));
    EXPECT_THAT(Feed({10, 11}), ElementsAre(4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_EQ(losses(), 2u);
}

TEST_F(RtpSequenceTest, LeavesOutWhatComesTwice) {
    EXPECT_THAT(Feed({1, 1, 2, 1, 2}), ElementsAre(1, 2));
    EXPECT_THAT(Feed({4, 4, 5, 4}), IsEmpty()) << "held back, behind the missing 3";
    EXPECT_THAT(Feed({3}), ElementsAre(3, 4, 5));
    EXPECT_EQ(losses(), 0u);
    EXPECT_EQ(reordered(), 1u);
}

TEST_F(RtpSequenceTest, StartsAnewWithAnotherSender) {
    EXPECT_THAT(Feed({100, 101}, 1), ElementsAre(100, 101));
    EXPECT_THAT(Feed({40000, 40001}, 2), ElementsAre(40000, 40001));
    EXPECT_THAT(Feed({5, 6}, 3), ElementsAre(5, 6));
    EXPECT_EQ(losses() + reordered(), 0u);
}

TEST_F(RtpSequenceTest, StartsAnewWhereTheNumbersGoFarBack) {
    EXPECT_THAT(Feed({1000, 1001, 3, 4}), ElementsAre(1000, 1001, 3, 4));
    EXPECT_EQ(losses() + reordered(), 0u);
}

TEST_F(RtpSequenceTest, HandsOverWhatItHeldBeforeItStartsAnew) {
    EXPECT_THAT(Feed({10, 12, 14}, 1), ElementsAre(10));
    EXPECT_THAT(Feed({500}, 2), ElementsAre(12, 14, 500));
    EXPECT_EQ(losses(), 2u);
    EXPECT_THAT(Feed({501}, 2), ElementsAre(501));
}

TEST_F(RtpSequenceTest, GivesEveryNumberOnceAndInOrderHoweverNeighboursAreMixed) {
    std::mt19937 random(4);
    std::vector<int> numbers;
    for (int n = 65000; n < 65000 + 4000; ++n) {
        numbers.push_back(n & 0xFFFF);
    }
    const std::vector<int> inOrder = numbers;
    for (size_t at = 1; at + 4 <= numbers.size(); at += 4) {
        std::shuffle(numbers.begin() + static_cast<std::ptrdiff_t>(at),
                     numbers.begin() + static_cast<std::ptrdiff_t>(at + 4), random);
    }
    EXPECT_EQ(Feed(numbers), inOrder);
    EXPECT_EQ(losses(), 0u);
    EXPECT_GT(reordered(), 1000u);
}

}  // namespace
}  // namespace tvservice

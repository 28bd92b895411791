#include "softplatform/section/FilterEngine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "tests/unit/section/EngineFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::Join;
using testsupport::PacketBytes;
using testsupport::PlainSection;
using testsupport::SectionBytes;
using testsupport::SectionOfSize;
using testsupport::Slice;
using testsupport::Stuffed;

class FilterEngineTest : public testsupport::EngineTest {
  protected:
    // The first packet of a section that fills two packets.
    void FeedFirstHalf(uint16_t pid) {
        writer_.Packet({.PID = pid, .payload_unit_start_indicator = true},
                       Join({{0x00}, Slice(long_, 0, 183)}));
        Feed();
    }
    void FeedSecondHalf(uint16_t pid) {
        writer_.Packet({.PID = pid}, Stuffed(Slice(long_, 183)));
        Feed();
    }

    const Bytes short_ = SectionOfSize(50);
    const Bytes long_ = SectionOfSize(300);
};

TEST_F(FilterEngineTest, DeliversWhatMatchesAndNothingElse) {
    Subscribe(0x0100, 0x42, 7);
    writer_.Section(0x0100, short_)
        .Section(0x0100, SectionOfSize(50, 0x46))
        .Section(0x0101, short_)
        .Section(0x0100, long_);
    EXPECT_EQ(Feed(), 2u);
    EXPECT_THAT(recorder_.sections(),
                ElementsAre(testing::Pair(7, short_), testing::Pair(7, long_)));
    EXPECT_EQ(Count(Counter::kSections), 3u);
    EXPECT_EQ(Count(Counter::kDeliveredSections), 2u);
}

TEST_F(FilterEngineTest, CallsTheFiltersOfAPidInTheOrderOfTheirSubscription) {
    Subscribe(0x0100, 0x42, 3);
    Subscribe(0x0100, 0x42, 1);
    Subscribe(0x0100, 0x42, 2);
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(3, 1, 2));
}

TEST_F(FilterEngineTest, TouchesNothingButTheHeaderOfAPacketThatNobodyWants) {
    Subscribe(0x0100, 0x42, 1);
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* const pages =
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    uint8_t* const packet = static_cast<uint8_t*>(pages) + page - 4;
    ASSERT_EQ(mprotect(packet + 4, page, PROT_NONE), 0);
    for (const Bytes& header : {Bytes{0x47, 0x41, 0x01, 0x10}, Bytes{0x47, 0x01, 0x01, 0xF0},
                                Bytes{0x47, 0x81, 0x00, 0x30}, Bytes{0x47, 0x01, 0x01, 0x00}}) {
        std::copy(header.begin(), header.end(), packet);
        EXPECT_EQ(engine_.OnPacket(PacketView(packet)), 0u);
    }
    EXPECT_EQ(Count(Counter::kScrambledPackets), 1u);
    EXPECT_EQ(Count(Counter::kTransportErrors), 1u);
    munmap(pages, 2 * page);
}

TEST_F(FilterEngineTest, DropsPacketsWithATransportErrorOnAnyPid) {
    Subscribe(0x0100, 0x42, 1);
    writer_.Section(0x0100, short_).FlipBit(1, 7).Section(0x0200, short_).FlipBit(1, 7);
    Feed();
    EXPECT_EQ(Count(Counter::kTransportErrors), 2u);
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
}

TEST_F(FilterEngineTest, CountsScrambledPacketsOfEveryPidAndLeavesThemAlone) {
    Subscribe(0x0100, 0x42, 1);
    const Bytes payload = Stuffed(Join({{0x00}, short_}));
    for (const uint16_t pid : {uint16_t{0x0100}, uint16_t{0x0200}}) {
        writer_.Packet(
            {.PID = pid, .payload_unit_start_indicator = true, .transport_scrambling_control = 2},
            payload);
    }
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_EQ(Count(Counter::kScrambledPackets), 2u);
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, CutsOffTheSectionThatAScrambledPacketInterrupts) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    writer_.Packet({.PID = 0x0100, .transport_scrambling_control = 3}, Counting(184));
    FeedSecondHalf(0x0100);
    EXPECT_EQ(Count(Counter::kTruncatedSections), 1u);
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
}

TEST_F(FilterEngineTest, DropsTheOpenSectionAtAGapAndStartsAfreshInThatPacket) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    writer_.Lose(0x0100).Section(0x0100, short_);
    Feed();
    EXPECT_EQ(Count(Counter::kContinuityGaps), 1u);
    EXPECT_EQ(Count(Counter::kTruncatedSections), 1u);
    EXPECT_THAT(recorder_.sections(), ElementsAre(testing::Pair(1, short_)));
}

TEST_F(FilterEngineTest, DoesNotJoinSectionsOverAGap) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    writer_.Lose(0x0100);
    FeedSecondHalf(0x0100);
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
    EXPECT_EQ(Count(Counter::kCrcErrors), 0u);
}

TEST_F(FilterEngineTest, IgnoresAndCountsDuplicates) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    writer_.Packet({.PID = 0x0100}, Stuffed(Slice(long_, 183))).RepeatLast();
    Feed();
    EXPECT_EQ(Count(Counter::kDuplicatePackets), 1u);
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
    EXPECT_THAT(recorder_.sections(), ElementsAre(testing::Pair(1, long_)));
}

TEST_F(FilterEngineTest, DropsTheOpenSectionAtAnAnnouncedJumpWithoutCallingItAGap) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    writer_.Lose(0x0100).Packet(
        {.PID = 0x0100, .payload_unit_start_indicator = true, .adaptation_field = {0x80}},
        Join({{0x00}, short_}));
    Feed();
    EXPECT_EQ(Count(Counter::kAnnouncedDiscontinuities), 1u);
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
    EXPECT_EQ(Count(Counter::kTruncatedSections), 1u);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, PassesOverPacketsWithoutPayload) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    writer_.Raw(PacketBytes{.PID = 0x0100, .continuity_counter = 0}.Build({}));
    FeedSecondHalf(0x0100);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
}

TEST_F(FilterEngineTest, CountsMalformedPacketsOfWantedPids) {
    Subscribe(0x0100, 0x42, 1);
    Bytes packet = PacketBytes{.PID = 0x0100}.Build(Counting(100));
    packet[4] = 183;  // adaptation_field_length leaves no room for the payload
    writer_.Raw(packet);
    Feed();
    EXPECT_EQ(Count(Counter::kMalformedPackets), 1u);
}

TEST_F(FilterEngineTest, DropsAndCountsSectionsWithAWrongCrc) {
    Subscribe(0x0100, 0x42, 1);
    writer_.Section(0x0100, short_).FlipBit(20, 3).Section(0x0100, short_);
    Feed();
    EXPECT_EQ(Count(Counter::kCrcErrors), 1u);
    EXPECT_EQ(Count(Counter::kSections), 1u);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, DeliversSectionsWithoutSyntaxUnchecked) {
    Subscribe(0x0014, 0x70, 1);
    writer_.Section(0x0014, PlainSection(0x70, {1, 2, 3, 4, 5}));
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, DropsAndCountsATotWithAWrongCrc) {
    Subscribe(0x0014, 0x73, 1);
    writer_.Section(0x0014, PlainSection(0x73, Bytes(11)));
    Feed();
    EXPECT_EQ(Count(Counter::kCrcErrors), 1u);
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
}

TEST_F(FilterEngineTest, ChecksWhatADeviceGivesAndCountsWhatIsNoSection) {
    Subscribe(0x0100, 0x42, 1);
    const auto give = [&](const Bytes& bytes) {
        return engine_.OnDeviceSection(0x0100, {bytes.data(), bytes.size()});
    };
    EXPECT_EQ(give(short_), 1u);
    EXPECT_EQ(give({0x42, 0xB0, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}), 0u);
    EXPECT_EQ(Count(Counter::kShortSections), 1u);
    EXPECT_EQ(give(Slice(short_, 0, 49)), 0u);
    EXPECT_EQ(give({0x42, 0xB0}), 0u);
    EXPECT_EQ(Count(Counter::kMalformedReads), 2u);
    Bytes damaged = short_;
    damaged[20] ^= 0x01;
    EXPECT_EQ(give(damaged), 0u);
    EXPECT_EQ(Count(Counter::kCrcErrors), 1u);
    EXPECT_EQ(Count(Counter::kSections), 1u);
    EXPECT_TRUE(engine_.Seen(0x0100));
}

TEST_F(FilterEngineTest, ReachesPidsBeyondThoseOfPacketsByDeliverToAlone) {
    Subscribe(0x2000, 0x42, 1);
    Subscribe(0x2100, 0x42, 2);
    writer_.Section(0x0000, short_).Section(0x0100, short_);
    EXPECT_EQ(Feed(), 0u);
    const auto section = SectionView::From(short_.data(), short_.size());
    EXPECT_EQ(engine_.DeliverTo(0x2000, *section), 1u);
    EXPECT_THAT(recorder_.sections(), ElementsAre(testing::Pair(1, short_)));
    EXPECT_EQ(engine_.DeliverTo(0x2001, *section), 0u);
    EXPECT_EQ(Count(Counter::kDeliveredSections), 0u);
}

TEST_F(FilterEngineTest, BeginsAtTheNextStartWhenTheFirstFilterOfAPidMeetsAnOpenSection) {
    FeedFirstHalf(0x0100);
    Subscribe(0x0100, 0x42, 1);
    FeedSecondHalf(0x0100);
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
    EXPECT_EQ(Count(Counter::kTruncatedSections), 0u);
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, GivesTheOpenSectionToAFurtherFilterOfAPid) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    Subscribe(0x0100, 0x42, 2);
    FeedSecondHalf(0x0100);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1, 2));
}

TEST_F(FilterEngineTest, KeepsTheOpenSectionWhenOneFilterReplacesAnother) {
    const int first = Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    engine_.Unsubscribe(first);
    Subscribe(0x0100, 0x42, 2);
    FeedSecondHalf(0x0100);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(2));
}

TEST_F(FilterEngineTest, PutsAFilterSetInACallbackInForceForTheNextPacket) {
    Subscribe(0x0100, 0x42, 1);
    recorder_.Then([this](int id) {
        if (id == 1) {
            recorder_.Then(nullptr);
            Subscribe(0x0100, 0x42, 2);
        }
    });
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1, 2));
}

TEST_F(FilterEngineTest, CallsAFilterNoMoreOnceItIsReleasedInItsCallback) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    recorder_.Then([&](int) { EXPECT_TRUE(engine_.Unsubscribe(handle)); });
    writer_.Packet({.PID = 0x0100, .payload_unit_start_indicator = true},
                   Stuffed(Join({{0x00}, short_, short_, short_})));
    EXPECT_EQ(Feed(), 1u);
    EXPECT_EQ(recorder_.sections().size(), 1u);
    EXPECT_EQ(Count(Counter::kSections), 3u);
}

TEST_F(FilterEngineTest, CallsAFilterNoMoreOnceItIsReleasedInAnothersCallback) {
    Subscribe(0x0100, 0x42, 1);
    const int second = Subscribe(0x0100, 0x42, 2);
    recorder_.Then([&](int) { engine_.Unsubscribe(second); });
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, ForgetsAPidThatLostItsLastFilter) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    EXPECT_TRUE(engine_.IsWanted(0x0100));
    engine_.Unsubscribe(handle);
    FeedSecondHalf(0x0100);
    EXPECT_FALSE(engine_.IsWanted(0x0100));
    EXPECT_EQ(Count(Counter::kSections), 0u);
}

TEST_F(FilterEngineTest, TellsOfAChangeOnceUntilItIsApplied) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    Subscribe(0x0100, 0x42, 2);
    EXPECT_EQ(changes_, 1);
    engine_.ApplyChanges();
    EXPECT_TRUE(engine_.IsWanted(0x0100));
    engine_.Unsubscribe(handle);
    EXPECT_EQ(changes_, 2);
    engine_.Unsubscribe(handle);
    EXPECT_EQ(changes_, 2);
}

TEST_F(FilterEngineTest, ANewSourceForgetsSectionsAndContinuityButNoFilter) {
    Subscribe(0x0100, 0x42, 1);
    FeedFirstHalf(0x0100);
    engine_.Reset();
    writer_.Lose(0x0100);
    FeedSecondHalf(0x0100);
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
    EXPECT_EQ(Count(Counter::kTruncatedSections), 0u);
    writer_.Section(0x0100, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, DoesNotShareWhileSlotsAreFree) {
    EXPECT_NE(Subscribe(0x0100, 0x42, 1), Subscribe(0x0100, 0x42, 2));
}

TEST_F(FilterEngineTest, SharesFourSlotsBetweenTwelveSubscriptions) {
    const int a = Subscribe(0x0100, 0x42, 1);
    const int b = Subscribe(0x0100, 0x46, 2);
    const int c = Subscribe(0x0101, 0x42, 3);
    const int d = Subscribe(0x0102, 0x42, 4);
    for (const int id : {5, 6, 7}) {
        EXPECT_EQ(Subscribe(0x0100, 0x42, id), a);
    }
    EXPECT_EQ(Subscribe(0x0100, 0x46, 8), b);
    EXPECT_EQ(Subscribe(0x0101, 0x42, 9), c);
    EXPECT_EQ(Subscribe(0x0101, 0x42, 10), c);
    EXPECT_EQ(Subscribe(0x0101, 0x42, 11), c);
    EXPECT_EQ(Subscribe(0x0102, 0x42, 12), d);
    EXPECT_EQ(Subscribe(0x0103, 0x42, 13), FilterEngine::kNoHandle) << "another PID";

    writer_.Section(0x0100, short_).Section(0x0101, short_);
    EXPECT_EQ(Feed(), 8u);
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1, 5, 6, 7, 3, 9, 10, 11));

    EXPECT_TRUE(engine_.Unsubscribe(a));
    writer_.Section(0x0100, short_).Section(0x0101, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(3, 9, 10, 11));
    EXPECT_FALSE(engine_.Unsubscribe(a)) << "released for all that shared it";
    EXPECT_NE(Subscribe(0x0103, 0x42, 13), FilterEngine::kNoHandle) << "a slot is free";
}

// A toggling client asks for the same filter again after every section.
TEST_F(FilterEngineTest, GivesAnIdThatSharesAFilterSeveralTimesEachSectionOnce) {
    for (const int pid : {0x0100, 0x0101, 0x0102, 0x0103}) {
        Subscribe(static_cast<uint16_t>(pid), 0x42, 1);
    }
    for (int round = 0; round < 1000; ++round) {
        Subscribe(0x0100, 0x42, 2);
        Subscribe(0x0100, 0x42, 1);
        writer_.Section(0x0100, short_);
        EXPECT_EQ(Feed(), 2u);
    }
    EXPECT_EQ(recorder_.TakeIds().size(), 2000u);
}

TEST_F(FilterEngineTest, SharesOnlyIdenticalCriteria) {
    const auto filter = [](Bytes pattern, Bytes mask, Bytes mode) {
        return *SectionFilter::Compile(pattern, mask, mode);
    };
    const auto subscribe = [this](const SectionFilter& criteria) {
        return engine_.Subscribe(0x0100, criteria, recorder_, 1);
    };
    const int handle = subscribe(filter({0x42, 1}, {0xFF, 0xF0}, {0, 0}));
    for (int id = 0; id < 3; ++id) {
        Subscribe(0x0200, 0x42, id);
    }
    EXPECT_EQ(subscribe(filter({0x42, 1}, {0xFF, 0xF0}, {0, 0})), handle);
    EXPECT_EQ(subscribe(filter({0x42, 1}, {0xFF, 0xF0}, {})), handle);
    EXPECT_EQ(subscribe(filter({0x42, 2}, {0xFF, 0xF0}, {0, 0})), FilterEngine::kNoHandle);
    EXPECT_EQ(subscribe(filter({0x42, 1}, {0xFF, 0xF1}, {0, 0})), FilterEngine::kNoHandle);
    EXPECT_EQ(subscribe(filter({0x42, 1}, {0xFF, 0xF0}, {0, 1})), FilterEngine::kNoHandle);
    EXPECT_EQ(subscribe(filter({0x42}, {0xFF}, {})), FilterEngine::kNoHandle);
}

TEST_F(FilterEngineTest, StopsASharedFilterBetweenItsIds) {
    int handle = 0;
    for (unsigned i = 0; i < kSlots; ++i) {
        handle = Subscribe(static_cast<uint16_t>(0x0100 + i), 0x42, 1);
    }
    ASSERT_EQ(Subscribe(0x0103, 0x42, 2), handle);
    recorder_.Then([&](int) { engine_.Unsubscribe(handle); });
    writer_.Section(0x0103, short_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1));
}

TEST_F(FilterEngineTest, RefusesAndRetiresAStaleHandle) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    ASSERT_TRUE(engine_.Unsubscribe(handle));
    EXPECT_FALSE(engine_.Unsubscribe(handle));
    EXPECT_EQ(Count(Counter::kRetiredHandles), 1u);
    EXPECT_FALSE(engine_.Unsubscribe(handle));
    EXPECT_EQ(Count(Counter::kRetiredHandles), 1u) << "retired already";
    for (unsigned i = 0; i < 2 * kSlots * kHandleGenerations; ++i) {
        const int other = Subscribe(0x0100, 0x42, 1);
        ASSERT_NE(other, handle);
        ASSERT_TRUE(engine_.Unsubscribe(other));
    }
}

TEST_F(FilterEngineTest, JustRefusesAHandleThatItNeverCouldGive) {
    for (const int handle : {-1, 0, static_cast<int>(kSlots * kHandleGenerations) + 1}) {
        EXPECT_FALSE(engine_.Unsubscribe(handle));
    }
    EXPECT_EQ(Count(Counter::kRetiredHandles), 0u);
}

TEST_F(FilterEngineTest, GivesUpAFilterThatNeverTookEffect) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    EXPECT_TRUE(engine_.Unsubscribe(handle));
    engine_.ApplyChanges();
    EXPECT_FALSE(engine_.IsWanted(0x0100));
}

TEST_F(FilterEngineTest, ChangesItsSlotsWhileEnoughAreFree) {
    for (unsigned i = 0; i < kSlots; ++i) {
        Subscribe(0x0100, 0x42, 1);
    }
    EXPECT_FALSE(engine_.SetSlots(kSlots - 1));
    EXPECT_TRUE(engine_.SetSlots(kSlots + 1));
    EXPECT_NE(Subscribe(0x0200, 0x42, 1), FilterEngine::kNoHandle);
    EXPECT_EQ(Subscribe(0x0300, 0x42, 1), FilterEngine::kNoHandle);
    writer_.Section(0x0100, short_);
    EXPECT_EQ(Feed(), kSlots);
}

}  // namespace
}  // namespace tvservice

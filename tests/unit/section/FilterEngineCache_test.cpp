// Which earlier sections a new filter gets from the cache.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/section/EngineFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testsupport::Bytes;
using testsupport::EngineTest;
using testsupport::SectionBytes;

class FilterEngineCacheTest : public EngineTest {
  protected:
    FilterEngineCacheTest() { engine_.SetCacheLimit(64 * 1024); }

    int SubscribeFromCache(uint16_t pid, uint8_t table_id, int id) {
        return engine_.Subscribe(pid, *SectionFilter::Compile({table_id}, {0xFF}, {}), recorder_,
                                 id, true);
    }

    const Bytes first_ = SectionBytes{.section_number = 0, .last_section_number = 1}.Build();
    const Bytes second_ = SectionBytes{.section_number = 1, .last_section_number = 1}.Build();
};

TEST_F(FilterEngineCacheTest, GivesAtOnceWhatCameBeforeAndThenWhatComes) {
    writer_.Section(0x0011, second_).Section(0x0011, first_);
    EXPECT_EQ(Feed(), 0u);
    SubscribeFromCache(0x0011, 0x42, 7);
    EXPECT_EQ(engine_.ApplyChanges(), 2u);
    EXPECT_THAT(recorder_.sections(), ElementsAre(Pair(7, first_), Pair(7, second_)));
    EXPECT_EQ(Count(Counter::kDeliveredSections), 2u);
    EXPECT_EQ(Count(Counter::kCachedSections), 2u);
    writer_.Section(0x0011, first_);
    EXPECT_EQ(Feed(), 1u);
    EXPECT_EQ(Count(Counter::kDeliveredSections), 3u);
    EXPECT_EQ(Count(Counter::kCachedSections), 2u);
}

TEST_F(FilterEngineCacheTest, TellsThePacketThatFindsTheRequestOfItsCallbacks) {
    writer_.Section(0x0011, first_);
    Feed();
    SubscribeFromCache(0x0011, 0x42, 7);
    writer_.Section(0x0100, first_);
    EXPECT_EQ(Feed(), 1u);
}

TEST_F(FilterEngineCacheTest, CountsAndDeliversRepetitionsAsIfTheyWereNew) {
    Subscribe(0x0011, 0x42, 7);
    writer_.Section(0x0011, first_).Section(0x0011, first_).Section(0x0011, first_);
    EXPECT_EQ(Feed(), 3u);
    EXPECT_THAT(recorder_.sections(),
                ElementsAre(Pair(7, first_), Pair(7, first_), Pair(7, first_)));
    EXPECT_EQ(Count(Counter::kSections), 3u);
    EXPECT_EQ(Count(Counter::kDeliveredSections), 3u);
}

TEST_F(FilterEngineCacheTest, LeavesTheCacheAloneWhenARepetitionIsDamaged) {
    writer_.Section(0x0011, first_).Section(0x0011, first_).FlipBit(4 + 1 + 5, 1);  // its version
    Feed();
    EXPECT_EQ(Count(Counter::kCrcErrors), 1u);
    EXPECT_EQ(Count(Counter::kSections), 1u);
    SubscribeFromCache(0x0011, 0x42, 7);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.sections(), ElementsAre(Pair(7, first_)));
}

TEST_F(FilterEngineCacheTest, GivesNothingOfThePastToWhoDidNotAsk) {
    writer_.Section(0x0011, first_);
    Feed();
    Subscribe(0x0011, 0x42, 7);
    EXPECT_EQ(engine_.ApplyChanges(), 0u);
    EXPECT_THAT(recorder_.sections(), IsEmpty());
}

TEST_F(FilterEngineCacheTest, KnowsTheTablesOfEveryMultiplexWithoutAFilter) {
    for (uint16_t pid = 0; pid <= 0x20; ++pid) {
        writer_.Section(pid, first_);
    }
    Feed();
    EXPECT_EQ(Count(Counter::kSections), 32u);
    SubscribeFromCache(0x0000, 0x42, 1);
    SubscribeFromCache(0x001F, 0x42, 2);
    SubscribeFromCache(0x0020, 0x42, 3);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(1, 2));
}

TEST_F(FilterEngineCacheTest, KnowsOtherPidsFromTheirFirstFilterOn) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    engine_.ApplyChanges();
    engine_.Unsubscribe(handle);
    writer_.Section(0x0100, first_);
    Feed();
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
    SubscribeFromCache(0x0100, 0x42, 2);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(2));
}

TEST_F(FilterEngineCacheTest, KeepsOnlySoManyPidsWithoutAFilter) {
    constexpr uint16_t kFirst = 0x0100;
    constexpr uint16_t kCount = CachePolicy::kKeptPids + 10;
    for (uint16_t pid = kFirst; pid < kFirst + kCount; ++pid) {
        const int handle = Subscribe(pid, 0x42, 1);
        engine_.ApplyChanges();
        engine_.Unsubscribe(handle);
        engine_.ApplyChanges();
    }
    for (uint16_t pid = kFirst; pid < kFirst + kCount; ++pid) {
        writer_.Section(pid, first_);
    }
    Feed();
    EXPECT_EQ(Count(Counter::kSections), CachePolicy::kKeptPids);
}

TEST_F(FilterEngineCacheTest, MakesRoomForAnotherPidWhenAKeptOneGetsAFilter) {
    const auto come = [this](uint16_t pid) {
        const int handle = Subscribe(pid, 0x42, 1);
        engine_.ApplyChanges();
        return handle;
    };
    const auto go = [this](int handle) {
        engine_.Unsubscribe(handle);
        engine_.ApplyChanges();
    };
    for (uint16_t pid = 0x0100; pid < 0x0100 + CachePolicy::kKeptPids; ++pid) {
        go(come(pid));
    }
    come(0x0100);
    go(come(0x1000));
    writer_.Section(0x1000, first_);
    Feed();
    EXPECT_EQ(Count(Counter::kSections), 1u);
}

TEST_F(FilterEngineCacheTest, DoesNotCallAPidSeenBeforeItHadAFilter) {
    writer_.Section(0x0011, first_);
    Feed();
    EXPECT_FALSE(engine_.Seen(0x0011));
    Subscribe(0x0011, 0x42, 1);
    engine_.ApplyChanges();
    EXPECT_FALSE(engine_.Seen(0x0011));
    EXPECT_FALSE(engine_.IsWanted(0x0012));
    writer_.Section(0x0011, first_);
    Feed();
    EXPECT_TRUE(engine_.Seen(0x0011));
}

TEST_F(FilterEngineCacheTest, MatchesWhatItGives) {
    writer_.Section(0x0011, SectionBytes{.table_id_extension = 1}.Build())
        .Section(0x0011, SectionBytes{.table_id_extension = 2}.Build());
    Feed();
    engine_.Subscribe(
        0x0011,
        *SectionFilter::Compile({0x42, 0, 0, 0, 2}, {0xFF, 0, 0, 0xFF, 0xFF}, {0, 0, 0, 0, 0}),
        recorder_, 5, true);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.sections(),
                ElementsAre(Pair(5, Bytes(SectionBytes{.table_id_extension = 2}.Build()))));
}

TEST_F(FilterEngineCacheTest, DoesNotKeepSectionsWithAWrongCrc) {
    writer_.Section(0x0011, first_).FlipBit(10, 3);
    Feed();
    SubscribeFromCache(0x0011, 0x42, 1);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.sections(), IsEmpty());
}

TEST_F(FilterEngineCacheTest, GivesThePastToTheNewSharerAlone) {
    for (int id = 1; id <= int{kSlots}; ++id) {
        Subscribe(0x0011, 0x42, id);
    }
    writer_.Section(0x0011, first_);
    Feed();
    recorder_.TakeIds();
    EXPECT_NE(SubscribeFromCache(0x0011, 0x42, 9), FilterEngine::kNoHandle);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(9));
}

// The request comes between two sections of one packet.
TEST_F(FilterEngineCacheTest, GivesANewSharerThePastBeforeWhatComes) {
    for (int id = 1; id <= int{kSlots}; ++id) {
        Subscribe(static_cast<uint16_t>(0x0010 + id), 0x42, id);
    }
    recorder_.Then([this](int) {
        recorder_.Then({});
        EXPECT_NE(SubscribeFromCache(0x0011, 0x42, 9), FilterEngine::kNoHandle);
    });
    writer_.Packet({.PID = 0x0011, .payload_unit_start_indicator = true},
                   testsupport::Stuffed(testsupport::Join({{0x00}, first_, second_})));
    writer_.Section(0x0011, first_);
    Feed();
    EXPECT_THAT(recorder_.sections(),
                ElementsAre(Pair(1, first_), Pair(1, second_), Pair(9, first_), Pair(9, second_),
                            Pair(1, first_), Pair(9, first_)));
}

TEST_F(FilterEngineCacheTest, GivesNothingToAFilterThatIsReleasedMeanwhile) {
    writer_.Section(0x0011, first_).Section(0x0011, second_);
    Feed();
    const int early = SubscribeFromCache(0x0011, 0x42, 1);
    engine_.Unsubscribe(early);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());

    const int late = SubscribeFromCache(0x0011, 0x42, 2);
    recorder_.Then([&](int) { engine_.Unsubscribe(late); });
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.TakeIds(), ElementsAre(2));
}

TEST_F(FilterEngineCacheTest, ForgetsThePastWhenAnotherSourceBegins) {
    writer_.Section(0x0011, first_);
    Feed();
    engine_.Reset();
    SubscribeFromCache(0x0011, 0x42, 1);
    engine_.ApplyChanges();
    EXPECT_THAT(recorder_.TakeIds(), IsEmpty());
}

TEST_F(FilterEngineCacheTest, LooksAtNothingThatNobodyWantsOnceItIsTurnedOff) {
    const int handle = Subscribe(0x0100, 0x42, 1);
    engine_.ApplyChanges();
    engine_.Unsubscribe(handle);
    engine_.SetCacheLimit(0);
    engine_.ApplyChanges();
    writer_.Section(0x0011, first_).Section(0x0100, first_);
    Feed();
    EXPECT_EQ(Count(Counter::kSections), 0u);
}

}  // namespace
TEST_F(FilterEngineCacheTest, ForgetsAPidThatItNoLongerLooksAt) {
    constexpr uint16_t kFirst = 0x0100;
    constexpr uint16_t kLast = kFirst + CachePolicy::kKeptPids;
    for (uint16_t pid = kFirst; pid <= kLast; ++pid) {
        const int handle = Subscribe(pid, 0x42, 7);
        engine_.ApplyChanges();
        writer_.Section(pid, first_);
        Feed();
        engine_.Unsubscribe(handle);
        engine_.ApplyChanges();
    }
    SubscribeFromCache(kLast, 0x42, 8);
    EXPECT_EQ(engine_.ApplyChanges(), 0u);
    SubscribeFromCache(kLast - 1, 0x42, 9);
    EXPECT_EQ(engine_.ApplyChanges(), 1u);
}

}  // namespace tvservice

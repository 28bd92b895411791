#include "softplatform/input/PcrSchedule.h"

#include <gtest/gtest.h>

#include "tests/unit/input/PcrBytes.h"

namespace tvservice {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

using testsupport::kMs;

// A stream whose PCRs come exactly when they are due, unless a test gives another time.
class PcrScheduleTest : public testing::Test {
  protected:
    std::optional<nanoseconds> Reach(uint64_t ticks, uint16_t pid = 0x100,
                                     bool isAfterBreak = false, nanoseconds now = 0ns) {
        now_ = std::max(now_, kStart + now);
        const auto due = schedule_.Due({pid, ticks % kPcrModulus, isAfterBreak}, now_);
        if (!due) {
            return std::nullopt;
        }
        now_ = std::max(now_, *due);
        return *due - kStart;
    }

    static constexpr nanoseconds kStart = 1h;
    PcrSchedule schedule_{1};
    nanoseconds now_ = kStart;
};

TEST_F(PcrScheduleTest, FollowsThePcrs) {
    EXPECT_EQ(Reach(5000), 0ms);
    EXPECT_EQ(Reach(5000 + 40 * kMs), 40ms);
    EXPECT_EQ(Reach(5000 + 140 * kMs), 140ms);
    EXPECT_EQ(Reach(5000 + 140 * kMs), 140ms);
}

TEST_F(PcrScheduleTest, GoesSoManyTimesFaster) {
    schedule_ = PcrSchedule(10);
    EXPECT_EQ(Reach(0), 0ms);
    EXPECT_EQ(Reach(40 * kMs), 4ms);
    schedule_ = PcrSchedule(0.5);
    now_ = kStart;
    EXPECT_EQ(Reach(0), 0ms);
    EXPECT_EQ(Reach(40 * kMs), 80ms);
}

TEST_F(PcrScheduleTest, DoesNotDriftInADay) {
    constexpr uint64_t kOdd = 35 * kMs + 1;  // no whole number of nanoseconds
    uint64_t ticks = 0;
    nanoseconds due = *Reach(0);
    while (ticks < kPcrFrequency * 86400) {
        ticks += kOdd;
        due = *Reach(ticks);
    }
    EXPECT_LE(std::chrono::abs(due - nanoseconds(ticks / 27 * 1000)), 1us);
}

TEST_F(PcrScheduleTest, GoesOnWhereThePcrWraps) {
    EXPECT_EQ(Reach(kPcrModulus - 20 * kMs), 0ms);
    EXPECT_EQ(Reach(kPcrModulus + 20 * kMs), 40ms);
}

TEST_F(PcrScheduleTest, DoesNotPauseAtAnAnnouncedBreak) {
    EXPECT_EQ(Reach(0), 0ms);
    EXPECT_EQ(Reach(40 * kMs), 40ms);
    EXPECT_EQ(Reach(500 * kMs, 0x100, true), 40ms);
    EXPECT_EQ(Reach(540 * kMs), 80ms);
}

TEST_F(PcrScheduleTest, DoesNotPauseAtAJumpForthOrBack) {
    EXPECT_EQ(Reach(10000 * kMs), 0ms);
    EXPECT_EQ(Reach(10040 * kMs), 40ms);
    EXPECT_EQ(Reach(99000 * kMs), 40ms);
    EXPECT_EQ(Reach(99040 * kMs), 80ms);
    EXPECT_EQ(Reach(0), 80ms);
    EXPECT_EQ(Reach(40 * kMs), 120ms);
}

TEST_F(PcrScheduleTest, TakesASecondForAnIntervalAndMoreForABreak) {
    EXPECT_EQ(Reach(0), 0ms);
    EXPECT_EQ(Reach(1000 * kMs), 1000ms);
    EXPECT_EQ(Reach(2000 * kMs + 1), 1000ms);
}

TEST_F(PcrScheduleTest, CatchesUpWithinASecondAndDoesNotHurryBeyond) {
    EXPECT_EQ(Reach(0), 0ms);
    EXPECT_EQ(Reach(40 * kMs, 0x100, false, 1000ms), 40ms) << "late, so at once";
    EXPECT_EQ(Reach(80 * kMs, 0x100, false, 1081ms), 1081ms) << "too late: from here on";
    EXPECT_EQ(Reach(120 * kMs), 1121ms);
}

TEST_F(PcrScheduleTest, LeavesOtherPidsAloneWhileTheFirstGoesOn) {
    EXPECT_EQ(Reach(0, 0x100), 0ms);
    for (uint64_t n = 1; n < 100; ++n) {
        EXPECT_EQ(Reach(7777 + n * 40 * kMs, 0x200), std::nullopt);
        EXPECT_EQ(Reach(n * 40 * kMs, 0x100), n * 40ms);
    }
}

TEST_F(PcrScheduleTest, FollowsAnotherPidWhenTheFirstFallsSilent) {
    EXPECT_EQ(Reach(0, 0x100), 0ms);
    EXPECT_EQ(Reach(100 * kMs, 0x100), 100ms);
    // One PID stops after its first PCR, and one goes on.
    EXPECT_EQ(Reach(5 * kMs, 0x300), std::nullopt);
    EXPECT_EQ(Reach(9000 * kMs, 0x200), std::nullopt);
    EXPECT_EQ(Reach(9500 * kMs, 0x200), std::nullopt);
    EXPECT_EQ(Reach(9501 * kMs, 0x200), 100ms);
    EXPECT_EQ(Reach(9541 * kMs, 0x200), 140ms);
    EXPECT_EQ(Reach(200 * kMs, 0x100), std::nullopt) << "the other leads now";
}

TEST_F(PcrScheduleTest, IsNotMisledByAnotherPidThatJumps) {
    EXPECT_EQ(Reach(0, 0x100), 0ms);
    EXPECT_EQ(Reach(9000 * kMs, 0x200), std::nullopt);
    EXPECT_EQ(Reach(1000 * kMs, 0x200), std::nullopt) << "back";
    EXPECT_EQ(Reach(9000 * kMs, 0x200, true), std::nullopt) << "announced";
    EXPECT_EQ(Reach(9100 * kMs, 0x200), std::nullopt);
}

}  // namespace
}  // namespace tvservice

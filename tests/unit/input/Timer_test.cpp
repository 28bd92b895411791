#include "softplatform/input/Timer.h"

#include <gtest/gtest.h>
#include <poll.h>

#include "tests/unit/input/FakeTimer.h"

namespace tvservice {
namespace {

using namespace std::chrono_literals;
using testsupport::IsReadable;

bool WaitFor(const SystemTimer& timer) {
    pollfd ready{timer.descriptor(), POLLIN, 0};
    return ::poll(&ready, 1, 20000) == 1;
}

TEST(SystemTimer, SaysNothingBeforeItIsAsked) {
    const SystemTimer timer;
    EXPECT_FALSE(IsReadable(timer.descriptor()));
}

TEST(SystemTimer, WakesWhenTheTimeHasCome) {
    SystemTimer timer;
    const auto due = timer.Now() + 20ms;
    timer.WakeAt(due);
    ASSERT_TRUE(WaitFor(timer));
    EXPECT_GE(timer.Now(), due);
}

TEST(SystemTimer, WakesAtOnceWhenTheTimeHasPassed) {
    SystemTimer timer;
    timer.WakeAt(timer.Now() - 1ms);
    EXPECT_TRUE(WaitFor(timer));
    timer.WakeAt(0ns);
    EXPECT_TRUE(WaitFor(timer));
}

TEST(SystemTimer, ForgetsWhatWasAskedForEarlier) {
    SystemTimer timer;
    timer.WakeAt(timer.Now());
    ASSERT_TRUE(WaitFor(timer));
    timer.WakeAt(timer.Now() + 1h);
    EXPECT_FALSE(IsReadable(timer.descriptor()));
}

}  // namespace
}  // namespace tvservice

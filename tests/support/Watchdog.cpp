#include "tests/support/Watchdog.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/ThreadStacks.h"

namespace testsupport {

namespace {

class Watchdog final : public testing::EmptyTestEventListener {
  public:
    explicit Watchdog(unsigned seconds) : seconds_(seconds) {}
    void OnTestStart(const testing::TestInfo&) override { ::alarm(seconds_); }
    void OnTestEnd(const testing::TestInfo&) override { ::alarm(0); }

  private:
    const unsigned seconds_;
};

}  // namespace

void WatchTests() {
    const unsigned seconds = SecondsOfTestLimit();
    if (seconds != 0) {
        WriteStacksOnAlarm();
        testing::UnitTest::GetInstance()->listeners().Append(new Watchdog(seconds));
    }
}

}  // namespace testsupport

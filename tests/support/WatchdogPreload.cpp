// A library to preload (LD_PRELOAD) into programs that are not tests: a process that takes longer
// than TORVELSI_TEST_LIMIT seconds writes the stacks of all its threads and ends by SIGABRT.

#include <unistd.h>

#include "tests/support/ThreadStacks.h"

namespace {

[[gnu::constructor]] void WatchThisProcess() {
    const unsigned seconds = testsupport::SecondsOfTestLimit();
    if (seconds != 0) {
        testsupport::WriteStacksOnAlarm();
        ::alarm(seconds);
    }
}

}  // namespace

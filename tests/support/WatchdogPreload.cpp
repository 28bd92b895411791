// A library that programs are started with (LD_PRELOAD) which know nothing of tests: a process that
// takes longer than TORVELSI_TEST_LIMIT seconds writes the stack of every thread and ends by
// SIGABRT.

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

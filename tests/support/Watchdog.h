#pragma once

namespace testsupport {

// After this call, a test that exceeds its time limit has the stacks of all threads written to
// stderr, and the process ends by SIGABRT. The limit of each test is TORVELSI_TEST_LIMIT seconds of
// the environment, which ctest sets below its own limit. Without it there is no limit.
//
// The time between tests is not limited. The watchdog uses SIGALRM and SIGUSR2 (ThreadStacks.h).
void WatchTests();

}  // namespace testsupport

#pragma once

namespace testsupport {

// From now on a test that does not come to its end in time has the stack of every thread written to
// stderr, and its process ends by SIGABRT. The limit is TORVELSI_TEST_LIMIT seconds of the
// environment for each test, which ctest sets below its own; without it there is none.
//
// Between tests nothing is watched. Uses SIGALRM and SIGUSR2 (ThreadStacks.h).
void WatchTests();

}  // namespace testsupport

#pragma once

namespace testsupport {

// After this call, SIGALRM makes the process write the stacks of all its threads to stderr and end
// by SIGABRT. It also uses SIGUSR2, and it starts no thread.
void WriteStacksOnAlarm();

// Returns TORVELSI_TEST_LIMIT of the environment: how many seconds a test, or a process that a test
// started, may take. 0 means no limit.
unsigned SecondsOfTestLimit();

}  // namespace testsupport

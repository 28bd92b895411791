#pragma once

namespace testsupport {

// From now on SIGALRM has the stack of every thread of this process written to stderr and ends it
// by SIGABRT. Uses SIGUSR2 too, and no thread of its own.
void WriteStacksOnAlarm();

// TORVELSI_TEST_LIMIT of the environment: how long a test or a process of one may take; 0: no
// limit.
unsigned SecondsOfTestLimit();

}  // namespace testsupport

#pragma once

#include <gtest/gtest.h>

namespace testsupport {

/// Has the death tests of the rest of this test start the test program anew, for those that need a
/// process with no other threads and none of what earlier tests left. An emulated program cannot
/// start itself, the processor being another one: its death tests stay in forked children, which is
/// as good where each test has a process of its own, as under CTest.
inline void StartDeathTestsAnew() {
#if !defined(TORVELSI_EMULATOR)
    GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
}

}  // namespace testsupport

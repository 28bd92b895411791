// Main program of every test executable.
//
// It leaves by _Exit: when a process that used the section manager returns from main, it ends
// through the termination handler. So this program does itself what normally happens at exit: it
// flushes the output and looks for leaks.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "tests/support/Emulator.h"
#include "tests/support/Watchdog.h"

#if defined(__SANITIZE_ADDRESS__)
#define TORVEL_LEAK_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TORVEL_LEAK_CHECK 1
#endif
#endif
#if defined(TORVEL_LEAK_CHECK)
#include <sanitizer/lsan_interface.h>
#endif

int main(int argc, char** argv) {
    // GoogleTest keeps the command line and starts it again for a death test. Under an emulator the
    // emulator must be part of it.
    std::vector<std::string> words = testsupport::CommandOf(argv[0]);
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> command;
    for (std::string& word : words) {
        command.push_back(word.data());
    }
    command.push_back(nullptr);
    int count = static_cast<int>(words.size());
    // Death tests start the program again: the fork of a program with threads may hang, and it has
    // no watchdog.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    testing::InitGoogleTest(&count, command.data());
    testsupport::WatchTests();
    const int result = RUN_ALL_TESTS();
    std::cout.flush();
    std::fflush(nullptr);
#if defined(TORVEL_LEAK_CHECK)
    __lsan_do_leak_check();  // when it finds a leak, it ends the process with its own exit status
#endif
    std::_Exit(result);
}

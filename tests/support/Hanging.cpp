// A test with two threads that never end. The watchdog must report it.

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

// The functions are external and do something after each wait, so that every stack shows their
// names.
std::mutex s_mutex;
std::condition_variable s_never;
volatile bool s_isForever = true;
volatile int s_ends = 0;

[[gnu::noinline]] void HangingThread() {
    std::unique_lock<std::mutex> lock(s_mutex);
    while (s_isForever) {
        s_never.wait(lock);
    }
    s_ends = s_ends + 1;
}

[[gnu::noinline]] void HangingTest(std::thread& thread) {
    thread.join();
    s_ends = s_ends + 1;
}

TEST(Hanging, NeverEnds) {
    std::thread thread(HangingThread);
    HangingTest(thread);
    s_ends = s_ends + 1;
}

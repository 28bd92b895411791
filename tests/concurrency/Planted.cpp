// Deliberate faults. expect_report.sh checks that the sanitizers report them.

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace {

int s_shared = 0;
void* volatile s_lost = nullptr;

TEST(Planted, Race) {
    std::thread other([] { ++s_shared; });
    ++s_shared;
    other.join();
    EXPECT_EQ(s_shared, 2);
}

TEST(Planted, Leak) {
    s_lost = std::malloc(1000);
    EXPECT_NE(s_lost, nullptr);
    s_lost = nullptr;
}

}  // namespace

#include "softplatform/base/Counters.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tvservice {
namespace {

TEST(Counters, StartAtZeroAndCountApart) {
    Counters counters;
    counters.Add(Counter::kPackets);
    counters.Add(Counter::kPackets);
    counters.Add(Counter::kBytes, 376);
    counters.AddShared(Counter::kRetiredHandles, 3);

    for (const CounterInfo& info : kCounterTable) {
        const uint64_t expected = info.counter == Counter::kPackets          ? 2
                                  : info.counter == Counter::kBytes          ? 376
                                  : info.counter == Counter::kRetiredHandles ? 3
                                                                             : 0;
        EXPECT_EQ(counters.Get(info.counter), expected) << info.name;
    }
}

TEST(Counters, ResetSetsTheStreamsToZeroAndLeavesThoseOfSubscriptions) {
    Counters counters;
    for (const CounterInfo& info : kCounterTable) {
        counters.Add(info.counter, 7);
    }
    counters.ResetStream();
    for (const CounterInfo& info : kCounterTable) {
        const bool outlives = info.counter == Counter::kRefusedSubscriptions ||
                              info.counter == Counter::kRetiredHandles;
        EXPECT_EQ(counters.Get(info.counter), outlives ? 7u : 0u) << info.name;
    }
}

TEST(Counters, HaveDistinctSnakeCaseNamesAndAMeaning) {
    std::set<std::string> names;
    for (const CounterInfo& info : kCounterTable) {
        EXPECT_TRUE(names.insert(info.name).second) << info.name;
        EXPECT_EQ(std::string(info.name).find_first_not_of("abcdefghijklmnopqrstuvwxyz_"),
                  std::string::npos)
            << info.name;
        EXPECT_FALSE(std::string(info.meaning).empty()) << info.name;
        EXPECT_STREQ(Describe(info.counter).name, info.name);
    }
}

TEST(Counters, AddSharedLosesNothingBetweenThreads) {
    Counters counters;
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&counters] {
            for (int n = 0; n < 20000; ++n) {
                counters.AddShared(Counter::kRefusedSubscriptions);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counters.Get(Counter::kRefusedSubscriptions), 80000u);
}

TEST(Counters, AnotherThreadReadsValuesThatOnlyGrow) {
    Counters counters;
    std::thread writer([&counters] {
        for (int n = 0; n < 100000; ++n) {
            counters.Add(Counter::kPackets);
        }
    });
    uint64_t last = 0;
    while (last < 100000) {
        const uint64_t now = counters.Get(Counter::kPackets);
        ASSERT_GE(now, last);
        last = now;
    }
    writer.join();
}

}  // namespace
}  // namespace tvservice

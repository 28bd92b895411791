// Benchmarks of the software platform from outside: how long a section takes from the cache to a
// new client, and what clients that come and go cost the stream.

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "generator/Scenarios.h"
#include "platform/ISectionSubscriber.h"
#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TVServiceAPI.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

using tvservice::Counter;
using tvservice::SoftwarePlatform;

std::mutex s_mutex;
std::condition_variable s_changed;
bool s_arrived = false;
constexpr int kAwaited = 1;

void OnSection(bool, unsigned short, unsigned char*, int id) {
    if (id == kAwaited) {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_arrived = true;
        s_changed.notify_all();
    }
}

ISectionSubscriber& Subscriber() {
    static ISectionSubscriber* subscriber = [] {
        ISectionSubscriber* made = nullptr;
        TVServiceAPI::CreateSectionSubscriber(OnSection, PROFILE_MAIN, 0, &made);
        SoftwarePlatform::Instance().Start();
        return made;
    }();
    return *subscriber;
}

int Subscribe(int id, unsigned short pid, unsigned short table_id, bool fromCache) {
    TCSectionCriteriaHelper criteria;
    criteria.m_pid = pid;
    criteria.m_tableId = table_id;
    criteria.m_selector = fromCache ? 1 : 2;
    int handle = -1;
    Subscriber().SubscribeTable(id, &criteria, &handle);
    return handle;
}

struct Table {
    unsigned short pid;
    unsigned short table_id;
};

// The time from the request of a second client to its callback, for PAT, SDT and a PMT, while the
// input is idle (0) or is read at full speed (1). The receiver promises a millisecond.
void CacheToCallback(benchmark::State& state) {
    constexpr Table kTables[] = {{0x0000, 0x00}, {0x0011, 0x42}, {0x0110, 0x02}};
    const Table table = kTables[state.range(1)];
    SoftwarePlatform& platform = SoftwarePlatform::Instance();
    const int first = Subscribe(2, table.pid, table.table_id, false);
    const auto stream = tvservice::MemorySource("demo", generator::MakeScenario("demo"));
    platform.Play(stream);
    platform.WaitEnd();
    if (state.range(0) == 1) {
        std::string error;
        tvservice::SourceOptions loop;
        loop.loop = true;
        platform.Play(tvservice::WithOptions(stream, loop, error));
        while (platform.Counter(Counter::kPackets) < 100'000) {
            std::this_thread::yield();
        }
    }
    for (auto _ : state) {
        s_arrived = false;
        const int handle = Subscribe(kAwaited, table.pid, table.table_id, true);
        {
            std::unique_lock<std::mutex> lock(s_mutex);
            s_changed.wait(lock, [] { return s_arrived; });
        }
        state.PauseTiming();
        Subscriber().Unsubscribe(handle);
        state.ResumeTiming();
    }
    Subscriber().Unsubscribe(first);
    platform.Interrupt();
    platform.WaitEnd();
}
BENCHMARK(CacheToCallback)
    ->ArgNames({"streaming", "table"})
    ->ArgsProduct({{0, 1}, {0, 1, 2}})
    ->UseRealTime();

// Plays the demo through the receiver with 8 filters, while another thread makes this many changes
// of other filters a second. The 8 filters must lose no section.
void StreamUnderChanges(benchmark::State& state) {
    Subscriber();
    SoftwarePlatform& platform = SoftwarePlatform::Instance();
    const std::vector<std::uint8_t> bytes =
        generator::MakeDemoStream({26'596, 10'000});  // 40 Mbit/s
    const auto stream = tvservice::MemorySource("demo", bytes);
    std::vector<int> handles;
    for (const Table table : {Table{0x00, 0x00},
                              {0x10, 0x40},
                              {0x11, 0x42},
                              {0x11, 0x46},
                              {0x11, 0x4A},
                              {0x12, 0x4E},
                              {0x12, 0x4F},
                              {0x12, 0x50}}) {
        handles.push_back(Subscribe(2, table.pid, table.table_id, false));
    }
    platform.Play(stream);
    platform.WaitEnd();
    const std::uint64_t sections = platform.Counter(Counter::kDeliveredSections);
    std::atomic<bool> ends{false};
    const auto pairs = state.range(0) / 2;
    std::thread client([&] {
        const auto begin = std::chrono::steady_clock::now();
        for (std::int64_t done = 0; pairs > 0 && !ends; ++done) {
            Subscriber().Unsubscribe(Subscribe(3, 0x0100, 0x42, false));
            std::this_thread::sleep_until(begin +
                                          std::chrono::nanoseconds(1'000'000'000 / pairs) * done);
        }
    });
    for (auto _ : state) {
        platform.Play(stream);
        platform.WaitEnd();
        if (platform.Counter(Counter::kDeliveredSections) != sections) {
            state.SkipWithError("sections were lost");
            break;
        }
    }
    ends = true;
    client.join();
    for (const int handle : handles) {
        Subscriber().Unsubscribe(handle);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(StreamUnderChanges)
    ->ArgName("changes_per_second")
    ->Arg(0)
    ->Arg(10'000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
